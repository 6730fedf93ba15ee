// The choice among the ways to resize: which filter a combination of flags comes to, gray results, and bitmaps that do
// not fit the memory they may use.
#include "kernel/resample/Resample.h"
#include "tests/support/TestBitmap.h"
#include "tests/support/TestRandom.h"

#include "Vkbitmap.h"
#include "Vkkrnx.h"
#include "Vkresize.h"
#include "Vkview.h"

#include <optional>

using namespace vk::testing;
using vk::Filter;

namespace {

using Bytes = std::vector<uint8_t>;

constexpr RGBQUAD kPalettes[][2] = {
    {{0, 0, 0, 0}, {255, 255, 255, 0}}, {{255, 255, 255, 0}, {0, 0, 0, 0}}, {{9, 80, 200, 0}, {30, 60, 90, 0}}};

void fill(TestBitmap& bitmap, TestRandom& random, int32_t width, int32_t height, int32_t bits)
{
    ASSERT_EQ(SUCCESS,
              bitmap.create(TYPE_CONV, width, height, bits, vk::is_gray_only(bits) ? COLORORDER_GRAY : COLORORDER_BGR));
    random.fill(bitmap->Data, bitmap.bytes());
}

TEST(ResizeFlags, EachCombinationIsOneWay)
{
    constexpr auto kArea = Filter::area;
    const struct {
        int32_t bits;
        uint32_t flags;
        int palette; ///< of 1-bit bitmaps: two ramps and one that is none
        std::optional<Filter> smaller, wider;
        uint32_t plain; ///< the flags that count when no filter does
    } kCases[] = {
        {24, 1, 0, {}, {}, 0},
        {24, 2 | 4, 0, kArea, kArea, 0},
        {24, 4, 0, kArea, Filter::bicubic, 0},
        {24, 16 | 2 | 4, 0, Filter::alternative, Filter::alternative, 0},
        {8, 2 | 8, 0, kArea, kArea, 0},
        {1, 2 | 1, 0, {}, {}, 1},
        {1, 2 | 1, 1, {}, {}, 1},
        {1, 2 | 1, 2, kArea, kArea, 0},
        {1, 1, 2, {}, {}, 0},
        {1, 8, 2, {}, {}, 0},
        {1, 8 | 2, 2, kArea, kArea, 0},
        {1, 4, 1, kArea, Filter::bicubic, 0},
    };
    TestRandom random(330);
    SCOPED_TRACE(random);
    for (const auto& test : kCases)
        for (const bool wider : {false, true}) {
            SCOPED_TRACE(std::to_string(test.bits) + " bits, flags " + std::to_string(test.flags));
            TestBitmap bitmap;
            TestBitmap expected;
            TestBitmap into;
            const int32_t width = wider ? 80 : 31;
            ASSERT_NO_FATAL_FAILURE(fill(bitmap, random, 61, 40, test.bits));
            if (test.bits == 1) {
                ASSERT_EQ(SUCCESS, V_SetBitmapNewPalette(bitmap.get(), kPalettes[test.palette], 2));
            }
            for (TestBitmap* made : {&expected, &into})
                ASSERT_EQ(SUCCESS, V_DupBitmapNewDim(made->get(), bitmap.get(), BITMAPHANDLE_SIZE, width, 13, test.bits,
                                                     0, DUPFLAG_PALETTE));
            const std::optional<Filter> filter = wider ? test.wider : test.smaller;
            ASSERT_EQ(SUCCESS, filter ? vk::resample_into(*bitmap.get(), *expected.get(), *filter)
                                      : V_IntResizeBitmap(bitmap.get(), expected.get(), test.plain));
            if (filter) {
                ASSERT_EQ(SUCCESS, V_IntResizeBitmap(bitmap.get(), into.get(), test.flags & ~SIZEFLAG_FAVORBLACK));
                EXPECT_EQ(expected.pixels(), into.pixels());
            }
            ASSERT_EQ(SUCCESS, V_SizeBitmap(bitmap.get(), width, 13, test.flags));
            EXPECT_EQ(expected.pixels(), bitmap.pixels());
        }
}

TEST(ResizeFlags, ScaleToGray)
{
    TestRandom random(331);
    SCOPED_TRACE(random);
    for (const int32_t bits : {1, 4, 8, 12, 16, 24, 32, 48})
        for (const int palette : {0, 1})
            for (const uint32_t size : {BITMAPHANDLE_SIZE, BITMAPHANDLE_SIZE_EARLIER}) {
                SCOPED_TRACE(std::to_string(bits) + " bits, palette " + std::to_string(palette));
                TestBitmap bitmap(size);
                TestBitmap gray;
                TestBitmap expected;
                ASSERT_NO_FATAL_FAILURE(fill(bitmap, random, 62, 40, bits));
                if (bits == 1) {
                    ASSERT_EQ(SUCCESS, V_SetBitmapNewPalette(bitmap.get(), kPalettes[palette], 2));
                }
                for (size_t i = 3; bits == 32 && i < bitmap.bytes(); i += 4)
                    bitmap->Data[i] = 255; // colours weigh as much as their alpha
                ASSERT_EQ(SUCCESS, V_CreateGrayScaleBitmap(gray.get(), bitmap.get(), BITMAPHANDLE_SIZE, 8));
                ASSERT_EQ(SUCCESS, V_DupBitmapNewDim(expected.get(), gray.get(), BITMAPHANDLE_SIZE, 31, 10, 8, 0, 1));
                ASSERT_EQ(SUCCESS, vk::resample_into(*gray.get(), *expected.get(), Filter::area));
                ASSERT_EQ(SUCCESS, V_SizeBitmap(bitmap.get(), 31, 10, SIZEFLAG_SCALETOGRAY | (bits == 1 ? 3 : 0)));
                EXPECT_EQ(8, bitmap->BitsPerPixel);
                EXPECT_EQ(1, V_IntIsGrayScaleBitmap(bitmap.get()));
                EXPECT_EQ(256u, bitmap->Colors);
                const Bytes made = bitmap.pixels();
                const Bytes wanted = expected.pixels();
                for (size_t i = 0; i < made.size(); ++i) // deep pixels are mixed before they become gray
                    ASSERT_LE(std::abs(made[i] - wanted[i]), bits == 16 ? 5 : bits > 8 ? 2 : 0) << i;
            }
}

TEST(ResizeFlags, ScaleToGrayIntoABitmap)
{
    TestRandom random(332);
    TestBitmap page;
    TestBitmap to;
    TestBitmap deep;
    ASSERT_NO_FATAL_FAILURE(fill(page, random, 60, 40, 1));
    ASSERT_EQ(SUCCESS, to.create(TYPE_CONV, 30, 20, 8));
    ASSERT_EQ(SUCCESS, V_CreateBitmapGrayPalette(to.get()));
    ASSERT_EQ(SUCCESS, deep.create(TYPE_CONV, 30, 20, 24));
    ASSERT_EQ(SUCCESS, V_ResizeBitmap(page.get(), to.get(), SIZEFLAG_SCALETOGRAY | SIZEFLAG_FAVORBLACK));
    ASSERT_EQ(SUCCESS, V_ResizeBitmap(page.get(), deep.get(), SIZEFLAG_SCALETOGRAY));
    const Bytes source = page.pixels();
    for (int32_t y = 0; y < 20; ++y)
        for (int32_t x = 0; x < 30; ++x) {
            uint64_t set = 0;
            for (int32_t i = 0; i < 4; ++i)
                set += get_pixel(source.data() + (2 * y + i / 2) * 8, 1, 2 * x + i % 2);
            const auto row = static_cast<size_t>(y);
            const auto column = static_cast<size_t>(x);
            EXPECT_EQ((set * 255 + 2) / 4, to->Data[row * 32 + column]) << x << ", " << y;
            EXPECT_EQ((set * 255 + 2) / 4, deep->Data[row * deep->BytesPerLine + column * 3]) << x << ", " << y;
        }
}

TEST(ResizeFlags, BringsPerspectivesTogether)
{
    TestRandom random(334);
    for (int32_t from = 1; from <= 8; ++from)
        for (int32_t to = 1; to <= 8; ++to)
            for (const int32_t bits : {8, 24}) {
                SCOPED_TRACE(std::to_string(from) + " to " + std::to_string(to));
                TestBitmap source;
                TestBitmap made;
                TestBitmap turned;
                TestBitmap expected;
                ASSERT_NO_FATAL_FAILURE(fill(source, random, 23, 9, 8));
                source->ViewPerspective = from;
                ASSERT_EQ(SUCCESS, V_CopyBitmap(turned.get(), source.get(), BITMAPHANDLE_SIZE));
                if (bits != 8) {
                    ASSERT_EQ(SUCCESS, V_ColorResBitmap(turned.get(), nullptr, 0, bits, 0, nullptr, nullptr, 0));
                }
                ASSERT_EQ(SUCCESS, V_ChangeBitmapViewPerspective(nullptr, turned.get(), BITMAPHANDLE_SIZE, to));
                for (TestBitmap* bitmap : {&made, &expected}) {
                    ASSERT_EQ(SUCCESS, bitmap->create(TYPE_CONV, 14, 30, bits, COLORORDER_BGR));
                    bitmap->get()->ViewPerspective = to;
                }
                const Bytes before = source.pixels();
                ASSERT_EQ(SUCCESS, V_IntResizeBitmap(turned.get(), expected.get(), 0));
                ASSERT_EQ(SUCCESS, V_ResizeBitmap(source.get(), made.get(), 0));
                // Between the two that differ in the order of rows the source is stepped as it is stored.
                const bool is_pair = from != to && (from == TOP_LEFT || from == BOTTOM_LEFT) && from + to == 5;
                if (is_pair) {
                    turned->ViewPerspective = from;
                    ASSERT_EQ(SUCCESS, V_IntFlipBitmap(turned.get()));
                    ASSERT_EQ(SUCCESS, V_IntResizeBitmap(turned.get(), expected.get(), 0));
                }
                ASSERT_EQ(expected.pixels(), made.pixels());
                EXPECT_EQ(before, source.pixels());
            }
}

TEST(ResizeFlags, FiltersWantOneOrder)
{
    TestRandom random(333);
    TestBitmap bgr;
    TestBitmap rgb;
    ASSERT_NO_FATAL_FAILURE(fill(bgr, random, 20, 20, 24));
    ASSERT_EQ(SUCCESS, rgb.create(TYPE_CONV, 20, 20, 24, COLORORDER_RGB));
    ASSERT_EQ(SUCCESS, V_ResizeBitmap(bgr.get(), rgb.get(), SIZEFLAG_NORMAL));
    EXPECT_EQ(bgr.pixels(), rgb.pixels());
    ASSERT_EQ(SUCCESS, V_ResizeBitmap(bgr.get(), rgb.get(), SIZEFLAG_RESAMPLE));
    EXPECT_EQ(bgr->Data[0], rgb->Data[2]);
    EXPECT_EQ(bgr->Data[2], rgb->Data[0]);
}

/// 40 MB in tiles and in a file, of which the process may hold next to nothing.
TEST(ResizeFlags, BiggerThanMemory)
{
    for (const uint32_t memory : {TYPE_TILED, TYPE_DISK})
        for (const uint32_t flags : {SIZEFLAG_NORMAL, SIZEFLAG_ALPHAAWARE}) {
            const Thresholds restore;
            Thresholds::max_conv(1 << 20);
            Thresholds::tiles(1 << 18, 0, 2);
            TestBitmap bitmap;
            ASSERT_EQ(SUCCESS, bitmap.create(memory, 2500, 4000, 32, COLORORDER_BGR));
            const uint32_t marks[] = {0xFF332211u, 0x00665544u, 0xFF998877u};
            ASSERT_EQ(SUCCESS, V_AccessBitmap(bitmap.get()));
            for (const int32_t row : {0, 1777, 3999})
                ASSERT_EQ(12, V_PutBitmapRowCol(bitmap.get(), marks, row, 1200, 12));
            ASSERT_EQ(SUCCESS, V_ReleaseBitmap(bitmap.get()));
            ASSERT_EQ(SUCCESS, V_SizeBitmap(bitmap.get(), 5000, 2000, flags));
            EXPECT_EQ(memory == TYPE_DISK, V_BitmapIsDiskMemory(bitmap.get()) != 0);
            EXPECT_EQ(memory == TYPE_TILED, V_BitmapIsTiled(bitmap.get()) != 0);
            ASSERT_EQ(SUCCESS, V_AccessBitmap(bitmap.get()));
            uint32_t read[6] = {};
            ASSERT_EQ(24, V_GetBitmapRowCol(bitmap.get(), read, 0, 2400, 24));
            ASSERT_EQ(SUCCESS, V_ReleaseBitmap(bitmap.get()));
            EXPECT_EQ(marks[0], read[1]);
            EXPECT_EQ(marks[2], read[5]);
            EXPECT_EQ(flags == SIZEFLAG_NORMAL, marks[1] == read[2]) << std::hex << read[2];
        }
}

} // namespace
