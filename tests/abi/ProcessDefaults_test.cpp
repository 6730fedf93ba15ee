// Settings of the process: whom they reach, and what they leave out.
#include "Vkkrnx.h"
#include "Vkthreading.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <thread>

namespace {

int g_owner = 0;

int status(int, void*)
{
    return SUCCESS;
}

/// What a thread has, as numbers.
struct Settings {
    uint32_t memory = 0;
    int32_t reserved = 0;
    int64_t most = 0;
    int64_t tile = 0;
    int32_t tiles = 0;
    int32_t buffers = 0;
    int32_t dithering = 0;
    V_STATUSCALLBACK callback = nullptr;
    void* data = nullptr;
    void* files = nullptr;

    bool operator==(const Settings&) const = default;
};

Settings settings()
{
    Settings now;
    V_GetDefaultMemoryType(&now.memory);
    V_GetMemoryThresholds(&now.reserved, &now.most, &now.tile, &now.tiles, &now.buffers);
    now.dithering = V_GetDefaultDithering();
    V_GetStatusCallback(&now.callback, &now.data);
    V_GetFilterIOData(&now.files, nullptr, nullptr, nullptr, nullptr);
    return now;
}

void set(const Settings& wanted)
{
    V_SetDefaultMemoryType(wanted.memory);
    V_SetMemoryThresholds(wanted.reserved, wanted.most, wanted.tile, wanted.tiles, wanted.buffers, 31);
    V_DefaultDithering(wanted.dithering);
    V_SetStatusCallback(wanted.callback, wanted.data, nullptr, nullptr);
    void* files = wanted.files;
    V_FilterIO(nullptr, nullptr, nullptr, nullptr, nullptr, &files, nullptr, nullptr, nullptr, nullptr);
}

/// A thread that does what it is told, step by step.
class Follower {
public:
    Follower()
    {
        begin_.Create(0, 0);
        done_.Create(0, 0);
        thread_ = std::thread([this] { serve(); });
    }
    ~Follower()
    {
        run({});
        thread_.join();
    }
    Settings settings_there()
    {
        Settings found;
        run([&found] { found = settings(); });
        return found;
    }
    void run(const std::function<void()>& step)
    {
        step_ = step;
        begin_.Set();
        done_.WaitOne(VKTIMEOUT_INFINITE);
    }

private:
    void serve()
    {
        for (bool goes_on = true; goes_on;) {
            begin_.WaitOne(VKTIMEOUT_INFINITE);
            goes_on = static_cast<bool>(step_);
            if (goes_on)
                step_();
            done_.Set();
        }
    }

    std::function<void()> step_;
    VKWaitEvent begin_;
    VKWaitEvent done_;
    std::thread thread_;
};

/// Puts the process's settings back.
class RestoreDefaults {
public:
    ~RestoreDefaults()
    {
        set(before_);
        V_SetProcessDefaults();
        V_FreeThreadState();
    }

private:
    Settings before_ = settings();
};

const Settings kNew{TYPE_DISK, 5, -50, 1 << 20, 3, -7, DITHER_STUCKI, status, &g_owner, nullptr};

TEST(ThreadDefaults, ReachThreadsThatHaveSetNothing)
{
    const RestoreDefaults restore;
    const Settings before = settings();
    Follower old;
    EXPECT_EQ(before, old.settings_there());
    Follower own;
    own.run([] { V_SetDefaultMemoryType(TYPE_CONV); });
    set(kNew);
    EXPECT_EQ(before, old.settings_there());
    EXPECT_EQ(SUCCESS, V_SetProcessDefaults());
    EXPECT_EQ(kNew, old.settings_there()) << "one that exists already";
    EXPECT_EQ(kNew, Follower().settings_there()) << "a new one";
    EXPECT_EQ(before, own.settings_there()) << "one with settings of its own";
    own.run([] { EXPECT_EQ(SUCCESS, V_FreeThreadState()); });
    EXPECT_EQ(kNew, own.settings_there()) << "which it has given up";
    uint32_t inherited = 0;
    V_VellThreadCreateAndRun(
        [](void*) -> V_THREADRESULT {
            uint32_t type = 0;
            V_GetDefaultMemoryType(&type);
            return type;
        },
        nullptr, VELLTHREAD_WAIT, &inherited);
    EXPECT_EQ(uint32_t{TYPE_DISK}, inherited);
    set(before);
    EXPECT_EQ(kNew, old.settings_there());
    EXPECT_EQ(SUCCESS, V_FreeThreadState());
    EXPECT_EQ(kNew, settings());
    EXPECT_EQ(SUCCESS, V_FreeThreadState()) << "nothing left to forget";
}

TEST(ThreadDefaults, LeaveBufferRedirectionsWithTheirThread)
{
    const RestoreDefaults restore;
    void* buffer = nullptr;
    ASSERT_EQ(SUCCESS,
              V_StartRedirectToBuffer(&buffer, nullptr, REDIRECTBUFFER_WRITE | REDIRECTBUFFER_GROW, nullptr, 0));
    EXPECT_EQ(SUCCESS, V_SetProcessDefaults());
    Follower().run([] { EXPECT_EQ(0, V_UsesRedirectIO(nullptr, nullptr)); });
    EXPECT_EQ(FAILURE, V_FreeThreadState());
    EXPECT_EQ(1, V_UsesRedirectIO(nullptr, nullptr));
    EXPECT_EQ(SUCCESS, V_StopRedirectToBuffer(buffer, nullptr, nullptr));
    EXPECT_EQ(0, V_UsesRedirectIO(nullptr, nullptr));
}

// Threads that look while others set: each sees one setting as a whole.
TEST(ThreadDefaults, AreSeenAsAWhole)
{
    const RestoreDefaults restore;
    std::atomic<bool> ends{false};
    std::atomic<int> torn{0};
    std::thread readers[3];
    for (std::thread& reader : readers)
        reader = std::thread([&] {
            while (!ends) {
                int32_t reserved = 0;
                int64_t most = 0;
                V_GetMemoryThresholds(&reserved, &most, nullptr, nullptr, nullptr);
                torn += most >= 0 && reserved != most;
            }
        });
    std::thread writers[2];
    for (std::thread& writer : writers)
        writer = std::thread([&] {
            for (int32_t i = 0; i < 500; ++i) {
                V_SetMemoryThresholds(i, i, 0, 0, 0, THRESHOLD_RESERVEDMEMORY | THRESHOLD_MAXCONVSIZE);
                V_SetProcessDefaults();
            }
        });
    for (std::thread& writer : writers)
        writer.join();
    ends = true;
    for (std::thread& reader : readers)
        reader.join();
    EXPECT_EQ(0, torn);
}

} // namespace
