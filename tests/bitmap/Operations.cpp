#include "tests/bitmap/Operations.h"

#include "Vkkrnx.h"
#include "platform/fault/fault.h"

namespace vk::testing {

namespace {

/// The bytes of rows, without what stands behind their pixels.
Bytes pixels_of(BITMAPHANDLE* bitmap)
{
    const size_t used = packed_bytes_of(bitmap->Width, bitmap->BitsPerPixel);
    Bytes all;
    Bytes row(bitmap->BytesPerLine);
    for (int32_t y = 0; y < bitmap->Height; ++y) {
        EXPECT_LE(0, V_GetBitmapRow(bitmap, row.data(), y, row.size()));
        all.insert(all.end(), row.begin(), row.begin() + static_cast<ptrdiff_t>(used));
    }
    return all;
}

/// Runs what makes a bitmap, and takes its pixels; a bitmap that was not made must be empty.
template <class Make> int made_by(BITMAPHANDLE* bitmap, Bytes& pixels, Make make)
{
    TestBitmap made;
    const int result = make(made.get(), bitmap);
    fault::disarm(); // of the operation, not of looking at it
    EXPECT_EQ(result == SUCCESS, !made.is_empty());
    if (result == SUCCESS)
        pixels = read_accessed(made);
    return result;
}

/// Fills a bitmap of some form and size.
template <class Fill>
int filled_by(BITMAPHANDLE* bitmap, Bytes& pixels, int32_t bits, int32_t order, int32_t perspective, Fill fill)
{
    TestBitmap target;
    const bool is_same = order < 0;
    int result = target.create(TYPE_CONV, is_same ? bitmap->Width : 71, is_same ? bitmap->Height : 160, bits,
                               is_same ? bitmap->Order : order);
    if (result != SUCCESS)
        return result;
    target->ViewPerspective = is_same ? bitmap->ViewPerspective : perspective;
    result = fill(target.get(), bitmap);
    fault::disarm();
    pixels = pixels_of(target);
    return result;
}

/// An operation on the bitmap itself, further arguments behind it.
template <auto function, auto... arguments> int on(B b, Bytes&)
{
    return function(b, arguments...);
}

template <uint32_t kFlags> int size(B b, Bytes&)
{
    return V_SizeBitmap(b, 71, 160, kFlags);
}

template <int32_t kTo> int relabelled(B b, Bytes&)
{
    return V_ChangeBitmapViewPerspective(nullptr, b, 0, kTo);
}

/// One that makes another bitmap from it.
template <auto function, auto... arguments> int copied(B b, Bytes& made)
{
    return made_by(b, made, [](B to, B from) { return function(to, from, BITMAPHANDLE_SIZE, arguments...); });
}

/// One that fills another: of some depth, order (-1: of its own form) and perspective.
template <int32_t bits, int32_t order, int32_t perspective, auto function, auto... arguments>
int filled(B b, Bytes& made)
{
    return filled_by(b, made, bits, order, perspective, [](B to, B from) { return function(from, to, arguments...); });
}

int to_dib(BITMAPHANDLE* b, Bytes& made)
{
    uint32_t bytes = 0;
    auto* const block = static_cast<uint8_t*>(V_ConvertToDIB2(b, 0, &bytes, 0));
    if (block)
        made.assign(block, block + bytes);
    V_FreeMemory(block);
    return block ? SUCCESS : FAILURE;
}

int to_dib_upright(BITMAPHANDLE* b, Bytes& made)
{
    b->ViewPerspective = 2;
    const int result = to_dib(b, made);
    b->ViewPerspective = TOP_LEFT;
    return result;
}

int copy_list(BITMAPHANDLE* b, Bytes& made)
{
    HBITMAPLIST list = nullptr;
    HBITMAPLIST copy = nullptr;
    BITMAPHANDLE shown = *b;
    BITMAPHANDLE second{};
    int result = V_CreateBitmapList(&list);
    if (result == SUCCESS)
        result = V_CreateBitmap(&second, BITMAPHANDLE_SIZE, TYPE_CONV, 9, 200, 8, 0, nullptr, 1, nullptr, 0);
    if (result == SUCCESS)
        result = V_InsertBitmapListItem(list, 0, &second);
    if (result != SUCCESS)
        V_FreeBitmap(&second);
    const bool is_in = result == SUCCESS && (result = V_InsertBitmapListItem(list, 0, &shown)) == SUCCESS;
    if (is_in)
        result = V_CopyBitmapListItems(&copy, list, 0, 2);
    fault::disarm();
    BITMAPHANDLE item;
    if (result == SUCCESS) {
        EXPECT_EQ(SUCCESS, V_GetBitmapListItem(copy, 0, &item, BITMAPHANDLE_SIZE));
        made = read_accessed(&item);
        EXPECT_EQ(SUCCESS, V_DestroyBitmapList(copy));
    }
    EXPECT_TRUE(!is_in || V_RemoveBitmapListItem(list, 0, &shown) == SUCCESS);
    EXPECT_TRUE(!list || V_DestroyBitmapList(list) == SUCCESS);
    return result;
}

template <int32_t bits, uint32_t flags> int recolored(B b, Bytes&)
{
    return V_ColorResBitmap(b, nullptr, 0, bits, flags, nullptr, nullptr, 0);
}

template <int32_t bits, uint32_t flags> int color_copied(B b, Bytes& made)
{
    return made_by(b, made, [](B to, B from) {
        return V_ColorResBitmap(from, to, BITMAPHANDLE_SIZE, bits, flags, nullptr, nullptr, 0);
    });
}

int copy_data(B from, B to)
{
    return V_CopyBitmapData(to, from);
}

int combine(B from, B to)
{
    return V_CombineBitmap(to, 1, 2, 60, 120, from, 0, 0, COMBINE_COPY);
}

int combine_into_it(B b, Bytes&)
{
    TestBitmap other;
    const int made = other.create(TYPE_CONV, 40, 120, 24, COLORORDER_BGR);
    return made == SUCCESS ? V_CombineBitmap(b, 1, 2, 40, 120, other, 0, 0, COMBINE_COPY) : made;
}

const Operation kOperations[] = {
    {"flip", 24, Does::keeps, on<V_FlipBitmap>},
    {"flip bits", 1, Does::keeps, on<V_IntFlipBitmap>},
    {"reverse", 24, Does::keeps, on<V_ReverseBitmap>},
    {"reverse bits", 1, Does::keeps, on<V_IntReverseBitmap>},
    {"half turn", 24, Does::keeps, on<V_RotateBitmap, 18000, 0u, 0u>},
    {"half turn of bits", 1, Does::keeps, on<V_RotateBitmap, -18000, 0u, 0u>},
    {"perspective by flip", 24, Does::keeps, relabelled<4>, true},
    {"perspective by flip and half turn", 24, Does::keeps, relabelled<2>, true},
    {"perspective by flip and turn", 24, Does::replaces, relabelled<5>, true},
    {"perspective copied", 24, Does::copies, copied<V_ChangeBitmapViewPerspective, 3>},
    {"perspective copied and turned", 24, Does::copies, copied<V_ChangeBitmapViewPerspective, 8>},
    {"quarter turn", 24, Does::replaces, on<V_RotateBitmap90, 1>},
    {"quarter turn of bits", 1, Does::replaces, on<V_RotateBitmap90, 0>},
    {"rotation", 24, Does::replaces, on<V_RotateBitmap, 3300, uint32_t{ROTATEFLAG_GROW}, 0u>},
    {"rotation, filtered", 24, Does::replaces, on<V_RotateBitmap, -700, uint32_t{ROTATEFLAG_RESAMPLE}, 0u>},
    {"nearest size", 24, Does::replaces, size<SIZEFLAG_NORMAL>},
    {"favour black", 1, Does::replaces, size<SIZEFLAG_FAVORBLACK>},
    {"area size", 24, Does::replaces, size<SIZEFLAG_RESAMPLE>},
    {"bicubic size", 24, Does::replaces, size<SIZEFLAG_BICUBIC>},
    {"alternative size", 24, Does::replaces, size<SIZEFLAG_ALTRESAMPLE>},
    {"size to gray", 24, Does::replaces, size<SIZEFLAG_SCALETOGRAY>},
    {"size to gray by indices", 4, Does::replaces, size<SIZEFLAG_SCALETOGRAY>},
    {"size to gray of bits", 1, Does::replaces, size<SIZEFLAG_SCALETOGRAY>},
    {"alpha-aware size", 32, Does::replaces, size<SIZEFLAG_ALPHAAWARE>},
    {"alpha-aware size to gray", 32, Does::replaces, size<SIZEFLAG_ALPHAAWARE | SIZEFLAG_SCALETOGRAY>},
    {"resample", 24, Does::replaces, on<V_ResampleBitmap, 20, 40>},
    {"bicubic resample", 24, Does::replaces, on<V_BicubicResampleBitmap, 70, 140>},
    {"nearest resize into another form", 24, Does::fills, filled<16, COLORORDER_GRAY, 6, V_ResizeBitmap, 0u>},
    {"area resize into another form", 24, Does::fills,
     filled<16, COLORORDER_GRAY, 6, V_ResizeBitmap, uint32_t{SIZEFLAG_RESAMPLE}>},
    {"inner resize", 24, Does::fills, filled<24, COLORORDER_BGR, 1, V_IntResizeBitmap, 4u>},
    {"inner resample", 24, Does::fills, filled<24, COLORORDER_BGR, 4, V_IntResampleBitmap>},
    {"copy", 24, Does::copies, copied<V_CopyBitmap>},
    {"copy of data", 24, Does::fills, filled<24, -1, 1, copy_data>},
    {"copies in a list", 24, Does::copies, copy_list},
    {"colours", 24, Does::replaces, recolored<16, COLORRES_ORDER_RGB565>},
    {"colours of an optimized palette", 24, Does::replaces, recolored<8, COLORRES_PALETTE_OPTIMIZED>},
    {"colours of a copy", 24, Does::copies, color_copied<4, 0>},
    {"colours that are the same", 24, Does::copies, color_copied<24, COLORRES_ORDER_BGR>},
    {"gray", 24, Does::replaces, on<V_GrayScaleBitmap, 12>},
    {"gray copy", 24, Does::copies, copied<V_CreateGrayScaleBitmap, 8>},
    {"trimming", 24, Does::replaces, on<V_TrimBitmap, 3, 5, 40, 110>},
    {"extending", 24, Does::replaces, on<V_ExtendBitmap, 1, 2, 3, 4, uint32_t{EXTEND_MIRROR}, 0u>},
    {"copy of a part", 24, Does::copies, copied<V_CopyBitmapRect, 2, 3, 40, 111>},
    {"combining", 24, Does::fills, filled<32, COLORORDER_RGB, 3, combine>},
    {"combining into it", 24, Does::keeps, combine_into_it},
    {"DIB", 24, Does::copies, to_dib},
    {"DIB of another perspective", 24, Does::copies, to_dib_upright},
};

const Operation kMoves[] = {
    {"move to memory", 24, Does::replaces, on<V_SetBitmapMemoryInfo, TYPE_CONV, 0, 0, 0, 0, 0, MEMORYINFO_MEMORY>},
    {"move to a file", 24, Does::replaces, on<V_SetBitmapMemoryInfo, TYPE_DISK, 0, 0, 0, 0, 0, MEMORYINFO_MEMORY>},
    {"super-compression", 24, Does::replaces, on<V_ChangeBitmapCompression, 2>},
    {"run-length compression", 1, Does::replaces, on<V_ToggleBitmapCompression>},
};

} // namespace

std::span<const Operation> operations()
{
    return kOperations;
}

std::span<const Operation> moves()
{
    return kMoves;
}

Bytes read_accessed(BITMAPHANDLE* bitmap)
{
    const int accessed = V_AccessBitmap(bitmap);
    const Bytes all = pixels_of(bitmap);
    if (accessed == SUCCESS)
        V_ReleaseBitmap(bitmap);
    return all;
}

void fill_with_noise(BITMAPHANDLE* bitmap, uint64_t seed)
{
    TestRandom random(seed);
    const size_t used = packed_bytes_of(bitmap->Width, bitmap->BitsPerPixel);
    const int accessed = V_AccessBitmap(bitmap);
    for (int32_t y = 0; y < bitmap->Height; ++y) {
        Bytes row(bitmap->BytesPerLine, 0);
        random.fill(row.data(), used);
        if (bitmap->BitsPerPixel == 1)
            row[used - 1] = static_cast<uint8_t>(row[used - 1] & 0xC0u); // 50 pixels
        for (size_t at = 3; bitmap->BitsPerPixel == 32 && at < used; at += 4 * 7)
            row[at] = 0;
        ASSERT_EQ(static_cast<intptr_t>(row.size()), V_PutBitmapRow(bitmap, row.data(), y, row.size()));
    }
    if (accessed == SUCCESS)
        V_ReleaseBitmap(bitmap);
}

std::unique_ptr<TestBitmap> make_bitmap(const Operation& operation, Kind kind, uint32_t size)
{
    auto bitmap = std::make_unique<TestBitmap>(size);
    bitmap->make(kind, kWidth, kHeight, operation.bits);
    (*bitmap)->ViewPerspective = TOP_LEFT;
    fill_with_noise(*bitmap, 12);
    return bitmap;
}

Outcome run(const Operation& operation, BITMAPHANDLE* bitmap)
{
    Outcome outcome;
    outcome.result = operation.run(bitmap, outcome.pixels);
    fault::disarm();
    if (operation.does == Does::keeps || operation.does == Does::replaces)
        outcome.pixels = read_accessed(bitmap);
    return outcome;
}

} // namespace vk::testing
