// The library's clean-up registry: functions that run when the library is unloaded.
//
// They run once each, the latest registered first, when the library's own threads have ended; see
// platform/posix/Pool.cpp and platform/win32/Threads.cpp for when that is. An entry is the registering file's own
// static object, so that registering needs no memory and cannot fail. An entry that runs may register others.
#pragma once

namespace vk {

struct Cleanup {
    void (*run)() noexcept;
    Cleanup* next = nullptr; ///< the registry's
    bool registered = false; ///< the registry's
};

/// Registers an entry that lives as long as the library; from any thread. An entry that waits already is left alone.
void register_cleanup(Cleanup& entry) noexcept;

/// Runs what is registered and empties the registry.
void run_cleanups() noexcept;

} // namespace vk
