// Bitmaps of every storage kind, for tests on either side of the public header: a record that frees itself and shows
// when something behind an earlier record was touched, settings that put themselves back, and single pixels.
#pragma once

#include "Vkkrnx.h"
#include "kernel/format/Depths.h"
#include "tests/support/TestRandom.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <functional>
#include <initializer_list>
#include <iterator>
#include <string>
#include <vector>

namespace vk::testing {

using Bytes = std::vector<uint8_t>;
using Palette = std::vector<RGBQUAD>;

/// The depths, from the kernel's table; what the tests expect of them they say themselves.
inline constexpr auto kDepths = [] {
    std::array<int32_t, kDepthCount> bits{};
    std::transform(std::begin(kDepthTable), std::end(kDepthTable), bits.begin(), [](const Depth& d) { return d.bits; });
    return bits;
}();
constexpr uint32_t kRecordSizes[] = {BITMAPHANDLE_SIZE, BITMAPHANDLE_SIZE_EARLIER};

/// Where a test bitmap's pixels are. The tiled kinds differ in how many tiles stay in memory.
enum class Kind { conv, global, user, disk, tiled_file, tiled_memory, tiled_mixed, compressed, super };
constexpr Kind kKinds[] = {Kind::conv,         Kind::global,      Kind::user,       Kind::disk, Kind::tiled_file,
                           Kind::tiled_memory, Kind::tiled_mixed, Kind::compressed, Kind::super};
constexpr struct {
    const char* name;
    uint32_t memory; ///< what to ask for
} kKindFacts[] = {
    {"conventional", TYPE_CONV}, {"global", TYPE_CONV},           {"user", TYPE_USER},
    {"disk", TYPE_DISK},         {"tiles in a file", TYPE_TILED}, {"memory tiles", TYPE_TILED},
    {"mixed tiles", TYPE_TILED}, {"compressed", TYPE_COMPRESSED}, {"super-compressed", TYPE_SUPERCOMPRESSED}};

inline bool can_make(Kind kind, int32_t bits)
{
    return kind == Kind::compressed ? bits == 1 : kind != Kind::super || bits == 1 || bits == 8 || bits == 24;
}
inline const char* name_of(Kind kind)
{
    return kKindFacts[static_cast<size_t>(kind)].name;
}
inline uint32_t memory_for(Kind kind)
{
    return kKindFacts[static_cast<size_t>(kind)].memory;
}

/// Values for SCOPED_TRACE: any number of things, with blanks between them.
template <class... Values> std::string say(const Values&... values)
{
    ::testing::Message message;
    ((message << values << ' '), ...);
    return message.GetString();
}

/// Expects the same code of every call in a list.
inline void expect_each(int64_t code, std::initializer_list<int64_t> results)
{
    for (const int64_t& result : results)
        EXPECT_EQ(code, result) << "call " << &result - results.begin();
}

/// The calling thread's memory thresholds, put back at the end of the scope.
class Thresholds {
public:
    Thresholds() { V_GetMemoryThresholds(&reserved_, &max_conv_, &tile_size_, &conv_tiles_, &conv_buffers_); }
    ~Thresholds() { V_SetMemoryThresholds(reserved_, max_conv_, tile_size_, conv_tiles_, conv_buffers_, 31); }
    Thresholds(const Thresholds&) = delete;
    Thresholds& operator=(const Thresholds&) = delete;

    static void max_conv(int64_t bytes) { set(0, bytes, 0, 0, 0, THRESHOLD_MAXCONVSIZE); }
    static void tiles(int64_t size, int32_t in_memory, int32_t mapped)
    {
        set(0, 0, size, in_memory, mapped, THRESHOLD_TILESIZE | THRESHOLD_CONVTILES | THRESHOLD_CONVBUFFERS);
    }

private:
    static void set(int32_t reserved, int64_t max_conv, int64_t tile, int32_t in_memory, int32_t mapped, uint32_t flags)
    {
        EXPECT_EQ(SUCCESS, V_SetMemoryThresholds(reserved, max_conv, tile, in_memory, mapped, flags));
    }

    int32_t reserved_ = 0, conv_tiles_ = 0, conv_buffers_ = 0;
    int64_t max_conv_ = 0, tile_size_ = 0;
};

/// What V_GetBitmapMemoryInfo tells.
struct MemoryFigures {
    uint32_t memory = 7;
    int64_t tile_bytes = 7;
    int32_t tiles = 7, in_memory = 7, in_file = 7, mapped = 7;

