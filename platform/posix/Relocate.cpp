// Moves an unlocked block to a new address, for test builds: whoever kept the old one reads poison or trips a
// sanitizer.
//
// Linked with the fault layer only. A block that cannot be moved for lack of memory stays where it is.
#include "platform/posix/MovableTable.h"

#include <cstring>

namespace vk::backend {

void movable_relocate(void* handle) noexcept
{
    posix::TableLock lock;
    posix::Block* block = posix::table_find(handle);
    if (block == nullptr || !block->movable || block->locks != 0 || block->data == nullptr)
        return;
    void* data = posix::data_alloc(block->bytes, false);
    if (data == nullptr)
        return;
    std::memcpy(data, block->data, block->bytes);
    void* old = block->data;
    const size_t old_capacity = block->capacity;
    posix::table_set_data(*block, data, block->bytes);
    std::memset(old, 0xDD, old_capacity);
    posix::data_free(old, old_capacity);
}

} // namespace vk::backend
