// Records in the buffer of a band. Counts are kept with every change, so that nothing has to walk the rows: what the
// records of rows need (live), what the buffer holds (used), and the bytes of the rows themselves.
// A row may shrink within its record; what it leaves unused is garbage like a record that nobody points to.
#include "kernel/storage/RunBand.h"

#include "kernel/runs/RunLength.h"
#include "platform/platform.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

namespace vk {

namespace {

constexpr size_t kUnit = 4;
constexpr size_t kLeastBuffer = 1024;

size_t bytes_of_row(const uint8_t* row) noexcept
{
    return runlength::row_bytes(runlength::word_count(row));
}

} // namespace

RunBand* RunBand::create(uint32_t rows) noexcept
{
    static_assert(sizeof(RunBand) % alignof(size_t) == 0);
    void* const memory = platform::heap_alloc(sizeof(RunBand) + rows * sizeof(size_t));
    if (!memory)
        return nullptr;
    RunBand* const band = new (memory) RunBand(rows);
    std::fill_n(band->entries(), rows, kNoRecord);
    return band;
}

void RunBand::destroy(RunBand* band) noexcept
{
    platform::heap_free(band->buffer_);
    platform::heap_free(band);
}

RunBand::Header RunBand::header_at(size_t offset) const noexcept
{
    Header header;
    std::memcpy(&header, buffer_ + offset, sizeof header);
    return header;
}

const uint8_t* RunBand::row(uint32_t index) const noexcept
{
    const size_t offset = entries()[index];
    return offset == kNoRecord ? nullptr : buffer_ + offset + sizeof(Header);
}

size_t RunBand::own_room(uint32_t index) const noexcept
{
    const size_t offset = entries()[index];
    return offset == kNoRecord ? 0 : kUnit * size_t{header_at(offset).room};
}

size_t RunBand::end_room() const noexcept
{
    const size_t left = capacity_ - used_;
    return left <= sizeof(Header) ? 0 : (left - sizeof(Header)) / kUnit * kUnit;
}

void RunBand::count_in(uint32_t index) noexcept
{
    const size_t bytes = bytes_of_row(row(index));
    live_ += static_cast<size_t>(record_bytes(bytes));
    stored_bytes_ += bytes;
    ++stored_rows_;
}

void RunBand::count_out(uint32_t index) noexcept
{
    const uint8_t* const old = row(index);
    if (!old)
        return;
    const size_t bytes = bytes_of_row(old);
    live_ -= static_cast<size_t>(record_bytes(bytes));
    stored_bytes_ -= bytes;
    --stored_rows_;
}

uint8_t* RunBand::begin_own(uint32_t index) noexcept
{
    count_out(index);
    return buffer_ + entries()[index] + sizeof(Header);
}

void RunBand::commit_own(uint32_t index) noexcept
{
    count_in(index);
}

uint8_t* RunBand::end_place() noexcept
{
    return buffer_ + used_ + sizeof(Header);
}

void RunBand::commit_end(uint32_t index) noexcept
{
    const uint8_t* const written = end_place();
    const size_t bytes = bytes_of_row(written);
    if (bytes <= own_room(index)) {
        std::memcpy(begin_own(index), written, bytes);
        commit_own(index);
        return;
    }
    count_out(index);
    const auto record = static_cast<size_t>(record_bytes(bytes));
    const Header header{index, static_cast<uint32_t>((record - sizeof(Header)) / kUnit)};
    std::memcpy(buffer_ + used_, &header, sizeof header);
    entries()[index] = used_;
    used_ += record;
    count_in(index);
}

void RunBand::make_clear(uint32_t index) noexcept
{
    count_out(index);
    entries()[index] = kNoRecord;
}

void RunBand::compact() noexcept
{
    if (live_ == used_)
        return;
    size_t to = 0;
    for (size_t from = 0; from < used_;) {
        const Header header = header_at(from);
        const size_t next = from + sizeof(Header) + kUnit * size_t{header.room};
        if (header.row < rows_ && entries()[header.row] == from) {
            const auto record = static_cast<size_t>(record_bytes(bytes_of_row(buffer_ + from + sizeof(Header))));
            const Header kept{header.row, static_cast<uint32_t>((record - sizeof(Header)) / kUnit)};
            std::memmove(buffer_ + to + sizeof kept, buffer_ + from + sizeof kept, record - sizeof kept);
            std::memcpy(buffer_ + to, &kept, sizeof kept);
            entries()[header.row] = to;
            to += record;
        }
        from = next;
    }
    used_ = to;
}

bool RunBand::resize_buffer(uint64_t bytes) noexcept
{
    if (bytes > SIZE_MAX / 2)
        return false;
    void* const buffer = buffer_ ? platform::heap_realloc(buffer_, static_cast<size_t>(bytes))
                                 : platform::heap_alloc(static_cast<size_t>(bytes));
    if (!buffer)
        return false;
    buffer_ = static_cast<uint8_t*>(buffer);
    capacity_ = static_cast<size_t>(bytes);
    return true;
}

bool RunBand::reserve(uint64_t bytes) noexcept
{
    if (fits(bytes))
        return true;
    if (used_ - live_ >= used_ / 3) { // worth the walk, however often rows are replaced
        compact();
        if (fits(bytes))
            return true;
    }
    if (bytes > SIZE_MAX / 4)
        return false;
    const uint64_t needed = uint64_t{used_} + bytes;
    if (resize_buffer(needed + std::max(used_ / 2, kLeastBuffer)) || resize_buffer(needed))
        return true;
    compact();
    return fits(bytes);
}

bool RunBand::trim() noexcept
{
    compact();
    if (used_ == capacity_)
        return true;
    if (used_ != 0)
        return resize_buffer(used_);
    platform::heap_free(buffer_);
    buffer_ = nullptr;
    capacity_ = 0;
    return true;
}

void RunBand::take_rows(RunBand& other) noexcept
{
    buffer_ = std::exchange(other.buffer_, nullptr);
    capacity_ = std::exchange(other.capacity_, 0);
    used_ = std::exchange(other.used_, 0);
    const uint32_t kept = std::min(rows_, other.rows_);
    for (uint32_t i = 0; i < kept; ++i) {
        entries()[i] = other.entries()[i];
        if (entries()[i] != kNoRecord)
            count_in(i);
    }
}

} // namespace vk
