// User match tables: 1 + the nearest palette index of every 15-bit colour, 0 where there is none. The table a thread
// has installed stays the caller's.
#include "kernel/palette/UserMatch.h"

#include "kernel/palette/ColorMatch.h"
#include "kernel/system/ThreadState.h"
#include "platform/platform.h"

namespace vk {
namespace {

constexpr uint32_t kColors15 = 32768;

constexpr uint8_t level5(uint32_t field) noexcept
{
    return static_cast<uint8_t>((field & 31u) * 8u);
}

} // namespace

uint32_t* new_user_match_table(const RGBQUAD* entries, uint32_t count) noexcept
{
    auto* table = static_cast<uint32_t*>(platform::heap_alloc(kColors15 * sizeof(uint32_t)));
    for (uint32_t i = 0; table != nullptr && i < kColors15; ++i) {
        const int32_t index = find_palette_index(entries, count, level5(i >> 10), level5(i >> 5), level5(i));
        table[i] = static_cast<uint32_t>(index + 1);
    }
    return table;
}

uint32_t* exchange_user_match_table(uint32_t* table) noexcept
{
    ThreadState& state = thread_state_for_set();
    uint32_t* old = state.user_match_table;
    state.user_match_table = table;
    return old;
}

} // namespace vk
