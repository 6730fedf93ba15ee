/**
 * @file Region.cpp
 * region: a set of a picture's pixels, made of shapes, and what is done inside of it.
 */
#include "tools/Failure.h"
#include "tools/Forms.h"
#include "tools/Operation.h"
#include "tools/PictureFile.h"
#include "tools/Values.h"

#include <cmath>
#include <sstream>

namespace vk::tool {

namespace {

const Option kOptions[] = {
    {"--shape", "LIST",
     "the pixels: rect X,Y,W,H, ellipse X,Y,W,H, round X,Y,W,H,CORNERW,CORNERH, polygon X,Y,... or winding X,Y,... "
     "(what its outline goes around), color RRGGBB[-RRGGBB], wand X,Y[,TOLERANCE] or mask PICTURE (its gray, 0 is "
     "outside); more of them follow behind semicolons, each with or (default), and, xor, not or set in front; also "
     "invert, and move X,Y"},
    {"--fill", "RRGGBB", "give them this colour"},
    {"--inside", "OPERATIONS", "do these operations inside of them: \"combine --with over.png --opacity 50\""},
    {"--cut", nullptr, "keep them alone, everything else becoming transparent"},
    {"--cut-on", "RRGGBB", "keep them alone on this colour"},
    {"--mask", nullptr, "make a picture of two levels instead, white where they are"},
};

/** What makes or changes a region. */
using Step = std::function<void(BITMAPHANDLE&)>;

constexpr Word<uint32_t> kModes[] = {
    {"set", REGION_SET}, {"and", REGION_AND}, {"or", REGION_OR}, {"xor", REGION_XOR}, {"not", REGION_ANDNOT},
};

[[noreturn]] void throw_shape_error(const std::string& text)
{
    throw UsageError("--shape does not know " + text);
}

std::vector<double> read_numbers(const std::string& text)
{
    std::vector<double> numbers;
    for (size_t at = 0; at <= text.size();) {
        const size_t end = std::min(text.find(',', at), text.size());
        double number = 0;
        if (!parse_number(text.substr(at, end - at), number)) {
            throw UsageError("--shape needs numbers, not " + text);
        }
        numbers.push_back(number);
        at = end + 1;
    }
    return numbers;
}

/** `count` whole numbers. */
std::vector<int32_t> read_integers(const std::string& text, size_t count)
{
    constexpr double kMost = 1 << 30;
    std::vector<int32_t> integers;
    for (const double number : read_numbers(text)) {
        if (!(std::abs(number) <= kMost) || number != std::floor(number)) {
            throw UsageError("--shape needs whole numbers, not " + text);
        }
        integers.push_back(static_cast<int32_t>(number));
    }
    if (integers.size() != count) {
        throw UsageError("--shape needs " + std::to_string(count) + " numbers, not " + text);
    }
    return integers;
}

RECT rect_of(const std::vector<int32_t>& numbers)
{
    return {numbers[0], numbers[1], numbers[0] + numbers[2], numbers[1] + numbers[3]};
}

COLORREF read_color(const std::string& text)
{
    uint32_t rgb = 0;
    if (text.size() != 6 || !parse_number(text, rgb, 16)) {
        throw UsageError("--shape needs six hexadecimal digits, not " + text);
    }
    return (rgb & 0xFF) << 16 | (rgb & 0xFF00) | rgb >> 16;
}

Step read_rect(const std::string& text, uint32_t mode)
{
    return [rect = rect_of(read_integers(text, 4)), mode](BITMAPHANDLE& record) {
        check(V_SetBitmapRegionRect(&record, &rect, mode), "setting a region");
    };
}

Step read_ellipse(const std::string& text, uint32_t mode)
{
    return [rect = rect_of(read_integers(text, 4)), mode](BITMAPHANDLE& record) {
        check(V_SetBitmapRegionEllipse(&record, &rect, mode), "setting a region");
    };
}

Step read_round(const std::string& text, uint32_t mode)
{
    return [numbers = read_integers(text, 6), mode](BITMAPHANDLE& record) {
        const RECT rect = rect_of(numbers);
        check(V_SetBitmapRegionRoundRect(&record, &rect, numbers[4], numbers[5], mode), "setting a region");
    };
}

template <uint32_t kRule> Step read_polygon(const std::string& text, uint32_t mode)
{
    const std::vector<double> numbers = read_numbers(text);
    if (numbers.size() % 2 != 0) {
        throw UsageError("--shape needs two numbers for each corner");
    }
    std::vector<V_POINTD> points;
    for (size_t i = 0; i < numbers.size(); i += 2) {
        points.push_back({numbers[i], numbers[i + 1]});
    }
    return [points, mode](BITMAPHANDLE& record) {
        check(V_SetBitmapRegionPolygon(&record, points.data(), static_cast<uint32_t>(points.size()), kRule, mode),
              "setting a region");
    };
}

Step read_colors(const std::string& text, uint32_t mode)
{
    const size_t dash = std::min(text.find('-'), text.size());
    const COLORREF lower = read_color(text.substr(0, dash));
    const COLORREF upper = dash == text.size() ? lower : read_color(text.substr(dash + 1));
    return [lower, upper, mode](BITMAPHANDLE& record) {
        check(V_SetBitmapRegionColor(&record, lower, upper, mode), "setting a region");
    };
}

Step read_wand(const std::string& text, uint32_t mode)
{
    const auto commas = std::count(text.begin(), text.end(), ',');
    const std::vector<int32_t> numbers = read_integers(commas == 1 ? text + ",0" : text, 3);
    if (numbers[2] < 0 || numbers[2] > 255) {
        throw UsageError("--shape needs a tolerance from 0 to 255");
    }
    const COLORREF tolerance = static_cast<COLORREF>(numbers[2]) * 0x010101u;
    return [numbers, tolerance, mode](BITMAPHANDLE& record) {
        check(V_SetBitmapRegionMagicWand(&record, numbers[0], numbers[1], tolerance, tolerance, mode),
              "setting a region");
    };
}

Step read_mask(const std::string& name, uint32_t mode)
{
    return [name, mode](BITMAPHANDLE& record) {
        const std::unique_ptr<Bitmap> mask = load_mask(name);
        check(V_SetBitmapRegionMask(&record, &mask->record(), mode), "setting a region");
    };
}

constexpr Word<Step (*)(const std::string&, uint32_t)> kShapes[] = {
    {"rect", &read_rect},
    {"ellipse", &read_ellipse},
    {"round", &read_round},
    {"polygon", &read_polygon<REGION_ALTERNATE>},
    {"winding", &read_polygon<REGION_WINDING>},
    {"color", &read_colors},
    {"wand", &read_wand},
    {"mask", &read_mask},
};

/** One of the list: "not ellipse 10,10,50,50". */
Step read_step(const std::string& text, bool is_first)
{
    std::istringstream words(text);
    std::string word;
    words >> word;
    uint32_t mode = is_first ? REGION_SET : REGION_OR;
    if (const auto* const found = find_word(kModes, word)) {
        mode = found->value;
        words >> word;
    }
    std::string rest;
    std::getline(words >> std::ws, rest);
    rest.erase(rest.find_last_not_of(' ') + 1);
    if (word == "invert" && rest.empty()) {
        return [](BITMAPHANDLE& record) { check(V_InvertBitmapRegion(&record), "inverting a region"); };
    }
    if (word == "move") {
        return [by = read_integers(rest, 2)](BITMAPHANDLE& record) {
            check(V_OffsetBitmapRegion(&record, by[0], by[1]), "moving a region");
        };
    }
    const auto* const shape = find_word(kShapes, word);
    if (shape == nullptr) {
        throw_shape_error(text);
    }
    return shape->value(rest, mode);
}

std::vector<Step> read_steps(const std::string& text)
{
    std::vector<Step> steps;
    std::istringstream parts(text);
    for (std::string part; std::getline(parts, part, ';');) {
        steps.push_back(read_step(part, steps.empty()));
    }
    if (steps.empty()) {
        throw_shape_error("nothing");
    }
    return steps;
}

void make_mask(BITMAPHANDLE& record)
{
    BITMAPHANDLE mask;
    check(V_GetBitmapRegionMask(&mask, &record, BITMAPHANDLE_SIZE), "making a mask");
    V_FreeBitmap(&record);
    record = mask;
}

/** Clears what is outside of the region, and cuts the picture to it. */
void cut(BITMAPHANDLE& record, const std::optional<COLORREF>& background)
{
    RECT bounds;
    check(V_GetBitmapRegionBounds(&record, &bounds), "cutting");
    if (bounds.left == bounds.right) {
        throw OperationError("there is nothing in the region");
    }
    check(V_InvertBitmapRegion(&record), "cutting");
    check(V_FillBitmap(&record, background.value_or(0)), "cutting");
    if (!background) {
        check(V_SetBitmapAlphaValue(&record, 0), "cutting");
    }
    check(V_FreeBitmapRegion(&record), "cutting");
    check(V_TrimBitmap(&record, bounds.left, bounds.top, bounds.right - bounds.left, bounds.bottom - bounds.top),
          "cutting");
}

/** What is done once there is a region. */
Action read_deed(const Arguments& arguments)
{
    const std::optional<COLORREF> color = color_option(arguments, "--fill");
    const std::optional<COLORREF> background = color_option(arguments, "--cut-on");
    const std::optional<std::string> inside = arguments.value("--inside");
    if (color.has_value() + background.has_value() + inside.has_value() + arguments.has("--cut") +
            arguments.has("--mask") !=
        1) {
        throw UsageError("region needs one of --fill, --inside, --cut, --cut-on and --mask");
    }
    if (color) {
        return [color = *color](Bitmap& bitmap) { check(V_FillBitmap(&bitmap.record(), color), "filling"); };
    }
    if (inside) {
        std::istringstream text(*inside);
        const std::vector<tool::Step> chain = read_chain({std::istream_iterator<std::string>(text), {}});
        return [chain](Bitmap& bitmap) {
            for (const tool::Step& step : chain) {
                step.action(bitmap);
            }
        };
    }
    if (arguments.has("--mask")) {
        return [](Bitmap& bitmap) { make_mask(bitmap.record()); };
    }
    return [background](Bitmap& bitmap) { cut(bitmap.record(), background); };
}

Action prepare(const Arguments& arguments)
{
    const std::optional<std::string> shapes = arguments.value("--shape");
    if (!shapes) {
        throw UsageError("region needs --shape");
    }
    return
        [steps = read_steps(*shapes), deed = read_deed(arguments), is_clear = arguments.has("--cut")](Bitmap& bitmap) {
            BITMAPHANDLE& record = bitmap.record();
            if (is_clear) {
                have_alpha(record);
            }
            for (const Step& step : steps) {
                step(record);
            }
            deed(bitmap);
            check(V_FreeBitmapRegion(&record), "freeing a region");
        };
}

} // namespace

extern const Operation kRegion;
const Operation kRegion = {"region", "inside a region", "Changes, cuts out or shows pixels that shapes choose.",
                           kOptions, &prepare};

} // namespace vk::tool
