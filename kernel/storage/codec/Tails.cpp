#include "kernel/storage/codec/Tails.h"

#include <algorithm>
#include <cstring>

namespace vk::codec {

namespace {

/// Where the tail of a row starts, and which bits of its first byte belong to it.
struct Tail {
    size_t start;
    size_t bytes;
    uint8_t mask;

    explicit Tail(const Shape& shape) noexcept
    {
        const uint64_t bits = uint64_t{shape.width} * static_cast<uint32_t>(shape.bits);
        start = static_cast<size_t>(bits / 8);
        bytes = shape.bytes_per_line - start;
        mask = static_cast<uint8_t>(0xFF >> bits % 8);
    }
    bool is_clear(const uint8_t* row) const noexcept
    {
        return bytes == 0 || ((row[start] & mask) == 0 && std::all_of(row + start + 1, row + start + bytes,
                                                                      [](uint8_t byte) noexcept { return byte == 0; }));
    }
};

} // namespace

size_t encode_tails(const Shape& shape, const uint8_t* rows, uint8_t* out, size_t room) noexcept
{
    const Tail tail(shape);
    bool has = false;
    for (uint32_t y = 0; y < shape.rows && !has; ++y)
        has = !tail.is_clear(rows + size_t{y} * shape.bytes_per_line);
    const size_t bytes = 1 + (has ? tail.bytes * shape.rows : 0);
    if (room < bytes)
        return 0;
    *out++ = has;
    for (uint32_t y = 0; has && y < shape.rows; ++y, out += tail.bytes)
        std::memcpy(out, rows + size_t{y} * shape.bytes_per_line + tail.start, tail.bytes);
    return bytes;
}

bool decode_tails(const Shape& shape, const uint8_t* from, size_t room, uint8_t* rows) noexcept
{
    const Tail tail(shape);
    if (room == 0 || from[0] > 1 || room != 1 + (from[0] ? tail.bytes * shape.rows : 0))
        return false;
    const bool has = *from++ != 0;
    for (uint32_t y = 0; y < shape.rows && tail.bytes != 0; ++y) {
        uint8_t* const to = rows + size_t{y} * shape.bytes_per_line + tail.start;
        const auto pixels = static_cast<uint8_t>(to[0] & ~tail.mask);
        if (has)
            std::memcpy(to, from + y * tail.bytes, tail.bytes);
        else
            std::memset(to, 0, tail.bytes);
        to[0] = static_cast<uint8_t>((to[0] & tail.mask) | pixels);
    }
    return true;
}

} // namespace vk::codec
