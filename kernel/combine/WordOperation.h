// Arithmetic on words that hold numbers of fewer bits: gray samples, of which some bits count, and colours of five or
// six bits a channel. Bits of a word that belong to no number stay.
#pragma once

#include "kernel/combine/ChannelOperation.h"

#include <cstddef>
#include <cstdint>

namespace vk::combine {

/// Where the numbers stand in a word: `bits` of them, at least one, from bit `shift` on.
struct WordFields {
    int count = 0;
    uint32_t shift[3] = {};
    uint32_t bits[3] = {};
};

/// Changes `count` words; numbers are not negative.
void combine_words(const Arithmetic& how, const uint8_t* from, uint8_t* to, size_t count,
                   const WordFields& fields) noexcept;

/// The same for words of 32 bits with one number of up to as many bits.
void combine_long_words(const Arithmetic& how, const uint8_t* from, uint8_t* to, size_t count, uint32_t shift,
                        uint32_t bits) noexcept;

/// combine_words by vectors, as many words as they take; returns how many.
struct WordLoops {
    size_t (*combine)(const Arithmetic& how, const uint8_t* from, uint8_t* to, size_t count,
                      const WordFields& fields) noexcept;
};
VK_SIMD_TABLE(WordLoops, word_loops);

} // namespace vk::combine
