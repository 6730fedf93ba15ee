/**
 * @file Render.cpp
 * render: what a viewer shows of a picture, at any size.
 */
#include "tools/Operation.h"
#include "tools/Values.h"

namespace vk::tool {

namespace {

const Option kOptions[] = {
    {"--rect", "X,Y,W,H", "show this part alone"},
    {"--size", "WxH", "pixels to show it in; a side left out is as long as the picture has it"},
    {"--filter", "KIND", "nearest, area (default) or cubic"},
    {"--window", "CENTER,WIDTH", "gray pictures: the sample in the middle, and how many lie from black to white"},
    {"--contrast", "N", "-1000 to 1000 (default 0)"},
    {"--intensity", "N", "-1000 to 1000 (default 0)"},
    {"--gamma", "N", "hundredths, 1 to 10000 (default 100)"},
    {"--alpha", nullptr, "keep alpha: 32 bits instead of 24"},
};

constexpr Word<uint32_t> kFilters[] = {
    {"nearest", RENDER_NEAREST},
    {"area", RENDER_AREA},
    {"cubic", RENDER_CUBIC},
};

struct Request {
    std::optional<RECT> part;
    std::optional<V_WINDOW> window;
    std::optional<std::array<int32_t, 3>> paint; ///< contrast, intensity, gamma
    int32_t width = 0;
    int32_t height = 0;
    uint32_t flags = 0;
};

std::optional<V_WINDOW> read_window(const Arguments& arguments)
{
    const std::optional<std::string> text = arguments.value("--window");
    if (!text) {
        return std::nullopt;
    }
    V_WINDOW window{sizeof(V_WINDOW), WINDOW_LINEAR, 0, 0, 0, 0};
    const size_t comma = text->find(',');
    if (comma == std::string::npos || !parse_number(text->substr(0, comma), window.Center) ||
        !parse_number(text->substr(comma + 1), window.Width) || !(window.Width >= 1)) {
        throw UsageError("--window needs a centre and a width of at least 1");
    }
    return window;
}

Request read_request(const Arguments& arguments)
{
    Request request;
    request.part = rect_option(arguments);
    request.window = read_window(arguments);
    const Sides size = size_option(arguments).value_or(Sides{});
    request.width = size.width;
    request.height = size.height;
    request.flags = require_word(kFilters, "--filter", arguments.value("--filter").value_or("area")) |
                    (arguments.has("--alpha") ? RENDER_32BITS : 0);
    if (arguments.value("--contrast") || arguments.value("--intensity") || arguments.value("--gamma")) {
        request.paint = {number_option(arguments, "--contrast", 0, -1000, 1000),
                         number_option(arguments, "--intensity", 0, -1000, 1000),
                         number_option(arguments, "--gamma", 100, 1, 10000)};
    }
    return request;
}

void render(Bitmap& bitmap, const Request& request)
{
    BITMAPHANDLE& record = bitmap.record();
    if (request.window) {
        check(V_SetBitmapWindow(&record, &*request.window), "setting the window");
    }
    if (request.paint) {
        const auto [contrast, intensity, gamma] = *request.paint;
        check(V_SetBitmapPaint(&record, contrast, intensity, gamma), "setting the paint");
    }
    check(V_RenderBitmap(nullptr, &record, 0, request.part ? &*request.part : nullptr, request.width, request.height,
                         request.flags),
          "rendering");
}

Action prepare(const Arguments& arguments)
{
    return [request = read_request(arguments)](Bitmap& bitmap) { render(bitmap, request); };
}

} // namespace

extern const Operation kRender;
const Operation kRender = {"render", "rendering", "Makes what a viewer shows of a picture, at any size.", kOptions,
                           &prepare};

} // namespace vk::tool
