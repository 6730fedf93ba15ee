// Names of temporary files. StorageFile.h opens those that storage lives in.
#pragma once

#include "kernel/redirect/Table.h"

#include <cstdint>

namespace vk {

/// The prefix of names that are asked for without one.
constexpr wchar_t kDefaultPrefix[] = L"V_";

/// True when the system opens a table's files, whoever else has a hand in them.
bool opens_in_system(const redirect::Table& table) noexcept;

/// Names a new temporary file; `name` has room for kMaxTempName. Where the system will open it, it makes an empty file
/// of that name now, so that nobody else's can be opened; otherwise the file comes about when it is opened. SUCCESS,
/// ERROR_INVALID_FILENAME as check_temp_directory, or ERROR_NO_MEMORY.
int make_temp_name(const redirect::Table& table, const wchar_t* prefix, wchar_t* name) noexcept;

/// V_GetTempFileNameA for a name that is not null; `prefix` may be.
int temp_name_utf8(char* name, const char* prefix) noexcept;

/// The directory of temporary files. SUCCESS, ERROR_BUFFER_TOO_SMALL, ERROR_INVALID_FILENAME when its name is no text,
/// or ERROR_NO_MEMORY when there is none to be had.
int temp_directory(wchar_t* directory, uint32_t length) noexcept;

/// Whether files in the directory can be named at all. SUCCESS; ERROR_INVALID_FILENAME: its name is too long or no
/// text; ERROR_NO_MEMORY.
int check_temp_directory() noexcept;
/// The same, and the directory, which has room for kMaxTempName.
int usable_temp_directory(wchar_t* directory) noexcept;

} // namespace vk
