// The fault layer itself: other tests rely on it to break every call and to notice every leak.
#include "tests/platform/TempFile.h"

#include "Vkthread.h"
#include "platform/fault/fault.h"

#include <functional>
#include <vector>

namespace vk {
namespace {

using fault::Call;
using testing::position_of;
using testing::TempFile;

V_THREADRESULT no_work(void*)
{
    return 0;
}

Status found(const void* block)
{
    return block == nullptr ? Status::no_memory : Status::ok;
}

/// What the calls below work on.
class FaultCalls : public ::testing::Test {
protected:
    struct Row {
        Call call;
        Status usual; ///< the status of an injected failure
        std::function<Status()> make;
    };

    void SetUp() override
    {
        file_ = temp_.open();
        handle_ = platform::movable_alloc(GMEM_MOVEABLE, 10);
        ASSERT_EQ(Status::ok, platform::section_create(100, Contents::zeroed, &section_));
        ASSERT_EQ(Status::ok, backend::file_reserve(file_, 0, 100));
    }

    void TearDown() override
    {
        fault::disarm();
        fault::set_status(Status::ok);
        fault::set_short_transfers(false);
        platform::file_close(file_);
        platform::movable_free(handle_);
        platform::section_free(&section_);
    }

    /// Opens and closes it; a failure of either is the result.
    Status open_and_close()
    {
        int64_t file = kNoFile;
        const Status opened = platform::file_open(temp_.name(), {Access::read, Share::read_write}, &file);
        return opened == Status::ok ? platform::file_close(file) : opened;
    }

    Status map_and_unmap()
    {
        void* view = nullptr;
        const Status status = platform::file_map(file_, 0, 100, &view);
        platform::file_unmap(view, 100);
        return status;
    }

    Status create_section()
    {
        Section section;
        const Status status = platform::section_create(100, Contents::zeroed, &section);
        platform::section_free(&section);
        return status;
    }

    static Status make_and_delete()
    {
        wchar_t directory[kMaxTempName];
        wchar_t name[kMaxTempName];
        EXPECT_EQ(Status::ok, backend::temp_directory(directory, kMaxTempName));
        const Status made = platform::temp_name(directory, L"vt", name);
        return made == Status::ok ? platform::file_delete(name) : made;
    }

    Status alloc_and_free(void* block, void (*give_back)(void*))
    {
        give_back(block);
        return found(block);
    }

    static Status make_event()
    {
        void* event = nullptr;
        void* copy = nullptr;
        Status made = platform::event_create(true, true, &event);
        if (made == Status::ok)
            made = platform::event_duplicate(event, &copy);
        EXPECT_TRUE(copy == nullptr || platform::event_wait(copy, 0) == Waited::signalled);
        platform::event_close(copy);
        platform::event_close(event);
        return made;
    }

    static Status make_lock()
    {
        platform::lock_look_up();
        void* lock[kLockBytes / sizeof(void*)];
        const Status made = platform::lock_create(lock);
        if (made == Status::ok)
            platform::lock_destroy(lock);
        return made;
    }

    /// The library itself is the one module that is always there.
    static Status load_module()
    {
#if defined(_WIN32)
        constexpr const wchar_t* kName = L"Vkkrnx";
#else
        constexpr const wchar_t* kName = L"libVkkrnx";
#endif
        void* module = nullptr;
        const Status status = platform::module_open(nullptr, kName, &module);
        if (status != Status::ok)
            return status;
        const bool has_symbol = platform::module_symbol(module, "V_FreeBitmap") != nullptr;
        platform::module_close(module);
        return has_symbol ? Status::ok : Status::not_found;
    }

