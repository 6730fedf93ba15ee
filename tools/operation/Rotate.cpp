/**
 * @file Rotate.cpp
 * rotate: by any angle, about the middle or a given centre.
 */
#include "tools/Operation.h"
#include "tools/Values.h"

#include <cmath>

namespace vk::tool {

namespace {

const Option kOptions[] = {
    {"--angle", "DEGREES", "clockwise; hundredths count"},
    {"--keep", nullptr, "keep the canvas instead of growing it to the turned picture"},
    {"--center", "X,Y", "turn about this point of the picture instead of its middle"},
    {"--fill", "RRGGBB", "colour of what the picture does not cover (default 000000)"},
    {"--filter", "KIND", "nearest (default), bilinear or bicubic"},
};

constexpr Word<uint32_t> kFilters[] = {
    {"nearest", 0},
    {"bilinear", ROTATEFLAG_RESAMPLE},
    {"bicubic", ROTATEFLAG_BICUBIC},
};

struct Request {
    int32_t angle = 0; ///< hundredths of a degree
    uint32_t flags = 0;
    COLORREF fill = 0;
    double x = 0;
    double y = 0;
};

int32_t read_angle(const Arguments& arguments)
{
    const std::optional<std::string> text = arguments.value("--angle");
    double degrees = 0;
    if (!text || !parse_number(*text, degrees) || !(std::abs(degrees) <= 1e6)) {
        throw UsageError("--angle needs a number of degrees");
    }
    return static_cast<int32_t>(std::lround(degrees * 100));
}

void read_center(const Arguments& arguments, Request& request)
{
    const std::optional<std::string> text = arguments.value("--center");
    if (!text) {
        return;
    }
    const size_t comma = text->find(',');
    if (comma == std::string::npos || !parse_number(text->substr(0, comma), request.x) ||
        !parse_number(text->substr(comma + 1), request.y)) {
        throw UsageError("--center needs two numbers");
    }
    request.flags |= ROTATEFLAG_CENTER;
}

Action prepare(const Arguments& arguments)
{
    Request request;
    request.angle = read_angle(arguments);
    request.flags = require_word(kFilters, "--filter", arguments.value("--filter").value_or("nearest"));
    if (!arguments.has("--keep")) {
        request.flags |= ROTATEFLAG_GROW;
    }
    request.fill = fill_option(arguments);
    read_center(arguments, request);
    return [request](Bitmap& bitmap) {
        check(V_IntRotateBitmap(&bitmap.record(), request.angle, request.flags, request.fill, 0, 100, request.x,
                                request.y),
              "rotating");
    };
}

} // namespace

extern const Operation kRotate;
const Operation kRotate = {"rotate", "rotating", "Turns a picture by any angle.", kOptions, &prepare};

} // namespace vk::tool
