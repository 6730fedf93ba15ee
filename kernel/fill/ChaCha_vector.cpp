// As many blocks of the cipher side by side as a vector has words.
#include "kernel/fill/ChaChaLanes.h"
#include "simd/Set.h"

namespace vk::fill::VK_SIMD_SET {

namespace {

size_t blocks(const ChaCha& cipher, uint32_t counter, size_t count, uint8_t* stream) noexcept
{
    return chacha_blocks<simd::kWidth / 4>(cipher, counter, count, stream);
}

} // namespace

const ChaChaLoops chacha_loops = {blocks};

} // namespace vk::fill::VK_SIMD_SET
