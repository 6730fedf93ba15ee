// Rows of three-byte pixels as three planes and back: the middle byte, and the outer two less the middle one.
#pragma once

#include <cstdint>

namespace vk::codec {

void split_row(const uint8_t* pixels, uint8_t* middle, uint8_t* first, uint8_t* last, uint32_t width) noexcept;
void join_row(const uint8_t* middle, const uint8_t* first, const uint8_t* last, uint8_t* pixels,
              uint32_t width) noexcept;

} // namespace vk::codec
