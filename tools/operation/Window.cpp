/**
 * @file Window.cpp
 * window: gray samples shown from black to white, or from one colour to another.
 */
#include "tools/Operation.h"
#include "tools/Values.h"

#include <algorithm>

namespace vk::tool {

namespace {

const Option kOptions[] = {
    {"--center", "N", "the sample in the middle of the window (default: that of the picture's range)"},
    {"--width", "N", "how many samples go from black to white (default: the picture's range)"},
    {"--function", "NAME", "linear (default), linear-exact or sigmoid"},
    {"--signed", nullptr, "samples are signed"},
    {"--invert", nullptr, "the smallest samples become white"},
    {"--colors", "RRGGBB-RRGGBB", "from the one colour to the other instead of from black to white"},
};

constexpr Word<uint32_t> kFunctions[] = {
    {"linear", WINDOW_LINEAR},
    {"linear-exact", WINDOW_LINEAREXACT},
    {"sigmoid", WINDOW_SIGMOID},
};

constexpr int32_t kLevelBits = 8;
constexpr int32_t kColorBits = 24;

struct Request {
    V_WINDOW window{sizeof(V_WINDOW), WINDOW_LINEAR, 0, 0, 0, 0};
    bool has_center = false;
    bool has_width = false;
    std::optional<std::array<RGBQUAD, 2>> colors;
};

bool read_number(const Arguments& arguments, const char* option, double& value)
{
    const std::optional<std::string> text = arguments.value(option);
    if (text && !parse_number(*text, value)) {
        throw UsageError(std::string(option) + " needs a number");
    }
    return text.has_value();
}

std::array<RGBQUAD, 2> read_colors(const std::string& text)
{
    uint32_t from = 0;
    uint32_t to = 0;
    if (text.size() != 13 || text[6] != '-' || !parse_number(text.substr(0, 6), from, 16) ||
        !parse_number(text.substr(7), to, 16)) {
        throw UsageError("--colors needs two times six hexadecimal digits");
    }
    const auto color = [](uint32_t rgb) {
        return RGBQUAD{static_cast<uint8_t>(rgb), static_cast<uint8_t>(rgb >> 8), static_cast<uint8_t>(rgb >> 16), 0};
    };
    return {color(from), color(to)};
}

Request read_request(const Arguments& arguments)
{
    Request request;
    V_WINDOW& window = request.window;
    request.has_center = read_number(arguments, "--center", window.Center);
    request.has_width = read_number(arguments, "--width", window.Width);
    window.Function = require_word(kFunctions, "--function", arguments.value("--function").value_or("linear"));
    const bool has_range = window.Function == WINDOW_LINEAR ? window.Width >= 1 : window.Width > 0;
    if (request.has_width && !has_range) {
        throw UsageError("--width needs more samples");
    }
    window.Flags =
        (arguments.has("--signed") ? WINDOWFLAG_SIGNED : 0) | (arguments.has("--invert") ? WINDOWFLAG_INVERTED : 0);
    if (const std::optional<std::string> colors = arguments.value("--colors")) {
        request.colors = read_colors(*colors);
    }
    return request;
}

/** The window, with what was not given from the samples that there are. */
V_WINDOW complete(BITMAPHANDLE& record, const Request& request)
{
    V_WINDOW window = request.window;
    if (request.has_center && request.has_width) {
        return window;
    }
    const uint32_t flags = record.Flags;
    record.Flags |= window.Flags & WINDOWFLAG_SIGNED ? BITMAPFLAG_SIGNED : 0;
    const int result = V_GetBitmapMinMax(&record);
    record.Flags = flags;
    check(result, "looking for the range");
    const double least = record.MinVal;
    const double most = record.MaxVal;
    if (!request.has_center) {
        window.Center = (least + most + 1) / 2;
    }
    if (!request.has_width) {
        window.Width = most - least + 1;
    }
    return window;
}

/** The bitmap's table, which a window made gray, with colours. */
void give_colors(BITMAPHANDLE& record, const V_WINDOW& window, const std::array<RGBQUAD, 2>& colors)
{
    RGBQUAD* const table = record.LUT;
    check(V_FillWindowColors(table, record.LUTLength, &window, colors[0], colors[1]), "making the colours");
    // The indices of a palette that begins with white count from the largest sample down.
    if (record.Palette != nullptr && record.Palette[0].rgbGreen > record.Palette[record.Colors - 1].rgbGreen) {
        std::reverse(table, table + record.LUTLength);
    }
}

void show(BITMAPHANDLE& record, const Request& request)
{
    const V_WINDOW window = complete(record, request);
    if (!request.colors) {
        check(V_WindowBitmap(nullptr, &record, 0, &window, kLevelBits), "showing the window");
        return;
    }
    check(V_SetBitmapWindow(&record, &window), "setting the window");
    give_colors(record, window, *request.colors);
    check(V_WindowBitmap(nullptr, &record, 0, nullptr, kColorBits), "showing the window");
}

Action prepare(const Arguments& arguments)
{
    return [request = read_request(arguments)](Bitmap& bitmap) { show(bitmap.record(), request); };
}

/** A window that is known lets each row be shown alone. */
RowStage prepare_rows(const Arguments& arguments)
{
    const Request request = read_request(arguments);
    return request.has_center && request.has_width ? in_bands(prepare(arguments)) : RowStage();
}

} // namespace

extern const Operation kWindow;
const Operation kWindow = {"window",     "showing a window", "Shows a range of gray samples from black to white.",
                           kOptions,     &prepare,           false,
                           &prepare_rows};

} // namespace vk::tool
