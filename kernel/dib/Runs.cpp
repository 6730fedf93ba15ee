#include "kernel/dib/Runs.h"

#include "simd/Level.h"
#include "simd/Simd.h"

#include <algorithm>
#include <cstring>

namespace vk::dib {

namespace {

enum Escape : uint8_t { kEndOfLine = 0, kEndOfPicture = 1, kJump = 2 };

void put_nibble(uint8_t* to, uint32_t x, uint32_t value) noexcept
{
    uint8_t& byte = to[x / 2];
    byte = static_cast<uint8_t>(x % 2 ? (byte & 0xF0u) | value : (byte & 0x0Fu) | value << 4);
}

} // namespace

RunDecoder::RunDecoder(const uint8_t* data, size_t bytes, int32_t bits, uint32_t width, uint32_t height,
                       uint32_t stride) noexcept
    : at_(data), end_(data + bytes), nibbles_(bits == 4), is_fast_(!nibbles_ && simd::level() != simd::Level::plain),
      width_(width), stride_(stride), limit_(nibbles_ ? 2 * stride : stride), rows_left_(height)
{}

/// Clears pixels; those of 4 bits are clear before a row begins.
void RunDecoder::clear(uint8_t* to, uint32_t from, uint32_t end) const noexcept
{
    if (!nibbles_ && from < end)
        std::memset(to + from, 0, end - from);
}

RunDecoder::Step RunDecoder::complete(uint8_t* to) const noexcept
{
    if (x_ < width_)
        return Step::corrupt;
    clear(to, width_, stride_);
    return Step::done;
}

bool RunDecoder::row(uint8_t* to) noexcept
{
    if (nibbles_)
        std::memset(to, 0, stride_);
    --rows_left_;
    x_ = 0;
    if (jump_rows_ != 0) {
        if (--jump_rows_ != 0) {
            clear(to, 0, stride_);
            return true;
        }
        x_ = jump_x_;
        clear(to, 0, x_);
    }
    Step step = Step::more;
    while (step == Step::more) {
        if (is_fast_)
            run_bytes(to);
        if (end_ - at_ < 2)
            return complete(to) == Step::done;
        const uint8_t count = at_[0];
        const uint8_t value = at_[1];
        at_ += 2;
        if (count == 0)
            step = escape(to, value);
        else if (!run(to, count, value))
            step = Step::corrupt;
    }
    return step == Step::done;
}

/// Takes runs and literals of bytes while neither the row nor the data can end within the next one, so that bytes may
/// be written and read too far: what stands behind the last pixel is overwritten or cleared later. Which of the two
/// comes next, and how long it is, no processor can foresee; so both are taken without asking, 64 bytes at first.
void RunDecoder::run_bytes(uint8_t* to) noexcept
{
    constexpr uint32_t kMost = 256;
    constexpr uint32_t kFirst = 64;
    const uint8_t* at = at_;
    uint32_t x = x_;
    while (x + kMost <= width_ && end_ - at >= static_cast<std::ptrdiff_t>(kMost) + 2) {
        const uint32_t run = at[0];
        const uint32_t second = at[1];
        if (run == 0 && second <= kJump)
            break;
        const uint32_t is_literal = (run - 1) >> 31; // 1 when the run is 0
        const uint32_t literal = second & (0u - is_literal);
        const uint32_t count = run + literal;
        using Bytes = simd::Quad<uint8_t>;
        const auto from_data = simd::all<Bytes>(static_cast<uint8_t>(0 - is_literal));
        const auto value = ~from_data & simd::all<Bytes>(static_cast<uint8_t>(second));
        const auto move = [&, to = to + x](uint32_t i) noexcept {
            simd::store(to + i, value | (from_data & simd::load<Bytes>(at + 2 + i)));
        };
        for (uint32_t i = 0; i < kFirst; i += Bytes::kBytes)
            move(i);
        for (uint32_t i = kFirst; i < count; i += Bytes::kBytes)
            move(i);
        at += 2 + literal + literal % 2;
        x += count;
    }
    at_ = at;
    x_ = x;
}

RunDecoder::Step RunDecoder::escape(uint8_t* to, uint8_t code) noexcept
{
    switch (code) {
    case kEndOfLine:
        return complete(to);
    case kEndOfPicture:
        at_ = end_;
        return complete(to);
    case kJump:
        return jump(to);
    default:
        return literal(to, code) ? Step::more : Step::corrupt;
    }
}

RunDecoder::Step RunDecoder::jump(uint8_t* to) noexcept
{
    if (end_ - at_ < 2)
        return Step::corrupt;
    const uint32_t right = at_[0];
    const uint32_t down = at_[1];
    at_ += 2;
    if (right > limit_ - x_ || down > rows_left_)
        return Step::corrupt;
    const uint32_t from = x_;
    x_ += right;
    if (down == 0) {
        clear(to, from, x_);
        return Step::more;
    }
    clear(to, from, stride_);
    jump_rows_ = down;
    jump_x_ = x_;
    return Step::done;
}

bool RunDecoder::run(uint8_t* to, uint32_t count, uint8_t value) noexcept
{
    if (count > limit_ - x_)
        return false;
    const uint32_t shown = std::min(count, width_ - std::min(x_, width_));
    if (!nibbles_)
        std::memset(to + x_, value, shown);
    else
        for (uint32_t i = 0; i < shown; ++i)
            put_nibble(to, x_ + i, i % 2 ? value & 0x0Fu : value >> 4u);
    x_ += count;
    return true;
}

bool RunDecoder::literal(uint8_t* to, uint32_t count) noexcept
{
    const uint32_t bytes = nibbles_ ? (count + 1) / 2 : count;
    const auto left = static_cast<size_t>(end_ - at_);
    if (count > limit_ - x_ || bytes > left)
        return false;
    const uint32_t shown = std::min(count, width_ - std::min(x_, width_));
    if (!nibbles_)
        std::memcpy(to + x_, at_, shown);
    else
        for (uint32_t i = 0; i < shown; ++i)
            put_nibble(to, x_ + i, i % 2 ? at_[i / 2] & 0x0Fu : at_[i / 2] >> 4u);
    x_ += count;
    at_ += std::min<size_t>(bytes + bytes % 2, left); // literals are padded to even bytes
    return true;
}

} // namespace vk::dib
