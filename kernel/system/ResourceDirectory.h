// The directory that modules may be taken from besides the library's own.
#pragma once

#include <cstddef>

namespace vk {

/// Room for the directory, its final separator and zero included.
constexpr size_t kResourceRoom = 1024;

/// Sets an absolute path, null or an empty one for none; false for one that is not absolute or has no room.
bool set_resource_directory(const wchar_t* directory) noexcept;

/// Copies it, with its final separator; empty without one.
void copy_resource_directory(wchar_t (&directory)[kResourceRoom]) noexcept;

} // namespace vk
