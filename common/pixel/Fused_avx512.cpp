// Fused paths for AVX-512 with byte permutations (VBMI): one permutation takes a whole register of pixels apart or
// together, and two look up a byte in a table of 128.
#include "common/pixel/Fused.h"

#include <immintrin.h>

namespace vk::pixel {
namespace {

/// With a mask of everything, because compilers warn of the value that the plain form leaves undefined.
__m512i permute(__m512i order, __m512i v) noexcept
{
    return _mm512_maskz_permutexvar_epi8(~__mmask64{0}, order, v);
}

__m512i load64(const uint8_t* at) noexcept
{
    return _mm512_loadu_si512(at);
}

/// A store that may go past the caches, to an address that is then a multiple of 64.
template <bool Stream> void put64(uint8_t* at, __m512i v) noexcept
{
    Stream ? _mm512_stream_si512(reinterpret_cast<__m512i*>(at), v) : _mm512_storeu_si512(at, v);
}

/// A byte permutation, made by the compiler.
struct Order {
    alignas(64) uint8_t at[64];
    __m512i load() const noexcept { return _mm512_load_si512(at); }
};

/// Three permutations, for 64 pixels that become three registers of 24-bit ones.
struct Orders {
    Order part[3];
};

constexpr size_t in_pixel(size_t channel, bool swap) noexcept
{
    return swap ? 2 - channel : channel;
}

/// Sixteen 24-bit pixels to double words; the alpha bytes take anything.
constexpr Order spread(bool swap) noexcept
{
    Order order{};
    for (size_t i = 0; i < 64; ++i) {
        order.at[i] = static_cast<uint8_t>(i % 4 == 3 ? 0 : i / 4 * 3 + in_pixel(i % 4, swap));
    }
    return order;
}

/// Double words to 24-bit pixels: part k takes from registers k and k + 1 of four.
constexpr Orders gather(bool swap) noexcept
{
    Orders orders{};
    for (size_t i = 0; i < 192; ++i) {
        orders.part[i / 64].at[i % 64] = static_cast<uint8_t>(i / 3 * 4 + in_pixel(i % 3, swap) - i / 64 * 64);
    }
    return orders;
}

/// 24-bit pixels with their ends exchanged. A byte comes from at most two places further on or back, so part k takes
/// from a register two bytes before its place (values below 64) and one two bytes behind it.
constexpr Orders exchange() noexcept
{
    Orders orders{};
    for (size_t i = 0; i < 192; ++i) {
        const size_t from = i / 3 * 3 + in_pixel(i % 3, true) + 2 - i / 64 * 64;
        orders.part[i / 64].at[i % 64] = static_cast<uint8_t>(from < 64 ? from : 64 + from - 4);
    }
    return orders;
}

/// Each of 64 grays three times.
constexpr Orders thrice() noexcept
{
    Orders orders{};
    for (size_t i = 0; i < 192; ++i) {
        orders.part[i / 64].at[i % 64] = static_cast<uint8_t>(i / 3);
    }
    return orders;
}

constexpr Order kSpread = spread(false);
constexpr Order kSpreadSwap = spread(true);
constexpr Orders kGather = gather(false);
constexpr Orders kGatherSwap = gather(true);
constexpr Orders kExchange = exchange();
constexpr Orders kThrice = thrice();

template <bool Stream> void widen_24(const uint8_t* src, uint8_t* dst, size_t count, const Order& order) noexcept
{
    const __m512i shuffle = order.load();
    const __m512i alpha = _mm512_set1_epi32(static_cast<int>(0xFF000000u));
    for (; count != 0; count -= 16, src += 48, dst += 64) {
        put64<Stream>(dst, _mm512_or_si512(permute(shuffle, load64(src)), alpha));
    }
}

template <bool Stream> void narrow_32(const uint8_t* src, uint8_t* dst, size_t count, const Orders& orders) noexcept
{
    for (; count != 0; count -= 64, src += 256, dst += 192) {
        for (size_t k = 0; k < 3; ++k) {
            put64<Stream>(dst + 64 * k, _mm512_permutex2var_epi8(load64(src + 64 * k), orders.part[k].load(),
                                                                 load64(src + 64 * k + 64)));
        }
    }
}

/// A byte of each of 256 entries, by four registers of 64.
struct ByteTable {
    __m512i part[4];

