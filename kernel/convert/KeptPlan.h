// The calling thread's last plan, kept for the next conversion like it: codecs convert a picture row by row, and
// deciding costs as much as many pixels do. Everything that a plan depends on is compared, palettes by their entries.
#pragma once

#include "kernel/convert/Plan.h"

#include <cstdint>

namespace vk::pixel {

/// A plan for the job, good until the thread's next call; null when the job is not a valid one.
Plan* kept_plan(const ConvertJob& job) noexcept;

/// The thread's plans that were decided on, for tests.
uint64_t plans_made() noexcept;

} // namespace vk::pixel
