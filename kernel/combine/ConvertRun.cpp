#include "kernel/combine/ConvertRun.h"

#include <algorithm>

namespace vk::combine {

namespace {

constexpr uint64_t bit_of(int32_t column, int32_t bits) noexcept
{
    return static_cast<uint64_t>(column) * static_cast<uint32_t>(bits);
}

} // namespace

const uint8_t* ConvertedPixels::take(Line from, int32_t count) noexcept
{
    const int32_t bits = converter_.from().bits;
    const uint64_t first = bit_of(from.column, bits);
    const uint8_t* pixels = from.data + first / 8;
    if (first % 8 != 0) {
        copy_bits(aligned_, 0, from.data, first, bit_of(count, bits), bit_order(bits));
        pixels = aligned_;
    }
    if (converter_.moves_bits())
        return pixels;
    converter_.run(pixels, converted_, static_cast<uint32_t>(count));
    return converted_;
}

ConvertRun::~ConvertRun()
{
    if (is_large_)
        stream_fence();
}

/// From the one place to the other, as far as all pixels begin and end with bytes. Returns how many it did.
int32_t ConvertRun::run_straight(Line to, Line from, int32_t count) noexcept
{
    const uint64_t into = bit_of(to.column, converter_.to().bits);
    const uint64_t out_of = bit_of(from.column, converter_.from().bits);
    if (!logic_.is_copy() || into % 8 != 0 || out_of % 8 != 0)
        return 0;
    const int32_t whole = converter_.to().bits % 8 == 0 ? count : count / 8 * 8;
    if (whole > 0)
        converter_.run(from.data + out_of / 8, to.data + into / 8, static_cast<uint32_t>(whole), is_large_);
    return whole;
}

void ConvertRun::run(Line to, Line from, Line, int32_t count) noexcept
{
    const int32_t bits = converter_.to().bits;
    for (int32_t done = run_straight(to, from, count); done < count;) {
        const int32_t some = std::min(count - done, kChunk);
        const uint8_t* const pixels = pixels_.take({from.data, from.column + done}, some);
        combine_bits(to.data, bit_of(to.column + done, bits), pixels, 0, bit_of(some, bits), logic_, bit_order(bits));
        done += some;
    }
}

} // namespace vk::combine
