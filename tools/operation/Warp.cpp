/**
 * @file Warp.cpp
 * warp and shear: a picture through a matrix, from four corners, by a grid of points; leaning to the side.
 */
#include "tools/Operation.h"
#include "tools/Values.h"

#include <array>
#include <cmath>
#include <fstream>
#include <memory>

namespace vk::tool {

namespace {

const Option kWarpOptions[] = {
    {"--corners", "X,Y,...",
     "make this quadrilateral of the picture upright: top left, top right, bottom right, bottom left"},
    {"--matrix", "M,...", "nine numbers, row by row: x' = (x M1 + y M4 + M7) / (x M3 + y M6 + M9), and so on"},
    {"--grid", "FILE", "columns and rows of a grid, then its points row by row: from where in the picture each comes"},
    {"--size", "WxH", "the canvas; a side left out is as long as the picture asks for"},
    {"--filter", "KIND", "nearest (default), bilinear or bicubic"},
    {"--area", nullptr, "take means where the picture shrinks"},
    {"--edge", nullptr,
     "let the picture's outermost pixels go on behind its edge instead of mixing them with the fill"},
    {"--fill", "RRGGBB", "colour of what the picture does not cover (default 000000)"},
};

constexpr Word<uint32_t> kFilters[] = {
    {"nearest", WARP_NEAREST},
    {"bilinear", WARP_LINEAR},
    {"bicubic", WARP_CUBIC},
};

/** A grid as the library takes it. */
struct Grid {
    int32_t columns = 0;
    int32_t rows = 0;
    std::vector<V_POINTD> points;
};

struct Request {
    int32_t width = 0;
    int32_t height = 0;
    uint32_t flags = 0;
    COLORREF fill = 0;
};

/** As many numbers as the option needs, with commas between them. */
template <size_t kCount> std::array<double, kCount> read_numbers(const char* option, const std::string& text)
{
    std::array<double, kCount> numbers{};
    size_t at = 0;
    for (size_t i = 0; i < kCount; ++i) {
        const size_t end = i + 1 < kCount ? text.find(',', at) : text.size();
        if (end == std::string::npos || at > text.size() || !parse_number(text.substr(at, end - at), numbers[i])) {
            throw UsageError(std::string(option) + " needs " + std::to_string(kCount) + " numbers");
        }
        at = end + 1;
    }
    return numbers;
}

Grid read_grid(const std::string& name)
{
    constexpr int64_t kMostPoints = 1 << 24;
    std::ifstream file(name);
    if (!file) {
        throw FileError(name, "cannot be read");
    }
    Grid grid;
    const bool has_size = static_cast<bool>(file >> grid.columns >> grid.rows);
    if (!has_size || grid.columns < 2 || grid.rows < 2 || int64_t{grid.columns} * grid.rows > kMostPoints) {
        throw FileError(name, "does not begin with the size of a grid");
    }
    grid.points.resize(static_cast<size_t>(grid.columns) * static_cast<size_t>(grid.rows));
    for (V_POINTD& point : grid.points) {
        if (!(file >> point.x >> point.y)) {
            throw FileError(name, "has fewer points than it says");
        }
    }
    return grid;
}

Request read_request(const Arguments& arguments)
{
    Request request;
    const Sides size = size_option(arguments).value_or(Sides{});
    request.width = size.width;
    request.height = size.height;
    request.flags = require_word(kFilters, "--filter", arguments.value("--filter").value_or("nearest"));
    request.flags |= (arguments.has("--area") ? WARP_AREA : 0) | (arguments.has("--edge") ? WARP_EDGE : 0);
    request.fill = fill_option(arguments);
    return request;
}

Action prepare_warp(const Arguments& arguments)
{
    const Request request = read_request(arguments);
    const std::optional<std::string> corners = arguments.value("--corners");
    const std::optional<std::string> matrix = arguments.value("--matrix");
    const std::optional<std::string> grid_name = arguments.value("--grid");
    if (corners.has_value() + matrix.has_value() + grid_name.has_value() != 1) {
        throw UsageError("one of --corners, --matrix and --grid is needed");
    }
    if (corners) {
        const auto numbers = read_numbers<8>("--corners", *corners);
        return [request, numbers](Bitmap& bitmap) {
            V_POINTD points[4];
            for (size_t i = 0; i < 4; ++i) {
                points[i] = {numbers[2 * i], numbers[2 * i + 1]};
            }
            check(V_WarpBitmapCorners(&bitmap.record(), points, request.width, request.height, request.flags,
                                      request.fill),
                  "warping");
        };
    }
    if (matrix) {
        const auto numbers = read_numbers<9>("--matrix", *matrix);
        return [request, numbers](Bitmap& bitmap) {
            V_MATRIX map;
            std::copy(numbers.begin(), numbers.end(), &map.m[0][0]);
            check(V_WarpBitmap(&bitmap.record(), &map, request.width, request.height, request.flags, request.fill),
                  "warping");
        };
    }
    return [request, grid = std::make_shared<const Grid>(read_grid(*grid_name))](Bitmap& bitmap) {
        check(V_WarpBitmapGrid(&bitmap.record(), grid->points.data(), grid->columns, grid->rows, request.width,
                               request.height, request.flags, request.fill),
              "warping");
    };
}

const Option kShearOptions[] = {
    {"--angle", "DEGREES", "how far lines lean, clockwise; less than 90 either way, hundredths count"},
    {"--vertical", nullptr, "lean level lines instead of upright ones"},
    {"--linear", nullptr, "move by parts of pixels instead of whole ones"},
    {"--fill", "RRGGBB", "colour of what the picture does not cover (default 000000)"},
};

Action prepare_shear(const Arguments& arguments)
{
    const std::optional<std::string> text = arguments.value("--angle");
    double degrees = 0;
    if (!text || !parse_number(*text, degrees) || !(std::abs(degrees) < 90)) {
        throw UsageError("--angle needs a number of degrees below 90");
    }
    const auto angle = static_cast<int32_t>(std::lround(degrees * 100));
    const uint32_t flags =
        (arguments.has("--vertical") ? SHEAR_VERTICAL : 0) | (arguments.has("--linear") ? SHEAR_LINEAR : 0);
    const COLORREF fill = fill_option(arguments);
    return [angle, flags, fill](Bitmap& bitmap) {
        check(V_ShearBitmap(&bitmap.record(), angle, flags, fill), "shearing");
    };
}

} // namespace

extern const Operation kWarp;
const Operation kWarp = {"warp", "warping", "Warps a picture: by four corners, a matrix or a grid.", kWarpOptions,
                         &prepare_warp};

extern const Operation kShear;
const Operation kShear = {"shear", "shearing", "Leans a picture to the side.", kShearOptions, &prepare_shear};

} // namespace vk::tool
