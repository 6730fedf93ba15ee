// What the threading tools share: the look-up of the system's locks and of the number of processors.
#pragma once

#include <cstdint>

namespace vk {

/// Looks the system's kind of locks up, the first time. Comes before every lock.
void prepare_locks() noexcept;

/// The number of processors as the system tells it now, at least 1.
uint32_t count_processors() noexcept;

} // namespace vk
