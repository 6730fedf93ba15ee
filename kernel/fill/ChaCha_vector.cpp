// As many blocks of the cipher side by side as a vector has words. Compilers keep the states of the wider sets in
// registers by themselves; with vectors of 16 bytes they have to be told.
#include "kernel/fill/ChaChaLanes.h"
#include "simd/Pick.h"
#include "simd/Shift.h"
#include "simd/Simd.h"

namespace vk::fill::VK_SIMD_SET {

namespace {

using namespace simd;

using Words = Quad<uint32_t>;

template <int Bits> VK_SIMD_INLINE void step(Words& a, Words b, Words& c) noexcept
{
    a += b;
    c = turned<Bits>(c ^ a);
}
template <size_t A, size_t B, size_t C, size_t D> VK_SIMD_INLINE void quarter_round(Words (&w)[16]) noexcept
{
    step<16>(w[A], w[B], w[D]);
    step<12>(w[C], w[D], w[B]);
    step<8>(w[A], w[B], w[D]);
    step<7>(w[C], w[D], w[B]);
}
VK_SIMD_INLINE void double_round(Words (&w)[16]) noexcept
{
    quarter_round<0, 4, 8, 12>(w);
    quarter_round<1, 5, 9, 13>(w);
    quarter_round<2, 6, 10, 14>(w);
    quarter_round<3, 7, 11, 15>(w);
    quarter_round<0, 5, 10, 15>(w);
    quarter_round<1, 6, 11, 12>(w);
    quarter_round<2, 7, 8, 13>(w);
    quarter_round<3, 4, 9, 14>(w);
}

/// Four blocks, a lane each.
VK_SIMD_INLINE void four_blocks(const ChaChaLanes<4>& start, uint8_t* stream) noexcept
{
    Words w[16];
    for (size_t i = 0; i < 16; ++i)
        w[i] = load<Words>(start.words[i]);
    for (int i = 0; i < 10; ++i)
        double_round(w);
    for (size_t i = 0; i < 16; i += 4) {
        Words part[4];
        for (size_t k = 0; k < 4; ++k)
            part[k] = w[i + k] + load<Words>(start.words[i + k]);
        transpose(part);
        for (size_t lane = 0; lane < 4; ++lane)
            store(stream + lane * kChaChaBlock + 4 * i, part[lane]);
    }
}

size_t blocks(const ChaCha& cipher, uint32_t counter, size_t count, uint8_t* stream) noexcept
{
    if constexpr (kWidth > 16)
        return chacha_blocks<kWidth / 4>(cipher, counter, count, stream);
    size_t done = 0;
    for (; done + 4 <= count; done += 4, stream += 4 * kChaChaBlock)
        four_blocks(ChaChaLanes<4>(cipher, counter + static_cast<uint32_t>(done)), stream);
    return done;
}

} // namespace

const ChaChaLoops chacha_loops = {blocks};

} // namespace vk::fill::VK_SIMD_SET
