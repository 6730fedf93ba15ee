#include "kernel/dib/Header.h"

#include "platform/display.h"

#include <algorithm>

namespace vk::dib {

namespace {

/// 96 dots per inch, where there is no display to ask.
constexpr int32_t kUsualPerMetre = 3780;

int32_t dots_per_inch(int32_t per_metre) noexcept
{
    return static_cast<int32_t>((int64_t{per_metre} * 254 + 5000) / 10000);
}

} // namespace

Header read_header(const uint8_t* bytes) noexcept
{
    Header header;
    header.size = read_value<uint32_t>(bytes);
    header.width = read_value<int32_t>(bytes + 4);
    header.height = read_value<int32_t>(bytes + 8);
    header.planes = read_value<uint16_t>(bytes + 12);
    header.bits = read_value<uint16_t>(bytes + 14);
    header.compression = read_value<uint32_t>(bytes + 16);
    header.image_bytes = read_value<uint32_t>(bytes + 20);
    header.x_per_metre = read_value<int32_t>(bytes + 24);
    header.y_per_metre = read_value<int32_t>(bytes + 28);
    header.colors_used = read_value<uint32_t>(bytes + 32);
    return header;
}

Header read_core_header(const uint8_t* bytes) noexcept
{
    Header header;
    header.size = read_value<uint32_t>(bytes);
    header.width = read_value<uint16_t>(bytes + 4);
    header.height = read_value<uint16_t>(bytes + 6);
    header.planes = read_value<uint16_t>(bytes + 8);
    header.bits = read_value<uint16_t>(bytes + 10);
    return header;
}

void write_header(uint8_t* bytes, const Header& header) noexcept
{
    write_value(bytes, header.size);
    write_value(bytes + 4, header.width);
    write_value(bytes + 8, header.height);
    write_value(bytes + 12, header.planes);
    write_value(bytes + 14, header.bits);
    write_value(bytes + 16, header.compression);
    write_value(bytes + 20, header.image_bytes);
    write_value(bytes + 24, header.x_per_metre);
    write_value(bytes + 28, header.y_per_metre);
    write_value(bytes + 32, header.colors_used);
    write_value(bytes + 36, uint32_t{0}); // important colours
}

void set_resolution(BITMAPHANDLE& bitmap, const Header& header) noexcept
{
    int32_t x = kUsualPerMetre;
    int32_t y = kUsualPerMetre;
    if (header.x_per_metre == 0 || header.y_per_metre == 0)
        platform::display_resolution(&x, &y); // leaves the usual one where there is no display
    bitmap.XResolution = dots_per_inch(header.x_per_metre != 0 ? header.x_per_metre : x);
    bitmap.YResolution = dots_per_inch(header.y_per_metre != 0 ? header.y_per_metre : y);
}

int32_t per_metre(int32_t dots_per_inch) noexcept
{
    const int64_t value = (int64_t{dots_per_inch} * 10000 + 127) / 254;
    return static_cast<int32_t>(std::clamp<int64_t>(value, INT32_MIN, INT32_MAX));
}

} // namespace vk::dib
