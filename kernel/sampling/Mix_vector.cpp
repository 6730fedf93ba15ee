// Mixing numbers of a byte, eight samples at a time: the arithmetic of Mix.h in vectors. Samples k and k + 4 go
// together, since their weights stand in the two halves of a vector.
#include "kernel/sampling/Mix.h"

#include <immintrin.h>

namespace vk::sampling {

namespace {

constexpr int32_t kLanes = 8;

__m256i all(int32_t value) noexcept
{
    return _mm256_set1_epi32(value);
}

__m256i load(const int32_t* from) noexcept
{
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from));
}

/// Rounded and without `Bits` bits.
template <int Bits> __m256i dropped(__m256i sum) noexcept
{
    return _mm256_srai_epi32(_mm256_add_epi32(sum, all(1 << (Bits - 1))), Bits);
}

/// Two numbers of 16 bits, the second in the upper half.
__m256i paired(__m256i first, __m256i second) noexcept
{
    return _mm256_blend_epi16(first, _mm256_slli_epi32(second, 16), 0xAA);
}

/// Bytes from a patch's origin to eight samples' first cells.
__m256i offsets_of(const Patch& patch, int32_t i, int32_t size) noexcept
{
    const __m256i rows = _mm256_sub_epi32(_mm256_srai_epi32(load(patch.y + i), kFractionBits), all(patch.top));
    const __m256i columns = _mm256_sub_epi32(_mm256_srai_epi32(load(patch.x + i), kFractionBits), all(patch.left));
    return _mm256_add_epi32(_mm256_mullo_epi32(rows, all(static_cast<int32_t>(patch.stride))),
                            _mm256_mullo_epi32(columns, all(size)));
}

__m256i fractions_of(const int32_t* positions) noexcept
{
    return _mm256_and_si256(load(positions), all(kOne - 1));
}

/// The four weights of eight samples, in pairs: those of each row of cells.
struct LinearPairs {
    __m256i upper;
    __m256i lower;

    LinearPairs(const Patch& patch, int32_t i) noexcept
    {
        constexpr int kDropped = kFractionBits - kWeightBits;
        const auto rounded = [](__m256i f) noexcept {
            return _mm256_srli_epi32(_mm256_add_epi32(f, all(1 << (kDropped - 1))), kDropped);
        };
        const __m256i x = rounded(fractions_of(patch.x + i));
        const __m256i y = rounded(fractions_of(patch.y + i));
        const __m256i last = dropped<kWeightBits>(_mm256_madd_epi16(x, y)); // below 2^15 each
        const __m256i second = _mm256_sub_epi32(x, last);
        const __m256i first = _mm256_sub_epi32(_mm256_sub_epi32(all(1 << kWeightBits), y), second);
        upper = paired(first, second);
        lower = paired(_mm256_sub_epi32(y, last), last);
    }
};

/// The four weights of eight samples along one axis, in pairs.
struct CubicPairs {
    __m256i outer; ///< of the first two
    __m256i inner; ///< of the last two

    explicit CubicPairs(const int32_t* positions) noexcept
    {
        constexpr int kHalfBits = 18;
        constexpr int kDropped = kHalfBits + kFractionBits - kWeightBits;
        const __m256i f = fractions_of(positions);
        const __m256i g = _mm256_sub_epi32(all(kOne), f);
        const __m256i half = _mm256_srli_epi32(_mm256_mullo_epi32(f, g), 2 * kFractionBits + 1 - kHalfBits);
        const __m256i zero = _mm256_setzero_si256();
        const __m256i slope = _mm256_sub_epi32(_mm256_add_epi32(_mm256_add_epi32(f, f), f), all(kOne));
        const __m256i first = _mm256_sub_epi32(zero, dropped<kDropped>(_mm256_mullo_epi32(half, g)));
        const __m256i last = _mm256_sub_epi32(zero, dropped<kDropped>(_mm256_mullo_epi32(half, f)));
        const __m256i third =
            _mm256_add_epi32(_mm256_srli_epi32(_mm256_add_epi32(f, all(2)), kFractionBits - kWeightBits),
                             dropped<kDropped>(_mm256_mullo_epi32(half, slope)));
        const __m256i others = _mm256_add_epi32(_mm256_add_epi32(first, third), last);
        outer = paired(first, _mm256_sub_epi32(all(1 << kWeightBits), others));
        inner = paired(third, last);
    }
};

/// A patch from its sample `i` on.
Patch rest_of(const Patch& patch, int32_t i) noexcept
{
    Patch rest = patch;
    rest.x += i;
    rest.y += i;
    rest.count -= i;
    return rest;
}

/// Eight numbers below 256 to bytes.
void store_bytes(uint8_t* out, __m256i numbers) noexcept
{
    const __m128i words = _mm_packs_epi32(_mm256_castsi256_si128(numbers), _mm256_extracti128_si256(numbers, 1));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(out), _mm_packus_epi16(words, words));
}

