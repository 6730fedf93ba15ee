#include "kernel/combine/ChannelOperation.h"

#include "kernel/combine/Level.h"

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
    const pixel::Cpu cpu = level();
    size_t done = 0;
    if (cpu >= pixel::Cpu::avx512)
        done = combine_channels_avx512(how, from, to, in_all, bytes, has_alpha);
    else if (cpu >= pixel::Cpu::avx2)
        done = combine_channels_avx2(how, from, to, in_all, bytes, has_alpha);
    const size_t left = (in_all - done) / static_cast<size_t>(bytes);
    if (bytes == 1)
        combine_plain<uint8_t>(how, from + done, to + done, left, has_alpha);
    else
        combine_plain<uint16_t>(how, from + done, to + done, left, has_alpha);
}

} // namespace vk::combine
