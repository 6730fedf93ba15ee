// The file layer: opening, complete transfers, sizes past 4 GiB, views, and files that vanish when they close.
#include "tests/platform/TempFile.h"

#include <cstring>

namespace vk {
namespace {

using testing::position_of;
using testing::read_at;
using testing::seek_to;
using testing::TempFile;
using testing::write_at;

TEST(File, DispositionsAndAccess)
{
    struct Case {
        Disposition disposition;
        Access access;
        bool opens;
        const char* after; ///< contents, having been "old" before
    };
    constexpr Case kCases[] = {
        {Disposition::open_existing, Access::read, true, "old"},
        {Disposition::open_existing, Access::write, true, "new"},
        {Disposition::create_always, Access::read, true, ""},
        {Disposition::create_always, Access::read_write, true, "new"},
        {Disposition::truncate_existing, Access::write, true, "new"},
        {Disposition::truncate_existing, Access::read, false, "old"},
    };
    for (const Case& c : kCases) {
        SCOPED_TRACE(&c - kCases);
        const TempFile temp;
        int64_t file = temp.open();
        write_at(file, 0, "old");
        platform::file_close(file);

        OpenOptions options;
        options.access = c.access;
        options.disposition = c.disposition;
        file = kNoFile;
        EXPECT_EQ(c.opens, platform::file_open(temp.name(), options, &file) == Status::ok);
        size_t moved = 0;
        char read[3];
        if (c.opens) {
            EXPECT_EQ(c.access != Access::read, platform::file_write(file, "new", 3, &moved) == Status::ok);
            seek_to(file, 0);
            EXPECT_EQ(c.access != Access::write, platform::file_read(file, read, 3, &moved) == Status::ok);
            EXPECT_EQ(Status::ok, platform::file_close(file));
        }
        file = temp.open();
        EXPECT_EQ(c.after, read_at(file, 0, 10));
        platform::file_close(file);
    }
}

TEST(File, NamesThatDoNotOpen)
{
    const TempFile temp;
    wchar_t directory[kMaxTempName];
    ASSERT_EQ(Status::ok, platform::temp_directory(directory, kMaxTempName));
    const std::wstring missing = std::wstring(temp.name()) + L".missing";
    int64_t file = 77;
    OpenOptions options;
    EXPECT_EQ(Status::bad_name, platform::file_open(nullptr, options, &file));
    EXPECT_EQ(Status::bad_name, platform::file_delete(nullptr));
    EXPECT_EQ(Status::not_found, platform::file_open(missing.c_str(), options, &file));
    EXPECT_EQ(Status::not_found, platform::file_delete(missing.c_str()));
    EXPECT_EQ(Status::not_found, platform::file_open((missing + L"/inside").c_str(), options, &file));
    EXPECT_NE(Status::ok, platform::file_open(directory, options, &file));
    EXPECT_NE(Status::ok, platform::file_open((directory + std::wstring(300, L'x')).c_str(), options, &file));
    EXPECT_EQ(77, file) << "written on success only";
}

TEST(File, NamesBeyondTheSystemCodePage)
{
    const TempFile temp;
    const std::wstring name = std::wstring(temp.name()) + L".\u00E9\u4E2D\U0001F600";
    OpenOptions options;
    options.access = Access::write;
    options.disposition = Disposition::create_always;
    int64_t file = kNoFile;
    ASSERT_EQ(Status::ok, platform::file_open(name.c_str(), options, &file));
    EXPECT_EQ(Status::ok, platform::file_close(file));
    EXPECT_EQ(Status::ok, platform::file_delete(name.c_str()));
}

TEST(File, HandlesThatAreNotOpen)
{
    const TempFile temp;
    const int64_t closed = temp.open();
    ASSERT_EQ(Status::ok, platform::file_close(closed));
    for (const int64_t file : {kNoFile, closed, INT64_MIN, int64_t{0x7FFFFFF0}}) {
        SCOPED_TRACE(file);
        char byte = 0;
        size_t moved = 0;
        int64_t position = 0;
        void* view = nullptr;
        for (const Status& status :
             {platform::file_read(file, &byte, 1, &moved), platform::file_write(file, &byte, 1, &moved),
              platform::file_seek(file, 0, Origin::start, &position), platform::file_truncate(file),
              platform::file_reserve(file, 0, 10), platform::file_map(file, 0, 10, &view), platform::file_close(file),
              platform::file_read_at(file, 0, &byte, 1, &moved), platform::file_write_at(file, 0, &byte, 1, &moved),
              platform::file_set_size(file, 0)})
            EXPECT_EQ(Status::bad_handle, status);
    }
}

TEST(File, TransfersAreCompleteUpToTheEnd)
{
    const TempFile temp;
    const int64_t file = temp.open();
    std::string text(size_t{3} << 20, 'a');
    for (size_t i = 0; i < text.size(); i += 997)
        text[i] = static_cast<char>(i);
    write_at(file, 0, text);
    EXPECT_EQ(text, read_at(file, 0, text.size() + 1000));
    EXPECT_EQ("", read_at(file, static_cast<int64_t>(text.size()), 10));
    EXPECT_EQ("", read_at(file, int64_t{1} << 40, 10));
    size_t moved = 1;
    EXPECT_EQ(Status::ok, platform::file_write(file, "", 0, &moved));
    EXPECT_EQ(0u, moved);

    int64_t position = 0;
    seek_to(file, 100);
    EXPECT_EQ(Status::ok, platform::file_seek(file, -40, Origin::current, &position));
    EXPECT_EQ(60, position);
    EXPECT_EQ(Status::ok, platform::file_seek(file, -1, Origin::end, &position));
    EXPECT_EQ(static_cast<int64_t>(text.size()) - 1, position);
    EXPECT_NE(Status::ok, platform::file_seek(file, -1, Origin::start, &position));
    platform::file_close(file);
}

TEST(File, PastFourGibibytes)
{
    constexpr int64_t kFar = (int64_t{5} << 30) + 123; // a hole, so it costs nothing
    const TempFile temp;
    const int64_t file = temp.open();
    write_at(file, kFar, "far");
    EXPECT_EQ(kFar + 3, position_of(file));
    write_at(file, kFar & 0xFFFFFFFF, "near");
    EXPECT_EQ("far", read_at(file, kFar, 10));
    EXPECT_EQ(kFar + 3, position_of(file, true));

    void* view = nullptr;
    const int64_t slot = kFar / static_cast<int64_t>(kMapGranularity) * static_cast<int64_t>(kMapGranularity);
    ASSERT_EQ(Status::ok, platform::file_map(file, slot, static_cast<size_t>(kFar - slot) + 3, &view));
    char* far = static_cast<char*>(view) + (kFar - slot);
    EXPECT_EQ(0, std::memcmp(far, "far", 3));
    far[0] = 'b';
    platform::file_unmap(view, static_cast<size_t>(kFar - slot) + 3);
    EXPECT_EQ("bar", read_at(file, kFar, 3));

    for (const int64_t size : {kFar + 1, int64_t{3}, int64_t{1} << 33}) {
        seek_to(file, size);
        EXPECT_EQ(Status::ok, platform::file_truncate(file));
        EXPECT_EQ(size, position_of(file)) << "the position stays";
        EXPECT_EQ(size, position_of(file, true));
    }
    platform::file_close(file);
}

TEST(File, DeleteOnCloseLeavesNothing)
{
    for (const Disposition disposition : {Disposition::create_always, Disposition::open_existing}) {
        const TempFile temp;
        OpenOptions options;
        options.access = Access::read_write;
        options.share = Share::read_write;
        options.disposition = disposition;
        options.delete_on_close = true;
        int64_t file = kNoFile;
        ASSERT_EQ(Status::ok, platform::file_open(temp.name(), options, &file));
        write_at(file, 1000, "still usable");
        EXPECT_EQ("still usable", read_at(file, 1000, 50));
#if !defined(_WIN32)
        EXPECT_FALSE(temp.exists()) << "the name goes at once, so that a crash leaves nothing";
#endif
        EXPECT_EQ(Status::ok, platform::file_close(file));
        EXPECT_FALSE(temp.exists());
    }
}

TEST(File, ReserveBacksWithoutChangingAnything)
{
    const TempFile temp;
    const int64_t file = temp.open();
    write_at(file, 70000, "kept");
    seek_to(file, 5);
    EXPECT_EQ(Status::ok, platform::file_reserve(file, 65536, 3 * kMapGranularity));
    EXPECT_EQ(Status::ok, platform::file_reserve(file, 0, 10)) << "never shortens";
    EXPECT_EQ(Status::ok, platform::file_reserve(file, 1 << 30, 0)) << "nothing to back";
    EXPECT_EQ(5, position_of(file));
    EXPECT_EQ(65536 + 3 * 65536, position_of(file, true));
    EXPECT_EQ("kept" + std::string(96, '\0'), read_at(file, 70000, 100));
    EXPECT_EQ(std::string(200, '\0'), read_at(file, 200000, 200));
    for (const int64_t offset : {int64_t{-1}, INT64_MAX})
        EXPECT_NE(Status::ok, platform::file_reserve(file, offset, 10));
    EXPECT_NE(Status::ok, platform::file_reserve(file, 0, SIZE_MAX));
    platform::file_close(file);
}

TEST(File, ViewsShareTheFile)
{
    constexpr size_t kSlot = kMapGranularity;
    const TempFile temp;
    const int64_t file = temp.open();
    void* view = nullptr;
    EXPECT_NE(Status::ok, platform::file_map(file, 0, kSlot, &view)) << "an empty file has nothing to show";
    ASSERT_EQ(Status::ok, platform::file_reserve(file, 0, 2 * kSlot));
    write_at(file, kSlot, "written");
    ASSERT_EQ(Status::ok, platform::file_map(file, kSlot, kSlot, &view));
    EXPECT_STREQ("written", static_cast<char*>(view));
    std::strcpy(static_cast<char*>(view) + kSlot - 10, "viewed");
    EXPECT_EQ("viewed", read_at(file, 2 * kSlot - 10, 6));
    void* none = nullptr;
    EXPECT_NE(Status::ok, platform::file_map(file, kSlot, kSlot + 1, &none)) << "past the end";
    EXPECT_NE(Status::ok, platform::file_map(file, 4 * kSlot, 1, &none));
    EXPECT_NE(Status::ok, platform::file_map(file, -static_cast<int64_t>(kSlot), 10, &none));
    EXPECT_NE(Status::ok, platform::file_map(file, 0, 0, &none));
    EXPECT_EQ(nullptr, none);
    EXPECT_EQ(Status::ok, platform::file_close(file));
    static_cast<char*>(view)[0] = 'W'; // a view outlives the handle
    platform::file_unmap(view, kSlot);
    platform::file_unmap(nullptr, kSlot);

    const int64_t again = temp.open();
    EXPECT_EQ("Written", read_at(again, kSlot, 7));
    platform::file_close(again);
}

/// At a position nothing is moved by, and which nothing moves.
TEST(File, TransfersAtAPosition)
{
    const TempFile temp;
    const int64_t file = temp.open();
    seek_to(file, 2);
    size_t moved = 0;
    EXPECT_EQ(Status::ok, platform::file_write_at(file, 5, "abcdef", 6, &moved));
    EXPECT_EQ(6u, moved);
    char text[12] = {};
    EXPECT_EQ(Status::ok, platform::file_read_at(file, 4, text, 12, &moved));
    EXPECT_EQ(7u, moved);
    EXPECT_EQ(std::string("\0abcdef", 7), std::string(text, 7));
    EXPECT_EQ(Status::ok, platform::file_read_at(file, 100, text, 1, &moved));
    EXPECT_EQ(0u, moved);
    for (const int64_t offset : {int64_t{-1}, int64_t{-2}, INT64_MIN, INT64_MAX}) {
        EXPECT_NE(Status::ok, platform::file_read_at(file, offset, text, 2, &moved)) << offset;
        EXPECT_NE(Status::ok, platform::file_write_at(file, offset, text, 2, &moved)) << offset;
    }
    EXPECT_EQ(Status::ok, platform::file_set_size(file, 7));
    EXPECT_EQ(7, position_of(file, true));
    EXPECT_EQ(Status::ok, platform::file_set_size(file, 9));
    EXPECT_EQ(Status::ok, platform::file_read_at(file, 6, text, 12, &moved));
    EXPECT_EQ(std::string("b\0\0", 3), std::string(text, moved));
    EXPECT_NE(Status::ok, platform::file_set_size(file, -1));
    EXPECT_EQ(Status::ok, platform::file_close(file));
}

/// Whom an open file keeps out, and that nothing is emptied that is not to be had.
TEST(File, SharedWithNobody)
{
    const TempFile temp;
    int64_t file = temp.open();
    write_at(file, 0, "text");
    EXPECT_EQ(Status::ok, platform::file_close(file));
    for (const Share first : {Share::none, Share::read, Share::read_write})
        for (const Share second : {Share::none, Share::read, Share::read_write})
            for (const Disposition how :
                 {Disposition::open_existing, Disposition::create_always, Disposition::truncate_existing}) {
                OpenOptions options;
                options.share = first;
                ASSERT_EQ(Status::ok, platform::file_open(temp.name(), options, &file));
                options.share = second;
                options.disposition = how;
                options.access = how == Disposition::open_existing ? Access::read : Access::read_write;
                int64_t other = kNoFile;
                const bool is_alone = first == Share::none || second == Share::none;
                if (is_alone) {
                    EXPECT_EQ(Status::denied, platform::file_open(temp.name(), options, &other));
                    EXPECT_EQ(4, position_of(file, true)) << "its text is there";
                } else if (how == Disposition::open_existing) {
                    ASSERT_EQ(Status::ok, platform::file_open(temp.name(), options, &other));
                    EXPECT_EQ(Status::ok, platform::file_close(other));
                }
                EXPECT_EQ(Status::ok, platform::file_close(file));
            }
}

} // namespace
} // namespace vk
