#include "kernel/colorres/ExactCount.h"

#include "kernel/colorres/GrayScale.h"
#include "kernel/format/PackedBits.h"
#include "kernel/palette/Palette.h"
#include "kernel/rows/Locks.h"
#include "kernel/rows/RowAccess.h"
#include "kernel/system/Progress.h"
#include "platform/platform.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace vk {

namespace {

/// Calls `take(rows, count)` for all rows of an accessed bitmap, some at a time; it gives a result code, and
/// `done(row)` what progress to report.
template <class Take, class Done> int each_batch(BITMAPHANDLE& bitmap, Take take, Done done) noexcept
{
    RowReader reader(bitmap);
    const int32_t batch = reader.in_place() ? reported_rows(bitmap.Height) : buffered_rows(bitmap, bitmap);
    int result = reader.reserve(batch);
    for (int32_t row = 0; row < bitmap.Height && result == V_SUCCESS;) {
        const int32_t count = std::min(batch, bitmap.Height - row);
        const uint8_t* rows = nullptr;
        result = reader.read(row, count, &rows);
        for (int32_t i = 0; i < count && result == V_SUCCESS; ++i)
            result = take(rows + size_t{bitmap.BytesPerLine} * static_cast<size_t>(i));
        row += count;
        if (result == V_SUCCESS)
            result = done(row);
    }
    return result;
}

/// A bit for each of so many colours. A bit that is there already is not written again: most pixels look like one not
/// far away, and the next look need not wait for a store.
class Bits {
public:
    bool open(uint32_t bits) noexcept
    {
        words_ = size_t{1} << (bits > 6 ? bits - 6 : 0);
        return memory_.allocate(words_ * sizeof(uint64_t));
    }

