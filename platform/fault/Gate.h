// Private header of the fault layer: what stands before every call, and what its files add to the count of live
// objects.
#pragma once

#include "platform/fault/fault.h"

namespace vk::fault {

/// Counts a call; true when it has to fail.
bool must_fail(Call call) noexcept;

/// The status with which a call fails that has to.
Status failure_of(Call call) noexcept;

/// Adds the events and locks of Threads.cpp.
void count_thread_objects(Live& live) noexcept;

/// The modules of System.cpp that are open.
int64_t count_modules() noexcept;

} // namespace vk::fault
