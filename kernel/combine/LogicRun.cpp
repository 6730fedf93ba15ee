#include "kernel/combine/LogicRun.h"

#include "kernel/format/RowMath.h"

namespace vk::combine {

LogicRun::~LogicRun()
{
    if (is_streamed_)
        stream_fence();
}

void LogicRun::run(Line to, Line from, Line, int32_t count) noexcept
{
    const uint64_t into = uint64_t{bits_} * static_cast<uint32_t>(to.column);
    const uint64_t out_of = uint64_t{bits_} * static_cast<uint32_t>(from.column);
    const uint64_t bits = uint64_t{bits_} * static_cast<uint32_t>(count);
    if (is_streamed_)
        stream_bytes(to.data + into / 8, from.data + out_of / 8, static_cast<size_t>(bits / 8));
    else
        combine_bits(to.data, into, from.data, out_of, bits, logic_, order_);
}

uint64_t area_bytes(const Area& area, int32_t bits) noexcept
{
    return packed_bytes(static_cast<uint32_t>(area.width()), bits) * static_cast<uint32_t>(area.height());
}

} // namespace vk::combine
