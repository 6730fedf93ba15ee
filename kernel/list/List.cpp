// Lists of bitmaps: a locked block with the number of items and a locked block of records.
//
// Behind the last item stands at least one spare record, zeroed unless a caller replaced it, so that reading and
// writing "just past the last item" stays in memory of the list's own; all records behind that one are zero. An empty
// list has no block. The block grows by half, so that appending costs the same however long the list is, and gives way
// to a smaller one when it is mostly empty. Growing copies into a new block before the old one goes; nothing of the
// list has changed when that fails.
#include "Vklist.h"
#include "Vksystem.h"
#include "kernel/bitmap/Alloc.h"
#include "kernel/bitmap/Callbacks.h"
#include "kernel/bitmap/Duplicate.h"
#include "kernel/list/ListPalette.h"
#include "kernel/palette/Palette.h"
#include "kernel/rows/RowAccess.h"
#include "kernel/system/Blocks.h"
#include "kernel/system/Checks.h"

#include <algorithm>
#include <cstring>

struct V_BITMAPLIST {
    uint32_t count;
    BITMAPHANDLE* items; ///< locked block of capacity + 1 records; null while count is 0
    uint32_t capacity;   ///< items that the block has room for
};

namespace vk {

namespace {

using List = V_BITMAPLIST;

constexpr uint32_t kLast = UINT32_MAX;
constexpr uint32_t kMostItems = kLast - 1;
constexpr uint32_t kFewItems = 8; ///< so much room is not worth saving

/// Room for so many items and the spare record; null without memory.
BITMAPHANDLE* new_items(uint32_t count) noexcept
{
    return static_cast<BITMAPHANDLE*>(locked_block_alloc((size_t{count} + 1) * sizeof(BITMAPHANDLE)));
}

void move_records(BITMAPHANDLE* to, const BITMAPHANDLE* from, uint32_t count) noexcept
{
    std::memmove(static_cast<void*>(to), from, size_t{count} * sizeof(BITMAPHANDLE));
}

void zero_records(BITMAPHANDLE* first, uint32_t count) noexcept
{
    std::memset(static_cast<void*>(first), 0, size_t{count} * sizeof(BITMAPHANDLE));
}

/// The record that moves, removals and replacements look at before anything else.
int check_first(const List& list) noexcept
{
    if (!list.items)
        return V_ERROR_NULL_PTR;
    return is_current(list.items[0]) ? V_SUCCESS : V_ERROR_INVALID_STRUCT_SIZE;
}

/// Copies a record of either size over a zeroed one, which becomes a current record.
void adopt(BITMAPHANDLE& slot, const BITMAPHANDLE& bitmap) noexcept
{
    const bool is_earlier = !is_current(bitmap);
    std::memcpy(static_cast<void*>(&slot), &bitmap, bitmap.StructSize);
    slot.StructSize = kRecordSize;
    if (is_earlier)
        slot.Size64 = slot.Size;
}

/// Moves the items into another block with room for so many. False without memory.
bool change_block(List& list, uint32_t capacity) noexcept
{
    BITMAPHANDLE* const items = new_items(capacity);
    if (!items)
        return false;
    if (list.items)
        move_records(items, list.items, list.count);
    locked_block_free(list.items);
    list.items = items;
    list.capacity = capacity;
    return true;
}

/// Makes room for one more item.
bool make_room(List& list) noexcept
{
    if (list.items && list.count < list.capacity)
        return true;
    if (list.count >= kMostItems)
        return false;
    const uint32_t ample = std::min(kMostItems, list.count + std::max(list.count / 2, kFewItems));
    return change_block(list, ample) || change_block(list, list.count + 1);
}

/// Takes records out of the block, whose pixels are someone else's by now. Cannot fail: a block that cannot shrink
/// stays as large as it is.
void close_gap(List& list, uint32_t index, uint32_t count) noexcept
{
    const uint32_t left = list.count - count;
    move_records(list.items + index, list.items + index + count, left - index);
    list.count = left;
    if (left == 0) {
        locked_block_free(list.items);
        list.items = nullptr;
        list.capacity = 0;
        return;
    }
    zero_records(list.items + left, count + 1);
    if (list.capacity / 4 > std::max(left, kFewItems))
        change_block(list, left + left / 2);
}

int create_list(List** made) noexcept
{
    *made = static_cast<List*>(locked_block_alloc(sizeof(List)));
    return *made ? V_SUCCESS : V_ERROR_NO_MEMORY;
}

void free_items(List& list, uint32_t index, uint32_t count) noexcept
{
    for (uint32_t i = index; i < index + count; ++i)
        if (is_record_size(list.items[i].StructSize)) // a cleared item has none
            free_bitmap(list.items[i]);
}

void destroy_list(List* list) noexcept
{
    free_items(*list, 0, list->count);
    locked_block_free(list->items);
    locked_block_free(list);
}

int insert(List& list, uint32_t index, const BITMAPHANDLE& bitmap) noexcept
{
    if (!make_room(list))
        return V_ERROR_NO_MEMORY;
    const uint32_t place = std::min(index, list.count);
    move_records(list.items + place + 1, list.items + place, list.count - place);
    zero_records(list.items + place, 1);
    adopt(list.items[place], bitmap);
    ++list.count;
    return V_SUCCESS;
}

/// Frees what only a current record can reach.
void drop_current_parts(BITMAPHANDLE& item) noexcept
{
    if (!is_current(item) || !(item.Flags & BITMAPFLAG_ALLOCATED))
        return;
    locked_block_free(item.LUT16);
    item.LUT16 = nullptr;
    locked_block_free(item.PaintLUT16);
    item.PaintLUT16 = nullptr;
    free_data_callbacks(item);
}

/// How many of the first `count` items may go one after the other, each being the first one when its turn comes.
uint32_t current_items(const List& list, uint32_t count) noexcept
{
    uint32_t found = 0;
    while (found < count && is_current(list.items[found]))
        ++found;
    return found;
}

int copy_items(List& made, List& list, uint32_t index, uint32_t count) noexcept
{
    int result = V_SUCCESS;
    for (uint32_t i = index; i < index + count && result == V_SUCCESS; ++i) {
        BITMAPHANDLE copy;
        result = check_allocated(&list.items[i]);
        if (result == V_SUCCESS)
            result = copy_bitmap(copy, list.items[i], kRecordSize, ProgressShare{}.pass(i - index, count));
        if (result != V_SUCCESS)
            break;
        result = insert(made, made.count, copy);
        if (result != V_SUCCESS)
            free_bitmap(copy);
    }
    return result;
}

int move_items(List& made, List& list, uint32_t index, uint32_t count) noexcept
{
    made.items = new_items(count);
    if (!made.items)
        return V_ERROR_NO_MEMORY;
    move_records(made.items, list.items + index, count);
    made.count = made.capacity = count;
    close_gap(list, index, count);
    return V_SUCCESS;
}

bool has_item(const List* list, uint32_t index) noexcept
{
    return list && index < list->count;
}

int check_items(const List& list) noexcept
{
    int result = V_SUCCESS;
    for (uint32_t i = 0; i < list.count && result == V_SUCCESS; ++i) {
        result = check_allocated(&list.items[i]);
        if (result == V_SUCCESS)
            result = check_rows(list.items[i]);
    }
    return result;
}

int check_list_palette(const List* list, uint32_t colors, uint32_t flags) noexcept
{
    constexpr uint32_t kFlags = LISTPAL_BLACKWHITE | LISTPAL_SKIPTRANSPARENT;
    const uint32_t fewest = flags & LISTPAL_BLACKWHITE ? 3 : 2;
    if (!list || list->count == 0 || colors < fewest || colors > kMaxPaletteEntries || flags & ~kFlags)
        return V_ERROR_INVALID_PARAMETER;
    return check_items(*list);
}

/// Makes the second list of V_CopyBitmapListItems or V_MoveBitmapListItems and fills it.
int make_part(List** made, List& list, uint32_t index, uint32_t count,
              int (*fill)(List&, List&, uint32_t, uint32_t) noexcept) noexcept
{
    List* part = nullptr;
    int result = create_list(&part);
    if (result == V_SUCCESS) {
        result = fill(*part, list, index, std::min(count, list.count - index));
        if (result != V_SUCCESS) {
            destroy_list(part);
            part = nullptr;
        }
    }
    *made = part;
    return result;
}

} // namespace

} // namespace vk

