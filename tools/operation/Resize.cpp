/**
 * @file Resize.cpp
 * resize: other pixel dimensions, with the filter of the user's choice.
 */
#include "tools/Operation.h"
#include "tools/Values.h"

#include <algorithm>
#include <cmath>

namespace vk::tool {

namespace {

const Option kOptions[] = {
    {"--size", "WxH", "pixels; without one of the two, as 300x or x200, the shape is kept"},
    {"--scale", "PERCENT", "of the picture's size, instead of --size"},
    {"--filter", "KIND",
     "nearest, area (default), bicubic, sharp; of 1-bit pictures also favor-black and gray (a gray picture)"},
    {"--alpha-aware", nullptr, "keep the colours of fully transparent pixels out of the edges"},
};

constexpr Word<uint32_t> kFilters[] = {
    {"nearest", SIZEFLAG_NORMAL},    {"area", SIZEFLAG_RESAMPLE},          {"bicubic", SIZEFLAG_BICUBIC},
    {"sharp", SIZEFLAG_ALTRESAMPLE}, {"favor-black", SIZEFLAG_FAVORBLACK}, {"gray", SIZEFLAG_SCALETOGRAY},
};

struct Request {
    int32_t width = 0; ///< 0: by the height and the shape
    int32_t height = 0;
    double scale = 0; ///< 0: by the size
    uint32_t flags = 0;
};

void read_size(const Arguments& arguments, Request& request)
{
    const std::optional<Sides> size = size_option(arguments);
    const std::optional<std::string> scale = arguments.value("--scale");
    if (size.has_value() == scale.has_value()) {
        throw UsageError("resize needs either --size or --scale");
    }
    if (scale) {
        if (!parse_number(*scale, request.scale) || !(request.scale > 0 && request.scale <= 1e6)) {
            throw UsageError("--scale needs a percentage above 0");
        }
        return;
    }
    request.width = size->width;
    request.height = size->height;
}

/** A side in pixels, at least 1 and no more than a bitmap can have. */
int32_t pixels(double side)
{
    constexpr double kMost = 2147483647.0;
    return static_cast<int32_t>(std::clamp(std::round(side), 1.0, kMost));
}

void resize(Bitmap& bitmap, const Request& request)
{
    BITMAPHANDLE& record = bitmap.record();
    const double width = record.Width;
    const double height = record.Height;
    int32_t new_width = request.width;
    int32_t new_height = request.height;
    if (request.scale > 0) {
        new_width = pixels(width * request.scale / 100);
        new_height = pixels(height * request.scale / 100);
    } else if (new_width == 0) {
        new_width = pixels(width * new_height / height);
    } else if (new_height == 0) {
        new_height = pixels(height * new_width / width);
    }
    check(V_SizeBitmap(&record, new_width, new_height, request.flags), "resizing");
}

Action prepare(const Arguments& arguments)
{
    Request request;
    read_size(arguments, request);
    request.flags = require_word(kFilters, "--filter", arguments.value("--filter").value_or("area"));
    if (arguments.has("--alpha-aware")) {
        request.flags |= SIZEFLAG_ALPHAAWARE;
    }
    return [request](Bitmap& bitmap) { resize(bitmap, request); };
}

} // namespace

extern const Operation kResize;
const Operation kResize = {"resize", "resizing", "Changes a picture's dimensions.", kOptions, &prepare};

} // namespace vk::tool
