// The file that pixel storage lives in: a temporary file, opened with the operations that the opening thread has for
// those, and served by them until it is closed.
//
// With the library's own operations the file is the system's and can be mapped. The value is trivially copyable; the
// one who opened it closes it once.
#pragma once

#include "platform/platform.h"

#include <cstddef>
#include <cstdint>

namespace vk {

namespace redirect {
struct File;
}

struct StorageFile {
    int64_t handle = kNoFile;             ///< what the open operation returned
    redirect::File* redirected = nullptr; ///< null for a file of the system

    bool is_open() const noexcept { return handle != kNoFile; }
};

namespace storage_file {

/// Makes a new file for reading and writing, gone when it is closed. SUCCESS; ERROR_INVALID_FILENAME: the directory for
/// such files cannot be used; ERROR_NO_MEMORY. On failure no file is left.
int open(StorageFile& file) noexcept;
/// Closes the file if it is open. A close that fails gives up all the same.
void close(StorageFile& file) noexcept;

/// Whole transfers at a position. `bytes` or ERROR_FILE_SEEK, ERROR_FILE_READ, ERROR_FILE_WRITE.
intptr_t read_at(const StorageFile& file, uint64_t position, void* buffer, size_t bytes) noexcept;
intptr_t write_at(const StorageFile& file, uint64_t position, const void* buffer, size_t bytes) noexcept;

/// Cuts or extends the file; what is added reads as zeros.
bool set_size(const StorageFile& file, uint64_t size) noexcept;
/// Makes the file no longer than `size`.
bool cut(const StorageFile& file, uint64_t size) noexcept;

} // namespace storage_file

} // namespace vk
