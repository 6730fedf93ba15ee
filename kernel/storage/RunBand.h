// A band of a run-length bitmap: up to 32768 rows in one growing buffer.
//
// The buffer is a sequence of records, each a header and a row in run-length form. A row's entry gives the offset of
// its record; rows of clear pixels have none. New records go to the end; a row that fits takes the place of its old
// record. A record whose row's entry points elsewhere is garbage, which compaction finds by walking the buffer: this
// needs no memory, so only growth can fail.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vk {

/// Rows of one band.
constexpr uint32_t kBandRows = 32768;

class RunBand {
public:
    /// Bytes that a row of `row_bytes` bytes takes in a buffer.
    static constexpr uint64_t record_bytes(uint64_t row_bytes) noexcept
    {
        return sizeof(Header) + (row_bytes + 3) / 4 * 4;
    }

    /// A band of clear rows; null without memory.
    static RunBand* create(uint32_t rows) noexcept;
    static void destroy(RunBand* band) noexcept;

    uint32_t rows() const noexcept { return rows_; }
    /// Bytes of the stored rows, headers of records not counted, and their number.
    uint64_t stored_bytes() const noexcept { return stored_bytes_; }
    uint32_t stored_rows() const noexcept { return stored_rows_; }

    /// The row in run-length form, or null for a clear one.
    const uint8_t* row(uint32_t index) const noexcept;

    /// Bytes that a new row may have to take the place of the old one.
    size_t own_room(uint32_t index) const noexcept;
    /// Bytes that a new row may have to be written behind the last record.
    size_t end_room() const noexcept;
    /// Makes room for `bytes` bytes of records behind the last one: by compaction, else by growth, which may give more
    /// than asked for. False without memory, nothing lost.
    bool reserve(uint64_t bytes) noexcept;

    /// Gives the old row up and returns its place for the new one, of at most own_room bytes, to be committed.
    uint8_t* begin_own(uint32_t index) noexcept;
    void commit_own(uint32_t index) noexcept;
    /// Where a row of at most end_room bytes may be written. Nothing is changed until it is committed, which puts it
    /// into the old one's place where it fits.
    uint8_t* end_place() noexcept;
    void commit_end(uint32_t index) noexcept;
    void make_clear(uint32_t index) noexcept;

    /// Gives unused memory back. False when the buffer could not be made smaller.
    bool trim() noexcept;

    /// Takes over the rows of another band that this one, empty so far, has room for. The other is left without any.
    void take_rows(RunBand& other) noexcept;

private:
    struct Header {
        uint32_t row;  ///< index within the band
        uint32_t room; ///< of the row, in units of 4 bytes
    };
    static constexpr size_t kNoRecord = SIZE_MAX;

    explicit RunBand(uint32_t rows) noexcept : rows_(rows) {}

    size_t* entries() noexcept { return reinterpret_cast<size_t*>(this + 1); }
    const size_t* entries() const noexcept { return reinterpret_cast<const size_t*>(this + 1); }
    Header header_at(size_t offset) const noexcept;
    void count_in(uint32_t index) noexcept;
    void count_out(uint32_t index) noexcept;
    bool fits(uint64_t bytes) const noexcept { return bytes <= capacity_ - used_; }
    void compact() noexcept;
    bool resize_buffer(uint64_t bytes) noexcept;

    uint8_t* buffer_ = nullptr;
    size_t capacity_ = 0;
    size_t used_ = 0; ///< bytes up to the end of the last record
    size_t live_ = 0; ///< of these, what the rows need
    uint64_t stored_bytes_ = 0;
    uint32_t stored_rows_ = 0;
    uint32_t rows_;
};

} // namespace vk
