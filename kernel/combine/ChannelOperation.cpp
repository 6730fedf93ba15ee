#include "kernel/combine/ChannelOperation.h"

#include "kernel/combine/Rest.h"
#include "kernel/combine/Streaming.h"

#include <cstring>

namespace vk::combine {

namespace {

template <class T>
void combine_plain(const Arithmetic& how, const uint8_t* from, uint8_t* to, size_t count, bool has_alpha) noexcept
{
    constexpr int64_t kMost = static_cast<T>(~T{0});
    for (size_t i = 0; i < count; ++i, from += sizeof(T), to += sizeof(T)) {
        if (has_alpha && i % 4 == 3)
            continue;
        T s;
        T d;
        std::memcpy(&s, from, sizeof s);
        std::memcpy(&d, to, sizeof d);
        d = static_cast<T>(arithmetic(how, s, d, 0, kMost));
        std::memcpy(to, &d, sizeof d);
    }
}

} // namespace

void combine_channels(const Arithmetic& how, const uint8_t* from, uint8_t* to, size_t count, int bytes,
                      bool has_alpha) noexcept
{
    const size_t in_all = count * static_cast<size_t>(bytes);
    const ChannelLoops* const loops = channel_loops_sets.best();
    if (!loops) {
        bytes == 1 ? combine_plain<uint8_t>(how, from, to, count, has_alpha)
                   : combine_plain<uint16_t>(how, from, to, count, has_alpha);
        return;
    }
    const size_t done = loops->combine(how, from, to, in_all, bytes, has_alpha);
    if (done < in_all)
        run_rest({from + done, to + done, nullptr}, in_all - done, 1, [&](const RestOf& rest, size_t room) noexcept {
            loops->combine(how, rest.from, rest.to, room, bytes, has_alpha);
        });
}

} // namespace vk::combine
