// Arithmetic on a vector of words at a time, one number of each after the other.
#include "kernel/combine/WordOperation.h"

#include "kernel/combine/Operate_vector.h"

namespace vk::combine::VK_SIMD_SET {

namespace {

using namespace simd;

using Words = Wide<uint16_t>;
using Numbers = Wide<uint32_t>;

/// A number's place, and the largest it can be.
struct Field {
    int shift, bits;
    Words most;
};

/// Products of numbers of `bits` bits by the largest: with x the product and a half of that and one more, x plus x
/// shifted by the bits, shifted by them again, is rounded to the nearest.
VK_SIMD_INLINE Words multiply(Words a, Words b, int bits) noexcept
{
    const auto half = all<Numbers>(1u << (bits - 1));
    const auto rounded = [&](Words x, Words y) noexcept {
        const Numbers moved = as<uint32_t>(x) * as<uint32_t>(y) + half;
        return as<int32_t>(shift_right(moved + shift_right(moved, bits), bits));
    };
    return pack_unsigned(rounded(interleave_low(a, Words{}), interleave_low(b, Words{})),
                         rounded(interleave_high(a, Words{}), interleave_high(b, Words{})));
}

template <uint32_t Operation> VK_SIMD_INLINE Words operate(Words s, Words d, const Field& field) noexcept
{
    if constexpr (Operation == COMBINE_MULTIPLY)
        return multiply(s, d, field.bits);
    else if constexpr (Operation == COMBINE_ADD)
        return min(operate_on<Operation>(s, d), field.most);
    else
        return operate_on<Operation>(s, d);
}

template <uint32_t Operation>
size_t run(const Arithmetic& how, const uint8_t* from, uint8_t* to, size_t count, const WordFields& fields) noexcept
{
    Field places[3];
    for (int i = 0; i < fields.count; ++i)
        places[i] = {static_cast<int>(fields.shift[i]), static_cast<int>(fields.bits[i]),
                     all<Words>(static_cast<uint16_t>((1u << fields.bits[i]) - 1))};
    const auto turned_source = all<Words>(how.inverts_source ? 0xFFFF : 0);
    const auto turned_destination = all<Words>(how.inverts_destination ? 0xFFFF : 0);
    size_t done = 0;
    for (; done + Words::kLanes <= count; done += Words::kLanes) {
        const Words source = load<Words>(from + 2 * done);
        Words word = load<Words>(to + 2 * done);
        for (int i = 0; i < fields.count; ++i) {
            const Field& field = places[i];
            const auto number = [&](Words v) noexcept { return shift_right(v, field.shift) & field.most; };
            const Words made =
                operate<Operation>(number(source ^ turned_source), number(word ^ turned_destination), field);
            word = (word & ~shift_left(field.most, field.shift)) | shift_left(made, field.shift);
        }
        store(to + 2 * done, word);
    }
    return done;
}

size_t combine(const Arithmetic& how, const uint8_t* from, uint8_t* to, size_t count, const WordFields& fields) noexcept
{
    return with_operation(
        how.operation, [&]<uint32_t kOperation>() noexcept { return run<kOperation>(how, from, to, count, fields); });
}

} // namespace

const WordLoops word_loops = {combine};

} // namespace vk::combine::VK_SIMD_SET
