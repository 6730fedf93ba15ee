// Private header of the Windows back end: what its files share.
//
// The one place that includes the system's header here, so that its set-up is the same everywhere.
#pragma once

#include "platform/platform.h"

#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

namespace vk::backend::win32 {

/// The status of a system error; the only place that translates one.
Status to_status(DWORD error) noexcept;
/// The status of the call that just failed.
Status last_status() noexcept;

} // namespace vk::backend::win32
