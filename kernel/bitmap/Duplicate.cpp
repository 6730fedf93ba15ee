// Duplication. A duplicate is described from its source, given storage, then given copies of the parts asked for; any
// failure frees it again. Handing parts over is a step of its own that cannot fail, so that it can come last.
#include "kernel/bitmap/Duplicate.h"

#include "Vkbitmap.h"
#include "kernel/bitmap/Alloc.h"
#include "kernel/bitmap/Callbacks.h"
#include "kernel/bitmap/ExtraData.h"
#include "kernel/bitmap/Overlay.h"
#include "kernel/bitmap/Record.h"
#include "kernel/bitmap/Region.h"
#include "kernel/format/RowMath.h"
#include "kernel/palette/Palette.h"
#include "kernel/storage/Storage.h"
#include "kernel/system/Blocks.h"
#include "kernel/system/Checks.h"
#include "kernel/system/SilentStatus.h"
#include "kernel/system/ThreadState.h"
#include "platform/platform.h"

#include <algorithm>
#include <cstring>

namespace vk {

namespace {

constexpr uint32_t kFormatFlags = BITMAPFLAG_SIGNED;
constexpr uint32_t kAnimationFlags = BITMAPFLAG_TRANSPARENCY | BITMAPFLAG_WAITUSERINPUT | BITMAPFLAG_INTERLACED;
constexpr size_t kPaintEntries = 256;
constexpr size_t kPaintEntries16 = 65536;

bool is_gray(int32_t order) noexcept
{
    return order == COLORORDER_GRAY;
}

/// The source's order at another depth, or the depth's usual one where it cannot be had.
int32_t order_like(const BITMAPHANDLE& source, int32_t bits) noexcept
{
    const int32_t order = source.Order;
    if (bits == source.BitsPerPixel)
        return order;
    // An index says nothing of orders, and the fields of a word nothing to other depths.
    const bool is_possible = !is_indexed(bits) && source.BitsPerPixel > kMostIndexBits && order != COLORORDER_RGB565 &&
                             has_order(bits, order);
    return is_possible ? order : usual_order(bits);
}

/// A request for storage of the source's kind.
uint32_t memory_like(const BITMAPHANDLE& source) noexcept
{
    const Store* const store = store_of(source);
    return !store || store->is_block ? thread_state().default_memory_type : store->memory_type;
}

void copy_format(BITMAPHANDLE& made, const BITMAPHANDLE& source) noexcept
{
    made.LowBit = source.LowBit;
    made.HighBit = source.HighBit;
    made.MinVal = source.MinVal;
    made.MaxVal = source.MaxVal;
    made.PaintLowBit = source.PaintLowBit;
    made.PaintHighBit = source.PaintHighBit;
    made.Flags |= source.Flags & kFormatFlags;
}

/// Everything that is neither geometry nor a part the flags name.
void describe(BITMAPHANDLE& made, const BITMAPHANDLE& source, int32_t order) noexcept
{
    made.Order = order;
    made.ViewPerspective = source.ViewPerspective;
    made.DitheringMethod = source.DitheringMethod;
    made.OriginalFormat = source.OriginalFormat;
    made.PaintGamma = source.PaintGamma;
    made.PaintContrast = source.PaintContrast;
    made.PaintIntensity = source.PaintIntensity;
    made.Flags |= source.Flags & BITMAPFLAG_NOCLIP;
    if (same_format(made, source))
        copy_format(made, source);
    if (is_current(made) && is_current(source))
        made.Reserved = source.Reserved;
}

void copy_animation(BITMAPHANDLE& made, const BITMAPHANDLE& source) noexcept
{
    made.XResolution = source.XResolution;
    made.YResolution = source.YResolution;
    made.Left = source.Left;
    made.Top = source.Top;
    made.Delay = source.Delay;
    made.Background = source.Background;
    made.Transparency = source.Transparency;
    made.DisposalMethod = source.DisposalMethod;
    made.Flags = (made.Flags & ~kAnimationFlags) | (source.Flags & kAnimationFlags);
}

int copy_palette(BITMAPHANDLE& made, const BITMAPHANDLE& source) noexcept
{
    const int32_t bits = made.BitsPerPixel;
    const uint32_t colors = palette_entries(source);
    if (!is_indexed(bits) || colors == 0)
        return V_SUCCESS;
    return give_palette(made, source.Palette, std::min(colors, 1u << bits));
}

int copy_overlays(BITMAPHANDLE& made, BITMAPHANDLE& source) noexcept
{
    auto* const from = static_cast<OverlayTable*>(source.Overlays);
    if (!from)
        return V_SUCCESS;
    OverlayTable* const to = require_overlays(made);
    if (!to)
        return V_ERROR_NO_MEMORY;
    std::copy_n(from->attributes, kOverlaySlots, to->attributes);
    const SilentStatus silent;
    for (int i = 0; i < kOverlaySlots; ++i) {
        if (!(from->bitmaps[i].Flags & BITMAPFLAG_ALLOCATED))
            continue; // an empty slot
        const int result = copy_bitmap(to->bitmaps[i], from->bitmaps[i], kRecordSize);
        if (result != V_SUCCESS)
            return result;
    }
    return V_SUCCESS;
}

/// A copy of a block of `bytes` bytes, or of as many as the block has; null without memory.
template <class T> T* copy_block(const T* from, uint64_t bytes) noexcept
{
    void* const to = bytes > SIZE_MAX / 2 ? nullptr : locked_block_alloc(static_cast<size_t>(bytes));
    if (to)
        std::memcpy(to, from, static_cast<size_t>(held_bytes(from, bytes)));
    return static_cast<T*>(to);
}

int copy_extra_data(BITMAPHANDLE& made, const BITMAPHANDLE& source) noexcept
{
    if (!source.ExtraData || source.ExtraDataSize == 0)
        return V_SUCCESS;
    void* const from = source.ExtraData;
    uint8_t* const block = copy_block(static_cast<const uint8_t*>(from), source.ExtraDataSize);
    if (!block)
        return V_ERROR_NO_MEMORY;
    made.ExtraData = block;
    made.ExtraDataSize = source.ExtraDataSize;
    return V_SUCCESS;
}

/// The tables only a current record has.
int copy_gray_tables16(BITMAPHANDLE& made, const BITMAPHANDLE& source) noexcept
{
    if (!is_current(made) || !is_current(source))
        return V_SUCCESS;
    if (source.LUT16 && source.LUTLength16 != 0) {
        const V_RGBQUAD16* const from = source.LUT16;
        made.LUT16 = copy_block(from, uint64_t{source.LUTLength16} * sizeof *from);
        if (!made.LUT16)
            return V_ERROR_NO_MEMORY;
        made.LUTLength16 = source.LUTLength16;
    }
    if (source.PaintLUT16) {
        const uint16_t* const from = source.PaintLUT16;
        made.PaintLUT16 = copy_block(from, kPaintEntries16 * sizeof *from);
        if (!made.PaintLUT16)
            return V_ERROR_NO_MEMORY;
    }
    return V_SUCCESS;
}

int copy_gray_tables(BITMAPHANDLE& made, const BITMAPHANDLE& source) noexcept
{
    if (!same_format(made, source))
        return V_SUCCESS;
    if (source.LUT && source.LUTLength != 0) {
        const RGBQUAD* const from = source.LUT;
        made.LUT = copy_block(from, uint64_t{source.LUTLength} * sizeof *from);
        if (!made.LUT)
            return V_ERROR_NO_MEMORY;
        made.LUTLength = source.LUTLength;
    }
    if (source.PaintLUT && made.PaintLUT)
        std::memcpy(made.PaintLUT, source.PaintLUT, kPaintEntries);
    made.Flags |= source.Flags & (BITMAPFLAG_USELUT | BITMAPFLAG_USEPAINTLUT);
    return copy_gray_tables16(made, source);
}

int copy_parts(BITMAPHANDLE& made, BITMAPHANDLE& source, uint32_t flags) noexcept
{
    int result = flags & DUPFLAG_PALETTE ? copy_palette(made, source) : V_SUCCESS;
    if (result == V_SUCCESS && flags & DUPFLAG_EXTRADATA)
        result = copy_extra_data(made, source);
    if (result == V_SUCCESS && flags & DUPFLAG_GRAYTABLES)
        result = copy_gray_tables(made, source);
    if (result == V_SUCCESS && flags & DUPFLAG_OVERLAYS)
        result = copy_overlays(made, source);
    if (result == V_SUCCESS && flags & DUPFLAG_REGION)
        result = copy_region(source, made);
    if (result == V_SUCCESS && flags & DUPFLAG_ANIMATION)
        copy_animation(made, source);
    return result;
}

/// Description and storage.
int make_bare(BITMAPHANDLE& made, const BITMAPHANDLE& source, const Shape& shape, uint32_t flags) noexcept
{
    if (!row_holds_width(made.BytesPerLine, made.Width, made.BitsPerPixel))
        return V_ERROR_INVALID_WIDTH_HEIGHT;
    describe(made, source, shape.order == Shape::kLikeSource ? order_like(source, shape.bits) : shape.order);
    const bool keeps_callbacks = flags & DUPFLAG_TAKEOVER && !has_rows_of_callbacks(source);
    if ((flags & DUPFLAG_DATACALLBACKS || keeps_callbacks) && is_current(made)) {
        const int result = set_data_callbacks(made, data_callbacks(source));
        if (result != V_SUCCESS)
            return result;
    }
    // Callbacks see a bitmap whenever they like.
    const NewPixels pixels = data_callbacks(made) ? NewPixels::clear : shape.pixels;
    return allocate_bitmap(made, shape.memory ? shape.memory : memory_like(source), nullptr, pixels);
}

// Moving parts. Fields of packed records are copied, never bound, hence the repetition.

void move_palette(BITMAPHANDLE& made, BITMAPHANDLE& source) noexcept
{
    if (!source.Palette || made.BitsPerPixel != source.BitsPerPixel)
        return;
    free_palette(made.Palette);
    made.Palette = source.Palette;
    made.Colors = source.Colors;
    source.Palette = nullptr;
}

void move_gray_tables(BITMAPHANDLE& made, BITMAPHANDLE& source) noexcept
{
    if (!same_format(made, source))
        return;
    locked_block_free(made.LUT);
    made.LUT = source.LUT;
    made.LUTLength = source.LUTLength;
    source.LUT = nullptr;
    uint8_t* const own = made.PaintLUT;
    made.PaintLUT = source.PaintLUT;
    source.PaintLUT = own;
    constexpr uint32_t kUse = BITMAPFLAG_USELUT | BITMAPFLAG_USEPAINTLUT;
    made.Flags = (made.Flags & ~kUse) | (source.Flags & kUse);
    if (!is_current(made) || !is_current(source))
        return;
    locked_block_free(made.LUT16);
    made.LUT16 = source.LUT16;
    made.LUTLength16 = source.LUTLength16;
    source.LUT16 = nullptr;
    locked_block_free(made.PaintLUT16);
    made.PaintLUT16 = source.PaintLUT16;
    source.PaintLUT16 = nullptr;
}

} // namespace

Shape shape_of(const BITMAPHANDLE& bitmap) noexcept
{
    return {bitmap.Width, bitmap.Height, bitmap.BitsPerPixel, bitmap.Order, 0};
}

bool same_format(const BITMAPHANDLE& a, const BITMAPHANDLE& b) noexcept
{
    return a.BitsPerPixel == b.BitsPerPixel && is_gray(a.Order) == is_gray(b.Order);
}

int give_palette(BITMAPHANDLE& bitmap, const RGBQUAD* entries, uint32_t count) noexcept
{
    RGBQUAD all[kMaxPaletteEntries] = {};
    std::copy_n(entries, count, all);
    RGBQUAD* const palette = new_palette(all, std::max(count, 1u << bitmap.BitsPerPixel));
    if (!palette)
        return V_ERROR_NO_MEMORY;
    free_palette(bitmap.Palette);
    bitmap.Palette = palette;
    bitmap.Colors = count;
    return V_SUCCESS;
}

bool has_rows_of_callbacks(const BITMAPHANDLE& bitmap) noexcept
{
    const BITMAPDATACALLBACKS* const calls = data_callbacks(bitmap);
    return calls && (calls->GetBitmapRowColCallback || calls->PutBitmapRowColCallback || !store_of(bitmap));
}

uint32_t copy_flags(const BITMAPHANDLE& source) noexcept
{
    return has_rows_of_callbacks(source) ? DUPFLAG_COPY & ~DUPFLAG_DATACALLBACKS : DUPFLAG_COPY;
}

int make_like(BITMAPHANDLE& made, BITMAPHANDLE& source, uint32_t struct_size, const Shape& shape,
              uint32_t dup_flags) noexcept
{
    int result = init_bitmap(made, struct_size, shape.width, shape.height, shape.bits, nullptr);
    if (result == V_SUCCESS && shape.bits == 0) // an empty record is no bitmap
        result = V_ERROR_INVALID_WIDTH_HEIGHT;
    if (result == V_SUCCESS)
        result = make_bare(made, source, shape, dup_flags);
    if (result == V_SUCCESS)
        result = copy_parts(made, source, dup_flags);
    if (result != V_SUCCESS) {
        free_bitmap(made);
        clear_record(made, struct_size);
    }
    return result;
}

void hand_over(BITMAPHANDLE& made, BITMAPHANDLE& source, uint32_t copied) noexcept
{
    if (!(copied & DUPFLAG_PALETTE))
        move_palette(made, source);
    if (!(copied & DUPFLAG_OVERLAYS)) {
        made.Overlays = source.Overlays;
        source.Overlays = nullptr;
    }
    if (!(copied & DUPFLAG_EXTRADATA)) {
        made.ExtraData = source.ExtraData;
        made.ExtraDataSize = source.ExtraDataSize;
        source.ExtraData = nullptr;
        source.ExtraDataSize = 0;
    }
    if (!(copied & DUPFLAG_GRAYTABLES))
        move_gray_tables(made, source);
    if (!(copied & DUPFLAG_ANIMATION))
        copy_animation(made, source);
    if (!made.RgnInfo) {
        made.RgnInfo = source.RgnInfo;
        source.RgnInfo = nullptr;
    }
}

int check_duplicate(BITMAPHANDLE* made, const BITMAPHANDLE* source, uint32_t struct_size) noexcept
{
    if (!made || !source || made == source)
        return V_ERROR_INVALID_PARAMETER;
    if (!is_record_size(struct_size))
        return V_ERROR_INVALID_STRUCT_SIZE;
    const int result = check_allocated(source);
    if (result != V_SUCCESS)
        clear_record(*made, struct_size);
    return result;
}

} // namespace vk
