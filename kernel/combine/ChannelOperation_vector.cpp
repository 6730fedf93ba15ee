// Arithmetic on a vector of channels at a time.
#include "kernel/combine/Operate_vector.h"

namespace vk::combine::VK_SIMD_SET {

namespace {

using namespace simd;

using Bytes = Wide<uint8_t>;
using Words = Wide<uint16_t>;

/// Products x in 255ths or 65535ths: ((x + half) + ((x + half) >> bits)) >> bits is rounded to the nearest.
template <int Bits, class Products> VK_SIMD_INLINE Products rounded(Products x) noexcept
{
    const Products moved = x + all<Products>(1u << (Bits - 1));
    return (moved + (moved >> Bits)) >> Bits;
}

VK_SIMD_INLINE Bytes multiply(Bytes a, Bytes b) noexcept
{
    const auto low = as<uint16_t>(interleave_low(a, Bytes{})) * as<uint16_t>(interleave_low(b, Bytes{}));
    const auto high = as<uint16_t>(interleave_high(a, Bytes{})) * as<uint16_t>(interleave_high(b, Bytes{}));
    return pack_unsigned(as<int16_t>(rounded<8>(low)), as<int16_t>(rounded<8>(high)));
}

VK_SIMD_INLINE Words multiply(Words a, Words b) noexcept
{
    const auto low = as<uint32_t>(interleave_low(a, Words{})) * as<uint32_t>(interleave_low(b, Words{}));
    const auto high = as<uint32_t>(interleave_high(a, Words{})) * as<uint32_t>(interleave_high(b, Words{}));
    return pack_unsigned(as<int32_t>(rounded<16>(low)), as<int32_t>(rounded<16>(high)));
}

template <uint32_t Operation, class Channels> VK_SIMD_INLINE Channels operate(Channels s, Channels d) noexcept
{
    if constexpr (Operation == COMBINE_MULTIPLY)
        return multiply(s, d);
    else
        return operate_on<Operation>(s, d);
}

template <class Channels, uint32_t Operation>
size_t run(const Arithmetic& how, const uint8_t* from, uint8_t* to, size_t bytes, Bytes alpha) noexcept
{
    using Lane = typename Channels::Lane;
    const auto every_bit = [](bool is_set) noexcept { return all<Bytes>(is_set ? 0xFF : 0); };
    const Bytes turned_source = every_bit(how.inverts_source);
    const Bytes turned_destination = every_bit(how.inverts_destination);
    const auto kept = alpha == all<Bytes>(0xFF);
    size_t done = 0;
    for (; done + kWidth <= bytes; done += kWidth) {
        const auto s = load<Bytes>(from + done);
        const auto d = load<Bytes>(to + done);
        const auto made = operate<Operation>(as<Lane>(s ^ turned_source), as<Lane>(d ^ turned_destination));
        store(to + done, select(kept, d, as<uint8_t>(made)));
    }
    return done;
}

template <class Channels>
size_t run_operation(const Arithmetic& how, const uint8_t* from, uint8_t* to, size_t bytes, Bytes alpha) noexcept
{
    return with_operation(how.operation, [&]<uint32_t kOperation>() noexcept {
        return run<Channels, kOperation>(how, from, to, bytes, alpha);
    });
}

size_t combine(const Arithmetic& how, const uint8_t* from, uint8_t* to, size_t bytes_in_all, int bytes,
               bool has_alpha) noexcept
{
    if (bytes == 1)
        return run_operation<Bytes>(how, from, to, bytes_in_all,
                                    as<uint8_t>(all<Wide<uint32_t>>(has_alpha ? 0xFF000000u : 0)));
    return run_operation<Words>(how, from, to, bytes_in_all,
                                as<uint8_t>(all<Wide<uint64_t>>(has_alpha ? 0xFFFF000000000000u : 0)));
}

} // namespace

const ChannelLoops channel_loops = {combine};

} // namespace vk::combine::VK_SIMD_SET
