// Bytes that follow one another, written past the caches in whole lines whatever pieces they come in: what a piece
// leaves of a line waits for the next one. Lines of which others own a part are written the usual way.
#pragma once

#include "kernel/combine/Bits.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace vk::combine {

/// flush comes behind the last piece, and stream_fence behind that.
class LineWriter {
public:
    LineWriter() noexcept = default;
    LineWriter(const LineWriter&) = delete;
    LineWriter& operator=(const LineWriter&) = delete;

    /// The next piece goes there.
    void seek(uint8_t* to) noexcept
    {
        if (to == to_)
            return;
        flush();
        to_ = to;
        begun_ = at();
    }

    void write(const uint8_t* from, size_t bytes) noexcept
    {
        if (at() != 0) {
            const size_t some = std::min(kLine - at(), bytes);
            hold(from, some);
            from += some;
            bytes -= some;
        }
        const size_t whole = bytes / kLine * kLine;
        stream_lines(to_, from, whole);
        to_ += whole;
        hold(from + whole, bytes - whole);
    }

    /// Writes what waits.
    void flush() noexcept
    {
        if (at() > begun_)
            std::memcpy(to_ - at() + begun_, line_ + begun_, at() - begun_);
        begun_ = at();
    }

private:
    static constexpr size_t kLine = 64;

    /// Where in its line the next byte goes.
    size_t at() const noexcept { return reinterpret_cast<uintptr_t>(to_) % kLine; }

    /// Takes what does not go beyond the line.
    void hold(const uint8_t* from, size_t bytes) noexcept
    {
        if (bytes == 0)
            return;
        std::memcpy(line_ + at(), from, bytes);
        to_ += bytes;
        if (at() != 0)
            return;
        if (begun_ == 0)
            stream_lines(to_ - kLine, line_, kLine);
        else
            std::memcpy(to_ - kLine + begun_, line_ + begun_, kLine - begun_);
        begun_ = 0;
    }

    alignas(kLine) uint8_t line_[kLine] = {};
    uint8_t* to_ = nullptr; ///< where the next byte goes
    size_t begun_ = 0;      ///< bytes at the start of the line that are not held
};

} // namespace vk::combine
