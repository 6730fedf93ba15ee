// The inner loops eight pixels at a time, at the very positions of the plain loops. Fractions are added up exactly;
// each time one passes a whole pixel, an offset into the source moves on, so nothing is multiplied on the way.
#include "kernel/rotate/Nearest.h"

#include "kernel/format/PackedBits.h"

#include <algorithm>
#include <cstring>
#include <immintrin.h>

namespace vk::rotate {

namespace {

constexpr int32_t kLanes = 8;
constexpr auto kFraction = static_cast<int32_t>(kOne - 1);

/// One coordinate of eight pixels: fractions by lane, and what whole pixels add to an offset, `unit` each.
class Octet {
public:
    /// With `is_reversed` the last of the eight pixels stands in the first lane.
    Octet(int64_t position, int64_t step, int32_t unit, bool is_reversed) noexcept
        : unit_(_mm256_set1_epi32(unit)), leap_(_mm256_set1_epi32(static_cast<int32_t>(kLanes * step & kFraction))),
          leap_units_(_mm256_set1_epi32(static_cast<int32_t>(kLanes * step >> kFractionBits) * unit))
    {
        const __m256i up = _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7);
        const __m256i lanes = is_reversed ? _mm256_sub_epi32(_mm256_set1_epi32(7), up) : up;
        const __m256i steps = _mm256_mullo_epi32(lanes, _mm256_set1_epi32(static_cast<int32_t>(step)));
        const __m256i start = _mm256_set1_epi32(static_cast<int32_t>(position & kFraction));
        fraction_ = _mm256_add_epi32(start, steps);
        units_ = _mm256_mullo_epi32(_mm256_srai_epi32(fraction_, kFractionBits), unit_);
        fraction_ = _mm256_and_si256(fraction_, _mm256_set1_epi32(kFraction));
    }

    /// Offsets from the pixel that the walk starts in.
    __m256i units() const noexcept { return units_; }