    /// Every call that can fail, each giving back what it acquires.
    std::vector<Row> rows()
    {
        constexpr auto kFree = [](void* block) { platform::heap_free(block); };
        constexpr auto kGlobalFree = [](void* handle) { platform::movable_free(handle); };
        constexpr auto kUnlock = [](void* data) {
            if (data != nullptr)
                platform::movable_unlock(platform::movable_handle(data));
        };
        const auto moved = [this](bool write) {
            char byte = 0;
            size_t bytes = 0;
            return write ? platform::file_write(file_, &byte, 1, &bytes) : platform::file_read(file_, &byte, 1, &bytes);
        };
        return {
            {Call::heap_alloc, Status::no_memory, [=, this] { return alloc_and_free(platform::heap_alloc(5), kFree); }},
            {Call::heap_realloc, Status::no_memory,
             [=, this] { return alloc_and_free(platform::heap_realloc(nullptr, 5), kFree); }},
            {Call::section_create, Status::no_memory, [this] { return create_section(); }},
            {Call::section_resize, Status::no_memory, [this] { return platform::section_resize(&section_, 5000); }},
            {Call::movable_alloc, Status::no_memory,
             [=, this] { return alloc_and_free(platform::movable_alloc(GMEM_MOVEABLE, 5), kGlobalFree); }},
            {Call::movable_realloc, Status::no_memory,
             [this] { return found(platform::movable_realloc(handle_, 20, GMEM_MOVEABLE)); }},
            {Call::movable_lock, Status::no_memory,
             [=, this] { return alloc_and_free(platform::movable_lock(handle_), kUnlock); }},
            {Call::memory_status, Status::failed,
             [] {
                 MemoryStatus status;
                 return platform::memory_status(&status);
             }},
            {Call::handle_count, Status::failed,
             [] {
                 uint32_t open = 0;
                 uint32_t limit = 0;
                 return platform::handle_count(&open, &limit);
             }},
            {Call::file_open, Status::denied, [this] { return open_and_close(); }},
            {Call::file_read, Status::failed, [=] { return moved(false); }},
            {Call::file_write, Status::disk_full, [=] { return moved(true); }},
            {Call::file_seek, Status::failed,
             [this] {
                 int64_t position = 0;
                 return platform::file_seek(file_, 0, Origin::start, &position);
             }},
            {Call::file_truncate, Status::disk_full, [this] { return platform::file_truncate(file_); }},
            {Call::file_reserve, Status::disk_full, [this] { return platform::file_reserve(file_, 0, 100); }},
            {Call::file_map, Status::no_memory, [this] { return map_and_unmap(); }},
            {Call::file_close, Status::failed, [this] { return open_and_close(); }},
            {Call::file_delete, Status::denied, make_and_delete},
            {Call::temp_directory, Status::failed,
             [] {
                 wchar_t directory[kMaxTempName];
                 return platform::temp_directory(directory, kMaxTempName);
             }},
            {Call::temp_name, Status::denied, make_and_delete},
            {Call::event_create, Status::no_memory, make_event},
            {Call::event_duplicate, Status::no_memory, make_event},
            {Call::lock_create, Status::no_memory, make_lock},
            {Call::processor_count, Status::failed,
             [] { return platform::processor_count() == 0 ? Status::failed : Status::ok; }},
            {Call::thread_start, Status::no_memory, [] { return platform::thread_start(&no_work, nullptr); }},
            {Call::pool_queue, Status::no_memory,
             [] { return platform::pool_queue(&no_work, nullptr, false, nullptr); }},
            {Call::module_open, Status::not_found, load_module},
            {Call::module_symbol, Status::not_found, load_module},
        };
    }

