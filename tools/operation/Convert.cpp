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
    bool keeps(int32_t bits_now) const
    {
        return flags == 0 && !palette_given && (bits == 0 || (bits > 8 && bits == bits_now));
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
    if (request.keeps(record.BitsPerPixel)) {
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

/** Dithering takes each row behind the one before it, with a palette that is known. */
Rows dither_rows(Rows& rows, const Request& request, int32_t bits)
{
    const PictureInfo& info = rows->info();
    const bool gray = info.order == COLORORDER_GRAY || is_gray(info.palette);
    const bool fixed = request.palette_flag == COLORRES_PALETTE_FIXED && info.bits > 8 && !gray;
    const bool given = !request.palette.empty() && request.palette.size() == size_t{1} << bits;
    if (!fixed && !given && request.palette_flag != COLORRES_PALETTE_GRAY) {
        return nullptr;
    }
    PictureInfo one = info;
    one.height = 1;
    Bitmap blank(one);
    convert(blank, request);
    StreamRequest stream;
    stream.width = info.width;
    stream.height = info.height;
    stream.bits = bits;
    stream.order = request.palette_flag == COLORRES_PALETTE_GRAY ? COLORORDER_GRAY : COLORORDER_RGB;
    stream.palette = request.palette;
    stream.dithering = request.method;
    PictureInfo form = form_of(blank.record(), one);
    form.height = info.height;
    return stream_rows(rows, stream, form);
}

Rows convert_rows(Rows& rows, const Request& request)
{
    const PictureInfo& info = rows->info();
    if (request.keeps(info.bits)) {
        return std::move(rows);
    }
    const int32_t bits = request.bits != 0 ? request.bits : info.bits;
    if (bits > 8) {
        return in_bands([request](Bitmap& bitmap) { convert(bitmap, request); })(rows);
    }
    const bool optimized = request.palette_flag == COLORRES_PALETTE_OPTIMIZED && request.palette.empty();
    if (optimized || (request.flags & COLORRES_NODITHER) == 0) {
        return optimized ? nullptr : dither_rows(rows, request, bits);
    }
    return in_bands([request](Bitmap& bitmap) { convert(bitmap, request); })(rows);
}

RowStage prepare_rows(const Arguments& arguments)
{
    return [request = read_request(arguments)](Rows& rows) { return convert_rows(rows, request); };
}

} // namespace

extern const Operation kConvert;
const Operation kConvert = {"convert",    "colours", "Changes a picture's depth, palette or colour order.",
                            kOptions,     &prepare,  true,
                            &prepare_rows};

} // namespace vk::tool
