// What the tests of colour changes share: sources of every format, and their rows taken one by one through the exported
// converter and dithering.
#pragma once

#include "tests/support/TestBitmap.h"
#include "tests/support/TestRandom.h"

#include "Vkkrnx.h"

namespace vk::testing {

constexpr int32_t kWidth = 37;
constexpr int32_t kHeight = 6;

using Bytes = std::vector<uint8_t>;
using Palette = std::vector<RGBQUAD>;

struct Format {
    int32_t bits, order;
};
constexpr Format kFormats[] = {{1, 0},  {2, 0},  {3, 0},  {4, 0},  {5, 0},  {6, 0},  {7, 0},  {8, 0},
                               {12, 2}, {16, 1}, {16, 0}, {16, 7}, {16, 2}, {24, 1}, {24, 0}, {24, 5},
                               {32, 1}, {32, 0}, {32, 2}, {48, 1}, {48, 0}, {48, 5}, {64, 1}, {64, 0}};

inline std::string text(const Format& format)
{
    return std::to_string(format.bits) + " bits in order " + std::to_string(format.order);
}

/// A source with random pixels, a random palette and a gray range.
inline void make_source(TestBitmap& bitmap, Kind kind, const Format& format, TestRandom& random,
                        int32_t height = kHeight)
{
    ASSERT_NO_FATAL_FAILURE(bitmap.make(kind, kWidth, height, format.bits));
    bitmap->Order = format.order;
    Bytes row(bitmap->BytesPerLine, 0);
    ASSERT_EQ(SUCCESS, V_AccessBitmap(bitmap.get()));
    for (int32_t y = 0; y < height; ++y) {
        for (int32_t x = 0; x < kWidth; ++x)
            set_pixel(row.data(), format.bits, x, random.next());
        ASSERT_EQ(static_cast<intptr_t>(row.size()), V_PutBitmapRow(bitmap.get(), row.data(), y, row.size()));
    }
    ASSERT_EQ(SUCCESS, V_ReleaseBitmap(bitmap.get()));
    if (format.bits <= 8) {
        Palette palette(size_t{1} << format.bits);
        for (RGBQUAD& entry : palette) {
            random.fill(&entry, 3);
            entry.rgbReserved = 0;
        }
        ASSERT_EQ(SUCCESS, V_SetBitmapNewPalette(bitmap.get(), palette.data(), 1u << format.bits));
    } else if (format.order == COLORORDER_GRAY && random.one_in(2)) {
        bitmap->LowBit = random.between(0, 3);
        bitmap->HighBit = format.bits - 1 - random.between(0, 3);
    }
}

inline Palette own_palette(BITMAPHANDLE* bitmap)
{
    return {bitmap->Palette, bitmap->Palette + (bitmap->BitsPerPixel <= 8 ? 1u << bitmap->BitsPerPixel : 0)};
}

/// What the rows of a source become one by one. `palette` has 1 << bits entries, the first `colors` of which count for
/// dithering; null above 8 bits.
inline Bytes expected_rows(TestBitmap& source, const Format& to, const RGBQUAD* palette, uint32_t colors,
                           int32_t method, uint32_t flags = 0, COLORREF transparent = 0)
{
    const Bytes pixels = source.pixels();
    const int32_t bits = source->BitsPerPixel;
    const size_t line = source->BytesPerLine;
    const size_t to_line = (size_t{kWidth} * static_cast<size_t>(to.bits) + 31) / 32 * 4;
    BITMAPHANDLE run = {};
    std::memcpy(static_cast<void*>(&run), source.get(), source.struct_size());
    run.DitherData = nullptr;
    run.DitheringMethod = method;
    if (method != DITHER_NONE) {
        EXPECT_EQ(SUCCESS, V_StartDitheringExt(&run, palette, colors, to.bits, nullptr));
    }
    if (source->Order == COLORORDER_GRAY && bits > 8)
        flags |= CVT_SRC_USE_BITS;
    Bytes result;
    for (size_t at = 0; at < pixels.size(); at += line) {
        Bytes row(std::max(line, to_line) + 8, 0);
        Bytes out(to_line, 0);
        std::copy_n(pixels.begin() + static_cast<ptrdiff_t>(at), line, row.begin());
        if (method != DITHER_NONE) {
            EXPECT_EQ(SUCCESS, V_DitherLine(&run, row.data(), out.data()));
        } else if (bits == to.bits && source->Order == to.order && palette == nullptr) {
            std::copy_n(row.begin(), to_line, out.begin());
        } else {
            EXPECT_EQ(SUCCESS, V_ConvertBufferExt3(row.data(), kWidth, bits, to.bits, source->Order, to.order,
                                                   source->Palette, palette, nullptr, nullptr, flags, source->LowBit,
                                                   source->HighBit, transparent));
            std::copy_n(row.begin(), (size_t{kWidth} * static_cast<size_t>(to.bits) + 7) / 8, out.begin());
        }
        result.insert(result.end(), out.begin(), out.end());
    }
    EXPECT_EQ(SUCCESS, V_StopDithering(&run));
    return result;
}

inline uint32_t order_flag(int32_t order)
{
    return COLORRES_ORDER(order);
}

/// Changes the source into a second record, then in place, and compares both with the rows expected.
inline void expect_change(TestBitmap& source, const Format& to, uint32_t flags, const RGBQUAD* palette, uint32_t colors,
                          const Bytes& rows)
{
    const Bytes image = source.image();
    const Bytes pixels = source.pixels();
    TestBitmap made(source.struct_size());
    ASSERT_EQ(SUCCESS, V_ColorResBitmap(source.get(), made.get(), source.struct_size(), to.bits, flags, palette,
                                        nullptr, colors));
    EXPECT_EQ(image, source.image());
    EXPECT_EQ(pixels, source.pixels());
    EXPECT_EQ(rows, made.pixels());
    EXPECT_EQ(to.bits, made->BitsPerPixel);
    EXPECT_EQ(to.order, made->Order);
    EXPECT_EQ(source->ViewPerspective, made->ViewPerspective);
    ASSERT_EQ(SUCCESS, V_ColorResBitmap(source.get(), nullptr, 0, to.bits, flags, palette, nullptr, colors));
    EXPECT_EQ(rows, source.pixels());
    EXPECT_EQ(to.order, source->Order);
    EXPECT_EQ(made->Colors, source->Colors);
    if (to.bits <= 8) {
        EXPECT_EQ(1, V_CompareBitmapToPalette(made.get(), palette != nullptr ? palette : V_IntGetFixedPalette(to.bits),
                                              made->Colors));
    } else {
        EXPECT_TRUE(made->Palette == nullptr);
    }
}

} // namespace vk::testing