    __m512i at(__m512i index) const noexcept
    {
        const __m512i low = _mm512_permutex2var_epi8(part[0], index, part[1]);
        const __m512i high = _mm512_permutex2var_epi8(part[2], index, part[3]);
        return _mm512_mask_blend_epi8(_mm512_movepi8_mask(index), low, high);
    }
};

/// Puts three channels of 64 pixels in turn. Entry i of part k is the byte that goes to byte 64 k + i of the result:
/// from the first two channels, or, where `third` is set, from the last.
struct Interleave {
    Order two[3];
    Order last[3];
    uint64_t third[3];
};

constexpr Interleave interleave() noexcept
{
    Interleave order{};
    for (size_t i = 0; i < 192; ++i) {
        const size_t pixel = i / 3;
        const size_t part = i / 64;
        const size_t channel = i % 3;
        order.two[part].at[i % 64] = static_cast<uint8_t>(channel == 1 ? 64 + pixel : pixel);
        order.last[part].at[i % 64] = static_cast<uint8_t>(pixel);
        order.third[part] |= static_cast<uint64_t>(channel == 2) << i % 64;
    }
    return order;
}

constexpr Interleave kInterleave = interleave();

template <bool Stream> void c24_to_32(const Plan&, const uint8_t* src, uint8_t* dst, size_t count) noexcept
{
    widen_24<Stream>(src, dst, count, kSpread);
}

template <bool Stream> void c24_to_32_swap(const Plan&, const uint8_t* src, uint8_t* dst, size_t count) noexcept
{
    widen_24<Stream>(src, dst, count, kSpreadSwap);
}

template <bool Stream> void c32_to_24(const Plan&, const uint8_t* src, uint8_t* dst, size_t count) noexcept
{
    narrow_32<Stream>(src, dst, count, kGather);
}

template <bool Stream> void c32_to_24_swap(const Plan&, const uint8_t* src, uint8_t* dst, size_t count) noexcept
{
    narrow_32<Stream>(src, dst, count, kGatherSwap);
}

template <bool Stream> void c24_swap(const Plan&, const uint8_t* src, uint8_t* dst, size_t count) noexcept
{
    for (; count != 0; count -= 64, src += 192, dst += 192) {
        // Bytes 0 to 191 are all there are, so the outer registers leave two out.
        const __m512i v[6] = {_mm512_maskz_loadu_epi8(~__mmask64{3}, src - 2),
                              load64(src + 2),
                              load64(src + 62),
                              load64(src + 66),
                              load64(src + 126),
                              _mm512_maskz_loadu_epi8(~__mmask64{0} >> 2, src + 130)};
        for (size_t k = 0; k < 3; ++k) {
            put64<Stream>(dst + 64 * k, _mm512_permutex2var_epi8(v[2 * k], kExchange.part[k].load(), v[2 * k + 1]));
        }
    }
}

template <bool Stream> void gray8_to_24(const Plan&, const uint8_t* src, uint8_t* dst, size_t count) noexcept
{
    for (; count != 0; count -= 64, src += 64, dst += 192) {
        const __m512i gray = load64(src);
        for (size_t k = 0; k < 3; ++k) {
            put64<Stream>(dst + 64 * k, permute(kThrice.part[k].load(), gray));
        }
    }
}

template <bool Stream> void index8_to_24(const Plan& plan, const uint8_t* src, uint8_t* dst, size_t count) noexcept
{
    const bool red_first = plan.dst->order == COLORORDER_RGB;
    alignas(64) uint8_t bytes[3][256];
    for (size_t i = 0; i < 256; ++i) {
        bytes[red_first ? 2 : 0][i] = plan.table[4 * i];
        bytes[1][i] = plan.table[4 * i + 1];
        bytes[red_first ? 0 : 2][i] = plan.table[4 * i + 2];
    }
    ByteTable tables[3];
    for (size_t i = 0; i < 12; ++i) {
        tables[i / 4].part[i % 4] = _mm512_load_si512(bytes[i / 4] + i % 4 * 64);
    }
    for (; count != 0; count -= 64, src += 64, dst += 192) {
        const __m512i index = _mm512_loadu_si512(src);
        const __m512i first = tables[0].at(index);
        const __m512i second = tables[1].at(index);
        const __m512i last = tables[2].at(index);
        for (size_t part = 0; part < 3; ++part) {
            const __m512i two = _mm512_permutex2var_epi8(first, kInterleave.two[part].load(), second);
            const __m512i mixed =
                _mm512_mask_permutexvar_epi8(two, kInterleave.third[part], kInterleave.last[part].load(), last);
            put64<Stream>(dst + 64 * part, mixed);
        }
    }
}

constexpr int32_t kBgr = COLORORDER_BGR;
constexpr int32_t kRgb = COLORORDER_RGB;
constexpr int32_t kGray = COLORORDER_GRAY;

constexpr FusedPath kPaths[] = {
    {"24 to 32, AVX-512", 24, kBgr, 32, kBgr, Cpu::avx512, 16, 16, c24_to_32<false>, c24_to_32<true>, nullptr},
    {"24 to 32, AVX-512", 24, kRgb, 32, kRgb, Cpu::avx512, 16, 16, c24_to_32<false>, c24_to_32<true>, nullptr},
    {"24 to 32 swapped, AVX-512", 24, kBgr, 32, kRgb, Cpu::avx512, 16, 16, c24_to_32_swap<false>, c24_to_32_swap<true>,
     nullptr},
    {"24 to 32 swapped, AVX-512", 24, kRgb, 32, kBgr, Cpu::avx512, 16, 16, c24_to_32_swap<false>, c24_to_32_swap<true>,
     nullptr},
    {"24 swapped, AVX-512", 24, kBgr, 24, kRgb, Cpu::avx512, 64, 0, c24_swap<false>, c24_swap<true>, nullptr},
    {"24 swapped, AVX-512", 24, kRgb, 24, kBgr, Cpu::avx512, 64, 0, c24_swap<false>, c24_swap<true>, nullptr},
    {"32 to 24, AVX-512", 32, kBgr, 24, kBgr, Cpu::avx512, 64, 0, c32_to_24<false>, c32_to_24<true>, nullptr},
    {"32 to 24, AVX-512", 32, kRgb, 24, kRgb, Cpu::avx512, 64, 0, c32_to_24<false>, c32_to_24<true>, nullptr},
    {"32 to 24 swapped, AVX-512", 32, kBgr, 24, kRgb, Cpu::avx512, 64, 0, c32_to_24_swap<false>, c32_to_24_swap<true>,
     nullptr},
    {"32 to 24 swapped, AVX-512", 32, kRgb, 24, kBgr, Cpu::avx512, 64, 0, c32_to_24_swap<false>, c32_to_24_swap<true>,
     nullptr},
    {"8 to 24, AVX-512", 8, kAnyOrder, 24, kBgr, Cpu::avx512, 64, 0, index8_to_24<false>, index8_to_24<true>, nullptr},
    {"8 to 24, AVX-512", 8, kAnyOrder, 24, kRgb, Cpu::avx512, 64, 0, index8_to_24<false>, index8_to_24<true>, nullptr},
    {"gray to 24, AVX-512", 0, kAnyOrder, 24, kBgr, Cpu::avx512, 64, 0, gray8_to_24<false>, gray8_to_24<true>, nullptr},
    {"gray to 24, AVX-512", 0, kAnyOrder, 24, kRgb, Cpu::avx512, 64, 0, gray8_to_24<false>, gray8_to_24<true>, nullptr},
    {"gray to 24, AVX-512", 8, kGray, 24, kBgr, Cpu::avx512, 64, 0, gray8_to_24<false>, gray8_to_24<true>, nullptr},
    {"gray to 24, AVX-512", 8, kGray, 24, kRgb, Cpu::avx512, 64, 0, gray8_to_24<false>, gray8_to_24<true>, nullptr},
};

} // namespace

FusedRows fused_avx512() noexcept
{
    return {kPaths, sizeof kPaths / sizeof kPaths[0]};
}

} // namespace vk::pixel
