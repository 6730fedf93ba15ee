// Duplicates and copies: what they take from their source, what is left behind, and that nothing is lost when a call
// fails on the way.
#include "kernel/bitmap/Alloc.h"
#include "kernel/bitmap/Overlay.h"
#include "kernel/bitmap/Staged.h"
#include "tests/support/FaultLoop.h"
#include "tests/support/TestBitmap.h"
#include "tests/support/TestRandom.h"

#include "Vkkrnx.h"

#include <map>

using namespace vk::testing;

namespace {

constexpr int32_t kWidth = 37;
constexpr int32_t kHeight = 7;
constexpr uint32_t kSizes[] = {BITMAPHANDLE_SIZE, BITMAPHANDLE_SIZE_EARLIER};

/// Fills the pixels, padding included where the storage keeps it.
void paint(TestBitmap& bitmap, TestRandom& random)
{
    std::vector<uint8_t> row(bitmap->BytesPerLine, 0);
    const size_t bytes = (static_cast<size_t>(bitmap->Width) * static_cast<size_t>(bitmap->BitsPerPixel) + 7) / 8;
    ASSERT_EQ(SUCCESS, V_AccessBitmap(bitmap.get()));
    for (int32_t y = 0; y < bitmap->Height; ++y) {
        random.fill(row.data(), bytes);
        if (bitmap->BitsPerPixel < 8)
            row[bytes - 1] = static_cast<uint8_t>(row[bytes - 1] & 0x80u); // no bits past the last pixel at any depth
        ASSERT_EQ(static_cast<intptr_t>(row.size()), V_PutBitmapRow(bitmap.get(), row.data(), y, row.size()));
    }
    ASSERT_EQ(SUCCESS, V_ReleaseBitmap(bitmap.get()));
}

uint32_t memory_type(TestBitmap& bitmap)
{
    uint32_t memory = 0;
    EXPECT_EQ(SUCCESS, V_GetBitmapMemoryInfo(bitmap.get(), &memory, nullptr, nullptr, nullptr, nullptr, nullptr));
    return memory;
}

std::vector<uint8_t> rows_reversed(const std::vector<uint8_t>& rows, size_t line)
{
    std::vector<uint8_t> result;
    for (size_t at = rows.size(); at != 0; at -= line)
        result.insert(result.end(), rows.begin() + static_cast<ptrdiff_t>(at - line),
                      rows.begin() + static_cast<ptrdiff_t>(at));
    return result;
}

/// A locked movable block with recognisable bytes.
template <class Entry> Entry* filled_block(size_t entries, uint8_t value)
{
    auto* block =
        static_cast<Entry*>(vk::platform::movable_lock(vk::platform::movable_alloc(GHND, entries * sizeof(Entry))));
    std::memset(static_cast<void*>(block), value, entries * sizeof(Entry));
    return block;
}

int g_freed_regions = 0;

/// Installs hooks that count, for the test's duration.
struct RegionCounter {
    RegionCounter()
    {
        g_freed_regions = 0;
        REGIONHOOKS hooks{};
        hooks.StructSize = sizeof hooks;
        hooks.FreeRegion = [](BITMAPHANDLE*, void*) {
            ++g_freed_regions;
            return SUCCESS;
        };
        EXPECT_EQ(SUCCESS, V_SetRegionHooks(&hooks));
    }
    ~RegionCounter() { V_SetRegionHooks(nullptr); }
};

/// A 16-bit gray bitmap with every part a record can have. False when a call was made to fail.
bool give_all_parts(BITMAPHANDLE* bitmap, uint32_t struct_size)
{
    if (V_CreateBitmap(bitmap, struct_size, TYPE_CONV, kWidth, kHeight, 16, COLORORDER_GRAY, nullptr, TOP_LEFT, nullptr,
                       0) != SUCCESS)
        return false;
    bitmap->LowBit = 2;
    bitmap->HighBit = 9;
    bitmap->XResolution = 301;
    bitmap->Delay = 17;
    bitmap->Transparency = 0x00123456;
    bitmap->RgnInfo = bitmap;
    bitmap->Flags |= BITMAPFLAG_TRANSPARENCY | BITMAPFLAG_USELUT | BITMAPFLAG_SIGNED | BITMAPFLAG_NOCLIP;
    if (V_AllocateBitmapExtraData(bitmap, 1000) != SUCCESS)
        return false;
    std::memset(bitmap->ExtraData, 0x5C, 1000);
    vk::OverlayTable* const overlays = vk::require_overlays(*bitmap);
    return overlays != nullptr && V_CreateBitmap(&overlays->bitmaps[3], BITMAPHANDLE_SIZE, TYPE_CONV, 9, 5, 8,
                                                 COLORORDER_RGB, nullptr, TOP_LEFT, nullptr, 0) == SUCCESS;
}

void give_tables(BITMAPHANDLE* bitmap)
{
    bitmap->LUT = filled_block<RGBQUAD>(256, 0x11);
    bitmap->LUTLength = 256;
    std::memset(bitmap->PaintLUT, 0x22, 256);
    if (bitmap->StructSize == BITMAPHANDLE_SIZE) {
        bitmap->LUT16 = filled_block<V_RGBQUAD16>(256, 0x33);
        bitmap->LUTLength16 = 256;
        bitmap->PaintLUT16 = filled_block<uint16_t>(65536, 0x44);
        BITMAPDATACALLBACKS calls{};
        calls.StructSize = sizeof calls;
        calls.UserData = bitmap;
        EXPECT_EQ(SUCCESS, V_SetBitmapDataCallbacks(bitmap, &calls));
    }
}

/// Which parts a record has, as DUPFLAG_ bits.
uint32_t parts_of(const BITMAPHANDLE* bitmap)
{
    uint32_t parts = 0;
    const auto* overlays = static_cast<const vk::OverlayTable*>(bitmap->Overlays);
    if (overlays != nullptr && V_BitmapIsAllocated(&overlays->bitmaps[3]))
        parts |= DUPFLAG_OVERLAYS;
    if (bitmap->RgnInfo != nullptr)
        parts |= DUPFLAG_REGION;
    if (bitmap->ExtraData != nullptr && bitmap->ExtraDataSize == 1000 &&
        static_cast<const uint8_t*>(bitmap->ExtraData)[999] == 0x5C)
        parts |= DUPFLAG_EXTRADATA;
    if (bitmap->LUT != nullptr && bitmap->LUT[255].rgbRed == 0x11 && bitmap->LUTLength == 256 &&
        bitmap->PaintLUT[255] == 0x22)
        parts |= DUPFLAG_GRAYTABLES;
    if (bitmap->StructSize == BITMAPHANDLE_SIZE) {
        const bool has_16 = bitmap->LUT16 != nullptr && bitmap->LUT16[255].rgbRed == 0x3333 &&
                            bitmap->PaintLUT16 != nullptr && bitmap->PaintLUT16[65535] == 0x4444;
        EXPECT_EQ((parts & DUPFLAG_GRAYTABLES) != 0, has_16);
        if (bitmap->DataCallbacks != nullptr)
            parts |= DUPFLAG_DATACALLBACKS;
    }
    if (bitmap->XResolution == 301 && bitmap->Delay == 17 && bitmap->Transparency == 0x00123456 &&
        V_BitmapIsTransparency(bitmap))
        parts |= DUPFLAG_ANIMATION;
    return parts;
}

} // namespace

