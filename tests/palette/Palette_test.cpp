// Built-in palettes against their rules, palette memory, palette objects, and what bitmaps do with palettes.
#include "Vkkrnx.h"
#include "tests/reference/ConvertReference.h"
#include "tests/support/FaultLoop.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <vector>

namespace vk {
namespace {

using testing::for_each_fault;

bool same(const RGBQUAD& a, const RGBQUAD& b)
{
    return std::memcmp(&a, &b, sizeof a) == 0;
}

int delete_object(HPALETTE palette)
{
#if defined(_WIN32)
    return DeleteObject(palette);
#else
    return V_DeletePalette(palette);
#endif
}

/// A record that owns its palette and nothing else.
struct Bitmap {
    BITMAPHANDLE record{};

    explicit Bitmap(int32_t bits, uint32_t size = BITMAPHANDLE_SIZE)
    {
        record.StructSize = size;
        record.BitsPerPixel = bits;
        record.Order = COLORORDER_BGR;
    }
    ~Bitmap()
    {
        if (record.Palette != nullptr) {
            V_FreePalette(record.Palette);
        }
    }
    Bitmap(const Bitmap&) = delete;
    Bitmap& operator=(const Bitmap&) = delete;
    BITMAPHANDLE* operator&() { return &record; }

    /// Red, green and blue of every entry.
    std::vector<uint32_t> colors() const
    {
        std::vector<uint32_t> result;
        for (uint32_t i = 0; record.Palette != nullptr && i < record.Colors; ++i) {
            const RGBQUAD e = record.Palette[i];
            result.push_back(e.rgbRed * 0x10000u + e.rgbGreen * 0x100u + e.rgbBlue);
        }
        return result;
    }
};

const RGBQUAD kThree[] = {{1, 2, 3, 0}, {255, 0, 0, 0}, {10, 20, 30, 1}};

TEST(Palette, FixedTablesFollowTheirRules)
{
    RGBQUAD entries[257];
    for (int32_t bits = 0; bits <= 8; ++bits) {
        const uint32_t count = bits == 0 ? 256 : 1u << bits;
        std::memset(entries, 0xEE, sizeof entries);
        ASSERT_EQ(SUCCESS, V_GetFixedPalette(entries, bits));
        for (uint32_t i = 0; i < count; ++i) {
            const auto gray = static_cast<uint8_t>(i);
            const RGBQUAD expected = bits == 0 ? RGBQUAD{gray, gray, gray, 0} : reference::fixed_entry(bits, i);
            ASSERT_TRUE(same(expected, entries[i])) << bits << " bits, entry " << i;
            ASSERT_TRUE(bits == 0 || same(expected, V_IntGetFixedPalette(bits)[i]));
        }
        EXPECT_EQ(0xEE, entries[count].rgbBlue) << "written past the end";
    }
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_GetFixedPalette(nullptr, 8));
    for (const int32_t bits : {-1, 9}) {
        EXPECT_EQ(ERROR_INVALID_PARAMETER, V_GetFixedPalette(entries, bits));
        EXPECT_EQ(nullptr, V_IntGetFixedPalette(bits));
    }
    EXPECT_EQ(nullptr, V_IntGetFixedPalette(0));
}

TEST(Palette, CubeOf216)
{
    const RGBQUAD* cube = V_IntGetNetscapePalette();
    for (unsigned i = 0; i < 256; ++i) {
        const auto level = [i](unsigned step) { return static_cast<uint8_t>(i < 216 ? i / step % 6 * 51 : 0); };
        EXPECT_TRUE(same({level(1), level(6), level(36), 0}, cube[i])) << i;
    }
}

TEST(Palette, MakesAndFreesPalettes)
{
    for (int32_t bits = -1; bits <= 17; ++bits) {
        RGBQUAD* fixed = V_CreateFixedPalette(bits);
        RGBQUAD* gray = V_CreateGrayPalette(bits);
        ASSERT_EQ(bits >= 0 && bits <= 8, fixed != nullptr);
        ASSERT_EQ(bits >= 0 && bits <= 16, gray != nullptr);
        if (gray == nullptr) {
            continue;
        }
        const unsigned count = bits == 0 ? 256 : 1u << bits;
        const unsigned fixed_count = bits == 0 ? 2 : count;
        if (fixed != nullptr) {
            EXPECT_EQ(0, std::memcmp(fixed, V_IntGetFixedPalette(std::max(bits, 1)), fixed_count * sizeof(RGBQUAD)));
        }
        for (unsigned i = 0; i < count; ++i) {
            const auto level = static_cast<uint8_t>(i * 255 / (count - 1));
            EXPECT_TRUE(same({level, level, level, 0}, gray[i])) << bits << ' ' << i;
        }
        EXPECT_GE(GlobalSize(GlobalHandle(gray)), count * sizeof(RGBQUAD));
        EXPECT_EQ(1u, GlobalFlags(GlobalHandle(gray)) & GMEM_LOCKCOUNT);
        EXPECT_EQ(fixed != nullptr ? SUCCESS : ERROR_INVALID_PARAMETER, V_FreePalette(fixed));
        EXPECT_EQ(SUCCESS, V_FreePalette(gray));
    }
    EXPECT_EQ(nullptr, V_CreateNewPalette(nullptr, 2));
    EXPECT_EQ(nullptr, V_CreateNewPalette(V_IntGetFixedPalette(8), 0));
    EXPECT_EQ(nullptr, V_CreateNewPalette(V_IntGetFixedPalette(8), 257));
    RGBQUAD* copy = V_CreateNewPalette(kThree, 3);
    ASSERT_NE(nullptr, copy);
    EXPECT_EQ(0, std::memcmp(kThree, copy, sizeof kThree));
    EXPECT_EQ(SUCCESS, V_FreePalette(copy));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_FreePalette(nullptr));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_FreePalette(const_cast<RGBQUAD*>(V_IntGetFixedPalette(4))));
}

