// Temporary files: their options, and the files that storage lives in.
#pragma once

#include <cstdint>

namespace vk {

/// True when no physical temporary file may be made.
bool temp_files_forbidden() noexcept;

/// Sets the mode of the options; 3 forbids temporary files. Returns the mode before.
uint32_t set_temp_file_mode(uint32_t mode) noexcept;

/// Makes a temporary file for pixels: new, for reading and writing, gone when its handle closes. -1 on failure, and no
/// file is left.
int64_t create_storage_file() noexcept;

} // namespace vk
