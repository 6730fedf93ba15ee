// Storing the lowest bytes of lanes, one behind the other, of as many lanes as there are; and loading eight bytes for
// each lane from anywhere.
#pragma once

#include "simd/Arrange.h"

namespace vk::simd::inline VK_SIMD_SET {

/// Zeros in place of what is behind the first `count` lanes.
template <class T, size_t N> VK_SIMD_INLINE Vec<T, N> keep_first(Vec<T, N> v, size_t count) noexcept
{
#if VK_SIMD_X86 == 3
    return keep(first_lanes<T, N>(count), v);
#else
    const auto lanes = lanes_of<Vec<T, N>>([](size_t lane) noexcept { return lane; });
    return keep(lanes < all<Vec<T, N>>(static_cast<T>(count)), v);
#endif
}

/// Whether all bits of `bits` are set.
template <class T, size_t N> VK_SIMD_INLINE bool has_bits(Vec<T, N> v, Vec<T, N> bits) noexcept
{
#if VK_SIMD_X86 >= 2
    if constexpr (Vec<T, N>::kBytes == 32)
        return _mm256_testc_si256(native(v), native(bits)) != 0;
#endif
    return all((v & bits) == bits);
}

/// A step over all lanes of 32 bits that a vector has, and one over the first few.
struct WholeStep {
    static constexpr size_t count = kWidth / 4;
    template <class V> VK_SIMD_INLINE V keep(V v) const noexcept { return v; }
};
struct RestStep {
    size_t count;
    template <class V> VK_SIMD_INLINE V keep(V v) const noexcept { return keep_first(v, count); }
};

/// Calls `step(i, part)` for all of `count` samples, a lane of 32 bits each.
template <class Step> VK_SIMD_INLINE void for_lanes(int32_t count, const Step& step) noexcept
{
    constexpr auto kLanes = static_cast<int32_t>(WholeStep::count);
    int32_t i = 0;
    for (; i + kLanes <= count; i += kLanes)
        step(i, WholeStep{});
    if (i < count)
        step(i, RestStep{static_cast<size_t>(count - i)});
}

#if VK_SIMD_X86 == 3

/// `Kept` of each `Of` bytes.
template <size_t Kept, size_t Of> VK_SIMD_INLINE Wide<uint8_t> closed(Wide<uint8_t> v) noexcept
{
    static constexpr auto kOrder =
        order_of<kWidth>([](size_t i) { return i < kWidth / Of * Kept ? i / Kept * Of + i % Kept : 0; });
    return permute(v, kOrder.template load<Wide<uint8_t>>());
}

/// The first `Bytes` of each of `count` lanes, or of all when there are fewer.
template <size_t Bytes> VK_SIMD_INLINE void store_lowest(uint8_t* to, Wide<uint32_t> words, size_t count) noexcept
{
    if constexpr (Bytes == 1)
        store(to, cut_4(words), first_lanes<uint8_t, 16>(count));
    else if constexpr (Bytes == 2)
        store(to, cut(words), first_lanes<uint16_t, 16>(count));
    else if constexpr (Bytes == 4)
        store(to, words, first_lanes<uint32_t, 16>(count));
    else
        store(to, closed<3, 4>(as<uint8_t>(words)), first_lanes<uint8_t, 64>((count < 16 ? count : 16) * Bytes));
}

/// The same of pairs of lanes, the first one below the second, of six or eight bytes.
template <size_t Bytes>
VK_SIMD_INLINE void store_lowest_of_pairs(uint8_t* to, Wide<uint32_t> first, Wide<uint32_t> second,
                                          size_t count) noexcept
{
    const auto store_half = [&](size_t at, Wide<uint32_t> pairs) noexcept {
        const size_t here = count <= at ? 0 : count - at < 8 ? count - at : 8;
        const auto bytes = as<uint8_t>(pairs);
        store(to + at * Bytes, Bytes == 8 ? bytes : closed<6, 8>(bytes), first_lanes<uint8_t, 64>(here * Bytes));
    };
    store_half(0, arrange<[](size_t i) { return i / 2 + i % 2 * 16; }>(first, second));
    store_half(8, arrange<[](size_t i) { return 8 + i / 2 + i % 2 * 16; }>(first, second));
}

/// Places in memory for all lanes, from which eight bytes are loaded.
class Places {
public:
    explicit VK_SIMD_INLINE Places(Wide<int32_t> offsets) noexcept
        : first_(low_half(arrange<[](size_t i) { return i % 8 / 2 * 4 + i % 2; }>(offsets))),
          last_(low_half(arrange<[](size_t i) { return i % 8 / 2 * 4 + 2 + i % 2; }>(offsets)))
    {}

