// Every operation of the vector layer beside the loop that says what it means. Within a line, `a`, `b` and `c` are
// vectors of the type that it names, full of anything.
#include "simd/Divide.h"
#include "simd/Round.h"
#include "simd/Thirds.h"
#include "tests/simd/Answers.h"

namespace vk::testing::VK_SIMD_SET {

namespace {

/// Whether lanes have something in common, from the first lane's bit on, as loops find it.
template <class F, class V> uint64_t truths(F f, V a, V b) noexcept
{
    uint64_t bits = 0;
    for (size_t i = 0; i < V::kLanes; ++i)
        bits |= uint64_t{f(a.raw[i], b.raw[i])} << i;
    return bits;
}
template <class V> V chosen(uint64_t truths, V yes, V no) noexcept
{
    for (size_t i = 0; i < V::kLanes; ++i)
        no.raw[i] = (truths >> i & 1) != 0 ? yes.raw[i] : no.raw[i];
    return no;
}

/// Whether it is true of any lane, and of all.
template <class T, size_t N> uint64_t summary(Mask<T, N> mask) noexcept
{
    return uint64_t{any(mask)} | uint64_t{simd::all(mask)} << 1;
}
template <class V> uint64_t summary(uint64_t truths) noexcept
{
    return uint64_t{truths != 0} | uint64_t{truths == ~uint64_t{0} >> (64 - V::kLanes)} << 1;
}
template <class V> V but_one(V v, const uint8_t* number) noexcept
{
    v.raw[*number % V::kLanes] = V{}.raw[0];
    return v;
}
template <class T> using Chosen = IntOf<sizeof(T), std::is_signed_v<T>>;

/// As many lanes as bytes say are copied in steps, and how many these were comes behind them.
template <class V> size_t steps(const Operands& in, uint8_t* got, uint8_t* expected) noexcept
{
    constexpr size_t kSize = sizeof(typename V::Lane);
    const uint8_t* from = in[0];
    const size_t count = in[2][0] % (2 * kOperandBytes / kSize + 1);
    bool is_like = true;
    const size_t done = for_steps<V::kLanes>(count, [&](size_t at, auto part) noexcept {
        const V v = part.template load<V>(from + at * kSize);
        is_like =
            is_like && part.all(v == load<V>(from + at * kSize)); // what lies behind the last lane does not matter
        part.store(got + at * kSize, v);
    });
    __builtin_memcpy(expected, from, (kMasksMemory ? count : count / V::kLanes * V::kLanes) * kSize);
    got[3 * kOperandBytes] = static_cast<uint8_t>(done);
    expected[3 * kOperandBytes] = static_cast<uint8_t>(kMasksMemory ? count : count / V::kLanes * V::kLanes);
    got[3 * kOperandBytes + 1] = is_like ? 1 : 0;
    expected[3 * kOperandBytes + 1] = 1;
    return 3 * kOperandBytes + 2;
}

/// Whole numbers that a float holds.
template <class V> auto whole(V a, int bits) noexcept
{
    return plain::to_float(as<int32_t>(as<uint32_t>(a) >> (32 - bits)));
}

template <class V> VK_SIMD_INLINE auto long_whole(V a, int bits) noexcept
{
    return plain::to_double(as<int64_t>(as<uint64_t>(a) >> (64 - bits)));
}
/// Whole numbers and halves below 2^51, of either sign.
template <class V> VK_SIMD_INLINE auto halves(V a) noexcept
{
    return plain::to_double(a >> 13) * all<decltype(plain::to_double(a))>(0.5);
}

#define VK_CASE(what, T, got_value, loop_value)                                                                        \
    Operation                                                                                                          \
    {                                                                                                                  \
        what " " #T, [](const Operands& in, uint8_t* got, uint8_t* expected) noexcept {                                \
            using V [[maybe_unused]] = Vec<T, W / sizeof(T)>;                                                          \
            [[maybe_unused]] const V a = load<V>(in[0]), b = load<V>(in[1]), c = load<V>(in[2]);                       \
            return answer(got, expected, got_value, loop_value);                                                       \
        }                                                                                                              \
    }
#define VK_BINARY(name, T) VK_CASE(#name, T, name(a, b), plain::name(a, b))
#define VK_UNARY(name, T) VK_CASE(#name, T, name(a), plain::name(a))
#define VK_AFTER(name, T, first, second) VK_CASE(#name, T, name(first, second), plain::name(first, second))
#define VK_WIDEN(name, T) VK_CASE(#name, T, name(plain::low_half(a)), plain::name(plain::low_half(a)))
/// By what a loop does with numbers `x` and `y` of 64 bits, or real ones.
#define VK_LANES(what, T, expression, x_y)                                                                             \
    VK_CASE(what, T, expression, plain::map<T>([](auto x, auto y) noexcept { return x_y; }, a, b))
#define VK_REALS(x_y, x, y) plain::map<float>([](float p, float q) noexcept { return x_y; }, x, y)
#define VK_LONG(x) static_cast<uint64_t>(x)

#define VK_8_16(M, name) M(name, uint8_t), M(name, int8_t), M(name, uint16_t), M(name, int16_t)
#define VK_TO_32(M, name) VK_8_16(M, name), M(name, uint32_t), M(name, int32_t)
#define VK_ALL(M, name) VK_TO_32(M, name), M(name, uint64_t), M(name, int64_t)

#define VK_ARITHMETIC(name, T)                                                                                         \
    VK_LANES("+", T, a + b, VK_LONG(x) + VK_LONG(y)), VK_LANES("-", T, a - b, VK_LONG(x) - VK_LONG(y)),                \
        VK_LANES("*", T, (a) * (b), VK_LONG(x) * VK_LONG(y)),                                                          \
        VK_LANES("unary -", T, -a, 0 - VK_LONG(x) + (VK_LONG(y) & 0)),                                                 \
        VK_LANES("bits", T, (a & ~b) | (b ^ a), (x & ~y) | (y ^ x)),                                                   \
        VK_LANES("<< 3", T, a << 3, VK_LONG(x) << 3 | (VK_LONG(y) & 0)),                                               \
        VK_LANES(">> 5", T, a >> 5, (x >> 5) + (y & 0)),                                                               \
        VK_CASE("all", T, all<V>(a.raw[0]), plain::permute(a, Vec<typename V::Bits, V::kLanes>{}))
#define VK_BITS_OF(T) (8 * sizeof(T) - 1)
#define VK_SHIFTS(name, T)                                                                                             \
    VK_CASE("shift_left", T, shift_left(a, in[1][0] & VK_BITS_OF(T)), a << (in[1][0] & VK_BITS_OF(T))),                \
        VK_CASE("shift_right", T, shift_right(a, in[1][0] & VK_BITS_OF(T)), a >> (in[1][0] & VK_BITS_OF(T))),          \
        VK_CASE("shift_left by each", T, shift_left(a, (b)&all<V>(VK_BITS_OF(T))),                                     \
                plain::map<T>([](T x, T y) noexcept { return VK_LONG(x) << (y & VK_BITS_OF(T)); }, a, b)),             \
        VK_CASE("shift_right by each", T, shift_right(a, (b)&all<V>(VK_BITS_OF(T))),                                   \
                plain::map<T>([](T x, T y) noexcept { return x >> (y & VK_BITS_OF(T)); }, a, b))
#define VK_HALVES(name, T)                                                                                             \
    VK_UNARY(low_half, T), VK_UNARY(high_half, T),                                                                     \
        VK_CASE("both", T, both(plain::high_half(a), plain::low_half(b)),                                              \
                plain::both(plain::high_half(a), plain::low_half(b)))
#define VK_PERMUTE(name, T)                                                                                            \
    VK_AFTER(permute, T, a, as<typename V::Bits>(b)),                                                                  \
        VK_CASE("permute of two", T, permute(a, b, as<typename V::Bits>(c)),                                           \
                plain::permute(a, b, as<typename V::Bits>(c)))
#define VK_MEMORY(name, T)                                                                                             \
    VK_CASE("repeat", T, repeat<V>(load<Quad<T>>(in[0])), plain::repeat<V>(load<Quad<T>>(in[0]))), Operation           \
    {                                                                                                                  \
        "for_steps " #T, steps<Vec<T, W / sizeof(T)>>                                                                  \
    }
#define VK_FOUND(relation, other) truths([](auto x, auto y) noexcept { return x relation y; }, a, other)
#define VK_RELATION(relation, T)                                                                                       \
    VK_CASE("bits of " #relation, T, bits(a relation b), VK_FOUND(relation, b)),                                       \
        VK_CASE("any, all of " #relation, T, summary(a relation b), summary<V>(VK_FOUND(relation, b))),                \
        VK_CASE("any, all but one of " #relation, T, summary(a relation but_one(a, in[1])),                            \
                summary<V>(VK_FOUND(relation, but_one(a, in[1])))),                                                    \
        VK_CASE("select by " #relation, T, select(a relation b, as<Chosen<T>>(b), as<Chosen<T>>(c)),                   \
                chosen(VK_FOUND(relation, b), as<Chosen<T>>(b), as<Chosen<T>>(c)))
#define VK_RELATIONS(name, T)                                                                                          \
    VK_RELATION(==, T), VK_RELATION(!=, T), VK_RELATION(<, T), VK_RELATION(<=, T), VK_RELATION(>, T), VK_RELATION(>=, T)
#define VK_MASKS(name, T)                                                                                              \
    VK_RELATIONS(name, T), VK_CASE("masks", T, bits(((a < b) & (a != c)) | ~(a >= b)), VK_FOUND(<, b)),                \
        VK_CASE("keep", T, keep(a < b, c), chosen(VK_FOUND(<, b), c, V{}))

template <size_t W> using Reals = Vec<float, W / 4>;
template <size_t W> using Doubles = Vec<double, W / 8>;

template <size_t W>
constexpr Operation kAt[] = {
    VK_ALL(VK_ARITHMETIC, ),
    VK_SHIFTS(, uint16_t),
    VK_SHIFTS(, int16_t),
    VK_SHIFTS(, uint32_t),
    VK_SHIFTS(, int32_t),
    VK_SHIFTS(, uint64_t),
    VK_TO_32(VK_BINARY, min),
    VK_TO_32(VK_BINARY, max),
    VK_8_16(VK_BINARY, add_clamped),
    VK_8_16(VK_BINARY, sub_clamped),
    VK_BINARY(average, uint8_t),
    VK_BINARY(average, uint16_t),
    VK_BINARY(mul_high, int16_t),
    VK_BINARY(mul_high, uint16_t),
    VK_AFTER(mul_rounded, int16_t, plain::max(a, all<V>(-32767)), b),
    VK_AFTER(mul_pairs, int16_t, plain::max(a, all<V>(-32767)), b),
    VK_AFTER(mul_pairs, uint8_t, a, as<int8_t>(b)),
    VK_BINARY(mul_even, uint32_t),
    VK_BINARY(mul_even, int32_t),
    VK_BINARY(pack, int16_t),
    VK_BINARY(pack, int32_t),
    VK_BINARY(pack_unsigned, int16_t),
    VK_BINARY(pack_unsigned, int32_t),
    VK_ALL(VK_BINARY, interleave_low),
    VK_ALL(VK_BINARY, interleave_high),
    VK_AFTER(shuffle, uint8_t, a, (b) & all<V>(0x8F)),
    VK_BINARY(align<1>, uint8_t),
    VK_BINARY(align<11>, uint8_t),
    VK_BINARY(align<16>, uint8_t),
    VK_ALL(VK_PERMUTE, ),
    VK_ALL(VK_HALVES, ),
    VK_TO_32(VK_WIDEN, widen),
    VK_CASE("widen_4", uint8_t, widen_4(low_half(low_half(a))), plain::widen_4(low_half(low_half(a)))),
    VK_UNARY(cut, uint16_t),
    VK_UNARY(cut, uint32_t),
    VK_UNARY(cut, uint64_t),
    VK_CASE("cut_4", uint32_t, plain::widen_4(cut_4(a)), (a) & all<V>(0xFF)),
    VK_UNARY(to_float, int32_t),
    VK_WIDEN(to_double, int32_t),
    VK_UNARY(to_double, int64_t),
    VK_CASE("to_float of double", int64_t, to_float(plain::to_double(a)), plain::to_float(plain::to_double(a))),
    VK_CASE("cut_off of float", int32_t, cut_off(plain::to_float(a) * all<Reals<W>>(0.0371f)),
            plain::cut_off(plain::to_float(a) * all<Reals<W>>(0.0371f))),
    VK_CASE("cut_off of double", int32_t, cut_off(plain::to_double(low_half(a)) * all<Doubles<W>>(0.73)),
            plain::cut_off(plain::to_double(low_half(a)) * all<Doubles<W>>(0.73))),
    VK_BINARY(min, float),
    VK_BINARY(max, float),
    VK_BINARY(min, double),
    VK_BINARY(max, double),
    VK_RELATIONS(, float),
    VK_CASE("+", float, whole(a, 24) + whole(b, 31), VK_REALS(p + q, whole(a, 24), whole(b, 31))),
    VK_CASE("-", float, whole(a, 24) - whole(b, 31), VK_REALS(p - q, whole(a, 24), whole(b, 31))),
    VK_CASE("*", float, whole(a, 24) * whole(b, 31), VK_REALS((p) * (q), whole(a, 24), whole(b, 31))),
    VK_CASE("/", float, whole(a, 24) / (whole(b, 8) + all<V>(1)), VK_REALS(p / (q + 1), whole(a, 24), whole(b, 8))),
    VK_CASE("mul_add", float, mul_add(whole(a, 12), whole(b, 11), whole(c, 22)),
            whole(a, 12) * whole(b, 11) + whole(c, 22)),
    VK_CASE("mul_add", int64_t, mul_add(long_whole(a, 26), long_whole(b, 26), long_whole(c, 52)),
            long_whole(a, 26) * long_whole(b, 26) + long_whole(c, 52)),
    VK_CASE("nearest_whole", int64_t, nearest_whole(halves(a)),
            plain::map<int64_t>([](double x) noexcept { return __builtin_llrint(x); }, halves(a))),
    VK_CASE("rounded_to_whole", int64_t, rounded_to_whole(halves(a)),
            plain::map<double>([](double x) noexcept { return __builtin_rint(x) + 0.0; }, halves(a))),
    VK_ALL(VK_MASKS, ),
    VK_CASE("mul_even of wider numbers", uint32_t, mul_even(as<uint32_t>(widen(a)), as<uint32_t>(widen(b))),
            plain::mul_even(as<uint32_t>(plain::widen(a)), as<uint32_t>(plain::widen(b)))),
    VK_ALL(VK_UNARY, high_bits),
    VK_ALL(VK_MEMORY, ),
    VK_AFTER(gather, int32_t, in[0], (a) & all<V>(127)),
    Operation{"stream", [](const Operands& in, uint8_t* got, uint8_t* expected) noexcept {
                  stream(got, load<Vec<uint8_t, W>>(in[0]));
                  fence();
                  __builtin_memcpy(expected, in[0], W);
                  return W;
              }},
};

/// Pixels over others, by two alphas of all sizes or, for ties, small ones.
size_t mix(const Operands& in, uint8_t* got, uint8_t* expected) noexcept
{
    using Pixels = Wide<uint32_t>;
    const Pixels s = load<Pixels>(in[0]), d = load<Pixels>(in[1]), c = load<Pixels>(in[2]);
    Pixels wanted = d & all<Pixels>(0xFF000000), part{}, whole{};
    for (size_t i = 0; i < Pixels::kLanes; ++i) {
        const uint32_t kept = c.raw[i] >> 16 & 1 ? 0xFF : 0xF;
        const uint32_t alpha = c.raw[i] & kept, below = c.raw[i] >> 8 & kept;
        part.raw[i] = 255 * alpha;
        whole.raw[i] = part.raw[i] + below * (255 - alpha) + (alpha + below == 0);
        for (int shift = 0; shift < 24; shift += 8) {
            const uint32_t sum =
                (s.raw[i] >> shift & 0xFF) * part.raw[i] + (d.raw[i] >> shift & 0xFF) * (whole.raw[i] - part.raw[i]);
            wanted.raw[i] |= (sum + whole.raw[i] / 2) / whole.raw[i] << shift;
        }
    }
    return answer(got, expected, mix_colors(s, d, part, whole), wanted);
}

template <size_t Part> size_t triple(const Operands& in, uint8_t* got, uint8_t* expected) noexcept
{
    for (size_t i = 0; i < kWidth; ++i)
        expected[i] = in[0][(Part * kWidth + i) / 3];
    store(got, thrice<Part>(load<Wide<uint8_t>>(in[0])));
    return kWidth;
}

constexpr Operation kAtFullWidth[] = {
    {"mix_colors", mix}, {"thrice<0>", triple<0>}, {"thrice<1>", triple<1>}, {"thrice<2>", triple<2>}};

} // namespace

const Operations operations = {VK_NAME(VK_SIMD_SET),
                               {list_of(kAtFullWidth), list_of(kAt<16>),
#if VK_SIMD_X86 >= 2
                                list_of(kAt<32>),
#endif
#if VK_SIMD_X86 >= 3
                                list_of(kAt<64>)
#endif
                               }};

} // namespace vk::testing::VK_SIMD_SET