TEST(Duplicate, CopiesEveryDepthAndStorageKind)
{
    TestRandom random(71);
    SCOPED_TRACE(random);
    for (const Kind kind : kKinds)
        for (const int32_t bits : kDepths)
            for (const uint32_t size : kSizes) {
                if (!can_make(kind, bits))
                    continue;
                SCOPED_TRACE(std::string(name_of(kind)) + ", bits " + std::to_string(bits) + ", record " +
                             std::to_string(size));
                const Thresholds restore;
                TestBitmap source(size);
                source.make(kind, kWidth, kHeight, bits);
                Thresholds::tiles(2 * int64_t{source->BytesPerLine}, 0, 2);
                ASSERT_NO_FATAL_FAILURE(paint(source, random));
                source->LowBit = 1;
                source->ViewPerspective = BOTTOM_LEFT;
                source->DitheringMethod = DITHER_JARVIS;
                TestBitmap copy(size);
                ASSERT_EQ(SUCCESS, V_CopyBitmap(copy.get(), source.get(), size));
                EXPECT_EQ(source.pixels(), copy.pixels());
                EXPECT_EQ(memory_type(source), memory_type(copy));
                EXPECT_TRUE(source->Handle != copy->Handle);
                EXPECT_EQ(1, copy->LowBit);
                EXPECT_EQ(DITHER_JARVIS, copy->DitheringMethod);
                EXPECT_EQ(source->Order, copy->Order);
                EXPECT_EQ(BOTTOM_LEFT, copy->ViewPerspective);

                copy->ViewPerspective = TOP_LEFT;
                ASSERT_EQ(SUCCESS, V_CopyBitmapData(copy.get(), source.get()));
                EXPECT_EQ(rows_reversed(source.pixels(), source->BytesPerLine), copy.pixels());
            }
}

