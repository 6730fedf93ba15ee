/**
 * @file Picture.cpp
 * Chooses the format of a file: by its first bytes when reading, by the name's extension when writing.
 */
#include "tools/picture/Formats.h"

#include "tools/Failure.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cctype>
#include <cstring>
#include <string_view>

namespace vk::tool {

namespace {

// What this build can do; what it cannot is not compiled either, so its names must not be used.
constexpr bool kSystem = VK_WITH_SYSTEM; // Windows' own imaging component
constexpr bool kPng = VK_WITH_PNG || kSystem;
constexpr bool kJpeg = VK_WITH_JPEG || kSystem;
constexpr bool kTiff = VK_WITH_TIFF || kSystem;
constexpr bool kWebp = VK_WITH_WEBP;
constexpr bool kGif = VK_WITH_GIF || kSystem;
constexpr bool kLcms = VK_WITH_LCMS;

using Magic = std::string_view;

bool is_tiff(Magic magic)
{
    constexpr Magic kMarks[] = {{"II*\0", 4}, {"MM\0*", 4}, {"II+\0", 4}, {"MM\0+", 4}};
    return std::any_of(std::begin(kMarks), std::end(kMarks), [&](Magic mark) { return magic.starts_with(mark); });
}

using Read = std::unique_ptr<PictureReader>(Input file, const std::string& name);
using Write = std::unique_ptr<PictureWriter>(const std::string& name, const WriteOptions& options);

struct Format {
    const char* name;
    std::array<std::string_view, 4> extensions;
    bool (*is)(Magic magic);
    Read* read = nullptr; ///< these two are null where this build does not have it
    Write* write = nullptr;
};

Format png_format()
{
    Format format = {"PNG", {".png"}, [](Magic magic) { return magic.starts_with("\x89PNG\r\n\x1a\n"); }};
    if constexpr (kPng) {
        format.read = &read_png;
        format.write = &write_png;
    }
    return format;
}

Format jpeg_format()
{
    Format format = {"JPEG", {".jpg", ".jpeg"}, [](Magic magic) { return magic.starts_with("\xFF\xD8\xFF"); }};
    if constexpr (kJpeg) {
        format.read = &read_jpeg;
        format.write = &write_jpeg;
    }
    return format;
}

Format tiff_format()
{
    Format format = {"TIFF", {".tif", ".tiff"}, &is_tiff};
    if constexpr (kTiff) {
        format.read = &read_tiff;
        format.write = &write_tiff;
    }
    return format;
}

Format webp_format()
{
    Format format = {
        "WebP", {".webp"}, [](Magic magic) { return magic.starts_with("RIFF") && magic.ends_with("WEBP"); }};
    if constexpr (kWebp) {
        format.read = &read_webp;
        format.write = &write_webp;
    }
    return format;
}

Format gif_format()
{
    Format format = {
        "GIF", {".gif"}, [](Magic magic) { return magic.starts_with("GIF87a") || magic.starts_with("GIF89a"); }};
    if constexpr (kGif) {
        format.read = &read_gif;
        format.write = &write_gif;
    }
    return format;
}

const Format kFormats[] = {
    png_format(),
    jpeg_format(),
    tiff_format(),
    webp_format(),
    gif_format(),
    {"PNM",
     {".pnm", ".pbm", ".pgm", ".ppm"},
     [](Magic magic) { return magic.size() >= 2 && magic[0] == 'P' && magic[1] >= '1' && magic[1] <= '6'; },
     &read_pnm,
     [](const std::string& name, const WriteOptions&) { return write_pnm(name); }},
    {"BMP",
     {".bmp"},
     [](Magic magic) { return magic.starts_with("BM"); },
     &read_bmp,
     [](const std::string& name, const WriteOptions&) { return write_bmp(name); }},
};

/** The format that the name's extension asks for, or null. */
const Format* format_of(const std::string& name)
{
    const std::u8string end = path_of(name).extension().u8string();
    std::string extension(end.begin(), end.end());
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    for (const Format& format : kFormats) {
        if (!extension.empty() &&
            std::find(format.extensions.begin(), format.extensions.end(), extension) != format.extensions.end()) {
            return &format;
        }
    }
    return nullptr;
}

template <typename Has> std::string names_of_formats(Has has)
{
    std::string names;
    for (const Format& format : kFormats) {
        if (has(format)) {
            names += (names.empty() ? "" : ", ") + std::string(format.name);
        }
    }
    return names;
}

void clear_padding(const PictureInfo& info, uint8_t* row)
{
    const size_t bits = static_cast<size_t>(info.width) * static_cast<size_t>(info.bits);
    size_t used = bits / 8;
    if (bits % 8 != 0) {
        row[used] = static_cast<uint8_t>(row[used] & (0xFF00 >> (bits % 8)));
        ++used;
    }
    std::memset(row + used, 0, info.row_bytes() - used);
}

} // namespace

void PictureReader::read_row(uint8_t* row)
{
    decode_row(row);
    clear_padding(info_, row);
}

namespace {

std::unique_ptr<PictureReader> open_first_page(const std::string& name)
{
    auto file = std::make_unique<InputFile>(name);
    std::array<char, 12> bytes{};
    const Magic magic(bytes.data(), file->read(bytes.data(), bytes.size()));
    file->check();
    file->rewind();
    for (const Format& format : kFormats) {
        if (!format.is(magic)) {
            continue;
        }
        if (format.read == nullptr) {
            throw FileError(name, std::string("this build does not read ") + format.name);
        }
        return format.read(std::move(file), name);
    }
    throw FileError(name, "not a picture this program reads (" + readable_formats() + ")");
}

/** A template, so that the branch not taken is not linked. */
template <bool kHas = kLcms>
std::unique_ptr<PictureReader> with_srgb(std::unique_ptr<PictureReader> reader, const std::string& name)
{
    if constexpr (kHas) {
        return in_srgb(std::move(reader), name);
    }
    throw UsageError("this build cannot convert colours to sRGB");
}

} // namespace

std::unique_ptr<PictureReader> open_picture(const std::string& name, const ReadOptions& options)
{
    std::unique_ptr<PictureReader> reader = open_first_page(name);
    if (options.srgb) {
        reader = with_srgb(std::move(reader), name);
    }
    const uint32_t page = options.page.value_or(0);
    for (uint32_t i = 0; i < page; ++i) {
        if (!reader->next_page()) {
            throw FileError(name,
                            "there is no page " + std::to_string(page + 1) + " in it, only " + std::to_string(i + 1));
        }
    }
    return reader;
}

std::unique_ptr<PictureWriter> create_picture(const std::string& name, const WriteOptions& options)
{
    if (!has_writable_name(name)) {
        throw UsageError(name + ": the extension names no format this program writes (" + writable_formats() + ")");
    }
    return format_of(name)->write(name, options);
}

bool has_writable_name(const std::string& name)
{
    const Format* const format = format_of(name);
    return format != nullptr && format->write != nullptr;
}

bool has_readable_name(const std::string& name)
{
    const Format* const format = format_of(name);
    return format != nullptr && format->read != nullptr;
}

const char* default_extension()
{
    return kPng ? ".png" : ".pnm";
}

std::string readable_formats()
{
    return names_of_formats([](const Format& format) { return format.read != nullptr; });
}

std::string writable_formats()
{
    return names_of_formats([](const Format& format) { return format.write != nullptr; });
}

namespace {

constexpr uint64_t kMostPixels = 1'000'000'000;
/** Of a file that holds less than one byte for so many pixels no good is expected when it claims many. */
constexpr uint64_t kPixelsPerByte = 10'000;
constexpr uint64_t kManyPixels = uint64_t{64} << 20;

std::atomic<uint64_t> g_most_pixels{0}; ///< 0: the usual number

} // namespace

void set_most_pixels(uint64_t pixels)
{
    g_most_pixels = pixels;
}

namespace {

/** `holds` tells whether the file may hold so many bytes. */
template <typename Holds> void check_claim(const std::string& name, int64_t width, int64_t height, Holds holds)
{
    if (width < 1 || height < 1) {
        throw FileError(name, "the picture is empty");
    }
    const std::string size = std::to_string(width) + " x " + std::to_string(height);
    if (width > kMaxWidth || height > kMaxHeight) {
        throw FileError(name, "the picture is too large: " + size);
    }
    const uint64_t pixels = static_cast<uint64_t>(width) * static_cast<uint64_t>(height);
    const uint64_t most = g_most_pixels;
    if (pixels > (most != 0 ? most : kMostPixels)) {
        throw FileError(name, "the picture is larger than --limit allows: " + size);
    }
    if (most == 0 && pixels > kManyPixels && !holds(pixels / kPixelsPerByte)) {
        throw FileError(name, "hardly holds the " + size + " pixels that it claims; --limit lets it pass");
    }
}

} // namespace

void check_size(const std::string& name, int64_t width, int64_t height, InputFile& file)
{
    check_claim(name, width, height, [&](uint64_t least) { return file.may_hold(least); });
}

void check_size(const std::string& name, int64_t width, int64_t height, uint64_t file_bytes)
{
    check_claim(name, width, height, [&](uint64_t least) { return file_bytes >= least; });
}

std::vector<RGBQUAD> gray_ramp(int32_t bits)
{
    const int32_t last = (1 << bits) - 1;
    std::vector<RGBQUAD> palette;
    for (int32_t i = 0; i <= last; ++i) {
        const auto gray = static_cast<uint8_t>(i * 255 / last);
        palette.push_back({gray, gray, gray, 0});
    }
    return palette;
}

void plain_samples(const PictureInfo& info, const uint8_t* row, bool gray, uint8_t* samples)
{
    const auto bits = static_cast<size_t>(info.bits);
    const auto width = static_cast<size_t>(info.width);
    if (bits <= 8) {
        for (size_t x = 0; x < width; ++x) {
            const size_t bit = x * bits;
            const RGBQUAD& color = info.palette[row[bit / 8] >> (8 - bits - bit % 8) & ((1u << bits) - 1)];
            *samples++ = color.rgbRed;
            if (!gray) {
                *samples++ = color.rgbGreen;
                *samples++ = color.rgbBlue;
            }
        }
        return;
    }
    const size_t step = bits / 8;
    const size_t sample = info.order == COLORORDER_GRAY ? step : step >= 6 ? 2 : 1;
    for (size_t x = 0; x < width; ++x, row += step) { // the high byte of 16 bits is the second one
        for (size_t c = 0; c < (gray ? 1u : 3u); ++c) {
            *samples++ = row[(info.order == COLORORDER_GRAY ? 0 : 2 - c) * sample + sample - 1];
        }
    }
}

bool is_gray(const std::vector<RGBQUAD>& palette)
{
    return !palette.empty() && std::all_of(palette.begin(), palette.end(), [](const RGBQUAD& color) {
        return color.rgbRed == color.rgbGreen && color.rgbGreen == color.rgbBlue;
    });
}

bool is_profile_of(const std::vector<uint8_t>& profile, bool gray)
{
    constexpr size_t kSpaceAt = 16;
    return profile.size() > kSpaceAt + 4 && std::memcmp(&profile[kSpaceAt], gray ? "GRAY" : "RGB ", 4) == 0;
}

Frame frame_of(const PictureInfo& info, const WriteOptions& options)
{
    constexpr int32_t kUsualDelay = 100;
    Frame frame = info.frame.value_or(Frame{0, 0, info.width, info.height, kUsualDelay, Disposal::keep, false, 0});
    frame.canvas_width = std::max(frame.canvas_width, frame.left + info.width);
    frame.canvas_height = std::max(frame.canvas_height, frame.top + info.height);
    frame.delay = options.delay.value_or(frame.delay);
    frame.loops = options.loops.value_or(frame.loops);
    return frame;
}

bool same_palette(const std::vector<RGBQUAD>& a, const std::vector<RGBQUAD>& b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](const RGBQUAD& x, const RGBQUAD& y) {
        return x.rgbRed == y.rgbRed && x.rgbGreen == y.rgbGreen && x.rgbBlue == y.rgbBlue;
    });
}

} // namespace vk::tool
