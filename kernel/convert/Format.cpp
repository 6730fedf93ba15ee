// The format table. Each row's functions are instances of the few templates below, by the traits of the pixel.
#include "kernel/convert/Format.h"

#include "kernel/format/PackedBits.h"

#include <cstring>

namespace vk::pixel {
namespace {

template <class T> T load(const uint8_t* from) noexcept
{
    T value;
    std::memcpy(&value, from, sizeof value);
    return value;
}

template <class T> void store(uint8_t* to, T value) noexcept
{
    std::memcpy(to, &value, sizeof value);
}

// Bytes as they are: indices and gray levels of 8 bits.

void copy_bytes_in(const uint8_t* packed, void* work, size_t count) noexcept
{
    std::memcpy(work, packed, count);
}

void copy_bytes_out(const void* work, uint8_t* packed, size_t count) noexcept
{
    std::memcpy(packed, work, count);
}

// Indices of 1 to 7 bits: a bit stream, most significant bit first. Eight pixels are Bits bytes, so groups of eight go
// through one word.

template <unsigned Bits> void unpack_group(const uint8_t* packed, size_t bytes, uint8_t* out, size_t count) noexcept
{
    uint64_t stream = 0;
    for (size_t i = 0; i < Bits; ++i) {
        stream = stream << 8 | (i < bytes ? packed[i] : 0u);
    }
    for (size_t i = 0; i < count; ++i) {
        out[i] = static_cast<uint8_t>(stream >> (Bits * (7 - i)) & ((1u << Bits) - 1u));
    }
}

template <unsigned Bits> void unpack_index(const uint8_t* packed, void* work, size_t count) noexcept
{
    auto* out = static_cast<uint8_t*>(work);
    for (; count >= 8; count -= 8, packed += Bits, out += 8) {
        unpack_group<Bits>(packed, Bits, out, 8);
    }
    if (count != 0) {
        unpack_group<Bits>(packed, (count * Bits + 7) / 8, out, count);
    }
}

template <unsigned Bits> void pack_group(const uint8_t* in, size_t count, uint8_t* packed, size_t bytes) noexcept
{
    uint64_t stream = 0;
    for (size_t i = 0; i < 8; ++i) {
        stream = stream << Bits | (i < count ? in[i] & ((1u << Bits) - 1u) : 0u);
    }
    for (size_t i = 0; i < bytes; ++i) {
        packed[i] = static_cast<uint8_t>(stream >> (8 * (Bits - 1 - i)));
    }
}

template <unsigned Bits> void pack_index(const void* work, uint8_t* packed, size_t count) noexcept
{
    const auto* in = static_cast<const uint8_t*>(work);
    for (; count >= 8; count -= 8, packed += Bits, in += 8) {
        pack_group<Bits>(in, 8, packed, Bits);
    }
    if (count != 0) {
        pack_group<Bits>(in, count, packed, (count * Bits + 7) / 8);
    }
}

// Gray in a stream of bits, least significant bit first, and of 16 and 32 bits, which are whole words.

template <int32_t Bits> void unpack_gray_stream(const uint8_t* packed, void* work, size_t count) noexcept
{
    spread_low_first<Bits>(packed, static_cast<uint32_t*>(work), count);
}

template <int32_t Bits> void pack_gray_stream(const void* work, uint8_t* packed, size_t count) noexcept
{
    gather_low_first<Bits>(static_cast<const uint32_t*>(work), packed, count);
}

template <class Word> void unpack_gray(const uint8_t* packed, void* work, size_t count) noexcept
{
    auto* out = static_cast<uint32_t*>(work);
    for (size_t i = 0; i < count; ++i) {
        out[i] = load<Word>(packed + i * sizeof(Word));
    }
}

template <class Word> void pack_gray(const void* work, uint8_t* packed, size_t count) noexcept
{
    const auto* in = static_cast<const uint32_t*>(work);
    for (size_t i = 0; i < count; ++i) {
        store(packed + i * sizeof(Word), static_cast<Word>(in[i]));
    }
}

// Colour in one 16-bit word; red and blue are given by the lowest bit of their fields, green by its number of bits.

constexpr uint8_t widen5(unsigned v) noexcept
{
    return static_cast<uint8_t>(v << 3 | v >> 2);
}
constexpr uint8_t widen6(unsigned v) noexcept
{
    return static_cast<uint8_t>(v << 2 | v >> 4);
}

template <unsigned RedAt, unsigned BlueAt, unsigned Greens>
void unpack_fields(const uint8_t* packed, void* work, size_t count) noexcept
{
    auto* out = static_cast<Rgba8*>(work);
    for (size_t i = 0; i < count; ++i) {
        const unsigned word = load<uint16_t>(packed + 2 * i);
        const unsigned green = word >> 5 & ((1u << Greens) - 1u);
        out[i] = {widen5(word >> BlueAt & 31u), Greens == 6 ? widen6(green) : widen5(green),
                  widen5(word >> RedAt & 31u), 255};
    }
}

template <unsigned RedAt, unsigned BlueAt, unsigned Greens>
void pack_fields(const void* work, uint8_t* packed, size_t count) noexcept
{
    const auto* in = static_cast<const Rgba8*>(work);
    for (size_t i = 0; i < count; ++i) {
        const unsigned blue = in[i].b >> 3u;
        const unsigned green = static_cast<unsigned>(in[i].g) >> (8u - Greens);
        const unsigned red = in[i].r >> 3u;
        const unsigned word = blue << BlueAt | green << 5 | red << RedAt;
        store(packed + 2 * i, static_cast<uint16_t>(word));
    }
}

// Colour with a byte or word per channel; R and B are the positions of red and blue, 3 that of alpha.

template <class Pixel, unsigned R, unsigned B, bool Alpha>
void unpack_channels(const uint8_t* packed, void* work, size_t count) noexcept
{
    using Channel = decltype(Pixel::r);
    constexpr size_t kChannels = Alpha ? 4 : 3;
    auto* out = static_cast<Pixel*>(work);
    for (size_t i = 0; i < count; ++i, packed += kChannels * sizeof(Channel)) {
        out[i].b = load<Channel>(packed + B * sizeof(Channel));
        out[i].g = load<Channel>(packed + sizeof(Channel));
        out[i].r = load<Channel>(packed + R * sizeof(Channel));
        out[i].a = Alpha ? load<Channel>(packed + 3 * sizeof(Channel)) : static_cast<Channel>(~Channel{0});
    }
}

template <class Pixel, unsigned R, unsigned B, bool Alpha>
void pack_channels(const void* work, uint8_t* packed, size_t count) noexcept
{
    using Channel = decltype(Pixel::r);
    constexpr size_t kChannels = Alpha ? 4 : 3;
    const auto* in = static_cast<const Pixel*>(work);
    for (size_t i = 0; i < count; ++i, packed += kChannels * sizeof(Channel)) {
        store(packed + B * sizeof(Channel), in[i].b);
        store(packed + sizeof(Channel), in[i].g);
        store(packed + R * sizeof(Channel), in[i].r);
        if constexpr (Alpha) {
            store(packed + 3 * sizeof(Channel), in[i].a);
        }
    }
}

// 24-bit colour, a word at a time: the fourth byte is the next pixel's, so the last pixel goes alone.

template <bool RedFirst> constexpr uint32_t in_order(uint32_t word) noexcept
{
    return RedFirst ? (word & 0xFF00FF00u) | (word >> 16 & 0xFFu) | (word & 0xFFu) << 16 : word;
}

template <bool RedFirst> void unpack_24(const uint8_t* packed, void* work, size_t count) noexcept
{
    auto* out = static_cast<uint8_t*>(work);
    for (size_t i = 0; i + 1 < count; ++i) {
        store(out + 4 * i, in_order<RedFirst>(load<uint32_t>(packed + 3 * i)) | 0xFF000000u);
    }
    if (count != 0) {
        uint8_t last[4] = {};
        std::memcpy(last, packed + 3 * (count - 1), 3);
        store(out + 4 * (count - 1), in_order<RedFirst>(load<uint32_t>(last)) | 0xFF000000u);
    }
}

template <bool RedFirst> void pack_24(const void* work, uint8_t* packed, size_t count) noexcept
{
    const auto* in = static_cast<const uint8_t*>(work);
    for (size_t i = 0; i + 1 < count; ++i) {
        store(packed + 3 * i, in_order<RedFirst>(load<uint32_t>(in + 4 * i)));
    }
    if (count != 0) {
        const uint32_t last = in_order<RedFirst>(load<uint32_t>(in + 4 * (count - 1)));
        std::memcpy(packed + 3 * (count - 1), &last, 3);
    }
}

// Rows of the table.

template <unsigned Bits> constexpr Format index_row() noexcept
{
    return {Bits, kAnyOrder, Work::index8, false, false, unpack_index<Bits>, pack_index<Bits>};
}

constexpr Format byte_row(int32_t bits, int32_t order, Work work) noexcept
{
    return {bits, order, work, false, false, copy_bytes_in, copy_bytes_out};
}

template <int32_t Bits> constexpr Format gray_stream_row() noexcept
{
    return {Bits, COLORORDER_GRAY, Work::gray_deep, false, false, unpack_gray_stream<Bits>, pack_gray_stream<Bits>};
}

template <class Word> constexpr Format gray_row(int32_t bits) noexcept
{
    return {bits, COLORORDER_GRAY, Work::gray_deep, false, false, unpack_gray<Word>, pack_gray<Word>};
}

template <unsigned RedAt, unsigned BlueAt, unsigned Greens> constexpr Format fields_row(int32_t order) noexcept
{
    return {
        16, order, Work::rgba8, false, false, unpack_fields<RedAt, BlueAt, Greens>, pack_fields<RedAt, BlueAt, Greens>};
}

template <class Pixel, bool Alpha> constexpr Format channels_row(int32_t order) noexcept
{
    constexpr bool kDeep = sizeof(Pixel) == sizeof(Rgba16);
    constexpr int32_t kBits = (kDeep ? 16 : 8) * (Alpha ? 4 : 3);
    const bool red_first = order == COLORORDER_RGB;
    return {kBits,
            order,
            kDeep ? Work::rgba16 : Work::rgba8,
            Alpha,
            order == COLORORDER_ROMM,
            red_first ? unpack_channels<Pixel, 0, 2, Alpha> : unpack_channels<Pixel, 2, 0, Alpha>,
            red_first ? pack_channels<Pixel, 0, 2, Alpha> : pack_channels<Pixel, 2, 0, Alpha>};
}

template <bool RedFirst> constexpr Format row_24(int32_t order) noexcept
{
    return {24, order, Work::rgba8, false, order == COLORORDER_ROMM, unpack_24<RedFirst>, pack_24<RedFirst>};
}

constexpr Format kFormats[] = {
    byte_row(0, kAnyOrder, Work::gray8),
    index_row<1>(),
    index_row<2>(),
    index_row<3>(),
    index_row<4>(),
    index_row<5>(),
    index_row<6>(),
    index_row<7>(),
    byte_row(8, COLORORDER_GRAY, Work::gray8),
    byte_row(8, kAnyOrder, Work::index8),
    gray_stream_row<12>(),
    gray_row<uint16_t>(16),
    fields_row<0, 10, 5>(COLORORDER_RGB),
    fields_row<10, 0, 5>(COLORORDER_BGR),
    fields_row<11, 0, 6>(COLORORDER_RGB565),
    row_24<true>(COLORORDER_RGB),
    row_24<false>(COLORORDER_BGR),
    row_24<false>(COLORORDER_ROMM),
    channels_row<Rgba8, true>(COLORORDER_RGB),
    channels_row<Rgba8, true>(COLORORDER_BGR),
    gray_row<uint32_t>(32),
    channels_row<Rgba16, false>(COLORORDER_RGB),
    channels_row<Rgba16, false>(COLORORDER_BGR),
    channels_row<Rgba16, false>(COLORORDER_ROMM),
    channels_row<Rgba16, true>(COLORORDER_RGB),
    channels_row<Rgba16, true>(COLORORDER_BGR),
};

/// An order of its own comes before the any-order row of the same depth.
constexpr const Format* format_of(int32_t bits, int32_t order) noexcept
{
    for (const Format& format : kFormats) {
        const bool same = format.order == kAnyOrder ? has_order(format.stored_bits(), order) : format.order == order;
        if (format.bits == bits && same) {
            return &format;
        }
    }
    return nullptr;
}

/// Each order of a depth has a format, and no format has an order that its depth does not have.
consteval bool has_all_formats(int32_t bits) noexcept
{
    for (int32_t order = 0; order < 32; ++order) {
        if (has_order(bits, order) != (format_of(bits, order) != nullptr)) {
            return false;
        }
    }
    return true;
}
static_assert(every_depth(has_all_formats));

/// What the depths say of a format: indices, gray or colour, and alpha.
consteval bool do_formats_agree() noexcept
{
    for (const Format& format : kFormats) {
        const int32_t bits = format.stored_bits();
        const bool is_gray = format.order == COLORORDER_GRAY || format.bits == 0;
        const Work work = is_gray                           ? (is_indexed(bits) ? Work::gray8 : Work::gray_deep)
                          : is_indexed(bits)                ? Work::index8
                          : depth_of(bits).channel_bits > 8 ? Work::rgba16
                                                            : Work::rgba8;
        if (format.work != work || format.alpha != (!is_gray && has_alpha(bits, format.order))) {
            return false;
        }
    }
    return true;
}
static_assert(do_formats_agree());

} // namespace

const Format* find_format(int32_t bits, int32_t order) noexcept
{
    return format_of(bits, order);
}

const Format& gray8_samples() noexcept
{
    static constexpr Format kSamples = gray_row<uint8_t>(8);
    return kSamples;
}

const Format* formats(size_t* count) noexcept
{
    *count = sizeof kFormats / sizeof kFormats[0];
    return kFormats;
}

} // namespace vk::pixel
