// Built-in palettes against their rules, palette memory, palette objects, and what bitmaps do with palettes.
#include "tests/reference/ConvertReference.h"
#include "tests/support/FaultLoop.h"
#include "tests/support/TestBitmap.h"

#include "Vkkrnx.h"

namespace vk::testing {
namespace {

using Colors = std::vector<uint32_t>;

bool same(const RGBQUAD& a, const RGBQUAD& b)
{
    return std::memcmp(&a, &b, sizeof a) == 0;
}

/// A described bitmap, which owns its palette and nothing else.
struct Bitmap : TestBitmap {
    explicit Bitmap(int32_t bits, uint32_t size = BITMAPHANDLE_SIZE) : TestBitmap(size)
    {
        EXPECT_EQ(SUCCESS, init(1, 1, bits));
        (*this)->Order = COLORORDER_BGR;
    }
    /// Red, green and blue of every entry.
    Colors colors()
    {
        Colors result;
        for (uint32_t i = 0; (*this)->Palette && i < (*this)->Colors; ++i) {
            const RGBQUAD e = (*this)->Palette[i];
            result.push_back(e.rgbRed * 0x10000u + e.rgbGreen * 0x100u + e.rgbBlue);
        }
        return result;
    }
};

const RGBQUAD kThree[] = {{1, 2, 3, 0}, {255, 0, 0, 0}, {10, 20, 30, 1}};

TEST(Palette, BuiltInTablesFollowTheirRules)
{
    RGBQUAD entries[257];
    for (int32_t bits = -1; bits <= 17; ++bits) {
        SCOPED_TRACE(bits);
        const bool known = bits >= 0 && bits <= 8, is_ramp = bits >= 0 && bits <= 16;
        const uint32_t count = bits == 0 ? 256 : 1u << std::max(bits, 0);
        std::memset(static_cast<void*>(entries), 0xEE, sizeof entries);
        ASSERT_EQ(known ? SUCCESS : ERROR_INVALID_PARAMETER, V_GetFixedPalette(entries, bits));
        EXPECT_EQ(known && bits != 0, V_IntGetFixedPalette(bits) != nullptr);
        RGBQUAD* const fixed = V_CreateFixedPalette(bits);
        RGBQUAD* const ramp = V_CreateGrayPalette(bits);
        ASSERT_TRUE(known == (fixed != nullptr) && is_ramp == (ramp != nullptr));
        for (uint32_t i = 0; is_ramp && i < count; ++i) {
            const auto level = static_cast<uint8_t>(i * 255 / (count - 1));
            const RGBQUAD gray{level, level, level, 0};
            ASSERT_TRUE(same(gray, ramp[i])) << i;
            if (!known)
                continue;
            ASSERT_TRUE(same(bits == 0 ? gray : reference::fixed_entry(bits, i), entries[i])) << i;
            ASSERT_TRUE(bits == 0 || same(entries[i], V_IntGetFixedPalette(bits)[i])) << i;
            ASSERT_TRUE(bits == 0 ? i > 1 || same(fixed[i], V_IntGetFixedPalette(1)[i]) : same(entries[i], fixed[i]));
        }
        if (is_ramp) {
            EXPECT_GE(GlobalSize(GlobalHandle(ramp)), count * sizeof(RGBQUAD));
            EXPECT_EQ(1u, GlobalFlags(GlobalHandle(ramp)) & GMEM_LOCKCOUNT);
            EXPECT_EQ(SUCCESS, V_FreePalette(ramp));
        }
        if (!known)
            continue;
        EXPECT_EQ(0xEE, entries[count].rgbBlue) << "written past the end";
        EXPECT_EQ(SUCCESS, V_FreePalette(fixed));
    }
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_GetFixedPalette(nullptr, 8));
    for (uint32_t i = 0; i < 256; ++i) {
        const auto level = [i](uint32_t step) { return static_cast<uint8_t>(i < 216 ? i / step % 6 * 51 : 0); };
        EXPECT_TRUE(same({level(1), level(6), level(36), 0}, V_IntGetNetscapePalette()[i])) << i;
    }
}

TEST(Palette, ObjectsAndCopiesHoldEntriesAndFlags)
{
    RGBQUAD* const copy = V_CreateNewPalette(kThree, 3);
    const HPALETTE object = V_CreatePalette(kThree, 3);
    const HPALETTE twin = V_DupPalette(object);
    ASSERT_TRUE(copy && object && twin);
    RGBQUAD entries[4] = {};
    EXPECT_EQ(3u, V_GetPaletteEntries(twin, 0, 4, entries));
    for (const RGBQUAD* held : {entries, copy})
        EXPECT_EQ(0, std::memcmp(kThree, held, sizeof kThree));
    EXPECT_EQ(1u, V_GetPaletteEntries(object, 2, 4, entries));
    EXPECT_TRUE(same(kThree[2], entries[0]));
    EXPECT_EQ(3u, V_GetPaletteEntries(object, 0, 0, nullptr));
    expect_each(0, {V_GetPaletteEntries(object, 3, 1, entries), V_GetPaletteEntries(nullptr, 0, 1, entries),
                    delete_palette(nullptr)});
    EXPECT_TRUE(delete_palette(object) != 0 && delete_palette(twin) != 0);
    EXPECT_EQ(SUCCESS, V_FreePalette(copy));
    const RGBQUAD* const fixed = V_IntGetFixedPalette(8);
    for (const void* none :
         {static_cast<const void*>(V_DupPalette(nullptr)), static_cast<const void*>(V_CreatePalette(nullptr, 3)),
          static_cast<const void*>(V_CreatePalette(kThree, 0)), static_cast<const void*>(V_CreatePalette(fixed, 257)),
          static_cast<const void*>(V_CreateSystemPalette()), // no palette display in sight
          static_cast<const void*>(V_CreateNewPalette(nullptr, 2)),
          static_cast<const void*>(V_CreateNewPalette(fixed, 0)),
          static_cast<const void*>(V_CreateNewPalette(fixed, 257))})
        EXPECT_EQ(nullptr, none);
    expect_each(ERROR_INVALID_PARAMETER, {V_FreePalette(nullptr), V_FreePalette(const_cast<RGBQUAD*>(fixed))});
}

TEST(Palette, BitmapsOwnTheirs)
{
    for (const uint32_t size : kRecordSizes) {
        Bitmap a(8, size), b(4);
        EXPECT_EQ(SUCCESS, V_SetBitmapNewPalette(a, kThree, 3));
        EXPECT_EQ((Colors{0x030201, 0x0000FF, 0x1E140A}), a.colors());
        EXPECT_EQ(SUCCESS, V_SetBitmapNewPalette(a, a->Palette + 1, 2)) << "its own entries";
        EXPECT_EQ((Colors{0x0000FF, 0x1E140A}), a.colors());
        for (TestBitmap* from : {static_cast<TestBitmap*>(&a), static_cast<TestBitmap*>(&b)}) {
            EXPECT_EQ(SUCCESS, V_CopyBitmapPalette(b, *from));
            EXPECT_EQ(a.colors(), b.colors());
        }
        EXPECT_EQ(SUCCESS, V_SetBitmapNewPalette(a, nullptr, 2));
        EXPECT_EQ(nullptr, +a->Palette);
        EXPECT_EQ(SUCCESS, V_CopyBitmapPalette(b, a));
        EXPECT_TRUE(b->Palette == nullptr && b->Colors == 0);
        EXPECT_EQ(SUCCESS, V_CreateBitmapGrayPalette(b));
        EXPECT_TRUE(b->Colors == 16 && b.colors()[1] == 0x111111u);
        EXPECT_EQ(FAILURE, V_SetBitmapNewPalette(b, kThree, 257));
        EXPECT_EQ(nullptr, +b->Palette);
        const HPALETTE three = V_CreatePalette(kThree, 3), one = V_CreatePalette(kThree, 1);
        EXPECT_EQ(SUCCESS, V_SetBitmapPalette(a, three));
        expect_each(ERROR_INVALID_PARAMETER, {V_SetBitmapPalette(a, one), V_SetBitmapPalette(a, nullptr)});
        EXPECT_EQ((Colors{0x030201, 0x0000FF, 0x1E140A}), a.colors());
        delete_palette(three);
        delete_palette(one);
    }
    Bitmap good(8), deep(24);
    expect_each(ERROR_INVALID_PARAMETER, {V_CopyBitmapPalette(nullptr, good), V_CopyBitmapPalette(good, nullptr)});
    EXPECT_EQ(ERROR_INVALID_BITS_PER_PIXEL, V_CreateBitmapGrayPalette(deep));
    EXPECT_EQ(0, V_CompareBitmapToPalette(nullptr, kThree, 3));
}

TEST(Palette, BitmapsTakeTheFixedTableOfTheirColors)
{
    Bitmap bitmap(8);
    for (uint32_t colors = 0; colors <= 257; ++colors) {
        bitmap->Colors = colors;
        const bool known = colors >= 2 && colors <= 256 && (colors & (colors - 1)) == 0;
        ASSERT_EQ(known ? SUCCESS : FAILURE, V_CreateBitmapFixedPalette(bitmap)) << colors;
        ASSERT_EQ(known, bitmap->Palette != nullptr);
        int32_t bits = 0;
        while (colors >> bits > 1)
            ++bits;
        for (uint32_t i = 0; known && colors != 4 && i < colors; ++i)
            ASSERT_TRUE(same(reference::fixed_entry(bits, i), bitmap->Palette[i]));
        EXPECT_TRUE(colors != 4 || bitmap.colors() == (Colors{0, 0xFFFFFF, 0, 0}));
    }
}

TEST(Palette, ComparesColorsOnly)
{
    Bitmap bitmap(8);
    EXPECT_EQ(1, V_CompareBitmapToPalette(bitmap, kThree, 3)) << "nothing to compare";
    ASSERT_EQ(SUCCESS, V_SetBitmapNewPalette(bitmap, kThree, 3));
    RGBQUAD other[4] = {kThree[0], kThree[1], kThree[2], {7, 7, 7, 7}};
    other[0].rgbReserved = 9;
    expect_each(1, {V_CompareBitmapToPalette(bitmap, other, 4), V_CompareBitmapToPalette(bitmap, other, 0)});
    for (uint8_t RGBQUAD::*channel : {&RGBQUAD::rgbRed, &RGBQUAD::rgbGreen, &RGBQUAD::rgbBlue}) {
        other[2] = kThree[2];
        ++(other[2].*channel);
        EXPECT_EQ(0, V_CompareBitmapToPalette(bitmap, other, 3));
        EXPECT_EQ(1, V_CompareBitmapToPalette(bitmap, other, 2));
    }
}

TEST(Palette, SurvivesFailingMemory)
{
    EXPECT_LE(6u, for_each_fault([] {
                  Bitmap bitmap(4), other(8);
                  const HPALETTE object = V_CreatePalette(kThree, 3);
                  const HPALETTE twin = V_DupPalette(object);
                  V_CreateBitmapGrayPalette(bitmap);
                  const Colors before = bitmap.colors();
                  const int set = object ? V_SetBitmapPalette(bitmap, object) : ERROR_NO_MEMORY;
                  EXPECT_EQ(set == SUCCESS ? 3u : before.size(), bitmap.colors().size());
                  const int copied = V_CopyBitmapPalette(other, bitmap);
                  EXPECT_EQ(copied == SUCCESS ? bitmap.colors() : Colors{}, other.colors());
                  bitmap->Colors = 8;
                  const int fixed = V_CreateBitmapFixedPalette(bitmap);
                  EXPECT_EQ(fixed == SUCCESS, bitmap->Palette != nullptr);
                  V_TranslateBitmapColor(bitmap, nullptr, 0x123456);
                  V_FreeUserMatchTable(V_CreateUserMatchTable(kThree, 3));
                  for (const HPALETTE made : {object, twin})
                      EXPECT_TRUE(!made || delete_palette(made) != 0);
              }));
}

} // namespace
} // namespace vk::testing
