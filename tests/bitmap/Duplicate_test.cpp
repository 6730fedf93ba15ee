// Duplicates and copies: what they take from their source, what is left behind, and that nothing is lost when a call
// fails on the way.
#include "kernel/bitmap/Overlay.h"
#include "kernel/bitmap/Staged.h"
#include "tests/support/FaultLoop.h"
#include "tests/support/TestTurn.h"

#include "Vkkrnx.h"

#include <map>
#include <tuple>

using namespace vk::testing;

namespace {

constexpr int32_t kWidth = 37;
constexpr int32_t kHeight = 7;
constexpr uint32_t kNow = BITMAPHANDLE_SIZE;

/// A locked movable block with recognisable bytes.
template <class Entry> Entry* filled_block(size_t entries, uint8_t value)
{
    void* block = vk::platform::movable_lock(vk::platform::movable_alloc(GHND, entries * sizeof(Entry)));
    std::memset(block, value, entries * sizeof(Entry));
    return static_cast<Entry*>(block);
}

/// A 16-bit gray bitmap with every part a record can have. False when a call was made to fail.
bool give_all_parts(TestBitmap& bitmap)
{
    if (bitmap.create(TYPE_CONV, kWidth, kHeight, 16, COLORORDER_GRAY) != SUCCESS)
        return false;
    bitmap->LowBit = 2;
    bitmap->HighBit = 9;
    bitmap->XResolution = 301;
    bitmap->Delay = 17;
    bitmap->Transparency = 0x00123456;
    bitmap->RgnInfo = &bitmap;
    bitmap->Flags |= BITMAPFLAG_TRANSPARENCY | BITMAPFLAG_USELUT | BITMAPFLAG_SIGNED | BITMAPFLAG_NOCLIP;
    if (V_AllocateBitmapExtraData(bitmap, 1000) != SUCCESS)
        return false;
    std::memset(bitmap->ExtraData, 0x5C, 1000);
    vk::OverlayTable* const overlays = vk::require_overlays(*bitmap);
    return overlays != nullptr && V_CreateBitmap(&overlays->bitmaps[3], kNow, TYPE_CONV, 9, 5, 8, COLORORDER_RGB,
                                                 nullptr, TOP_LEFT, nullptr, 0) == SUCCESS;
}

void give_tables(TestBitmap& bitmap)
{
    bitmap->LUT = filled_block<RGBQUAD>(256, 0x11);
    bitmap->LUTLength = 256;
    std::memset(bitmap->PaintLUT, 0x22, 256);
    if (bitmap.struct_size() == kNow) {
        bitmap->LUT16 = filled_block<V_RGBQUAD16>(256, 0x33);
        bitmap->LUTLength16 = 256;
        bitmap->PaintLUT16 = filled_block<uint16_t>(65536, 0x44);
        const BITMAPDATACALLBACKS calls = callbacks_for(&bitmap);
        EXPECT_EQ(SUCCESS, V_SetBitmapDataCallbacks(bitmap, &calls));
    }
}

/// Which parts a record has, as DUPFLAG_ bits.
uint32_t parts_of(TestBitmap& bitmap)
{
    const auto* overlays = static_cast<const vk::OverlayTable*>(bitmap->Overlays);
    const auto* extra = static_cast<const uint8_t*>(bitmap->ExtraData);
    const bool gray_tables =
        bitmap->LUT && bitmap->LUT[255].rgbRed == 0x11 && bitmap->LUTLength == 256 && bitmap->PaintLUT[255] == 0x22;
    if (bitmap.struct_size() == kNow) {
        EXPECT_EQ(gray_tables, bitmap->LUT16 && bitmap->LUT16[255].rgbRed == 0x3333 && bitmap->PaintLUT16 &&
                                   bitmap->PaintLUT16[65535] == 0x4444);
    }
    const std::pair<uint32_t, bool> parts[] = {
        {DUPFLAG_OVERLAYS, overlays && V_BitmapIsAllocated(&overlays->bitmaps[3])},
        {DUPFLAG_REGION, bitmap->RgnInfo != nullptr},
        {DUPFLAG_EXTRADATA, extra && bitmap->ExtraDataSize == 1000 && extra[999] == 0x5C},
        {DUPFLAG_GRAYTABLES, gray_tables},
        {DUPFLAG_DATACALLBACKS, bitmap.struct_size() == kNow && bitmap->DataCallbacks != nullptr},
        {DUPFLAG_ANIMATION, bitmap->XResolution == 301 && bitmap->Delay == 17 && bitmap->Transparency == 0x00123456 &&
                                V_BitmapIsTransparency(bitmap)}};
    uint32_t all = 0;
    for (const auto& [flag, is_there] : parts)
        all |= is_there ? flag : 0;
    return all;
}

} // namespace

