// Modules, clean-up, shutting down and being used again, the directory for modules.
#include "Vkthreading.h"
#include "platform/fault/fault.h"
#include "tests/support/FaultLoop.h"
#include "tests/support/TestBitmap.h"

#include <atomic>
#include <thread>

using namespace vk::testing;

namespace {

#if defined(_WIN32)
constexpr const wchar_t* kBeside = L"Vkkrnx"; // the library itself is the one module that is always there
constexpr const wchar_t* kOfSystem = L"kernel32.dll";
constexpr const char* kFunction = "GetTickCount";
constexpr const wchar_t* kNowhere = L"C:\\nowhere\\at all";
#else
constexpr const wchar_t* kBeside = L"libVkkrnx";
constexpr const wchar_t* kOfSystem = L"libc.so.6";
constexpr const char* kFunction = "strlen";
constexpr const wchar_t* kNowhere = L"/nowhere/at all";
#endif

/// Notes the calls of clean-up functions.
std::vector<int> g_called;

template <int number> void clean(void* data)
{
    g_called.push_back(number + *static_cast<int*>(data));
}

std::vector<int> called_by_shutdown()
{
    g_called.clear();
    EXPECT_EQ(SUCCESS, V_Shutdown());
    return g_called;
}

using Numbers = std::vector<int>;

/// Queues an item and waits until it has run.
template <class Work> void run_item(Work work)
{
    struct Item {
        Work work;
        VKWaitEvent done;
    } item{work, {}};
    ASSERT_EQ(1, item.done.Create(1, 0));
    const auto routine = [](void* parameter) -> V_THREADRESULT {
        auto& self = *static_cast<Item*>(parameter);
        self.work();
        VKWaitEvent done = self.done;
        done.Set();
        return 0;
    };
    ASSERT_EQ(1, VKThreadPool::QueueUserWorkItem(routine, &item, 0));
    item.done.WaitOne(VKTIMEOUT_INFINITE);
}

} // namespace

TEST(Loader, Modules)
{
    V_DllLoader module;
    EXPECT_TRUE(!module.IsLoaded() && !module.GetFunction("V_FreeBitmap"));
    const struct {
        int result;
        const wchar_t* name;
        uint32_t flags;
    } cases[] = {
        {ERROR_INVALID_PARAMETER, nullptr, DLLLOADER_BESIDE},
        {ERROR_INVALID_PARAMETER, L"", DLLLOADER_SYSTEM},
        {ERROR_INVALID_PARAMETER, kBeside, 4},
        {ERROR_INVALID_PARAMETER, L"../lib", DLLLOADER_BESIDE},
        {ERROR_INVALID_PARAMETER, L"..\\lib", DLLLOADER_RESOURCES},
        {ERROR_INVALID_PARAMETER, L"c:lib", DLLLOADER_SYSTEM},
        {ERROR_INVALID_PARAMETER, kOfSystem, DLLLOADER_PATH},
        {ERROR_FILE_NOT_FOUND, kNowhere, DLLLOADER_PATH},
        {ERROR_FILE_NOT_FOUND, L"no such module", DLLLOADER_SYSTEM},
        {ERROR_FILE_NOT_FOUND, kOfSystem, DLLLOADER_BESIDE},
        {SUCCESS, kOfSystem, DLLLOADER_SYSTEM},
        {SUCCESS, kBeside, DLLLOADER_BESIDE},
        {SUCCESS, kBeside, DLLLOADER_RESOURCES},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(c.result, module.Load(c.name, c.flags)) << &c - cases;
        EXPECT_EQ(c.result == SUCCESS, module.IsLoaded() != 0) << &c - cases;
        EXPECT_EQ(c.name == kOfSystem && c.result == SUCCESS, module.GetFunction(kFunction) != nullptr && c.flags == 3);
    }
    EXPECT_TRUE(module.GetFunction("V_FreeBitmap") && !module.GetFunction("V_NoSuch") && !module.GetFunction(nullptr));
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, module.Load(L"none", DLLLOADER_BESIDE));
    EXPECT_TRUE(module.GetFunction("V_FreeBitmap")) << "the earlier module is still there";
    // It goes with the last of those that share it.
    const auto loaded = [] { return vk::fault::live().modules; };
    const auto all = loaded();
    V_DllLoader copy(module), other;
    other = copy;
    other = *&other;
    module.Unload();
    module.Unload();
    copy = V_DllLoader();
    EXPECT_TRUE(!module.IsLoaded() && !copy.IsLoaded() && other.IsLoaded() && loaded() == all);
    EXPECT_TRUE(other.GetFunction("V_FreeBitmap"));
    other.Unload();
    EXPECT_EQ(all - 1, loaded());
    for_each_fault([] {
        V_DllLoader one;
        const int result = one.Load(kBeside, DLLLOADER_BESIDE);
        EXPECT_EQ(result == SUCCESS, one.IsLoaded() != 0);
    });
}

