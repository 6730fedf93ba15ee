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

/// The slot itself, empty where it leads to a redirection that has ended (on another thread).
Slot without_ended(const Slot& slot, size_t index) noexcept;

/// Redirects the calling thread's files into a block, or into one to be made. `file`, unless null, gets a redirected
/// file on it. SUCCESS or ERROR_NO_MEMORY.
int start_buffer(void** out, V_REDIRECTHANDLE* file, uint32_t options, void* data, uint64_t bytes) noexcept;

/// Ends a redirection and hands the block over. ERROR_INVALID_PARAMETER for what is none.
int stop_buffer(void* object, void** data, size_t* size) noexcept;

} // namespace vk::redirect
