// Runs of pixels changed by those of a source of the same depth, bit by bit; copying them is one of the ways.
#pragma once

#include "kernel/combine/Bits.h"
#include "kernel/combine/Walk.h"

namespace vk::combine {

class LogicRun final : public RunOperation {
public:
    /// With `is_large` runs are copied past the caches, where they are whole bytes.
    LogicRun(int32_t bits, const Logic& logic, bool is_large = false) noexcept
        : bits_(static_cast<uint32_t>(bits)), logic_(logic), order_(bit_order(bits)),
          is_streamed_(is_large && bits % 8 == 0 && logic.is_copy())
    {}
    LogicRun(const LogicRun&) = delete;
    LogicRun& operator=(const LogicRun&) = delete;
    ~LogicRun();

    void run(Line to, Line from, Line mask, int32_t count) noexcept override;

private:
    const uint32_t bits_;
    const Logic logic_;
    const BitOrder order_;
    const bool is_streamed_;
};

/// The bytes of an area's pixels.
uint64_t area_bytes(const Area& area, int32_t bits) noexcept;

} // namespace vk::combine
