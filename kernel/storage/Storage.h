// Where a record's pixels are: the questions that may be asked about it, and the changes to what the record says. The
// flags behind them are looked at in this folder alone.
#pragma once

#include "kernel/storage/Store.h"

namespace vk {

/// Bits that say where the pixels are.
constexpr uint32_t kStorageFlags = [] {
    uint32_t flags = BITMAPFLAG_MIRROR;
    for (const Store& store : kStores)
        flags |= store.flag;
    return flags;
}();

/// And those that say whose they are, and whether they are in their place.
constexpr uint32_t kPlaceFlags = kStorageFlags | BITMAPFLAG_GLOBAL | BITMAPFLAG_LOCKED;

/// The bytes of rows are not stored as they are.
inline bool is_compressed(const BITMAPHANDLE& bitmap) noexcept
{
    const Store* const store = store_of(bitmap);
    return store && store->compression != 0;
}

/// A row is stored as a whole: changing a part of it takes as long.
inline bool has_whole_rows(const BITMAPHANDLE& bitmap) noexcept
{
    const Store* const store = store_of(bitmap);
    return store && store->whole_rows;
}

/// The pixels are run-length rows.
inline bool has_run_rows(const BITMAPHANDLE& bitmap) noexcept
{
    return store_of(bitmap) == &kCompressedStore;
}

/// The pixels are not the library's: a caller or a data callback holds them.
inline bool is_lent(const BITMAPHANDLE& bitmap) noexcept
{
    return (bitmap.Flags & BITMAPFLAG_MIRROR) != 0;
}

/// Memory that the caller lends by a pointer.
inline bool is_user_memory(const BITMAPHANDLE& bitmap) noexcept
{
    return is_lent(bitmap) && !(bitmap.Flags & BITMAPFLAG_GLOBAL);
}

/// The library made the storage, and made it what its kind is.
inline bool is_made_here(const BITMAPHANDLE& bitmap) noexcept
{
    return !is_lent(bitmap) && !(bitmap.Flags & BITMAPFLAG_GLOBAL);
}

/// A movable block is pinned, and `Data` points into it.
inline bool is_pinned(const BITMAPHANDLE& bitmap) noexcept
{
    return (bitmap.Flags & BITMAPFLAG_LOCKED) != 0;
}

/// The pixels are in a movable global block.
inline bool is_global_block(const BITMAPHANDLE& bitmap) noexcept
{
    return bitmap.Flags & BITMAPFLAG_GLOBAL && store_of(bitmap) == &kConventionalStore;
}

/// They are in one that goes when the bitmap does.
inline bool is_own_global_block(const BITMAPHANDLE& bitmap) noexcept
{
    return is_global_block(bitmap) && !is_lent(bitmap) && !(bitmap.Flags & kDiskStore.flag);
}

/// The record says nothing of storage any more: what there was is somebody else's to free.
void forget_storage(BITMAPHANDLE& bitmap) noexcept;

/// Frees what the store made, or lets go of what was lent, and forgets it.
void free_storage(BITMAPHANDLE& bitmap) noexcept;

/// Takes the storage of another record, which then has none; its own has been freed.
void take_storage(BITMAPHANDLE& bitmap, BITMAPHANDLE& from) noexcept;

/// The pixels will be the caller's memory, still to be pointed to.
void await_user_memory(BITMAPHANDLE& bitmap) noexcept;

/// A data callback holds the pixels.
void leave_to_callback(BITMAPHANDLE& bitmap) noexcept;

/// The pixels are in the movable block that the record has on `Handle`.
void use_global_block(BITMAPHANDLE& bitmap, bool is_lent) noexcept;

/// Pins such a block so that `Data` is valid, and lets go of it; nothing where there is none. SUCCESS or
/// ERROR_NO_MEMORY.
int pin_global_block(BITMAPHANDLE& bitmap) noexcept;
void unpin_global_block(BITMAPHANDLE& bitmap) noexcept;

} // namespace vk
