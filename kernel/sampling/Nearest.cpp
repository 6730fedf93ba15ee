#include "kernel/sampling/Nearest.h"

#include "kernel/convert/Format.h"
#include "kernel/format/Depths.h"
#include "kernel/format/PackedBits.h"
#include "kernel/format/RowMath.h"

#include <algorithm>
#include <cstring>

namespace vk::sampling {

namespace {

/// Bytes of a pixel as it is taken: packed ones as their formats' working forms have them.
constexpr size_t element_bytes(int32_t bits) noexcept
{
    return is_whole_bytes(bits) ? static_cast<size_t>(bits / 8) : is_indexed(bits) ? 1 : sizeof(uint32_t);
}

inline size_t column_of(const Patch& patch, int32_t i) noexcept
{
    return static_cast<size_t>((patch.x[i] >> kFractionBits) - patch.left);
}

inline const uint8_t* row_of(const Patch& patch, int32_t i) noexcept
{
    return patch.origin + static_cast<size_t>((patch.y[i] >> kFractionBits) - patch.top) * patch.stride;
}

template <size_t kBytes> void take_bytes(const Patch& patch, uint8_t* out) noexcept
{
    for (int32_t i = 0; i < patch.count; ++i, out += kBytes)
        std::memcpy(out, row_of(patch, i) + column_of(patch, i) * kBytes, kBytes);
}

template <int32_t kBits, class Element> void take_packed(const Patch& patch, uint8_t* out) noexcept
{
    for (int32_t i = 0; i < patch.count; ++i, out += sizeof(Element)) {
        const auto column = static_cast<uint32_t>(column_of(patch, i));
        const auto pixel =
            static_cast<Element>(extract_bits(row_of(patch, i) + uint64_t{column} * kBits / 8, kBits, column));
        std::memcpy(out, &pixel, sizeof pixel);
    }
}

} // namespace

Take plain_take(int32_t bits) noexcept
{
    Take loop = nullptr;
    with_depth(bits, [&]<int32_t kBits>() noexcept {
        if constexpr (packing_of(kBits) == Packing::bytes)
            loop = take_bytes<kBits / 8>;
        else if constexpr (is_indexed(kBits))
            loop = take_packed<kBits, uint8_t>;
        else
            loop = take_packed<kBits, uint32_t>;
    });
    return loop;
}

NearestPainter::NearestPainter(const Mapping& mapping, int32_t bits, const FillPixel& fill) noexcept
    : Painter(mapping, kNearestReach), bits_(bits), fill_(fill), plain_(plain_take(bits)), fast_(fast_take(bits)),
      fast_bits_(bits == 1 ? fast_take_bits() : nullptr), pattern_(), work_()
{
    const size_t element = element_bytes(bits);
    for (size_t i = 0; i < kLongest; ++i) {
        if (is_whole_bytes(bits))
            std::memcpy(pattern_ + i * element, fill.packed, element);
        else
            std::memcpy(pattern_ + i * element, &fill.value, element); // the lowest byte first
    }
}

/// A pixel that is not held: outside of the source, which leaves the fill, or in a part that must be fetched.
void NearestPainter::take_single(const Source& source, const Track& track, int32_t i, uint8_t* out) noexcept
{
    const int64_t x = track.base_x + (track.x[i] >> kFractionBits);
    const int64_t y = track.base_y + (track.y[i] >> kFractionBits);
    if (!source.fetcher || x < 0 || y < 0 || x >= source.extent.width || y >= source.extent.height)
        return;
    const Pixels* const block = source.fetcher->block(static_cast<int32_t>(x), static_cast<int32_t>(y));
    if (block)
        plain_(patch_of(*block, bits_, track, i, 1, {x, y, x, y}), out);
}

/// Takes a track's pixels.
void NearestPainter::take(const Source& source, int32_t row, const Track& track, uint8_t* out, size_t element) noexcept
{
    const auto place = [&](int32_t i) noexcept { return out + static_cast<size_t>(i) * element; };
    fetch_ahead(source.pixels, bits_, row, track);
    split(
        track, inner(source.pixels),
        [&](int32_t from, int32_t count, const Span& span) noexcept {
            const bool is_fast = fast_ && may_be_fast(source.pixels, bits_, span);
            (is_fast ? fast_ : plain_)(patch_of(source.pixels, bits_, track, from, count, span), place(from));
        },
        [&](int32_t i) noexcept {
            std::memcpy(place(i), pattern_, element);
            take_single(source, track, i, place(i));
        });
}

void NearestPainter::paint_bytes(const Source& source, int32_t row, int32_t left, int32_t right, uint8_t* out) noexcept
{
    const auto bytes = static_cast<size_t>(bits_ / 8);
    const auto offset = [&](int64_t column) noexcept { return static_cast<size_t>(column - left) * bytes; };
    int64_t at = left;
    for (; at < right && mapping_.follow({}, reach_, row, at, right, track_); at = track_.first + track_.count) {
        std::memcpy(out + offset(at), pattern_, offset(track_.first) - offset(at));
        take(source, row, track_, out + offset(track_.first), bytes);
    }
    std::memcpy(out + offset(at), pattern_, offset(right) - offset(at));
}

/// 1 bit, by loops that write bits.
void NearestPainter::paint_bits(const Source& source, int32_t row, int32_t left, int32_t right, uint8_t* out) noexcept
{
    const auto width = static_cast<uint32_t>(right - left);
    const auto bytes = static_cast<size_t>(packed_bytes(width, 1));
    std::memset(out, fill_.value ? 0xFF : 0, bytes);
    out[bytes - 1] = static_cast<uint8_t>(out[bytes - 1] & tail_mask(1, width));
    for (int64_t at = left; at < right && mapping_.follow({}, reach_, row, at, right, track_);
         at = track_.first + track_.count) {
        fetch_ahead(source.pixels, 1, row, track_);
        const auto first = static_cast<int32_t>(track_.first - left);
        const auto put = [&](int32_t i) noexcept {
            const auto column = static_cast<uint32_t>(first + i);
            insert_bits(out + column / 8, 1, column, work_[i]);
        };
        split(
            track_, inner(source.pixels),
            [&](int32_t from, int32_t count, const Span& span) noexcept {
                const Patch patch = patch_of(source.pixels, 1, track_, from, count, span);
                if (may_be_fast(source.pixels, 1, span))
                    return fast_bits_(patch, out, first + from);
                plain_(patch, work_ + from);
                for (int32_t i = from; i < from + count; ++i)
                    put(i);
            },
            [&](int32_t i) noexcept {
                work_[i] = static_cast<uint8_t>(fill_.value);
                take_single(source, track_, i, work_ + i);
                put(i);
            });
    }
}

void NearestPainter::paint_packed(const Source& source, int32_t row, int32_t left, int32_t right, uint8_t* out) noexcept
{
    const size_t element = element_bytes(bits_);
    const auto width = static_cast<size_t>(right - left);
    std::memcpy(work_, pattern_, width * element);
    for (int64_t at = left; at < right && mapping_.follow({}, reach_, row, at, right, track_);
         at = track_.first + track_.count)
        take(source, row, track_, work_ + static_cast<size_t>(track_.first - left) * element, element);
    pixel::find_format(bits_, usual_order(bits_))->pack(work_, out, width);
}

void NearestPainter::paint(const Source& source, int32_t row, int32_t left, int32_t right, uint8_t* out) noexcept
{
    if (is_whole_bytes(bits_))
        paint_bytes(source, row, left, right, out);
    else if (fast_bits_)
        paint_bits(source, row, left, right, out);
    else
        paint_packed(source, row, left, right, out);
}

} // namespace vk::sampling
