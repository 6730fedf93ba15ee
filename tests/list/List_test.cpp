// Bitmap lists: order, ownership, both record sizes, and every failing call.
#include "tests/list/TestList.h"
#include "tests/support/FaultLoop.h"
#include "tests/support/TestRandom.h"

#include "Vkbitmap.h"
#include "Vklist.h"

using namespace vk::testing;

namespace {

constexpr uint32_t kSize = BITMAPHANDLE_SIZE;
constexpr uint32_t kEarlier = BITMAPHANDLE_SIZE_EARLIER;

/// A bitmap that is told by its width, for a list to own.
BITMAPHANDLE numbered(int32_t number, uint32_t size = kSize)
{
    BITMAPHANDLE bitmap{};
    EXPECT_EQ(SUCCESS,
              V_CreateBitmap(&bitmap, size, TYPE_CONV, number, 1, 8, COLORORDER_RGB, nullptr, TOP_LEFT, nullptr, 0));
    return bitmap;
}

/// A list of bitmaps with the widths 1, 2, ...
struct Numbered : TestList {
    explicit Numbered(int32_t count)
    {
        for (int32_t i = 1; i <= count; ++i)
            append(numbered(i));
    }
};

using Widths = std::vector<int32_t>;

} // namespace

TEST(List, SharesItsItems)
{
    Numbered list(2);
    BITMAPHANDLE out{};
    EXPECT_EQ(SUCCESS, V_DeleteBitmapListItems(list.get(), 1, 0xFFFFFFFF));
    out = list.item(0);
    ASSERT_EQ(SUCCESS, V_RemoveBitmapListItem(list.get(), 0, nullptr)); // frees nothing
    EXPECT_EQ(Widths{}, list.widths());
    list.append(out);
    EXPECT_EQ(Widths{1}, list.widths());
}

TEST(List, EarlierRecords)
{
    TestList list;
    for (int32_t i = 1; i <= 2; ++i)
        list.append(numbered(i, kEarlier));
    BITMAPHANDLE item = list.item(0);
    EXPECT_EQ(kSize, item.StructSize);
    EXPECT_EQ(+item.Size, +item.Size64);
    EXPECT_EQ(0, item.LockCount);

    // Asking for an earlier record, which could not free them, lets go of what only a current one reaches.
    ASSERT_EQ(SUCCESS, V_RemoveBitmapListItem(list.get(), 0, &item));
    BITMAPDATACALLBACKS callbacks{};
    callbacks.StructSize = sizeof callbacks;
    ASSERT_EQ(SUCCESS, V_SetBitmapDataCallbacks(&item, &callbacks));
    const std::vector<RGBQUAD> block(4);
    item.LUT16 = reinterpret_cast<V_RGBQUAD16*>(V_CreateNewPalette(block.data(), 4));
    item.PaintLUT16 = reinterpret_cast<uint16_t*>(V_CreateNewPalette(block.data(), 4));
    list.append(item);
    const vk::fault::Live before = vk::fault::live();
    item = list.item(1);
    EXPECT_NE(nullptr, +item.LUT16);
    EXPECT_EQ(before, vk::fault::live());
    TestBitmap earlier(kEarlier);
    ASSERT_EQ(SUCCESS, V_GetBitmapListItem(list.get(), 1, earlier, kEarlier));
    EXPECT_EQ(kEarlier, earlier->StructSize);
    EXPECT_EQ(1, earlier->Width);
    EXPECT_EQ(before.movables + before.heap - 3, vk::fault::live().movables + vk::fault::live().heap);
    item = list.item(1);
    EXPECT_TRUE(!item.LUT16 && !item.PaintLUT16 && !item.DataCallbacks);
    V_InitBitmap(earlier, kEarlier, 0, 0, 0); // shared: not to be freed twice
}

