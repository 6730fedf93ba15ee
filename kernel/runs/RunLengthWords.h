// Access to the parts of a run-length row: what the files of the codec share. Rows need no alignment, so words are
// copied in and out; the form is little-endian, as is every machine this is built for.
#pragma once

#include "kernel/runs/RunLength.h"

#include <bit>
#include <cstring>

namespace vk::runlength {

static_assert(std::endian::native == std::endian::little, "run words are little-endian");

/// Longest run that a word can state.
constexpr uint32_t kLongest = 65535;
constexpr size_t kHeader = 4;

inline uint16_t load_run(const uint8_t* words, size_t index) noexcept
{
    uint16_t run = 0;
    std::memcpy(&run, words + 2 * index, sizeof run);
    return run;
}

inline void store_run(uint8_t* words, size_t index, uint32_t run) noexcept
{
    const auto word = static_cast<uint16_t>(run);
    std::memcpy(words + 2 * index, &word, sizeof word);
}

inline uint8_t* words_of(void* row) noexcept
{
    return static_cast<uint8_t*>(row) + kHeader;
}
inline const uint8_t* words_of(const void* row) noexcept
{
    return static_cast<const uint8_t*>(row) + kHeader;
}

/// Writes the number N; returns the row's bytes.
inline size_t set_word_count(void* row, uint32_t count) noexcept
{
    std::memcpy(row, &count, sizeof count);
    return row_bytes(count);
}

} // namespace vk::runlength
