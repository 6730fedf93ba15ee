/**
 * @file Crop.cpp
 * crop, trim and extend: a part of a picture, what is not its border, and more around it.
 */
#include "tools/Operation.h"
#include "tools/Values.h"

namespace vk::tool {

namespace {

void keep(BITMAPHANDLE& record, const RECT& rect)
{
    check(V_TrimBitmap(&record, rect.left, rect.top, rect.right - rect.left, rect.bottom - rect.top), "cropping");
}

const Option kCropOptions[] = {
    {"--rect", "X,Y,W,H", "the part to keep, in pixels from the top left corner"},
};

Action prepare_crop(const Arguments& arguments)
{
    const std::optional<RECT> rect = rect_option(arguments);
    if (!rect) {
        throw UsageError("crop needs --rect");
    }
    return [rect = *rect](Bitmap& bitmap) {
        const BITMAPHANDLE& record = bitmap.record();
        if (rect.left >= record.Width || rect.top >= record.Height || rect.right <= 0 || rect.bottom <= 0) {
            throw OperationError("the picture has nothing there");
        }
        keep(bitmap.record(), rect);
    };
}

const Option kTrimOptions[] = {
    {"--border", "RRGGBB", "the border's colour (default: that of the pixel in the top left corner)"},
    {"--tolerance", "N", "how far each channel may be from it, 0 (default) to 255"},
};

Action prepare_trim(const Arguments& arguments)
{
    return [border = color_option(arguments, "--border"), tolerance = tolerance_option(arguments)](Bitmap& bitmap) {
        BITMAPHANDLE& record = bitmap.record();
        const COLORREF color = border ? *border : V_GetPixelColor(&record, 0, 0);
        RECT rect{};
        check(V_GetTrimRect(&record, color, tolerance, &rect), "looking for the border");
        if (rect.left == rect.right) {
            throw OperationError("the picture is all border");
        }
        keep(record, rect);
    };
}

const Option kExtendOptions[] = {
    {"--by", "L,T,R,B", "pixels to add on the left, at the top, on the right and at the bottom"},
    {"--kind", "KIND", "fill (default), edge, mirror or wrap"},
    {"--fill", "RRGGBB", "colour of what is added (default 000000)"},
};

constexpr Word<uint32_t> kKinds[] = {
    {"fill", EXTEND_FILL},
    {"edge", EXTEND_EDGE},
    {"mirror", EXTEND_MIRROR},
    {"wrap", EXTEND_WRAP},
};

Action prepare_extend(const Arguments& arguments)
{
    const auto sides = integers_option<4>(arguments, "--by");
    if (!sides || *std::min_element(sides->begin(), sides->end()) < 0) {
        throw UsageError("extend needs --by with four numbers of pixels");
    }
    const uint32_t kind = require_word(kKinds, "--kind", arguments.value("--kind").value_or("fill"));
    return [sides = *sides, kind, fill = fill_option(arguments)](Bitmap& bitmap) {
        check(V_ExtendBitmap(&bitmap.record(), sides[0], sides[1], sides[2], sides[3], kind, fill), "extending");
    };
}

} // namespace

extern const Operation kCrop;
const Operation kCrop = {"crop", "cropping", "Keeps a part of a picture.", kCropOptions, &prepare_crop};

extern const Operation kTrim;
const Operation kTrim = {"trim", "trimming", "Cuts off a picture's border.", kTrimOptions, &prepare_trim};

extern const Operation kExtend;
const Operation kExtend = {"extend", "extending", "Adds pixels around a picture.", kExtendOptions, &prepare_extend};

} // namespace vk::tool
