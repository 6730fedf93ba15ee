// The options of temporary files, which hold for the whole process.
#pragma once

#include "Vktemp.h"

#include <cstdint>

namespace vk {

TEMPFILEOPTIONS temp_file_options() noexcept;

/// True when no physical temporary file may be made.
bool temp_files_forbidden() noexcept;

/// Sets the mode of the options; 3 forbids temporary files. Returns the mode before.
uint32_t set_temp_file_mode(uint32_t mode) noexcept;

} // namespace vk
