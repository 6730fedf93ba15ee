#include "kernel/combine/Alike.h"

#include "kernel/combine/Bits.h"
#include "kernel/combine/FillColor.h"
#include "kernel/combine/Streaming.h"
#include "kernel/convert/Convert.h"
#include "kernel/convert/Format.h"
#include "kernel/convert/Gray.h"
#include "kernel/format/PackedBits.h"
#include "kernel/format/RowMath.h"
#include "kernel/format/Spread.h"

#include <algorithm>
#include <cstring>

namespace vk::combine {

namespace {

constexpr int32_t kWordPixels = 64;
constexpr uint32_t kMostTolerance = 255;
constexpr uint32_t kIndexForm = 0x01;
constexpr uint32_t kGrayForm = 0x04;

constexpr uint32_t lower(uint32_t value, uint32_t by) noexcept
{
    return value > by ? value - by : 0;
}

bool is_near(uint32_t a, uint32_t b, uint32_t tolerance) noexcept
{
    return std::max(a, b) - std::min(a, b) <= tolerance;
}

uint32_t load(const uint8_t* from, size_t bytes) noexcept
{
    uint32_t value = 0;
    std::memcpy(&value, from, bytes);
    return value;
}

} // namespace

void Alike::open_indices(RGBQUAD color, uint32_t tolerance) noexcept
{
    const int32_t count = 1 << form_.bits;
    int32_t first = count;
    int32_t last = -1;
    int32_t alike = 0;
    for (int32_t i = 0; i < count; ++i) {
        const RGBQUAD& entry = form_.palette[i];
        is_alike_[i] = is_near(entry.rgbRed, color.rgbRed, tolerance) &&
                       is_near(entry.rgbGreen, color.rgbGreen, tolerance) &&
                       is_near(entry.rgbBlue, color.rgbBlue, tolerance);
        if (is_alike_[i]) {
            first = std::min(first, i);
            last = i;
            ++alike;
        }
    }
    is_index_range_ = alike != 0 && last - first + 1 == alike;
    if (is_index_range_)
        ranges_[0] = {static_cast<uint32_t>(first), static_cast<uint32_t>(last)};
}

void Alike::set_channel(int channel, uint32_t value, uint32_t most, uint32_t tolerance) noexcept
{
    const auto scaled = static_cast<uint32_t>(uint64_t{tolerance} * most / kMostTolerance);
    ranges_[channel] = {lower(value, scaled), value > most - scaled ? most : value + scaled};
}

/// All values whose top 8 of `bits` bits are near a level; narrower ones are levels in proportion.
void Alike::set_top_bits(int channel, uint32_t level, uint32_t bits, uint32_t tolerance) noexcept
{
    const uint32_t low = lower(level, tolerance);
    const uint32_t high = std::min(level + tolerance, kMostTolerance);
    if (bits >= 8) {
        const uint32_t rest = bits - 8;
        ranges_[channel] = {low << rest, (high << rest) + ((1u << rest) - 1)};
        return;
    }
    const uint32_t most = (1u << bits) - 1;
    ranges_[channel] = {(low * most + 254) / 255, ((high + 1) * most - 1) / 255};
}

void Alike::open_gray(uint32_t value, bool is_level, uint32_t tolerance) noexcept
{
    if (is_level)
        set_top_bits(0, value, form_.gray.bits, tolerance);
    else
        set_channel(0, value, form_.gray.mask(), tolerance);
}

/// Words of 5 or 6 bits a channel, compared as the 8-bit channels that they stand for.
void Alike::open_fields(RGBQUAD color, uint32_t tolerance) noexcept
{
    const uint32_t values[] = {color.rgbBlue, color.rgbGreen, color.rgbRed};
    for (int channel = 0; channel < 3; ++channel)
        set_channel(channel, values[channel], kMostTolerance, tolerance);
}

RGBQUAD Alike::color_of(const BITMAPHANDLE& bitmap, COLORREF color) const noexcept
{
    const auto green = static_cast<uint8_t>(color >> 8);
    if (color >> 24 == kGrayForm)
        return {green, green, green, 0};
    if (color >> 24 == kIndexForm)
        return form_.indexed() ? form_.palette[color & ((1u << bitmap.BitsPerPixel) - 1)] : RGBQUAD{};
    return {static_cast<uint8_t>(color >> 16), green, static_cast<uint8_t>(color), 0};
}

void Alike::open(const BITMAPHANDLE& bitmap, COLORREF color, uint32_t tolerance) noexcept
{
    tolerance = std::min(tolerance, kMostTolerance);
    form_ = form_of(bitmap);
    const RGBQUAD meant = color_of(bitmap, color);
    if (form_.indexed())
        return open_indices(meant, tolerance);
    if (form_.deep_gray())
        return open_gray(pixel::gray_of(meant.rgbRed, meant.rgbGreen, meant.rgbBlue), true, tolerance);
    if (form_.bits == 16)
        return open_fields(meant, tolerance);
    // Through a pixel of the bitmap, which has the colours in its own order and gamut.
    const FillColor stored = fill_color(bitmap, color);
    const bool is_deep = form_.bits >= 48;
    for (int channel = 0; channel < 3; ++channel) {
        const uint32_t level = is_deep ? stored.packed[2 * channel + 1] : stored.packed[channel];
        set_top_bits(channel, level, is_deep ? 16 : 8, tolerance);
    }
    ranges_[3] = {0, UINT32_MAX};
}

void Alike::open(const BITMAPHANDLE& bitmap, const uint8_t* pixel, uint32_t tolerance) noexcept
{
    tolerance = std::min(tolerance, kMostTolerance);
    form_ = form_of(bitmap);
    if (form_.indexed())
        return open_indices(form_.palette[form_.bits == 8 ? pixel[0] : extract_bits(pixel, form_.bits, 0)], tolerance);
    if (form_.deep_gray()) {
        const uint32_t sample = is_whole_bytes(form_.bits) ? load(pixel, static_cast<size_t>(form_.bits / 8))
                                                           : extract_bits(pixel, form_.bits, 0);
        return open_gray(form_.gray.extract(sample), false, tolerance);
    }
    if (form_.bits == 16) {
        uint8_t color[4] = {pixel[0], pixel[1]};
        ConvertJob job;
        job.width = 1;
        job.src_bits = 16;
        job.src_order = form_.order;
        job.dst_bits = 24;
        job.dst_order = COLORORDER_BGR;
        convert_buffer(color, job);
        return open_fields({color[0], color[1], color[2], 0}, tolerance);
    }
    const size_t bytes = form_.bits >= 48 ? 2 : 1;
    for (int channel = 0; channel < form_.bits / 8 / static_cast<int>(bytes); ++channel)
        set_channel(channel, load(pixel + static_cast<size_t>(channel) * bytes, bytes), bytes == 2 ? 65535 : 255,
                    tolerance);
}

/// Pixels of one bit, the first in the lowest.
uint64_t Alike::match_bits(const uint8_t* pixels, int32_t count) const noexcept
{
    uint64_t word = 0;
    std::memcpy(&word, pixels, static_cast<size_t>(count + 7) / 8);
    word = reverse_bits_in_bytes(word);
    const uint64_t alike = (is_alike_[1] ? word : 0) | (is_alike_[0] ? ~word : 0);
    return alike & (~uint64_t{0} >> (kWordPixels - count));
}

uint64_t Alike::match_indices(const uint8_t* pixels, int32_t count) const noexcept
{
    uint8_t indices[kWordPixels];
    pixel::find_format(form_.bits, COLORORDER_RGB)->unpack(pixels, indices, static_cast<size_t>(count));
    uint64_t word = 0;
    for (uint32_t i = 0; i < static_cast<uint32_t>(count); ++i) {
        const uint32_t bit = i % kWordPixels; // the same, which the compiler cannot know
        word |= uint64_t{is_alike_[indices[bit]]} << bit;
    }
    return word;
}

/// Deep gray, and colours in 16 bits.
uint64_t Alike::match_samples(const uint8_t* pixels, int32_t count) const noexcept
{
    uint64_t word = 0;
    if (form_.deep_gray()) {
        uint32_t samples[kWordPixels];
        pixel::find_format(form_.bits, COLORORDER_GRAY)->unpack(pixels, samples, static_cast<size_t>(count));
        for (int32_t i = 0; i < count; ++i)
            word |= uint64_t{ranges_[0].holds(form_.gray.extract(samples[i]))} << i;
        return word;
    }
    pixel::Rgba8 colors[kWordPixels];
    pixel::find_format(form_.bits, form_.order)->unpack(pixels, colors, static_cast<size_t>(count));
    for (int32_t i = 0; i < count; ++i) {
        const bool is_alike =
            ranges_[0].holds(colors[i].b) && ranges_[1].holds(colors[i].g) && ranges_[2].holds(colors[i].r);
        word |= uint64_t{is_alike} << i;
    }
    return word;
}

/// Colours of whole bytes or words, channel by channel as they are stored.
uint64_t Alike::match_words(const uint8_t* pixels, int32_t count) const noexcept
{
    const size_t bytes = form_.bits >= 48 ? 2 : 1;
    const size_t channels = static_cast<size_t>(form_.bits) / 8 / bytes;
    uint64_t word = 0;
    for (int32_t i = 0; i < count; ++i) {
        bool is_alike = true;
        for (size_t channel = 0; channel < channels; ++channel, pixels += bytes)
            is_alike = is_alike && ranges_[channel].holds(load(pixels, bytes));
        word |= uint64_t{is_alike} << i;
    }
    return word;
}

uint64_t Alike::match_word(const uint8_t* pixels, int32_t count) const noexcept
{
    if (form_.indexed())
        return form_.bits == 1 ? match_bits(pixels, count) : match_indices(pixels, count);
    return form_.deep_gray() || form_.bits == 16 ? match_samples(pixels, count) : match_words(pixels, count);
}

/// Pixels of one bit, whole words of them.
int32_t Alike::match_bit_words(const uint8_t* pixels, int32_t count, uint64_t* words) const noexcept
{
    const uint64_t set = is_alike_[1] ? ~uint64_t{0} : 0;
    const uint64_t clear = is_alike_[0] ? ~uint64_t{0} : 0;
    const int32_t whole = count / kWordPixels;
    for (int32_t i = 0; i < whole; ++i) {
        uint64_t word = 0;
        std::memcpy(&word, pixels + sizeof word * static_cast<uint32_t>(i), sizeof word);
        word = reverse_bits_in_bytes(word);
        words[i] = (word & set) | (~word & clear);
    }
    return whole;
}

/// Whether a pixel is alike when its channels, or its index or sample, lie within limits, of up to 16 bits.
bool Alike::has_limits() const noexcept
{
    if (form_.indexed())
        return is_index_range_;
    return !form_.deep_gray() || (form_.bits <= 16 && form_.full_range());
}

/// Pixels as channels of whole bytes or words: as they are, or in `to`.
const uint8_t* Alike::bring(const uint8_t* pixels, int32_t count, uint8_t* to) const noexcept
{
    const auto some = static_cast<size_t>(count);
    if (!is_whole_bytes(form_.bits))
        spread_pixels(pixels, to, some, form_.bits);
    else if (form_.bits == 16 && !form_.deep_gray())
        pixel::find_format(form_.bits, form_.order)->unpack(pixels, to, some);
    else
        return pixels;
    return to;
}

/// As many words as there is a fast way for.
int32_t Alike::match_fast(const uint8_t* pixels, int32_t count, uint64_t* words) const noexcept
{
    constexpr int32_t kPiece = 1024;
    if (form_.bits == 1)
        return match_bit_words(pixels, count, words);
    const AlikeLoops* const loops = has_limits() ? alike_loops_sets.best() : nullptr;
    if (!loops)
        return 0;
    const bool is_deep = form_.deep_gray() || form_.bits >= 48;
    const bool is_single = form_.indexed() || form_.deep_gray();
    const size_t channels = is_single ? 1 : form_.bits == 24 || form_.bits == 48 ? 3 : 4;
    uint16_t low[kChannels];
    uint16_t high[kChannels];
    for (int channel = 0; channel < kChannels; ++channel) {
        const bool is_any = form_.bits == 16 && channel == 3; // what fields are brought to has alpha
        low[channel] = is_any ? uint16_t{0} : static_cast<uint16_t>(ranges_[channel].low);
        high[channel] =
            is_any ? uint16_t{255} : static_cast<uint16_t>(std::min(ranges_[channel].high, is_deep ? 65535u : 255u));
    }
    alignas(64) uint8_t piece[kPiece * 4];
    int32_t done = 0;
    for (; (done + 1) * kWordPixels <= count;) {
        const int32_t first = done * kWordPixels;
        const int32_t some = std::min(count - first, kPiece) / kWordPixels * kWordPixels;
        const uint8_t* const brought =
            bring(pixels + packed_bytes(static_cast<uint32_t>(first), form_.bits), some, piece);
        done += (is_deep ? loops->match_words : loops->match_bytes)(brought, some, channels, low, high, words + done);
    }
    return done;
}

void Alike::match(Line pixels, int32_t count, uint64_t* words) const noexcept
{
    const auto bits = static_cast<uint32_t>(form_.bits);
    const uint64_t first = uint64_t{bits} * static_cast<uint32_t>(pixels.column);
    int32_t done = 0;
    if (first % 8 == 0)
        done = match_fast(pixels.data + first / 8, count, words) * kWordPixels;
    for (; done < count; done += kWordPixels) {
        uint8_t aligned[kWordPixels * 8];
        const int32_t some = std::min(count - done, kWordPixels);
        const uint64_t at = first + uint64_t{bits} * static_cast<uint32_t>(done);
        const uint8_t* from = pixels.data + at / 8;
        if (at % 8 != 0) {
            copy_bits(aligned, 0, pixels.data, at, uint64_t{bits} * static_cast<uint32_t>(some), bit_order(form_.bits));
            from = aligned;
        }
        words[done / kWordPixels] = match_word(from, some);
    }
}

} // namespace vk::combine
