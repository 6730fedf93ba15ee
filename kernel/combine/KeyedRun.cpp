#include "kernel/combine/KeyedRun.h"

#include <algorithm>

namespace vk::combine {

int KeyedRun::open(const BITMAPHANDLE& from) noexcept
{
    return converter_.open_key(from);
}

void KeyedRun::run(Line to, Line from, Line mask, int32_t count) noexcept
{
    const auto moved = [](Line line, int32_t by) noexcept { return Line{line.data, line.column + by}; };
    for (int32_t done = 0; done < count; done += kChunk) {
        const int32_t some = std::min(count - done, kChunk);
        const uint8_t* const colors = source_.take(moved(from, done), some);
        const auto is_key = [colors](int32_t i) noexcept { return colors[4 * static_cast<size_t>(i) + 3] == 0; };
        for (int32_t i = 0; i < some;) {
            int32_t end = i;
            while (end < some && !is_key(end))
                ++end;
            if (end != i)
                operation_.run(moved(to, done + i), moved(from, done + i), moved(mask, done + i), end - i);
            i = end + 1;
        }
    }
}

} // namespace vk::combine