    TempFile temp_;
    int64_t file_ = kNoFile;
    void* handle_ = nullptr;
    Section section_;
};

TEST_F(FaultCalls, EveryKindFailsOnDemandAndLeaksNothing)
{
    const std::vector<Row> all = rows();
    ASSERT_EQ(fault::kCalls, all.size());
    const fault::Live before = fault::live();
    for (const Row& row : all) {
        SCOPED_TRACE(fault::name_of(row.call));
        EXPECT_EQ(row.call, all[static_cast<size_t>(row.call)].call);
        for (const bool persistent : {false, true}) {
            fault::arm_call(row.call, 2, persistent);
            EXPECT_EQ(Status::ok, row.make());
            EXPECT_FALSE(fault::fired());
            EXPECT_EQ(row.usual, row.make());
            EXPECT_TRUE(fault::fired());
            EXPECT_EQ(persistent ? row.usual : Status::ok, row.make());
            EXPECT_EQ(3u, fault::calls(row.call));
            EXPECT_GE(fault::calls(), 3u);
            fault::disarm();
            EXPECT_EQ(Status::ok, row.make());
            EXPECT_TRUE(fault::fired()) << "can still be asked for";
            EXPECT_EQ(before, fault::live());
        }
        if ((row.usual != Status::no_memory || row.call == Call::file_map) && row.call != Call::processor_count &&
            row.call != Call::module_symbol) {
            fault::set_status(Status::unsupported);
            fault::arm_call(row.call, 1, false);
            EXPECT_EQ(Status::unsupported, row.make());
            fault::disarm();
            fault::set_status(Status::ok);
        }
    }
    EXPECT_EQ(before, fault::live());
}

TEST_F(FaultCalls, ShortTransfersMoveAtMostHalf)
{
    fault::set_short_transfers(true);
    char bytes[100] = "contents";
    for (const auto& [asked, expected] : {std::pair<size_t, size_t>{0, 0}, {1, 1}, {2, 1}, {3, 1}, {100, 50}}) {
        size_t moved = 77;
        EXPECT_EQ(Status::ok, platform::file_write(file_, bytes, asked, &moved));
        EXPECT_EQ(expected, moved);
        testing::seek_to(file_, 0);
        EXPECT_EQ(Status::ok, platform::file_read(file_, bytes, asked, &moved));
        EXPECT_EQ(expected, moved);
        EXPECT_EQ(static_cast<int64_t>(expected), position_of(file_));
        testing::seek_to(file_, 0);
    }
}

TEST_F(FaultCalls, LiveCountsWhatIsHeld)
{
    const fault::Live before = fault::live();
    Section section;
    void* view = nullptr;
    void* block = platform::heap_alloc(10);
    void* fixed = platform::movable_alloc(GMEM_FIXED, 10);
    void* movable = platform::movable_alloc(GMEM_MOVEABLE, 10);
    platform::movable_lock(movable);
    platform::movable_lock(movable);
    platform::movable_lock(fixed);
    const int64_t file = temp_.open();
    ASSERT_EQ(Status::ok, platform::section_create(10, Contents::zeroed, &section));
    ASSERT_EQ(Status::ok, platform::file_map(file_, 0, 10, &view));
    fault::Live held = before;
    for (auto* const figure : {&held.heap, &held.sections, &held.files, &held.views})
        *figure += 1;
    held.movables += 2;
    held.locks += 2;
    EXPECT_EQ(held, fault::live());

    fixed = platform::movable_realloc(fixed, 100000, GMEM_MOVEABLE);
    block = platform::heap_realloc(block, 100000);
    platform::movable_unlock(movable);
    held.locks -= 1;
    EXPECT_EQ(held, fault::live());
    GlobalUnlock(movable); // the owner's own calls, which on Windows do not pass the layer
    GlobalFree(movable);
    held.locks -= 1;
    held.movables -= 1;
    EXPECT_EQ(held, fault::live());

    void* foreign = GlobalAlloc(GMEM_MOVEABLE, 10);
    platform::movable_lock(foreign);
    platform::movable_unlock(foreign);
    platform::movable_unlock(foreign);
    platform::movable_free(foreign);
    EXPECT_EQ(held, fault::live()) << "never below what was acquired";

    platform::movable_free(fixed);
    platform::heap_free(block);
    platform::file_unmap(view, 10);
    platform::section_free(&section);
    fault::arm_call(Call::file_close, 1, false);
    EXPECT_EQ(Status::failed, platform::file_close(file));
    EXPECT_EQ(Status::bad_handle, platform::file_close(file)) << "closed in spite of the report";
    EXPECT_EQ(before, fault::live());
}

} // namespace
} // namespace vk
