/**
 * @file Convert.cpp
 * vk convert: changes a picture's depth, palette or colour order with the library's colour-resolution change, and
 * writes the result. Depths and orders that picture files do not have are written in the nearest form that has all
 * their values.
 */
#include "tools/Command.h"
#include "tools/Failure.h"
#include "tools/Progress.h"
#include "tools/command/Describe.h"

#include <algorithm>
#include <charconv>
#include <chrono>

namespace vk::tool {

namespace {

const Option kOptions[] = {
    {"--bits", "N", "bits per pixel: 1 to 8, 12, 16, 24, 32, 48 or 64 (default: the picture's)"},
    {"--palette", "KIND", "up to 8 bits: fixed, gray, cube, optimized (default), or a picture whose palette is taken"},
    {"--colors", "N", "most colours of an optimized palette"},
    {"--dither", "METHOD",
     "none, floyd-steinberg (default), stucki, burkes, sierra, stevenson-arce, jarvis, ordered or clustered"},
    {"--order", "ORDER", "rgb, bgr, gray, romm or 565 (default: the depth's usual one)"},
    {"--json", nullptr, "print one JSON object"},
};

struct Name {
    const char* name;
    int32_t value;
};

constexpr Name kMethods[] = {
    {"none", DITHER_NONE},           {"floyd-steinberg", DITHER_FLOYD_STEINBERG},
    {"stucki", DITHER_STUCKI},       {"burkes", DITHER_BURKES},
    {"sierra", DITHER_SIERRA},       {"stevenson-arce", DITHER_STEVENSON_ARCE},
    {"jarvis", DITHER_JARVIS},       {"ordered", DITHER_ORDERED},
    {"clustered", DITHER_CLUSTERED},
};
constexpr Name kOrders[] = {
    {"rgb", COLORORDER_RGB},   {"bgr", COLORORDER_BGR},    {"gray", COLORORDER_GRAY},
    {"romm", COLORORDER_ROMM}, {"565", COLORORDER_RGB565},
};
constexpr Name kPalettes[] = {
    {"fixed", COLORRES_PALETTE_FIXED},
    {"gray", COLORRES_PALETTE_GRAY},
    {"cube", COLORRES_PALETTE_CUBE},
    {"optimized", COLORRES_PALETTE_OPTIMIZED},
};

template <size_t N> const Name* find_name(const Name (&names)[N], const std::string& name)
{
    const auto found = std::find_if(std::begin(names), std::end(names), [&](const Name& n) { return name == n.name; });
    return found == std::end(names) ? nullptr : found;
}

template <size_t N> int32_t require_name(const Name (&names)[N], const char* option, const std::string& name)
{
    const Name* const found = find_name(names, name);
    if (found == nullptr) {
        throw UsageError(std::string(option) + " does not know " + name);
    }
    return found->value;
}

int32_t number(const Arguments& arguments, const char* option, int32_t otherwise)
{
    const std::optional<std::string> text = arguments.value(option);
    if (!text) {
        return otherwise;
    }
    int32_t value = 0;
    const auto [end, error] = std::from_chars(text->data(), text->data() + text->size(), value);
    if (error != std::errc() || end != text->data() + text->size() || value < 1) {
        throw UsageError(std::string(option) + " needs a number of at least 1");
    }
    return value;
}

/** What V_ColorResBitmap is asked for. */
struct Request {
    int32_t bits = 0;
    uint32_t flags = 0;
    std::vector<RGBQUAD> palette;
    uint32_t colors = 0;
    int32_t method = DITHER_FLOYD_STEINBERG;
};

void choose_palette(Request& request, const Arguments& arguments)
{
    const std::string kind = arguments.value("--palette").value_or("optimized");
    if (const Name* const known = find_name(kPalettes, kind)) {
        request.flags |= static_cast<uint32_t>(known->value);
        if (known->value == COLORRES_PALETTE_OPTIMIZED) {
            request.colors = static_cast<uint32_t>(number(arguments, "--colors", 1 << request.bits));
        }
        return;
    }
    request.palette = open_picture(kind)->info().palette;
    if (request.palette.empty()) {
        throw UsageError(kind + " has no palette");
    }
    request.colors = static_cast<uint32_t>(request.palette.size());
}

Request read_request(const Arguments& arguments, const PictureInfo& info)
{
    Request request;
    request.bits = number(arguments, "--bits", info.bits);
    if (request.bits <= 8) {
        choose_palette(request, arguments);
    }
    if (const std::optional<std::string> order = arguments.value("--order")) {
        request.flags |= COLORRES_ORDER(require_name(kOrders, "--order", *order));
    }
    request.method = require_name(kMethods, "--dither", arguments.value("--dither").value_or("floyd-steinberg"));
    if (request.method == DITHER_NONE) {
        request.flags |= COLORRES_NODITHER;
    }
    return request;
}

/** A form of the pixels that picture files have. */
struct FileForm {
    int32_t bits;
    int32_t order;
};

FileForm file_form(const BITMAPHANDLE& bitmap)
{
    const int32_t bits = bitmap.BitsPerPixel;
    if (bits <= 8) {
        return {bits == 1 || bits == 2 || bits == 4 ? bits : 8, COLORORDER_RGB};
    }
    if (bitmap.Order == COLORORDER_GRAY) {
        return {16, COLORORDER_GRAY};
    }
    return {bits == 16 ? 24 : bits, COLORORDER_BGR};
}

PictureInfo file_info(const BITMAPHANDLE& bitmap, const FileForm& form)
{
    PictureInfo info;
    info.width = bitmap.Width;
    info.height = bitmap.Height;
    info.bits = form.bits;
    info.order = form.order;
    info.x_resolution = bitmap.XResolution;
    info.y_resolution = bitmap.YResolution;
    if (form.bits <= 8) {
        const RGBQUAD* const palette = bitmap.Palette;
        info.palette.assign(palette, palette + bitmap.Colors);
        info.palette.resize(size_t{1} << form.bits);
    }
    return info;
}

void write_rows(Bitmap& bitmap, PictureWriter& writer)
{
    const BITMAPHANDLE& record = bitmap.record();
    const FileForm form = file_form(record);
    const PictureInfo info = file_info(record, form);
    writer.begin(info);
    const int32_t room = V_CalcConvertSize(record.Width, record.BitsPerPixel, record.Width, form.bits);
    std::vector<uint8_t> row(static_cast<size_t>(std::max(room, 8)));
    const std::vector<RGBQUAD> palette = info.palette;
    Access access(bitmap);
    Progress progress("writing");
    for (int32_t y = 0; y < record.Height; ++y) {
        access.get(y, row.data(), record.BytesPerLine);
        if (form.bits != record.BitsPerPixel || form.order != record.Order) {
            check(V_ConvertBuffer(row.data(), record.Width, record.BitsPerPixel, form.bits, record.Order, form.order,
                                  record.Palette, palette.empty() ? nullptr : palette.data()),
                  "converting for the file");
        }
        writer.write_row(row.data());
        progress.count(y + 1, record.Height);
    }
}

void run_convert(const Arguments& arguments)
{
    std::unique_ptr<PictureReader> reader = open_picture(arguments.files[0]);
    const std::unique_ptr<PictureWriter> writer = create_picture(arguments.files[1]);
    const PictureInfo info = reader->info();
    const Request request = read_request(arguments, info);
    Bitmap bitmap(info);
    {
        Access access(bitmap);
        std::vector<uint8_t> row(info.row_bytes());
        for (int32_t y = 0; y < info.height; ++y) {
            reader->read_row(row.data());
            access.put(y, row.data(), row.size());
        }
    }
    reader.reset(); // the file may be the one to be replaced

    bitmap.record().DitheringMethod = request.method;
    const auto start = std::chrono::steady_clock::now();
    {
        Progress progress("colours");
        check(V_ColorResBitmap(&bitmap.record(), nullptr, 0, request.bits, request.flags,
                               request.palette.empty() ? nullptr : request.palette.data(), nullptr, request.colors),
              "changing colours");
    }
    const std::chrono::duration<double> spent = std::chrono::steady_clock::now() - start;
    write_rows(bitmap, *writer);
    writer->finish();

    Report report;
    report.text("file", "written to", arguments.files[1]);
    report.number("width", "width", bitmap.record().Width, " pixels");
    report.number("height", "height", bitmap.record().Height, " pixels");
    report.number("bits", "bits per pixel", bitmap.record().BitsPerPixel);
    report.number("colors", "palette", bitmap.record().Colors, " entries");
    report.number("data_bytes", "data size", static_cast<int64_t>(bitmap.record().Size64), " bytes");
    report.measure("convert_ms", "time", spent.count() * 1e3, " ms");
    report.print(arguments.has("--json"));
}

} // namespace

extern const Command kConvertCommand;
const Command kConvertCommand = {
    "convert", "FILE OUT", 2, "Changes a picture's depth, palette or colour order.", kOptions, &run_convert,
};

} // namespace vk::tool
