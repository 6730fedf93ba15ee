// Bitmaps of every storage kind, for tests on either side of the public header: a record that frees itself and shows
// when something behind an earlier record was touched, and settings that put themselves back.
#pragma once

#include "Vkkrnx.h"
#include "kernel/format/Depths.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <vector>

namespace vk::testing {

/// The depths, from the kernel's table; what the tests expect of them they say themselves.
inline constexpr auto kDepths = [] {
    std::array<int32_t, kDepthCount> bits{};
    std::transform(std::begin(kDepthTable), std::end(kDepthTable), bits.begin(), [](const Depth& d) { return d.bits; });
    return bits;
}();

/// Where a test bitmap's pixels are. The tiled kinds differ in how many tiles stay in memory.
enum class Kind { conv, global, user, disk, tiled_file, tiled_memory, tiled_mixed, compressed, super };
constexpr Kind kKinds[] = {Kind::conv,         Kind::global,      Kind::user,       Kind::disk, Kind::tiled_file,
                           Kind::tiled_memory, Kind::tiled_mixed, Kind::compressed, Kind::super};
constexpr const char* kKindNames[] = {"conventional", "global",          "user",
                                      "disk",         "tiles in a file", "memory tiles",
                                      "mixed tiles",  "compressed",      "super-compressed"};

inline bool can_make(Kind kind, int32_t bits)
{
    if (kind == Kind::compressed)
        return bits == 1;
    return kind != Kind::super || bits == 1 || bits == 8 || bits == 24;
}

inline const char* name_of(Kind kind)
{
    return kKindNames[static_cast<size_t>(kind)];
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

    int32_t reserved_ = 0;
    int64_t max_conv_ = 0;
    int64_t tile_size_ = 0;
    int32_t conv_tiles_ = 0;
    int32_t conv_buffers_ = 0;
};

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
        expect_poison();
    }
    TestBitmap(const TestBitmap&) = delete;
    TestBitmap& operator=(const TestBitmap&) = delete;

    BITMAPHANDLE* get() { return &record_; }
    BITMAPHANDLE* operator->() { return &record_; }
    uint32_t struct_size() const { return size_; }
    uint64_t data_size() const { return size_ == BITMAPHANDLE_SIZE ? record_.Size64 : record_.Size; }
    size_t bytes() const { return size_t{record_.BytesPerLine} * static_cast<uint32_t>(record_.Height); }
    /// The record as it is, byte for byte.
    std::vector<uint8_t> image() const
    {
        const auto* first = reinterpret_cast<const uint8_t*>(&record_);
        return {first, first + sizeof record_};
    }
    /// True when the record says nothing but its size.
    bool is_empty() const
    {
        std::vector<uint8_t> all = image();
        return std::all_of(all.begin() + 4, all.begin() + size_, [](uint8_t byte) { return byte == 0; });
    }

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
        ASSERT_EQ(SUCCESS, V_InitBitmap(&record_, size_, width, height, bits));
        switch (kind) {
        case Kind::conv:
            ASSERT_EQ(SUCCESS, V_AllocateBitmap(&record_, TYPE_CONV));
            break;
        case Kind::global:
            make_global();
            break;
        case Kind::user:
            lent_.assign(bytes(), 0);
            ASSERT_EQ(SUCCESS, V_AllocateBitmap(&record_, TYPE_USER));
            ASSERT_EQ(SUCCESS, V_SetBitmapDataPointer(&record_, lent_.data(), lent_.size()));
            break;
        case Kind::disk:
            ASSERT_EQ(SUCCESS, V_AllocateBitmap(&record_, TYPE_DISK));
            break;
        case Kind::tiled_file:
        case Kind::tiled_memory:
        case Kind::tiled_mixed:
            Thresholds::tiles(2 * int64_t{record_.BytesPerLine},
                              kind == Kind::tiled_file     ? 0
                              : kind == Kind::tiled_memory ? -100
                                                           : 2,
                              2);
            ASSERT_EQ(SUCCESS, V_AllocateBitmap(&record_, TYPE_TILED));
            ASSERT_TRUE(height < 3 || V_BitmapIsTiled(&record_));
            break;
        case Kind::compressed:
            ASSERT_EQ(SUCCESS, V_AllocateBitmap(&record_, TYPE_COMPRESSED));
            break;
        case Kind::super:
            ASSERT_EQ(SUCCESS, V_AllocateBitmap(&record_, TYPE_SUPERCOMPRESSED));
            ASSERT_TRUE(V_BitmapIsSuperCompressed(&record_));
            break;
        }
    }

    void expect_poison() const
    {
        const std::vector<uint8_t> all = image();
        EXPECT_TRUE(std::all_of(all.begin() + size_, all.end(), [](uint8_t byte) { return byte == kPoison; }))
            << "something behind the earlier record was written";
    }

    /// The whole storage, read row by row; `*code` receives the first result that is not the number of bytes.
    std::vector<uint8_t> pixels(intptr_t* code = nullptr)
    {
        std::vector<uint8_t> all(bytes());
        const auto line = static_cast<intptr_t>(record_.BytesPerLine);
        EXPECT_EQ(SUCCESS, V_AccessBitmap(&record_));
        for (int32_t row = 0; row < record_.Height; ++row) {
            const intptr_t moved = V_GetBitmapRow(&record_, all.data() + row * line, row, record_.BytesPerLine);
            if (moved != line && code != nullptr)
                *code = moved;
            else {
                EXPECT_EQ(line, moved) << "row " << row;
            }
        }
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
    std::vector<uint8_t> lent_;
};

/// A pixel's bits, worked out bit by bit: up to 7 bits are one stream, most significant bit first; 12 bits pair up in
/// three bytes, low byte first; deeper ones are whole little-endian bytes.
inline uint64_t get_pixel(const uint8_t* row, int32_t bits, int32_t column)
{
    uint64_t value = 0;
    const int64_t first = int64_t{column} * bits;
    for (int64_t i = 0; i < bits; ++i) {
        const int64_t bit = first + i;
        if (bits < 8)
            value = value << 1 | (row[bit / 8] >> (7 - bit % 8) & 1u);
        else
            value |= uint64_t{row[bit / 8] >> (bit % 8) & 1u} << i;
    }
    return value;
}

inline void set_pixel(uint8_t* row, int32_t bits, int32_t column, uint64_t value)
{
    const int64_t first = int64_t{column} * bits;
    for (int64_t i = 0; i < bits; ++i) {
        const int64_t bit = first + i;
        const int64_t from = bits < 8 ? bits - 1 - i : i;
        const auto mask = static_cast<uint8_t>(1u << (bits < 8 ? 7 - bit % 8 : bit % 8));
        row[bit / 8] = static_cast<uint8_t>((value >> from & 1u) != 0 ? row[bit / 8] | mask : row[bit / 8] & ~mask);
    }
}

} // namespace vk::testing
