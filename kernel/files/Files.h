// Whole transfers at a position of a file, built on the file layer. For storage that lives in files.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vk::osys {

/// Moves the position. ERROR_FILE_SEEK when it cannot be reached.
int seek(int64_t file, uint64_t position) noexcept;

/// Reads or writes all bytes at a position. `bytes` or ERROR_FILE_SEEK, ERROR_FILE_READ, ERROR_FILE_WRITE.
intptr_t read_at(int64_t file, uint64_t position, void* buffer, size_t bytes) noexcept;
intptr_t write_at(int64_t file, uint64_t position, const void* buffer, size_t bytes) noexcept;

} // namespace vk::osys