TEST(Loader, ResourceDirectory)
{
    wchar_t wide[64] = L"?";
    char narrow[64] = "?";
    EXPECT_TRUE(V_GetResourceDirectory(wide, 1) == SUCCESS && wide[0] == 0);
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_SetResourceDirectory(L"not/absolute"));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_SetResourceDirectoryA("\xFF"));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_SetResourceDirectory((kNowhere + std::wstring(1100, L'x')).c_str()));
    EXPECT_EQ(SUCCESS, V_SetResourceDirectory(kNowhere));
    const std::wstring expected = std::wstring(kNowhere) + L"/";
    EXPECT_TRUE(V_GetResourceDirectory(wide, 64) == SUCCESS && wide == expected);
    EXPECT_TRUE(V_GetResourceDirectoryA(narrow, 64) == SUCCESS &&
                narrow == std::string(expected.begin(), expected.end()));
    const auto room = static_cast<uint32_t>(expected.size());
    expect_each(ERROR_BUFFER_TOO_SMALL, {V_GetResourceDirectory(wide, room), V_GetResourceDirectoryA(narrow, room)});
    expect_each(ERROR_INVALID_PARAMETER, {V_GetResourceDirectory(nullptr, 9), V_GetResourceDirectoryA(nullptr, 9)});
    EXPECT_EQ(SUCCESS, V_SetResourceDirectoryA(narrow)); // with its separator
    EXPECT_TRUE(V_GetResourceDirectory(wide, 64) == SUCCESS && wide == expected);
    // It is looked in first, by those who ask for it.
    const auto looks = [](uint32_t flags) {
        vk::fault::arm(0, false);
        V_DllLoader module;
        EXPECT_EQ(SUCCESS, module.Load(kBeside, flags));
        return vk::fault::calls(vk::fault::Call::module_open);
    };
    EXPECT_EQ(1u, looks(DLLLOADER_BESIDE));
    EXPECT_EQ(2u, looks(DLLLOADER_RESOURCES));
    EXPECT_EQ(SUCCESS, V_SetResourceDirectoryA(nullptr));
    EXPECT_EQ(1u, looks(DLLLOADER_RESOURCES));
    EXPECT_TRUE(V_GetResourceDirectory(wide, 1) == SUCCESS && wide[0] == 0);
    vk::fault::disarm();
}

TEST(Loader, CleanupsRunOnceNewestFirst)
{
    static int tens = 10, twenties = 20;
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_RegisterCleanup(nullptr, nullptr));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_UnregisterCleanup(clean<1>, &tens));
    expect_each(SUCCESS, {V_RegisterCleanup(clean<1>, &tens), V_RegisterCleanup(clean<2>, &tens),
                          V_RegisterCleanup(clean<1>, &twenties), V_RegisterCleanup(clean<1>, &tens)});
    EXPECT_EQ(Numbers({21, 12, 11}), called_by_shutdown());
    EXPECT_EQ(Numbers({}), called_by_shutdown());
    // One that registers, takes back and asks for shutting down itself.
    const auto busy = [](void*) {
        g_called.push_back(99);
        EXPECT_EQ(FAILURE, V_Shutdown());
        EXPECT_EQ(SUCCESS, V_RegisterCleanup(clean<3>, &tens));
        EXPECT_EQ(SUCCESS, V_UnregisterCleanup(clean<1>, &tens));
    };
    expect_each(SUCCESS, {V_RegisterCleanup(clean<1>, &tens), V_RegisterCleanup(busy, nullptr)});
    EXPECT_EQ(Numbers({99}), called_by_shutdown());
    EXPECT_EQ(Numbers({13}), called_by_shutdown());
    for_each_fault([] {
        const int result = V_RegisterCleanup(clean<1>, &tens);
        EXPECT_EQ(result, V_UnregisterCleanup(clean<1>, &tens) == SUCCESS ? SUCCESS : ERROR_NO_MEMORY);
    });
}

