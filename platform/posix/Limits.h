// How much of the machine's memory the process may use: the limits of its control groups, of both versions, and of its
// address space.
#pragma once

#include "platform/platform.h"

namespace vk::backend::posix {

/// Lowers figures to what the control groups allow, each of them and all above it. The system's files are looked for
/// below `root`, which is "" but in tests.
void apply_group_limits(const char* root, MemoryStatus& status) noexcept;

/// Lowers figures to what the address space has room for: `limit` bytes in all, of which `used` are taken.
void apply_space_limit(uint64_t limit, uint64_t used, MemoryStatus& status) noexcept;

} // namespace vk::backend::posix
