// Vectors of numbers: the type, the arithmetic that compilers know of themselves, memory, and masks.
//
// Vec<T, N> is N numbers of type T, 16 bytes or more in all, up to kWidth. Integers wrap around, `>>` keeps the sign of
// signed ones. Comparisons give a Mask, a truth for each lane. Operations that processors have instructions for and
// compilers no notation come from Plain.h as loops, and from the file of the set where it has the instruction.
#pragma once

#include "simd/Set.h"

#include <type_traits>

namespace vk::simd::inline VK_SIMD_SET {

template <class T, size_t N> struct Vec;
template <class T, size_t N> struct Mask;

/// Vectors of the set's width, and of half and a quarter of it (32 bytes have halves, 64 have quarters).
template <class T> using Wide = Vec<T, kWidth / sizeof(T)>;
/// Vectors of 16 bytes, which every set has.
template <class T> using Quad = Vec<T, 16 / sizeof(T)>;

/// The integer of a lane's size, for its bits.
template <size_t Bytes, bool Signed>
using IntOf =
    std::conditional_t<Bytes == 1, std::conditional_t<Signed, int8_t, uint8_t>,
                       std::conditional_t<Bytes == 2, std::conditional_t<Signed, int16_t, uint16_t>,
                                          std::conditional_t<Bytes == 4, std::conditional_t<Signed, int32_t, uint32_t>,
                                                             std::conditional_t<Signed, int64_t, uint64_t>>>>;

template <class T, size_t N> struct Vec {
    using Lane = T;
    using Bits = IntOf<sizeof(T), false>;
    static constexpr size_t kLanes = N;
    static constexpr size_t kBytes = N * sizeof(T);
    static constexpr bool kReal = std::is_floating_point_v<T>;
    typedef T Raw __attribute__((vector_size(N * sizeof(T))));
    typedef Bits RawBits __attribute__((vector_size(N * sizeof(T)))); ///< wraps around where Raw must not
    typedef T Loose __attribute__((vector_size(N * sizeof(T)), aligned(1), may_alias)); ///< at any address
    typedef T Aligned __attribute__((vector_size(N * sizeof(T)), may_alias));           ///< at multiples of its size

    Raw raw;

    VK_SIMD_INLINE RawBits bits() const noexcept { return reinterpret_cast<RawBits>(raw); }
    static VK_SIMD_INLINE Vec of(RawBits bits) noexcept { return {reinterpret_cast<Raw>(bits)}; }

    friend VK_SIMD_INLINE Vec operator+(Vec a, Vec b) noexcept
    {
        if constexpr (kReal)
            return {a.raw + b.raw};
        else
            return of(a.bits() + b.bits());
    }
    friend VK_SIMD_INLINE Vec operator-(Vec a, Vec b) noexcept
    {
        if constexpr (kReal)
            return {a.raw - b.raw};
        else
            return of(a.bits() - b.bits());
    }
    friend VK_SIMD_INLINE Vec operator*(Vec a, Vec b) noexcept
    {
        if constexpr (kReal)
            return {a.raw * b.raw};
        else
            return of(a.bits() * b.bits());
    }
    friend VK_SIMD_INLINE Vec operator/(Vec a, Vec b) noexcept requires kReal { return {a.raw / b.raw}; }
    friend VK_SIMD_INLINE Vec operator&(Vec a, Vec b) noexcept { return of(a.bits() & b.bits()); }
    friend VK_SIMD_INLINE Vec operator|(Vec a, Vec b) noexcept { return of(a.bits() | b.bits()); }
    friend VK_SIMD_INLINE Vec operator^(Vec a, Vec b) noexcept { return of(a.bits() ^ b.bits()); }
    VK_SIMD_INLINE Vec operator~() const noexcept { return of(~bits()); }
    VK_SIMD_INLINE Vec operator-() const noexcept { return Vec{} - *this; }

    /// Shifts of all lanes by the same number of bits, which is best known when compiling (see also shift_left).
    friend VK_SIMD_INLINE Vec operator<<(Vec a, int count) noexcept requires(!kReal)
    {
        return of(a.bits() << (RawBits{} + static_cast<Bits>(count)));
    }
    friend VK_SIMD_INLINE Vec operator>>(Vec a, int count) noexcept requires(!kReal)
    {
        return {a.raw >> (Raw{} + static_cast<T>(count))};
    }
    VK_SIMD_INLINE Vec& operator+=(Vec b) noexcept { return *this = *this + b; }
    VK_SIMD_INLINE Vec& operator|=(Vec b) noexcept { return *this = *this | b; }
};

/// The same bits as numbers of another type.
template <class To, class T, size_t N> VK_SIMD_INLINE Vec<To, N * sizeof(T) / sizeof(To)> as(Vec<T, N> v) noexcept
{
    using Result = Vec<To, N * sizeof(T) / sizeof(To)>;
    return {reinterpret_cast<typename Result::Raw>(v.raw)};
}

/// One number in all lanes.
template <class V> VK_SIMD_INLINE V all(typename V::Lane value) noexcept
{
    if constexpr (V::kReal)
        return {typename V::Raw{} + value};
    else
        return V::of(typename V::RawBits{} + static_cast<typename V::Bits>(value));
}

template <class V> VK_SIMD_INLINE V zero() noexcept
{
    return V{};
}

// ---- memory, at any address but where it says otherwise ----

template <class V> VK_SIMD_INLINE V load(const void* from) noexcept
{
    return {*static_cast<const typename V::Loose*>(from)};
}

template <class T, size_t N> VK_SIMD_INLINE void store(void* to, Vec<T, N> v) noexcept
{
    *static_cast<typename Vec<T, N>::Loose*>(to) = v.raw;
}

/// The same at multiples of the vector's size, which older sets have more to gain from.
template <class V> VK_SIMD_INLINE V load_aligned(const void* from) noexcept
{
    return {*static_cast<const typename V::Aligned*>(from)};
}
template <class T, size_t N> VK_SIMD_INLINE void store_aligned(void* to, Vec<T, N> v) noexcept
{
    *static_cast<typename Vec<T, N>::Aligned*>(to) = v.raw;
}

/// A store to a multiple of the vector's size, which goes past the caches where the set can and `Stream` says so.
template <bool Stream, class T, size_t N> VK_SIMD_INLINE void put(void* to, Vec<T, N> v) noexcept
{
    if constexpr (Stream)
        stream(to, v);
    else
        store(to, v);
}

/// The first `Bytes` of a vector; the others are zero. Those of one number go through no memory.
template <class V, size_t Bytes> VK_SIMD_INLINE V load_first(const void* from) noexcept
{
    if constexpr (Bytes == 4 || Bytes == 8) {
        using Number = IntOf<Bytes, false>;
        Number first;
        __builtin_memcpy(&first, from, Bytes);
        return as<typename V::Lane>(Vec<Number, V::kBytes / Bytes>{{first}});
    } else {
        V v{};
        __builtin_memcpy(&v, from, Bytes);
        return v;
    }
}

template <size_t Bytes, class T, size_t N> VK_SIMD_INLINE void store_first(void* to, Vec<T, N> v) noexcept
{
    if constexpr (Bytes == 4 || Bytes == 8) {
        const auto first = as<IntOf<Bytes, false>>(v).raw[0];
        __builtin_memcpy(to, &first, Bytes);
    } else {
        __builtin_memcpy(to, &v, Bytes);
    }
}

} // namespace vk::simd::inline VK_SIMD_SET
