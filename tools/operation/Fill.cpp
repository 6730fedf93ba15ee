/**
 * @file Fill.cpp
 * fill, alpha and scramble: colours and patterns, a picture's alpha, and parts hidden from view.
 */
#include "tools/Forms.h"
#include "tools/Operation.h"
#include "tools/PictureFile.h"
#include "tools/Values.h"

namespace vk::tool {

namespace {

const Option kFillOptions[] = {
    {"--color", "RRGGBB", "the colour"},
    {"--rect", "X,Y,W,H", "the part to fill (default: all)"},
    {"--pattern", "PICTURE", "cover the picture with copies of this one instead"},
    {"--flood", "X,Y", "fill what is connected to this pixel and as good as its colour"},
    {"--tolerance", "N", "with --flood: how far each channel may be from it, 0 (default) to 255"},
    {"--border", "RRGGBB", "with --flood: fill up to this colour, whatever the colours within"},
    {"--eight", nullptr, "with --flood: pixels are connected by their corners too"},
};

struct Flood {
    std::array<int32_t, 2> start{};
    COLORREF border = 0;
    uint32_t tolerance = 0;
    uint32_t flags = 0;
};

Flood read_flood(const Arguments& arguments, const std::array<int32_t, 2>& start)
{
    Flood flood{start, 0, 0, arguments.has("--eight") ? FLOOD_EIGHT : 0};
    flood.tolerance = tolerance_option(arguments);
    if (const std::optional<COLORREF> border = color_option(arguments, "--border")) {
        flood.border = *border;
        flood.flags |= FLOOD_BORDER;
    }
    return flood;
}

Action prepare_fill(const Arguments& arguments)
{
    const std::optional<COLORREF> color = color_option(arguments, "--color");
    const std::optional<RECT> rect = rect_option(arguments);
    const std::optional<std::string> pattern = arguments.value("--pattern");
    const auto start = integers_option<2>(arguments, "--flood");
    if (color.has_value() == pattern.has_value() || rect.has_value() + start.has_value() + pattern.has_value() > 1) {
        throw UsageError("fill needs --color, for all, --rect or --flood, or --pattern");
    }
    if (pattern) {
        return [name = *pattern](Bitmap& bitmap) {
            const std::unique_ptr<Bitmap> tile = load_bitmap(name, unseen);
            check(V_FillBitmapPattern(&bitmap.record(), &tile->record(), 0, 0), "filling");
        };
    }
    if (start) {
        return [color = *color, flood = read_flood(arguments, *start)](Bitmap& bitmap) {
            check(V_FloodFillBitmap(&bitmap.record(), flood.start[0], flood.start[1], color, flood.border,
                                    flood.tolerance, flood.flags),
                  "filling");
        };
    }
    return [color = *color, rect](Bitmap& bitmap) {
        check(rect ? V_FillBitmapRect(&bitmap.record(), &*rect, color) : V_FillBitmap(&bitmap.record(), color),
              "filling");
    };
}

RowStage prepare_fill_rows(const Arguments& arguments)
{
    const bool all = !arguments.has("--rect") && !arguments.has("--flood") && !arguments.has("--pattern");
    return all ? in_bands(prepare_fill(arguments)) : RowStage();
}

const Option kAlphaOptions[] = {
    {"--take", nullptr, "make the picture its own alpha, as gray"},
    {"--put", "PICTURE", "put this picture's gray in as alpha"},
    {"--value", "N", "give all pixels this alpha: up to 255, or 65535 at 16 bits a channel"},
    {"--premultiply", nullptr, "multiply colours by alpha"},
    {"--unpremultiply", nullptr, "divide colours by alpha"},
};

void take_alpha(BITMAPHANDLE& record)
{
    BITMAPHANDLE alpha;
    check(V_GetBitmapAlpha(&alpha, &record, BITMAPHANDLE_SIZE), "taking alpha");
    V_FreeBitmap(&record);
    record = alpha;
}

Action prepare_alpha(const Arguments& arguments)
{
    const std::optional<std::string> name = arguments.value("--put");
    const std::optional<std::string> text = arguments.value("--value");
    uint32_t value = 0;
    if (arguments.has("--take") + name.has_value() + text.has_value() + arguments.has("--premultiply") +
            arguments.has("--unpremultiply") !=
        1) {
        throw UsageError("alpha needs one of --take, --put, --value, --premultiply and --unpremultiply");
    }
    if (text && (!parse_number(*text, value) || value > 65535)) {
        throw UsageError("--value needs a number up to 65535");
    }
    if (name) {
        return [name = *name](Bitmap& bitmap) {
            const std::unique_ptr<Bitmap> alpha = load_bitmap(name, unseen);
            have_alpha(bitmap.record());
            check(V_SetBitmapAlpha(&bitmap.record(), &alpha->record()), "putting alpha in");
        };
    }
    if (text) {
        return [value](Bitmap& bitmap) {
            have_alpha(bitmap.record());
            check(V_SetBitmapAlphaValue(&bitmap.record(), value), "putting alpha in");
        };
    }
    if (arguments.has("--take")) {
        return [](Bitmap& bitmap) { take_alpha(bitmap.record()); };
    }
    const auto multiply = arguments.has("--premultiply") ? &V_PremultiplyBitmap : &V_UnpremultiplyBitmap;
    return [multiply](Bitmap& bitmap) { check(multiply(&bitmap.record()), "multiplying by alpha"); };
}

RowStage prepare_alpha_rows(const Arguments& arguments)
{
    return arguments.has("--put") ? RowStage() : in_bands(prepare_alpha(arguments));
}

const Option kScrambleOptions[] = {
    {"--key", "N", "a number below 4294967296; it hides from view and keeps no secret"},
    {"--rect", "X,Y,W,H", "the part to hide (default: all)"},
    {"--show", nullptr, "bring back what was hidden with this key"},
};

Action prepare_scramble(const Arguments& arguments)
{
    uint32_t key = 0;
    const std::optional<std::string> text = arguments.value("--key");
    if (!text || !parse_number(*text, key)) {
        throw UsageError("scramble needs --key with a number");
    }
    const uint32_t flags = arguments.has("--show") ? SCRAMBLE_SHOW : SCRAMBLE_HIDE;
    return [key, flags, rect = rect_option(arguments)](Bitmap& bitmap) {
        BITMAPHANDLE& record = bitmap.record();
        const RECT part = rect.value_or(RECT{0, 0, record.Width, record.Height});
        check(V_ScrambleBitmap(&record, &record, BITMAPHANDLE_SIZE, part.left, part.top, part.right - part.left,
                               part.bottom - part.top, key, flags),
              "scrambling");
    };
}

} // namespace

extern const Operation kFill;
const Operation kFill = {
    "fill", "filling",         "Fills a picture, a part of it or what is connected.", kFillOptions, &prepare_fill,
    false,  &prepare_fill_rows};

extern const Operation kAlpha;
const Operation kAlpha = {"alpha",
                          "changing alpha",
                          "Takes a picture's alpha out, puts one in, or multiplies by it.",
                          kAlphaOptions,
                          &prepare_alpha,
                          false,
                          &prepare_alpha_rows};

extern const Operation kScramble;
const Operation kScramble = {"scramble", "scrambling", "Hides a part of a picture from view, or shows it again.",
                             kScrambleOptions, &prepare_scramble};

} // namespace vk::tool
