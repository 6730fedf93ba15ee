// What is written inside a region: the pixels that the function gives without one; outside everything stays.
#include "Vkcolorres.h"
#include "Vkcombine.h"
#include "Vkfill.h"
#include "Vkrows.h"

#include "tests/region/TestRegion.h"

using namespace vk::testing;

namespace {

/// What a function that writes pixels makes of a bitmap, from another of the same size and form.
struct Write {
    const char* name;
    int (*run)(BITMAPHANDLE* to, BITMAPHANDLE* from);
};

int put_rows(BITMAPHANDLE* to, BITMAPHANDLE* from)
{
    int result = V_AccessBitmap(to);
    EXPECT_EQ(SUCCESS, V_AccessBitmap(from));
    std::vector<uint8_t> row(to->BytesPerLine);
    const ROWSEGMENT all{0, to->Width};
    for (int32_t y = 0; y < to->Height && result >= 0; ++y) {
        V_GetBitmapRow(from, row.data(), y, row.size());
        result = static_cast<int>(V_PutBitmapRowSegments(to, row.data(), y, &all, 1));
    }
    V_ReleaseBitmap(from);
    V_ReleaseBitmap(to);
    return result < 0 ? result : SUCCESS;
}

template <uint32_t flags> int combine(BITMAPHANDLE* to, BITMAPHANDLE* from)
{
    return V_CombineBitmap(to, 0, 0, to->Width, to->Height, from, 0, 0, flags);
}

const Write kWrites[] = {
    {"rows", put_rows},
    {"copy", combine<COMBINE_COPY>},
    {"exclusive or", combine<COMBINE_XOR>},
    {"fill", [](BITMAPHANDLE* to, BITMAPHANDLE*) { return V_FillBitmap(to, 0x00F0D0A0); }},
    {"pattern", [](BITMAPHANDLE* to, BITMAPHANDLE* from) { return V_FillBitmapPattern(to, from, 17, -5); }},
    {"blend", [](BITMAPHANDLE* to, BITMAPHANDLE* from) {
         return V_BlendBitmap(to, 0, 0, to->Width, to->Height, from, 0, 0, nullptr, 0, 0, BLEND_NORMAL, 40000);
     }}};

TEST(Inside, KeepsWhatIsOutsideFromBeingWritten)
{
    for (const Write& write : kWrites)
        for (const int32_t bits : kDepths)
            for (const Kind kind : {Kind::conv, Kind::tiled_file, Kind::compressed, Kind::super}) {
                if (!can_make(kind, bits))
                    continue;
                SCOPED_TRACE(::testing::Message() << write.name << ", " << bits << " bits, " << name_of(kind));
                TestBitmap bitmap, whole, from, mask;
                Picture was = Picture::noise(53, 38, bits, 5);
                ASSERT_NO_FATAL_FAILURE(make_stored(bitmap, kind, was, bits));
                ASSERT_NO_FATAL_FAILURE(make_stored(whole, kind, was, bits));
                ASSERT_NO_FATAL_FAILURE(make_stored(from, kind, Picture::noise(53, 38, bits, 6), bits));
                ASSERT_NO_FATAL_FAILURE(make_stored(mask, Kind::conv, blobs(53, 38, 7), 1));
                ASSERT_EQ(SUCCESS, V_SetBitmapRegionMask(bitmap.get(), mask.get(), REGION_SET));
                ASSERT_EQ(SUCCESS, write.run(bitmap.get(), from.get()));
                ASSERT_EQ(SUCCESS, write.run(whole.get(), from.get()));
                const Picture written = read(whole.get());
                ASSERT_NE(was, written);
                ASSERT_EQ(inside_and_out(pixels_of(mask.get()), written, was), read(bitmap.get()));
            }
}

TEST(Inside, IsAllThatAFloodReaches)
{
    for (const uint64_t seed : {1, 2, 3, 4}) {
        TestBitmap bitmap, mask;
        const Picture was = Picture::noise(53, 38, 8, seed), all = blobs(53, 38, seed);
        ASSERT_NO_FATAL_FAILURE(make_stored(bitmap, Kind::conv, was, 8));
        ASSERT_NO_FATAL_FAILURE(make_stored(mask, Kind::conv, all, 1));
        ASSERT_EQ(SUCCESS, V_SetBitmapRegionMask(bitmap.get(), mask.get(), REGION_SET));
        const auto first = std::find(all.pixels.begin(), all.pixels.end(), 1) - all.pixels.begin();
        const auto x = static_cast<int32_t>(first % 53), y = static_cast<int32_t>(first / 53);
        ASSERT_EQ(SUCCESS, V_FloodFillBitmap(bitmap.get(), x, y, 0x01000007, 0, 255, 0));
        const Picture reached = connected(all, x, y), ink = Picture::made(53, 38, [](int32_t, int32_t) { return 7; });
        EXPECT_EQ(inside_and_out(reached, ink, was), read(bitmap.get()));
    }
}

TEST(Inside, AloneIsDithered)
{
    for (const int32_t bits : {1, 4}) {
        TestBitmap bitmap, dithered, nearest;
        Picture picture = Picture::noise(53, 38, 24, 3);
        ASSERT_NO_FATAL_FAILURE(make_stored(bitmap, Kind::conv, picture, 24));
        const auto change = [&](TestBitmap& to, uint32_t flags) {
            return V_ColorResBitmap(bitmap.get(), to.get(), BITMAPHANDLE_SIZE, bits, flags, nullptr, nullptr, 0);
        };
        ASSERT_EQ(SUCCESS, change(dithered, 0));
        ASSERT_EQ(SUCCESS, change(nearest, COLORRES_NODITHER));
        const RECT rect{5, 3, 44, 30};
        ASSERT_EQ(SUCCESS, V_SetBitmapRegionEllipse(bitmap.get(), &rect, REGION_SET));
        const Picture inside = region_of(bitmap.get());
        ASSERT_EQ(SUCCESS, V_ColorResBitmap(bitmap.get(), nullptr, 0, bits, 0, nullptr, nullptr, 0));
        EXPECT_EQ(inside_and_out(inside, read(dithered.get()), read(nearest.get())), read(bitmap.get()));
        EXPECT_EQ(inside, region_of(bitmap.get()));
    }
}

} // namespace
