// Moves an unlocked block to a new address, for test builds: whoever kept the old one reads poison or trips a
// sanitizer.
//
// Linked with the fault layer only. A block that cannot be moved for lack of memory stays where it is.
#include "platform/posix/MovableTable.h"

#include <cstring>

namespace vk::backend {

void movable_relocate(void* handle) noexcept
{
    posix::Found block = posix::Found::by_handle(handle);
    const auto stays = [&block]() noexcept {
        return !block || !block->movable || block->locks != 0 || block->data == nullptr;
    };
    if (stays())
        return;
    const size_t bytes = block->bytes;
    block.let_go();
    void* data = posix::data_alloc(bytes, false);
    if (data == nullptr)
        return;
    block.find_again();
    size_t capacity = bytes;
    if (!stays() && block->bytes == bytes) {
        std::memcpy(data, block->data, bytes);
        void* const old = block->data;
        capacity = block->capacity;
        block.set_data(data, bytes, bytes);
        std::memset(old, 0xDD, capacity);
        data = old;
    }
    block.let_go();
    posix::data_free(data, capacity);
}

} // namespace vk::backend
