// Bitmaps made from other bitmaps: the record, the blocks that hang on it, and the pixels. Staged.h builds the rule
// "replace on success only" on this.
#pragma once

#include "Vkbitmap.h"
#include "Vkrecord.h"
#include "kernel/bitmap/Alloc.h"
#include "kernel/system/Progress.h"

#include <cstdint>

namespace vk {

/// What a new bitmap is to look like.
struct Shape {
    int32_t width = 0;
    int32_t height = 0;
    int32_t bits = 0;
    int32_t order = kLikeSource;
    uint32_t memory = 0; ///< 0: storage as the source's
    NewPixels pixels = NewPixels::clear;

    static constexpr int32_t kLikeSource = -1;
};

/// All flags of V_DupBitmapNewDim.
constexpr uint32_t kDupFlags = DUPFLAG_COPY | DUPFLAG_TAKEOVER;

/// The shape of a bitmap itself.
Shape shape_of(const BITMAPHANDLE& bitmap) noexcept;

/// True when samples of one bitmap mean the same in the other: equal depths, and both gray data or neither.
bool same_format(const BITMAPHANDLE& a, const BITMAPHANDLE& b) noexcept;

/// The checks of a duplicate's record against its source's: different, the size one there is, the source allocated. The
/// duplicate is empty but for StructSize when only the source is to blame.
int check_duplicate(BITMAPHANDLE* made, const BITMAPHANDLE* source, uint32_t struct_size) noexcept;

/// True for a bitmap whose rows its data callbacks hold or hand out. A second bitmap with those callbacks would have
/// the same rows.
bool has_rows_of_callbacks(const BITMAPHANDLE& bitmap) noexcept;

/// DUPFLAG_COPY as far as it is safe where the caller has not asked for data callbacks.
uint32_t copy_flags(const BITMAPHANDLE& source) noexcept;

/// Initialises `made` as a bitmap like `source` with clear pixels, or as the shape says, and copies of the parts that
/// `dup_flags` name. The source keeps everything; with DUPFLAG_TAKEOVER data callbacks are copied too, unless rows come
/// from them: then the new bitmap has none, and storage of the library's own. On failure the record is empty but for
/// StructSize.
int make_like(BITMAPHANDLE& made, BITMAPHANDLE& source, uint32_t struct_size, const Shape& shape,
              uint32_t dup_flags) noexcept;

/// Moves the parts that `copied` does not name, and a region that could not be copied, from a bitmap to the one made
/// like it. Cannot fail.
void hand_over(BITMAPHANDLE& made, BITMAPHANDLE& source, uint32_t copied) noexcept;

/// Replaces a bitmap's palette. Its block has all entries that the depth can index, those past `count` are black.
int give_palette(BITMAPHANDLE& bitmap, const RGBQUAD* entries, uint32_t count) noexcept;

// CopyBitmap.cpp

/// Copies all stored rows between accessed bitmaps with equal rows, `reversed` from the last on. Reports progress from
/// the present state of `progress` on, whose steps are rows; it has begun.
int copy_rows(BITMAPHANDLE& from, BITMAPHANDLE& to, bool reversed, Progress& progress) noexcept;

/// V_CopyBitmapData and V_CopyBitmap for different records that are checked, as passes of an operation.
int copy_bitmap_data(BITMAPHANDLE& to, BITMAPHANDLE& from, const ProgressShare& share = {}) noexcept;
int copy_bitmap(BITMAPHANDLE& to, BITMAPHANDLE& from, uint32_t struct_size, const ProgressShare& share = {}) noexcept;
/// The same with a choice of the parts.
int copy_bitmap(BITMAPHANDLE& to, BITMAPHANDLE& from, uint32_t struct_size, uint32_t dup_flags,
                const ProgressShare& share) noexcept;

} // namespace vk