    void add(uint32_t value) noexcept
    {
        uint64_t& word = reinterpret_cast<uint64_t*>(memory_.data())[value >> 6];
        const uint64_t bit = uint64_t{1} << (value & 63);
        if ((word & bit) == 0) [[unlikely]]
            word |= bit;
    }
    bool has(uint32_t value) const noexcept
    {
        return reinterpret_cast<const uint64_t*>(memory_.data())[value >> 6] >> (value & 63) & 1;
    }
    uint64_t count() const noexcept
    {
        uint64_t found = 0;
        for (size_t i = 0; i < words_; ++i)
            found += static_cast<uint64_t>(std::popcount(reinterpret_cast<const uint64_t*>(memory_.data())[i]));
        return found;
    }

private:
    RowBuffer memory_;
    size_t words_ = 0;
};

void add_row_24(Bits& seen, const uint8_t* row, size_t width) noexcept
{
    const auto color = [row](size_t x) noexcept {
        uint32_t four; // of which the last is the next pixel's
        std::memcpy(&four, row + 3 * x, sizeof four);
        return four & 0xFFFFFF;
    };
    size_t x = 0;
    for (; x + 4 < width; x += 4) {
        const uint32_t c[] = {color(x), color(x + 1), color(x + 2), color(x + 3)};
        if ((int{seen.has(c[0])} & int{seen.has(c[1])} & int{seen.has(c[2])} & int{seen.has(c[3])}) != 0) [[likely]]
            continue;
        for (const uint32_t one : c)
            seen.add(one);
    }
    for (; x < width; ++x)
        seen.add(row[3 * x] | uint32_t{row[3 * x + 1]} << 8 | uint32_t{row[3 * x + 2]} << 16);
}

/// The values that pixels of up to 16 bits have.
template <int32_t kBits> void add_short_row(Bits& seen, const uint8_t* row, size_t width) noexcept
{
    for (size_t x = 0; x < width; ++x)
        seen.add(static_cast<uint32_t>(pixel_at<kBits>(row, x)));
}

/// What several values that are one colour come to: each value that was seen has the colour that `color_of` says.
template <class ColorOf>
void count_meanings(const Bits& seen, uint32_t values, ColorOf color_of, uint64_t* colors) noexcept
{
    uint32_t found[256];
    uint64_t count = 0;
    for (uint32_t value = 0; value < values; ++value)
        if (seen.has(value))
            found[count++] = color_of(value);
    std::sort(found, found + count);
    *colors = static_cast<uint64_t>(std::unique(found, found + count) - found);
}

void count_seen(const BITMAPHANDLE& bitmap, const Bits& seen, uint64_t* colors) noexcept
{
    const int32_t bits = bitmap.BitsPerPixel;
    const bool is_levels = bits == 8 && bitmap.Order == COLORORDER_GRAY;
    if (is_indexed(bits) && !is_levels) {
        const RGBQUAD* const own = bitmap.Palette;
        const RGBQUAD* const entries = own ? own : fixed_palette(bits);
        const uint32_t held = own ? palette_entries(bitmap) : 1u << bits;
        return count_meanings(
            seen, 1u << bits,
            [&](uint32_t index) noexcept {
                if (index >= held) // black, as everywhere
                    return 0u;
                const RGBQUAD& entry = entries[index];
                return uint32_t{entry.rgbBlue} | uint32_t{entry.rgbGreen} << 8 | uint32_t{entry.rgbRed} << 16;
            },
            colors);
    }
    *colors = seen.count();
}

/// Up to 24 bits: one pass, a bit for each value.
int count_by_bits(BITMAPHANDLE& bitmap, uint64_t* colors) noexcept
{
    const int32_t bits = bitmap.BitsPerPixel;
    const bool is_gray = bits > 8 && bitmap.Order == COLORORDER_GRAY;
    const GrayRange range = is_gray ? gray_range_of(bitmap) : GrayRange{};
    const bool is_partial = is_gray && (range.shift != 0 || range.bits != static_cast<uint32_t>(bits));
    const bool has_padding = bits == 16 && !is_gray && bitmap.Order != COLORORDER_RGB565;
    Bits seen;
    if (!seen.open(static_cast<uint32_t>(bits)))
        return V_ERROR_NO_MEMORY;
    const auto width = static_cast<size_t>(bitmap.Width);
    Progress progress(bitmap.Height);
    int result = progress.begin();
    if (result == V_SUCCESS)
        result = each_batch(
            bitmap,
            [&](const uint8_t* row) noexcept {
                if (bits == 24)
                    add_row_24(seen, row, width);
                else
                    with_depth(bits, [&]<int32_t kBits>() noexcept {
                        if constexpr (kBits <= 16)
                            add_short_row<kBits>(seen, row, width);
                    });
                return V_SUCCESS;
            },
            [&](int32_t row) noexcept { return progress.update(row); });
    if (result != V_SUCCESS)
        return result;
    if (!is_partial && !has_padding) {
        count_seen(bitmap, seen, colors);
        return V_SUCCESS;
    }
    Bits meant; // what is left without the bits that do not count
    if (!meant.open(static_cast<uint32_t>(bits)))
        return V_ERROR_NO_MEMORY;
    for (uint32_t value = 0; value < 1u << bits; ++value)
        if (seen.has(value))
            meant.add(is_partial ? range.extract(value) : value & 0x7FFF);
    *colors = meant.count();
    return V_SUCCESS;
}

/// A number for each value and a value for each number, the bits well mixed.
constexpr uint64_t scrambled(uint64_t value) noexcept
{
    value = (value ^ value >> 32) * 0xD6E8FEB86659FD93u;
    value = (value ^ value >> 32) * 0xD6E8FEB86659FD93u;
    return value ^ value >> 32;
}

/// Numbers of a range, each once. 0 marks a free slot and is remembered apart.
class Found {
public:
    explicit Found(uint32_t most_slots) noexcept : most_slots_(most_slots) {}
    Found(const Found&) = delete;
    Found& operator=(const Found&) = delete;
    ~Found() { platform::heap_free(table_); }

    /// Empties the table; false without memory.
    bool start() noexcept
    {
        platform::heap_free(table_);
        table_ = nullptr;
        slots_ = 0;
        has_zero_ = false;
        return rebuild(std::min(most_slots_, kFirstSlots), UINT64_MAX);
    }

    /// False: there is no room for it.
    bool add(uint64_t number) noexcept
    {
        if (number == 0) {
            has_zero_ = true;
            return true;
        }
        uint64_t& slot = place(number);
        if (slot == number)
            return true;
        if (used_ == slots_ / 4 * 3)
            return false;
        slot = number;
        ++used_;
        return true;
    }