    /// For the first two lanes of every four, or the last two.
    template <bool Last> VK_SIMD_INLINE Wide<uint64_t> load(const uint8_t* base) const noexcept
    {
        return from_native<Wide<uint64_t>>(
            _mm512_mask_i32gather_epi64(_mm512_setzero_si512(), 0xFF, native(Last ? last_ : first_), base, 1));
    }

private:
    Vec<int32_t, 8> first_, last_;
};

#else

/// The first `Bytes` of each block, those behind them being written in between, but not in the end.
template <size_t Bytes> VK_SIMD_INLINE void store_blocks(uint8_t* to, Wide<uint8_t> v) noexcept
{
    const auto store_last = [](uint8_t* place, Quad<uint8_t> block) noexcept {
        if constexpr (Bytes == 12) {
            store_first<8>(place, block);
            const uint32_t last = as<uint32_t>(block).raw[2];
            __builtin_memcpy(place + 8, &last, sizeof last);
        } else {
            store_first<Bytes>(place, block);
        }
    };
    if constexpr (kWidth == 16) {
        store_last(to, v);
    } else {
        Bytes > 8 ? store(to, low_half(v)) : store_first<Bytes>(to, low_half(v));
        store_last(to + Bytes, high_half(v));
    }
}

/// Calls `put` with the place, or with one beside it of which `bytes` are copied.
template <size_t Most, class Put> VK_SIMD_INLINE void put_first(uint8_t* to, size_t bytes, const Put& put) noexcept
{
    if (bytes >= Most)
        return put(to);
    uint8_t beside[Most];
    put(beside);
    __builtin_memcpy(to, beside, bytes);
}

/// The first `Bytes` of each of `count` lanes, or of all when there are fewer.
template <size_t Bytes> VK_SIMD_INLINE void store_lowest(uint8_t* to, Wide<uint32_t> words, size_t count) noexcept
{
    static constexpr auto kClosed =
        order_of<16>([](size_t i) { return i < 4 * Bytes ? i / Bytes * 4 + i % Bytes : size_t{kNone}; });
    auto bytes = as<uint8_t>(words);
    if constexpr (Bytes != 4)
        bytes = shuffle(bytes, in_blocks<Wide<uint8_t>>(kClosed));
    put_first<kWidth / 4 * Bytes>(to, count * Bytes,
                                  [&](uint8_t* place) noexcept { store_blocks<4 * Bytes>(place, bytes); });
}

/// The same of pairs of lanes, the first one below the second, of six or eight bytes.
template <size_t Bytes>
VK_SIMD_INLINE void store_lowest_of_pairs(uint8_t* to, Wide<uint32_t> first, Wide<uint32_t> second,
                                          size_t count) noexcept
{
    static constexpr auto kClosed =
        order_of<16>([](size_t i) { return i < 2 * Bytes ? i / Bytes * 8 + i % Bytes : size_t{kNone}; });
    const auto close = [](Wide<uint32_t> pairs) noexcept {
        const auto bytes = as<uint8_t>(pairs);
        return Bytes == 8 ? bytes : shuffle(bytes, in_blocks<Wide<uint8_t>>(kClosed));
    };
    const auto low = close(interleave_low(first, second)), high = close(interleave_high(first, second));
    put_first<kWidth / 4 * Bytes>(to, count * Bytes, [&](uint8_t* place) noexcept {
        if constexpr (kWidth == 16) {
            store(place, low);
            store_blocks<2 * Bytes>(place + 2 * Bytes, high);
        } else {
            store(place, low_half(low));
            store(place + 2 * Bytes, low_half(high));
            store_blocks<2 * Bytes>(place + 4 * Bytes, both(high_half(low), high_half(high)));
        }
    });
}

/// Places in memory for all lanes, from which eight bytes are loaded: one by one, which is no slower than a gather.
class Places {
public:
    explicit VK_SIMD_INLINE Places(Wide<int32_t> offsets) noexcept { store(offsets_, offsets); }

    /// For the first two lanes of every four, or the last two.
    template <bool Last> VK_SIMD_INLINE Wide<uint64_t> load(const uint8_t* base) const noexcept
    {
        return blocks_of<Wide<uint64_t>>([&](size_t block) noexcept {
            const int32_t* const at = offsets_ + 4 * block + (Last ? 2 : 0);
            Quad<uint64_t> two;
            __builtin_memcpy(&two, base + at[0], 8);
            __builtin_memcpy(reinterpret_cast<uint8_t*>(&two) + 8, base + at[1], 8);
            return two;
        });
    }

private:
    alignas(kWidth) int32_t offsets_[kWidth / 4];
};

#endif

} // namespace vk::simd::inline VK_SIMD_SET
