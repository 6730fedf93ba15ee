// Temporary files: their options and names. StorageFile.h opens those that storage lives in.
#pragma once

#include "kernel/redirect/Table.h"

#include <cstdint>

namespace vk {

/// True when no physical temporary file may be made.
bool temp_files_forbidden() noexcept;

/// Sets the mode of the options; 3 forbids temporary files. Returns the mode before.
uint32_t set_temp_file_mode(uint32_t mode) noexcept;

/// True when the system opens a table's files, whoever else has a hand in them.
bool opens_in_system(const redirect::Table& table) noexcept;

/// Names a new temporary file; `name` has room for kMaxTempName. Where the system will open it, it makes an empty file
/// of that name now, so that nobody else's can be opened; otherwise the file comes about when it is opened. SUCCESS or
/// ERROR_NO_MEMORY.
int make_temp_name(const redirect::Table& table, const wchar_t* prefix, wchar_t* name) noexcept;

} // namespace vk
