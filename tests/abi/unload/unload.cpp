// The library under a program that loads it, gives it work and unloads it while the work is under way, over and over.
//
// Off Windows unloading drops what is queued, waits for what runs and leaves no thread behind. On Windows the library
// stays loaded once it has had work. Gives 0 when all of that holds.
#include "Vkthread.h"

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>

#if !defined(_WIN32)
#include <dirent.h>
#include <dlfcn.h>
#include <malloc.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace {

using QueueCall = int (*)(V_THREADROUTINE, void*, uint32_t);
using StartCall = decltype(&V_VellThreadCreateAndRun);

std::atomic<int> g_started{0};
std::atomic<int> g_ended{0};
std::atomic<int> g_failures{0};

void expect(bool holds, const char* what)
{
    if (!holds) {
        std::fprintf(stderr, "not so: %s\n", what);
        ++g_failures;
    }
}

void pause_for(int milliseconds)
{
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

template <class Condition> bool comes_true(Condition&& condition)
{
    for (int i = 0; i < 20000 && !condition(); ++i)
        pause_for(1);
    return condition();
}

V_THREADRESULT work(void* milliseconds)
{
    ++g_started;
    pause_for(static_cast<int>(reinterpret_cast<intptr_t>(milliseconds)));
    ++g_ended;
    return 0;
}

void* in_milliseconds(intptr_t count)
{
    return reinterpret_cast<void*>(count);
}

template <class Function> Function function_of(void* address)
{
    Function function{};
    static_assert(sizeof function == sizeof address);
    std::memcpy(&function, &address, sizeof address);
    return function;
}

#if defined(_WIN32)

void run(const char* file, bool)
{
    for (int round = 0; round < 3; ++round) {
        HMODULE const library = LoadLibraryA(file);
        expect(library != nullptr, "the library loads");
        if (library == nullptr)
            return;
        const auto find = [library](const char* name) {
            return reinterpret_cast<void*>(GetProcAddress(library, name));
        };
        const auto queue = function_of<QueueCall>(find("_ZN12VKThreadPool17QueueUserWorkItemEPFmPvES0_j"));
        const auto start = function_of<StartCall>(find("V_VellThreadCreateAndRun"));
        g_started = g_ended = 0;
        for (const uint32_t flags : {0u, 1u, 2u})
            expect(queue(&work, in_milliseconds(20), flags) == 1, "work is taken");
        expect(start(&work, in_milliseconds(20), 0, nullptr) == 1, "a thread starts");
        FreeLibrary(library);
        expect(GetModuleHandleA("Vkkrnx.dll") == library, "the library stays");
        expect(comes_true([] { return g_ended == 4; }), "all work comes to its end");
    }
}

#else

int threads()
{
    int count = -2; // "." and ".."
    DIR* const folder = opendir("/proc/self/task");
    while (folder != nullptr && readdir(folder) != nullptr)
        ++count;
    closedir(folder);
    return count;
}

struct Library {
    explicit Library(const char* file) : handle(dlopen(file, RTLD_NOW | RTLD_LOCAL))
    {
        if (handle == nullptr) {
            std::fprintf(stderr, "%s\n", dlerror());
            std::exit(1);
        }
        queue = function_of<QueueCall>(dlsym(handle, "_ZN12VKThreadPool17QueueUserWorkItemEPFjPvES0_j"));
        start = function_of<StartCall>(dlsym(handle, "V_VellThreadCreateAndRun"));
    }
    void* handle;
    QueueCall queue;
    StartCall start;
};

// Items that wait for each other get their threads before the library has seen any long-running one.
void blocked_items_get_threads(const Library& library)
{
    static std::atomic<int> here{0};
    static int all = 0;
    all = static_cast<int>(std::thread::hardware_concurrency()) + 3;
    const auto meet = [](void*) -> V_THREADRESULT {
        ++here;
        comes_true([] { return here >= all; });
        ++g_ended;
        return 0;
    };
    g_ended = 0;
    here = 0;
    for (int i = 0; i < all; ++i)
        expect(library.queue(meet, nullptr, 0) == 1, "an item is taken");
    expect(comes_true([] { return g_ended == all; }), "items that wait for each other end");
    expect(here == all, "all of them met");
}

void load_and_unload(const char* file, int round, int threads_before)
{
    const Library library(file);
    expect(threads() == threads_before, "loading starts no thread");
    if (round == 0)
        blocked_items_get_threads(library);
    g_started = g_ended = 0;
    constexpr int kItems = 400;
    for (int i = 0; i < kItems; ++i)
        expect(library.queue(&work, in_milliseconds(5),
                             i % 100 == 7   ? 1
                             : i % 100 == 8 ? 2
                                            : 0) == 1,
               "an item is taken");
    expect(library.start(&work, in_milliseconds(30), 0, nullptr) == 1, "a thread starts");
    pause_for(round * 2);
    dlclose(library.handle);
    const int ended = g_ended;
    expect(g_started == ended, "what runs is waited for");
    expect(ended >= 5 && ended < kItems, "what is queued is dropped, new threads have their own");
    // The system may list one that has been waited for a moment longer.
    expect(comes_true([&] { return threads() == threads_before; }), "no thread is left");
    expect(dlopen(file, RTLD_NOW | RTLD_NOLOAD) == nullptr, "the library is gone");
    pause_for(10);
    expect(g_started == ended, "nothing starts any more");
}

// Nothing of the library stays on the heap, however often it comes and goes.
void memory_is_given_back(const char* file)
{
#if !defined(VKKRNX_TEST_SANITIZED)
    size_t first = 0;
    size_t last = 0;
    for (int round = 0; round < 60; ++round) {
        const Library library(file);
        const auto allocate = function_of<decltype(&V_GlobalAlloc)>(dlsym(library.handle, "V_GlobalAlloc"));
        const auto release = function_of<decltype(&V_GlobalFree)>(dlsym(library.handle, "V_GlobalFree"));
        HGLOBAL blocks[200];
        for (HGLOBAL& block : blocks)
            block = allocate(GHND, 10);
        for (HGLOBAL const block : blocks)
            release(block);
        dlclose(library.handle);
        last = mallinfo2().uordblks;
        first = round == 20 ? last : first; // what the loader keeps for itself has come by then
    }
    expect(last < first + 40 * 1000, "unloading gives memory back");
#else
    static_cast<void>(file);
#endif
}

// A forked child has a pool of its own, and ends although its parent's threads are not there.
void fork_with_a_pool(const char* file)
{
    const Library library(file);
    g_ended = 0;
    expect(library.queue(&work, nullptr, 0) == 1, "an item is taken");
    expect(comes_true([] { return g_ended == 1; }), "it runs");
    const pid_t child = fork();
    if (child == 0) {
        alarm(30);
        expect(library.queue(&work, nullptr, 0) == 1, "an item is taken in the child");
        expect(comes_true([] { return g_ended == 2; }), "it runs in the child");
        std::exit(g_failures != 0 ? 1 : 0);
    }
    int status = 0;
    expect(waitpid(child, &status, 0) == child && status == 0, "the child ends well");
    dlclose(library.handle);
}

// Without unloading, the end of the process waits for what runs, and an item may itself end it.
void end_with_a_pool(const char* file)
{
    const Library library(file);
    library.queue(&work, in_milliseconds(20), 0);
    const pid_t child = fork();
    if (child == 0) {
        alarm(30);
        library.queue([](void*) -> V_THREADRESULT { std::exit(7); }, nullptr, 0);
        pause_for(20000);
    }
    int status = 0;
    expect(waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 7,
           "an item ends a process");
}

void run(const char* file, bool forks)
{
    const int threads_before = threads();
    for (int round = 0; round < 12; ++round)
        load_and_unload(file, round, threads_before);
    memory_is_given_back(file);
    if (forks) {
        fork_with_a_pool(file);
        end_with_a_pool(file);
    }
}

#endif

} // namespace

// vk_unload_test LIBRARY [--no-forks]: without where an emulator falls over when a process with threads forks.
int main(int count, char** arguments)
{
    run(arguments[1], count == 2);
    return g_failures == 0 ? 0 : 1;
}
