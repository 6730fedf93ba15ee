// What the machine itself allows: loops that read and write as many bytes as an operation and do nothing else. Their
// figures stand beside those of operations that wait for memory.
#pragma once

#include "bench/BenchSupport.h"
#include "simd/Simd.h"

namespace vk::bench {

/// How the written bytes get there.
enum class Traffic : uint8_t {
    stream, ///< past the caches
    change, ///< read, changed and put back where they were
};

class Limit {
public:
    /// Reads `read` bytes and writes `written`; those that are changed are among both.
    Limit(Traffic traffic, uint64_t read, uint64_t written)
        : traffic_(traffic), from_lines_((read - (traffic == Traffic::change ? written : 0)) / kLine),
          to_lines_(written / kLine), from_(from_lines_ * kLine + kAhead, 1), to_(to_lines_ * kLine + kAhead, 1)
    {}

    void operator()() { traffic_ == Traffic::stream ? run<Traffic::stream>() : run<Traffic::change>(); }

private:
    static constexpr size_t kLine = 64;
    static constexpr size_t kAhead = 4096;
    using Vector = simd::Quad<uint64_t>;
    static constexpr size_t kVectors = kLine / sizeof(Vector);

    /// For every line written its share of those that are read.
    template <Traffic How> void run()
    {
        const uint8_t* from = from_.data();
        const uint8_t* const from_end = from + from_lines_ * kLine;
        size_t due = 0;
        for (size_t line = 0; line < to_lines_; ++line) {
            Vector sum[kVectors] = {};
            for (due += from_lines_; due >= to_lines_ && from < from_end; due -= to_lines_, from += kLine) {
                __builtin_prefetch(from + kAhead);
                for (size_t i = 0; i < kVectors; ++i)
                    sum[i] = sum[i] ^ simd::load<Vector>(from + i * sizeof(Vector));
            }
            uint8_t* const to = to_.data() + line * kLine;
            if constexpr (How == Traffic::change)
                __builtin_prefetch(to + kAhead, 1);
            for (size_t i = 0; i < kVectors; ++i) {
                uint8_t* const at = to + i * sizeof(Vector);
                if constexpr (How == Traffic::stream)
                    simd::stream(at, sum[i]);
                else
                    simd::store(at, simd::load<Vector>(at) ^ sum[i]);
            }
        }
        simd::fence();
    }

    const Traffic traffic_;
    const size_t from_lines_;
    const size_t to_lines_;
    Block from_;
    Block to_;
};

} // namespace vk::bench
