// What each operation says to no record, to one without storage, and to one whose rows are shorter than it states; and
// that it leaves the latter two as they are.
#include "Vkkrnx.h"
#include "tests/support/TestBitmap.h"

using namespace vk::testing;

namespace {

using B = BITMAPHANDLE*;

constexpr uint32_t kSize = BITMAPHANDLE_SIZE;
constexpr int kParameter = ERROR_INVALID_PARAMETER, kImage = ERROR_INVALID_IMAGE, kRoom = ERROR_INVALID_WIDTH_HEIGHT,
              kBits = ERROR_INVALID_BITS_PER_PIXEL, kMemory = ERROR_NO_MEMORY, kNull = ERROR_NULL_PTR;
constexpr int kAny = 0; ///< not tried

uint8_t g_row[64];
constexpr uint8_t* kRow = g_row;
RECT g_rect;
int32_t g_number;
int64_t g_long;
uint32_t g_memory;
BITMAPDATACALLBACKS g_table{};
constexpr RGBQUAD kColors[2] = {};
constexpr ROWSEGMENT kSegment{3, 11};
constexpr size_t kBytes = 3;

/// An operation on the record, further arguments behind it.
template <auto function, auto... arguments> intptr_t on(B bitmap)
{
    return static_cast<intptr_t>(function(bitmap, arguments...));
}

/// One that makes a bitmap from it, or fills one.
template <auto function, auto... arguments> intptr_t into(B bitmap)
{
    TestBitmap made;
    const int result = function(made, bitmap, kSize, arguments...);
    EXPECT_TRUE(result == SUCCESS || made.is_empty());
    return result;
}
template <auto function, auto... arguments> intptr_t onto(B bitmap)
{
    TestBitmap other;
    EXPECT_EQ(SUCCESS, other.create(TYPE_CONV, 37, 9, 8));
    return function(bitmap, other, arguments...);
}

template <bool is_copy> intptr_t recolor(B bitmap)
{
    TestBitmap made;
    return V_ColorResBitmap(bitmap, is_copy ? made.get() : nullptr, kSize, 4, 0, nullptr, nullptr, 0);
}

intptr_t copy_data(B bitmap)
{
    TestBitmap other;
    EXPECT_EQ(SUCCESS, other.create(TYPE_CONV, 37, 9, 8));
    return V_CopyBitmapData(other, bitmap);
}

intptr_t to_dib(B bitmap)
{
    uint32_t bytes = 0;
    EXPECT_EQ(nullptr, V_ConvertToDIB(bitmap, 0));
    EXPECT_EQ(nullptr, V_ChangeToDIB(bitmap, 0));
    return V_ConvertToDIB2(bitmap, 0, &bytes, 0) || bytes != 0 ? SUCCESS : kImage;
}

template <auto start> intptr_t stream(B bitmap)
{
    void* state = nullptr;
    const int result = start(bitmap, 11, 5, 24, nullptr, COLORORDER_BGR, 0, nullptr, nullptr, &state);
    EXPECT_EQ(nullptr, state);
    return result;
}

int start_second(B b, int32_t w, int32_t h, int32_t bits, const RGBQUAD* palette, int32_t order, uint32_t flags, B mask,
                 void* user, void** state)
{
    return V_StartResizeBitmap2(b, w, h, bits, palette, order, flags, mask, user, state, 0, 0);
}

intptr_t listed(B bitmap)
{
    HBITMAPLIST list = nullptr;
    EXPECT_EQ(SUCCESS, V_CreateBitmapList(&list));
    const int result = V_InsertBitmapListItem(list, 0, bitmap);
    EXPECT_EQ(SUCCESS, V_DestroyBitmapList(list));
    return result;
}

/// What there is to answer, and the operations that answer so.
const struct {
    struct {
        intptr_t no_record, no_storage, no_room;
    } answers;
    std::vector<intptr_t (*)(B bitmap)> operations;
} kAnswers[] = {
    {{kNull, kAny, kAny}, {on<V_AccessBitmap>, on<V_ReleaseBitmap>}},
    {{kParameter, kMemory, kAny},
     {on<V_PutBitmapRow, kRow, 1, kBytes>, on<V_GetBitmapRow, kRow, 1, kBytes>,
      on<V_PutBitmapRowCol, kRow, 3, 8, kBytes>, on<V_GetBitmapRowCol, kRow, 3, 8, kBytes>}},
    {{kParameter, kImage, kRoom},
     {copy_data, recolor<true>, recolor<false>, into<V_CopyBitmap>, on<V_ReverseBitmap>, onto<V_ResizeBitmap, 0u>,
      on<V_GrayScaleBitmap, 12>, onto<V_IntResampleBitmap>, on<V_ResampleBitmap, 42, 5>, onto<V_IntResizeBitmap, 0u>,
      on<V_ToggleBitmapCompression>, onto<V_IntBicubicResampleBitmap>, into<V_CreateGrayScaleBitmap, 12>,
      on<V_BicubicResampleBitmap, 42, 5>, into<V_IntChangeBitmapViewPerspective, 2, 0u>,
      on<V_PutBitmapRowSegments, kRow, 2, &kSegment, 1u>,
      on<V_SetBitmapMemoryInfo, TYPE_DISK, 0, 0, 0, 0, 0, MEMORYINFO_MEMORY>}},
    {{kImage, kImage, kAny},
     {on<V_PutPixelColor, 2, 2, 0xFFu>, on<V_GetPixelData, kRow, 4, 5, kBytes>, on<V_PutPixelData, kRow, 4, 6, kBytes>,
      [](B b) -> intptr_t { return V_GetPixelColor(b, 2, 2) == 0x80000000u ? kImage : 1; }}},
    {{kParameter, kImage, kBits},
     {on<V_ChangeBitmapCompression, 1>, on<V_GetBitmapRowCompressed, kRow, 1, kBytes>,
      on<V_PutBitmapRowCompressed, kRow, 1, kBytes>, on<V_GetBitmapRowColCompressed, kRow, 1, 9, kBytes>,
      on<V_PutBitmapRowColCompressed, kRow, 1, 9, kBytes>}},
    {{kParameter, kImage, kAny},
     {on<V_UpdateBitmapSize>, on<V_ChangeBitmapHeight, 21>,
      into<V_DupBitmapNewDim, 5, 5, 8, 0u, uint32_t{DUPFLAG_COPY}>,
      on<V_GetBitmapMemoryInfo, &g_memory, &g_long, &g_number, &g_number, &g_number, &g_number>}},
    {{kParameter, kParameter, kParameter},
     {on<V_TrimBitmapHeap>, on<V_GrowBitmapHeap, 100u>, on<V_DitherLine, kRow, kRow>}},
    {{kParameter, kAny, kAny},
     {on<V_GetBitmapDataCallbacks, &g_table, sizeof g_table>, on<V_RectFromBitmap, 7, &g_rect>,
      on<V_StartDitheringExt, nullptr, 256u, 8, nullptr>, on<V_FlipBitmapViewPerspective>,
      on<V_PointFromBitmap, 7, &g_number, &g_number>, on<V_RectToBitmap, 7, &g_rect>,
      on<V_GetGrayParams, nullptr, nullptr, nullptr>, on<V_CreateBitmapFixedPalette>,
      on<V_SetBitmapDataPointer, nullptr, size_t{0}>, on<V_CreateBitmapGrayPalette>,
      on<V_ConvertFromDIB, kSize, nullptr, nullptr>}},
    {{kParameter, kAny, kAny},
     {onto<V_CopyBitmapPalette>, on<V_PointToBitmap, 7, &g_number, &g_number>, listed,
      on<V_SetBitmapNewPalette, kColors, 2u>, on<V_SetBitmapDataCallbacks, &g_table>,
      on<V_IntReverseBitmapViewPerspective>, on<V_StartDithering, nullptr, 256u>, on<V_ChangeFromDIB, kSize, nullptr>,
      on<V_MirrorFromDIB, kSize, nullptr>, on<V_ReverseBitmapViewPerspective>, on<V_IntFlipBitmapViewPerspective>}},
    {{kImage, kAny, kAny},
     {on<V_FreeBitmapExtraData>, on<V_SetBitmapPalette, nullptr>, on<V_AllocateBitmapExtraData, 77u>}},
    {{0, kAny, kAny},
     {on<V_IntIsGrayScaleBitmap>, on<V_GetNearestPaletteIndex, 0u>, on<V_CompareBitmapToPalette, kColors, 2u>}},
    {{kImage, kImage, kImage}, {to_dib}},
    {{kParameter, SUCCESS, SUCCESS}, {on<V_StopDithering>}},
    {{kImage, kImage, kRoom},
     {on<V_IntFlipBitmap>, stream<start_second>, on<V_IntReverseBitmap>, on<V_RotateBitmap90, 1>,
      stream<V_StartResizeBitmap>, on<V_RotateBitmap, 730, 0u, 0u>, on<V_RotateBitmap, 18000, 0u, 0u>,
      [](B b) -> intptr_t { return V_IntRotateBitmap(b, 4500, 0, 0, 0, 100, 3.5, 2.5); }}},
    {{kParameter, kParameter, kRoom},
     {on<V_FlipBitmap>, on<V_SizeBitmap, 45, 7, 0u>, into<V_ChangeBitmapViewPerspective, 5>,
      on<V_SizeBitmap, 45, 7, SIZEFLAG_BICUBIC>,
      [](B b) -> intptr_t { return V_ChangeBitmapViewPerspective(nullptr, b, 0, 5); }}},
};

} // namespace

TEST(NoBitmap, IsSaidByEachOperation)
{
    for (const auto& [answers, operations] : kAnswers)
        for (const auto& run : operations) {
            const auto& [no_record, no_storage, no_room] = answers;
            SCOPED_TRACE(say("group", no_record, no_storage, no_room, "operation", &run - operations.data()));
            EXPECT_EQ(no_record, run(nullptr));
            TestBitmap described, narrow;
            ASSERT_EQ(SUCCESS, described.init(37, 9, 8));
            ASSERT_EQ(SUCCESS, narrow.create(TYPE_CONV, 37, 9, 8));
            narrow->Width = static_cast<int32_t>(narrow->BytesPerLine) + 1;
            for (auto [bitmap, wanted] : {std::pair{&described, no_storage}, {&narrow, no_room}}) {
                const Bytes image = bitmap->image();
                EXPECT_TRUE(wanted == kAny || (run(*bitmap) == wanted && image == bitmap->image()))
                    << (bitmap == &narrow ? "short rows" : "no storage");
            }
        }
}
