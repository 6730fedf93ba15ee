// Tables of matches that callers make and install.
#pragma once

#include "Vktypes.h"

#include <cstdint>

namespace vk {

/// 32768 entries from the platform's heap; null without memory.
uint32_t* new_user_match_table(const RGBQUAD* entries, uint32_t count) noexcept;

/// Installs the calling thread's table; the one before is returned.
uint32_t* exchange_user_match_table(uint32_t* table) noexcept;

} // namespace vk