    explicit MemoryFigures(BITMAPHANDLE* bitmap)
    {
        EXPECT_EQ(SUCCESS, V_GetBitmapMemoryInfo(bitmap, &memory, &tile_bytes, &tiles, &in_memory, &in_file, &mapped));
    }
};

/// The status callback for the length of a scope: notes percentages, and refuses with a code of its own from a
/// percentage or from a number of calls on.
struct Watch {
    static constexpr int kRefused = -4711;
    std::vector<int> told = {};
    int refuse_at = 101;
    size_t refuse_after = SIZE_MAX;

    explicit Watch(int percent = 101, size_t calls = SIZE_MAX) : refuse_at(percent), refuse_after(calls)
    {
        V_SetStatusCallback(tell, this, nullptr, nullptr);
    }
    ~Watch() { V_SetStatusCallback(nullptr, nullptr, nullptr, nullptr); }
    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;

    static int tell(int percent, void* self)
    {
        auto& watch = *static_cast<Watch*>(self);
        watch.told.push_back(percent);
        return percent >= watch.refuse_at || watch.told.size() > watch.refuse_after ? kRefused : SUCCESS;
    }
};

/// A table of data callbacks that hand this to each of them.
template <class User> BITMAPDATACALLBACKS callbacks_for(User* user)
{
    BITMAPDATACALLBACKS table{};
    table.StructSize = sizeof table;
    table.UserData = user;
    return table;
}

/// A pixel's bits, worked out bit by bit: up to 7 bits are one stream, most significant bit first; 12 bits pair up in
/// three bytes, low byte first; deeper ones are whole little-endian bytes.
inline uint64_t get_pixel(const uint8_t* row, int32_t bits, int32_t column)
{
    uint64_t value = 0;
    for (int64_t i = 0; i < bits; ++i) {
        const int64_t bit = int64_t{column} * bits + i;
        value = bits < 8 ? value << 1 | (row[bit / 8] >> (7 - bit % 8) & 1u)
                         : value | uint64_t{row[bit / 8] >> (bit % 8) & 1u} << i;
    }
    return value;
}

inline void set_pixel(uint8_t* row, int32_t bits, int32_t column, uint64_t value)
{
    for (int64_t i = 0; i < bits; ++i) {
        const int64_t bit = int64_t{column} * bits + i;
        const auto mask = static_cast<uint8_t>(1u << (bits < 8 ? 7 - bit % 8 : bit % 8));
        const bool set = value >> (bits < 8 ? bits - 1 - i : i) & 1u;
        row[bit / 8] = static_cast<uint8_t>(set ? row[bit / 8] | mask : row[bit / 8] & ~mask);
    }
}

/// Bytes that so many pixels take, packed.
constexpr size_t packed_bytes_of(int64_t pixels, int32_t bits)
{
    return static_cast<size_t>((pixels * bits + 7) / 8);
}

/// Writes all pixels, padding clear. `value(x, y)` gives their bits.
template <class Value> void paint_pixels(BITMAPHANDLE* bitmap, const Value& value)
{
    ASSERT_EQ(SUCCESS, V_AccessBitmap(bitmap));
    for (int32_t y = 0; y < bitmap->Height; ++y) {
        Bytes row(bitmap->BytesPerLine);
        for (int32_t x = 0; x < bitmap->Width; ++x)
            set_pixel(row.data(), bitmap->BitsPerPixel, x, value(x, y));
        ASSERT_EQ(static_cast<intptr_t>(row.size()), V_PutBitmapRow(bitmap, row.data(), y, row.size()));
    }
    ASSERT_EQ(SUCCESS, V_ReleaseBitmap(bitmap));
}

/// A bitmap record of either size. What lies behind an earlier record is poisoned and must stay so.
class TestBitmap {
public:
    explicit TestBitmap(uint32_t struct_size = BITMAPHANDLE_SIZE) : size_(struct_size)
    {
        std::memset(static_cast<void*>(&record_), kPoison, sizeof record_);
        std::memset(static_cast<void*>(&record_), 0, size_);
        record_.StructSize = size_;
    }
    ~TestBitmap()
    {
        V_FreeBitmap(&record_);
        const Bytes all = image();
        EXPECT_TRUE(std::all_of(all.begin() + size_, all.end(), [](uint8_t byte) { return byte == kPoison; }))
            << "something behind the earlier record was written";
    }
    TestBitmap(const TestBitmap&) = delete;
    TestBitmap& operator=(const TestBitmap&) = delete;

