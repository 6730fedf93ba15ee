// The stepping rule of nearest resizing: of `to` destination positions on `from` source positions, position i takes
// source position floor(i * from / to). Everything that replicates or drops pixels or rows goes by this header.
#pragma once

#include <cstdint>

namespace vk::resize {

constexpr int64_t stepped(int64_t position, int32_t from, int32_t to) noexcept
{
    return position * from / to;
}

/// The first destination position that takes a source position from `source` on.
constexpr int64_t first_taking(int64_t source, int32_t from, int32_t to) noexcept
{
    return (source * to + from - 1) / from;
}

/// Walks destination positions from `start` on without dividing.
class Walk {
public:
    Walk(int32_t from, int32_t to, int64_t start = 0) noexcept
        : source_(stepped(start, from, to)), accumulator_(start * from % to), quotient_(from / to),
          remainder_(from % to), count_(to)
    {}

    int64_t source() const noexcept { return source_; }
    void next() noexcept
    {
        accumulator_ += remainder_;
        const bool carries = accumulator_ >= count_;
        accumulator_ -= carries ? count_ : 0;
        source_ += quotient_ + (carries ? 1 : 0);
    }

private:
    int64_t source_;
    int64_t accumulator_;
    int64_t quotient_;
    int64_t remainder_;
    int64_t count_;
};

} // namespace vk::resize
