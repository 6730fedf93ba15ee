// A fuzzer's input as a source of choices: each takes the next bytes, and behind the end everything is 0.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace vk::fuzz {

class ByteSource {
public:
    ByteSource(const uint8_t* data, size_t size) noexcept : data_(data), left_(size) {}

    bool is_empty() const noexcept { return left_ == 0; }
    size_t left() const noexcept { return left_; }
    const uint8_t* data() const noexcept { return data_; }

    template <class Number> Number take() noexcept
    {
        Number number{};
        const size_t count = std::min(sizeof number, left_);
        if (count != 0)
            std::memcpy(&number, data_, count);
        data_ += count;
        left_ -= count;
        return number;
    }
    uint8_t byte() noexcept { return take<uint8_t>(); }
    /// From 0 to count - 1, for small counts.
    int32_t below(int32_t count) noexcept { return count <= 256 ? byte() % count : take<uint16_t>() % count; }
    /// Both included.
    int32_t between(int32_t low, int32_t high) noexcept { return low + below(high - low + 1); }
    /// Not at the input's end, so that an input of few bytes does plain things.
    bool one_in(int32_t count) noexcept { return below(count) == count - 1; }
    template <class Value, size_t count> const Value& one_of(const Value (&values)[count]) noexcept
    {
        return values[static_cast<size_t>(below(static_cast<int32_t>(count)))];
    }
    /// Mostly small, some of them as they never are.
    double number() noexcept
    {
        switch (below(8)) {
        case 0:
            return take<double>();
        case 1:
            return take<int32_t>();
        case 2:
            return take<int16_t>() / 256.0;
        default:
            return take<int8_t>() / 4.0;
        }
    }

private:
    const uint8_t* data_;
    size_t left_;
};

} // namespace vk::fuzz
