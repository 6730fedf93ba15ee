#include "kernel/fill/ChaCha.h"

#include "kernel/combine/Streaming.h"
#include "kernel/fill/ChaChaLanes.h"

namespace vk::fill {

void ChaCha::blocks(uint32_t counter, size_t count, uint8_t* stream) const noexcept
{
    const ChaChaLoops* const loops = chacha_loops_sets.best();
    const size_t done = loops ? loops->blocks(*this, counter, count, stream) : 0;
    chacha_blocks<1>(*this, counter + static_cast<uint32_t>(done), count - done, stream + done * kChaChaBlock);
}

} // namespace vk::fill
