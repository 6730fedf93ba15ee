#include "kernel/resize/ScanLine.h"

#include "kernel/format/PackedBits.h"
#include "kernel/format/RowMath.h"

#include <algorithm>
#include <cstring>

namespace vk::resize {

namespace {

struct Bytes {
    size_t size;

    void move(const uint8_t* src, int64_t from, uint8_t* dst, int64_t to) const noexcept
    {
        uint8_t pixel[8];
        std::memcpy(pixel, src + static_cast<size_t>(from) * size, size);
        std::memcpy(dst + static_cast<size_t>(to) * size, pixel, size);
    }
};

template <size_t kSize> struct FixedBytes {
    void move(const uint8_t* src, int64_t from, uint8_t* dst, int64_t to) const noexcept
    {
        Bytes{kSize}.move(src, from, dst, to);
    }
};

/// A depth whose lowest bits come first.
struct LowBits {
    int32_t bits;

    void move(const uint8_t* src, int64_t from, uint8_t* dst, int64_t to) const noexcept
    {
        const uint32_t value = extract_bits(src + from * bits / 8, bits, static_cast<uint32_t>(from));
        insert_bits(dst + to * bits / 8, bits, static_cast<uint32_t>(to), value);
    }
};

/// A stream of bits; a pixel lies in up to nine bytes, which are handled one by one.
struct Bits {
    int64_t bits;

    void move(const uint8_t* src, int64_t from, uint8_t* dst, int64_t to) const noexcept
    {
        put(dst, to * bits, get(src, from * bits));
    }

private:
    uint64_t get(const uint8_t* row, int64_t at) const noexcept
    {
        uint64_t value = 0;
        for (int64_t left = bits; left > 0;) {
            const int64_t room = 8 - at % 8;
            const int64_t taken = std::min(room, left);
            const uint32_t field = uint32_t{row[at / 8]} >> (room - taken) & ((1u << taken) - 1);
            value = value << taken | field;
            left -= taken;
            at += taken;
        }
        return value;
    }
    void put(uint8_t* row, int64_t at, uint64_t value) const noexcept
    {
        for (int64_t left = bits; left > 0;) {
            const int64_t room = 8 - at % 8;
            const int64_t taken = std::min(room, left);
            const uint32_t mask = ((1u << taken) - 1) << (room - taken);
            const uint32_t field = static_cast<uint32_t>(value >> (left - taken)) << (room - taken);
            row[at / 8] = static_cast<uint8_t>((row[at / 8] & ~mask) | (field & mask));
            left -= taken;
            at += taken;
        }
    }
};

template <class Mover> void forward(const ScanLine& line, const uint8_t* src, uint8_t* dst, Mover mover) noexcept
{
    int64_t source = line.start;
    int64_t accumulator = line.accumulator;
    for (int64_t i = 0; i < line.count; ++i) {
        mover.move(src, source, dst, i);
        accumulator += line.remainder;
        source += line.quotient;
        if (accumulator >= line.denominator) {
            accumulator -= line.denominator;
            ++source;
        }
    }
}

template <class Mover> void backward(const ScanLine& line, const uint8_t* src, uint8_t* dst, Mover mover) noexcept
{
    for (int64_t i = line.count; i-- > 0;)
        mover.move(src, line.source(i), dst, i);
}

void clear_behind(const ScanLine& line, uint8_t* dst) noexcept
{
    if (line.bits > 3 && line.bits != 5)
        return;
    const auto used = static_cast<size_t>(packed_bytes(static_cast<uint64_t>(line.count), line.bits));
    if (used != 0)
        dst[used - 1] = static_cast<uint8_t>(dst[used - 1] & tail_mask(line.bits, static_cast<uint32_t>(line.count)));
    if (used < line.dst_bytes)
        std::memset(dst + used, 0, line.dst_bytes - used);
}

template <class Walk> void with_mover(int32_t bits, Walk walk) noexcept
{
    if (packing_of(bits) == Packing::low_first)
        return walk(LowBits{bits});
    if (!is_whole_bytes(bits))
        return walk(Bits{bits});
    if (bits == 8)
        return walk(FixedBytes<1>{});
    if (bits == 24)
        return walk(FixedBytes<3>{});
    if (bits == 32)
        return walk(FixedBytes<4>{});
    walk(Bytes{static_cast<size_t>(bits / 8)});
}

} // namespace

int64_t ScanLine::source(int64_t pixel) const noexcept
{
    const int64_t carries = (accumulator + pixel * remainder) / denominator; // at most one per step
    return start + pixel * quotient + std::min(pixel, carries);
}

ScanLine whole_line(int32_t bits, int32_t from, int32_t to) noexcept
{
    const auto bytes = static_cast<uint32_t>(packed_bytes(static_cast<uint64_t>(to), bits));
    return {bits, bytes, 0, from / to, 0, from % to, to, to};
}

void scan_forward(const ScanLine& line, const uint8_t* src, uint8_t* dst) noexcept
{
    with_mover(line.bits, [&](auto mover) noexcept { forward(line, src, dst, mover); });
    clear_behind(line, dst);
}

void scan_backward(const ScanLine& line, const uint8_t* src, uint8_t* dst) noexcept
{
    with_mover(line.bits, [&](auto mover) noexcept { backward(line, src, dst, mover); });
    clear_behind(line, dst);
}

} // namespace vk::resize