TEST(List, Replaces)
{
    Numbered list(3);
    BITMAPHANDLE coming = numbered(20);
    BITMAPHANDLE old{};
    ASSERT_EQ(SUCCESS, V_ReplaceBitmapListItem(list.get(), 1, &coming, &old, kSize));
    EXPECT_EQ(2, old.Width);
    V_FreeBitmap(&old);
    coming = numbered(21);
    ASSERT_EQ(SUCCESS, V_ReplaceBitmapListItem(list.get(), 0xFFFFFFFF, &coming, nullptr, 0)); // frees the last one
    EXPECT_EQ((Widths{1, 20, 21}), list.widths());
    coming = numbered(22);
    std::memset(static_cast<void*>(&old), 0x5A, sizeof old);
    ASSERT_EQ(SUCCESS, V_ReplaceBitmapListItem(list.get(), 3, &coming, &old, 0xFFFFFFFF)); // the place past the end
    EXPECT_EQ(0u, old.StructSize);
    EXPECT_EQ((Widths{1, 20, 21}), list.widths());
    BITMAPHANDLE again = numbered(23);
    ASSERT_EQ(SUCCESS, V_ReplaceBitmapListItem(list.get(), 3, &again, &old, kSize));
    EXPECT_EQ(22, old.Width);
    V_FreeBitmap(&old);
    V_FreeBitmap(&again); // what stands there is not the list's
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_ReplaceBitmapListItem(list.get(), 4, &coming, nullptr, 0));

    // An earlier record keeps its size in its slot, and what it has no fields for is clear.
    coming = numbered(24, kEarlier);
    ASSERT_EQ(SUCCESS, V_ReplaceBitmapListItem(list.get(), 1, &coming, nullptr, 0));
    BITMAPHANDLE item = list.item(1);
    EXPECT_EQ(+item.Size, +item.Size64);
    EXPECT_EQ(SUCCESS, V_RemoveBitmapListItem(list.get(), 2, &old));
    V_FreeBitmap(&old);
    coming = numbered(25, kEarlier);
    ASSERT_EQ(SUCCESS, V_ReplaceBitmapListItem(list.get(), 0, &coming, nullptr, 0));
    EXPECT_EQ(ERROR_INVALID_STRUCT_SIZE, V_RemoveBitmapListItem(list.get(), 0, &old));
    EXPECT_EQ(ERROR_INVALID_STRUCT_SIZE, V_DeleteBitmapListItems(list.get(), 0, 1));
    EXPECT_EQ(ERROR_INVALID_STRUCT_SIZE, V_InsertBitmapListItem(list.get(), 0, &item));
    EXPECT_EQ(ERROR_INVALID_STRUCT_SIZE, V_ReplaceBitmapListItem(list.get(), 1, &item, nullptr, 0));
    TestList other;
    EXPECT_EQ(ERROR_INVALID_STRUCT_SIZE, V_MoveBitmapListItems(other.place(), list.get(), 0, 1));
}

TEST(List, SetsAndForgets)
{
    Numbered list(2);
    BITMAPHANDLE taken = list.item(1);
    BITMAPHANDLE coming = numbered(7, kEarlier);
    ASSERT_EQ(SUCCESS, V_SetBitmapListItem(list.get(), 1, &coming));
    EXPECT_EQ((Widths{1, 7}), list.widths());
    V_FreeBitmap(&taken);
    taken = list.item(1);
    EXPECT_EQ(kSize, taken.StructSize);
    EXPECT_EQ(+taken.Size, +taken.Size64);
    ASSERT_EQ(SUCCESS, V_SetBitmapListItem(list.get(), 1, nullptr));
    EXPECT_EQ((Widths{1, 0}), list.widths());
    BITMAPHANDLE wrong = taken;
    wrong.StructSize = 283;
    ASSERT_EQ(SUCCESS, V_SetBitmapListItem(list.get(), 1, &taken));
    EXPECT_EQ(ERROR_INVALID_STRUCT_SIZE, V_SetBitmapListItem(list.get(), 1, &wrong));
    EXPECT_EQ((Widths{1, 0}), list.widths());
    V_FreeBitmap(&taken);
}

