// Redirection of a thread's files into one memory buffer.
//
// The object takes the place of the thread's operations and keeps what was there, so redirections nest: the thread's
// slots lead to the innermost object, its saved slots to the next. A buffer is one file; temporary files, of which
// there may be many, go past it.
#pragma once

#include "kernel/redirect/Table.h"

namespace vk::redirect {

/// The slot that the thread would have without the buffer redirections in front; its function is 0 where the
/// library's operation applies.
Slot behind_buffers(Slot slot, size_t index) noexcept;

} // namespace vk::redirect