TEST(Loader, UsedAgainAfterShutdown)
{
    TestRandom random(91);
    TestBitmap bitmap, copy;
    ASSERT_NO_FATAL_FAILURE(bitmap.make(Kind::tiled_mixed, 40, 30, 24, random));
    const Bytes pixels = bitmap.pixels();
    ASSERT_EQ(SUCCESS, V_AccessBitmap(bitmap));
    for (int round = 0; round < 3; ++round) {
        std::atomic<int> result{7};
        ASSERT_NO_FATAL_FAILURE(run_item([&] { result = V_Shutdown(); }));
        EXPECT_EQ(FAILURE, result) << "an item cannot wait for itself";
        EXPECT_EQ(SUCCESS, V_Shutdown());
        EXPECT_EQ(SUCCESS, V_CopyBitmap(copy, bitmap, sizeof(BITMAPHANDLE)));
        EXPECT_EQ(pixels, copy.pixels());
        V_FreeBitmap(copy);
    }
    ASSERT_EQ(SUCCESS, V_ReleaseBitmap(bitmap));
}

TEST(LoaderThreads, ShutdownAmongThem)
{
    // Threads that queue, register, load and shut down, all at once: everything queued runs or is dropped, and every
    // pair that was not taken back is called.
    constexpr int kThreads = 8, kRounds = 40;
    static std::atomic<int> called, taken_back, in_batches;
    called = taken_back = in_batches = 0;
    // It stays meanwhile: the thread sanitizer does not see the system's lock under which modules begin and end.
    V_DllLoader kept;
    ASSERT_EQ(SUCCESS, kept.Load(kBeside, DLLLOADER_RESOURCES));
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i)
        threads.emplace_back([i] {
            for (int round = 0; round < kRounds; ++round) {
                int data[4];
                for (int& one : data)
                    EXPECT_EQ(SUCCESS, V_RegisterCleanup([](void*) { ++called; }, &one));
                VKWorkItems items;
                EXPECT_EQ(1, items.Create(4, 0, 0));
                const auto work = [](VKWorkItems*, void*) { return ++in_batches, SUCCESS; };
                for (int item = 0; item < 4; ++item)
                    while (items.QueueItem(work, nullptr) != 1) // refused while the pool comes to rest
                        std::this_thread::yield();
                V_DllLoader module;
                if (i % 4 == 1) {
                    EXPECT_EQ(SUCCESS, module.Load(kBeside, DLLLOADER_RESOURCES));
                    const V_DllLoader shared = module;
                    module.Unload();
                    EXPECT_TRUE(shared.GetFunction("V_FreeBitmap"));
                }
                if (i % 4 == 2)
                    V_SetResourceDirectory(round % 2 ? kNowhere : nullptr);
                if (i % 4 == 0)
                    V_Shutdown();
                items.Wait();
                for (int& one : data)
                    if (V_UnregisterCleanup([](void*) { ++called; }, &one) == SUCCESS)
                        ++taken_back;
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    V_SetResourceDirectory(nullptr);
    EXPECT_EQ(SUCCESS, V_Shutdown());
    EXPECT_LE(in_batches, kThreads * kRounds * 4);
    std::atomic<bool> ran{false};
    ASSERT_NO_FATAL_FAILURE(run_item([&] { ran = true; }));
    EXPECT_TRUE(ran);
}
