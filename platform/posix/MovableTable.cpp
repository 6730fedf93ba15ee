// The shards of the table of global blocks: slots in an array with a free list, and an open-addressing hash from
// address to slot.
//
// Both grow only in table_add, and the hash has always twice as many places as there are slots, so that nothing else
// can run out of memory. A block goes to the shard of its first address and stays there; each shard counts its blocks
// that have moved to addresses of others, since these have to be looked for everywhere. Nothing here throws; the locks
// are plain mutexes that need no set-up, and no thread holds two, or one while it asks for memory to hand out.
#include "platform/posix/MovableTable.h"

#include "platform/posix/Posix.h"

#include <atomic>
#include <cstdlib>
#include <mutex>
#include <new>
#include <utility>

namespace vk::backend::posix {

namespace {

/// Set in every movable handle; no user-space address has it.
constexpr uintptr_t kHandleBit = uintptr_t{1} << 62;
/// Handles are spaced like addresses; below the slot, counted from 1, stands its shard.
constexpr unsigned kShardShift = 4;
constexpr unsigned kShardBits = 4;
constexpr unsigned kSlotShift = kShardShift + kShardBits;
constexpr unsigned kSlotBits = 24;
constexpr unsigned kGenerationShift = kSlotShift + kSlotBits;
constexpr uint32_t kShards = uint32_t{1} << kShardBits;
constexpr uint32_t kMaxSlots = (uint32_t{1} << kSlotBits) - 1;
constexpr uint32_t kGenerations = uint32_t{1} << (62 - kGenerationShift);
constexpr uint32_t kFirstSlots = 16;
/// The end of the free list, and an empty place of the hash.
constexpr uint32_t kNone = UINT32_MAX;

uint64_t mix(const void* data) noexcept
{
    return (reinterpret_cast<uintptr_t>(data) >> 4) * 0x9E3779B97F4A7C15u;
}

} // namespace

struct alignas(64) Shard {
    Mutex mutex;
    Block* slots = nullptr;
    uint32_t slot_count = 0;
    uint32_t slots_in_use = 0;
    uint32_t first_free = kNone;
    uint32_t* places = nullptr;         ///< 2 * slot_count, a power of two
    std::atomic<uint32_t> strangers{0}; ///< blocks at addresses of other shards

    uint32_t slot_of(const Block& block) const noexcept { return static_cast<uint32_t>(&block - slots); }
    uint32_t mask() const noexcept { return 2 * slot_count - 1; }
    /// The place an address would have in an empty hash.
    uint32_t home_of(const void* data) const noexcept { return static_cast<uint32_t>(mix(data) >> 28) & mask(); }

    void* handle_of(const Block& block) const noexcept;
    Block* find(const void* data) const noexcept;
    void insert(uint32_t slot) noexcept;
    void erase(uint32_t slot) noexcept;
    bool grow() noexcept;

private:
    void link(uint32_t slot) noexcept;
};

namespace {

constinit Shard g_shards[kShards];

uint32_t shard_of(const void* data) noexcept
{
    return static_cast<uint32_t>(mix(data) >> (64 - kShardBits));
}

bool is_stranger(const Shard& shard, const void* data) noexcept
{
    return &shard != g_shards + shard_of(data);
}

} // namespace

void* Shard::handle_of(const Block& block) const noexcept
{
    if (!block.movable)
        return block.data;
    const uintptr_t generation = uintptr_t{block.generation} << kGenerationShift;
    const uintptr_t place = (uintptr_t{slot_of(block)} + 1) << kSlotShift;
    const auto shard = static_cast<uintptr_t>(this - g_shards) << kShardShift;
    return reinterpret_cast<void*>(kHandleBit | generation | place | shard);
}

Block* Shard::find(const void* data) const noexcept
{
    if (slot_count == 0)
        return nullptr;
    for (uint32_t place = home_of(data); places[place] != kNone; place = (place + 1) & mask()) {
        if (slots[places[place]].data == data)
            return slots + places[place];
    }
    return nullptr;
}

void Shard::link(uint32_t slot) noexcept
{
    if (slots[slot].data == nullptr)
        return;
    uint32_t place = home_of(slots[slot].data);
    while (places[place] != kNone)
        place = (place + 1) & mask();
    places[place] = slot;
}

void Shard::insert(uint32_t slot) noexcept
{
    link(slot);
    if (slots[slot].data != nullptr && is_stranger(*this, slots[slot].data))
        strangers.fetch_add(1, std::memory_order_relaxed);
}

/// Takes a block's address out, and moves later entries of its run into the gap that their search would stop at.
void Shard::erase(uint32_t slot) noexcept
{
    if (slots[slot].data == nullptr)
        return;
    if (is_stranger(*this, slots[slot].data))
        strangers.fetch_sub(1, std::memory_order_relaxed);
    uint32_t gap = home_of(slots[slot].data);
    while (places[gap] != slot)
        gap = (gap + 1) & mask();
    for (uint32_t place = (gap + 1) & mask(); places[place] != kNone; place = (place + 1) & mask()) {
        const uint32_t home = home_of(slots[places[place]].data);
        if (((place - home) & mask()) >= ((place - gap) & mask())) {
            places[gap] = places[place];
            gap = place;
        }
    }
    places[gap] = kNone;
}

/// Doubles the shard; false, with the shard as it was, when there is no memory.
bool Shard::grow() noexcept
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
        link(slot);
    return true;
}

