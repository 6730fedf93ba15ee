// The surroundings of the process, changed for the length of a scope: where temporary files go, how large a file may
// get, a disk that is soon full, and how much memory is in use.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>

namespace vk::testing {

/// A new empty directory, gone with all its files at the end of the scope.
class ScratchDirectory {
public:
    ScratchDirectory();
    ~ScratchDirectory();
    ScratchDirectory(const ScratchDirectory&) = delete;
    ScratchDirectory& operator=(const ScratchDirectory&) = delete;

    const std::filesystem::path& path() const { return path_; }
    size_t files() const;

private:
    std::filesystem::path path_;
};

/// Files where temporary files go now; of a test program's own, that is a directory that is empty at first and gone in
/// the end.
size_t temporary_files();
void remove_temporary_files();

/// Sends temporary files to a directory, which need not be there.
class TempFilesIn {
public:
    explicit TempFilesIn(const std::filesystem::path& directory);
    ~TempFilesIn();
    TempFilesIn(const TempFilesIn&) = delete;
    TempFilesIn& operator=(const TempFilesIn&) = delete;

private:
    std::filesystem::path before_;
};

/// Keeps files from growing past a size, where the system can do that.
class FileSizeLimit {
public:
    explicit FileSizeLimit(uint64_t bytes);
    ~FileSizeLimit();
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

    bool holds() const { return holds_; }

private:
    bool holds_ = false;
    uint64_t before_ = 0;
};

/// A small disk of its own at a directory, where the system and the user's rights allow it.
class SmallDisk {
public:
    SmallDisk(const std::filesystem::path& at, size_t bytes);
    ~SmallDisk();
    SmallDisk(const SmallDisk&) = delete;
    SmallDisk& operator=(const SmallDisk&) = delete;

    bool is_there() const { return is_there_; }

private:
    std::filesystem::path at_;
    bool is_there_ = false;
};

/// Bytes of physical memory that the process takes now.
uint64_t resident_bytes();

} // namespace vk::testing
