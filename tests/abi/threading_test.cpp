// The exported classes as other modules use them: derived from, and deleted through their bases.
#include "Vkthreading.h"

#include <gtest/gtest.h>

#include <type_traits>

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

} // namespace
