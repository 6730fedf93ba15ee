// A bitmap list for tests.
#pragma once

#include "tests/support/TestBitmap.h"

namespace vk::testing {

/// A list that frees itself and tells what it holds.
class TestList {
public:
    TestList() { EXPECT_EQ(SUCCESS, V_CreateBitmapList(&list_)); }
    ~TestList() { EXPECT_TRUE(!list_ || V_DestroyBitmapList(list_) == SUCCESS); }
    TestList(const TestList&) = delete;
    TestList& operator=(const TestList&) = delete;

    HBITMAPLIST get() const { return list_; }
    HBITMAPLIST* place() // for a list that a function makes
    {
        EXPECT_EQ(SUCCESS, V_DestroyBitmapList(list_));
        list_ = nullptr;
        return &list_;
    }
    void append(BITMAPHANDLE bitmap) { EXPECT_EQ(SUCCESS, V_InsertBitmapListItem(list_, 0xFFFFFFFF, &bitmap)); }
    BITMAPHANDLE item(uint32_t index) const
    {
        BITMAPHANDLE bitmap{};
        EXPECT_EQ(SUCCESS, V_GetBitmapListItem(list_, index, &bitmap, BITMAPHANDLE_SIZE));
        return bitmap;
    }
    std::vector<int32_t> widths() const
    {
        uint32_t count = 99;
        EXPECT_EQ(SUCCESS, V_GetBitmapListCount(list_, &count));
        std::vector<int32_t> found;
        for (uint32_t i = 0; i < count; ++i)
            found.push_back(item(i).Width);
        return found;
    }

private:
    HBITMAPLIST list_ = nullptr;
};

} // namespace vk::testing
