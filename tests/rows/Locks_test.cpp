// Lock counting: only the first access and the last release do anything, and callbacks may do it instead.
#include "tests/support/TestBitmap.h"

using namespace vk::testing;

namespace {

/// What the access and release callbacks answer, and how often they were asked.
struct Answers {
    int access = SUCCESS, release = SUCCESS;
    int accesses = 0, releases = 0;

    void install(TestBitmap& bitmap)
    {
        BITMAPDATACALLBACKS table = callbacks_for(this);
        table.AccessBitmapCallback = [](BITMAPHANDLE*, void* self) {
            return ++static_cast<Answers*>(self)->accesses, static_cast<Answers*>(self)->access;
        };
        table.ReleaseBitmapCallback = [](BITMAPHANDLE*, void* self) {
            return ++static_cast<Answers*>(self)->releases, static_cast<Answers*>(self)->release;
        };
        ASSERT_EQ(SUCCESS, V_SetBitmapDataCallbacks(bitmap, &table));
    }
};

bool is_locked(TestBitmap& bitmap)
{
    const bool flag = V_BitmapIsLocked(bitmap) != 0;
    EXPECT_EQ(flag, bitmap->Data != nullptr);
    EXPECT_EQ(flag ? 1u : 0u, GlobalFlags(bitmap->Handle) & GMEM_LOCKCOUNT);
    if (flag) {
        EXPECT_EQ(static_cast<uint8_t*>(GlobalLock(bitmap->Handle)) + bitmap->DataOffset, +bitmap->Data);
        GlobalUnlock(bitmap->Handle);
    }
    return flag;
}

TEST(Locks, CountNestsAndOnlyTheOutermostPairLocks)
{
    // Below zero every release works, and an access that does not reach one does nothing. An earlier record has no
    // count: the first release ends it.
    const struct {
        bool accesses;
        int32_t count;
        bool locked, earlier_locked;
    } steps[] = {{true, 1, true, true},    {true, 2, true, true},     {true, 3, true, true},
                 {false, 2, true, false},  {false, 1, true, false},   {true, 2, true, true},
                 {false, 1, true, false},  {false, 0, false, false},  {true, 1, true, true},
                 {false, 0, false, false}, {false, -1, false, false}, {false, -2, false, false},
                 {true, -1, false, true},  {true, 0, false, true},    {true, 1, true, true}}; // freed while locked
    for (const uint32_t size : kRecordSizes) {
        TestBitmap bitmap(size);
        bitmap.make(Kind::global, 10, 4, 8);
        EXPECT_FALSE(is_locked(bitmap));
        for (const auto& step : steps) {
            SCOPED_TRACE(say(size, "step", &step - steps));
            EXPECT_EQ(SUCCESS, step.accesses ? V_AccessBitmap(bitmap) : V_ReleaseBitmap(bitmap));
            EXPECT_TRUE(size != BITMAPHANDLE_SIZE || bitmap->LockCount == step.count) << +bitmap->LockCount;
            EXPECT_EQ(size == BITMAPHANDLE_SIZE ? step.locked : step.earlier_locked, is_locked(bitmap));
        }
        for (const int32_t count : {1, 7, -3}) { // freed, and again
            bitmap->LockCount = size == BITMAPHANDLE_SIZE ? count : bitmap->LockCount;
            V_FreeBitmap(bitmap);
            EXPECT_TRUE(size != BITMAPHANDLE_SIZE || bitmap->LockCount == 0);
        }
    }
}

TEST(Locks, OtherStorageIsCountedOnly)
{
    for (const Kind kind : kKinds) {
        SCOPED_TRACE(name_of(kind));
        if (kind == Kind::global)
            continue;
        TestBitmap bitmap;
        bitmap.make(kind, 40, 6, 1);
        Bytes before = bitmap.image();
        EXPECT_EQ(SUCCESS, V_AccessBitmap(bitmap));
        EXPECT_EQ(1, bitmap->LockCount);
        bitmap->LockCount = 0;
        EXPECT_EQ(before, bitmap.image());
        bitmap->LockCount = 1;
        EXPECT_EQ(SUCCESS, V_ReleaseBitmap(bitmap));
        EXPECT_EQ(before, bitmap.image());
    }
}

TEST(Locks, CallbacksDecide)
{
    const struct {
        int access, access_result;
        bool counted, locked;
        int release, release_result;
        bool still_locked;
    } cases[] = {
        {SUCCESS, SUCCESS, true, true, SUCCESS, SUCCESS, false},
        {2, SUCCESS, true, false, 2, SUCCESS, false},
        {2, SUCCESS, true, false, SUCCESS, SUCCESS, false},
        {SUCCESS, SUCCESS, true, true, 2, SUCCESS, true},
        {SUCCESS, SUCCESS, true, true, -7, -7, true},
        {SUCCESS, SUCCESS, true, true, FAILURE, FAILURE, true},
        {-1, -1, false, false, SUCCESS, SUCCESS, false},
        {FAILURE, FAILURE, false, false, SUCCESS, SUCCESS, false},
        {3, 3, false, false, SUCCESS, SUCCESS, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(say("access", c.access, "release", c.release));
        TestBitmap bitmap;
        bitmap.make(Kind::global, 10, 4, 8);
        Answers answers{c.access, c.release};
        answers.install(bitmap);
        EXPECT_EQ(c.access_result, V_AccessBitmap(bitmap));
        EXPECT_EQ(c.counted ? 1 : 0, bitmap->LockCount);
        EXPECT_EQ(c.locked, is_locked(bitmap));
        EXPECT_EQ(1, answers.accesses);
        if (!c.counted)
            continue;
        expect_each(SUCCESS, {V_AccessBitmap(bitmap), V_ReleaseBitmap(bitmap)});
        EXPECT_TRUE(answers.accesses == 1 && answers.releases == 0) << "inner pairs ask nobody";
        EXPECT_EQ(c.release_result, V_ReleaseBitmap(bitmap));
        EXPECT_EQ(0, bitmap->LockCount) << "a refused release counts all the same";
        EXPECT_EQ(c.still_locked, is_locked(bitmap));
        EXPECT_EQ(1, answers.releases);
    }
}

TEST(Locks, ABlockThatCannotBeLockedUndoesTheAccess)
{
    TestBitmap bitmap;
    bitmap.make(Kind::global, 10, 4, 8);
    Answers answers;
    answers.install(bitmap);
    void* const block = bitmap->Handle;
    bitmap->Handle = nullptr;
    EXPECT_EQ(ERROR_NO_MEMORY, V_AccessBitmap(bitmap));
    EXPECT_EQ(0, bitmap->LockCount);
    EXPECT_EQ(answers.accesses, answers.releases) << "whoever was told of the access hears of its end";
    bitmap->Handle = block;
    EXPECT_FALSE(is_locked(bitmap));
    EXPECT_EQ(ERROR_NULL_PTR, V_ReleaseBitmap(nullptr));
    bitmap->LockCount = INT32_MIN;
    expect_each(SUCCESS, {V_ReleaseBitmap(bitmap), V_AccessBitmap(bitmap)}); // a count gone wild does no harm
    bitmap->LockCount = 0;
}

} // namespace
