/**
 * @file Convert.cpp
 * convert: another depth, palette or colour order, with the library's colour-resolution change.
 */
#include "kernel/dither/Methods.h" // names and numbers, none of which is linked
#include "tools/Operation.h"
#include "tools/Values.h"

#include <memory>
#include <string>

namespace vk::tool {

namespace {

/** The dithering methods by name. */
struct MethodWords {
    Word<int32_t> words[dither::kMethodCount];
};
constexpr MethodWords kMethods = [] {
    MethodWords methods{};
    for (const dither::Method& method : dither::kMethods) {
        methods.words[method.number] = {method.name, method.number};
    }
    return methods;
}();

std::string method_names()
{
    std::string names;
    for (const Word<int32_t>& method : kMethods.words) {
        const bool is_last = method.value == dither::kMethodCount - 1;
        names += names.empty() ? "" : is_last ? " or " : ", ";
        names += method.word;
        names += method.value == DITHER_FLOYD_STEINBERG ? " (default)" : "";
    }
    return names;
}
const std::string kMethodNames = method_names();

const Option kOptions[] = {
    {"--bits", "N", "bits per pixel: 1 to 8, 12, 16, 24, 32, 48 or 64 (default: the picture's)"},
    {"--palette", "KIND", "up to 8 bits: fixed, gray, cube, optimized (default), or a picture whose palette is taken"},
    {"--colors", "N", "most colours of an optimized palette"},
    {"--dither", "METHOD", kMethodNames.c_str()},
    {"--order", "ORDER", "rgb, bgr, gray, romm or 565 (default: the depth's usual one)"},
};

constexpr Word<int32_t> kOrders[] = {
    {"rgb", COLORORDER_RGB},   {"bgr", COLORORDER_BGR},    {"gray", COLORORDER_GRAY},
    {"romm", COLORORDER_ROMM}, {"565", COLORORDER_RGB565},
};
constexpr Word<uint32_t> kPalettes[] = {
    {"fixed", COLORRES_PALETTE_FIXED},
    {"gray", COLORRES_PALETTE_GRAY},
    {"cube", COLORRES_PALETTE_CUBE},
    {"optimized", COLORRES_PALETTE_OPTIMIZED},
};

/** What V_ColorResBitmap is asked for. */
struct Request {
    int32_t bits = 0; ///< 0: as the picture
    uint32_t flags = 0;
    uint32_t palette_flag = 0; ///< these three up to 8 bits
    std::vector<RGBQUAD> palette;
    uint32_t colors = 0; ///< 0: as many as the depth can number
    bool palette_given = false;
    int32_t method = DITHER_FLOYD_STEINBERG;

    /** Whether there is nothing to change. */
    bool keeps(const BITMAPHANDLE& record) const
    {
        return flags == 0 && !palette_given && (bits == 0 || (bits > 8 && bits == record.BitsPerPixel));
    }
};

void choose_palette(Request& request, const Arguments& arguments)
{
    const std::string kind = arguments.value("--palette").value_or("optimized");
    if (const auto* const known = find_word(kPalettes, kind)) {
        request.palette_flag = known->value;
        if (known->value == COLORRES_PALETTE_OPTIMIZED) {
            request.colors = static_cast<uint32_t>(count_option(arguments, "--colors", 0));
        }
        return;
    }
    request.palette = open_picture(kind)->info().palette;
    if (request.palette.empty()) {
        throw UsageError(kind + " has no palette");
    }
    request.colors = static_cast<uint32_t>(request.palette.size());
}

Request read_request(const Arguments& arguments)
{
    Request request;
    request.bits = count_option(arguments, "--bits", 0);
    request.palette_given = arguments.has("--palette") || arguments.has("--colors");
    if (request.bits <= 8) {
        choose_palette(request, arguments);
    }
    if (const std::optional<std::string> order = arguments.value("--order")) {
        request.flags |= COLORRES_ORDER(require_word(kOrders, "--order", *order));
    }
    request.method = require_word(kMethods.words, "--dither", arguments.value("--dither").value_or("floyd-steinberg"));
    if (request.method == DITHER_NONE && (request.bits != 0 || request.palette_given)) {
        request.flags |= COLORRES_NODITHER;
    }
    return request;
}

void convert(Bitmap& bitmap, const Request& request)
{
    BITMAPHANDLE& record = bitmap.record();
    if (request.keeps(record)) {
        return;
    }
    const int32_t bits = request.bits != 0 ? request.bits : +record.BitsPerPixel;
    record.DitheringMethod = request.method;
    if (bits > 8) {
        check(V_ColorResBitmap(&record, nullptr, 0, bits, request.flags, nullptr, nullptr, 0), "changing colours");
        return;
    }
    const RGBQUAD* const palette = request.palette.empty() ? nullptr : request.palette.data();
    const uint32_t colors =
        request.colors != 0 || request.palette_flag != COLORRES_PALETTE_OPTIMIZED ? request.colors : 1u << bits;
    check(V_ColorResBitmap(&record, nullptr, 0, bits, request.flags | request.palette_flag, palette, nullptr, colors),
          "changing colours");
}

Action prepare(const Arguments& arguments)
{
    return [request = read_request(arguments)](Bitmap& bitmap) { convert(bitmap, request); };
}

} // namespace

extern const Operation kConvert;
const Operation kConvert = {"convert", "colours", "Changes a picture's depth, palette or colour order.",
                            kOptions,  &prepare,  true};

} // namespace vk::tool
