// The stock of freed memory, which the platform keeps (platform/Stock.h).
#pragma once

namespace vk {

/// Gives all of it back to the system: for V_TrimMemory, and for whoever shuts the library down. It fills again with
/// what is freed afterwards, up to its bound, which stays.
void memory_stock_empty() noexcept;

} // namespace vk
