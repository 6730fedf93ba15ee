// Fused paths: conversions of hot pairs in one step, in place of unpack, reduce and pack.
//
// They are rows of one table. A path may serve a plan when formats agree, its own condition holds, the processor has
// what it needs and paths are switched on; the first that may is taken. Its result is the general way's, bit for bit:
// the tests run every row against it.
#pragma once

#include "common/pixel/Plan.h"

#include <cstddef>
#include <cstdint>

namespace vk::pixel {

/// What a path needs of the processor.
enum class Cpu : uint8_t { any, avx2, avx512 };

/// True when this processor can run paths of a level, and the operating system lets it.
bool cpu_has(Cpu level) noexcept;

struct FusedPath {
    const char* name;
    int32_t src_bits, src_order; ///< as in the format table
    int32_t dst_bits, dst_order;
    Cpu cpu;
    /// Whether the path serves this plan beyond its formats; null: always.
    bool (*serves)(const Plan& plan) noexcept;
    /// Converts any number of pixels from one place to another that does not overlap it.
    void (*run)(const Plan& plan, const uint8_t* src, uint8_t* dst, size_t count) noexcept;
};

/// The path a plan takes, or null. Everything else of the plan is decided.
const FusedPath* find_fused(const Plan& plan) noexcept;

/// The table.
const FusedPath* fused_paths(size_t* count) noexcept;

/// Switches paths above a level off, or all of them; for tests and benchmarks, while nothing converts.
enum class FusedLimit : uint8_t { none, any, avx2, avx512 };
void limit_fused(FusedLimit limit) noexcept;

} // namespace vk::pixel