using namespace vk;

int V_CreateBitmapList(HBITMAPLIST* phList) noexcept
{
    return phList ? create_list(phList) : V_ERROR_INVALID_PARAMETER;
}

int V_DestroyBitmapList(HBITMAPLIST hList) noexcept
{
    if (!hList)
        return V_ERROR_INVALID_PARAMETER;
    destroy_list(hList);
    return V_SUCCESS;
}

int V_GetBitmapListCount(HBITMAPLIST hList, uint32_t* puCount) noexcept
{
    if (!hList || !puCount)
        return V_ERROR_INVALID_PARAMETER;
    *puCount = hList->count;
    return V_SUCCESS;
}

int V_InsertBitmapListItem(HBITMAPLIST hList, uint32_t uIndex, BITMAPHANDLE* pBitmap) noexcept
{
    if (!hList || !pBitmap)
        return V_ERROR_INVALID_PARAMETER;
    const int result = hList->count ? check_first(*hList) : V_SUCCESS;
    if (result != V_SUCCESS)
        return result;
    return is_record_size(pBitmap->StructSize) ? insert(*hList, uIndex, *pBitmap) : V_ERROR_INVALID_STRUCT_SIZE;
}

int V_RemoveBitmapListItem(HBITMAPLIST hList, uint32_t uIndex, BITMAPHANDLE* pBitmap) noexcept
{
    if (!has_item(hList, uIndex))
        return V_ERROR_INVALID_PARAMETER;
    const int result = check_first(*hList);
    if (result != V_SUCCESS)
        return result;
    if (pBitmap)
        move_records(pBitmap, hList->items + uIndex, 1);
    close_gap(*hList, uIndex, 1);
    return V_SUCCESS;
}

