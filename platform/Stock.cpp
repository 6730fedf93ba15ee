// Lists of freed blocks by capacity, the latest first, so that a list's stamps only get older along it.
//
// What is known of a block stands beside it, not in it: who writes to a bitmap that is freed does not harm the lists.
// Under the address sanitizer a block in stock is poisoned. Blocks go back to the system with no lock held.
#include "platform/Stock.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <cstdlib>
#include <cstring>
#include <new>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/asan_interface.h>
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#include <sanitizer/asan_interface.h>
#endif
#endif
#if !defined(ASAN_POISON_MEMORY_REGION)
#define ASAN_POISON_MEMORY_REGION(address, size) static_cast<void>(0)
#define ASAN_UNPOISON_MEMORY_REGION(address, size) static_cast<void>(0)
#endif

namespace vk::backend {

namespace {

constexpr size_t kPage = 4096;
/// Capacities to a doubling of size, from kSteps pages on; below, each number of pages is one.
constexpr size_t kSteps = 16;
constexpr size_t kClasses = 32 * kSteps;
constexpr int32_t kIdleTime = 1000; ///< milliseconds that a block stays
constexpr int32_t kAnyAge = INT32_MIN;
constexpr uint32_t kSweepEvery = 250; ///< milliseconds between looks for blocks that have stayed too long
constexpr uint64_t kMostByDefault = uint64_t{256} << 20;
/// A part of the memory that must be available for anything to be kept.
constexpr uint64_t kShortPart = 16;

struct Node {
    Section section;
    Node* next;
    uint32_t since;
};

struct List {
    PlainMutex mutex;
    std::atomic<Node*> newest{nullptr}; ///< written under the mutex
};

constinit List g_lists[kClasses];
constinit std::atomic<uint64_t> g_held{0};
constinit std::atomic<uint64_t> g_limit{kDefaultStock};
constinit std::atomic<uint32_t> g_swept{0}; ///< when

void enter_fork(ForkGuard&) noexcept
{
    for (List& list : g_lists)
        mutex_acquire(list.mutex);
}

void leave_fork(ForkGuard&, bool) noexcept
{
    for (List& list : g_lists)
        mutex_release(list.mutex);
}

constinit ForkGuard g_guard{&enter_fork, &leave_fork};

class ListLock {
public:
    explicit ListLock(List& list) noexcept : list_(list)
    {
        if (!g_guard.known.load(std::memory_order_acquire))
            guard_forks(g_guard);
        mutex_acquire(list.mutex);
    }
    ~ListLock() { mutex_release(list_.mutex); }
    ListLock(const ListLock&) = delete;
    ListLock& operator=(const ListLock&) = delete;

private:
    List& list_;
};

/// The distance of capacities around a size.
size_t step_of(size_t bytes) noexcept
{
    return std::max(kPage, std::bit_floor(bytes) / kSteps);
}

/// The list of a capacity; null for one that is never in stock.
List* list_of(size_t capacity) noexcept
{
    const size_t step = step_of(capacity);
    const auto doublings = static_cast<size_t>(std::countr_zero(step / kPage));
    const size_t index = doublings * kSteps + capacity / step - 1;
    return index < kClasses ? g_lists + index : nullptr;
}

size_t free_nodes(Node* node) noexcept
{
    size_t freed = 0;
    while (node != nullptr) {
        Node* const next = node->next;
        const size_t capacity = stock::capacity_of(node->section.bytes);
        ASAN_UNPOISON_MEMORY_REGION(node->section.view, capacity);
        stock::unmap(node->section, capacity);
        std::free(node);
        freed += capacity;
        node = next;
    }
    g_held.fetch_sub(freed, std::memory_order_relaxed);
    return freed;
}

/// Cuts off what has been in a list for `age` milliseconds. Another thread's stamp may be a little ahead of `now`.
Node* cut(List& list, uint32_t now, int32_t age) noexcept
{
    if (list.newest.load(std::memory_order_relaxed) == nullptr)
        return nullptr;
    const ListLock lock(list);
    Node* before = nullptr;
    Node* node = list.newest.load(std::memory_order_relaxed);
    while (node != nullptr && static_cast<int32_t>(now - node->since) < age) {
        before = node;
        node = node->next;
    }
    if (before != nullptr)
        before->next = nullptr;
    else
        list.newest.store(nullptr, std::memory_order_relaxed);
    return node;
}

size_t free_older(int32_t age) noexcept
{
    if (g_held.load(std::memory_order_relaxed) == 0)
        return 0;
    const uint32_t now = stock::milliseconds();
    size_t freed = 0;
    for (List& list : g_lists)
        freed += free_nodes(cut(list, now, age));
    return freed;
}

/// Gives back what nobody has wanted, now and then.
void sweep(uint32_t now) noexcept
{
    uint32_t last = g_swept.load(std::memory_order_relaxed);
    if (now - last >= kSweepEvery && g_swept.compare_exchange_strong(last, now, std::memory_order_relaxed))
        free_older(kIdleTime);
}

/// Whether there is so little memory that none should be kept.
bool is_short() noexcept
{
    MemoryStatus memory;
    if (memory_status(&memory) != Status::ok)
        return false;
    const uint64_t held = g_held.load(std::memory_order_relaxed);
    return memory.available_physical < memory.total_physical / kShortPart + held;
}

/// Counts a block as in stock if there is room for it.
bool reserve(size_t capacity) noexcept
{
    const uint64_t limit = stock_limit();
    uint64_t held = g_held.load(std::memory_order_relaxed);
    do {
        if (capacity > limit || held > limit - capacity)
            return false;
    } while (!g_held.compare_exchange_weak(held, held + capacity, std::memory_order_relaxed));
    return true;
}

bool put(List& list, const Section& section, size_t capacity, uint32_t now) noexcept
{
    if (!reserve(capacity))
        return false;
    void* const block = std::malloc(sizeof(Node));
    if (block == nullptr) {
        g_held.fetch_sub(capacity, std::memory_order_relaxed);
        return false;
    }
    auto* const node = new (block) Node{section, nullptr, now};
    ASAN_POISON_MEMORY_REGION(section.view, capacity);
    const ListLock lock(list);
    node->next = list.newest.load(std::memory_order_relaxed);
    list.newest.store(node, std::memory_order_relaxed);
    return true;
}

bool take(List& list, size_t capacity, Section& section) noexcept
{
    if (list.newest.load(std::memory_order_relaxed) == nullptr)
        return false;
    Node* node = nullptr;
    {
        const ListLock lock(list);
        node = list.newest.load(std::memory_order_relaxed);
        if (node == nullptr)
            return false;
        list.newest.store(node->next, std::memory_order_relaxed);
    }
    section = node->section;
    std::free(node);
    g_held.fetch_sub(capacity, std::memory_order_relaxed);
    ASAN_UNPOISON_MEMORY_REGION(section.view, capacity);
    return true;
}

Status map_or_empty(size_t capacity, Section* section) noexcept
{
    const Status status = stock::map(capacity, section);
    return status != Status::ok && stock_empty() ? stock::map(capacity, section) : status;
}

} // namespace

size_t stock::capacity_of(size_t bytes) noexcept
{
    if (bytes > PTRDIFF_MAX - PTRDIFF_MAX / 8)
        return 0;
    bytes = std::max<size_t>(bytes, 1);
    const size_t step = step_of(bytes);
    return (bytes + step - 1) / step * step;
}

Status stock::create(size_t bytes, Contents contents, Section* section) noexcept
{
    const size_t capacity = capacity_of(bytes);
    if (capacity == 0)
        return Status::no_memory;
    Section made;
    List* const list = contents == Contents::zeroed && is_cleared_well(capacity) ? nullptr : list_of(capacity);
    if (list != nullptr && take(*list, capacity, made)) {
        if (contents == Contents::zeroed)
            std::memset(made.view, 0, bytes);
    } else if (const Status status = map_or_empty(capacity, &made); status != Status::ok) {
        return status;
    }
    made.bytes = bytes;
    *section = made;
    sweep(milliseconds());
    return Status::ok;
}

void stock::give_back(Section* section) noexcept
{
    if (section->view != nullptr) {
        const size_t capacity = capacity_of(section->bytes);
        const uint32_t now = milliseconds();
        sweep(now);
        List* const list = list_of(capacity);
        if (list == nullptr || !put(*list, *section, capacity, now))
            unmap(*section, capacity);
        if (g_held.load(std::memory_order_relaxed) != 0 && is_short())
            stock_empty();
    }
    *section = Section{};
}

void stock_set_limit(uint64_t bytes) noexcept
{
    g_limit.store(bytes, std::memory_order_relaxed);
    if (stock_held() > stock_limit())
        stock_empty();
}

uint64_t stock_limit() noexcept
{
    const uint64_t limit = g_limit.load(std::memory_order_relaxed);
    if (limit != kDefaultStock)
        return limit;
    MemoryStatus memory;
    return memory_status(&memory) == Status::ok ? std::min(memory.total_physical / 8, kMostByDefault) : 0;
}

uint64_t stock_held() noexcept
{
    return g_held.load(std::memory_order_relaxed);
}

bool stock_empty() noexcept
{
    return free_older(kAnyAge) != 0;
}

} // namespace vk::backend
