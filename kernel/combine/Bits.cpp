// Bits in words. The bits of a source byte at another offset come from two bytes: each is shifted within its byte and
// masked, which works the same for eight bytes in a word as for sixty-four in a vector.
#include "kernel/combine/Bits.h"

#include "kernel/combine/Streaming.h"
#include "kernel/convert/Format.h"
#include "simd/Lines.h"
#include "simd/Simd.h"

#include <algorithm>
#include <cstring>

namespace vk::combine {

namespace {

constexpr uint64_t kEveryByte = 0x0101010101010101u;
constexpr size_t kWord = sizeof(uint64_t);

uint64_t load_word(const uint8_t* from) noexcept
{
    uint64_t word = 0;
    std::memcpy(&word, from, sizeof word);
    return word;
}

/// Eight source bytes that begin `shift` bits into the first of nine.
uint64_t load_shifted(const uint8_t* from, uint32_t shift, BitOrder order) noexcept
{
    const uint64_t first = load_word(from);
    if (shift == 0)
        return first;
    const uint64_t second = load_word(from + 1);
    if (order == BitOrder::high_first)
        return (first << shift & kEveryByte * (0xFFu << shift & 0xFFu)) |
               (second >> (8 - shift) & kEveryByte * (0xFFu >> (8 - shift)));
    return (first >> shift & kEveryByte * (0xFFu >> shift)) |
           (second << (8 - shift) & kEveryByte * (0xFFu << (8 - shift) & 0xFFu));
}

size_t logic_bytes_plain(uint8_t* to, const uint8_t* from, size_t bytes, uint32_t shift, const Logic& logic,
                         BitOrder order) noexcept
{
    size_t done = 0;
    for (; done + kWord <= bytes; done += kWord) {
        const uint64_t word = logic(load_shifted(from + done, shift, order), load_word(to + done));
        std::memcpy(to + done, &word, sizeof word);
    }
    return done;
}

/// Up to eight bits within one destination byte.
void combine_within(uint8_t& to, uint32_t to_bit, const uint8_t* from, uint32_t from_bit, uint32_t count,
                    const Logic& logic, BitOrder order) noexcept
{
    const uint32_t first = from[0];
    const uint32_t second = from_bit + count > 8 ? from[1] : 0;
    uint32_t source = 0;
    uint32_t mask = 0;
    if (order == BitOrder::high_first) {
        source = ((first << 8 | second) << from_bit & 0xFFFFu) >> (8 + to_bit);
        mask = (0xFFu >> to_bit) & ~(0xFFu >> (to_bit + count));
    } else {
        source = (first | second << 8) >> from_bit << to_bit;
        mask = (0xFFu << to_bit) & ~(0xFFu << (to_bit + count));
    }
    to = static_cast<uint8_t>((to & ~mask) | (static_cast<uint32_t>(logic(source, to)) & mask));
}

void combine_bytes(uint8_t* to, const uint8_t* from, size_t bytes, uint32_t shift, const Logic& logic,
                   BitOrder order) noexcept
{
    if (shift == 0 && logic.is_copy()) {
        std::memcpy(to, from, bytes);
        return;
    }
    const BitLoops* const loops = bit_loops_sets.best();
    size_t done = loops ? loops->logic_bytes(to, from, bytes, shift, logic, order) : 0;
    done += logic_bytes_plain(to + done, from + done, bytes - done, shift, logic, order);
    for (; done < bytes; ++done)
        combine_within(to[done], 0, from + done, shift, 8, logic, order);
}

} // namespace

void combine_bits(uint8_t* to, uint64_t to_bit, const uint8_t* from, uint64_t from_bit, uint64_t count,
                  const Logic& logic, BitOrder order) noexcept
{
    to += to_bit / 8;
    from += from_bit / 8;
    const auto into = static_cast<uint32_t>(to_bit % 8);
    auto shift = static_cast<uint32_t>(from_bit % 8);
    if (into != 0 && count != 0) {
        const auto head = static_cast<uint32_t>(std::min<uint64_t>(8 - into, count));
        combine_within(*to++, into, from, shift, head, logic, order);
        count -= head;
        from += (shift + head) / 8;
        shift = (shift + head) % 8;
    }
    const auto bytes = static_cast<size_t>(count / 8);
    combine_bytes(to, from, bytes, shift, logic, order);
    if (const auto tail = static_cast<uint32_t>(count % 8); tail != 0)
        combine_within(to[bytes], 0, from + bytes, shift, tail, logic, order);
}

void stream_lines(uint8_t* to, const uint8_t* from, size_t bytes) noexcept
{
    const BitLoops* const loops = bit_loops_sets.best();
    loops ? loops->stream_lines(to, from, bytes) : simd::stream_lines(to, from, bytes);
}

void stream_bytes(uint8_t* to, const uint8_t* from, size_t bytes) noexcept
{
    const size_t lead =
        std::min<size_t>((simd::kLine - reinterpret_cast<uintptr_t>(to) % simd::kLine) % simd::kLine, bytes);
    const size_t lines = (bytes - lead) / simd::kLine * simd::kLine;
    std::memcpy(to, from, lead);
    stream_lines(to + lead, from + lead, lines);
    std::memcpy(to + lead + lines, from + lead + lines, bytes - lead - lines);
}

void stream_fence() noexcept
{
    simd::fence();
}

} // namespace vk::combine