    operator BITMAPHANDLE*() { return &record_; }
    BITMAPHANDLE* get() { return &record_; }
    BITMAPHANDLE* operator->() { return &record_; }
    BITMAPHANDLE& operator*() { return record_; }
    uint32_t struct_size() const { return size_; }
    uint64_t data_size() const { return size_ == BITMAPHANDLE_SIZE ? record_.Size64 : record_.Size; }
    size_t bytes() const { return size_t{record_.BytesPerLine} * static_cast<uint32_t>(record_.Height); }
    /// A stored row of a bitmap whose pixels are in memory.
    uint8_t* row(int64_t y) const { return record_.Data + static_cast<int64_t>(record_.BytesPerLine) * y; }
    /// The record as it is, byte for byte.
    Bytes image() const
    {
        const auto* first = reinterpret_cast<const uint8_t*>(&record_);
        return {first, first + sizeof record_};
    }
    /// True when the record says nothing but its size.
    bool is_empty() const
    {
        const Bytes all = image();
        return std::all_of(all.begin() + 4, all.begin() + size_, [](uint8_t byte) { return byte == 0; });
    }

    int init(int32_t width, int32_t height, int32_t bits) { return V_InitBitmap(&record_, size_, width, height, bits); }
    int create(uint32_t memory, int32_t width, int32_t height, int32_t bits, int32_t order = COLORORDER_RGB,
               const RGBQUAD* palette = nullptr)
    {
        return V_CreateBitmap(&record_, size_, memory, width, height, bits, order, palette, TOP_LEFT, nullptr, 0);
    }

    /// Makes a bitmap of a kind, with clear pixels. Tiles hold two rows; two of them stay mapped.
    void make(Kind kind, int32_t width, int32_t height, int32_t bits)
    {
        const Thresholds restore;
        ASSERT_EQ(SUCCESS, V_SetMemoryThresholds(0, -100, 0, 0, 0, 31));
        ASSERT_EQ(SUCCESS, init(width, height, bits));
        if (memory_for(kind) == TYPE_TILED)
            Thresholds::tiles(2 * int64_t{record_.BytesPerLine},
                              kind == Kind::tiled_file     ? 0
                              : kind == Kind::tiled_memory ? -100
                                                           : 2,
                              2);
        if (kind == Kind::global)
            return make_global();
        ASSERT_EQ(SUCCESS, V_AllocateBitmap(&record_, memory_for(kind)));
        if (kind == Kind::user) {
            lent_.assign(bytes(), 0);
            ASSERT_EQ(SUCCESS, V_SetBitmapDataPointer(&record_, lent_.data(), lent_.size()));
        }
        ASSERT_TRUE(memory_for(kind) != TYPE_TILED || height < 3 || V_BitmapIsTiled(&record_));
        ASSERT_TRUE(kind != Kind::super || V_BitmapIsSuperCompressed(&record_));
    }

    template <class Value> void paint(const Value& value) { paint_pixels(&record_, value); }
    void paint(TestRandom& random)
    {
        paint([&](int32_t, int32_t) { return random.next(); });
    }
    /// A bitmap of a kind with random pixels.
    void make(Kind kind, int32_t width, int32_t height, int32_t bits, TestRandom& random)
    {
        ASSERT_NO_FATAL_FAILURE(make(kind, width, height, bits));
        paint(random);
    }

    /// The whole storage, read row by row.
    Bytes pixels()
    {
        Bytes all(bytes());
        const auto line = static_cast<intptr_t>(record_.BytesPerLine);
        EXPECT_EQ(SUCCESS, V_AccessBitmap(&record_));
        for (int32_t row = 0; row < record_.Height; ++row)
            EXPECT_EQ(line, V_GetBitmapRow(&record_, all.data() + row * line, row, record_.BytesPerLine)) << row;
        EXPECT_EQ(SUCCESS, V_ReleaseBitmap(&record_));
        return all;
    }

private:
    static constexpr uint8_t kPoison = 0xA5;
    static constexpr int64_t kGlobalOffset = 44;

    /// A bitmap whose pixels stand in a movable block behind something else, as a DIB's do.
    void make_global()
    {
        record_.Handle = GlobalAlloc(GHND, static_cast<size_t>(kGlobalOffset) + bytes());
        ASSERT_TRUE(record_.Handle != nullptr);
        record_.DataOffset = kGlobalOffset;
        record_.Flags |= BITMAPFLAG_ALLOCATED | BITMAPFLAG_CONVENTIONALMEMORY | BITMAPFLAG_GLOBAL;
    }

    BITMAPHANDLE record_;
    uint32_t size_;
    Bytes lent_;
};

/// Deletes a palette object, by the system's own function where there is one.
inline int delete_palette(HPALETTE palette)
{
#if defined(_WIN32)
    return DeleteObject(palette);
#else
    return V_DeletePalette(palette);
#endif
}

} // namespace vk::testing
