#include "kernel/storage/Storage.h"

#include "platform/platform.h"

namespace vk {

void forget_storage(BITMAPHANDLE& bitmap) noexcept
{
    bitmap.Flags &= ~kPlaceFlags;
    bitmap.Handle = nullptr;
}

void free_storage(BITMAPHANDLE& bitmap) noexcept
{
    const Store* const store = store_of(bitmap);
    if (store && !is_lent(bitmap))
        store->calls.destroy(bitmap);
    else if (store && bitmap.Flags & BITMAPFLAG_GLOBAL && is_pinned(bitmap))
        platform::movable_unlock(bitmap.Handle); // a borrowed block keeps no lock of ours
    forget_storage(bitmap);
    bitmap.Data = nullptr;
    bitmap.DataOffset = 0;
}

void take_storage(BITMAPHANDLE& bitmap, BITMAPHANDLE& from) noexcept
{
    bitmap.Handle = from.Handle;
    bitmap.Data = from.Data;
    bitmap.DataOffset = from.DataOffset;
    bitmap.Flags |= from.Flags & kStorageFlags;
    forget_storage(from);
}

void await_user_memory(BITMAPHANDLE& bitmap) noexcept
{
    bitmap.Flags |= kConventionalStore.flag | BITMAPFLAG_MIRROR;
    bitmap.Handle = nullptr;
    bitmap.Data = nullptr;
    bitmap.DataOffset = 0;
}

void leave_to_callback(BITMAPHANDLE& bitmap) noexcept
{
    bitmap.Flags |= BITMAPFLAG_MIRROR;
}

void use_global_block(BITMAPHANDLE& bitmap, bool is_lent) noexcept
{
    bitmap.Flags |= kConventionalStore.flag | BITMAPFLAG_GLOBAL;
    if (is_lent)
        bitmap.Flags |= BITMAPFLAG_MIRROR;
}

int pin_global_block(BITMAPHANDLE& bitmap) noexcept
{
    if (!is_global_block(bitmap) || is_pinned(bitmap))
        return V_SUCCESS;
    void* const block = platform::movable_lock(bitmap.Handle);
    if (!block)
        return V_ERROR_NO_MEMORY;
    bitmap.Flags |= BITMAPFLAG_LOCKED;
    bitmap.Data = static_cast<uint8_t*>(block) + bitmap.DataOffset;
    return V_SUCCESS;
}

void unpin_global_block(BITMAPHANDLE& bitmap) noexcept
{
    if (!is_global_block(bitmap) || !is_pinned(bitmap))
        return;
    platform::movable_unlock(bitmap.Handle);
    bitmap.Flags &= ~BITMAPFLAG_LOCKED;
    bitmap.Data = nullptr;
}

} // namespace vk
