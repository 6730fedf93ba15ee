#include "kernel/combine/WordOperation.h"

#include "kernel/combine/Operate_vector.h"
#include "kernel/combine/Rest.h"

#include <algorithm>
#include <cstring>

namespace vk::combine {

namespace {

/// As `arithmetic` has it, the quotient of a product by the largest number, of `bits` bits, being two shifts and a sum.
template <uint32_t kOperation> uint64_t operate(uint64_t s, uint64_t d, uint64_t most, uint32_t bits) noexcept
{
    if constexpr (kOperation == COMBINE_ADD) {
        return std::min(s + d, most);
    } else if constexpr (kOperation == COMBINE_SUBTRACT) {
        return d > s ? d - s : 0;
    } else if constexpr (kOperation == COMBINE_MIN) {
        return std::min(s, d);
    } else if constexpr (kOperation == COMBINE_MAX) {
        return std::max(s, d);
    } else if constexpr (kOperation == COMBINE_AVERAGE) {
        return (s + d + 1) >> 1;
    } else if constexpr (kOperation == COMBINE_DIFFERENCE) {
        return s > d ? s - d : d - s;
    } else {
        const uint64_t moved = s * d + (uint64_t{1} << (bits - 1));
        return (moved + (moved >> bits)) >> bits;
    }
}

template <uint32_t kOperation>
void combine_long(const Arithmetic& how, const uint8_t* from, uint8_t* to, size_t count, uint32_t shift,
                  uint32_t bits) noexcept
{
    const uint32_t most = ~uint32_t{0} >> (32 - bits);
    const uint32_t turned_source = how.inverts_source ? most : 0;
    const uint32_t turned_destination = how.inverts_destination ? most : 0;
    for (size_t i = 0; i < count; ++i) {
        uint32_t source, word;
        std::memcpy(&source, from + 4 * i, sizeof source);
        std::memcpy(&word, to + 4 * i, sizeof word);
        const uint64_t made = operate<kOperation>((source >> shift & most) ^ turned_source,
                                                  (word >> shift & most) ^ turned_destination, most, bits);
        word = (word & ~(most << shift)) | static_cast<uint32_t>(made) << shift;
        std::memcpy(to + 4 * i, &word, sizeof word);
    }
}

} // namespace

void combine_long_words(const Arithmetic& how, const uint8_t* from, uint8_t* to, size_t count, uint32_t shift,
                        uint32_t bits) noexcept
{
    VK_SIMD_SET::with_operation(how.operation, [&]<uint32_t kOperation>() noexcept {
        combine_long<kOperation>(how, from, to, count, shift, bits);
    });
}

void combine_words(const Arithmetic& how, const uint8_t* from, uint8_t* to, size_t count,
                   const WordFields& fields) noexcept
{
    if (const WordLoops* const loops = word_loops_sets.best()) {
        const size_t done = loops->combine(how, from, to, count, fields);
        if (done < count)
            run_rest({from + 2 * done, to + 2 * done, nullptr}, count - done, 2,
                     [&](const RestOf& rest, size_t room) noexcept {
                         loops->combine(how, rest.from, rest.to, room, fields);
                     });
        return;
    }
    for (size_t i = 0; i < count; ++i) {
        uint16_t source, word;
        std::memcpy(&source, from + 2 * i, sizeof source);
        std::memcpy(&word, to + 2 * i, sizeof word);
        for (int field = 0; field < fields.count; ++field) {
            const uint32_t shift = fields.shift[field];
            const uint32_t most = (1u << fields.bits[field]) - 1;
            const int64_t made = arithmetic(how, source >> shift & most, word >> shift & most, 0, most);
            word = static_cast<uint16_t>((word & ~(most << shift)) | static_cast<uint32_t>(made) << shift);
        }
        std::memcpy(to + 2 * i, &word, sizeof word);
    }
}

} // namespace vk::combine
