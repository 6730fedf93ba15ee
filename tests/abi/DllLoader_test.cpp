// The class of modules as another module uses it: copied, derived from, deleted through its base, its codes and names
// those of the shared library.
#include "Vkkrnx.h"

#include <gtest/gtest.h>

#include <memory>
#include <type_traits>
#include <utility>

namespace {

static_assert(std::has_virtual_destructor_v<V_DllLoader> && std::is_nothrow_copy_constructible_v<V_DllLoader> &&
              std::is_nothrow_copy_assignable_v<V_DllLoader> && sizeof(V_DllLoader) == 2 * sizeof(void*));

#if defined(_WIN32)
constexpr const wchar_t* kLibrary = L"Vkkrnx"; // which lies beside itself
#else
constexpr const wchar_t* kLibrary = L"libVkkrnx";
#endif

class Codec : public V_DllLoader {
public:
    int32_t workers() const { return reinterpret_cast<int32_t (*)()>(GetFunction("V_GetWorkers"))(); }
};

TEST(DllLoader, LoadsSharesAndLetsGo)
{
    const auto codec = std::make_unique<Codec>();
    EXPECT_EQ(ERROR_INVALID_PARAMETER, codec->Load(nullptr, DLLLOADER_BESIDE));
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, codec->Load(L"none of this name", DLLLOADER_BESIDE));
    ASSERT_EQ(SUCCESS, codec->Load(kLibrary, DLLLOADER_BESIDE));
    ASSERT_EQ(SUCCESS, V_SetWorkers(3));
    EXPECT_EQ(3, codec->workers()) << "the library that is there already";
    V_SetWorkers(1);
    std::unique_ptr<V_DllLoader> base = std::make_unique<Codec>(*codec);
    codec->Unload();
    EXPECT_TRUE(!codec->IsLoaded() && !codec->GetFunction("V_GetWorkers"));
    EXPECT_TRUE(base->IsLoaded() && dynamic_cast<Codec*>(base.get())->workers() == 1);
    V_DllLoader assigned;
    assigned = *base;
    base.reset();
    EXPECT_TRUE(assigned.GetFunction("V_GetWorkers") && !assigned.GetFunction("V_NoSuchFunction"));
}

} // namespace
