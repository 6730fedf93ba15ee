// Nearest pixels: places in memory are worked out as many at a time as a vector has lanes of 32 bits. Pixels move one
// by one, since a gather is slower than its loads on many processors; 1-bit pixels are gathered all the same, as there
// is a bit of each to be tested.
//
// Where a set permutes bytes of whole vectors, up to four bytes are gathered and closed up; and where pixels lie close
// together, as they do unless the picture is turned far or shrinks, a few rows are loaded and permuted, for pixels of
// one bit and of a byte as many at a time as a vector has bytes.
#include "kernel/sampling/Loops.h"
#include "simd/Lowest.h"
#include "simd/Simd.h"

namespace vk::sampling::VK_SIMD_SET {

namespace {

using namespace simd;

using Bytes = Wide<uint8_t>;
using Numbers = Wide<int32_t>;

constexpr auto kLanes = static_cast<int32_t>(Numbers::kLanes);

VK_SIMD_INLINE Numbers number(int32_t value) noexcept
{
    return all<Numbers>(value);
}
VK_SIMD_INLINE Bytes every(int32_t value) noexcept
{
    return all<Bytes>(static_cast<uint8_t>(value));
}

constexpr int32_t least_of(int32_t a, int32_t b) noexcept
{
    return a < b ? a : b;
}
constexpr int32_t most_of(int32_t a, int32_t b) noexcept
{
    return a < b ? b : a;
}

/// Whole pixels from `first` on.
template <class V = Numbers> VK_SIMD_INLINE V whole_from(const int32_t* positions, int32_t first) noexcept
{
    return (load<V>(positions) >> kFractionBits) - all<V>(first);
}

/// Bytes from a patch's origin to the rows of samples.
template <class V = Numbers> VK_SIMD_INLINE V rows_of(const Patch& patch, int32_t i) noexcept
{
    return whole_from<V>(patch.y + i, patch.top) * all<V>(static_cast<int32_t>(patch.stride));
}

/// Bytes from a patch's origin to the pixels of samples.
template <int32_t kBytes, class V = Numbers> VK_SIMD_INLINE V offsets_of(const Patch& patch, int32_t i) noexcept
{
    return whole_from<V>(patch.x + i, patch.left) * all<V>(kBytes) + rows_of<V>(patch, i);
}

// ---- pixels of whole bytes ----

/// Pixels move as `Word`s, of which what is too much lands where the next pixel will be written; the last ones go
/// alone.
template <int32_t kBytes, class Word> void take_words(const Patch& patch, uint8_t* out) noexcept
{
    constexpr int32_t kSpare = sizeof(Word) > kBytes ? 1 : 0;
    constexpr int32_t kTogether = kLanes < 8 ? kLanes : 8; // few are left over
    int32_t i = 0;
    for (; i + kTogether + kSpare <= patch.count; i += kTogether, out += kTogether * kBytes) {
        alignas(kWidth) int32_t offsets[kTogether];
        store(offsets, offsets_of<kBytes, Vec<int32_t, kTogether>>(patch, i));
        for (size_t k = 0; k < kTogether; ++k)
            __builtin_memcpy(out + k * kBytes, patch.origin + offsets[k], sizeof(Word));
    }
    for (; i < patch.count; ++i, out += kBytes) {
        const auto row = static_cast<size_t>((patch.y[i] >> kFractionBits) - patch.top);
        const auto column = static_cast<size_t>((patch.x[i] >> kFractionBits) - patch.left);
        __builtin_memcpy(out, patch.origin + row * patch.stride + column * kBytes, kBytes);
    }
}

/// As many samples as a vector has bytes, where they lie in a window of the source.
struct Near {
    static constexpr int32_t kCount = kWidth;
    static constexpr int32_t kRows = 8;
    int32_t left;
    int32_t top;
    int32_t rows;
    Bytes x; ///< from the window's corner
    Bytes y;

