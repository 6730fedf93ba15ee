// Memory between pages that may not be touched: a read or write one byte before or behind it ends the test program.
// Protection goes by pages, so a buffer touches the forbidden page at one end only; a caller checks both by turns.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vk::testing {

class GuardedBuffer {
public:
    /// Which end lies directly at a forbidden page.
    enum class Edge { front, back };

    GuardedBuffer(size_t bytes, Edge edge);
    ~GuardedBuffer();
    GuardedBuffer(const GuardedBuffer&) = delete;
    GuardedBuffer& operator=(const GuardedBuffer&) = delete;

    uint8_t* data() noexcept { return data_; }
    size_t size() const noexcept { return bytes_; }

    /// Moves the edge and the size, within the memory asked for at first.
    void place(size_t bytes, Edge edge) noexcept;

private:
    uint8_t* block_ = nullptr; ///< forbidden page, memory, forbidden page
    size_t inner_ = 0;         ///< bytes of memory, whole pages
    uint8_t* data_ = nullptr;
    size_t bytes_ = 0;
};

} // namespace vk::testing
