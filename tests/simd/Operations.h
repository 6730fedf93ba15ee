// The operations of the vector layer, one by one, as each set has them: what they give for some bytes, and what the
// loop that says what they mean gives for the same.
#pragma once

#include "simd/Level.h"

#include <cstddef>
#include <cstdint>

namespace vk::testing {

constexpr size_t kOperandBytes = 64; ///< of the widest vectors

/// The first three are operands of most operations; some read one behind the other.
struct Operands {
    alignas(kOperandBytes) uint8_t bytes[5 * kOperandBytes];

    const uint8_t* operator[](size_t number) const noexcept { return bytes + number * kOperandBytes; }
};

/// Reads operands, writes both results, and returns how many bytes they have.
using Operate = size_t(const Operands& operands, uint8_t* got, uint8_t* expected) noexcept;

struct Operation {
    const char* name;
    Operate* run;
};

/// All of a set: those that have its width, and the others at each width that it has.
struct Operations {
    const char* set;
    struct List {
        const Operation* first;
        size_t count;
    } lists[4];
};

VK_SIMD_TABLE(Operations, operations);
VK_SIMD_TABLE(Operations, steps_of_kernels);

#if defined(__x86_64__)
namespace sse2 {
extern const Operations operations;
extern const Operations steps_of_kernels;
} // namespace sse2
#endif

} // namespace vk::testing
