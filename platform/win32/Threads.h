// Private to the Windows back end and to the tests of its two kinds of locks: which kind is in use, and the end of the
// library.
#pragma once

#include "platform/win32/Win32.h"

namespace vk::backend::win32 {

/// Takes the slim lock functions from a module; without them there, locks are critical sections. No lock may exist.
void look_up_slim_locks(const wchar_t* module) noexcept;
bool has_slim_locks() noexcept;

/// Runs the hook that set_unload_hook was given.
void on_unload() noexcept;

} // namespace vk::backend::win32