    void next() noexcept
    {
        const __m256i sum = _mm256_add_epi32(fraction_, leap_);
        const __m256i most = _mm256_set1_epi32(kFraction);
        const __m256i carried = _mm256_and_si256(_mm256_cmpgt_epi32(sum, most), unit_);
        fraction_ = _mm256_and_si256(sum, most);
        units_ = _mm256_add_epi32(units_, _mm256_add_epi32(leap_units_, carried));
    }

private:
    __m256i unit_;
    __m256i leap_;
    __m256i leap_units_;
    __m256i fraction_;
    __m256i units_;
};

/// The first byte of the row that a walk starts in.
const uint8_t* start_row(const Walk& walk) noexcept
{
    return walk.data + static_cast<size_t>(walk.y >> kFractionBits) * walk.stride;
}

/// A walk from its pixel `i` on.
Walk walk_from(const Walk& walk, int32_t i) noexcept
{
    return {walk.data, walk.stride, walk.x + i * walk.step_x, walk.y + i * walk.step_y, walk.step_x, walk.step_y};
}

template <size_t kBytes> void take_rest(Walk walk, uint8_t* out, int32_t count) noexcept
{
    for (int32_t i = 0; i < count; ++i, walk.x += walk.step_x, walk.y += walk.step_y)
        std::memcpy(out + static_cast<size_t>(i) * kBytes,
                    walk.data + static_cast<size_t>(walk.y >> kFractionBits) * walk.stride +
                        static_cast<size_t>(walk.x >> kFractionBits) * kBytes,
                    kBytes);
}

/// Offsets come by vectors, pixels one by one: a gather is slower than its eight loads on many processors. Pixels move
/// as `Word`s, of which what is too much lands where the next pixel will be written; the last ones go alone.
template <int kBytes, class Word> void take_words(const Walk& walk, uint8_t* out, int32_t count) noexcept
{
    constexpr auto kSize = static_cast<size_t>(kBytes);
    constexpr int32_t kSpare = sizeof(Word) > kSize ? 1 : 0;
    const uint8_t* const base = start_row(walk) + static_cast<size_t>(walk.x >> kFractionBits) * kSize;
    Octet across(walk.x, walk.step_x, kBytes, false);
    Octet down(walk.y, walk.step_y, static_cast<int32_t>(walk.stride), false);
    int32_t i = 0;
    for (; i + kLanes + kSpare <= count; i += kLanes, across.next(), down.next()) {
        alignas(32) int32_t offsets[kLanes];
        _mm256_store_si256(reinterpret_cast<__m256i*>(offsets), _mm256_add_epi32(across.units(), down.units()));
        uint8_t* const to = out + static_cast<size_t>(i) * kSize;
        for (size_t k = 0; k < kLanes; ++k)
            std::memcpy(to + k * kSize, base + offsets[k], sizeof(Word));
    }
    take_rest<kSize>(walk_from(walk, i), out + static_cast<size_t>(i) * kSize, count - i);
}

/// Bytes of the row that the run covers in part are done bit by bit.
void take_rest_of_bits(Walk walk, uint8_t* row, int32_t first, int32_t count) noexcept
{
    for (int32_t i = first; i < first + count; ++i, walk.x += walk.step_x, walk.y += walk.step_y) {
        const int64_t column = walk.x >> kFractionBits;
        const uint8_t byte =
            walk.data[static_cast<size_t>(walk.y >> kFractionBits) * walk.stride + static_cast<size_t>(column >> 3)];
        insert_bits(row + i / 8, 1, static_cast<uint32_t>(i), static_cast<uint32_t>(byte >> (7 - column % 8) & 1));
    }
}

/// Each gathered word begins with the pixel's byte; its bit is brought to the top.
void take_1(const Walk& walk, uint8_t* row, int32_t first, int32_t count) noexcept
{
    const int32_t head = first % 8 == 0 ? 0 : std::min(count, 8 - first % 8);
    take_rest_of_bits(walk, row, first, head);
    const Walk body = walk_from(walk, head);
    const int64_t column = body.x >> kFractionBits;
    const auto* const base = reinterpret_cast<const int*>(start_row(body) + column / 8);
    Octet across(body.x, body.step_x, 1, true);
    Octet down(body.y, body.step_y, static_cast<int32_t>(body.stride), true);
    const __m256i in_byte = _mm256_set1_epi32(static_cast<int32_t>(column % 8));
    uint8_t* out = row + (first + head) / 8;
    int32_t i = head;
    for (; i + kLanes <= count; i += kLanes, across.next(), down.next()) {
        const __m256i bits = _mm256_add_epi32(across.units(), in_byte);
        const __m256i offsets = _mm256_add_epi32(down.units(), _mm256_srai_epi32(bits, 3));
        const __m256i shift = _mm256_add_epi32(_mm256_and_si256(bits, _mm256_set1_epi32(7)), _mm256_set1_epi32(24));
        const __m256i words = _mm256_sllv_epi32(_mm256_i32gather_epi32(base, offsets, 1), shift);
        *out++ = static_cast<uint8_t>(_mm256_movemask_ps(_mm256_castsi256_ps(words)));
    }
    take_rest_of_bits(walk_from(walk, i), row, first + i, count - i);
}

} // namespace

NearestLoops nearest_loops_avx2(int32_t bits) noexcept
{
    switch (bits) {
    case 1:
        return {nullptr, nullptr, take_1};
    case 8:
        return {nullptr, take_words<1, uint8_t>, nullptr};
    case 16:
        return {nullptr, take_words<2, uint16_t>, nullptr};
    case 24:
        return {nullptr, take_words<3, uint32_t>, nullptr};
    case 32:
        return {nullptr, take_words<4, uint32_t>, nullptr};
    case 48:
        return {nullptr, take_words<6, uint64_t>, nullptr};
    case 64:
        return {nullptr, take_words<8, uint64_t>, nullptr};
    default:
        return {};
    }
}

} // namespace vk::rotate
