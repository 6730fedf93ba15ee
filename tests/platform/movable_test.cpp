// Movable global memory. The same expectations hold for the system's own on Windows and for ours elsewhere, with the
// fault layer in between, which moves a block at every last unlock.
#include "tests/support/TestRandom.h"
#include "tests/threading/ThreadingSupport.h"

#include <algorithm>
#include <cstring>

namespace vk {
namespace {

uint8_t* lock(void* handle)
{
    return static_cast<uint8_t*>(platform::movable_lock(handle));
}

uint32_t lock_count(void* handle)
{
    return platform::movable_flags(handle) & GMEM_LOCKCOUNT;
}

bool holds(const uint8_t* data, size_t from, size_t to, uint8_t value)
{
    return std::all_of(data + from, data + to, [value](uint8_t byte) { return byte == value; });
}

TEST(Movable, FixedBlockIsItsAddress)
{
    for (const size_t bytes : {size_t{0}, size_t{1}, size_t{100000}}) {
        SCOPED_TRACE(bytes);
        void* block = platform::movable_alloc(GPTR, bytes);
        ASSERT_NE(nullptr, block);
        EXPECT_EQ(block, platform::movable_lock(block));
        EXPECT_EQ(0u, lock_count(block)) << "locks of a fixed block are not counted";
        EXPECT_EQ(1, platform::movable_unlock(block));
        EXPECT_EQ(block, platform::movable_handle(block));
        EXPECT_TRUE(platform::movable_size(block) == bytes || bytes == 0) << "a system may round 0 up";
        EXPECT_TRUE(holds(static_cast<uint8_t*>(block), 0, bytes, 0));
        EXPECT_EQ(nullptr, platform::movable_free(block));
    }
}

TEST(Movable, LocksCountAndSaturate)
{
    void* handle = platform::movable_alloc(GHND, 1000);
    ASSERT_NE(nullptr, handle);
    uint8_t* data = lock(handle);
    ASSERT_NE(nullptr, data);
    EXPECT_NE(handle, data);
    EXPECT_TRUE(holds(data, 0, 1000, 0));
    EXPECT_EQ(handle, platform::movable_handle(data));
    for (int i = 1; i < 300; ++i)
        EXPECT_EQ(data, lock(handle));
    EXPECT_EQ(255u, lock_count(handle));
    for (uint32_t left = 254; left > 0; --left) {
        EXPECT_EQ(1, platform::movable_unlock(handle));
        ASSERT_EQ(left, lock_count(handle));
    }
    EXPECT_EQ(0, platform::movable_unlock(handle));
    EXPECT_EQ(0, platform::movable_unlock(handle)) << "not locked";
    EXPECT_EQ(0u, lock_count(handle));
    lock(handle);
    EXPECT_EQ(nullptr, platform::movable_free(handle)) << "locked blocks can be freed";
}

TEST(Movable, UnlockedBlockMovesWithItsContents)
{
    for (const size_t bytes : {size_t{1}, size_t{40}, size_t{5000}, size_t{3} << 20}) {
        SCOPED_TRACE(bytes);
        void* handle = platform::movable_alloc(GMEM_MOVEABLE, bytes);
        uint8_t* first = lock(handle);
        ASSERT_NE(nullptr, first);
        std::memset(first, 0x5A, bytes);
        platform::movable_unlock(handle);
        uint8_t* second = lock(handle);
        ASSERT_NE(nullptr, second);
        EXPECT_NE(first, second);
        EXPECT_TRUE(holds(second, 0, bytes, 0x5A));
        EXPECT_EQ(bytes, platform::movable_size(handle));
        EXPECT_EQ(handle, platform::movable_handle(second));
        platform::movable_free(handle);
    }
}

TEST(Movable, ReallocKeepsWhatFitsAndClearsWhatIsAdded)
{
    for (const uint32_t kind : {GHND, GPTR}) {
        SCOPED_TRACE(kind);
        void* handle = platform::movable_alloc(kind, 100);
        std::memset(lock(handle), 7, 100);
        platform::movable_unlock(handle);
        size_t kept = 100;
        for (const size_t bytes :
             {50u, 60u, 5u << 20, 3u << 20, 100000u, (2u << 20) - 1, 7u << 20, 8u << 20, 20u, 4000u}) {
            handle = platform::movable_realloc(handle, bytes, GMEM_MOVEABLE | GMEM_ZEROINIT);
            ASSERT_NE(nullptr, handle);
            kept = std::min(kept, bytes);
            uint8_t* data = lock(handle);
            EXPECT_EQ(bytes, platform::movable_size(handle));
            EXPECT_TRUE(holds(data, 0, kept, 7) && holds(data, kept, bytes, 0)) << bytes;
            std::memset(data, 7, kept = bytes);
            platform::movable_unlock(handle);
        }
        EXPECT_EQ(handle, platform::movable_realloc(handle, 1, GMEM_MODIFY | kind)) << "attributes only";
        EXPECT_EQ(4000u, platform::movable_size(handle));
        platform::movable_free(handle);
    }
}

TEST(Movable, LockedBlockStaysOrRefuses)
{
    void* handle = platform::movable_alloc(GMEM_MOVEABLE, 1000);
    uint8_t* data = lock(handle);
    std::memset(data, 9, 1000);
    EXPECT_EQ(handle, platform::movable_realloc(handle, 400, 0));
    EXPECT_EQ(data, lock(handle));
    EXPECT_EQ(400u, platform::movable_size(handle));
    platform::movable_unlock(handle);
    size_t bytes = 400;
    for (const size_t wanted : {size_t{1000}, size_t{100} << 20}) {
        if (platform::movable_realloc(handle, wanted, GMEM_ZEROINIT) != nullptr)
            bytes = wanted;
        EXPECT_EQ(bytes, platform::movable_size(handle));
        EXPECT_EQ(handle, platform::movable_handle(data));
        EXPECT_TRUE(holds(data, 0, 400, 9) && holds(data, 400, bytes, 0));
    }
    EXPECT_EQ(nullptr, platform::movable_realloc(handle, 0, GMEM_MOVEABLE)) << "a locked block cannot be emptied";
    EXPECT_EQ(bytes, platform::movable_size(handle));
    platform::movable_free(handle);
}

TEST(Movable, EmptyBlockHasAHandleButNoData)
{
    void* handle = platform::movable_alloc(GHND, 0);
    ASSERT_NE(nullptr, handle);
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(0u, platform::movable_size(handle));
        EXPECT_EQ(nullptr, lock(handle));
        EXPECT_EQ(0u, lock_count(handle));
        EXPECT_EQ(handle, platform::movable_realloc(handle, 64, GMEM_MOVEABLE | GMEM_ZEROINIT));
        EXPECT_TRUE(holds(lock(handle), 0, 64, 0));
        platform::movable_unlock(handle);
        EXPECT_EQ(handle, platform::movable_realloc(handle, 0, GMEM_MOVEABLE));
    }
    EXPECT_EQ(nullptr, platform::movable_free(handle));
}

TEST(Movable, SizesNobodyHasAreRefused)
{
    void* handle = platform::movable_alloc(GMEM_MOVEABLE, 10);
    for (const size_t bytes : {SIZE_MAX, SIZE_MAX - 15, SIZE_MAX / 2}) {
        EXPECT_EQ(nullptr, platform::movable_alloc(GMEM_MOVEABLE, bytes));
        EXPECT_EQ(nullptr, platform::movable_alloc(GPTR, bytes));
        EXPECT_EQ(nullptr, platform::movable_realloc(handle, bytes, GMEM_MOVEABLE | GMEM_ZEROINIT));
        EXPECT_EQ(10u, platform::movable_size(handle));
    }
    platform::movable_free(handle);
}

void expect_no_block(void* handle)
{
    EXPECT_EQ(nullptr, platform::movable_lock(handle));
    EXPECT_EQ(0, platform::movable_unlock(handle));
    EXPECT_EQ(0u, platform::movable_size(handle));
    EXPECT_EQ(uint32_t{GMEM_INVALID_HANDLE}, platform::movable_flags(handle));
    EXPECT_EQ(nullptr, platform::movable_realloc(handle, 20, GMEM_MOVEABLE));
    EXPECT_EQ(handle, platform::movable_free(handle));
}

TEST(Movable, HandlesOfNoBlockGiveTheFailureResult)
{
    void* stale = platform::movable_alloc(GMEM_MOVEABLE, 10);
    platform::movable_free(stale);
    expect_no_block(stale);
    expect_no_block(nullptr);
    EXPECT_EQ(nullptr, platform::movable_handle(nullptr));
#if !defined(_WIN32) // the system's own calls may believe an address, or a value that looks like a handle
    void* again = platform::movable_alloc(GMEM_MOVEABLE, 10);
    EXPECT_NE(stale, again) << "a slot used again has another handle";
    uint8_t* data = lock(again);
    void* fixed = platform::movable_alloc(GMEM_FIXED, 10);
    platform::movable_free(fixed);
    int local = 0;
    const auto near = [](void* address, uintptr_t distance) {
        return reinterpret_cast<void*>(reinterpret_cast<uintptr_t>(address) + distance);
    };
    for (void* handle : {stale, fixed, static_cast<void*>(data), near(data, 1), static_cast<void*>(&local),
                         near(again, 1), near(again, 1600000), near(nullptr, UINTPTR_MAX)})
        expect_no_block(handle);
    EXPECT_EQ(nullptr, platform::movable_handle(data + 1));
    EXPECT_EQ(nullptr, platform::movable_handle(fixed));
    platform::movable_free(again);
#endif
}

/// Blocks of every kind and what they should hold, changed at random.
class Model {
public:
    explicit Model(uint64_t seed) : random_(seed) {}
    ~Model()
    {
        while (!blocks_.empty())
            remove(blocks_.size() - 1);
    }

