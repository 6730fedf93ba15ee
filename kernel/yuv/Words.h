// Words of a picture's memory, the lower byte first, wherever they lie.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace vk::yuv {

template <class Word> Word load_word(const uint8_t* from, size_t index) noexcept
{
    Word word;
    std::memcpy(&word, from + index * sizeof word, sizeof word);
    return word;
}

template <class Word> void store_word(uint8_t* to, size_t index, Word word) noexcept
{
    std::memcpy(to + index * sizeof word, &word, sizeof word);
}

} // namespace vk::yuv
