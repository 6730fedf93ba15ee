/**
 * @file BitmapList.h
 * A list of the library's, which owns the bitmaps in it.
 */
#ifndef VK_TOOLS_BITMAP_LIST_H
#define VK_TOOLS_BITMAP_LIST_H

#include "tools/Bitmap.h"
#include "tools/Failure.h"

#include <limits>

namespace vk::tool {

class BitmapList {
public:
    BitmapList() { check(V_CreateBitmapList(&list_), "making the list"); }
    ~BitmapList() { V_DestroyBitmapList(list_); }
    BitmapList(const BitmapList&) = delete;
    BitmapList& operator=(const BitmapList&) = delete;

    HBITMAPLIST handle() const { return list_; }
    void append(Bitmap& bitmap)
    {
        constexpr uint32_t kEnd = std::numeric_limits<uint32_t>::max();
        check(V_InsertBitmapListItem(list_, kEnd, &bitmap.record()), "adding to the list");
        bitmap.give_away();
    }
    /** A record that shares an item's pixels. */
    BITMAPHANDLE item(uint32_t index) const
    {
        BITMAPHANDLE record{};
        check(V_GetBitmapListItem(list_, index, &record, BITMAPHANDLE_SIZE), "looking into the list");
        return record;
    }
    /** Takes the first item out. */
    BITMAPHANDLE take_first()
    {
        BITMAPHANDLE record{};
        check(V_RemoveBitmapListItem(list_, 0, &record), "taking from the list");
        return record;
    }

private:
    HBITMAPLIST list_ = nullptr;
};

} // namespace vk::tool

#endif
