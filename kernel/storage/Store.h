// The storage kinds of a bitmap behind one table of functions each.
//
// A store addresses its bytes by position: row * BytesPerLine + offset, whatever the pixels' inner form. Callers
// (RowCol.cpp, Alloc.cpp) check positions against `extent` once; a store trusts them. Rows of a run-length store expand
// on the way, tiles may live in a file; none of this shows outside this folder.
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
    uint64_t bytes = 0;           ///< data size
    uint64_t tile_bytes = 0;      ///< wanted tile size
    uint64_t memory_limit = 0;    ///< bytes of tiles that may live in memory
    int32_t memory_tiles = 0;     ///< tiles kept in memory whatever the limit; negative: percent of all
    int32_t mapped_tiles = 0;     ///< file tiles kept mapped; negative: percent, 0: the store's choice
    bool files_forbidden = false; ///< no temporary file may be made
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

struct Store {
    const char* name;
    uint32_t memory_type; ///< TYPE_ value that V_GetBitmapMemoryInfo reports
    int before_start;     ///< result of a transfer at a negative position
    int read_past_end;    ///< result of a read that runs past the extent

    /// Makes zeroed storage for the record's geometry and sets Handle, Data, DataOffset and the storage flags (without
    /// Allocated). SUCCESS or a code; on failure the record is unchanged.
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
    void (*figures)(const BITMAPHANDLE& bitmap, StoreFigures& figures) noexcept;
    /// Frees what create made.
    void (*destroy)(BITMAPHANDLE& bitmap) noexcept;

    /// Whether the store holds rows in a form that it reverses better than read and write do, and just those that the
    /// record describes. Null: never.
    bool (*reverses)(const BITMAPHANDLE& bitmap) noexcept = nullptr;
    /// Reverses them; on failure nothing has changed.
    int (*reverse)(BITMAPHANDLE& bitmap, const Reversal& reversal) noexcept = nullptr;
};

extern const Store kConventionalStore; ///< private, global and user memory
extern const Store kDiskStore;
extern const Store kTiledStore;
extern const Store kCompressedStore;
extern const Store kSuperCompressedStore;

/// The store that the flags describe; null when they describe none. The order of the tests is the record's: compressed,
/// tiled, super-compressed, conventional, disk.
const Store* store_of(uint32_t flags) noexcept;

} // namespace vk