TEST(Duplicate, CopiesEveryDepthAndStorageKind)
{
    TestRandom random(71);
    SCOPED_TRACE(random);
    size_t round = 0;
    for (const Kind kind : kKinds)
        for (const int32_t bits : kDepths)
            for (const uint32_t size : kRecordSizes) {
                if (!can_make(kind, bits))
                    continue;
                SCOPED_TRACE(say(name_of(kind), bits, size));
                const Thresholds restore;
                TestBitmap source(size);
                ASSERT_NO_FATAL_FAILURE(source.make(kind, kWidth, kHeight, bits, random));
                Thresholds::tiles(2 * int64_t{source->BytesPerLine}, 0, 2);
                source->LowBit = 1;
                source->ViewPerspective = round % 2 ? TOP_LEFT : BOTTOM_LEFT;
                source->DitheringMethod = DITHER_JARVIS;
                TestBitmap copy(size);
                ASSERT_EQ(SUCCESS, V_CopyBitmap(copy, source, size));
                EXPECT_EQ(source.pixels(), copy.pixels());
                EXPECT_EQ(MemoryFigures(source).memory, MemoryFigures(copy).memory);
                EXPECT_TRUE(source->Handle != copy->Handle);
                EXPECT_EQ(std::tuple(1, DITHER_JARVIS, +source->Order, +source->ViewPerspective),
                          std::tuple(+copy->LowBit, +copy->DitheringMethod, +copy->Order, +copy->ViewPerspective));
                const Kind other = kKinds[round++ % std::size(kKinds)]; // and into storage that is there
                TestBitmap filled(size);
                filled.make(can_make(other, bits) ? other : Kind::conv, kWidth, kHeight, bits);
                filled->ViewPerspective = TOP_LEFT + BOTTOM_LEFT - source->ViewPerspective;
                ASSERT_EQ(SUCCESS, V_CopyBitmapData(filled, source));
                EXPECT_EQ(read(source).flipped(), read(filled));
            }
}

TEST(Duplicate, EveryFlagMovesItsPart)
{
    static int freed_regions = 0;
    REGIONHOOKS hooks{};
    hooks.StructSize = sizeof hooks;
    hooks.FreeRegion = [](BITMAPHANDLE*, void*) { return ++freed_regions, SUCCESS; };
    EXPECT_EQ(SUCCESS, V_SetRegionHooks(&hooks));
    constexpr uint32_t kParts = DUPFLAG_COPY & ~DUPFLAG_PALETTE; // a gray bitmap has none
    for (const uint32_t size : kRecordSizes)
        for (uint32_t flags = 0; flags < 256; ++flags) {
            SCOPED_TRACE(say("flags", flags, "record", size));
            const auto before = vk::fault::live();
            freed_regions = 0;
            {
                TestBitmap source(size);
                ASSERT_TRUE(give_all_parts(source));
                give_tables(source);
                const uint32_t all = size == kNow ? kParts : kParts & ~DUPFLAG_DATACALLBACKS;
                ASSERT_EQ(all, parts_of(source));
                const void* const block = source->ExtraData;
                TestBitmap made(size);
                ASSERT_EQ(SUCCESS, V_DupBitmapNewDim(made, source, size, 20, 40, 16, 0, flags));
                EXPECT_TRUE(made->Width == 20 && made->LowBit == 2 && made->Order == COLORORDER_GRAY);
                EXPECT_TRUE(V_BitmapIsSigned(made) && V_BitmapIsNoClip(made));
                const bool takes_over = (flags & DUPFLAG_TAKEOVER) != 0;
                const uint32_t expected = takes_over ? all : flags & all & ~DUPFLAG_REGION;
                EXPECT_EQ(expected, parts_of(made));
                // What is handed over is gone from the source; fields and callbacks stay.
                const uint32_t blocks = DUPFLAG_OVERLAYS | DUPFLAG_EXTRADATA | DUPFLAG_GRAYTABLES;
                EXPECT_EQ(all & ~(takes_over ? (blocks & ~flags) | DUPFLAG_REGION : 0), parts_of(source));
                EXPECT_EQ(takes_over && !(flags & DUPFLAG_EXTRADATA), made->ExtraData == block);
                V_FreeDuplicateBitmap(source);
                EXPECT_EQ(expected, parts_of(made));
            }
            EXPECT_EQ(1, freed_regions);
            expect_same_live(before, vk::fault::live());
        }
    V_SetRegionHooks(nullptr);
}

