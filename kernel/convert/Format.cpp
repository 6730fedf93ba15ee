// The format table. Each row's functions are instances of the few templates below, by the traits of the pixel.
#include "kernel/convert/Format.h"

#include "kernel/convert/Steps.h"
#include "kernel/format/PackedBits.h"
#include "kernel/format/Spread.h"

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

// Pixels that are their working form: indices and gray levels of 8 bits, samples of 32, and colours whose alpha and red
// come last.

template <size_t Bytes> void copy_in(const uint8_t* packed, void* work, size_t count) noexcept
{
    std::memcpy(work, packed, count * Bytes);
}

template <size_t Bytes> void copy_out(const void* work, uint8_t* packed, size_t count) noexcept
{
    std::memcpy(packed, work, count * Bytes);
}

// Indices of 1 to 7 bits: a bit stream, most significant bit first.

template <unsigned Bits> void unpack_index(const uint8_t* packed, void* work, size_t count) noexcept
{
    spread_pixels(packed, work, count, Bits);
}

template <unsigned Bits> void pack_index(const void* work, uint8_t* packed, size_t count) noexcept
{
    gather_pixels(work, packed, count, Bits);
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

/// Vectors do the front of a run of pixels where there are any, the plain functions the rest.
template <Layout kLayout, int32_t kBits, class Element, Unpack kPlain>
void unpack_by_steps(const uint8_t* packed, void* work, size_t count) noexcept
{
    const StepLoops* const loops = step_loops_sets.best();
    const size_t done = loops != nullptr ? loops->unpack[static_cast<size_t>(kLayout)](packed, work, count) : 0;
    kPlain(packed + done * kBits / 8, static_cast<Element*>(work) + done, count - done);
}

template <Layout kLayout, int32_t kBits, class Element, Pack kPlain>
void pack_by_steps(const void* work, uint8_t* packed, size_t count) noexcept
{
    const StepLoops* const loops = step_loops_sets.best();
    const size_t done = loops != nullptr ? loops->pack[static_cast<size_t>(kLayout)](work, packed, count) : 0;
    kPlain(static_cast<const Element*>(work) + done, packed + done * kBits / 8, count - done);
}

template <unsigned Bits> constexpr Format index_row() noexcept
{
    return {Bits, kAnyOrder, Work::index8, false, false, unpack_index<Bits>, pack_index<Bits>};
}

constexpr Format byte_row(int32_t bits, int32_t order, Work work) noexcept
{
    return {bits, order, work, false, false, copy_in<1>, copy_out<1>};
}

template <Layout kLayout, int32_t kBits, Unpack kUnpack, Pack kPack> constexpr Format gray_row() noexcept
{
    return {kBits,
            COLORORDER_GRAY,
            Work::gray_deep,
            false,
            false,
            unpack_by_steps<kLayout, kBits, uint32_t, kUnpack>,
            pack_by_steps<kLayout, kBits, uint32_t, kPack>};
}

template <Layout kLayout, int32_t kBits, class Pixel, bool kAlpha, Unpack kUnpack, Pack kPack>
constexpr Format color_row(int32_t order) noexcept
{
    return {kBits,
            order,
            sizeof(Pixel) == sizeof(Rgba16) ? Work::rgba16 : Work::rgba8,
            kAlpha,
            order == COLORORDER_ROMM,
            unpack_by_steps<kLayout, kBits, Pixel, kUnpack>,
            pack_by_steps<kLayout, kBits, Pixel, kPack>};
}

template <Layout kLayout, unsigned kRedAt, unsigned kBlueAt, unsigned kGreens>
constexpr Format fields_row(int32_t order) noexcept
{
    return color_row<kLayout, 16, Rgba8, false, unpack_fields<kRedAt, kBlueAt, kGreens>,
                     pack_fields<kRedAt, kBlueAt, kGreens>>(order);
}

template <Layout kLayout, bool kRedFirst> constexpr Format row_24(int32_t order) noexcept
{
    return color_row<kLayout, 24, Rgba8, false, unpack_24<kRedFirst>, pack_24<kRedFirst>>(order);
}

/// Channels of bytes or words, red first or blue.
template <Layout kLayout, class Pixel, bool kAlpha, unsigned kRed> constexpr Format channels_row(int32_t order) noexcept
{
    constexpr int32_t kBits = sizeof(Pixel) * 8 / 4 * (kAlpha ? 4 : 3);
    return color_row<kLayout, kBits, Pixel, kAlpha, unpack_channels<Pixel, kRed, 2 - kRed, kAlpha>,
                     pack_channels<Pixel, kRed, 2 - kRed, kAlpha>>(order);
}

template <class Pixel> constexpr Format whole_row() noexcept
{
    constexpr bool kDeep = sizeof(Pixel) == sizeof(Rgba16);
    return {sizeof(Pixel) * 8,      COLORORDER_BGR,         kDeep ? Work::rgba16 : Work::rgba8, true, false,
            copy_in<sizeof(Pixel)>, copy_out<sizeof(Pixel)>};
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
    gray_row<Layout::gray12, 12, unpack_gray_stream<12>, pack_gray_stream<12>>(),
    gray_row<Layout::gray16, 16, unpack_gray<uint16_t>, pack_gray<uint16_t>>(),
    fields_row<Layout::red_555, 0, 10, 5>(COLORORDER_RGB),
    fields_row<Layout::blue_555, 10, 0, 5>(COLORORDER_BGR),
    fields_row<Layout::blue_565, 11, 0, 6>(COLORORDER_RGB565),
    row_24<Layout::red_24, true>(COLORORDER_RGB),
    row_24<Layout::blue_24, false>(COLORORDER_BGR),
    row_24<Layout::blue_24, false>(COLORORDER_ROMM),
    channels_row<Layout::red_32, Rgba8, true, 0>(COLORORDER_RGB),
    whole_row<Rgba8>(),
    {32, COLORORDER_GRAY, Work::gray_deep, false, false, copy_in<4>, copy_out<4>},
    channels_row<Layout::red_48, Rgba16, false, 0>(COLORORDER_RGB),
    channels_row<Layout::blue_48, Rgba16, false, 2>(COLORORDER_BGR),
    channels_row<Layout::blue_48, Rgba16, false, 2>(COLORORDER_ROMM),
    channels_row<Layout::red_64, Rgba16, true, 0>(COLORORDER_RGB),
    whole_row<Rgba16>(),
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
    static constexpr Format kSamples = {8,     COLORORDER_GRAY,      Work::gray_deep,   false,
                                        false, unpack_gray<uint8_t>, pack_gray<uint8_t>};
    return kSamples;
}

const Format* formats(size_t* count) noexcept
{
    *count = sizeof kFormats / sizeof kFormats[0];
    return kFormats;
}

} // namespace vk::pixel
