// Eight blocks of the cipher side by side.
#include "kernel/fill/ChaChaLanes.h"

namespace vk::fill {

size_t chacha_blocks_avx2(const ChaCha& cipher, uint32_t counter, size_t count, uint8_t* stream) noexcept
{
    return chacha_blocks<8>(cipher, counter, count, stream);
}

} // namespace vk::fill
