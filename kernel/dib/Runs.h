// The run-length schemes of DIBs, row by row. Data is not trusted: no byte outside of it is read and none outside a row
// written, whatever it says.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vk::dib {

class RunDecoder {
public:
    /// `bits` is 8 or 4; `stride` are the bytes of a row.
    RunDecoder(const uint8_t* data, size_t bytes, int32_t bits, uint32_t width, uint32_t height,
               uint32_t stride) noexcept;

    /// Decodes the next row into `stride` bytes, padding clear. False when the data is corrupt: it ends before the row
    /// is complete, puts pixels past the stride, or jumps out of the picture. Pixels that a jump passes over count as
    /// there, and are clear.
    bool row(uint8_t* to) noexcept;

private:
    enum class Step { more, done, corrupt };

    Step escape(uint8_t* to, uint8_t code) noexcept;
    Step jump(uint8_t* to) noexcept;
    void run_bytes(uint8_t* to) noexcept;
    void clear(uint8_t* to, uint32_t from, uint32_t end) const noexcept;
    bool run(uint8_t* to, uint32_t count, uint8_t value) noexcept;
    bool literal(uint8_t* to, uint32_t count) noexcept;
    /// Ends the row, if all of it is there.
    Step complete(uint8_t* to) const noexcept;

    const uint8_t* at_;
    const uint8_t* end_;
    bool nibbles_;
    bool is_fast_; ///< runs and literals of bytes are taken in vectors
    uint32_t width_;
    uint32_t stride_;
    uint32_t limit_;     ///< pixels that the stride holds
    uint32_t rows_left_; ///< behind the present one
    uint32_t x_ = 0;
    uint32_t jump_rows_ = 0; ///< rows down to where the last jump ended
    uint32_t jump_x_ = 0;    ///< and the pixel there
};

} // namespace vk::dib
