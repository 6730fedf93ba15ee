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

/** The size that a picture of this one gets. */
Sides new_size(int32_t old_width, int32_t old_height, const Request& request)
{
    const double width = old_width;
    const double height = old_height;
    if (request.scale > 0) {
        return {pixels(width * request.scale / 100), pixels(height * request.scale / 100)};
    }
    return {request.width != 0 ? request.width : pixels(width * request.height / height),
            request.height != 0 ? request.height : pixels(height * request.width / width)};
}

void resize(Bitmap& bitmap, const Request& request)
{
    BITMAPHANDLE& record = bitmap.record();
    const Sides size = new_size(record.Width, record.Height, request);
    check(V_SizeBitmap(&record, size.width, size.height, request.flags), "resizing");
}

/** Filters with a name of their own in the streaming resize, and how far they reach. */
struct StreamFilter {
    uint32_t flags;
    uint32_t stream_flags;
    double reach;
};

constexpr StreamFilter kStreamFilters[] = {
    {SIZEFLAG_NORMAL, STREAMFLAG_NEAREST, 1},
    {SIZEFLAG_RESAMPLE, STREAMFLAG_AREA, 1},
    {SIZEFLAG_BICUBIC, STREAMFLAG_AREA | STREAMFLAG_BICUBIC, 4},
    {SIZEFLAG_ALTRESAMPLE, STREAMFLAG_SHARP, 6},
};

Rows resize_rows(Rows& rows, const Request& request)
{
    const PictureInfo& info = rows->info();
    const Sides size = new_size(info.width, info.height, request);
    const uint32_t flags = request.flags & ~(info.bits % 32 == 0 ? 0u : SIZEFLAG_ALPHAAWARE);
    const auto filter = std::find_if(std::begin(kStreamFilters), std::end(kStreamFilters),
                                     [&](const StreamFilter& known) { return known.flags == flags; });
    if (filter == std::end(kStreamFilters)) {
        return nullptr;
    }
    if (size.width == info.width && size.height == info.height) {
        return std::move(rows);
    }
    StreamRequest stream;
    stream.width = size.width;
    stream.height = size.height;
    stream.bits = info.bits;
    stream.order = info.order;
    stream.flags = filter->stream_flags;
    stream.reach = filter->reach;
    return stream_rows(rows, stream, info);
}

Request read_request(const Arguments& arguments)
{
    Request request;
    read_size(arguments, request);
    request.flags = require_word(kFilters, "--filter", arguments.value("--filter").value_or("area"));
    if (arguments.has("--alpha-aware")) {
        request.flags |= SIZEFLAG_ALPHAAWARE;
    }
    return request;
}

Action prepare(const Arguments& arguments)
{
    return [request = read_request(arguments)](Bitmap& bitmap) { resize(bitmap, request); };
}

RowStage prepare_rows(const Arguments& arguments)
{
    return [request = read_request(arguments)](Rows& rows) { return resize_rows(rows, request); };
}

} // namespace

extern const Operation kResize;
const Operation kResize = {"resize", "resizing",   "Changes a picture's dimensions.", kOptions, &prepare,
                           false,    &prepare_rows};

} // namespace vk::tool
