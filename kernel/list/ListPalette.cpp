#include "kernel/list/ListPalette.h"

#include "Vklist.h"
#include "kernel/colorres/ColorRes.h"
#include "kernel/colorres/Quantize.h"
#include "kernel/palette/Palette.h"
#include "kernel/rows/Locks.h"
#include "kernel/system/Progress.h"

#include <algorithm>

namespace vk {

namespace {

constexpr RGBQUAD kBlack{0, 0, 0, 0};
constexpr RGBQUAD kWhite{255, 255, 255, 0};

bool is_color(const RGBQUAD& a, const RGBQUAD& b) noexcept
{
    return a.rgbBlue == b.rgbBlue && a.rgbGreen == b.rgbGreen && a.rgbRed == b.rgbRed;
}

int add_bitmap(BITMAPHANDLE& bitmap, quantize::Quantizer& quantizer, const ProgressShare& share,
               const CountedPixels& counted) noexcept
{
    BitmapAccess access(bitmap);
    Progress progress(bitmap.Height, share);
    int result = access.result();
    if (result == V_SUCCESS)
        result = progress.begin();
    if (result == V_SUCCESS)
        result = add_colors(bitmap, quantizer, progress, counted);
    return first_failure(result, access.release());
}

} // namespace

int make_list_palette(BITMAPHANDLE* bitmaps, uint32_t bitmap_count, RGBQUAD* entries, uint32_t* count,
                      uint32_t flags) noexcept
{
    const bool has_extremes = flags & LISTPAL_BLACKWHITE;
    const CountedPixels counted{(flags & LISTPAL_SKIPTRANSPARENT) != 0, has_extremes};
    quantize::Quantizer quantizer(has_extremes ? *count - 2 : *count);
    for (uint32_t i = 0; i < bitmap_count; ++i) {
        const int result = add_bitmap(bitmaps[i], quantizer, ProgressShare{}.pass(i, bitmap_count), counted);
        if (result != V_SUCCESS)
            return result;
    }
    RGBQUAD made[kMaxPaletteEntries];
    uint32_t found = 0;
    bool is_exact = false;
    if (!quantizer.make(made, &found, &is_exact))
        return V_ERROR_NO_MEMORY;
    RGBQUAD* to = entries;
    if (has_extremes || found == 0)
        *to++ = kBlack;
    to = std::copy_if(made, made + found, to, [&](const RGBQUAD& entry) noexcept {
        return !has_extremes || !(is_color(entry, kBlack) || is_color(entry, kWhite)); // means may come to these
    });
    if (has_extremes)
        *to++ = kWhite;
    *count = static_cast<uint32_t>(to - entries);
    return V_SUCCESS;
}

} // namespace vk
