// Lists of bitmaps: a record goes in and comes out again.
#include "tests/abi/RecordOperations.h"

#include "Vklist.h"

namespace vk::testing {

namespace {

/// Runs an operation on an empty list, which it leaves without bitmaps.
template <class Run> intptr_t with_list(B bitmap, Run run)
{
    HBITMAPLIST list = nullptr;
    const int code = V_CreateBitmapList(&list);
    if (code != SUCCESS)
        return code;
    const auto result = static_cast<intptr_t>(run(list, bitmap));
    EXPECT_EQ(SUCCESS, V_DestroyBitmapList(list));
    return result;
}

/// In, and out as a record of the same size; the bitmap is the caller's again.
intptr_t through(B bitmap)
{
    return with_list(bitmap, [](HBITMAPLIST list, B b) {
        int code = V_InsertBitmapListItem(list, 0, b);
        if (code != SUCCESS)
            return code;
        EXPECT_EQ(SUCCESS, V_GetBitmapListItem(list, 0, b, b->StructSize));
        EXPECT_EQ(SUCCESS, V_SetBitmapListItem(list, 0, b));
        BITMAPHANDLE out;
        code = V_RemoveBitmapListItem(list, 0, &out);
        EXPECT_EQ(b->Width, out.Width);
        return code;
    });
}

} // namespace

const Family list_operations = {
    {"V_InsertBitmapListItem, V_GetBitmapListItem, V_SetBitmapListItem, V_RemoveBitmapListItem", through},
    {"V_ReplaceBitmapListItem",
     [](B bitmap) -> intptr_t {
         return with_list(bitmap, [](HBITMAPLIST list, B b) {
             BITMAPHANDLE first{};
             first.StructSize = BITMAPHANDLE_SIZE;
             int code = V_InsertBitmapListItem(list, 0, &first);
             if (code != SUCCESS)
                 return code;
             code = V_ReplaceBitmapListItem(list, 0, b, nullptr, 0);
             if (code == SUCCESS) {
                 EXPECT_EQ(SUCCESS, V_SetBitmapListItem(list, 0, nullptr)); // without freeing it
             }
             return code;
         });
     }},
};

} // namespace vk::testing