    void step(size_t most)
    {
        const size_t at = random_.below(blocks_.size());
        const uint64_t what = random_.below(8);
        if (blocks_.empty() || (what < 3 && blocks_.size() < most))
            resize(blocks_.emplace_back());
        else if (what < 5)
            remove(at);
        else if (what < 7)
            resize(blocks_[at]);
        else
            check(blocks_[at]);
    }

    bool good() const { return good_; }

private:
    struct Entry {
        void* handle = nullptr;
        size_t bytes = 0;
        uint8_t value = 0;
    };

    /// Makes or changes a block, and fills it.
    void resize(Entry& entry)
    {
        entry.bytes = 1 + random_.below(300);
        entry.value = static_cast<uint8_t>(random_.next());
        entry.handle = entry.handle == nullptr
                           ? platform::movable_alloc(random_.one_in(3) ? GMEM_FIXED : GMEM_MOVEABLE, entry.bytes)
                           : platform::movable_realloc(entry.handle, entry.bytes, GMEM_MOVEABLE);
        std::memset(lock(entry.handle), entry.value, entry.bytes);
        platform::movable_unlock(entry.handle);
    }

    void remove(size_t at)
    {
        check(blocks_[at]);
        good_ &= platform::movable_free(blocks_[at].handle) == nullptr;
        blocks_[at] = blocks_.back();
        blocks_.pop_back();
    }

    void check(const Entry& entry)
    {
        const uint8_t* data = lock(entry.handle);
        good_ &= data != nullptr && holds(data, 0, entry.bytes, entry.value) &&
                 platform::movable_handle(data) == entry.handle && platform::movable_size(entry.handle) == entry.bytes;
        platform::movable_unlock(entry.handle);
    }

    testing::TestRandom random_;
    std::vector<Entry> blocks_;
    bool good_ = true;
};

TEST(MovableThreads, RandomUseMatchesAModel)
{
    const fault::Live before = fault::live();
    testing::on_threads(4, [](int thread) { // whose blocks do not mix
        Model model(101 + static_cast<uint64_t>(thread));
        for (int i = 0; i < 5000 && model.good(); ++i)
            model.step(thread == 0 ? 400 : 100);
        EXPECT_TRUE(model.good());
    });
    EXPECT_EQ(before, fault::live());
}

} // namespace
} // namespace vk
