// Fused paths for AVX-512 with byte permutations (VBMI): one permutation takes a whole register of pixels apart or
// together, and two look up a byte in a table of 128.
#include "kernel/convert/Fused.h"

#include <immintrin.h>

namespace vk::pixel {
namespace {

constexpr __mmask8 kAllQuads = 0xFF;

/// With a mask of everything, because compilers warn of the value that the plain form leaves undefined.
__m512i permute(__m512i order, __m512i v) noexcept
{
    return _mm512_maskz_permutexvar_epi8(~__mmask64{0}, order, v);
}

/// Per byte eight bits of its group of eight bytes, from a bit on.
__m512i multishift(__m512i from, __m512i v) noexcept
{
    return _mm512_maskz_multishift_epi64_epi8(~__mmask64{0}, from, v);
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
        simd::fetch_ahead<Stream, 48>(src);
        put64<Stream>(dst, _mm512_or_si512(permute(shuffle, load64(src)), alpha));
    }
}

template <bool Stream> void narrow_32(const uint8_t* src, uint8_t* dst, size_t count, const Orders& orders) noexcept
{
    for (; count != 0; count -= 64, src += 256, dst += 192) {
        simd::fetch_ahead<Stream, 256>(src);
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

/// Bytes `low` and `high` of 32 24-bit pixels as words, the byte 3 being none. The pixels begin `offset` bytes into two
/// registers.
constexpr Order words_of(size_t low, size_t high, size_t offset) noexcept
{
    Order order{};
    for (size_t i = 0; i < 64; ++i) {
        const size_t channel = i % 2 == 0 ? low : high;
        order.at[i] = static_cast<uint8_t>(offset + i / 2 * 3 + (channel == 3 ? 0 : channel));
    }
    return order;
}

/// The same for both halves of 64 pixels.
struct Halves {
    Order half[2];
};

constexpr Halves halves_of(size_t low, size_t high) noexcept
{
    return {{words_of(low, high, 0), words_of(low, high, 32)}};
}

constexpr Halves kFirstTwo = halves_of(0, 1);
constexpr Halves kLastTwo = halves_of(1, 2);
constexpr Halves kFirst = halves_of(0, 3);
constexpr Halves kLast = halves_of(2, 3);
constexpr __mmask64 kLowBytes = 0x5555555555555555u;

/// 64 24-bit pixels, of which the halves are taken apart.
struct Pixels {
    __m512i part[3];

    explicit Pixels(const uint8_t* at) noexcept : part{load64(at), load64(at + 64), load64(at + 128)} {}
    __m512i pairs(const Halves& orders, size_t half) const noexcept
    {
        return _mm512_permutex2var_epi8(part[half], orders.half[half].load(), part[half + 1]);
    }
    __m512i bytes(const Halves& orders, size_t half) const noexcept
    {
        return _mm512_maskz_permutex2var_epi8(kLowBytes, part[half], orders.half[half].load(), part[half + 1]);
    }
};

/// Grays of half of the pixels in words: blue + 5 green + 2 red in eighths. The multiplication divides and rounds.
template <bool Bgr> __m512i weigh(const Pixels& pixels, size_t half) noexcept
{
    const __m512i two = pixels.pairs(Bgr ? kFirstTwo : kLastTwo, half);
    const __m512i weights = _mm512_set1_epi16(Bgr ? 0x0501 : 0x0105);
    const __m512i red = pixels.bytes(Bgr ? kLast : kFirst, half);
    const __m512i sum = _mm512_add_epi16(_mm512_maddubs_epi16(two, weights), _mm512_add_epi16(red, red));
    return _mm512_mulhrs_epi16(sum, _mm512_set1_epi16(4096));
}

template <bool Stream, bool Bgr> void c24_to_gray8(const Plan&, const uint8_t* src, uint8_t* dst, size_t count) noexcept
{
    const __m512i in_order = _mm512_setr_epi64(0, 2, 4, 6, 1, 3, 5, 7);
    for (; count != 0; count -= 64, src += 192, dst += 64) {
        simd::fetch_ahead<Stream, 192>(src);
        const Pixels pixels(src);
        const __m512i bytes = _mm512_packus_epi16(weigh<Bgr>(pixels, 0), weigh<Bgr>(pixels, 1));
        put64<Stream>(dst, _mm512_maskz_permutexvar_epi64(0xFF, in_order, bytes));
    }
}

/// Words of 5, 6 and 5 bits, half of the pixels at a time.
template <bool Stream, bool Bgr> void c24_to_565(const Plan&, const uint8_t* src, uint8_t* dst, size_t count) noexcept
{
    constexpr Halves kBlueGreen = Bgr ? halves_of(0, 1) : halves_of(2, 1);
    constexpr Halves kGreenRed = Bgr ? halves_of(1, 2) : halves_of(1, 0);
    for (; count != 0; count -= 64, src += 192, dst += 128) {
        simd::fetch_ahead<Stream, 192>(src);
        const Pixels pixels(src);
        for (size_t half = 0; half < 2; ++half) {
            const __m512i low = pixels.pairs(kBlueGreen, half);
            const __m512i high = pixels.pairs(kGreenRed, half);
            const __m512i blue = _mm512_and_si512(_mm512_srli_epi16(low, 3), _mm512_set1_epi16(0x1F));
            const __m512i green = _mm512_and_si512(_mm512_srli_epi16(low, 5), _mm512_set1_epi16(0x7E0));
            const __m512i red = _mm512_and_si512(high, _mm512_set1_epi16(static_cast<short>(0xF800)));
            put64<Stream>(dst + 64 * half, _mm512_or_si512(_mm512_or_si512(blue, green), red));
        }
    }
}

/// What 64 words of 5, 6 and 5 bits need to become bytes, per byte of the result: the words that a group of eight bytes
/// looks at, where in the group a field begins when it is moved to the top of its byte, and where its top bits begin,
/// which fill the rest of the byte again.
struct Fields {
    alignas(64) uint16_t words[3][32];
    Orders at;
    Orders again;
    Orders kept;
    Orders filled;
};

constexpr Fields fields(bool bgr) noexcept
{
    Fields f{};
    for (size_t i = 0; i < 192; ++i) {
        const size_t part = i / 64;
        const size_t byte = i % 64;
        const size_t first = (i - i % 8) / 3; // pixel that the group of eight bytes begins in
        const size_t channel = bgr ? i % 3 : 2 - i % 3;
        const size_t low = channel == 0 ? 0 : channel == 1 ? 5 : 11;
        const size_t bits = channel == 1 ? 6 : 5;
        f.at.part[part].at[byte] = static_cast<uint8_t>((16 * (i / 3 - first) + low + bits - 8 + 64) % 64);
        f.again.part[part].at[byte] = static_cast<uint8_t>((8 * (i % 8) + bits) % 64);
        f.kept.part[part].at[byte] = static_cast<uint8_t>(0xFF << (8 - bits));
        f.filled.part[part].at[byte] = static_cast<uint8_t>(0xFF >> bits);
    }
    for (size_t i = 0; i < 96; ++i) {
        const size_t first = (i / 4 * 8) / 3;
        const size_t word = first + i % 4;
        f.words[i / 32][i % 32] = static_cast<uint16_t>(word < 64 ? word : 63);
    }
    return f;
}

constexpr Fields kFieldsBgr = fields(true);
constexpr Fields kFieldsRgb = fields(false);

template <bool Stream, bool Bgr> void c565_to_24(const Plan&, const uint8_t* src, uint8_t* dst, size_t count) noexcept
{
    const Fields& f = Bgr ? kFieldsBgr : kFieldsRgb;
    for (; count != 0; count -= 64, src += 128, dst += 192) {
        simd::fetch_ahead<Stream, 128>(src);
        const __m512i front = load64(src);
        const __m512i back = load64(src + 64);
        for (size_t k = 0; k < 3; ++k) {
            const __m512i words = _mm512_permutex2var_epi16(front, _mm512_load_si512(f.words[k]), back);
            const __m512i top = _mm512_and_si512(multishift(f.at.part[k].load(), words), f.kept.part[k].load());
            const __m512i low = _mm512_and_si512(multishift(f.again.part[k].load(), top), f.filled.part[k].load());
            put64<Stream>(dst + 64 * k, _mm512_or_si512(top, low));
        }
    }
}

template <bool Stream> void c24_to_48(const Plan&, const uint8_t* src, uint8_t* dst, size_t count) noexcept
{
    // Times 257 is the byte twice.
    const __m512i apart = _mm512_setr_epi64(0, 4, 1, 5, 2, 6, 3, 7);
    for (size_t bytes = count * 3; bytes != 0; bytes -= 64, src += 64, dst += 128) {
        simd::fetch_ahead<Stream, 64>(src);
        const __m512i v = _mm512_maskz_permutexvar_epi64(0xFF, apart, load64(src));
        put64<Stream>(dst, _mm512_unpacklo_epi8(v, v));
        put64<Stream>(dst + 64, _mm512_unpackhi_epi8(v, v));
    }
}

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
        simd::fetch_ahead<Stream, 192>(src);
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
        simd::fetch_ahead<Stream, 64>(src);
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
        simd::fetch_ahead<Stream, 64>(src);
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

/// Indices or grays to bits, from a table of 256: the byte that has one's bit is looked up, and the bit tried.
void byte_to_bit(const Plan& plan, const uint8_t* src, uint8_t* dst, size_t count) noexcept
{
    const __m512i table = _mm512_castsi256_si512(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(plan.table)));
    const __m512i bits = _mm512_maskz_set1_epi64(kAllQuads, static_cast<int64_t>(0x8040201008040201));
    // The first pixel goes to the top bit of its byte.
    const __m512i backwards = _mm512_set4_epi32(0x08090A0B, 0x0C0D0E0F, 0x00010203, 0x04050607);
    for (; count != 0; count -= 64, src += 64, dst += 8) {
        simd::fetch_ahead<true, 64>(src);
        const __m512i index = _mm512_shuffle_epi8(load64(src), backwards);
        const __m512i at = _mm512_and_si512(_mm512_srli_epi16(index, 3), _mm512_set1_epi8(31));
        const __m512i bit = _mm512_shuffle_epi8(bits, _mm512_and_si512(index, _mm512_set1_epi8(7)));
        const uint64_t set = _mm512_test_epi8_mask(permute(at, table), bit);
        __builtin_memcpy(dst, &set, sizeof set);
    }
}

template <bool Stream> void bit_to_gray8(const Plan& plan, const uint8_t* src, uint8_t* dst, size_t count) noexcept
{
    const __m512i clear = _mm512_set1_epi8(static_cast<char>(plan.table[0]));
    const __m512i set = _mm512_set1_epi8(static_cast<char>(plan.table[1]));
    const __m512i byte_of =
        _mm512_set_epi64(0x0707070707070707, 0x0606060606060606, 0x0505050505050505, 0x0404040404040404,
                         0x0303030303030303, 0x0202020202020202, 0x0101010101010101, 0);
    const __m512i bit_of = _mm512_maskz_set1_epi64(kAllQuads, 0x0102040810204080);
    for (; count != 0; count -= 64, src += 8, dst += 64) {
        simd::fetch_ahead<Stream, 8>(src);
        int64_t bits;
        __builtin_memcpy(&bits, src, sizeof bits);
        const __m512i bytes = _mm512_shuffle_epi8(_mm512_maskz_set1_epi64(kAllQuads, bits), byte_of);
        put64<Stream>(dst, _mm512_mask_blend_epi8(_mm512_test_epi8_mask(bytes, bit_of), clear, set));
    }
}

constexpr int32_t kBgr = COLORORDER_BGR;
constexpr int32_t kRgb = COLORORDER_RGB;
constexpr int32_t kGray = COLORORDER_GRAY;
constexpr int32_t k565 = COLORORDER_RGB565;

constexpr FusedPath kPaths[] = {
    {"24 to 32, AVX-512", 24, kBgr, 32, kBgr, simd::Level::avx512, 16, 16, c24_to_32<false>, c24_to_32<true>, nullptr},
    {"24 to 32, AVX-512", 24, kRgb, 32, kRgb, simd::Level::avx512, 16, 16, c24_to_32<false>, c24_to_32<true>, nullptr},
    {"24 to 32 swapped, AVX-512", 24, kBgr, 32, kRgb, simd::Level::avx512, 16, 16, c24_to_32_swap<false>,
     c24_to_32_swap<true>, nullptr},
    {"24 to 32 swapped, AVX-512", 24, kRgb, 32, kBgr, simd::Level::avx512, 16, 16, c24_to_32_swap<false>,
     c24_to_32_swap<true>, nullptr},
    {"24 swapped, AVX-512", 24, kBgr, 24, kRgb, simd::Level::avx512, 64, 0, c24_swap<false>, c24_swap<true>, nullptr},
    {"24 swapped, AVX-512", 24, kRgb, 24, kBgr, simd::Level::avx512, 64, 0, c24_swap<false>, c24_swap<true>, nullptr},
    {"32 to 24, AVX-512", 32, kBgr, 24, kBgr, simd::Level::avx512, 64, 0, c32_to_24<false>, c32_to_24<true>, nullptr},
    {"32 to 24, AVX-512", 32, kRgb, 24, kRgb, simd::Level::avx512, 64, 0, c32_to_24<false>, c32_to_24<true>, nullptr},
    {"32 to 24 swapped, AVX-512", 32, kBgr, 24, kRgb, simd::Level::avx512, 64, 0, c32_to_24_swap<false>,
     c32_to_24_swap<true>, nullptr},
    {"32 to 24 swapped, AVX-512", 32, kRgb, 24, kBgr, simd::Level::avx512, 64, 0, c32_to_24_swap<false>,
     c32_to_24_swap<true>, nullptr},
    {"8 to 24, AVX-512", 8, kAnyOrder, 24, kBgr, simd::Level::avx512, 64, 0, index8_to_24<false>, index8_to_24<true>,
     nullptr},
    {"8 to 24, AVX-512", 8, kAnyOrder, 24, kRgb, simd::Level::avx512, 64, 0, index8_to_24<false>, index8_to_24<true>,
     nullptr},
    {"gray to 24, AVX-512", 0, kAnyOrder, 24, kBgr, simd::Level::avx512, 64, 0, gray8_to_24<false>, gray8_to_24<true>,
     nullptr},
    {"gray to 24, AVX-512", 0, kAnyOrder, 24, kRgb, simd::Level::avx512, 64, 0, gray8_to_24<false>, gray8_to_24<true>,
     nullptr},
    {"gray to 24, AVX-512", 8, kGray, 24, kBgr, simd::Level::avx512, 64, 0, gray8_to_24<false>, gray8_to_24<true>,
     nullptr},
    {"gray to 24, AVX-512", 8, kGray, 24, kRgb, simd::Level::avx512, 64, 0, gray8_to_24<false>, gray8_to_24<true>,
     nullptr},
    {"24 to gray, AVX-512", 24, kBgr, 0, kAnyOrder, simd::Level::avx512, 64, 0, c24_to_gray8<false, true>,
     c24_to_gray8<true, true>, nullptr},
    {"24 to gray, AVX-512", 24, kRgb, 0, kAnyOrder, simd::Level::avx512, 64, 0, c24_to_gray8<false, false>,
     c24_to_gray8<true, false>, nullptr},
    {"24 to gray, AVX-512", 24, kBgr, 8, kGray, simd::Level::avx512, 64, 0, c24_to_gray8<false, true>,
     c24_to_gray8<true, true>, nullptr},
    {"24 to gray, AVX-512", 24, kRgb, 8, kGray, simd::Level::avx512, 64, 0, c24_to_gray8<false, false>,
     c24_to_gray8<true, false>, nullptr},
    {"24 to 48, AVX-512", 24, kBgr, 48, kBgr, simd::Level::avx512, 64, 0, c24_to_48<false>, c24_to_48<true>, nullptr},
    {"24 to 48, AVX-512", 24, kRgb, 48, kRgb, simd::Level::avx512, 64, 0, c24_to_48<false>, c24_to_48<true>, nullptr},
    {"24 to 5-6-5, AVX-512", 24, kBgr, 16, k565, simd::Level::avx512, 64, 0, c24_to_565<false, true>,
     c24_to_565<true, true>, nullptr},
    {"24 to 5-6-5, AVX-512", 24, kRgb, 16, k565, simd::Level::avx512, 64, 0, c24_to_565<false, false>,
     c24_to_565<true, false>, nullptr},
    {"5-6-5 to 24, AVX-512", 16, k565, 24, kBgr, simd::Level::avx512, 64, 0, c565_to_24<false, true>,
     c565_to_24<true, true>, nullptr},
    {"5-6-5 to 24, AVX-512", 16, k565, 24, kRgb, simd::Level::avx512, 64, 0, c565_to_24<false, false>,
     c565_to_24<true, false>, nullptr},
    {"1 to gray, AVX-512", 1, kAnyOrder, 0, kAnyOrder, simd::Level::avx512, 64, 0, bit_to_gray8<false>,
     bit_to_gray8<true>, nullptr},
    {"1 to gray, AVX-512", 1, kAnyOrder, 8, kGray, simd::Level::avx512, 64, 0, bit_to_gray8<false>, bit_to_gray8<true>,
     nullptr},
    {"gray to 1, AVX-512", 0, kAnyOrder, 1, kAnyOrder, simd::Level::avx512, 64, 0, byte_to_bit, nullptr, find_bits},
    {"gray to 1, AVX-512", 8, kGray, 1, kAnyOrder, simd::Level::avx512, 64, 0, byte_to_bit, nullptr, find_bits},
    {"8 to 1, AVX-512", 8, kAnyOrder, 1, kAnyOrder, simd::Level::avx512, 64, 0, byte_to_bit, nullptr, find_bits},
};

} // namespace

FusedRows fused_avx512() noexcept
{
    return {kPaths, sizeof kPaths / sizeof kPaths[0]};
}

} // namespace vk::pixel
