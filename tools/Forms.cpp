/**
 * @file Forms.cpp
 * Pictures brought into other forms, without dithering.
 */
#include "tools/Forms.h"

#include "tools/Failure.h"
#include "tools/PictureFile.h"

namespace vk::tool {

void have_alpha(BITMAPHANDLE& record)
{
    if (record.BitsPerPixel == 32 || record.BitsPerPixel == 64) {
        return;
    }
    const bool is_deep = record.BitsPerPixel == 48 || (record.Order == COLORORDER_GRAY && record.BitsPerPixel > 8);
    check(V_ColorResBitmap(&record, nullptr, 0, is_deep ? 64 : 32, 0, nullptr, nullptr, 0), "adding alpha");
}

void make_gray(BITMAPHANDLE& record)
{
    if (record.Order == COLORORDER_GRAY && (record.BitsPerPixel == 8 || record.BitsPerPixel == 16)) {
        return;
    }
    check(V_ColorResBitmap(&record, nullptr, 0, 8, COLORRES_NODITHER | COLORRES_ORDER(COLORORDER_GRAY), nullptr,
                           nullptr, 0),
          "making it gray");
}

void make_two_levels(BITMAPHANDLE& record)
{
    check(V_ColorResBitmap(&record, nullptr, 0, 1, COLORRES_NODITHER | COLORRES_PALETTE_FIXED, nullptr, nullptr, 0),
          "making two levels");
}

std::unique_ptr<Bitmap> load_mask(const std::string& name)
{
    std::unique_ptr<Bitmap> mask = load_bitmap(name, unseen);
    make_gray(mask->record());
    return mask;
}

} // namespace vk::tool