// ---- one number a cell ----

/// Bytes k and k + 1 of each gathered word, as two numbers of 16 bits.
template <int kByte> __m256i bytes_of(__m256i words) noexcept
{
    constexpr char z = -1;
    const __m256i order = _mm256_broadcastsi128_si256(_mm_setr_epi8(
        kByte, z, kByte + 1, z, kByte + 4, z, kByte + 5, z, kByte + 8, z, kByte + 9, z, kByte + 12, z, kByte + 13, z));
    return _mm256_shuffle_epi8(words, order);
}

__m256i gather(const uint8_t* origin, __m256i offsets) noexcept
{
    return _mm256_i32gather_epi32(reinterpret_cast<const int*>(origin), offsets, 1);
}

void linear_1(const Patch& patch, const CellKind& kind, uint8_t* out) noexcept
{
    int32_t i = 0;
    for (; i + kLanes <= patch.count; i += kLanes) {
        const __m256i offsets = offsets_of(patch, i, 1);
        const LinearPairs weights(patch, i);
        const __m256i upper = bytes_of<0>(gather(patch.origin, offsets));
        const __m256i lower = bytes_of<0>(gather(patch.origin + patch.stride, offsets));
        const __m256i sum =
            _mm256_add_epi32(_mm256_madd_epi16(upper, weights.upper), _mm256_madd_epi16(lower, weights.lower));
        store_bytes(out + i, dropped<kWeightBits>(sum));
    }
    plain_mix(kind).linear(rest_of(patch, i), kind, out + i);
}

void cubic_1(const Patch& patch, const CellKind& kind, uint8_t* out) noexcept
{
    int32_t i = 0;
    for (; i + kLanes <= patch.count; i += kLanes) {
        const __m256i offsets = offsets_of(patch, i, 1);
        const CubicPairs across(patch.x + i);
        const CubicPairs down(patch.y + i);
        __m256i rows[4];
        const uint8_t* origin = patch.origin - patch.stride - 1;
        for (__m256i& row : rows) {
            const __m256i cells = gather(origin, offsets);
            row =
                dropped<kWeightBits - kRowBits>(_mm256_add_epi32(_mm256_madd_epi16(bytes_of<0>(cells), across.outer),
                                                                 _mm256_madd_epi16(bytes_of<2>(cells), across.inner)));
            origin += patch.stride;
        }
        const __m256i sum = _mm256_add_epi32(_mm256_madd_epi16(paired(rows[0], rows[1]), down.outer),
                                             _mm256_madd_epi16(paired(rows[2], rows[3]), down.inner));
        const __m256i numbers = dropped<kWeightBits + kRowBits>(sum);
        const __m256i most = all(static_cast<int32_t>(kind.most));
        store_bytes(out + i, _mm256_max_epi32(_mm256_min_epi32(numbers, most), _mm256_setzero_si256()));
    }
    plain_mix(kind).cubic(rest_of(patch, i), kind, out + i);
}

// ---- three or four numbers a cell ----

/// Eight samples' places, to be taken one by one.
struct Places {
    alignas(32) int32_t offsets[kLanes];

    Places(const Patch& patch, int32_t i, int32_t size) noexcept
    {
        _mm256_store_si256(reinterpret_cast<__m256i*>(offsets), offsets_of(patch, i, size));
    }
};

/// Where numbers c of two cells go, as two of 16 bits: cell `kFirst` and the next one of those in 16 bytes.
template <int32_t kSize, int kAt> __m256i pairs_order() noexcept
{
    constexpr char z = -1;
    constexpr char a = kAt;
    constexpr char b = kAt + kSize;
    constexpr char last = kSize == 4 ? a + 3 : z;
    constexpr char next = kSize == 4 ? b + 3 : z;
    return _mm256_broadcastsi128_si256(
        _mm_setr_epi8(a, z, b, z, a + 1, z, b + 1, z, a + 2, z, b + 2, z, last, z, next, z));
}

/// Two cells next to each other of a row, and of the row below, of two samples.
__m256i load_squares(const uint8_t* a, const uint8_t* b, size_t stride) noexcept
{
    const auto square = [stride](const uint8_t* cell) noexcept {
        const __m128i upper = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(cell));
        return _mm_castpd_si128(_mm_loadh_pd(_mm_castsi128_pd(upper), reinterpret_cast<const double*>(cell + stride)));
    };
    return _mm256_inserti128_si256(_mm256_castsi128_si256(square(a)), square(b), 1);
}