TEST(Palette, ObjectsHoldEntriesAndFlags)
{
    const HPALETTE object = V_CreatePalette(kThree, 3);
    const HPALETTE twin = V_DupPalette(object);
    ASSERT_NE(nullptr, object);
    ASSERT_NE(nullptr, twin);
    RGBQUAD entries[4] = {};
    EXPECT_EQ(3u, V_GetPaletteEntries(twin, 0, 4, entries));
    EXPECT_EQ(0, std::memcmp(kThree, entries, sizeof kThree));
    EXPECT_EQ(1u, V_GetPaletteEntries(object, 2, 4, entries));
    EXPECT_TRUE(same(kThree[2], entries[0]));
    EXPECT_EQ(0u, V_GetPaletteEntries(object, 3, 1, entries));
    EXPECT_EQ(3u, V_GetPaletteEntries(object, 0, 0, nullptr));
    EXPECT_EQ(0u, V_GetPaletteEntries(nullptr, 0, 1, entries));
    EXPECT_NE(0, delete_object(object));
    EXPECT_NE(0, delete_object(twin));
    EXPECT_EQ(0, delete_object(nullptr));
    EXPECT_EQ(nullptr, V_DupPalette(nullptr));
    EXPECT_EQ(nullptr, V_CreatePalette(nullptr, 3));
    EXPECT_EQ(nullptr, V_CreatePalette(kThree, 0));
    EXPECT_EQ(nullptr, V_CreatePalette(V_IntGetFixedPalette(8), 257));
    EXPECT_EQ(nullptr, V_CreateSystemPalette()) << "no palette display in sight";
}

TEST(Palette, BitmapsOwnTheirs)
{
    for (const uint32_t size : {BITMAPHANDLE_SIZE, BITMAPHANDLE_SIZE_EARLIER}) {
        Bitmap a(8, size), b(4, BITMAPHANDLE_SIZE);
        EXPECT_EQ(SUCCESS, V_SetBitmapNewPalette(&a, kThree, 3));
        EXPECT_EQ((std::vector<uint32_t>{0x030201, 0x0000FF, 0x1E140A}), a.colors());
        EXPECT_EQ(SUCCESS, V_SetBitmapNewPalette(&a, a.record.Palette + 1, 2)) << "its own entries";
        EXPECT_EQ((std::vector<uint32_t>{0x0000FF, 0x1E140A}), a.colors());
        EXPECT_EQ(SUCCESS, V_CopyBitmapPalette(&b, &a));
        EXPECT_EQ(a.colors(), b.colors());
        EXPECT_EQ(SUCCESS, V_CopyBitmapPalette(&b, &b));
        EXPECT_EQ(a.colors(), b.colors());
        EXPECT_EQ(SUCCESS, V_SetBitmapNewPalette(&a, nullptr, 2));
        EXPECT_EQ(nullptr, a.record.Palette);
        EXPECT_EQ(SUCCESS, V_CopyBitmapPalette(&b, &a));
        EXPECT_EQ(nullptr, b.record.Palette);
        EXPECT_EQ(0u, b.record.Colors);
        EXPECT_EQ(SUCCESS, V_CreateBitmapGrayPalette(&b));
        EXPECT_EQ(16u, b.record.Colors);
        EXPECT_EQ(0x111111u, b.colors()[1]);
        EXPECT_EQ(FAILURE, V_SetBitmapNewPalette(&b, kThree, 257));
        EXPECT_EQ(nullptr, b.record.Palette);
    }
}

TEST(Palette, BitmapsTakeTheFixedTableOfTheirColors)
{
    Bitmap bitmap(8);
    for (uint32_t colors = 0; colors <= 257; ++colors) {
        bitmap.record.Colors = colors;
        const bool known = colors >= 2 && colors <= 256 && (colors & (colors - 1)) == 0;
        ASSERT_EQ(known ? SUCCESS : FAILURE, V_CreateBitmapFixedPalette(&bitmap)) << colors;
        ASSERT_EQ(known, bitmap.record.Palette != nullptr);
        int32_t bits = 0;
        while (colors >> bits > 1) {
            ++bits;
        }
        for (uint32_t i = 0; known && colors != 4 && i < colors; ++i) {
            ASSERT_TRUE(same(reference::fixed_entry(bits, i), bitmap.record.Palette[i]));
        }
        if (colors == 4) {
            EXPECT_EQ((std::vector<uint32_t>{0, 0xFFFFFF, 0, 0}), bitmap.colors());
        }
    }
}

