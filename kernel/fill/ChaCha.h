// The stream cipher ChaCha20 as RFC 8439 describes it (sections 2.1 to 2.4): a key of 32 bytes, a block counter and a
// nonce of 12 bytes give a stream of bytes, 64 a block.
#pragma once

#include "simd/Level.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace vk::fill {

constexpr size_t kChaChaBlock = 64;

struct ChaCha {
    std::array<uint32_t, 8> key;
    std::array<uint32_t, 3> nonce;

    /// Writes `count` blocks of the stream from block `counter` on.
    void blocks(uint32_t counter, size_t count, uint8_t* stream) const noexcept;
};

/// As many blocks as there is a faster way for; returns their number.
struct ChaChaLoops {
    size_t (*blocks)(const ChaCha& cipher, uint32_t counter, size_t count, uint8_t* stream) noexcept;
};
VK_SIMD_TABLE(ChaChaLoops, chacha_loops);

} // namespace vk::fill