/// Sums of samples k and k + 4, for k from 0 to 3, to eight cells.
template <int32_t kSize> void store_cells(uint8_t* out, const __m256i (&sums)[4], uint32_t most) noexcept
{
    const __m256i words_a = _mm256_packs_epi32(sums[0], sums[1]);
    const __m256i words_b = _mm256_packs_epi32(sums[2], sums[3]);
    __m256i cells = _mm256_packus_epi16(words_a, words_b);
    cells = _mm256_min_epu8(cells, _mm256_set1_epi8(static_cast<char>(most)));
    if constexpr (kSize == 4) {
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out), cells);
    } else {
        constexpr char z = -1;
        const __m256i closed =
            _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, z, z, z, z));
        cells = _mm256_shuffle_epi8(cells, closed);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm256_castsi256_si128(cells));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 12), _mm256_extracti128_si256(cells, 1));
    }
}

/// Stores of cells of three bytes write four too many, where the next ones will be.
template <int32_t kSize> constexpr int32_t kSpare = kSize == 4 ? 0 : 2;

/// Colours of cells with different alpha, in the way of Mix.h. `pairs` are the numbers of two rows of cells of two
/// samples; what comes out is exact where some alpha is not 0.
__m256i mix_by_alpha(const __m256i (&pairs)[2], __m256i upper, __m256i lower, __m256i plain) noexcept
{
    const __m256i alphas =
        _mm256_broadcastsi128_si256(_mm_setr_epi8(12, 13, 14, 15, 12, 13, 14, 15, 12, 13, 14, 15, -1, -1, -1, -1));
    const __m256i one = _mm256_broadcastsi128_si256(_mm_setr_epi32(0, 0, 0, 0x00010001));
    const __m256i sign = _mm256_set1_epi16(INT16_MIN);
    const auto products = [&](__m256i cells) noexcept { // of colours and alpha; alpha itself in the last place
        const __m256i by = _mm256_or_si256(_mm256_shuffle_epi8(cells, alphas), one);
        return _mm256_xor_si256(_mm256_mullo_epi16(cells, by), sign);
    };
    __m256i sum =
        _mm256_add_epi32(_mm256_madd_epi16(products(pairs[0]), upper), _mm256_madd_epi16(products(pairs[1]), lower));
    sum = _mm256_add_epi32(sum, all(32768 << kWeightBits));
    const __m256i alpha = _mm256_shuffle_epi32(sum, 0xFF);
    // The quotient in floats is off by less than one.
    sum = _mm256_add_epi32(sum, _mm256_srli_epi32(alpha, 1));
    __m256i quotient = _mm256_cvttps_epi32(_mm256_div_ps(_mm256_cvtepi32_ps(sum), _mm256_cvtepi32_ps(alpha)));
    const __m256i rest = _mm256_sub_epi32(sum, _mm256_mullo_epi32(quotient, alpha));
    quotient = _mm256_add_epi32(quotient, _mm256_srai_epi32(rest, 31));
    quotient = _mm256_sub_epi32(quotient, _mm256_cmpgt_epi32(rest, _mm256_sub_epi32(alpha, all(1))));
    return _mm256_blend_epi32(quotient, plain, 0x88);
}

template <int32_t kSize, bool kAlpha> void linear(const Patch& patch, const CellKind& kind, uint8_t* out) noexcept
{
    const __m256i upper_order = pairs_order<kSize, 0>();
    const __m256i lower_order = pairs_order<kSize, 8>();
    const __m256i alpha_mask = all(static_cast<int32_t>(0xFF000000u));
    int32_t i = 0;
    for (; i + kLanes + kSpare<kSize> <= patch.count; i += kLanes) {
        const Places places(patch, i, kSize);
        const LinearPairs weights(patch, i);
        __m256i squares[4];
        __m256i opaque = alpha_mask;
        for (int k = 0; k < 4; ++k) {
            squares[k] =
                load_squares(patch.origin + places.offsets[k], patch.origin + places.offsets[k + 4], patch.stride);
            opaque = _mm256_and_si256(opaque, squares[k]);
        }
        const bool is_mixed = kAlpha && !_mm256_testc_si256(opaque, alpha_mask);
        __m256i sums[4];
        __m256i alphas = all(1);
        const auto mix = [&]<int k>() noexcept {
            const __m256i upper = _mm256_shuffle_epi32(weights.upper, 0x55 * k);
            const __m256i lower = _mm256_shuffle_epi32(weights.lower, 0x55 * k);
            const __m256i pairs[2] = {_mm256_shuffle_epi8(squares[k], upper_order),
                                      _mm256_shuffle_epi8(squares[k], lower_order)};
            const __m256i sum =
                _mm256_add_epi32(_mm256_madd_epi16(pairs[0], upper), _mm256_madd_epi16(pairs[1], lower));
            sums[k] = dropped<kWeightBits>(sum);
            if (is_mixed) {
                alphas = _mm256_min_epi32(alphas, _mm256_shuffle_epi32(sum, 0xFF));
                sums[k] = mix_by_alpha(pairs, upper, lower, sums[k]);
            }
        };
        mix.template operator()<0>();
        mix.template operator()<1>();
        mix.template operator()<2>();
        mix.template operator()<3>();
        if (is_mixed && _mm256_movemask_epi8(_mm256_cmpeq_epi32(alphas, _mm256_setzero_si256())) != 0) {
            Patch few = rest_of(patch, i); // nothing visible in one of them
            few.count = kLanes;
            plain_mix(kind).linear(few, kind, out + i * kSize);
        } else {
            store_cells<kSize>(out + i * kSize, sums, kind.most);
        }
    }
    plain_mix(kind).linear(rest_of(patch, i), kind, out + i * kSize);
}