Found::Found(Shard* shard, Block* block) noexcept
    : shard_(shard), block_(block), slot_(shard->slot_of(*block)), generation_(block->generation)
{}

Found::Found(Found&& other) noexcept
    : shard_(other.shard_), block_(std::exchange(other.block_, nullptr)), slot_(other.slot_),
      generation_(other.generation_)
{}

Found::~Found()
{
    let_go();
}

void Found::let_go() noexcept
{
    if (block_ != nullptr)
        shard_->mutex.unlock();
    block_ = nullptr;
}

void Found::find_again() noexcept
{
    shard_->mutex.lock();
    Block& block = shard_->slots[slot_];
    if (block.used && block.generation == generation_)
        block_ = &block;
    else
        shard_->mutex.unlock();
}

Found Found::by_data(const void* data) noexcept
{
    if (data == nullptr)
        return {};
    const uint32_t home = shard_of(data);
    for (uint32_t i = 0; i < kShards; ++i) {
        Shard& shard = g_shards[(home + i) % kShards];
        if (i != 0 && shard.strangers.load(std::memory_order_relaxed) == 0)
            continue;
        shard.mutex.lock();
        if (Block* const block = shard.find(data); block != nullptr)
            return {&shard, block};
        shard.mutex.unlock();
    }
    return {};
}

Found Found::by_handle(const void* handle) noexcept
{
    const auto value = reinterpret_cast<uintptr_t>(handle);
    if ((value & kHandleBit) == 0) {
        Found found = by_data(handle);
        return found && !found->movable ? std::move(found) : Found();
    }
    Shard& shard = g_shards[(value >> kShardShift) % kShards];
    const uint32_t number = static_cast<uint32_t>(value >> kSlotShift) & kMaxSlots;
    shard.mutex.lock();
    if (number != 0 && number <= shard.slot_count) {
        Block& block = shard.slots[number - 1];
        if (block.used && shard.handle_of(block) == handle)
            return {&shard, &block};
    }
    shard.mutex.unlock();
    return {};
}

void* Found::handle() const noexcept
{
    return shard_->handle_of(*block_);
}

void Found::set_data(void* data, size_t bytes, size_t capacity) noexcept
{
    shard_->erase(slot_);
    block_->data = data;
    block_->bytes = bytes;
    block_->capacity = capacity;
    shard_->insert(slot_);
}

void Found::remove() noexcept
{
    shard_->erase(slot_);
    block_->data = nullptr;
    block_->used = false;
    --shard_->slots_in_use;
    block_->next_free = shard_->first_free;
    shard_->first_free = slot_;
}

void* table_add(bool movable, void* data, size_t bytes) noexcept
{
    Shard& shard = g_shards[shard_of(data)];
    const std::lock_guard lock(shard.mutex);
    if (shard.first_free == kNone && !shard.grow())
        return nullptr;
    const uint32_t slot = shard.first_free;
    Block& block = shard.slots[slot];
    shard.first_free = block.next_free;
    block.data = data;
    block.bytes = bytes;
    block.capacity = bytes;
    block.locks = 0;
    block.used = true;
    ++shard.slots_in_use;
    block.movable = movable;
    block.generation = (block.generation + 1) % kGenerations;
    shard.insert(slot);
    return shard.handle_of(block);
}

void table_release() noexcept
{
    for (Shard& shard : g_shards) {
        const std::lock_guard lock(shard.mutex);
        if (shard.slots_in_use != 0)
            continue;
        std::free(std::exchange(shard.slots, nullptr));
        std::free(std::exchange(shard.places, nullptr));
        shard.slot_count = 0;
        shard.first_free = kNone;
    }
}

} // namespace vk::backend::posix
