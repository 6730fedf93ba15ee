// Runs of pixels whose alpha is taken out, put in, or multiplied into their colours and out again.
#pragma once

#include "kernel/combine/ConvertRun.h"
#include "kernel/combine/Walk.h"

namespace vk::fill {

using combine::Line;

/// Writes the alpha of 32- or 64-bit pixels as gray of 8 or 16 bits.
class TakeAlphaRun final : public combine::RunOperation {
public:
    explicit TakeAlphaRun(int32_t bits) noexcept : is_deep_(bits == 64) {}
    void run(Line to, Line from, Line mask, int32_t count) noexcept override;

private:
    const bool is_deep_;
};

/// Puts gray in as the alpha of 32- or 64-bit pixels.
class PutAlphaRun final : public combine::RunOperation {
public:
    PutAlphaRun() noexcept : source_(converter_) {}

    /// SUCCESS or a code.
    int open(const BITMAPHANDLE& to, const BITMAPHANDLE& alpha) noexcept;
    void run(Line to, Line from, Line mask, int32_t count) noexcept override;

private:
    bool is_deep_ = false;
    combine::RowConverter converter_;
    combine::ConvertedPixels source_;
};

/// Gives all pixels one alpha.
class SetAlphaRun final : public combine::RunOperation {
public:
    SetAlphaRun(int32_t bits, uint32_t alpha) noexcept : is_deep_(bits == 64), alpha_(alpha) {}
    void run(Line to, Line from, Line mask, int32_t count) noexcept override;

private:
    const bool is_deep_;
    const uint32_t alpha_;
};

/// Multiplies colours by their alpha, or divides them by it.
class WeighRun final : public combine::RunOperation {
public:
    WeighRun(int32_t bits, bool is_division) noexcept : is_deep_(bits == 64), is_division_(is_division) {}
    void run(Line to, Line from, Line mask, int32_t count) noexcept override;

private:
    const bool is_deep_;
    const bool is_division_;
};

} // namespace vk::fill
