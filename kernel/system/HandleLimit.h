// Whether the process is running out of handles, so that storage that takes many is not chosen.
#pragma once

namespace vk {

/// True at nine tenths of the handles the process may have, or when they cannot be counted.
bool near_handle_limit() noexcept;

} // namespace vk