    /// False when they are not within `width` columns and kRows rows. The left side is a multiple of `aligned`.
    bool find(const Patch& patch, int32_t i, int32_t width, int32_t aligned) noexcept
    {
        constexpr int32_t kLast = kCount - 1;
        left = (least_of(patch.x[i], patch.x[i + kLast]) >> kFractionBits) - patch.left;
        left -= left % aligned;
        const int32_t first = (patch.y[i] >> kFractionBits) - patch.top;
        const int32_t last = (patch.y[i + kLast] >> kFractionBits) - patch.top;
        top = least_of(first, last);
        rows = most_of(first, last) - top + 1;
        return rows <= kRows && narrow(patch.x + i, patch.left + left, width, x) &&
               narrow(patch.y + i, patch.top + top, rows, y);
    }

private:
    /// Whole pixels from `first` on as bytes. False when they are not all below `end`.
    static bool narrow(const int32_t* positions, int32_t first, int32_t end, Bytes& bytes) noexcept
    {
        const Numbers whole[] = {whole_from(positions, first), whole_from(positions + kLanes, first),
                                 whole_from(positions + 2 * kLanes, first), whole_from(positions + 3 * kLanes, first)};
        const auto outside = [&](size_t k) noexcept {
            return as<uint32_t>(whole[k]) >= all<Wide<uint32_t>>(static_cast<uint32_t>(end));
        };
        bytes = unpacked_4(pack_unsigned(pack(whole[0], whole[1]), pack(whole[2], whole[3])));
        return !any(outside(0) | outside(1) | outside(2) | outside(3));
    }
};

/// As many pixels of a byte each as come a vector at a time; returns how many.
[[maybe_unused]] int32_t take_near(const Patch& patch, uint8_t* out) noexcept
{
    int32_t i = 0;
    for (Near group; i + Near::kCount <= patch.count && group.find(patch, i, kWidth, 1); i += Near::kCount) {
        const uint8_t* const window = patch.origin + static_cast<size_t>(group.top) * patch.stride + group.left;
        const auto row = [&](int32_t k) noexcept {
            return load<Bytes>(window + static_cast<size_t>(least_of(k, group.rows - 1)) * patch.stride);
        };
        const Bytes place = group.x | (as<uint8_t>(as<uint16_t>(group.y) << 6) & every(kWidth)); // odd rows behind
        Bytes pixels = permute(row(0), row(1), place);
        for (int32_t k = 2; k < group.rows; k += 2)
            pixels = select(group.y >= every(k), permute(row(k), row(k + 1), place), pixels);
        store(out + i, pixels);
    }
    return i;
}

/// A step's pixels of 16, 24 or 32 bits from a window of the source as wide as a vector and up to four rows high; false
/// when they do not lie in one.
template <int32_t kBytes> bool take_close(const Patch& patch, int32_t i, uint8_t* out) noexcept
{
    constexpr int32_t kLast = kLanes - 1;
    constexpr int32_t kRows = 4;
    const int32_t left = least_of(patch.x[i], patch.x[i + kLast]) >> kFractionBits;
    const int32_t first = patch.y[i] >> kFractionBits;
    const int32_t last = patch.y[i + kLast] >> kFractionBits;
    const int32_t top = least_of(first, last);
    const int32_t count = most_of(first, last) - top + 1;
    const Numbers x = whole_from(patch.x + i, left);
    const Numbers y = whole_from(patch.y + i, top);
    const auto is_out = [](Numbers a, int32_t end) noexcept {
        return as<uint32_t>(a) >= all<Wide<uint32_t>>(static_cast<uint32_t>(end));
    };
    if (count > kRows || any(is_out(x, int32_t{kWidth} / kBytes) | is_out(y, count)))
        return false;
    static constexpr auto kFrom = order_of<kWidth>([](size_t k) { return k < kLanes * kBytes ? k / kBytes * 4 : 0; });
    static constexpr auto kByte = order_of<kWidth>([](size_t k) { return k < kLanes * kBytes ? k % kBytes : 0; });
    // Of a byte's place in the window the two highest bits are its row.
    const Numbers across = kBytes == 3 ? (x << 1) + x : x << (kBytes / 2);
    const Bytes places =
        permute(as<uint8_t>(across | y << 6), kFrom.template load<Bytes>()) + kByte.template load<Bytes>();
    const uint8_t* const window = patch.origin + static_cast<size_t>(top - patch.top) * patch.stride +
                                  static_cast<size_t>(left - patch.left) * kBytes;
    const auto row = [&](int32_t k) noexcept {
        return load<Bytes>(window + static_cast<size_t>(least_of(k, count - 1)) * patch.stride);
    };
    Bytes bytes = permute(row(0), row(1), places);
    if (count > 2)
        bytes = select(places >= every(2 * kWidth), permute(row(2), row(3), places), bytes);
    if constexpr (kBytes == 4) {
        store(out, bytes);
    } else {
        store(out, low_half(bytes));
        if constexpr (kBytes == 3)
            store(out + kWidth / 2, low_half(high_half(bytes)));
    }
    return true;
}

/// By windows, as far as they go, and gathers.
template <int32_t kBytes> void take_permuted(const Patch& patch, uint8_t* out) noexcept
{
    int32_t i = 0;
    if constexpr (kBytes == 1) {
        i = take_near(patch, out);
        out += i;
    } else {
        for (; i + kLanes <= patch.count && take_close<kBytes>(patch, i, out); i += kLanes)
            out += kLanes * kBytes;
    }
    const auto gathered = [&](auto part) __attribute__((always_inline))
    {
        const Numbers offsets = part.keep(offsets_of<kBytes>(patch, i));
        store_lowest<kBytes>(out, as<uint32_t>(gather(patch.origin, offsets)), part.count);
    };
    for (; i + kLanes <= patch.count; i += kLanes, out += kLanes * kBytes)
        gathered(WholeStep{});
    if (i < patch.count)
        gathered(RestStep{static_cast<size_t>(patch.count - i)});
}

template <int32_t kBytes, class Word> constexpr Take take_for() noexcept
{
    if constexpr (kPermutesBytes && kBytes <= 4)
        return take_permuted<kBytes>;
    else
        return take_words<kBytes, Word>;
}

Take loop_for(int32_t depth) noexcept
{
    switch (depth) {
    case 8:
        return take_for<1, uint8_t>();
    case 16:
        return take_for<2, uint16_t>();
    case 24:
        return take_for<3, uint32_t>();
    case 32:
        return take_for<4, uint32_t>();
    case 48:
        return take_for<6, uint64_t>();
    case 64:
        return take_for<8, uint64_t>();
    default:
        return nullptr;
    }
}

// ---- pixels of one bit ----

/// As many as a vector has bytes, the first one highest in the first byte; false when they do not lie close together.
[[maybe_unused]] bool near_bits(const Patch& patch, int32_t i, uint64_t& truths) noexcept
{
    constexpr int32_t kBytes = 16; // of a row
    Near group;
    if (!group.find(patch, i, 8 * kBytes, 8))
        return false;
    alignas(kWidth) uint8_t window[Near::kRows * kBytes];
    const uint8_t* from = patch.origin + static_cast<size_t>(group.top) * patch.stride + group.left / 8;
    for (int32_t k = 0; k < group.rows; ++k, from += patch.stride)
        store(window + k * kBytes, load<Quad<uint8_t>>(from));
    // The bytes' places: row * 16 + column / 8. Groups of eight are turned round, for the first one is highest.
    static constexpr auto kBackwards = order_of<16>([](size_t k) { return k / 8 * 8 + 7 - k % 8; });
    static constexpr auto kMasks = order_of<16>([](size_t k) { return 0x80 >> k % 8; });
    const Bytes x = shuffle(group.x, in_blocks<Bytes>(kBackwards));
    const Bytes rows = as<uint8_t>(as<uint16_t>(shuffle(group.y, in_blocks<Bytes>(kBackwards))) << 4);
    const Bytes columns = as<uint8_t>(as<uint16_t>(x) >> 3) & every(kBytes - 1);
    const Bytes bytes = permute(load<Bytes>(window), load<Bytes>(window + sizeof window - kWidth), rows | columns);
    const Bytes masks = shuffle(in_blocks<Bytes>(kMasks), x & every(7));
    truths = bits((bytes & masks) != Bytes{});
    return true;
}

/// Each gathered word begins with the pixel's byte; its bit is brought to the top. The first one is highest.
template <class Part> VK_SIMD_INLINE uint32_t gathered_bits(const Patch& patch, int32_t i, Part part) noexcept
{
    const Numbers columns = whole_from(patch.x + i, patch.left);
    const Numbers offsets = part.keep(rows_of(patch, i) + (columns >> 3));
    const Numbers words = gather(patch.origin, offsets);
    const Numbers highest = shift_left(words, (columns & number(7)) + number(24));
    const Numbers backwards = arrange<[](size_t k) { return Numbers::kLanes - 1 - k; }>(highest);
    return static_cast<uint32_t>(high_bits(backwards));
}

/// Bits that are taken at a time.
constexpr int32_t kStep = kLanes < 8 ? 8 : kLanes;

VK_SIMD_INLINE uint32_t step_bits(const Patch& patch, int32_t i) noexcept
{
    if constexpr (kLanes == 4)
        return gathered_bits(patch, i, WholeStep{}) << 4 | gathered_bits(patch, i + 4, WholeStep{});
    else
        return gathered_bits(patch, i, WholeStep{});
}

/// Eight of them, of which there may be fewer.
uint32_t eight_bits(const Patch& patch, int32_t i) noexcept
{
    const auto part = [&](int32_t from) noexcept {
        return gathered_bits(patch, from, RestStep{static_cast<size_t>(most_of(patch.count - from, 0))});
    };
    if constexpr (kLanes == 4)
        return part(i) << 4 | part(i + 4);
    else
        return part(i) >> (kStep - 8);
}

/// The `count` highest of eight bits, to columns from `column` on of a byte.
void put_some(uint8_t& byte, int32_t column, int32_t count, uint32_t eight) noexcept
{
    const uint32_t mask = (0xFFu >> column) & ~(0xFFu >> (column + count));
    byte = static_cast<uint8_t>((byte & ~mask) | (eight >> column & mask));
}

void take_row_bits(const Patch& patch, uint8_t* row, int32_t first) noexcept
{
    uint8_t* out = row + first / 8;
    int32_t i = 0;
    if (first % 8 != 0) { // up to the end of the byte
        i = least_of(8 - first % 8, patch.count);
        put_some(*out++, first % 8, i, eight_bits(patch, 0));
    }
    if constexpr (kPermutesBytes) {
        for (uint64_t truths = 0; i + Near::kCount <= patch.count && near_bits(patch, i, truths);
             i += Near::kCount, out += sizeof truths)
            __builtin_memcpy(out, &truths, sizeof truths);
    }
    for (; i + kStep <= patch.count; i += kStep, out += kStep / 8) {
        const uint32_t truths = step_bits(patch, i);
        for (int32_t k = 0; k < kStep / 8; ++k)
            out[k] = static_cast<uint8_t>(truths >> (kStep - 8 - 8 * k));
    }
    for (; i < patch.count; i += 8)
        put_some(*out++, 0, least_of(8, patch.count - i), eight_bits(patch, i));
}

} // namespace

const Taking taking = {loop_for, take_row_bits};

} // namespace vk::sampling::VK_SIMD_SET