int V_ReplaceBitmapListItem(HBITMAPLIST hList, uint32_t uIndex, BITMAPHANDLE* pNew, BITMAPHANDLE* pOld,
                            uint32_t uOldSize) noexcept
{
    if (!hList || hList->count == 0 || !pNew)
        return V_ERROR_INVALID_PARAMETER;
    const uint32_t index = uIndex == kLast ? hList->count - 1 : uIndex;
    if (index > hList->count) // at the count stands the spare record
        return V_ERROR_INVALID_PARAMETER;
    const int result = check_first(*hList);
    if (result != V_SUCCESS)
        return result;
    if (!is_record_size(pNew->StructSize))
        return V_ERROR_INVALID_STRUCT_SIZE;
    BITMAPHANDLE& slot = hList->items[index];
    BITMAPHANDLE old = slot;
    BITMAPHANDLE coming = {};
    std::memcpy(static_cast<void*>(&coming), pNew, pNew->StructSize); // pOld may be the same record
    if (pOld)
        std::memcpy(static_cast<void*>(pOld), &old, std::min(uOldSize, kRecordSize));
    else if (check_allocated(&old) == V_SUCCESS)
        free_bitmap(old);
    move_records(&slot, &coming, 1);
    return V_SUCCESS;
}

int V_DeleteBitmapListItems(HBITMAPLIST hList, uint32_t uIndex, uint32_t uCount) noexcept
{
    if (!has_item(hList, uIndex) || uCount == 0)
        return V_ERROR_INVALID_PARAMETER;
    const int result = check_first(*hList);
    if (result != V_SUCCESS)
        return result;
    const uint32_t wanted = std::min(uCount, hList->count - uIndex);
    const uint32_t count = uIndex == 0 ? current_items(*hList, wanted) : wanted;
    free_items(*hList, uIndex, count);
    close_gap(*hList, uIndex, count);
    return count == wanted ? V_SUCCESS : V_ERROR_INVALID_STRUCT_SIZE;
}

int V_GetBitmapListItem(HBITMAPLIST hList, uint32_t uIndex, BITMAPHANDLE* pBitmap, uint32_t uStructSize) noexcept
{
    if (!has_item(hList, uIndex) || !pBitmap)
        return V_ERROR_INVALID_PARAMETER;
    if (!is_record_size(uStructSize))
        return V_ERROR_INVALID_STRUCT_SIZE;
    BITMAPHANDLE& item = hList->items[uIndex];
    if (uStructSize == kEarlierRecordSize)
        drop_current_parts(item);
    std::memcpy(static_cast<void*>(pBitmap), &item, uStructSize);
    if (uStructSize == kRecordSize && !is_current(item))
        pBitmap->Size64 = item.Size; // an earlier record stands here, which has no such field
    pBitmap->StructSize = uStructSize;
    return V_SUCCESS;
}

int V_SetBitmapListItem(HBITMAPLIST hList, uint32_t uIndex, BITMAPHANDLE* pBitmap) noexcept
{
    if (!has_item(hList, uIndex))
        return V_ERROR_INVALID_PARAMETER;
    BITMAPHANDLE& slot = hList->items[uIndex];
    zero_records(&slot, 1);
    if (!pBitmap)
        return V_SUCCESS;
    if (!is_record_size(pBitmap->StructSize))
        return V_ERROR_INVALID_STRUCT_SIZE;
    adopt(slot, *pBitmap);
    return V_SUCCESS;
}

int V_CopyBitmapListItems(HBITMAPLIST* phNew, HBITMAPLIST hList, uint32_t uIndex, uint32_t uCount) noexcept
{
    if (!phNew || !has_item(hList, uIndex) || uCount == 0)
        return V_ERROR_INVALID_PARAMETER;
    return make_part(phNew, *hList, uIndex, uCount, copy_items);
}

int V_MoveBitmapListItems(HBITMAPLIST* phNew, HBITMAPLIST hList, uint32_t uIndex, uint32_t uCount) noexcept
{
    if (!phNew || !has_item(hList, uIndex) || uCount == 0)
        return V_ERROR_INVALID_PARAMETER;
    const int result = check_first(*hList);
    return result == V_SUCCESS ? make_part(phNew, *hList, uIndex, uCount, move_items) : result;
}

int V_CreateBitmapListOptPal(HBITMAPLIST hList, RGBQUAD* pPalette, uint32_t* puColors, uint32_t uFlags) noexcept
{
    if (!pPalette || !puColors)
        return V_ERROR_NULL_PTR;
    const int result = check_list_palette(hList, *puColors, uFlags);
    return result == V_SUCCESS ? make_list_palette(hList->items, hList->count, pPalette, puColors, uFlags) : result;
}
