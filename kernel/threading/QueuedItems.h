// The items of batches that are queued and not yet begun, by batch, so that who waits for a batch can run them instead
// of waiting for a thread of the pool to get to them.
//
// The pool holds one ticket for each item, which is the item's record and belongs to the pool: when its turn comes, it
// withdraws the item and runs it, or finds that a waiter has taken it and has nothing to do. Nothing is kept in the
// batch itself, whose layout is public.
#pragma once

#include "Vkthreading.h"

namespace vk {

/// What an item runs.
struct Work {
    VKWorkItems* items;
    VKWORKITEMCALLBACK callback;
    void* user_data;
};

/// An item that the pool has a ticket for.
struct QueuedItem {
    Work work;
    bool taken = false;         ///< by a waiter
    QueuedItem* next = nullptr; ///< of the batch, in a ring; null when it is not in one
    QueuedItem* previous = nullptr;
    QueuedItem* next_batch = nullptr; ///< of the oldest item of a batch
};

/// Makes an item known to waiters, before the pool is given its ticket.
void add_queued(QueuedItem& item) noexcept;

/// Takes an item out. False when a waiter has taken it: it is not to be run again.
bool withdraw_queued(QueuedItem& item) noexcept;

/// Takes a batch's oldest item that nobody has begun. False when there is none.
bool take_queued(const VKWorkItems& items, Work& work) noexcept;

} // namespace vk
