// Overlays and the pixels under them. Samples lie in their rows as streams of bits, the lowest first, at all depths
// that gray samples have, so a bit of one is a bit of its row.
#include "Vkbitmap.h"
#include "Vkcolorres.h"
#include "kernel/area/Bits.h"
#include "kernel/bitmap/Alloc.h"
#include "kernel/bitmap/Duplicate.h"
#include "kernel/bitmap/Staged.h"
#include "kernel/colorres/ColorRes.h"
#include "kernel/colorres/GrayScale.h"
#include "kernel/combine/FillColor.h"
#include "kernel/overlay/OverlaySlots.h"
#include "kernel/resize/Temporary.h"
#include "kernel/rows/RowAccess.h"
#include "kernel/system/SilentStatus.h"
#include "kernel/view/ViewPerspective.h"

#include <algorithm>
#include <cstring>

namespace vk {

namespace {

constexpr uint8_t kFirstBit = 0x80;

/// A bit of the samples of a row.
class SampleBit {
public:
    SampleBit(int32_t bits, int32_t bit) noexcept : bits_(static_cast<uint32_t>(bits)), bit_(static_cast<uint32_t>(bit))
    {}

    bool get(const uint8_t* row, int32_t x) const noexcept { return (row[place(x) / 8] & mask(x)) != 0; }
    void put(uint8_t* row, int32_t x, bool is_set) const noexcept
    {
        uint8_t& byte = row[place(x) / 8];
        byte = static_cast<uint8_t>(is_set ? byte | mask(x) : byte & ~mask(x));
    }

private:
    uint64_t place(int32_t x) const noexcept { return uint64_t{static_cast<uint32_t>(x)} * bits_ + bit_; }
    uint8_t mask(int32_t x) const noexcept { return static_cast<uint8_t>(1u << place(x) % 8); }