TEST(Palette, BitmapsTakeObjects)
{
    Bitmap bitmap(8);
    const HPALETTE three = V_CreatePalette(kThree, 3), one = V_CreatePalette(kThree, 1);
    EXPECT_EQ(SUCCESS, V_SetBitmapPalette(&bitmap, three));
    EXPECT_EQ((std::vector<uint32_t>{0x030201, 0x0000FF, 0x1E140A}), bitmap.colors());
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_SetBitmapPalette(&bitmap, one));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_SetBitmapPalette(&bitmap, nullptr));
    EXPECT_EQ(ERROR_INVALID_IMAGE, V_SetBitmapPalette(nullptr, three));
    EXPECT_EQ(3u, bitmap.record.Colors);
    delete_object(three);
    delete_object(one);
}

TEST(Palette, ChecksRecordsInOrder)
{
    Bitmap good(8), wrong(8, 100), deep(24);
    BITMAPHANDLE* null = nullptr;
    const HPALETTE object = V_CreatePalette(kThree, 3);
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_SetBitmapNewPalette(null, kThree, 3));
    EXPECT_EQ(ERROR_INVALID_STRUCT_SIZE, V_SetBitmapNewPalette(&wrong, kThree, 3));
    EXPECT_EQ(ERROR_INVALID_STRUCT_SIZE, V_SetBitmapPalette(&wrong, object));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_CopyBitmapPalette(null, &good));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_CopyBitmapPalette(&wrong, null));
    EXPECT_EQ(ERROR_INVALID_STRUCT_SIZE, V_CopyBitmapPalette(&wrong, &good));
    EXPECT_EQ(ERROR_INVALID_STRUCT_SIZE, V_CopyBitmapPalette(&good, &wrong));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_CreateBitmapGrayPalette(null));
    EXPECT_EQ(ERROR_INVALID_STRUCT_SIZE, V_CreateBitmapGrayPalette(&wrong));
    EXPECT_EQ(ERROR_INVALID_BITS_PER_PIXEL, V_CreateBitmapGrayPalette(&deep));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_CreateBitmapFixedPalette(null));
    EXPECT_EQ(ERROR_INVALID_STRUCT_SIZE, V_CreateBitmapFixedPalette(&wrong));
    delete_object(object);
}

TEST(Palette, ComparesColorsOnly)
{
    Bitmap bitmap(8);
    EXPECT_EQ(1, V_CompareBitmapToPalette(&bitmap, kThree, 3)) << "nothing to compare";
    ASSERT_EQ(SUCCESS, V_SetBitmapNewPalette(&bitmap, kThree, 3));
    RGBQUAD other[4] = {kThree[0], kThree[1], kThree[2], {7, 7, 7, 7}};
    other[0].rgbReserved = 9;
    EXPECT_EQ(1, V_CompareBitmapToPalette(&bitmap, other, 4));
    EXPECT_EQ(1, V_CompareBitmapToPalette(&bitmap, other, 0));
    for (uint8_t RGBQUAD::*channel : {&RGBQUAD::rgbRed, &RGBQUAD::rgbGreen, &RGBQUAD::rgbBlue}) {
        other[2] = kThree[2];
        ++(other[2].*channel);
        EXPECT_EQ(0, V_CompareBitmapToPalette(&bitmap, other, 3));
        EXPECT_EQ(1, V_CompareBitmapToPalette(&bitmap, other, 2));
    }
    EXPECT_EQ(0, V_CompareBitmapToPalette(nullptr, kThree, 3));
}

TEST(Palette, SurvivesFailingMemory)
{
    const uint64_t rounds = for_each_fault(
        [] {
            Bitmap bitmap(4), other(8);
            const HPALETTE object = V_CreatePalette(kThree, 3);
            const HPALETTE twin = V_DupPalette(object);
            V_CreateBitmapGrayPalette(&bitmap);
            const std::vector<uint32_t> before = bitmap.colors();
            const int set = object != nullptr ? V_SetBitmapPalette(&bitmap, object) : ERROR_NO_MEMORY;
            EXPECT_EQ(set == SUCCESS ? 3u : before.size(), bitmap.colors().size());
            const int copied = V_CopyBitmapPalette(&other, &bitmap);
            EXPECT_EQ(copied == SUCCESS ? bitmap.colors() : std::vector<uint32_t>{}, other.colors());
            bitmap.record.Colors = 8;
            const int fixed = V_CreateBitmapFixedPalette(&bitmap);
            EXPECT_EQ(fixed == SUCCESS, bitmap.record.Palette != nullptr);
            V_TranslateBitmapColor(&bitmap, nullptr, 0x123456);
            V_FreeUserMatchTable(V_CreateUserMatchTable(kThree, 3));
            if (object != nullptr) {
                delete_object(object);
            }
            if (twin != nullptr) {
                delete_object(twin);
            }
        },
        {});
    EXPECT_GE(rounds, 6u);
}

} // namespace
} // namespace vk
