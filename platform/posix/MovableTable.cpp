// The table of global blocks: slots in an array with a free list, and an open-addressing hash from address to slot.
//
// Both grow only in table_add, and the hash has always twice as many places as there are slots, so that nothing else
// can run out of memory. Nothing here throws; the lock is a plain mutex that needs no set-up.
#include "platform/posix/MovableTable.h"

#include "platform/posix/Posix.h"

#include <cstdlib>
#include <new>
#include <utility>

namespace vk::backend::posix {

namespace {

/// Set in every movable handle; no user-space address has it.
constexpr uintptr_t kHandleBit = uintptr_t{1} << 62;
/// Handles are spaced like addresses, and slots are counted from 1.
constexpr unsigned kSlotShift = 4;
constexpr unsigned kSlotBits = 28;
constexpr unsigned kGenerationShift = kSlotShift + kSlotBits;
constexpr uint32_t kMaxSlots = (uint32_t{1} << kSlotBits) - 1;
constexpr uint32_t kGenerations = uint32_t{1} << (62 - kGenerationShift);
constexpr uint32_t kFirstSlots = 64;
/// The end of the free list, and an empty place of the hash.
constexpr uint32_t kNone = UINT32_MAX;

constinit Mutex mutex;
Block* slots = nullptr;
uint32_t slot_count = 0;
uint32_t slots_in_use = 0;
uint32_t first_free = kNone;
uint32_t* places = nullptr; ///< 2 * slot_count, a power of two

uint32_t slot_of(const Block& block) noexcept
{
    return static_cast<uint32_t>(&block - slots);
}

uint32_t place_mask() noexcept
{
    return 2 * slot_count - 1;
}

/// The place an address would have in an empty hash.
uint32_t home_of(const void* data) noexcept
{
    const uint64_t mixed = (reinterpret_cast<uintptr_t>(data) >> 4) * 0x9E3779B97F4A7C15u;
    return static_cast<uint32_t>(mixed >> 32) & place_mask();
}

void hash_insert(uint32_t slot) noexcept
{
    if (slots[slot].data == nullptr)
        return;
    uint32_t place = home_of(slots[slot].data);
    while (places[place] != kNone)
        place = (place + 1) & place_mask();
    places[place] = slot;
}

/// Takes a block's address out, and moves later entries of its run into the gap that their search would stop at.
void hash_erase(uint32_t slot) noexcept
{
    if (slots[slot].data == nullptr)
        return;
    const uint32_t mask = place_mask();
    uint32_t gap = home_of(slots[slot].data);
    while (places[gap] != slot)
        gap = (gap + 1) & mask;
    for (uint32_t place = (gap + 1) & mask; places[place] != kNone; place = (place + 1) & mask) {
        const uint32_t home = home_of(slots[places[place]].data);
        if (((place - home) & mask) >= ((place - gap) & mask)) {
            places[gap] = places[place];
            gap = place;
        }
    }
    places[gap] = kNone;
}

/// Doubles the table; false, with the table as it was, when there is no memory.
bool grow() noexcept
{
    const uint32_t count = slot_count == 0 ? kFirstSlots : 2 * slot_count;
    if (count > kMaxSlots)
        return false;
    auto* new_places = static_cast<uint32_t*>(std::malloc(size_t{2} * count * sizeof(uint32_t)));
    auto* new_slots = static_cast<Block*>(std::malloc(count * sizeof(Block)));
    if (new_places == nullptr || new_slots == nullptr) {
        std::free(new_places);
        std::free(new_slots);
        return false;
    }
    for (uint32_t slot = 0; slot < count; ++slot) {
        Block* block = new (new_slots + slot) Block(slot < slot_count ? slots[slot] : Block{});
        if (slot >= slot_count)
            block->next_free = slot + 1 < count ? slot + 1 : first_free;
    }
    first_free = slot_count;
    std::free(slots);
    std::free(places);
    slots = new_slots;
    places = new_places;
    slot_count = count;
    for (uint32_t place = 0; place < 2 * count; ++place)
        places[place] = kNone;
    for (uint32_t slot = 0; slot < count; ++slot)
        hash_insert(slot);
    return true;
}

} // namespace

TableLock::TableLock() noexcept
{
    mutex.lock();
}

TableLock::~TableLock()
{
    mutex.unlock();
}

void* table_handle(const Block& block) noexcept
{
    if (!block.movable)
        return block.data;
    const uintptr_t generation = uintptr_t{block.generation} << kGenerationShift;
    return reinterpret_cast<void*>(kHandleBit | generation | (uintptr_t{slot_of(block)} + 1) << kSlotShift);
}

Block* table_find_data(const void* data) noexcept
{
    if (data == nullptr || slot_count == 0)
        return nullptr;
    for (uint32_t place = home_of(data); places[place] != kNone; place = (place + 1) & place_mask()) {
        if (slots[places[place]].data == data)
            return slots + places[place];
    }
    return nullptr;
}

Block* table_find(const void* handle) noexcept
{
    const auto value = reinterpret_cast<uintptr_t>(handle);
    if ((value & kHandleBit) == 0) {
        Block* block = table_find_data(handle);
        return block != nullptr && !block->movable ? block : nullptr;
    }
    const uint32_t number = static_cast<uint32_t>(value >> kSlotShift) & kMaxSlots;
    if (number == 0 || number > slot_count)
        return nullptr;
    Block* block = slots + (number - 1);
    return block->used && table_handle(*block) == handle ? block : nullptr;
}

void* table_add(bool movable, void* data, size_t bytes) noexcept
{
    if (first_free == kNone && !grow())
        return nullptr;
    const uint32_t slot = first_free;
    Block& block = slots[slot];
    first_free = block.next_free;
    block.data = data;
    block.bytes = bytes;
    block.capacity = bytes;
    block.locks = 0;
    block.used = true;
    ++slots_in_use;
    block.movable = movable;
    if (movable)
        block.generation = (block.generation + 1) % kGenerations;
    hash_insert(slot);
    return table_handle(block);
}

void table_remove(Block& block) noexcept
{
    const uint32_t slot = slot_of(block);
    hash_erase(slot);
    block.data = nullptr;
    block.used = false;
    --slots_in_use;
    block.next_free = first_free;
    first_free = slot;
}

void table_release() noexcept
{
    const TableLock lock;
    if (slots_in_use != 0)
        return;
    std::free(std::exchange(slots, nullptr));
    std::free(std::exchange(places, nullptr));
    slot_count = 0;
    first_free = kNone;
}

void table_set_data(Block& block, void* data, size_t bytes) noexcept
{
    const uint32_t slot = slot_of(block);
    hash_erase(slot);
    block.data = data;
    block.bytes = bytes;
    block.capacity = bytes;
    hash_insert(slot);
}

} // namespace vk::backend::posix