TEST(Duplicate, BetweenStorageKinds)
{
    TestRandom random(72);
    SCOPED_TRACE(random);
    for (const Kind from : kKinds)
        for (const Kind to : kKinds) {
            SCOPED_TRACE(std::string(name_of(from)) + " to " + name_of(to));
            TestBitmap source;
            source.make(from, kWidth, kHeight, 1);
            ASSERT_NO_FATAL_FAILURE(paint(source, random));
            TestBitmap copy;
            copy.make(to, kWidth, kHeight, 1);
            ASSERT_EQ(SUCCESS, V_CopyBitmapData(copy.get(), source.get()));
            EXPECT_EQ(source.pixels(), copy.pixels());
        }
}

TEST(Duplicate, EveryFlagMovesItsPart)
{
    const RegionCounter counter;
    constexpr uint32_t kParts = DUPFLAG_COPY & ~DUPFLAG_PALETTE; // a gray bitmap has none
    for (const uint32_t size : kSizes)
        for (uint32_t flags = 0; flags < 256; ++flags) {
            SCOPED_TRACE("flags " + std::to_string(flags) + ", record " + std::to_string(size));
            const auto before = vk::fault::live();
            g_freed_regions = 0;
            {
                TestBitmap source(size);
                ASSERT_TRUE(give_all_parts(source.get(), size));
                give_tables(source.get());
                const uint32_t all = size == BITMAPHANDLE_SIZE ? kParts : kParts & ~DUPFLAG_DATACALLBACKS;
                ASSERT_EQ(all, parts_of(source.get()));
                const void* const block = source->ExtraData;
                TestBitmap made(size);
                ASSERT_EQ(SUCCESS, V_DupBitmapNewDim(made.get(), source.get(), size, 20, 40, 16, 0, flags));
                EXPECT_EQ(20, made->Width);
                EXPECT_EQ(2, made->LowBit);
                EXPECT_EQ(COLORORDER_GRAY, made->Order);
                EXPECT_TRUE(V_BitmapIsSigned(made.get()) && V_BitmapIsNoClip(made.get()));
                const bool takes_over = (flags & DUPFLAG_TAKEOVER) != 0;
                const uint32_t expected = takes_over ? all : flags & all & ~DUPFLAG_REGION;
                EXPECT_EQ(expected, parts_of(made.get()));
                // What is handed over is gone from the source; fields and callbacks stay.
                const uint32_t blocks = DUPFLAG_OVERLAYS | DUPFLAG_EXTRADATA | DUPFLAG_GRAYTABLES;
                const uint32_t gone = takes_over ? (blocks & ~flags) | DUPFLAG_REGION : 0;
                EXPECT_EQ(all & ~gone, parts_of(source.get()));
                EXPECT_EQ(takes_over && !(flags & DUPFLAG_EXTRADATA), made->ExtraData == block);
                V_FreeDuplicateBitmap(source.get());
                EXPECT_EQ(expected, parts_of(made.get()));
            }
            EXPECT_EQ(1, g_freed_regions);
            expect_same_live(before, vk::fault::live());
        }
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
        ASSERT_EQ(SUCCESS, source.create(TYPE_CONV, 5, 5, test.bits, test.order));
        TestBitmap made;
        ASSERT_EQ(SUCCESS, V_DupBitmapNewDim(made.get(), source.get(), BITMAPHANDLE_SIZE, 5, 5, test.to_bits, 0, 1));
        EXPECT_EQ(test.to_order, made->Order) << test.bits << " to " << test.to_bits;
    }
    TestBitmap source;
    ASSERT_EQ(SUCCESS, source.create(TYPE_CONV, 5, 5, 4));
    const std::map<int32_t, uint32_t> colors = {{1, 2}, {4, 16}, {8, 16}, {24, 0}};
    for (const auto& [bits, count] : colors) {
        TestBitmap made;
        ASSERT_EQ(SUCCESS, V_DupBitmapNewDim(made.get(), source.get(), BITMAPHANDLE_SIZE, 5, 5, bits, 0, 1));
        EXPECT_EQ(count, made->Colors);
        EXPECT_EQ(count != 0, made->Palette != nullptr);
        EXPECT_EQ(1, V_CompareBitmapToPalette(made.get(), source->Palette, count));
    }
}

