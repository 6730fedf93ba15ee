// Batches are spread over a few lists, each under a lock of its own. A list links the oldest items of its batches; each
// of them stands in the ring of its batch's items, oldest first.
#include "kernel/threading/QueuedItems.h"

#include "kernel/system/LibraryLock.h"

#include <cstdint>
#include <mutex>
#include <utility>

namespace vk {

namespace {

constexpr size_t kLists = 16;

struct List {
    LibraryLock lock;
    QueuedItem* batches = nullptr;
};

void forget_all() noexcept;

constinit List g_lists[kLists] = {List{LibraryLock(&forget_all)}};

/// In a copy of the process, whose pool has no tickets.
void forget_all() noexcept
{
    for (List& list : g_lists)
        while (QueuedItem* const oldest = list.batches) {
            list.batches = oldest->next_batch;
            oldest->previous->next = nullptr;
            for (QueuedItem* item = oldest; item;) {
                QueuedItem* const next = item->next;
                platform::heap_free(item);
                item = next;
            }
        }
}

List& list_of(const VKWorkItems* items) noexcept
{
    const uint64_t mixed = reinterpret_cast<uintptr_t>(items) * uint64_t{0x9E3779B97F4A7C15};
    return g_lists[mixed >> 60];
}
static_assert(kLists == 1u << 4);

/// What points to the batch's oldest item, or to the end of the list.
QueuedItem** link_of(List& list, const VKWorkItems* items) noexcept
{
    QueuedItem** link = &list.batches;
    while (*link && (*link)->work.items != items)
        link = &(*link)->next_batch;
    return link;
}

void remove(List& list, QueuedItem& item) noexcept
{
    QueuedItem** const link = link_of(list, item.work.items);
    if (*link == &item) {
        QueuedItem* const heir = item.next == &item ? item.next_batch : item.next;
        if (item.next != &item)
            heir->next_batch = item.next_batch;
        *link = heir;
    }
    item.previous->next = item.next;
    item.next->previous = item.previous;
    item.next = item.previous = nullptr;
}

} // namespace

void add_queued(QueuedItem& item) noexcept
{
    List& list = list_of(item.work.items);
    const std::lock_guard guard(list.lock);
    QueuedItem** const link = link_of(list, item.work.items);
    if (!*link) {
        item.next = item.previous = &item;
        *link = &item;
        return;
    }
    QueuedItem& oldest = **link;
    item.next = &oldest;
    item.previous = std::exchange(oldest.previous, &item);
    item.previous->next = &item;
}

bool withdraw_queued(QueuedItem& item) noexcept
{
    List& list = list_of(item.work.items);
    const std::lock_guard guard(list.lock);
    if (item.next)
        remove(list, item);
    return !item.taken;
}

bool take_queued(const VKWorkItems& items, Work& work) noexcept
{
    List& list = list_of(&items);
    const std::lock_guard guard(list.lock);
    QueuedItem* const oldest = *link_of(list, &items);
    if (!oldest)
        return false;
    work = oldest->work;
    oldest->taken = true;
    remove(list, *oldest);
    return true;
}

} // namespace vk