TEST(Duplicate, OrdersAndPalettesAtOtherDepths)
{
    const struct {
        int32_t bits, order, to_bits, to_order;
    } kCases[] = {
        {24, COLORORDER_RGB, 32, COLORORDER_RGB},   {24, COLORORDER_ROMM, 48, COLORORDER_ROMM},
        {24, COLORORDER_ROMM, 32, COLORORDER_BGR},  {16, COLORORDER_RGB565, 24, COLORORDER_BGR},
        {16, COLORORDER_GRAY, 32, COLORORDER_GRAY}, {16, COLORORDER_GRAY, 24, COLORORDER_BGR},
        {16, COLORORDER_GRAY, 12, COLORORDER_GRAY}, {4, COLORORDER_RGB, 24, COLORORDER_BGR},
        {24, COLORORDER_RGB, 8, COLORORDER_RGB},    {16, COLORORDER_RGB565, 16, COLORORDER_RGB565},
    };
    for (const auto& test : kCases) {
        TestBitmap source;
        TestBitmap made;
        ASSERT_EQ(SUCCESS, source.create(TYPE_CONV, 5, 5, test.bits, test.order));
        ASSERT_EQ(SUCCESS, V_DupBitmapNewDim(made, source, kNow, 5, 5, test.to_bits, 0, 1));
        EXPECT_EQ(test.to_order, made->Order) << test.bits << " to " << test.to_bits;
    }
    TestBitmap source;
    ASSERT_EQ(SUCCESS, source.create(TYPE_CONV, 5, 5, 4));
    for (const auto& [bits, count] : std::map<int32_t, uint32_t>{{1, 2}, {4, 16}, {8, 16}, {24, 0}}) {
        TestBitmap made;
        ASSERT_EQ(SUCCESS, V_DupBitmapNewDim(made, source, kNow, 5, 5, bits, 0, 1));
        EXPECT_EQ(std::pair(count, count != 0), std::pair(+made->Colors, made->Palette != nullptr));
        EXPECT_EQ(1, V_CompareBitmapToPalette(made, source->Palette, count));
    }
}

TEST(Duplicate, CopyCallbacksHaveTheirSay)
{
    struct Case {
        int begin, end, result;
        bool copies;
        int wanted_ends;
        int begins = 0, ends = 0;
    };
    TestRandom random(73);
    for (const bool on_source : {true, false})
        for (Case test : {Case{SUCCESS, SUCCESS, SUCCESS, true, 1},
                          {2, SUCCESS, SUCCESS, false, 0},
                          {-77, SUCCESS, -77, false, 0},
                          {SUCCESS, 2, SUCCESS, true, 1},
                          {SUCCESS, -78, -78, true, 1}}) {
            SCOPED_TRACE(say("begin", test.begin, "end", test.end));
            TestBitmap source;
            TestBitmap copy;
            ASSERT_NO_FATAL_FAILURE(source.make(Kind::conv, kWidth, kHeight, 24, random));
            copy.make(Kind::conv, kWidth, kHeight, 24);
            BITMAPDATACALLBACKS table = callbacks_for(&test);
            table.BeginCopyBitmapDataCallback = [](BITMAPHANDLE*, BITMAPHANDLE*, void* self) {
                return ++static_cast<Case*>(self)->begins, static_cast<Case*>(self)->begin;
            };
            table.EndCopyBitmapDataCallback = [](BITMAPHANDLE*, BITMAPHANDLE*, void* self) {
                return ++static_cast<Case*>(self)->ends, static_cast<Case*>(self)->end;
            };
            ASSERT_EQ(SUCCESS, V_SetBitmapDataCallbacks(on_source ? source : copy, &table));
            EXPECT_EQ(test.result, V_CopyBitmapData(copy, source));
            EXPECT_EQ(test.copies, source.pixels() == copy.pixels());
            EXPECT_TRUE(test.begins == 1 && test.ends == test.wanted_ends);
            EXPECT_TRUE(source->LockCount == 0 && copy->LockCount == 0);
        }
}

