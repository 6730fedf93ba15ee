// Rows of 1-bit pixels as the columns where the colour changes: the first set pixel, the first clear one behind it, and
// so on. Behind the last change stand kGuards times the width, so that readers need not look where the row ends.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vk::codec {

constexpr size_t kGuards = 4;

/// Most entries of a row's changes.
constexpr size_t change_room(uint32_t width) noexcept
{
    return size_t{width} + kGuards;
}

/// Lists the changes of a row; their number, without the guards.
size_t find_changes(const uint8_t* row, uint32_t width, int32_t* changes) noexcept;

/// Writes guards behind `count` changes.
void guard_changes(int32_t* changes, size_t count, uint32_t width) noexcept;

/// Draws a row from its changes, which rise and are guarded. Bits behind the row in its last byte become clear.
void draw_changes(const int32_t* changes, uint32_t width, uint8_t* row) noexcept;

} // namespace vk::codec
