// The storage kinds of a bitmap: what is true of each in one array, what each does in a file of its own.
//
// A store addresses its bytes by position: row * BytesPerLine + offset, whatever the pixels' inner form. Callers
// (RowCol.cpp, Alloc.cpp) check positions against `extent` once; a store trusts them. Rows of a run-length store expand
// on the way, tiles may live in a file; none of this shows outside this folder. Nor do the flags that say where a
// record's pixels are: whoever has to know something of them asks the store, or Storage.h.
//
// What an allocation made hangs on the record's `Handle`, and is freed from there even when `Data` was exchanged.
#pragma once

#include "Vkrecord.h"
#include "kernel/system/Progress.h"

#include <cstddef>
#include <cstdint>

namespace vk {

/// How storage is to be made; worked out by Alloc.cpp from a request and the thresholds.
struct StoreRequest {
    uint64_t bytes = 0;            ///< data size
    uint64_t tile_bytes = 0;       ///< wanted tile size
    uint64_t memory_limit = 0;     ///< bytes of tiles that may live in memory
    int32_t memory_tiles = 0;      ///< tiles kept in memory whatever the limit; negative: percent of all
    int32_t mapped_tiles = 0;      ///< file tiles kept mapped; negative: percent, 0: the store's choice
    bool files_forbidden = false;  ///< no temporary file may be made
    bool is_written = false;       ///< every pixel is written before anybody looks, so that none need be clear
    bool pads_are_written = false; ///< and with them what pads the rows, where they lie in memory
};

/// The figures of V_GetBitmapMemoryInfo.
struct StoreFigures {
    int64_t tile_bytes = 0;
    int32_t tiles = 0;
    int32_t memory_tiles = 0;
    int32_t file_tiles = 0;
    int32_t mapped_tiles = 0;
};

/// How a store reverses what it holds: the order of its rows, the order of the pixels in each, or both.
struct Reversal {
    bool flip;
    /// Writes the mirror image of a row's pixels elsewhere; null: they stay in order.
    void (*mirror)(const uint8_t* from, uint8_t* to, int64_t width, int32_t bits) noexcept;
    Progress& progress; ///< counts rows and has begun
    /// Asked when nothing else can fail any more; a refusal drops the work and is the result.
    int (*agree)(void* context) noexcept;
    void* context;
};

/// What a kind does.
struct StoreCalls {
    /// Makes zeroed storage (unless the request says it is written) for the record's geometry and sets Handle, Data and
    /// DataOffset. SUCCESS or a code; on failure the record is unchanged.
    int (*create)(BITMAPHANDLE& bitmap, const StoreRequest& request) noexcept;
    /// Bytes that may be addressed.
    uint64_t (*extent)(const BITMAPHANDLE& bitmap) noexcept;
    /// Moves bytes; returns their number or a negative code.
    intptr_t (*read)(BITMAPHANDLE& bitmap, uint64_t position, void* buffer, size_t bytes) noexcept;
    intptr_t (*write)(BITMAPHANDLE& bitmap, uint64_t position, const void* buffer, size_t bytes) noexcept;
    /// Changes the number of rows, keeping those that fit. Sets Handle, Data and nothing else; on failure nothing.
    int (*resize)(BITMAPHANDLE& bitmap, int32_t height) noexcept;
    /// Stored bytes, as `Size` reports them.
    uint64_t (*recount)(const BITMAPHANDLE& bitmap) noexcept;
    /// Null where there are no tiles.
    void (*figures)(const BITMAPHANDLE& bitmap, StoreFigures& figures) noexcept;
    /// Frees what create made.
    void (*destroy)(BITMAPHANDLE& bitmap) noexcept;

    /// Whether the store holds rows in a form that it reverses better than read and write do, and just those that the
    /// record describes. Null: never.
    bool (*reverses)(const BITMAPHANDLE& bitmap) noexcept = nullptr;
    /// Reverses them; on failure nothing has changed.
    int (*reverse)(BITMAPHANDLE& bitmap, const Reversal& reversal) noexcept = nullptr;
};

extern const StoreCalls kCompressedCalls;
extern const StoreCalls kTiledCalls;
extern const StoreCalls kSuperCompressedCalls;
extern const StoreCalls kConventionalCalls; ///< private, global and user memory
extern const StoreCalls kDiskCalls;

/// The size that a change of height leaves in a record.
enum class SizeAfter : uint8_t {
    recounted,
    plain,
    with_gap, ///< the gap in front of the first row counts, on purpose
};

constexpr bool holds_any(int32_t) noexcept
{
    return true;
}
constexpr bool holds_one_bit(int32_t bits) noexcept
{
    return bits == 1;
}
/// The depths that there is a codec for.
bool holds_codec_depth(int32_t bits) noexcept;

/// What is true of a kind. Requests are sums of TYPE_ values.
struct Store {
    const StoreCalls& calls;
    uint32_t flag;                ///< tells the kind of a record, tested in the order of the array
    uint32_t flags_besides = 0;   ///< that a record gets as well
    uint32_t flags_cleared = 0;   ///< that it loses
    uint32_t memory_type;         ///< TYPE_ value that asks for the kind, and that V_GetBitmapMemoryInfo reports
    uint32_t request;             ///< an accepted request has all of these,
    uint32_t request_with = 0;    ///< and none but these besides
    bool by_thresholds = false;   ///< whether it is chosen is for the thresholds to say; the others are when asked for
    bool settles_request = false; ///< where the kind can be had, what else a request says does not count
    bool takes_handles = false;   ///< not to be had when handles run short
    bool is_block = false;        ///< the rows are one block at `Data`
    bool whole_rows = false;      ///< a row is stored as a whole, and `Size` follows every put
    bool packs_late = false;      ///< what was put last is packed by a recount
    int32_t compression = 0;      ///< number for V_ChangeBitmapCompression; 0 where bytes are stored as they are
    SizeAfter size_after = SizeAfter::with_gap;
    int before_start = V_ERROR_INVALID_PARAMETER;  ///< result of a transfer at a negative position
    int read_past_end = V_ERROR_INVALID_PARAMETER; ///< result of a read that runs past the extent
    bool (*holds)(int32_t bits) noexcept = holds_any;