template <int32_t kSize, bool kAlpha> void cubic(const Patch& patch, const CellKind& kind, uint8_t* out) noexcept
{
    const __m256i outer_order = pairs_order<kSize, 0>();
    const __m256i inner_order = pairs_order<kSize, 2 * kSize>();
    const __m256i alpha_mask = all(static_cast<int32_t>(0xFF000000u));
    const __m256i halves = _mm256_setr_epi32(0, 0, 0, 0, 1, 1, 1, 1);
    int32_t i = 0;
    for (; i + kLanes + kSpare<kSize> <= patch.count; i += kLanes) {
        const Places places(patch, i, kSize);
        const CubicPairs across(patch.x + i);
        const CubicPairs down(patch.y + i);
        alignas(32) int32_t weights[4][kLanes];
        _mm256_store_si256(reinterpret_cast<__m256i*>(weights[0]), across.outer);
        _mm256_store_si256(reinterpret_cast<__m256i*>(weights[1]), across.inner);
        _mm256_store_si256(reinterpret_cast<__m256i*>(weights[2]), down.outer);
        _mm256_store_si256(reinterpret_cast<__m256i*>(weights[3]), down.inner);
        __m128i made[kLanes];
        __m256i opaque = alpha_mask;
        for (size_t k = 0; k < kLanes; ++k) {
            const uint8_t* const cell = patch.origin + places.offsets[k] - patch.stride - kSize;
            const auto row = [&](size_t j) noexcept {
                return _mm_loadu_si128(reinterpret_cast<const __m128i*>(cell + j * patch.stride));
            };
            // Rows 0 and 2, and 1 and 3, in the halves of a vector.
            const __m256i even = _mm256_inserti128_si256(_mm256_castsi128_si256(row(0)), row(2), 1);
            const __m256i odd = _mm256_inserti128_si256(_mm256_castsi128_si256(row(1)), row(3), 1);
            opaque = _mm256_and_si256(opaque, _mm256_and_si256(even, odd));
            const __m256i outer = all(weights[0][k]);
            const __m256i inner = all(weights[1][k]);
            const auto sum_of = [&](__m256i rows) noexcept {
                return dropped<kWeightBits - kRowBits>(
                    _mm256_add_epi32(_mm256_madd_epi16(_mm256_shuffle_epi8(rows, outer_order), outer),
                                     _mm256_madd_epi16(_mm256_shuffle_epi8(rows, inner_order), inner)));
            };
            const __m256i by_row = _mm256_permutevar8x32_epi32(
                _mm256_castsi128_si256(_mm_setr_epi32(weights[2][k], weights[3][k], 0, 0)), halves);
            const __m256i sums = _mm256_madd_epi16(paired(sum_of(even), sum_of(odd)), by_row);
            made[k] = _mm_add_epi32(_mm256_castsi256_si128(sums), _mm256_extracti128_si256(sums, 1));
        }
        if (kAlpha && !_mm256_testc_si256(opaque, alpha_mask)) {
            Patch few = rest_of(patch, i);
            few.count = kLanes;
            plain_mix(kind).cubic(few, kind, out + i * kSize);
            continue;
        }
        __m256i sums[4];
        for (size_t k = 0; k < 4; ++k)
            sums[k] = dropped<kWeightBits + kRowBits>(
                _mm256_inserti128_si256(_mm256_castsi128_si256(made[k]), made[k + 4], 1));
        store_cells<kSize>(out + i * kSize, sums, kind.most);
    }
    plain_mix(kind).cubic(rest_of(patch, i), kind, out + i * kSize);
}

} // namespace

MixLoops avx2_mix(const CellKind& kind) noexcept
{
    if (kind.lane_bytes != 1 || kind.carried)
        return {};
    if (kind.size == 1)
        return {linear_1, cubic_1};
    if (kind.size == 3)
        return {linear<3, false>, cubic<3, false>};
    return kind.alpha ? MixLoops{linear<4, true>, cubic<4, true>} : MixLoops{linear<4, false>, cubic<4, false>};
}

} // namespace vk::sampling
