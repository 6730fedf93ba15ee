// Blocks of ChaCha20 side by side: word i of the state of all of them is one array, so that the compiler has vectors to
// work on. Included by a file for each set of instructions.
#pragma once

#include "kernel/fill/ChaCha.h"

#include <cstring>

namespace vk::fill {
namespace {

template <size_t kLanes> struct ChaChaLanes {
    uint32_t words[16][kLanes];

    ChaChaLanes(const ChaCha& cipher, uint32_t counter) noexcept
    {
        constexpr uint32_t kConstants[] = {0x61707865, 0x3320646e, 0x79622d32, 0x6b206574};
        for (size_t i = 0; i < 16; ++i)
            for (size_t lane = 0; lane < kLanes; ++lane)
                words[i][lane] = i < 4     ? kConstants[i]
                                 : i < 12  ? cipher.key[i - 4]
                                 : i == 12 ? counter + static_cast<uint32_t>(lane)
                                           : cipher.nonce[i - 13];
    }

    void step(size_t a, size_t b, size_t c, int bits) noexcept
    {
        for (size_t lane = 0; lane < kLanes; ++lane) {
            words[a][lane] += words[b][lane];
            const uint32_t mixed = words[c][lane] ^ words[a][lane];
            words[c][lane] = mixed << bits | mixed >> (32 - bits);
        }
    }
    void quarter_round(size_t a, size_t b, size_t c, size_t d) noexcept
    {
        step(a, b, d, 16);
        step(c, d, b, 12);
        step(a, b, d, 8);
        step(c, d, b, 7);
    }
    void rounds() noexcept
    {
        for (int i = 0; i < 10; ++i) {
            for (size_t column = 0; column < 4; ++column)
                quarter_round(column, column + 4, column + 8, column + 12);
            for (size_t column = 0; column < 4; ++column)
                quarter_round(column, 4 + (column + 1) % 4, 8 + (column + 2) % 4, 12 + (column + 3) % 4);
        }
    }
};

/// As many blocks as come in whole groups of kLanes.
template <size_t kLanes>
size_t chacha_blocks(const ChaCha& cipher, uint32_t counter, size_t count, uint8_t* stream) noexcept
{
    size_t done = 0;
    for (; done + kLanes <= count; done += kLanes, stream += kLanes * kChaChaBlock) {
        const ChaChaLanes<kLanes> start(cipher, counter + static_cast<uint32_t>(done));
        ChaChaLanes<kLanes> state = start;
        state.rounds();
        for (size_t lane = 0; lane < kLanes; ++lane)
            for (size_t i = 0; i < 16; ++i) {
                const uint32_t word = state.words[i][lane] + start.words[i][lane];
                std::memcpy(stream + lane * kChaChaBlock + 4 * i, &word, sizeof word);
            }
    }
    return done;
}

} // namespace
} // namespace vk::fill
