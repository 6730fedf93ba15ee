#include "kernel/window/WindowBitmap.h"

#include "Vkbitmap.h"
#include "kernel/bitmap/Record.h"
#include "kernel/bitmap/Region.h"
#include "kernel/bitmap/Staged.h"
#include "kernel/palette/Palette.h"
#include "kernel/rows/RowAccess.h"
#include "kernel/system/Blocks.h"
#include "kernel/system/Progress.h"
#include "kernel/window/Samples.h"
#include "kernel/window/ShownRows.h"
#include "simd/Simd.h"

#include <algorithm>
#include <cstring>

namespace vk {

namespace {

constexpr int32_t kTableBits = 16;
constexpr int32_t kLevelBits = 8;

/// Bytes of a destination from which writing past the caches pays.
constexpr uint64_t kStreamFrom = uint64_t{8} << 20;

/// Shows all rows of an accessed bitmap on another one of the same size; the window counts inside the region.
class Fill {
public:
    Fill(BITMAPHANDLE& from, BITMAPHANDLE& to) noexcept
        : from_(from), to_(to), inside_(from), reader_(from), writer_(to),
          streams_(inside_.is_whole() && writer_.in_place() && plain_size(to) >= kStreamFrom)
    {}
    Fill(const Fill&) = delete;
    Fill& operator=(const Fill&) = delete;
    ~Fill()
    {
        if (streams_)
            simd::fence();
    }

    int run(const SampleForm& form, const V_WINDOW* window) noexcept
    {
        int result = rows_.open(from_, form, window, to_.BitsPerPixel, from_.Width);
        const bool has_outside = window && !inside_.is_whole();
        if (result == V_SUCCESS && has_outside)
            result = outside_.open(from_, form, nullptr, to_.BitsPerPixel, from_.Width);
        if (result == V_SUCCESS)
            result = reader_.reserve(1);
        if (result == V_SUCCESS)
            result = writer_.reserve(1);
        Progress progress(from_.Height);
        if (result == V_SUCCESS)
            result = progress.begin();
        for (int32_t y = 0; y < from_.Height && result == V_SUCCESS; ++y) {
            result = run_row(y, has_outside);
            if (result == V_SUCCESS)
                result = progress.update(int64_t{y} + 1);
        }
        return result;
    }

private:
    int run_row(int32_t y, bool has_outside) noexcept
    {
        const uint8_t* row = nullptr;
        const int result = reader_.read(y, 1, &row);
        if (result != V_SUCCESS)
            return result;
        uint8_t* const out = writer_.place(y);
        const int32_t width = from_.Width;
        if (!has_outside) {
            rows_.run(row, 0, width, out, streams_);
        } else {
            outside_.run(row, 0, width, out, false);
            inside_.each(y, 0, width,
                         [&](int32_t first, int32_t end) noexcept { rows_.run(row, first, end, out, false); });
        }
        return writer_.write(y, 1);
    }

    BITMAPHANDLE& from_;
    BITMAPHANDLE& to_;
    const RegionRows inside_;
    RowReader reader_;
    RowWriter writer_;
    const bool streams_;
    ShownRows rows_;
    ShownRows outside_;
};

/// Makes and fills the staged bitmap.
int stage(Staged& staged, BITMAPHANDLE& source, uint32_t struct_size, uint32_t dup_flags, const V_WINDOW* window,
          int32_t bits) noexcept
{
    SampleForm form;
    int result = sample_form(source, window ? window->Flags : 0, &form);
    if (result == V_SUCCESS)
        result = check_rows(source);
    const Shape shape{source.Width,
                      source.Height,
                      bits,
                      bits == kLevelBits ? COLORORDER_RGB : COLORORDER_BGR,
                      0,
                      NewPixels::to_be_written};
    if (result == V_SUCCESS)
        result = staged.make(shape, struct_size, dup_flags);
    BITMAPHANDLE& made = staged.record();
    if (result == V_SUCCESS && bits == kLevelBits)
        result = give_palette(made, gray_levels(), kMaxPaletteEntries);
    if (result != V_SUCCESS)
        return result;
    made.Flags &= ~(BITMAPFLAG_USELUT | BITMAPFLAG_SIGNED); // what they say of samples is in the pixels now
    BitmapAccess access(source);
    result = access.result();
    if (result == V_SUCCESS) {
        BitmapAccess made_access(made);
        result = made_access.result();
        if (result == V_SUCCESS)
            result = Fill(source, made).run(form, window);
        const int released = made_access.release();
        result = result == V_SUCCESS ? released : result;
    }
    const int released = access.release();
    return result == V_SUCCESS ? released : result;
}

} // namespace

int set_bitmap_window(BITMAPHANDLE& bitmap, const V_WINDOW& window) noexcept
{
    SampleForm form;
    int result = sample_form(bitmap, window.Flags, &form);
    if (result == V_SUCCESS && form.significant.bits > kTableBits)
        result = V_ERROR_INVALID_BITS_PER_PIXEL;
    if (result != V_SUCCESS)
        return result;
    const size_t entries = size_t{form.significant.mask()} + 1;
    auto* const table = static_cast<RGBQUAD*>(locked_block_alloc(entries * sizeof(RGBQUAD)));
    if (!table)
        return V_ERROR_NO_MEMORY;
    const uint32_t flip = window.Flags & WINDOWFLAG_INVERTED ? 0xFF : 0;
    const uint32_t turn = form.is_inverted ? form.significant.mask() : 0; // palette indices from white on
    const SampleRange range = form.range();
    each_level(WindowSteps(window, {0, WindowSteps::kMost}, range), range,
               [&](int64_t first, int64_t end, int32_t value) noexcept {
                   const auto level = static_cast<uint8_t>(static_cast<uint32_t>(value) ^ flip);
                   for (int64_t sample = first; sample < end; ++sample)
                       table[form.stored(sample) ^ turn] = {level, level, level, 0};
               });
    locked_block_free(bitmap.LUT);
    bitmap.LUT = table;
    bitmap.LUTLength = static_cast<uint32_t>(entries);
    bitmap.Flags |= BITMAPFLAG_USELUT;
    return V_SUCCESS;
}

int window_bitmap(BITMAPHANDLE& bitmap, const V_WINDOW* window, int32_t bits) noexcept
{
    constexpr uint32_t kCopied = DUPFLAG_PALETTE | DUPFLAG_ANIMATION | DUPFLAG_TAKEOVER;
    Staged staged(bitmap);
    const int result = stage(staged, bitmap, bitmap.StructSize, kCopied, window, bits);
    return result == V_SUCCESS ? staged.replace() : result;
}

int make_windowed(BITMAPHANDLE& made, BITMAPHANDLE& source, uint32_t struct_size, const V_WINDOW* window,
                  int32_t bits) noexcept
{
    Staged staged(source);
    const int result = stage(staged, source, struct_size, DUPFLAG_COPY, window, bits);
    if (result == V_SUCCESS)
        staged.give(made);
    else
        clear_record(made, struct_size);
    return result;
}

} // namespace vk
