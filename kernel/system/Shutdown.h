// What callers want called when the library shuts down, and shutting down itself.
#pragma once

namespace vk {

using CleanupFunction = void (*)(void*);

/// A pair that is registered stays where it is. False without memory.
bool register_user_cleanup(CleanupFunction function, void* data) noexcept;
/// False when it is not registered.
bool unregister_user_cleanup(CleanupFunction function, void* data) noexcept;

/// False where it may not be, or another thread does it: nothing is done then.
bool shut_down() noexcept;

} // namespace vk
