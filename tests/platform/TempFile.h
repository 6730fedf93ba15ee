// A temporary file's name for the tests of the platform layer, deleted at the end whatever happened to the file.
#pragma once

#include "platform/platform.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

namespace vk::testing {

class TempFile {
public:
    TempFile()
    {
        wchar_t directory[kMaxTempName];
        wchar_t name[kMaxTempName] = {};
        EXPECT_EQ(Status::ok, backend::temp_directory(directory, kMaxTempName));
        EXPECT_EQ(Status::ok, backend::temp_name(directory, L"vt", name));
        name_ = name;
    }
    ~TempFile() { backend::file_delete(name_.c_str()); }
    TempFile(const TempFile&) = delete;
    TempFile& operator=(const TempFile&) = delete;

    const wchar_t* name() const { return name_.c_str(); }

    /// Opens it anew for reading and writing; kNoFile with a failed expectation when that does not work.
    int64_t open(Disposition disposition = Disposition::open_existing) const
    {
        OpenOptions options;
        options.access = Access::read_write;
        options.share = Share::read_write;
        options.disposition = disposition;
        int64_t file = kNoFile;
        EXPECT_EQ(Status::ok, platform::file_open(name(), options, &file));
        return file;
    }

    bool exists() const
    {
        OpenOptions options;
        options.share = Share::read_write;
        int64_t file = kNoFile;
        if (backend::file_open(name(), options, &file) != Status::ok)
            return false;
        backend::file_close(file);
        return true;
    }

private:
    std::wstring name_;
};

/// The current position, or with `end` the size (the position moves there).
inline int64_t position_of(int64_t file, bool end = false)
{
    int64_t position = -1;
    EXPECT_EQ(Status::ok, platform::file_seek(file, 0, end ? Origin::end : Origin::current, &position));
    return position;
}

inline void seek_to(int64_t file, int64_t offset)
{
    int64_t position = -1;
    EXPECT_EQ(Status::ok, platform::file_seek(file, offset, Origin::start, &position));
    EXPECT_EQ(offset, position);
}

inline void write_at(int64_t file, int64_t offset, const std::string& text)
{
    size_t moved = 0;
    seek_to(file, offset);
    EXPECT_EQ(Status::ok, platform::file_write(file, text.data(), text.size(), &moved));
    EXPECT_EQ(text.size(), moved);
}

/// What can be read of `bytes` at an offset.
inline std::string read_at(int64_t file, int64_t offset, size_t bytes)
{
    std::string text(bytes, '?');
    size_t moved = 0;
    seek_to(file, offset);
    EXPECT_EQ(Status::ok, platform::file_read(file, text.data(), bytes, &moved));
    text.resize(moved);
    return text;
}

} // namespace vk::testing