namespace {

/// What the copy callbacks were asked and answer.
struct CopyCalls {
    int begin_result = SUCCESS;
    int end_result = SUCCESS;
    int begins = 0;
    int ends = 0;

    BITMAPDATACALLBACKS table()
    {
        BITMAPDATACALLBACKS calls{};
        calls.StructSize = sizeof calls;
        calls.UserData = this;
        calls.BeginCopyBitmapDataCallback = [](BITMAPHANDLE*, BITMAPHANDLE*, void* self) {
            ++static_cast<CopyCalls*>(self)->begins;
            return static_cast<CopyCalls*>(self)->begin_result;
        };
        calls.EndCopyBitmapDataCallback = [](BITMAPHANDLE*, BITMAPHANDLE*, void* self) {
            ++static_cast<CopyCalls*>(self)->ends;
            return static_cast<CopyCalls*>(self)->end_result;
        };
        return calls;
    }
};

} // namespace

TEST(Duplicate, CopyCallbacksHaveTheirSay)
{
    const struct {
        int begin, end, result;
        bool copies;
        int ends;
    } kCases[] = {{SUCCESS, SUCCESS, SUCCESS, true, 1},
                  {2, SUCCESS, SUCCESS, false, 0},
                  {-77, SUCCESS, -77, false, 0},
                  {SUCCESS, 2, SUCCESS, true, 1},
                  {SUCCESS, -78, -78, true, 1}};
    TestRandom random(73);
    for (const bool on_source : {true, false})
        for (const auto& test : kCases) {
            SCOPED_TRACE("begin " + std::to_string(test.begin) + ", end " + std::to_string(test.end));
            TestBitmap source;
            TestBitmap copy;
            source.make(Kind::conv, kWidth, kHeight, 24);
            copy.make(Kind::conv, kWidth, kHeight, 24);
            ASSERT_NO_FATAL_FAILURE(paint(source, random));
            CopyCalls calls{test.begin, test.end};
            const BITMAPDATACALLBACKS table = calls.table();
            ASSERT_EQ(SUCCESS, V_SetBitmapDataCallbacks(on_source ? source.get() : copy.get(), &table));
            EXPECT_EQ(test.result, V_CopyBitmapData(copy.get(), source.get()));
            EXPECT_EQ(test.copies, source.pixels() == copy.pixels());
            EXPECT_EQ(1, calls.begins);
            EXPECT_EQ(test.ends, calls.ends);
            EXPECT_EQ(0, source->LockCount);
            EXPECT_EQ(0, copy->LockCount);
        }
}

TEST(Duplicate, StagedReplacesOnSuccessOnly)
{
    const auto before = vk::fault::live();
    {
        TestBitmap bitmap;
        ASSERT_TRUE(give_all_parts(bitmap.get(), BITMAPHANDLE_SIZE));
        bitmap->RgnInfo = nullptr;
        give_tables(bitmap.get());
        ASSERT_EQ(SUCCESS, V_AccessBitmap(bitmap.get()));
        const std::vector<uint8_t> image = bitmap.image();
        {
            vk::Staged staged(*bitmap.get());
            ASSERT_EQ(SUCCESS, staged.make({80, 3, 16}, DUPFLAG_PALETTE));
        }
        EXPECT_EQ(image, bitmap.image()); // not replaced: freed
        const uint32_t parts = parts_of(bitmap.get());
        vk::Staged staged(*bitmap.get());
        ASSERT_EQ(SUCCESS, staged.make({80, 3, 16}, DUPFLAG_PALETTE));
        ASSERT_EQ(SUCCESS, staged.replace());
        EXPECT_EQ(80, bitmap->Width);
        EXPECT_EQ(parts, parts_of(bitmap.get()));
        EXPECT_EQ(1, bitmap->LockCount); // the caller still holds it
        EXPECT_EQ(SUCCESS, V_ReleaseBitmap(bitmap.get()));
    }
    expect_same_live(before, vk::fault::live());
}

