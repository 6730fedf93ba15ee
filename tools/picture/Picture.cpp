/**
 * @file Picture.cpp
 * Chooses the format of a file: by its first bytes when reading, by the name's extension when writing.
 */
#include "tools/picture/Formats.h"

#include "tools/Failure.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstring>

namespace vk::tool {

namespace {

// What this build can do; what it cannot is not compiled either, so its names must not be used.
constexpr bool kPng = VK_WITH_PNG;
constexpr bool kJpeg = VK_WITH_JPEG;

using Magic = std::array<unsigned char, 8>;

std::unique_ptr<PictureReader> make_reader(const Magic& magic, size_t length, Input file, const std::string& name)
{
    if (length == 8 && std::memcmp(magic.data(), "\x89PNG\r\n\x1a\n", 8) == 0) {
        if constexpr (kPng) {
            return read_png(std::move(file), name);
        }
        throw FileError(name, "this build does not read PNG");
    }
    if (length >= 3 && std::memcmp(magic.data(), "\xFF\xD8\xFF", 3) == 0) {
        if constexpr (kJpeg) {
            return read_jpeg(std::move(file), name);
        }
        throw FileError(name, "this build does not read JPEG");
    }
    if (length >= 2 && magic[0] == 'B' && magic[1] == 'M') {
        return read_bmp(std::move(file), name);
    }
    if (length >= 2 && magic[0] == 'P' && magic[1] >= '1' && magic[1] <= '6') {
        return read_pnm(std::move(file), name);
    }
    throw FileError(name, std::string("not a picture this program reads (") + readable_formats() + ")");
}

std::string extension_of(const std::string& name)
{
    const std::u8string end = path_of(name).extension().u8string();
    std::string extension(end.begin(), end.end());
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return extension;
}

bool is_pnm(const std::string& extension)
{
    return extension == ".pnm" || extension == ".pbm" || extension == ".pgm" || extension == ".ppm";
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

std::unique_ptr<PictureReader> open_picture(const std::string& name)
{
    auto file = std::make_unique<InputFile>(name);
    Magic magic{};
    const size_t length = file->read(magic.data(), magic.size());
    file->check();
    file->rewind();
    return make_reader(magic, length, std::move(file), name);
}

std::unique_ptr<PictureWriter> create_picture(const std::string& name)
{
    const std::string extension = extension_of(name);
    if constexpr (kPng) {
        if (extension == ".png") {
            return write_png(name);
        }
    }
    if (extension == ".bmp") {
        return write_bmp(name);
    }
    if (is_pnm(extension)) {
        return write_pnm(name);
    }
    throw UsageError(name + ": the extension names no format this program writes (" + writable_formats() + ")");
}

bool has_writable_name(const std::string& name)
{
    const std::string extension = extension_of(name);
    return is_pnm(extension) || extension == ".bmp" || (kPng && extension == ".png");
}

bool has_readable_name(const std::string& name)
{
    const std::string extension = extension_of(name);
    return has_writable_name(name) || (kJpeg && (extension == ".jpg" || extension == ".jpeg"));
}

const char* default_extension()
{
    return kPng ? ".png" : ".pnm";
}

const char* readable_formats()
{
    if (kPng) {
        return kJpeg ? "PNG, JPEG, PNM, BMP" : "PNG, PNM, BMP";
    }
    return kJpeg ? "JPEG, PNM, BMP" : "PNM, BMP";
}

const char* writable_formats()
{
    return kPng ? "PNG, PNM, BMP" : "PNM, BMP";
}

void check_size(const std::string& name, int64_t width, int64_t height)
{
    if (width < 1 || height < 1) {
        throw FileError(name, "the picture is empty");
    }
    if (width > kMaxWidth || height > kMaxHeight) {
        throw FileError(name, "the picture is too large: " + std::to_string(width) + " x " + std::to_string(height));
    }
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

bool same_palette(const std::vector<RGBQUAD>& a, const std::vector<RGBQUAD>& b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](const RGBQUAD& x, const RGBQUAD& y) {
        return x.rgbRed == y.rgbRed && x.rgbGreen == y.rgbGreen && x.rgbBlue == y.rgbBlue;
    });
}

} // namespace vk::tool
