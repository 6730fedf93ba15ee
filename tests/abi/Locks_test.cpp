// Lock counting: only the first access and the last release do anything, and callbacks may do it instead.
#include "tests/support/TestBitmap.h"

using namespace vk::testing;

namespace {

/// What the access and release callbacks answer, and how often they were asked.
struct Answers {
    int access = SUCCESS;
    int release = SUCCESS;
    int accesses = 0;
    int releases = 0;
};

int on_access(BITMAPHANDLE*, void* answers)
{
    auto& seen = *static_cast<Answers*>(answers);
    ++seen.accesses;
    return seen.access;
}

int on_release(BITMAPHANDLE*, void* answers)
{
    auto& seen = *static_cast<Answers*>(answers);
    ++seen.releases;
    return seen.release;
}

void install(TestBitmap& bitmap, Answers& answers)
{
    BITMAPDATACALLBACKS table{};
    table.StructSize = sizeof table;
    table.UserData = &answers;
    table.AccessBitmapCallback = on_access;
    table.ReleaseBitmapCallback = on_release;
    ASSERT_EQ(SUCCESS, V_SetBitmapDataCallbacks(bitmap.get(), &table));
}

bool is_locked(TestBitmap& bitmap)
{
    const bool flag = V_BitmapIsLocked(bitmap.get()) != 0;
    EXPECT_EQ(flag, bitmap->Data != nullptr);
    EXPECT_EQ(flag ? 1u : 0u, GlobalFlags(bitmap->Handle) & GMEM_LOCKCOUNT);
    return flag;
}

TEST(Locks, CountNestsAndOnlyTheOutermostPairLocks)
{
    TestBitmap bitmap;
    bitmap.make(Kind::global, 10, 4, 8);
    EXPECT_FALSE(is_locked(bitmap));
    for (int round = 0; round < 3; ++round) {
        for (int32_t depth = 1; depth <= 3; ++depth) {
            EXPECT_EQ(SUCCESS, V_AccessBitmap(bitmap.get()));
            EXPECT_EQ(depth, bitmap->LockCount);
            EXPECT_TRUE(is_locked(bitmap));
            EXPECT_EQ(static_cast<uint8_t*>(GlobalLock(bitmap->Handle)) + bitmap->DataOffset, +bitmap->Data);
            GlobalUnlock(bitmap->Handle);
        }
        for (int32_t depth = 2; depth >= 0; --depth) {
            EXPECT_EQ(SUCCESS, V_ReleaseBitmap(bitmap.get()));
            EXPECT_EQ(depth, bitmap->LockCount);
            EXPECT_EQ(depth != 0, is_locked(bitmap));
        }
    }
    // Below zero, every release works and an access that does not reach one does nothing.
    EXPECT_EQ(SUCCESS, V_ReleaseBitmap(bitmap.get()));
    EXPECT_EQ(SUCCESS, V_ReleaseBitmap(bitmap.get()));
    EXPECT_EQ(-2, bitmap->LockCount);
    EXPECT_EQ(SUCCESS, V_AccessBitmap(bitmap.get()));
    EXPECT_EQ(SUCCESS, V_AccessBitmap(bitmap.get()));
    EXPECT_EQ(0, bitmap->LockCount);
    EXPECT_FALSE(is_locked(bitmap));
    EXPECT_EQ(SUCCESS, V_AccessBitmap(bitmap.get()));
    EXPECT_TRUE(is_locked(bitmap));
    for (const int32_t count : {1, 7, -3}) { // freed while locked, and again
        bitmap->LockCount = count;
        V_FreeBitmap(bitmap.get());
        EXPECT_EQ(0, bitmap->LockCount);
    }
}

TEST(Locks, EarlierRecordHasNoCount)
{
    TestBitmap bitmap(BITMAPHANDLE_SIZE_EARLIER);
    bitmap.make(Kind::global, 10, 4, 8);
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(SUCCESS, V_AccessBitmap(bitmap.get()));
        EXPECT_EQ(SUCCESS, V_AccessBitmap(bitmap.get()));
        EXPECT_TRUE(is_locked(bitmap));
        EXPECT_EQ(SUCCESS, V_ReleaseBitmap(bitmap.get()));
        EXPECT_FALSE(is_locked(bitmap));
        EXPECT_EQ(SUCCESS, V_ReleaseBitmap(bitmap.get()));
        EXPECT_FALSE(is_locked(bitmap));
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
        const auto* const data = bitmap->Data;
        const uint32_t flags = bitmap->Flags;
        EXPECT_EQ(SUCCESS, V_AccessBitmap(bitmap.get()));
        EXPECT_EQ(1, bitmap->LockCount);
        EXPECT_TRUE(data == bitmap->Data && flags == bitmap->Flags);
        EXPECT_EQ(SUCCESS, V_ReleaseBitmap(bitmap.get()));
        EXPECT_EQ(0, bitmap->LockCount);
        EXPECT_TRUE(data == bitmap->Data && flags == bitmap->Flags);
    }
}

TEST(Locks, CallbacksDecide)
{
    struct {
        int access, access_result;
        bool counted, locked;
        int release, release_result;
        bool still_locked;
    } const cases[] = {
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
        SCOPED_TRACE(::testing::Message() << "access " << c.access << ", release " << c.release);
        TestBitmap bitmap;
        bitmap.make(Kind::global, 10, 4, 8);
        Answers answers;
        answers.access = c.access;
        answers.release = c.release;
        install(bitmap, answers);
        EXPECT_EQ(c.access_result, V_AccessBitmap(bitmap.get()));
        EXPECT_EQ(c.counted ? 1 : 0, bitmap->LockCount);
        EXPECT_EQ(c.locked, is_locked(bitmap));
        EXPECT_EQ(1, answers.accesses);
        if (!c.counted)
            continue;
        EXPECT_EQ(SUCCESS, V_AccessBitmap(bitmap.get()));
        EXPECT_EQ(SUCCESS, V_ReleaseBitmap(bitmap.get()));
        EXPECT_TRUE(answers.accesses == 1 && answers.releases == 0) << "inner pairs ask nobody";
        EXPECT_EQ(c.release_result, V_ReleaseBitmap(bitmap.get()));
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
    install(bitmap, answers);
    void* const block = bitmap->Handle;
    bitmap->Handle = nullptr;
    EXPECT_EQ(ERROR_NO_MEMORY, V_AccessBitmap(bitmap.get()));
    EXPECT_EQ(0, bitmap->LockCount);
    EXPECT_EQ(answers.accesses, answers.releases) << "whoever was told of the access hears of its end";
    bitmap->Handle = block;
    EXPECT_FALSE(is_locked(bitmap));
}

TEST(Locks, ArgumentChecks)
{
    EXPECT_EQ(ERROR_NULL_PTR, V_AccessBitmap(nullptr));
    EXPECT_EQ(ERROR_NULL_PTR, V_ReleaseBitmap(nullptr));
    TestBitmap bitmap;
    bitmap->StructSize = 7;
    EXPECT_EQ(ERROR_INVALID_STRUCT_SIZE, V_ReleaseBitmap(bitmap.get()));
    bitmap->StructSize = BITMAPHANDLE_SIZE;
    bitmap->LockCount = -2147483647 - 1;
    EXPECT_EQ(SUCCESS, V_ReleaseBitmap(bitmap.get())) << "a count gone wild does no harm";
    EXPECT_EQ(SUCCESS, V_AccessBitmap(bitmap.get()));
    bitmap->LockCount = 0;
}

} // namespace
