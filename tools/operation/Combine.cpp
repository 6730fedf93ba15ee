/**
 * @file Combine.cpp
 * combine: another picture put into a picture, by an operation on its pixels or blended with it.
 */
#include "tools/Forms.h"
#include "tools/Operation.h"
#include "tools/PictureFile.h"
#include "tools/Values.h"

#include <cmath>

namespace vk::tool {

namespace {

const Option kOptions[] = {
    {"--with", "PICTURE", "the picture to put in"},
    {"--at", "X,Y", "where its top left corner goes (default 0,0)"},
    {"--rect", "X,Y,W,H", "the part of it that is taken (default: all)"},
    {"--operation", "NAME",
     "copy (default), and, or, xor, nand, nor, xnor, add, subtract, min, max, average, difference or multiply"},
    {"--keyed", nullptr, "leave out its transparent colour"},
    {"--blend", "MODE",
     "instead of an operation: normal, multiply, screen, overlay, darken, lighten, color-dodge, color-burn, "
     "hard-light, "
     "soft-light, difference, exclusion, or an operator: src, dst-over, src-in, dst-in, src-out, dst-out, src-atop, "
     "dst-atop, xor, plus, clear"},
    {"--mask", "PICTURE", "how much of it counts, pixel by pixel: its gray; blends normally unless --blend is given"},
    {"--opacity", "PERCENT", "how much of it counts everywhere (default 100); as --mask"},
};

constexpr Word<uint32_t> kOperations[] = {
    {"copy", COMBINE_COPY},
    {"and", COMBINE_AND},
    {"or", COMBINE_OR},
    {"xor", COMBINE_XOR},
    {"nand", COMBINE_NAND},
    {"nor", COMBINE_NOR},
    {"xnor", COMBINE_XNOR},
    {"add", COMBINE_ADD},
    {"subtract", COMBINE_SUBTRACT},
    {"min", COMBINE_MIN},
    {"max", COMBINE_MAX},
    {"average", COMBINE_AVERAGE},
    {"difference", COMBINE_DIFFERENCE},
    {"multiply", COMBINE_MULTIPLY},
};

constexpr Word<uint32_t> kModes[] = {
    {"normal", BLEND_NORMAL},
    {"multiply", BLEND_MULTIPLY},
    {"screen", BLEND_SCREEN},
    {"overlay", BLEND_OVERLAY},
    {"darken", BLEND_DARKEN},
    {"lighten", BLEND_LIGHTEN},
    {"color-dodge", BLEND_COLOR_DODGE},
    {"color-burn", BLEND_COLOR_BURN},
    {"hard-light", BLEND_HARD_LIGHT},
    {"soft-light", BLEND_SOFT_LIGHT},
    {"difference", BLEND_DIFFERENCE},
    {"exclusion", BLEND_EXCLUSION},
    {"src", BLEND_SRC},
    {"dst-over", BLEND_DST_OVER},
    {"src-in", BLEND_SRC_IN},
    {"dst-in", BLEND_DST_IN},
    {"src-out", BLEND_SRC_OUT},
    {"dst-out", BLEND_DST_OUT},
    {"src-atop", BLEND_SRC_ATOP},
    {"dst-atop", BLEND_DST_ATOP},
    {"xor", BLEND_XOR},
    {"plus", BLEND_PLUS},
    {"clear", BLEND_CLEAR},
};

struct Request {
    std::string source;
    std::optional<std::string> mask;
    std::array<int32_t, 2> at{};
    std::optional<RECT> part;
    uint32_t operation = COMBINE_COPY;
    std::optional<uint32_t> blend;
    uint32_t opacity = 65535;
};

uint32_t read_opacity(const std::string& text)
{
    double percent = 0;
    if (!parse_number(text, percent) || !(percent >= 0 && percent <= 100)) {
        throw UsageError("--opacity needs a percentage up to 100");
    }
    return static_cast<uint32_t>(std::lround(percent * 65535 / 100));
}

Request read_request(const Arguments& arguments)
{
    Request request;
    const std::optional<std::string> source = arguments.value("--with");
    if (!source) {
        throw UsageError("combine needs --with");
    }
    request.source = *source;
    request.mask = arguments.value("--mask");
    request.at = integers_option<2>(arguments, "--at").value_or(request.at);
    request.part = rect_option(arguments);
    const std::optional<std::string> opacity = arguments.value("--opacity");
    const std::optional<std::string> blend = arguments.value("--blend");
    if (opacity) {
        request.opacity = read_opacity(*opacity);
    }
    if (blend || opacity || request.mask) {
        request.blend = require_word(kModes, "--blend", blend.value_or("normal"));
        if (arguments.has("--operation") || arguments.has("--keyed")) {
            throw UsageError("--operation and --keyed do not go with blending");
        }
    }
    request.operation = require_word(kOperations, "--operation", arguments.value("--operation").value_or("copy"));
    request.operation |= arguments.has("--keyed") ? COMBINE_KEYED : 0;
    return request;
}

void combine(Bitmap& bitmap, const Request& request)
{
    // Read for each picture anew: several threads may combine theirs with it at once.
    const std::unique_ptr<Bitmap> source = load_bitmap(request.source, unseen);
    BITMAPHANDLE& from = source->record();
    const RECT part = request.part.value_or(RECT{0, 0, from.Width, from.Height});
    const int32_t width = part.right - part.left;
    const int32_t height = part.bottom - part.top;
    if (!request.blend) {
        check(V_CombineBitmap(&bitmap.record(), request.at[0], request.at[1], width, height, &from, part.left, part.top,
                              request.operation),
              "combining");
        return;
    }
    const std::unique_ptr<Bitmap> mask = request.mask ? load_mask(*request.mask) : nullptr;
    check(V_BlendBitmap(&bitmap.record(), request.at[0], request.at[1], width, height, &from, part.left, part.top,
                        mask ? &mask->record() : nullptr, part.left, part.top, *request.blend, request.opacity),
          "blending");
}

Action prepare(const Arguments& arguments)
{
    return [request = read_request(arguments)](Bitmap& bitmap) { combine(bitmap, request); };
}

} // namespace

extern const Operation kCombine;
const Operation kCombine = {"combine", "combining", "Puts another picture into a picture.", kOptions, &prepare};

} // namespace vk::tool
