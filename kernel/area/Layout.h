// The eight layouts of a picture, and how they follow each other.
#pragma once

namespace vk {

/// First the rows are reversed, and the pixels of each row, then rows and columns are exchanged.
struct Layout {
    bool flip = false;
    bool mirror = false;
    bool transpose = false;

    constexpr bool operator==(const Layout&) const noexcept = default;
};

constexpr Layout kAsStored{false, false, false};
constexpr Layout kFlipped{true, false, false};
constexpr Layout kMirrored{false, true, false};
constexpr Layout kHalfTurned{true, true, false};
constexpr Layout kTurnedClockwise{true, false, true};
constexpr Layout kTurnedBack{false, true, true};

/// What one layout and then another come to. Behind an exchange of rows and columns, reversing the one is reversing the
/// other in front of it.
constexpr Layout then(Layout first, Layout second) noexcept
{
    return {first.flip != (first.transpose ? second.mirror : second.flip),
            first.mirror != (first.transpose ? second.flip : second.mirror), first.transpose != second.transpose};
}

/// What undoes a layout.
constexpr Layout inverse(Layout layout) noexcept
{
    return layout.transpose ? Layout{layout.mirror, layout.flip, true} : layout;
}

static_assert(then(kTurnedClockwise, kTurnedClockwise) == kHalfTurned);
static_assert(then(kTurnedClockwise, inverse(kTurnedClockwise)) == kAsStored);
static_assert(inverse(kTurnedClockwise) == kTurnedBack);

} // namespace vk
