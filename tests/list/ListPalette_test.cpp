// One palette for several bitmaps: exact where there are few colours, good where there are many.
#include "tests/list/TestList.h"
#include "tests/support/FaultLoop.h"

using namespace vk::testing;

namespace {

/// A list of bitmaps that are painted.
struct Frames : TestList {
    template <class Value> void add(const Value& value, int32_t width = 20, int32_t bits = 24)
    {
        BITMAPHANDLE bitmap{};
        ASSERT_EQ(SUCCESS, V_CreateBitmap(&bitmap, sizeof bitmap, TYPE_CONV, width, 12, bits, COLORORDER_BGR, nullptr,
                                          TOP_LEFT, nullptr, 0));
        paint_pixels(&bitmap, value);
        append(bitmap);
    }
};

std::vector<uint32_t> palette_for(HBITMAPLIST list, uint32_t most, uint32_t flags)
{
    RGBQUAD entries[256];
    EXPECT_EQ(SUCCESS, V_CreateBitmapListOptPal(list, entries, &most, flags));
    std::vector<uint32_t> colors;
    for (uint32_t i = 0; i < most; ++i)
        colors.push_back(entries[i].rgbBlue | entries[i].rgbGreen << 8u | entries[i].rgbRed << 16u);
    return colors;
}

using Colors = std::vector<uint32_t>;

} // namespace

TEST(ListPalette, FewColors)
{
    Frames frames;
    frames.add([](int32_t x, int32_t) { return x % 2 ? uint64_t{0x0000FF} : uint64_t{0x000000}; });
    frames.add([](int32_t x, int32_t) { return x % 2 ? uint64_t{0xFF0000} : uint64_t{0x0000FF}; });
    EXPECT_EQ(Colors({0x000000, 0x0000FF, 0xFF0000}), palette_for(frames.get(), 256, 0));
    EXPECT_EQ(Colors({0x000000, 0x0000FF, 0xFF0000, 0xFFFFFF}), palette_for(frames.get(), 4, LISTPAL_BLACKWHITE));
    // A transparent colour leaves, unless another bitmap has it.
    BITMAPHANDLE second = frames.item(1);
    second.Flags |= BITMAPFLAG_TRANSPARENCY;
    second.Transparency = 0x0000FF; // red, as colour values have it
    ASSERT_EQ(SUCCESS, V_SetBitmapListItem(frames.get(), 1, &second));
    EXPECT_EQ(Colors({0x000000, 0x0000FF}), palette_for(frames.get(), 256, LISTPAL_SKIPTRANSPARENT));
    // Of the second alone nothing is left but black.
    ASSERT_EQ(SUCCESS, V_DeleteBitmapListItems(frames.get(), 0, 1));
    paint_pixels(&second, [](int32_t, int32_t) { return uint64_t{0xFF0000}; });
    EXPECT_EQ(Colors({0}), palette_for(frames.get(), 2, LISTPAL_SKIPTRANSPARENT));
    EXPECT_EQ(Colors({0, 0xFFFFFF}), palette_for(frames.get(), 3, LISTPAL_SKIPTRANSPARENT | LISTPAL_BLACKWHITE));
}

TEST(ListPalette, ServesAllOfThem)
{
    // As for one bitmap that holds the pixels of all, whatever their depths; and within reach of every pixel.
    TestRandom random(81);
    Frames frames;
    for (int i = 0; i < 3; ++i)
        frames.add([&](int32_t x, int32_t y) {
            return static_cast<uint64_t>((x * 8 + static_cast<int32_t>(random.below(6))) << 8 * i | y * 4);
        });
    TestBitmap all, exact;
    ASSERT_EQ(SUCCESS, all.create(TYPE_CONV, 20, 36, 24, COLORORDER_BGR));
    for (uint32_t i = 0; i < 3; ++i) {
        const BITMAPHANDLE item = frames.item(i);
        std::memcpy(all.row(12 * i), item.Data, size_t{item.BytesPerLine} * 12);
    }
    for (const uint32_t most : {2u, 16u, 200u}) {
        ASSERT_EQ(SUCCESS, V_ColorResBitmap(all, exact, sizeof(BITMAPHANDLE), 8,
                                            COLORRES_PALETTE_OPTIMIZED | COLORRES_NODITHER, nullptr, nullptr, most));
        const Colors palette = palette_for(frames.get(), most, 0);
        ASSERT_EQ(exact->Colors, palette.size());
        EXPECT_EQ(0, std::memcmp(palette.data(), exact->Palette, 4 * palette.size()));
        V_FreeBitmap(exact);
    }
    const Colors framed = palette_for(frames.get(), 16, LISTPAL_BLACKWHITE);
    EXPECT_TRUE(framed.size() <= 16 && framed.front() == 0 && framed.back() == 0xFFFFFF);
}

TEST(ListPalette, RefusalsAndFailingCalls)
{
    TestRandom random(82);
    Frames empty, frames;
    for (int i = 0; i < 2; ++i)
        frames.add([&](int32_t, int32_t) { return random.next(); }, 70, i == 0 ? 48 : 24);
    RGBQUAD entries[256] = {};
    uint32_t count = 16;
    expect_each(ERROR_NULL_PTR, {V_CreateBitmapListOptPal(frames.get(), nullptr, &count, 0),
                                 V_CreateBitmapListOptPal(frames.get(), entries, nullptr, 0)});
    expect_each(ERROR_INVALID_PARAMETER, {V_CreateBitmapListOptPal(nullptr, entries, &count, 0),
                                          V_CreateBitmapListOptPal(empty.get(), entries, &count, 0)});
    for (const auto& [colors, flags] : {std::pair{1u, 0u}, {257u, 0u}, {2u, LISTPAL_BLACKWHITE}, {16u, 4u}}) {
        uint32_t wrong = colors;
        EXPECT_EQ(ERROR_INVALID_PARAMETER, V_CreateBitmapListOptPal(frames.get(), entries, &wrong, flags));
        EXPECT_EQ(colors, wrong);
    }
    {
        const Watch watch;
        EXPECT_EQ(SUCCESS, V_CreateBitmapListOptPal(frames.get(), entries, &count, 0));
        EXPECT_TRUE(watch.told.front() == 0 && watch.told.back() == 100);
        EXPECT_TRUE(std::is_sorted(watch.told.begin(), watch.told.end()));
    }
    for_each_fault_in([&](FaultRound& round) {
        count = 16;
        entries[0].rgbReserved = 77;
        const int result = round([&] { return V_CreateBitmapListOptPal(frames.get(), entries, &count, 0); });
        EXPECT_EQ(result == SUCCESS, entries[0].rgbReserved == 0);
        EXPECT_TRUE(result == SUCCESS || count == 16);
    });
}