    /// As its call, and sets the record's flags.
    int create(BITMAPHANDLE& bitmap, const StoreRequest& how) const noexcept
    {
        const int result = calls.create(bitmap, how);
        if (result == V_SUCCESS)
            bitmap.Flags = (bitmap.Flags & ~flags_cleared) | flag | flags_besides;
        return result;
    }
    bool has_tiles() const noexcept { return calls.figures != nullptr; }
    bool accepts(uint32_t memory) const noexcept
    {
        return (memory & request) == request && (memory & ~(request | request_with)) == 0;
    }
};

/// The kinds, in the order in which a record's flags are tested.
inline constexpr Store kStores[] = {
    {
        .calls = kCompressedCalls,
        .flag = BITMAPFLAG_COMPRESSED,
        .flags_besides = BITMAPFLAG_CONVENTIONALMEMORY,
        .memory_type = TYPE_COMPRESSED,
        .request = TYPE_COMPRESSED | TYPE_NODISK,
        .request_with = TYPE_CONV,
        .settles_request = true,
        .whole_rows = true,
        .compression = 1,
        .size_after = SizeAfter::recounted,
        .holds = holds_one_bit,
    },
    {
        .calls = kTiledCalls,
        .flag = BITMAPFLAG_TILED,
        .flags_besides = BITMAPFLAG_CONVENTIONALMEMORY,
        .memory_type = TYPE_TILED,
        .request = TYPE_TILED,
        .request_with = TYPE_NODISK,
        .by_thresholds = true,
        .takes_handles = true,
    },
    {
        .calls = kSuperCompressedCalls,
        .flag = BITMAPFLAG_SUPERCOMPRESSED,
        .flags_besides = BITMAPFLAG_CONVENTIONALMEMORY,
        .memory_type = TYPE_SUPERCOMPRESSED,
        .request = TYPE_SUPERCOMPRESSED,
        .request_with = TYPE_CONV | TYPE_NODISK,
        .takes_handles = true,
        .packs_late = true,
        .compression = 2,
        .holds = holds_codec_depth,
    },
    {
        .calls = kConventionalCalls,
        .flag = BITMAPFLAG_CONVENTIONALMEMORY,
        .memory_type = TYPE_CONV,
        .request = 0,
        .request_with = TYPE_CONV | TYPE_NOTILED | TYPE_NODISK,
        .by_thresholds = true,
        .is_block = true,
    },
    {
        .calls = kDiskCalls,
        .flag = BITMAPFLAG_DISKMEMORY,
        .flags_cleared = BITMAPFLAG_GLOBAL | BITMAPFLAG_MIRROR,
        .memory_type = TYPE_DISK,
        .request = TYPE_DISK,
        .by_thresholds = true,
        .size_after = SizeAfter::plain,
        .before_start = V_ERROR_FILE_SEEK,
        .read_past_end = V_ERROR_FILE_READ,
    },
};

/// The kind that a TYPE_ value asks for; null when none does.
constexpr const Store* store_for(uint32_t memory_type) noexcept
{
    for (const Store& store : kStores)
        if (store.memory_type == memory_type)
            return &store;
    return nullptr;
}

/// The kinds that code has to name.
inline constexpr const Store& kCompressedStore = *store_for(TYPE_COMPRESSED);
inline constexpr const Store& kTiledStore = *store_for(TYPE_TILED);
inline constexpr const Store& kConventionalStore = *store_for(TYPE_CONV);
inline constexpr const Store& kDiskStore = *store_for(TYPE_DISK);

/// A request for user memory and nothing else, or one that a kind accepts.
constexpr bool is_accepted_request(uint32_t memory) noexcept
{
    bool is_accepted = memory == TYPE_USER;
    for (const Store& store : kStores)
        is_accepted = is_accepted || (memory != 0 && store.accepts(memory));
    return is_accepted;
}

/// The store that the flags describe; null when they describe none.
inline const Store* store_of(uint32_t flags) noexcept
{
    for (const Store& store : kStores)
        if (flags & store.flag)
            return &store;
    return nullptr;
}

inline const Store* store_of(const BITMAPHANDLE& bitmap) noexcept
{
    return store_of(bitmap.Flags);
}

} // namespace vk
