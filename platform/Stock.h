// The stock of freed sections, behind section_create and section_free of both back ends; private to them.
//
// Fresh pages are what operations on whole bitmaps pay most for: the system clears each when it is first touched. So
// blocks that are given back stay for a while, up to a bound, and serve later requests of the same capacity. There are
// sixteen capacities to a doubling of size, each with a list and a lock of its own, which is held for a few
// instructions. A block goes back to the system when it has been in stock for a second (noticed by the next call), when
// memory runs short, or when everything is to go (stock_empty).
#pragma once

#include "platform/platform.h"

namespace vk::backend::stock {

/// The size of the system's block for a section of `bytes`; 0 when there is no such size. An empty section has a page
/// too.
size_t capacity_of(size_t bytes) noexcept;

/// Makes a section on a block of capacity_of(bytes), from stock or from the system. When the system has none, the stock
/// is emptied and the system asked again.
Status create(size_t bytes, Contents contents, Section* section) noexcept;

/// Takes a section's block into stock, or gives it back to the system. The section is empty afterwards.
void give_back(Section* section) noexcept;

// What a back end does.

/// A cleared block of just that capacity, as `handle` and `view` of a section.
Status map(size_t capacity, Section* section) noexcept;
void unmap(const Section& section, size_t capacity) noexcept;
/// Whether the system clears a block of that capacity as fast as it can be cleared here, while it is being filled: then
/// it does, where a block has to be clear.
bool is_cleared_well(size_t capacity) noexcept;
/// A clock that may run over.
uint32_t milliseconds() noexcept;

} // namespace vk::backend::stock