TEST(List, CopiesAndMoves)
{
    Numbered list(4);
    TestList copies;
    ASSERT_EQ(SUCCESS, V_CopyBitmapListItems(copies.place(), list.get(), 1, 9));
    EXPECT_EQ((Widths{2, 3, 4}), copies.widths());
    EXPECT_EQ((Widths{1, 2, 3, 4}), list.widths());
    BITMAPHANDLE one, other;
    one = list.item(1);
    other = copies.item(0);
    EXPECT_NE(+one.Data, +other.Data);
    TestList all;
    ASSERT_EQ(SUCCESS, V_MoveBitmapListItems(all.place(), list.get(), 0, 4));
    EXPECT_EQ(Widths{}, list.widths());
    other = all.item(1);
    EXPECT_EQ(+one.Data, +other.Data);
    list.append(numbered(9));
    other = copies.item(0);
    V_FreeBitmap(&other);
    ASSERT_EQ(SUCCESS, V_SetBitmapListItem(copies.get(), 0, nullptr)); // an item without pixels cannot be copied
    HBITMAPLIST none = list.get();
    EXPECT_EQ(ERROR_INVALID_STRUCT_SIZE, V_CopyBitmapListItems(&none, copies.get(), 0, 1));
    EXPECT_EQ(nullptr, none);
}

TEST(List, Refused)
{
    Numbered list(1);
    TestList empty;
    BITMAPHANDLE bitmap = numbered(3);
    BITMAPHANDLE wrong = bitmap;
    wrong.StructSize = 0;
    HBITMAPLIST made = nullptr;
    uint32_t count = 0;
    HBITMAPLIST const l = list.get();
    HBITMAPLIST const e = empty.get();
    expect_each(ERROR_INVALID_PARAMETER,
                {V_CreateBitmapList(nullptr), V_DestroyBitmapList(nullptr), V_GetBitmapListCount(nullptr, &count),
                 V_GetBitmapListCount(l, nullptr), V_InsertBitmapListItem(nullptr, 0, &bitmap),
                 V_InsertBitmapListItem(l, 0, nullptr), V_RemoveBitmapListItem(nullptr, 0, nullptr),
                 V_RemoveBitmapListItem(e, 0, nullptr), V_ReplaceBitmapListItem(nullptr, 0, &bitmap, nullptr, 0),
                 V_ReplaceBitmapListItem(e, 0, &bitmap, nullptr, 0), V_ReplaceBitmapListItem(l, 0, nullptr, nullptr, 0),
                 V_DeleteBitmapListItems(nullptr, 0, 1), V_GetBitmapListItem(nullptr, 0, &bitmap, kSize),
                 V_GetBitmapListItem(l, 1, &bitmap, kSize), V_GetBitmapListItem(l, 0, nullptr, kSize),
                 V_SetBitmapListItem(nullptr, 0, &bitmap), V_SetBitmapListItem(l, 1, &bitmap)});
    for (const auto part : {V_CopyBitmapListItems, V_MoveBitmapListItems})
        expect_each(ERROR_INVALID_PARAMETER,
                    {part(nullptr, l, 0, 1), part(&made, nullptr, 0, 1), part(&made, l, 1, 1), part(&made, l, 0, 0)});
    expect_each(ERROR_INVALID_STRUCT_SIZE,
                {V_InsertBitmapListItem(l, 0, &wrong), V_InsertBitmapListItem(e, 0, &wrong),
                 V_ReplaceBitmapListItem(l, 0, &wrong, nullptr, 0), V_GetBitmapListItem(l, 0, &wrong, 283)});
    EXPECT_EQ(Widths{1}, list.widths());
    V_FreeBitmap(&bitmap);
}

