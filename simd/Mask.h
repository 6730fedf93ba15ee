// Truths, one a lane: what comparisons give and selections take. AVX-512 keeps them as bits, the other sets as lanes of
// ones or zeros.
#pragma once

#include "simd/Plain.h"
#if VK_SIMD_X86
#include "simd/X86.h"
#elif VK_SIMD_NEON
#include "simd/Neon.h"
#endif

namespace vk::simd::inline VK_SIMD_SET {

#if VK_SIMD_X86 == 3

template <class T, size_t N> struct Mask {
    static constexpr uint64_t kAll = N == 64 ? ~uint64_t{0} : (uint64_t{1} << (N % 64)) - 1;

    uint64_t truths; ///< the first lane's the lowest bit, none above the last lane's

    friend VK_SIMD_INLINE Mask operator&(Mask a, Mask b) noexcept { return {a.truths & b.truths}; }
    friend VK_SIMD_INLINE Mask operator|(Mask a, Mask b) noexcept { return {a.truths | b.truths}; }
    VK_SIMD_INLINE Mask operator~() const noexcept { return {~truths & kAll}; }
};

template <class T, size_t N> VK_SIMD_INLINE uint64_t bits(Mask<T, N> mask) noexcept
{
    return mask.truths;
}
template <class T, size_t N> VK_SIMD_INLINE bool any(Mask<T, N> mask) noexcept
{
    return mask.truths != 0;
}
template <class T, size_t N> VK_SIMD_INLINE bool all(Mask<T, N> mask) noexcept
{
    return mask.truths == Mask<T, N>::kAll;
}

#define VK_MASK_AT(T, n, M, prefix, suffix, bits)                                                                      \
    template <int Relation> VK_SIMD_INLINE Mask<T, n> compare(Vec<T, n> a, Vec<T, n> b) noexcept                       \
    {                                                                                                                  \
        return {prefix##_cmp_##suffix##_mask(native(a), native(b), Relation)};                                         \
    }                                                                                                                  \
    VK_SIMD_INLINE Vec<T, n> select(Mask<T, n> mask, Vec<T, n> yes, Vec<T, n> no) noexcept                             \
    {                                                                                                                  \
        return from_native<Vec<T, n>>(                                                                                 \
            prefix##_mask_blend_epi##bits(static_cast<M>(mask.truths), native(no), native(yes)));                      \
    }                                                                                                                  \
    VK_SIMD_INLINE Vec<T, n> keep(Mask<T, n> mask, Vec<T, n> v) noexcept                                               \
    {                                                                                                                  \
        return from_native<Vec<T, n>>(prefix##_maskz_mov_epi##bits(static_cast<M>(mask.truths), native(v)));           \
    }                                                                                                                  \
    template <class V>                                                                                                 \
    VK_SIMD_INLINE V load(const void* from, Mask<T, n> mask) noexcept requires std::is_same_v<V, Vec<T, n>>            \
    {                                                                                                                  \
        return from_native<V>(prefix##_maskz_loadu_epi##bits(static_cast<M>(mask.truths), from));                      \
    }                                                                                                                  \
    VK_SIMD_INLINE void store(void* to, Vec<T, n> v, Mask<T, n> mask) noexcept                                         \
    {                                                                                                                  \
        prefix##_mask_storeu_epi##bits(to, static_cast<M>(mask.truths), native(v));                                    \
    }
#define VK_MASK(T, sign, bits, m16, m32, m64)                                                                          \
    VK_MASK_AT(T, 128 / bits, m16, _mm, ep##sign##bits, bits)                                                          \
    VK_MASK_AT(T, 256 / bits, m32, _mm256, ep##sign##bits, bits)                                                       \
    VK_MASK_AT(T, 512 / bits, m64, _mm512, ep##sign##bits, bits)
VK_MASK(uint8_t, u, 8, __mmask16, __mmask32, __mmask64)
VK_MASK(int8_t, i, 8, __mmask16, __mmask32, __mmask64)
VK_MASK(uint16_t, u, 16, __mmask8, __mmask16, __mmask32)
VK_MASK(int16_t, i, 16, __mmask8, __mmask16, __mmask32)
VK_MASK(uint32_t, u, 32, __mmask8, __mmask8, __mmask16)
VK_MASK(int32_t, i, 32, __mmask8, __mmask8, __mmask16)
VK_MASK(uint64_t, u, 64, __mmask8, __mmask8, __mmask8)
VK_MASK(int64_t, i, 64, __mmask8, __mmask8, __mmask8)
#undef VK_MASK
#undef VK_MASK_AT

/// Comparisons of reals, for select() of numbers of their size.
template <int Relation> VK_SIMD_INLINE Mask<int32_t, 16> compare(Vec<float, 16> a, Vec<float, 16> b) noexcept
{
    return {_mm512_cmp_ps_mask(native_real(a), native_real(b), Relation)};
}
template <int Relation> VK_SIMD_INLINE Mask<int32_t, 8> compare(Vec<float, 8> a, Vec<float, 8> b) noexcept
{
    return {_mm256_cmp_ps_mask(native_real(a), native_real(b), Relation)};
}
template <int Relation> VK_SIMD_INLINE Mask<int32_t, 4> compare(Vec<float, 4> a, Vec<float, 4> b) noexcept
{
    return {_mm_cmp_ps_mask(native_real(a), native_real(b), Relation)};
}

template <class T, size_t N> VK_SIMD_INLINE auto operator==(Vec<T, N> a, Vec<T, N> b) noexcept
{
    return compare < Vec<T, N>::kReal ? _CMP_EQ_OQ : _MM_CMPINT_EQ > (a, b);
}
template <class T, size_t N> VK_SIMD_INLINE auto operator!=(Vec<T, N> a, Vec<T, N> b) noexcept
{
    return compare < Vec<T, N>::kReal ? _CMP_NEQ_UQ : _MM_CMPINT_NE > (a, b);
}
template <class T, size_t N> VK_SIMD_INLINE auto operator<(Vec<T, N> a, Vec<T, N> b) noexcept
{
    return compare < Vec<T, N>::kReal ? _CMP_LT_OQ : _MM_CMPINT_LT > (a, b);
}
template <class T, size_t N> VK_SIMD_INLINE auto operator<=(Vec<T, N> a, Vec<T, N> b) noexcept
{
    return compare < Vec<T, N>::kReal ? _CMP_LE_OQ : _MM_CMPINT_LE > (a, b);
}

/// The first `count` lanes; all when there are as many.
template <class T, size_t N> VK_SIMD_INLINE Mask<T, N> first_lanes(size_t count) noexcept
{
    return {count >= N ? Mask<T, N>::kAll : (uint64_t{1} << count) - 1};
}

#else

template <class T, size_t N> struct Mask {
    Vec<IntOf<sizeof(T), true>, N> truths; ///< ones or zeros

    friend VK_SIMD_INLINE Mask operator&(Mask a, Mask b) noexcept { return {a.truths & b.truths}; }
    friend VK_SIMD_INLINE Mask operator|(Mask a, Mask b) noexcept { return {a.truths | b.truths}; }
    VK_SIMD_INLINE Mask operator~() const noexcept { return {~truths}; }
};

template <class T, size_t N> VK_SIMD_INLINE uint64_t bits(Mask<T, N> mask) noexcept
{
    return high_bits(mask.truths);
}
template <class T, size_t N> VK_SIMD_INLINE bool any(Mask<T, N> mask) noexcept
{
#if VK_SIMD_NEON
    if constexpr (Vec<T, N>::kBytes == 16)
        return vmaxvq_u32(native(as<uint32_t>(mask.truths))) != 0;
    else
#endif
        return high_bits(as<int8_t>(mask.truths)) != 0;
}
template <class T, size_t N> VK_SIMD_INLINE bool all(Mask<T, N> mask) noexcept
{
    constexpr size_t kBytes = Vec<T, N>::kBytes;
#if VK_SIMD_NEON
    if constexpr (kBytes == 16)
        return vminvq_u32(native(as<uint32_t>(mask.truths))) == ~uint32_t{0};
    else
#endif
        return high_bits(as<int8_t>(mask.truths)) == (uint64_t{1} << (kBytes % 64)) - 1;
}

/// The lanes of `yes` where the mask is true, else those of `no`; and zeros in place of `no`.
template <class T, size_t N> VK_SIMD_INLINE Vec<T, N> select(Mask<T, N> mask, Vec<T, N> yes, Vec<T, N> no) noexcept
{
#if VK_SIMD_X86 == 2
    if constexpr (Vec<T, N>::kBytes == 32)
        return from_native<Vec<T, N>>(_mm256_blendv_epi8(native(no), native(yes), native(mask.truths)));
    else
        return from_native<Vec<T, N>>(_mm_blendv_epi8(native(no), native(yes), native(mask.truths)));
#elif VK_SIMD_NEON
    if constexpr (Vec<T, N>::kBytes == 16)
        return from_native<Vec<T, N>>(
            vbslq_u8(native(as<uint8_t>(mask.truths)), native(as<uint8_t>(yes)), native(as<uint8_t>(no))));
    const auto truths = as<T>(mask.truths);
    return (truths & yes) | (~truths & no);
#else
    const auto truths = as<T>(mask.truths);
    return (truths & yes) | (~truths & no);
#endif
}
template <class T, size_t N> VK_SIMD_INLINE Vec<T, N> keep(Mask<T, N> mask, Vec<T, N> v) noexcept
{
    return as<T>(mask.truths) & v;
}

#define VK_RELATION(relation)                                                                                          \
    template <class T, size_t N> VK_SIMD_INLINE auto operator relation(Vec<T, N> a, Vec<T, N> b) noexcept              \
    {                                                                                                                  \
        using Lane = std::conditional_t<Vec<T, N>::kReal, IntOf<sizeof(T), true>, T>;                                  \
        using Truths = typename Vec<IntOf<sizeof(T), true>, N>::Raw;                                                   \
        return Mask<Lane, N>{{reinterpret_cast<Truths>(a.raw relation b.raw)}};                                        \
    }
VK_RELATION(==)
VK_RELATION(!=)
VK_RELATION(<)
VK_RELATION(<=)
#undef VK_RELATION

#endif

template <class T, size_t N> VK_SIMD_INLINE auto operator>(Vec<T, N> a, Vec<T, N> b) noexcept
{
    return b < a;
}
template <class T, size_t N> VK_SIMD_INLINE auto operator>=(Vec<T, N> a, Vec<T, N> b) noexcept
{
    return b <= a;
}

// ---- the highest bit of each lane ----

#if VK_SIMD_X86
#define VK_HIGH_BITS(T, n, call)                                                                                       \
    VK_SIMD_INLINE uint64_t high_bits(Vec<T, n> v) noexcept                                                            \
    {                                                                                                                  \
        return call;                                                                                                   \
    }
VK_HIGH_BITS(int8_t, 16, static_cast<uint32_t>(_mm_movemask_epi8(native(v))))
VK_HIGH_BITS(uint8_t, 16, static_cast<uint32_t>(_mm_movemask_epi8(native(v))))
VK_HIGH_BITS(int16_t, 8, static_cast<uint32_t>(_mm_movemask_epi8(_mm_packs_epi16(native(v), _mm_setzero_si128()))))
VK_HIGH_BITS(int32_t, 4, static_cast<uint32_t>(_mm_movemask_ps(reinterpret_cast<__m128>(v.raw))))
#if VK_SIMD_X86 >= 2
VK_HIGH_BITS(int8_t, 32, static_cast<uint32_t>(_mm256_movemask_epi8(native(v))))
VK_HIGH_BITS(uint8_t, 32, static_cast<uint32_t>(_mm256_movemask_epi8(native(v))))
VK_HIGH_BITS(int32_t, 8, static_cast<uint32_t>(_mm256_movemask_ps(reinterpret_cast<__m256>(v.raw))))
#endif
#if VK_SIMD_X86 >= 3
VK_HIGH_BITS(int8_t, 64, _mm512_movepi8_mask(native(v)))
VK_HIGH_BITS(uint8_t, 64, _mm512_movepi8_mask(native(v)))
VK_HIGH_BITS(int32_t, 16, _mm512_movepi32_mask(native(v)))
#endif
#undef VK_HIGH_BITS
#endif

// ---- loops over pixels ----

/// A step that has all its lanes.
struct Whole {
    template <class V> VK_SIMD_INLINE V load(const void* from) const noexcept { return simd::load<V>(from); }
    template <class T, size_t N> VK_SIMD_INLINE void store(void* to, Vec<T, N> v) const noexcept { simd::store(to, v); }
    /// Whether the mask is true of all lanes that are there.
    template <class T, size_t N> VK_SIMD_INLINE bool all(Mask<T, N> mask) const noexcept { return simd::all(mask); }
};

#if VK_SIMD_X86 == 3
/// A step of which only the first `count` lanes are there; what is read for the others is zero.
struct Some {
    size_t count;

    template <class V> VK_SIMD_INLINE V load(const void* from) const noexcept
    {
        return simd::load<V>(from, first_lanes<typename V::Lane, V::kLanes>(count));
    }
    template <class T, size_t N> VK_SIMD_INLINE void store(void* to, Vec<T, N> v) const noexcept
    {
        simd::store(to, v, first_lanes<T, N>(count));
    }
    template <class T, size_t N> VK_SIMD_INLINE bool all(Mask<T, N> mask) const noexcept
    {
        return simd::all(mask | ~first_lanes<T, N>(count));
    }
};
#endif

/// Calls `step(done, part)` for every `Lanes` of `count` elements, and for the rest where the set can mask memory;
/// returns how many elements were done. `part` is a Whole or a Some.
template <size_t Lanes, class F> VK_SIMD_INLINE size_t for_steps(size_t count, F&& step) noexcept
{
    size_t done = 0;
    for (; done + Lanes <= count; done += Lanes)
        step(done, Whole{});
#if VK_SIMD_X86 == 3
    if (done < count)
        step(done, Some{count - done});
    done = count;
#endif
    return done;
}

} // namespace vk::simd::inline VK_SIMD_SET
