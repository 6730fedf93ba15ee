// The exported classes as other modules use them, derived from and deleted through their bases, and the functions for C
// that stand on them (threads_c99.c).
#include "Vkthreading.h"

#include <gtest/gtest.h>

#include <type_traits>

extern "C"
{
    int vk_c99_events_and_locks(void);
    int vk_c99_batches(void);
    int vk_c99_modules(const wchar_t* name, const char* narrow_name, const char* function);
    int vk_c99_threads_given_nothing(void);
}

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

TEST(ThreadingFunctions, ServeC)
{
    EXPECT_EQ(0, vk_c99_events_and_locks()) << "the line in threads_c99.c";
    EXPECT_EQ(0, vk_c99_batches());
    EXPECT_EQ(0, vk_c99_threads_given_nothing());
#if defined(_WIN32)
    EXPECT_EQ(0, vk_c99_modules(L"kernel32.dll", "kernel32.dll", "GetVersion"));
#else
    EXPECT_EQ(0, vk_c99_modules(L"libm.so.6", "libm.so.6", "cos"));
#endif
}

TEST(ThreadingFunctions, TakeObjectsOfTheClasses)
{
    VKWaitEvent event;
    EXPECT_EQ(V_SUCCESS, V_WaitForEvent(&event, 0)) << "as WaitOne, without an event";
    ASSERT_EQ(1, event.Create(1, 0));
    EXPECT_EQ(VKRESULT_TIMEOUT, V_WaitForEvent(&event, 0));
    EXPECT_EQ(V_SUCCESS, V_SetWaitEvent(&event));
    EXPECT_EQ(1, event.WaitOne(0));
}

} // namespace
