// Every operation of the vector layer against its loop, at every set that this processor has: on random numbers, on the
// ends of the types' ranges, and on mixes of both.
#include "tests/simd/Operations.h"
#include "tests/support/Levels.h"
#include "tests/support/TestRandom.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace vk;
using namespace vk::testing;

namespace {

std::vector<const Operations*> sets_here()
{
    std::vector<const Operations*> sets;
#if defined(__x86_64__)
    sets = {&sse2::operations, &sse2::steps_of_kernels};
#endif
    for (const simd::Level level : kLevels)
        for (const auto& choice : {operations_sets, steps_of_kernels_sets})
            if (const Operations* set = choice.at(level); set != nullptr && AtLevel(level).reached == level)
                sets.push_back(set);
    return sets;
}

/// Bytes that make the ends of ranges likely, whatever the size of the lanes.
void fill(uint8_t* bytes, TestRandom& random)
{
    constexpr uint8_t kEnds[] = {0x00, 0xFF, 0x80, 0x7F, 0x01};
    const uint64_t kind = random.below(3);
    const size_t size = size_t{1} << random.below(4);
    for (size_t at = 0; at < kOperandBytes; ++at) {
        const bool is_lowest = at % size != size - 1;
        const uint8_t end = kEnds[random.below(std::size(kEnds))];
        if (kind == 0 || (kind == 1 && random.one_in(2)))
            bytes[at] = static_cast<uint8_t>(random.next());
        else if (is_lowest || at < size)
            bytes[at] = random.one_in(2) || at == 0 ? end : bytes[at - 1];
        else
            bytes[at] = random.one_in(3) ? bytes[at - size] : end;
    }
}

std::string hex(const uint8_t* bytes, size_t count)
{
    std::string text;
    for (size_t i = 0; i < count; ++i) {
        constexpr char kDigits[] = "0123456789abcdef";
        text += kDigits[bytes[i] >> 4];
        text += kDigits[bytes[i] & 15];
        if (i % 4 == 3)
            text += ' ';
    }
    return text;
}

void expect_like_loop(const char* set, const Operation& operation, TestRandom& random)
{
    for (int round = 0; round < 100; ++round) {
        Operands operands;
        for (size_t at = 0; at < sizeof operands; at += kOperandBytes)
            fill(operands.bytes + at, random);
        alignas(64) uint8_t got[4 * kOperandBytes] = {};
        alignas(64) uint8_t expected[4 * kOperandBytes] = {};
        const size_t count = operation.run(operands, got, expected);
        ASSERT_GT(count, 0u);
        ASSERT_EQ(hex(expected, count), hex(got, count))
            << set << ": " << operation.name << " of " << hex(operands[0], kOperandBytes) << "and "
            << hex(operands[1], kOperandBytes) << "and " << hex(operands[2], kOperandBytes);
    }
}

} // namespace

TEST(Simd, OperationsAreTheirLoops)
{
    TestRandom random(3318);
    SCOPED_TRACE(random);
    for (const Operations* set : sets_here())
        for (const Operations::List& list : set->lists)
            for (size_t number = 0; number < list.count; ++number)
                ASSERT_NO_FATAL_FAILURE(expect_like_loop(set->set, list.first[number], random));
}
