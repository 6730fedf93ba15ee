#include "kernel/storage/codec/Split.h"

namespace vk::codec {

void split_row(const uint8_t* pixels, uint8_t* middle, uint8_t* first, uint8_t* last, uint32_t width) noexcept
{
    for (uint32_t x = 0; x < width; ++x, pixels += 3) {
        middle[x] = pixels[1];
        first[x] = static_cast<uint8_t>(pixels[0] - pixels[1]);
        last[x] = static_cast<uint8_t>(pixels[2] - pixels[1]);
    }
}

void join_row(const uint8_t* middle, const uint8_t* first, const uint8_t* last, uint8_t* pixels,
              uint32_t width) noexcept
{
    for (uint32_t x = 0; x < width; ++x, pixels += 3) {
        pixels[0] = static_cast<uint8_t>(first[x] + middle[x]);
        pixels[1] = middle[x];
        pixels[2] = static_cast<uint8_t>(last[x] + middle[x]);
    }
}

} // namespace vk::codec
