// The slots of the seven file operations, which each thread keeps among its settings. What they mean and how they are
// called is for kernel/redirect/Table.h.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vk::redirect {

/// The slots in the record's order; the first kFileSlots may be set per thread.
enum : size_t { kOpen, kRead, kWrite, kSeek, kClose, kFileSlots, kCopy = kFileSlots, kDelete, kSlots };

struct Slot {
    uintptr_t function = 0;
    void* user_data = nullptr;
};

struct Table {
    Slot slots[kSlots];
};

/// The slots as they would be without buffer redirections, each of which belongs to the thread that started it. With
/// the buffers in kernel/redirect/Buffer.cpp.
Table without_buffers(const Table& table) noexcept;

/// Whether a slot leads to a buffer redirection that is running.
bool has_buffers(const Table& table) noexcept;

} // namespace vk::redirect