TEST(List, RandomOperationsAgainstAVector)
{
    TestRandom random(9);
    SCOPED_TRACE(random);
    const vk::fault::Live before = vk::fault::live();
    {
        TestList list;
        Widths model;
        for (int step = 0; step < 400; ++step) {
            const auto size = static_cast<uint32_t>(model.size());
            const auto index = static_cast<uint32_t>(random.below(size + 2));
            const auto place = model.begin() + std::min(index, size);
            const auto many = static_cast<uint32_t>(random.below(4));
            const auto rest = std::min(many, size - std::min(index, size));
            BITMAPHANDLE bitmap{};
            switch (random.below(5)) {
            case 0:
            case 1:
                bitmap = numbered(step + 1, random.one_in(2) ? kSize : kEarlier);
                ASSERT_EQ(SUCCESS, V_InsertBitmapListItem(list.get(), index, &bitmap));
                model.insert(place, step + 1);
                break;
            case 2:
                ASSERT_EQ(index < size ? SUCCESS : ERROR_INVALID_PARAMETER,
                          V_RemoveBitmapListItem(list.get(), index, &bitmap));
                if (index < size) {
                    EXPECT_EQ(*place, bitmap.Width);
                    model.erase(place);
                    V_FreeBitmap(&bitmap);
                }
                break;
            case 3:
                ASSERT_EQ(rest ? SUCCESS : ERROR_INVALID_PARAMETER, V_DeleteBitmapListItems(list.get(), index, many));
                model.erase(place, place + rest);
                break;
            default:
                if (rest) {
                    TestList part;
                    ASSERT_EQ(SUCCESS, V_MoveBitmapListItems(part.place(), list.get(), index, many));
                    ASSERT_EQ(Widths(place, place + rest), part.widths());
                    model.erase(place, place + rest);
                }
            }
            ASSERT_EQ(model, list.widths());
        }
    }
    expect_same_live(before, vk::fault::live());
}

TEST(List, Faults)
{
    for_each_fault([] {
        HBITMAPLIST list = nullptr;
        if (V_CreateBitmapList(&list) != SUCCESS) {
            EXPECT_EQ(nullptr, list);
            return;
        }
        uint32_t held = 0;
        for (int32_t i = 1; i <= 3; ++i) {
            BITMAPHANDLE bitmap{};
            if (V_CreateBitmap(&bitmap, kSize, TYPE_CONV, i, 1, 8, COLORORDER_RGB, nullptr, TOP_LEFT, nullptr, 0) !=
                SUCCESS)
                continue;
            const int code = V_InsertBitmapListItem(list, 0, &bitmap);
            EXPECT_TRUE(code == SUCCESS || code == ERROR_NO_MEMORY);
            code == SUCCESS ? void(++held) : V_FreeBitmap(&bitmap);
        }
        for (const auto function : {V_CopyBitmapListItems, V_MoveBitmapListItems}) {
            HBITMAPLIST part = nullptr;
            uint32_t count = 0;
            const int code = function(&part, list, 0, 2);
            EXPECT_EQ(code == SUCCESS, part != nullptr);
            EXPECT_EQ(SUCCESS, V_GetBitmapListCount(list, &count));
            EXPECT_EQ(code == SUCCESS && function == V_MoveBitmapListItems ? held - std::min(held, 2u) : held, count);
            if (part) {
                EXPECT_EQ(SUCCESS, V_DestroyBitmapList(part));
            }
        }
        EXPECT_EQ(SUCCESS, V_DestroyBitmapList(list));
    });
}

// The block grows by a share of its size, and gives way when it is mostly empty.
TEST(List, AppendingCostsTheSameHoweverLongItIs)
{
    constexpr uint32_t kItems = 40000;
    TestList list;
    BITMAPHANDLE bitmap;
    ASSERT_EQ(SUCCESS, V_InitBitmap(&bitmap, kSize, 0, 0, 0));
    vk::fault::arm(0, false);
    for (uint32_t i = 0; i < kItems; ++i) {
        bitmap.Left = static_cast<int32_t>(i);
        ASSERT_EQ(SUCCESS, V_InsertBitmapListItem(list.get(), 0xFFFFFFFF, &bitmap));
    }
    EXPECT_GE(40u, vk::fault::calls(vk::fault::Call::movable_alloc)) << "blocks in the course of it";
    for (uint32_t left = kItems; left > 3; --left) {
        BITMAPHANDLE out;
        ASSERT_EQ(SUCCESS, V_RemoveBitmapListItem(list.get(), left - 1, &out));
        ASSERT_EQ(static_cast<int32_t>(left) - 1, out.Left);
    }
    EXPECT_GE(60u, vk::fault::calls(vk::fault::Call::movable_alloc)) << "and on the way back";
    EXPECT_EQ((Widths{0, 0, 0}), list.widths());
}
