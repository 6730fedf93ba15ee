// Mirroring by vectors. Whole bytes are shuffled; 1, 2 and 4 bits are shifted to the byte boundary that the new row
// starts from and turned inside their bytes by table; other depths go eight pixels at a time through a 64-bit word.
#include "kernel/view/MirrorRow.h"

#include <cstring>
#include <immintrin.h>

namespace vk::turn {

namespace {

__m256i load(const uint8_t* from) noexcept
{
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from));
}

void store(uint8_t* to, __m256i value) noexcept
{
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), value);
}

/// Sixteen bytes for a shuffle.
struct alignas(16) Table {
    uint8_t bytes[16] = {};

    __m128i vector() const noexcept { return _mm_load_si128(reinterpret_cast<const __m128i*>(bytes)); }
    __m256i twice() const noexcept { return _mm256_broadcastsi128_si256(vector()); }
};

/// Where the bytes come from when pixels of kBytes bytes that end with the vector change their order; behind them zero.
template <int kBytes> constexpr Table make_order() noexcept
{
    Table table;
    for (int i = 0; i < 16; ++i)
        table.bytes[i] = i < 16 / kBytes * kBytes ? static_cast<uint8_t>(16 - kBytes - i / kBytes * kBytes + i % kBytes)
                                                  : uint8_t{0x80};
    return table;
}
template <int kBytes> constexpr Table kOrder = make_order<kBytes>();

/// What the low four bits of a byte become at its other end, for pixels of kBits bits.
template <int kBits> constexpr Table make_nibbles() noexcept
{
    Table table;
    for (uint32_t i = 0; i < 16; ++i)
        for (uint32_t at = 0; at < 4; at += kBits)
            table.bytes[i] = static_cast<uint8_t>(table.bytes[i] | (i >> at & ((1u << kBits) - 1)) << (4 - kBits - at));
    return table;
}
template <int kBits> constexpr Table kNibbles = make_nibbles<kBits>();

/// Reverses the order of pixels of kBytes bytes.
template <int kBytes> __m256i reversed(__m256i value) noexcept
{
    return _mm256_permute4x64_epi64(_mm256_shuffle_epi8(value, kOrder<kBytes>.twice()), 0x4E);
}

template <int kBytes> int64_t mirror_whole(const uint8_t* from, uint8_t* to, int64_t width) noexcept
{
    const int64_t last = width * kBytes - 32; // where the last vector goes, over what the one before may have done
    if (last < 0)
        return 0;
    for (int64_t done = 0; done < last; done += 32)
        store(to + done, reversed<kBytes>(load(from + last - done)));
    store(to + last, reversed<kBytes>(load(from)));
    return width;
}

/// Pixels that a vector does not hold whole: 16 bytes of which those at the end are used.
template <int kBytes> int64_t mirror_odd(const uint8_t* from, uint8_t* to, int64_t width) noexcept
{
    constexpr int64_t kStep = 16 / kBytes;
    const __m128i shuffle = kOrder<kBytes>.vector();
    int64_t done = 0;
    for (; (width - done) * kBytes >= 16; done += kStep) {
        const auto* const end = reinterpret_cast<const __m128i*>(from + (width - done) * kBytes - 16);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(to + done * kBytes),
                         _mm_shuffle_epi8(_mm_loadu_si128(end), shuffle));
    }
    return done;
}

/// Pixels of less than a byte on their way to a row that starts from a byte boundary.
template <int kBits> class FieldTurner {
public:
    explicit FieldTurner(int64_t width) noexcept : next_(width * kBits % 8 != 0 ? 1 : 0)
    {
        const auto shift = static_cast<int>(width * kBits % 8);
        upper_ = _mm256_set1_epi8(static_cast<char>(0xFF << shift));
        lower_ = _mm256_set1_epi8(static_cast<char>(0xFF >> (8 - shift)));
        left_ = _mm_cvtsi32_si128(shift);
        right_ = _mm_cvtsi32_si128(8 - shift);
    }

    /// 32 bytes of the new row, from those of the old one from `from` on and the byte after them.
    __m256i turn(const uint8_t* from) const noexcept
    {
        const __m256i first = _mm256_and_si256(_mm256_sll_epi16(load(from), left_), upper_);
        const __m256i second = _mm256_and_si256(_mm256_srl_epi16(load(from + next_), right_), lower_);
        const __m256i bytes = reversed<1>(_mm256_or_si256(first, second));
        const __m256i high = _mm256_shuffle_epi8(nibbles_, _mm256_and_si256(bytes, low_));
        const __m256i rest = _mm256_shuffle_epi8(nibbles_, _mm256_and_si256(_mm256_srli_epi16(bytes, 4), low_));
        return _mm256_or_si256(_mm256_slli_epi16(high, 4), rest);
    }

private:
    int64_t next_; ///< the last byte has no successor when it is full
    __m256i upper_;
    __m256i lower_;
    __m128i left_;
    __m128i right_;
    __m256i low_ = _mm256_set1_epi8(0x0F);
    __m256i nibbles_ = kNibbles<kBits>.twice();
};

