#include "kernel/fill/ChaCha.h"

#include "kernel/combine/Streaming.h"
#include "kernel/fill/ChaChaLanes.h"
#include "simd/Level.h"

namespace vk::fill {

void ChaCha::blocks(uint32_t counter, size_t count, uint8_t* stream) const noexcept
{
    const simd::Level cpu = simd::level();
    size_t done = 0;
    if (cpu >= simd::Level::avx512)
        done = chacha_blocks_avx512(*this, counter, count, stream);
    else if (cpu >= simd::Level::avx2)
        done = chacha_blocks_avx2(*this, counter, count, stream);
    chacha_blocks<1>(*this, counter + static_cast<uint32_t>(done), count - done, stream + done * kChaChaBlock);
}

} // namespace vk::fill
