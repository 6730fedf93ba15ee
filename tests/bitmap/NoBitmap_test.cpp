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

intptr_t recolor(B bitmap)
{
    return V_ColorResBitmap(bitmap, nullptr, 0, 4, 0, nullptr, nullptr, 0);
}

intptr_t recolor_into(B bitmap)
{
    TestBitmap made;
    return V_ColorResBitmap(bitmap, made, kSize, 4, 0, nullptr, nullptr, 0);
}

intptr_t duplicate(B bitmap)
{
    TestBitmap made;
    return V_DupBitmapNewDim(made, bitmap, kSize, 5, 5, 8, 0, DUPFLAG_COPY);
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

const struct Case {
    const char* name;
    intptr_t (*run)(B bitmap);
    intptr_t no_record, no_storage = kAny, no_room = kAny;
} kCases[] = {
    {"V_AccessBitmap", on<V_AccessBitmap>, kNull},
    {"V_ReleaseBitmap", on<V_ReleaseBitmap>, kNull},
    {"V_PutBitmapRow", on<V_PutBitmapRow, kRow, 1, kBytes>, kParameter, kMemory},
    {"V_GetBitmapRow", on<V_GetBitmapRow, kRow, 1, kBytes>, kParameter, kMemory},
    {"V_PutBitmapRowCol", on<V_PutBitmapRowCol, kRow, 3, 8, kBytes>, kParameter, kMemory},
    {"V_GetBitmapRowCol", on<V_GetBitmapRowCol, kRow, 3, 8, kBytes>, kParameter, kMemory},
    {"V_PutBitmapRowSegments", on<V_PutBitmapRowSegments, kRow, 2, &kSegment, 1u>, kParameter, kImage, kRoom},
    {"V_GetPixelData", on<V_GetPixelData, kRow, 4, 5, kBytes>, kImage, kImage},
    {"V_PutPixelData", on<V_PutPixelData, kRow, 4, 6, kBytes>, kImage, kImage},
    {"V_GetBitmapRowCompressed", on<V_GetBitmapRowCompressed, kRow, 1, kBytes>, kParameter, kImage, kBits},
    {"V_PutBitmapRowCompressed", on<V_PutBitmapRowCompressed, kRow, 1, kBytes>, kParameter, kImage, kBits},
    {"V_GetBitmapRowColCompressed", on<V_GetBitmapRowColCompressed, kRow, 1, 9, kBytes>, kParameter, kImage, kBits},
    {"V_PutBitmapRowColCompressed", on<V_PutBitmapRowColCompressed, kRow, 1, 9, kBytes>, kParameter, kImage, kBits},
    {"V_PutPixelColor", on<V_PutPixelColor, 2, 2, 0xFFu>, kImage, kImage},
    {"V_GetPixelColor", [](B b) -> intptr_t { return V_GetPixelColor(b, 2, 2) == 0x80000000u ? kImage : 1; }, kImage,
     kImage},
    {"V_UpdateBitmapSize", on<V_UpdateBitmapSize>, kParameter, kImage},
    {"V_GetBitmapMemoryInfo", on<V_GetBitmapMemoryInfo, &g_memory, &g_long, &g_number, &g_number, &g_number, &g_number>,
     kParameter, kImage},
    {"V_ChangeBitmapHeight", on<V_ChangeBitmapHeight, 21>, kParameter, kImage},
    {"V_GrowBitmapHeap", on<V_GrowBitmapHeap, 100u>, kParameter, kParameter, kParameter},
    {"V_TrimBitmapHeap", on<V_TrimBitmapHeap>, kParameter, kParameter, kParameter},
    {"V_SetBitmapDataCallbacks", on<V_SetBitmapDataCallbacks, &g_table>, kParameter},
    {"V_GetBitmapDataCallbacks", on<V_GetBitmapDataCallbacks, &g_table, sizeof g_table>, kParameter},
    {"V_AllocateBitmapExtraData", on<V_AllocateBitmapExtraData, 77u>, kImage},
    {"V_FreeBitmapExtraData", on<V_FreeBitmapExtraData>, kImage},
    {"V_ChangeBitmapCompression", on<V_ChangeBitmapCompression, 1>, kParameter, kImage, kBits},
    {"V_ToggleBitmapCompression", on<V_ToggleBitmapCompression>, kParameter, kImage, kRoom},
    {"V_SetBitmapMemoryInfo", on<V_SetBitmapMemoryInfo, TYPE_DISK, 0, 0, 0, 0, 0, MEMORYINFO_MEMORY>, kParameter,
     kImage, kRoom},
    {"V_SetBitmapDataPointer", on<V_SetBitmapDataPointer, nullptr, size_t{0}>, kParameter},
    {"V_DupBitmapNewDim", duplicate, kParameter, kImage},
    {"V_CopyBitmap",
     [](B b) -> intptr_t {
         TestBitmap made;
         return V_CopyBitmap(made, b, kSize);
     },
     kParameter, kImage, kRoom},
    {"V_CopyBitmapData", copy_data, kParameter, kImage, kRoom},
    {"V_IntIsGrayScaleBitmap", on<V_IntIsGrayScaleBitmap>, 0},
    {"V_GetGrayParams", on<V_GetGrayParams, nullptr, nullptr, nullptr>, kParameter},
    {"V_ColorResBitmap", recolor_into, kParameter, kImage, kRoom},
    {"V_ColorResBitmap (in place)", recolor, kParameter, kImage, kRoom},
    {"V_CreateGrayScaleBitmap",
     [](B b) -> intptr_t {
         TestBitmap made;
         return V_CreateGrayScaleBitmap(made, b, kSize, 12);
     },
     kParameter, kImage, kRoom},
    {"V_GrayScaleBitmap", on<V_GrayScaleBitmap, 12>, kParameter, kImage, kRoom},
    {"V_ConvertToDIB, V_ConvertToDIB2, V_ChangeToDIB", to_dib, kImage, kImage, kImage},
    {"V_MirrorFromDIB", on<V_MirrorFromDIB, kSize, nullptr>, kParameter},
    {"V_ChangeFromDIB", on<V_ChangeFromDIB, kSize, nullptr>, kParameter},
    {"V_ConvertFromDIB", on<V_ConvertFromDIB, kSize, nullptr, nullptr>, kParameter},
    {"V_StartDithering", on<V_StartDithering, nullptr, 256u>, kParameter},
    {"V_StartDitheringExt", on<V_StartDitheringExt, nullptr, 256u, 8, nullptr>, kParameter},
    {"V_DitherLine", on<V_DitherLine, kRow, kRow>, kParameter, kParameter, kParameter},
    {"V_StopDithering", on<V_StopDithering>, kParameter, SUCCESS, SUCCESS},
    {"V_InsertBitmapListItem", listed, kParameter},
    {"V_SetBitmapPalette", on<V_SetBitmapPalette, nullptr>, kImage},
    {"V_GetNearestPaletteIndex", on<V_GetNearestPaletteIndex, 0u>, kAny},
    {"V_CopyBitmapPalette", onto<V_CopyBitmapPalette>, kParameter},
    {"V_CompareBitmapToPalette", on<V_CompareBitmapToPalette, kColors, 2u>, 0},
    {"V_CreateBitmapGrayPalette", on<V_CreateBitmapGrayPalette>, kParameter},
    {"V_CreateBitmapFixedPalette", on<V_CreateBitmapFixedPalette>, kParameter},
    {"V_SetBitmapNewPalette", on<V_SetBitmapNewPalette, kColors, 2u>, kParameter},
    {"V_ResampleBitmap", on<V_ResampleBitmap, 42, 5>, kParameter, kImage, kRoom},
    {"V_BicubicResampleBitmap", on<V_BicubicResampleBitmap, 42, 5>, kParameter, kImage, kRoom},
    {"V_IntResampleBitmap", onto<V_IntResampleBitmap>, kParameter, kImage, kRoom},
    {"V_IntBicubicResampleBitmap", onto<V_IntBicubicResampleBitmap>, kParameter, kImage, kRoom},
    {"V_StartResizeBitmap", stream<V_StartResizeBitmap>, kImage, kImage, kRoom},
    {"V_StartResizeBitmap2", stream<start_second>, kImage, kImage, kRoom},
    {"V_IntResizeBitmap", onto<V_IntResizeBitmap, 0u>, kParameter, kImage, kRoom},
    {"V_ResizeBitmap", onto<V_ResizeBitmap, 0u>, kParameter, kImage, kRoom},
    {"V_SizeBitmap", on<V_SizeBitmap, 45, 7, 0u>, kParameter, kParameter, kRoom},
    {"V_SizeBitmap (filters)", on<V_SizeBitmap, 45, 7, SIZEFLAG_BICUBIC>, kParameter, kParameter, kRoom},
    {"V_RotateBitmap", on<V_RotateBitmap, 730, 0u, 0u>, kImage, kImage, kRoom},
    {"V_RotateBitmap (a half)", on<V_RotateBitmap, 18000, 0u, 0u>, kImage, kImage, kRoom},
    {"V_IntRotateBitmap", [](B b) -> intptr_t { return V_IntRotateBitmap(b, 4500, 0, 0, 0, 100, 3.5, 2.5); }, kImage,
     kImage, kRoom},
    {"V_FlipBitmap", on<V_FlipBitmap>, kParameter, kParameter, kRoom},
    {"V_ReverseBitmap", on<V_ReverseBitmap>, kParameter, kImage, kRoom},
    {"V_IntFlipBitmap", on<V_IntFlipBitmap>, kImage, kImage, kRoom},
    {"V_IntReverseBitmap", on<V_IntReverseBitmap>, kImage, kImage, kRoom},
    {"V_RotateBitmap90", on<V_RotateBitmap90, 1>, kImage, kImage, kRoom},
    {"V_FlipBitmapViewPerspective", on<V_FlipBitmapViewPerspective>, kParameter},
    {"V_IntFlipBitmapViewPerspective", on<V_IntFlipBitmapViewPerspective>, kParameter},
    {"V_ReverseBitmapViewPerspective", on<V_ReverseBitmapViewPerspective>, kParameter},
    {"V_IntReverseBitmapViewPerspective", on<V_IntReverseBitmapViewPerspective>, kParameter},
    {"V_ChangeBitmapViewPerspective", into<V_ChangeBitmapViewPerspective, 5>, kParameter, kParameter, kRoom},
    {"V_IntChangeBitmapViewPerspective", into<V_IntChangeBitmapViewPerspective, 2, 0u>, kParameter, kImage, kRoom},
    {"V_ChangeBitmapViewPerspective (in place)",
     [](B b) -> intptr_t { return V_ChangeBitmapViewPerspective(nullptr, b, 0, 5); }, kParameter, kParameter, kRoom},
    {"V_PointToBitmap", on<V_PointToBitmap, 7, &g_number, &g_number>, kParameter},
    {"V_PointFromBitmap", on<V_PointFromBitmap, 7, &g_number, &g_number>, kParameter},
    {"V_RectToBitmap", on<V_RectToBitmap, 7, &g_rect>, kParameter},
    {"V_RectFromBitmap", on<V_RectFromBitmap, 7, &g_rect>, kParameter},
};

} // namespace

TEST(NoBitmap, IsSaidByEachOperation)
{
    for (const Case& c : kCases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(c.no_record, c.run(nullptr));
        TestBitmap described, narrow;
        ASSERT_EQ(SUCCESS, described.init(37, 9, 8));
        ASSERT_EQ(SUCCESS, narrow.create(TYPE_CONV, 37, 9, 8));
        narrow->Width = static_cast<int32_t>(narrow->BytesPerLine) + 1;
        for (auto [bitmap, wanted] : {std::pair{&described, c.no_storage}, {&narrow, c.no_room}}) {
            const Bytes image = bitmap->image();
            EXPECT_TRUE(wanted == kAny || c.run(*bitmap) == wanted)
                << (bitmap == &narrow ? "short rows" : "no storage");
            EXPECT_TRUE(wanted == kAny || image == bitmap->image());
        }
    }
}