template <int kBits> int64_t mirror_fields(const uint8_t* from, uint8_t* to, int64_t width) noexcept
{
    const FieldTurner<kBits> turner(width);
    const int64_t last = width * kBits / 8 - 32; // where the last vector goes, over what the one before may have done
    if (last < 0)
        return 0;
    for (int64_t done = 0; done < last; done += 32)
        store(to + done, turner.turn(from + last - done));
    store(to + last, turner.turn(from));
    return (last + 32) * 8 / kBits;
}

/// Eight bytes with those bits set that a pixel takes.
template <int kBits> constexpr uint64_t kSpread = ((uint64_t{1} << kBits) - 1) * 0x0101010101010101u;

template <int kBits> int64_t mirror_groups(const uint8_t* from, uint8_t* to, int64_t width) noexcept
{
    const int64_t bytes = (width * kBits + 7) / 8;
    int64_t done = 0;
    for (int64_t end = width * kBits; bytes - done / 8 * kBits >= 8 && end >= 8 * kBits; end -= 8 * kBits, done += 8) {
        const int64_t first = end - 8 * kBits;
        const int64_t at = first / 8 < bytes - 8 ? first / 8 : bytes - 8;
        uint64_t word = 0;
        std::memcpy(&word, from + at, sizeof word);
        word = __builtin_bswap64(word) << (first - 8 * at) >> (64 - 8 * kBits);
        word = __builtin_bswap64(_pdep_u64(word, kSpread<kBits>));
        word = __builtin_bswap64(_pext_u64(word, kSpread<kBits>) << (64 - 8 * kBits));
        std::memcpy(to + done / 8 * kBits, &word, sizeof word);
    }
    return done;
}

/// Three bytes that hold two pixels are a row of six half bytes, of which each three stay in order. A row that ends in
/// the middle of a byte begins anew with that half.
int64_t mirror_12(const uint8_t* from, uint8_t* to, int64_t width) noexcept
{
    constexpr int8_t kNone = -1;
    const bool is_odd = width % 2 != 0;
    const int64_t bytes = (width * 12 + 7) / 8;
    // Where the halves come from, in 16 bytes that end with the row's last. Each changes its place in the byte, unless
    // the row ends in the middle of one: then each stays.
    const __m128i low_from = _mm_setr_epi8(14, 15, 13, 11, 12, 10, 8, 9, 7, 5, 6, 4, 2, 3, 1, kNone);
    const __m128i moved_up = _mm_setr_epi8(15, 13, 14, 12, 10, 11, 9, 7, 8, 6, 4, 5, 3, 1, 2, kNone);
    const __m128i stays_up = _mm_setr_epi8(14, 12, 13, 11, 9, 10, 8, 6, 7, 5, 3, 4, 2, 0, 1, kNone);
    const __m128i low = _mm_set1_epi8(0x0F);
    constexpr int64_t kStep = 10;
    int64_t done = 0;
    for (int64_t end = bytes; end >= 16 && bytes - done / 2 * 3 >= 16; done += kStep, end -= kStep / 2 * 3) {
        const __m128i row = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from + end - 16));
        const __m128i lows = _mm_shuffle_epi8(row, low_from);
        const __m128i to_low = is_odd ? lows : _mm_srli_epi16(lows, 4);
        const __m128i to_high =
            is_odd ? _mm_shuffle_epi8(row, stays_up) : _mm_slli_epi16(_mm_shuffle_epi8(row, moved_up), 4);
        const __m128i made = _mm_or_si128(_mm_and_si128(to_low, low), _mm_andnot_si128(low, to_high));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(to + done / 2 * 3), made);
    }
    return done;
}

} // namespace

int64_t mirror_avx2(const uint8_t* from, uint8_t* to, int64_t width, int32_t bits) noexcept
{
    switch (bits) {
    case 1:
        return mirror_fields<1>(from, to, width);
    case 2:
        return mirror_fields<2>(from, to, width);
    case 3:
        return mirror_groups<3>(from, to, width);
    case 4:
        return mirror_fields<4>(from, to, width);
    case 5:
        return mirror_groups<5>(from, to, width);
    case 6:
        return mirror_groups<6>(from, to, width);
    case 7:
        return mirror_groups<7>(from, to, width);
    case 8:
        return mirror_whole<1>(from, to, width);
    case 12:
        return mirror_12(from, to, width);
    case 16:
        return mirror_whole<2>(from, to, width);
    case 24:
        return mirror_odd<3>(from, to, width);
    case 32:
        return mirror_whole<4>(from, to, width);
    case 48:
        return mirror_odd<6>(from, to, width);
    case 64:
        return mirror_whole<8>(from, to, width);
    default:
        return 0;
    }
}

} // namespace vk::turn