    uint32_t bits_;
    uint32_t bit_;
};

bool is_set(const uint8_t* row, int32_t x) noexcept
{
    return (row[x / 8] & kFirstBit >> x % 8) != 0;
}

/// Calls `change(row, from, to)` for each row of a source and, with what it left there the row before, of a bitmap of
/// the same height, and writes the latter. Both are accessed meanwhile.
template <class Change> int change_rows(BITMAPHANDLE& from, BITMAPHANDLE& to, Change change) noexcept
{
    BitmapAccess from_access(from);
    BitmapAccess to_access(to);
    int result = first_failure(from_access.result(), to_access.result());
    RowReader reader(from);
    RowWriter writer(to);
    if (result == V_SUCCESS)
        result = reader.reserve(1);
    if (result == V_SUCCESS)
        result = writer.reserve(1);
    for (int32_t y = 0; y < from.Height && result == V_SUCCESS; ++y) {
        const uint8_t* row = nullptr;
        result = reader.read(y, 1, &row);
        if (result == V_SUCCESS)
            result = change(y, row, writer.place(y));
        if (result == V_SUCCESS)
            result = writer.write(y, 1);
    }
    const int released = to_access.release();
    return first_failure(result, first_failure(released, from_access.release()));
}

/// Fills runs of pixels of whole bytes.
void fill_runs(uint8_t* row, const AreaRun* runs, size_t count, const uint8_t* pixel, size_t bytes) noexcept
{
    for (size_t i = 0; i < count; ++i) {
        uint8_t* to = row + bytes * static_cast<size_t>(runs[i].first);
        for (int32_t x = runs[i].first; x < runs[i].end; ++x, to += bytes)
            std::memcpy(to, pixel, bytes);
    }
}

/// Draws an overlay that has the perspective of the bitmap.
int draw(BITMAPHANDLE& overlay, BITMAPHANDLE& bitmap, COLORREF color) noexcept
{
    const combine::FillColor fill = combine::fill_color(bitmap, color);
    const auto bytes = static_cast<size_t>(bitmap.BitsPerPixel / 8);
    const int32_t width = std::min(+overlay.Width, +bitmap.Width);
    const size_t line = bitmap.BytesPerLine;
    BitmapAccess from_access(overlay);
    BitmapAccess to_access(bitmap);
    int result = first_failure(from_access.result(), to_access.result());
    RowReader reader(overlay);
    RowBuffer row;
    RowBuffer runs;
    if (result == V_SUCCESS && !(row.allocate(line) && runs.allocate((uint64_t(width) / 2 + 1) * sizeof(AreaRun))))
        result = V_ERROR_NO_MEMORY;
    if (result == V_SUCCESS)
        result = reader.reserve(1);
    auto* const found = reinterpret_cast<AreaRun*>(runs.data());
    for (int32_t y = 0; y < std::min(+overlay.Height, +bitmap.Height) && result == V_SUCCESS; ++y) {
        const uint8_t* bits = nullptr;
        result = reader.read(y, 1, &bits);
        const size_t count = result == V_SUCCESS ? runs_of_bits(bits, width, found) : 0;
        if (count == 0)
            continue;
        result = get_rows(bitmap, row.data(), y, 1);
        if (result == V_SUCCESS) {
            fill_runs(row.data(), found, count, fill.packed, bytes);
            result = put_rows(bitmap, row.data(), y, 1);
        }
    }
    const int released = to_access.release();
    return first_failure(result, first_failure(released, from_access.release()));
}

int draw_turned(BITMAPHANDLE& overlay, BITMAPHANDLE& bitmap, COLORREF color) noexcept
{
    const int32_t to = bitmap.ViewPerspective;
    if (overlay.ViewPerspective == to || !is_perspective(overlay.ViewPerspective) || !is_perspective(to))
        return draw(overlay, bitmap, color);
    Temporary turned;
    const int result = copy_in_view_perspective(turned.record(), overlay, kRecordSize, to, 0);
    return result == V_SUCCESS ? draw(turned.record(), bitmap, color) : result;
}

/// Colours that an overlay can be drawn in.
bool has_colors(const BITMAPHANDLE& bitmap) noexcept
{
    return bitmap.BitsPerPixel > 12 && bitmap.Order != COLORORDER_GRAY;
}

} // namespace

int load_overlay_bits(BITMAPHANDLE& bitmap, int32_t index, int32_t bit) noexcept
{
    Temporary made;
    int result = make_like(made.record(), bitmap, kRecordSize, {bitmap.Width, bitmap.Height, 1}, 0);
    const SampleBit sample(bitmap.BitsPerPixel, bit);
    if (result == V_SUCCESS)
        result = change_rows(bitmap, made.record(), [&](int32_t, const uint8_t* row, uint8_t* to) noexcept {
            std::memset(to, 0, made.record().BytesPerLine);
            for (int32_t x = 0; x < bitmap.Width; ++x)
                if (sample.get(row, x))
                    to[x / 8] = static_cast<uint8_t>(to[x / 8] | kFirstBit >> x % 8);
            return V_SUCCESS;
        });
    return result == V_SUCCESS ? place_overlay(bitmap, index, made.record()) : result;
}

int store_overlay_bits(BITMAPHANDLE& bitmap, int32_t index, int32_t bit) noexcept
{
    BITMAPHANDLE& overlay = *overlay_in(bitmap, index);
    const SampleBit sample(bitmap.BitsPerPixel, bit);
    Staged staged(bitmap);
    BitmapAccess access(overlay);
    int result = access.result();
    RowReader bits(overlay);
    if (result == V_SUCCESS)
        result = bits.reserve(1);
    if (result == V_SUCCESS)
        result = staged.make(shape_of(bitmap), DUPFLAG_PALETTE | DUPFLAG_ANIMATION);
    if (result == V_SUCCESS)
        result = change_rows(bitmap, staged.record(), [&](int32_t y, const uint8_t* row, uint8_t* to) noexcept {
            const uint8_t* set = nullptr;
            const int got = bits.read(y, 1, &set);
            std::memcpy(to, row, bitmap.BytesPerLine);
            for (int32_t x = 0; x < bitmap.Width && got == V_SUCCESS; ++x)
                sample.put(to, x, is_set(set, x));
            return got;
        });
    const int released = access.release();
    result = first_failure(result, released);
    if (result == V_SUCCESS) {
        staged.record().MinVal = bitmap.MinVal;
        staged.record().MaxVal = bitmap.MaxVal;
        result = staged.replace();
    }
    return result;
}

int flatten_overlays(BITMAPHANDLE& made, BITMAPHANDLE& source, uint32_t struct_size) noexcept
{
    ColorResRequest colors;
    colors.bits = 24;
    colors.flags = COLORRES_ORDER_BGR;
    int result =
        has_colors(source) ? copy_bitmap(made, source, struct_size) : make_colors(made, source, struct_size, colors);
    if (result != V_SUCCESS)
        return result;
    free_overlays(made);
    const SilentStatus silent;
    const auto* const table = static_cast<const OverlayTable*>(source.Overlays);
    for (int32_t i = 0; i < kOverlaySlots && table && result == V_SUCCESS; ++i) {
        BITMAPHANDLE* const overlay = overlay_in(source, i);
        if (overlay && table->attributes[i].Flags & OVERLAYFLAG_VISIBLE)
            result = draw_turned(*overlay, made, table->attributes[i].Color);
    }
    if (result != V_SUCCESS) {
        free_bitmap(made);
        clear_record(made, struct_size);
    }
    return result;
}

} // namespace vk