    bool may_grow() const noexcept { return slots_ < most_slots_; }
    /// Both false without memory, the table being as it was.
    bool grow() noexcept { return rebuild(std::min(slots_ * 4, most_slots_), UINT64_MAX); }
    bool keep_up_to(uint64_t last) noexcept { return rebuild(slots_, last); }

    uint64_t count() const noexcept { return used_ + (has_zero_ ? 1u : 0u); }

private:
    static constexpr uint32_t kFirstSlots = 1u << 12;

    uint64_t& place(uint64_t number) noexcept
    {
        auto slot = static_cast<uint32_t>(number) & (slots_ - 1);
        while (table_[slot] != 0 && table_[slot] != number)
            slot = (slot + 1) & (slots_ - 1);
        return table_[slot];
    }

    /// Another table with the numbers up to a limit.
    bool rebuild(uint32_t slots, uint64_t last) noexcept
    {
        auto* const made = static_cast<uint64_t*>(platform::heap_alloc(size_t{slots} * sizeof(uint64_t)));
        if (!made)
            return false;
        std::memset(made, 0, size_t{slots} * sizeof(uint64_t));
        uint64_t* const before = table_;
        const uint32_t slots_before = slots_;
        table_ = made;
        slots_ = slots;
        used_ = 0;
        for (uint32_t i = 0; i < slots_before; ++i)
            if (before[i] != 0 && before[i] <= last) {
                place(before[i]) = before[i];
                ++used_;
            }
        platform::heap_free(before);
        return true;
    }

    uint32_t most_slots_;
    uint64_t* table_ = nullptr;
    uint32_t slots_ = 0; ///< three of four may be used
    uint32_t used_ = 0;
    bool has_zero_ = false;
};

/// Numbers that wait to be added, many at a time in the order of their slots in the largest table, so that one larger
/// than the caches is gone through from one end to the other. Those that came not long before are left out.
class Waiting {
public:
    /// Makes room for as many as the pixels need; false without memory.
    bool open(uint64_t pixels) noexcept
    {
        room_ = static_cast<size_t>(std::clamp<uint64_t>(pixels, 1, kMost));
        return memory_.allocate((2 * room_ + kRecent) * sizeof(uint64_t));
    }

    /// Takes `number_of(i)` for as many i below a count as there is room for; how many. `sort` follows when it is full.
    template <class NumberOf> size_t take(size_t count, NumberOf number_of) noexcept
    {
        const size_t some = std::min(count, room_ - count_);
        uint64_t* to = numbers() + count_;
        uint64_t* const recent = numbers() + 2 * room_;
        for (size_t i = 0; i < some; ++i) {
            const uint64_t number = number_of(i);
            uint64_t& last = recent[number % kRecent];
            *to = number;
            to += last != number || number == 0 ? 1 : 0; // which no branch could foretell
            last = number;
        }
        count_ = static_cast<size_t>(to - numbers());
        return some;
    }
    bool is_full() const noexcept { return count_ == room_; }

    /// Brings them in order; they are gone afterwards.
    const uint64_t* sort(size_t* count) noexcept
    {
        uint32_t ends[kParts + 1] = {};
        const uint64_t* const from = numbers();
        uint64_t* const to = numbers() + room_;
        const size_t in_all = *count = count_;
        for (size_t i = 0; i < in_all; ++i)
            ++ends[part(from[i]) + 1];
        for (size_t i = 0; i < kParts; ++i)
            ends[i + 1] += ends[i];
        for (size_t i = 0; i < in_all; ++i)
            to[ends[part(from[i])]++] = from[i];
        count_ = 0;
        return to;
    }

    /// Forgets what came before.
    void clear() noexcept { std::memset(numbers() + 2 * room_, 0, kRecent * sizeof(uint64_t)); }

private:
    static constexpr uint64_t kMost = 1u << 19;
    static constexpr size_t kRecent = 1u << 11;
    static constexpr size_t kParts = 1u << 10;

    static size_t part(uint64_t number) noexcept { return number / (kMostSlots / kParts) % kParts; }
    uint64_t* numbers() const noexcept { return reinterpret_cast<uint64_t*>(memory_.data()); }

