// Whole transfers at a position of a file of the system. For storage that lives in files.
//
// They leave the file's own position out: a copy of the process shares it, and would move it in between.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vk::osys {

/// Reads or writes all bytes at a position. `bytes` or ERROR_FILE_SEEK (no such position), ERROR_FILE_READ,
/// ERROR_FILE_WRITE.
intptr_t read_at(int64_t file, uint64_t position, void* buffer, size_t bytes) noexcept;
intptr_t write_at(int64_t file, uint64_t position, const void* buffer, size_t bytes) noexcept;

/// Cuts or extends the file; what is added reads as zeros. False on failure.
bool set_size(int64_t file, uint64_t size) noexcept;

} // namespace vk::osys
