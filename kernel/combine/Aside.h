// A source as a walk takes it: with its pixels in the destination's order, and not where the walk writes.
//
// Most sources are used where they are; rows in reverse order still are. Columns in another order, and pixels that
// share the destination's storage in any way but as the same bitmap, are copied aside first.
#pragma once

#include "Vkrecord.h"
#include "kernel/combine/Scratch.h"
#include "kernel/combine/Walk.h"

namespace vk::combine {

/// What brings a source's stored pixels to the order of the destination's, so that both show the same way up.
/// ERROR_INVALID_PARAMETER for perspectives that differ and are none.
int find_layout(const BITMAPHANDLE& to, const BITMAPHANDLE& from, Layout& layout) noexcept;

class Aside {
public:
    Aside() noexcept = default;
    Aside(const Aside&) = delete;
    Aside& operator=(const Aside&) = delete;

    /// Makes a source of an area of an accessed bitmap. With `may_be_own` the destination's own pixels are used where
    /// they are. SUCCESS, or why a copy could not be made.
    int open(BITMAPHANDLE& to, BITMAPHANDLE& bitmap, const Area& area, Layout layout, bool may_be_own) noexcept;

    const Source& source() const noexcept { return source_; }

private:
    int copy(BITMAPHANDLE& bitmap, const Area& area) noexcept;

    Source source_;
    Scratch copied_;
    Scratch turned_;
};

} // namespace vk::combine