TEST(Duplicate, StagedReplacesOnSuccessOnly)
{
    const auto before = vk::fault::live();
    {
        TestBitmap bitmap;
        ASSERT_TRUE(give_all_parts(bitmap));
        bitmap->RgnInfo = nullptr;
        give_tables(bitmap);
        ASSERT_EQ(SUCCESS, V_AccessBitmap(bitmap));
        const Bytes image = bitmap.image();
        const uint32_t parts = parts_of(bitmap);
        for (const bool replaces : {false, true}) {
            vk::Staged staged(*bitmap);
            ASSERT_EQ(SUCCESS, staged.make({80, 3, 16}, DUPFLAG_PALETTE));
            ASSERT_EQ(image, bitmap.image()); // also: one that does not replace is freed
            ASSERT_TRUE(!replaces || staged.replace() == SUCCESS);
        }
        EXPECT_EQ(80, bitmap->Width);
        EXPECT_EQ(parts, parts_of(bitmap));
        EXPECT_EQ(1, bitmap->LockCount); // the caller still holds it
        EXPECT_EQ(SUCCESS, V_ReleaseBitmap(bitmap));
    }
    expect_same_live(before, vk::fault::live());
}

TEST(Duplicate, EveryFailureLeavesTheSource)
{
    for (const uint32_t flags : {0x41u, 0xBFu, 0u}) // 0: a plain copy
        for_each_fault([&] {
            TestBitmap source;
            if (!give_all_parts(source))
                return;
            source->RgnInfo = nullptr;
            const Bytes image = source.image();
            TestBitmap made;
            const int result = flags == 0 ? V_CopyBitmap(made, source, kNow)
                                          : V_DupBitmapNewDim(made, source, kNow, 50, 50, 16, TYPE_DISK, flags);
            EXPECT_TRUE(result == SUCCESS || (image == source.image() && made.is_empty())) << result;
        });
}

TEST(Duplicate, RefusesBadInput)
{
    TestBitmap source, made;
    source.make(Kind::conv, 5, 5, 8);
    const struct {
        int32_t width, height, bits;
        uint32_t memory, flags;
        int result;
    } kRefused[] = {{5, 5, 8, 0, 0x100, ERROR_INVALID_PARAMETER},        {5, 5, 8, 3, 0, ERROR_INVALID_PARAMETER},
                    {5, 5, 9, 0, 0, ERROR_INVALID_BITS_PER_PIXEL},       {0, 5, 64, 0, 0, ERROR_INVALID_WIDTH_HEIGHT},
                    {-1, 5, 64, 0, 0, ERROR_INVALID_WIDTH_HEIGHT},       {0, 0, 0, 0, 0, ERROR_INVALID_WIDTH_HEIGHT},
                    {INT32_MAX, 5, 64, 0, 0, ERROR_INVALID_WIDTH_HEIGHT}};
    for (const auto& [width, height, bits, memory, flags, result] : kRefused)
        EXPECT_EQ(result, V_DupBitmapNewDim(made, source, kNow, width, height, bits, memory, flags));
    expect_each(ERROR_INVALID_PARAMETER, {V_DupBitmapNewDim(nullptr, source, kNow, 5, 5, 8, 0, 0),
                                          V_DupBitmapNewDim(source, source, kNow, 5, 5, 8, 0, 0)});
    EXPECT_EQ(ERROR_INVALID_STRUCT_SIZE, V_DupBitmapNewDim(made, source, 100, 5, 5, 8, 0, 0));
    EXPECT_TRUE(made.is_empty());
    EXPECT_EQ(SUCCESS, V_CopyBitmapData(source, source));
    const struct {
        int32_t width, height, bits, view;
        int result;
    } kOthers[] = {{6, 5, 8, 1, ERROR_INVALID_WIDTH_HEIGHT},
                   {5, 6, 8, 1, ERROR_INVALID_WIDTH_HEIGHT},
                   {5, 5, 16, 1, ERROR_INVALID_BITS_PER_PIXEL},
                   {5, 5, 8, 6, ERROR_INVALID_PARAMETER}};
    for (const auto& other : kOthers) {
        TestBitmap to;
        to.make(Kind::conv, other.width, other.height, other.bits);
        to->ViewPerspective = other.view;
        EXPECT_EQ(other.result, V_CopyBitmapData(to, source));
    }
    source->Width = 500; // a record that lies about its rows
    EXPECT_EQ(ERROR_INVALID_WIDTH_HEIGHT, V_CopyBitmap(made, source, kNow));
    source->Width = 5;
}
