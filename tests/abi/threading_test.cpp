// The exported classes as other modules use them: derived from, deleted through their bases, and shared by threads.
#include "Vkthreading.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <type_traits>
#include <vector>

namespace {

template <class Class> constexpr bool is_plain_class()
{
    return std::has_virtual_destructor_v<Class> && std::is_nothrow_copy_constructible_v<Class> &&
           std::is_nothrow_copy_assignable_v<Class>;
}
static_assert(is_plain_class<VKWaitEvent>() && is_plain_class<VKReaderWriterLock>() &&
              is_plain_class<VKReaderWriterLockItem>() && is_plain_class<VKWorkItems>() &&
              is_plain_class<VKThreadPool>() && is_plain_class<VKThreadToolsManaged>() &&
              is_plain_class<VKThreadToolsUnmanaged>());
static_assert(!std::is_default_constructible_v<VKReaderWriterLockItem>);
static_assert(sizeof(VKWaitEvent) == 2 * sizeof(void*) && sizeof(VKReaderWriterLockItem) == 3 * sizeof(void*));

template <class Base> class Derived : public Base {
public:
    explicit Derived(int& alive) : alive_(++alive) {}
    Derived(const Derived&) = delete;
    Derived& operator=(const Derived&) = delete;
    ~Derived() override { --alive_; }

private:
    int& alive_;
};

template <class Base> void derive_and_delete(int& alive)
{
    Base* const object = new Derived<Base>(alive);
    EXPECT_NE(nullptr, dynamic_cast<Derived<Base>*>(object)) << "needs the exported type information";
    EXPECT_EQ(1, alive);
    delete object;
    EXPECT_EQ(0, alive);
}

TEST(ThreadingClasses, CanBeDerivedFrom)
{
    int alive = 0;
    derive_and_delete<VKWaitEvent>(alive);
    derive_and_delete<VKReaderWriterLock>(alive);
    derive_and_delete<VKWorkItems>(alive);
    derive_and_delete<VKThreadPool>(alive);
    derive_and_delete<VKThreadToolsManaged>(alive);
    derive_and_delete<VKThreadToolsUnmanaged>(alive);
}

/// A bitmap of an item's own, and what came out of it.
struct Picture {
    int32_t width;
    int result = 0;
};

int make_picture(VKWorkItems*, void* data)
{
    auto& picture = *static_cast<Picture*>(data);
    BITMAPHANDLE bitmap;
    int result = V_CreateBitmap(&bitmap, BITMAPHANDLE_SIZE, TYPE_CONV, picture.width, 50, 24, COLORORDER_BGR, nullptr,
                                TOP_LEFT, nullptr, 0);
    if (result == SUCCESS) {
        result = V_ColorResBitmap(&bitmap, nullptr, 0, 8, COLORRES_PALETTE_FIXED, nullptr, nullptr, 0);
        V_FreeBitmap(&bitmap);
    }
    picture.result = result;
    return result;
}

TEST(ThreadingClasses, ItemsWorkOnBitmapsSideBySide)
{
    std::vector<Picture> pictures;
    for (int32_t i = 0; i < 200; ++i)
        pictures.push_back({i + 1});
    VKWorkItems batch;
    for (const uint32_t flags : {0u, VKPOOL_LONGRUNNING, VKPOOL_NEWTHREAD}) {
        ASSERT_EQ(1, batch.Create(static_cast<uint32_t>(pictures.size()), VKWORKITEMS_STORERESULT, flags));
        for (Picture& picture : pictures) {
            picture.result = 0;
            ASSERT_EQ(1, batch.QueueItem(&make_picture, &picture));
        }
        batch.Wait();
        EXPECT_EQ(SUCCESS, batch.GetStatus());
        for (const Picture& picture : pictures)
            EXPECT_EQ(SUCCESS, picture.result) << picture.width;
    }
}

} // namespace
