// Buffer redirections and threads: one belongs to the thread that started it, and whoever still has its address after
// its end reaches nothing.
#include "Vkkrnx.h"

#include <gtest/gtest.h>

#include <cstring>
#include <thread>

namespace {

constexpr uint32_t kWritable = REDIRECTBUFFER_WRITE | REDIRECTBUFFER_GROW;

void* start(V_REDIRECTHANDLE* file = nullptr)
{
    void* buffer = nullptr;
    EXPECT_EQ(SUCCESS, V_StartRedirectToBuffer(&buffer, file, kWritable, nullptr, 0));
    return buffer;
}

size_t stop(void* buffer)
{
    void* data = nullptr;
    size_t size = 0;
    EXPECT_EQ(SUCCESS, V_StopRedirectToBuffer(buffer, &data, &size));
    if (data)
        GlobalFree(GlobalHandle(data));
    return size;
}

V_REDIRECTHANDLE open_file(const wchar_t* name)
{
    return V_RedirectedOpen(name, V_OPENFLAG_READWRITE, V_OPENMODE_READWRITE);
}

char g_no_buffer[200];
const V_REDIRECTHANDLE kNoHandle = reinterpret_cast<V_REDIRECTHANDLE>(intptr_t{-1});

TEST(ThreadBuffers, AreNotInherited)
{
    const auto look = [](void*) -> V_THREADRESULT {
        uint32_t type = 0;
        V_GetDefaultMemoryType(&type);
        return type == TYPE_DISK && V_UsesRedirectIO(nullptr, nullptr) == 0 && open_file(L"no such file") == kNoHandle;
    };
    uint32_t before = 0;
    V_GetDefaultMemoryType(&before);
    V_SetDefaultMemoryType(TYPE_DISK);
    void* const outer = start();
    void* const inner = start();
    uint32_t result = 0;
    EXPECT_EQ(SUCCESS, V_VellThreadCreateAndRun(look, nullptr, VELLTHREAD_WAIT | VELLTHREAD_INHERIT, &result));
    EXPECT_EQ(1u, result);
    EXPECT_EQ(0u, stop(inner) + stop(outer));
    V_SetDefaultMemoryType(before);
}

TEST(ThreadBuffers, EndOnAnotherThreadTouchesNobodysOperations)
{
    void* const outer = start();
    void* const inner = start();
    std::thread([&] {
        void* const own = start();
        EXPECT_EQ(0u, stop(outer) + stop(inner));
        EXPECT_EQ(1, V_UsesRedirectIO(nullptr, nullptr)) << "its own goes on";
        EXPECT_EQ(0u, stop(own));
        EXPECT_EQ(0, V_UsesRedirectIO(nullptr, nullptr));
    }).join();
    EXPECT_EQ(0, V_UsesRedirectIO(nullptr, nullptr)) << "what has ended redirects nothing";
    EXPECT_EQ(kNoHandle, open_file(L"no such file"));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_StopRedirectToBuffer(inner, nullptr, nullptr));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_StopRedirectToBuffer(&g_no_buffer, nullptr, nullptr));
    EXPECT_EQ(SUCCESS, V_FreeThreadState());
}

TEST(ThreadBuffers, FilesOnOneThatHasEndedMoveNothing)
{
    V_REDIRECTHANDLE file = nullptr;
    void* const buffer = start(&file);
    V_REDIRECTHANDLE const opened = open_file(L"any");
    REDIRECTFUNCTIONS kept = {};
    EXPECT_EQ(SUCCESS, V_GetRedirectFunctions(&kept, sizeof kept, REDIRECTTYPE_FILES, 0));
    EXPECT_EQ(4, V_RedirectedWrite(opened, "abcd", 4));
    EXPECT_EQ(4u, stop(buffer));
    char text[4];
    for (V_REDIRECTHANDLE const each : {file, opened}) {
        EXPECT_EQ(-1, V_RedirectedRead(each, text, 4));
        EXPECT_EQ(-1, V_RedirectedWrite(each, text, 4));
        EXPECT_EQ(-1, V_RedirectedSeek(each, 0, 0));
        EXPECT_EQ(0, V_RedirectedClose(each)) << "its record goes";
    }
    EXPECT_EQ(SUCCESS, V_SetRedirectFunctions(&kept, REDIRECTTYPE_FILES, 0));
    EXPECT_EQ(kNoHandle, open_file(L"no such file")) << "with its operations, which somebody kept";
    EXPECT_EQ(SUCCESS, V_FreeThreadState());
}

} // namespace