TEST(Duplicate, EveryFailureLeavesTheSource)
{
    for (const uint32_t flags : {0x41u, 0xBFu, 0u}) {
        const bool is_copy = flags == 0;
        for_each_fault([&] {
            TestBitmap source;
            if (!give_all_parts(source.get(), BITMAPHANDLE_SIZE))
                return;
            source->RgnInfo = nullptr;
            const std::vector<uint8_t> image = source.image();
            TestBitmap made;
            const int result =
                is_copy ? V_CopyBitmap(made.get(), source.get(), BITMAPHANDLE_SIZE)
                        : V_DupBitmapNewDim(made.get(), source.get(), BITMAPHANDLE_SIZE, 50, 50, 16, TYPE_DISK, flags);
            if (result != SUCCESS) {
                EXPECT_EQ(image, source.image());
                EXPECT_TRUE(made.is_empty());
            }
        });
    }
}

TEST(Duplicate, TransferFailuresReachTheCaller)
{
    for (const uint32_t memory : {TYPE_DISK, TYPE_TILED, TYPE_COMPRESSED})
        for_each_fault([&] {
            TestBitmap source;
            if (source.create(TYPE_CONV, kWidth, kHeight, 1) != SUCCESS ||
                V_SetBitmapMemoryInfo(source.get(), memory, 16, 0, 2, 0, 2, 1 + 2 + 8 + 32) != SUCCESS)
                return;
            const std::vector<uint8_t> image = source.image();
            TestBitmap made;
            const int result = V_CopyBitmap(made.get(), source.get(), BITMAPHANDLE_SIZE);
            EXPECT_EQ(result == SUCCESS, V_BitmapIsAllocated(made.get()) != 0) << result;
            EXPECT_EQ(image, source.image());
        });
}

TEST(Duplicate, RefusesBadInput)
{
    TestBitmap source;
    source.make(Kind::conv, 5, 5, 8);
    TestBitmap made;
    const auto dup = [&](BITMAPHANDLE* to, BITMAPHANDLE* from, uint32_t size, int32_t w, int32_t h, int32_t bits,
                         uint32_t memory,
                         uint32_t flags) { return V_DupBitmapNewDim(to, from, size, w, h, bits, memory, flags); };
    TestBitmap empty;
    TestBitmap odd;
    odd->StructSize = 100;
    const uint32_t size = BITMAPHANDLE_SIZE;
    EXPECT_EQ(ERROR_INVALID_PARAMETER, dup(nullptr, source.get(), size, 5, 5, 8, 0, 0));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, dup(made.get(), nullptr, size, 5, 5, 8, 0, 0));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, dup(source.get(), source.get(), size, 5, 5, 8, 0, 0));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, dup(made.get(), source.get(), size, 5, 5, 8, 0, 0x100));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, dup(made.get(), source.get(), size, 5, 5, 8, 3, 0));
    EXPECT_EQ(ERROR_INVALID_STRUCT_SIZE, dup(made.get(), source.get(), 100, 5, 5, 8, 0, 0));
    EXPECT_EQ(ERROR_INVALID_STRUCT_SIZE, dup(made.get(), odd.get(), size, 5, 5, 8, 0, 0));
    EXPECT_EQ(ERROR_INVALID_IMAGE, dup(made.get(), empty.get(), size, 5, 5, 8, 0, 0));
    EXPECT_EQ(ERROR_INVALID_BITS_PER_PIXEL, dup(made.get(), source.get(), size, 5, 5, 9, 0, 0));
    for (const int32_t width : {0, -1, 0x7FFFFFFF})
        EXPECT_EQ(ERROR_INVALID_WIDTH_HEIGHT, dup(made.get(), source.get(), size, width, 5, 64, 0, 0));
    EXPECT_EQ(ERROR_INVALID_WIDTH_HEIGHT, dup(made.get(), source.get(), size, 0, 0, 0, 0, 0));
    EXPECT_TRUE(made.is_empty());
    odd->StructSize = size;

    EXPECT_EQ(ERROR_INVALID_IMAGE, V_CopyBitmapData(empty.get(), source.get()));
    EXPECT_EQ(SUCCESS, V_CopyBitmapData(source.get(), source.get()));
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
        EXPECT_EQ(other.result, V_CopyBitmapData(to.get(), source.get()));
    }
    source->Width = 500; // a record that lies about its rows
    EXPECT_EQ(ERROR_INVALID_WIDTH_HEIGHT, V_CopyBitmap(made.get(), source.get(), size));
    source->Width = 5;
    V_FreeDuplicateBitmap(nullptr);
}