    RowBuffer memory_;
    size_t room_ = 0;
    size_t count_ = 0;
};

/// Passes over a bitmap of 32, 48 or 64 bits, each for a range of scrambled colours that follows the one before. A
/// range for which there is no room ends earlier from then on: what it does not hold any more is left to the next.
class Passes {
public:
    Passes(BITMAPHANDLE& bitmap, uint32_t most_slots) noexcept
        : bitmap_(bitmap), found_(most_slots), progress_(kSteps),
          range_(bitmap.BitsPerPixel == 32 && bitmap.Order == COLORORDER_GRAY ? gray_range_of(bitmap)
                                                                              : GrayRange{32, 0})
    {}

    int run(uint64_t* colors) noexcept
    {
        uint64_t count = 0;
        int result = progress_.begin();
        const uint64_t pixels = uint64_t{static_cast<uint32_t>(bitmap_.Width)} * static_cast<uint32_t>(bitmap_.Height);
        if (result == V_SUCCESS && !waiting_.open(pixels))
            result = V_ERROR_NO_MEMORY;
        for (bool is_done = false; !is_done && result == V_SUCCESS; first_ = last_ + 1) {
            last_ = UINT64_MAX;
            waiting_.clear();
            result = found_.start() ? pass() : V_ERROR_NO_MEMORY;
            count += found_.count();
            is_done = last_ == UINT64_MAX;
        }
        if (result == V_SUCCESS)
            *colors = count;
        return result;
    }

private:
    static constexpr int64_t kSteps = 1000;

    int pass() noexcept
    {
        return each_batch(
            bitmap_, [&](const uint8_t* row) noexcept { return add_row(row); },
            [&](int32_t row) noexcept {
                if (row == bitmap_.Height && !add_waiting())
                    return V_ERROR_NO_MEMORY;
                const double range = static_cast<double>(last_ - first_);
                const double done = static_cast<double>(first_) + range * row / bitmap_.Height;
                told_ = std::max(told_, static_cast<int64_t>(done * (kSteps / 18446744073709551616.0)));
                const bool is_end = last_ == UINT64_MAX && row == bitmap_.Height;
                return progress_.update(is_end ? kSteps : told_);
            });
    }

    int add_row(const uint8_t* row) noexcept
    {
        switch (bitmap_.BitsPerPixel) {
        case 32:
            return add_row_of<4>(row);
        case 48:
            return add_row_of<6>(row);
        default:
            return add_row_of<8>(row);
        }
    }

    template <size_t kBytes> int add_row_of(const uint8_t* row) noexcept
    {
        const GrayRange range = range_;
        const auto width = static_cast<size_t>(bitmap_.Width);
        for (size_t done = 0; done < width;) {
            done += waiting_.take(width - done, [&](size_t i) noexcept {
                uint64_t color = 0;
                std::memcpy(&color, row + kBytes * (done + i), kBytes);
                if constexpr (kBytes == 4)
                    color = range.extract(static_cast<uint32_t>(color));
                return scrambled(color);
            });
            if (waiting_.is_full() && !add_waiting())
                return V_ERROR_NO_MEMORY;
        }
        return V_SUCCESS;
    }

    bool add_waiting() noexcept
    {
        size_t count = 0;
        const uint64_t* const numbers = waiting_.sort(&count);
        return std::all_of(numbers, numbers + count, [this](uint64_t number) noexcept { return add(number); });
    }

    bool add(uint64_t number) noexcept
    {
        while (number >= first_ && number <= last_ && !found_.add(number))
            if (!make_room())
                return false;
        return true;
    }

    bool make_room() noexcept
    {
        if (found_.may_grow())
            return found_.grow();
        last_ = first_ + (last_ - first_) / 2;
        return found_.keep_up_to(last_);
    }

    BITMAPHANDLE& bitmap_;
    Found found_;
    Waiting waiting_;
    Progress progress_;
    const GrayRange range_;
    uint64_t first_ = 0;
    uint64_t last_ = UINT64_MAX;
    int64_t told_ = 0;
};

} // namespace

int count_colors(BITMAPHANDLE& bitmap, uint64_t* colors, uint32_t most_slots) noexcept
{
    BitmapAccess access(bitmap);
    uint64_t found = 0;
    int result = access.result();
    if (result == V_SUCCESS)
        result = bitmap.BitsPerPixel <= 24 ? count_by_bits(bitmap, &found) : Passes(bitmap, most_slots).run(&found);
    result = first_failure(result, access.release());
    if (result == V_SUCCESS)
        *colors = found;
    return result;
}

} // namespace vk
