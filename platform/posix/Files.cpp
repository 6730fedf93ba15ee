// Files: descriptors, with every transfer complete in one call and no signal for a file that would grow too big.
//
// The hidden and system attributes have no counterpart here and are ignored. A file that is shared with nobody is
// locked against other opens by this library, in whatever process; the other share modes are one. A file to be deleted
// on close loses its name as soon as it is open, so it is gone after a crash too, and is never reached through a link.
#include "platform/posix/Posix.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vk::backend {

static_assert(sizeof(off_t) == 8, "files above 2 GiB");

using posix::last_status;

namespace {

/// The most one read or write call moves: what Linux takes, a multiple of the page size.
constexpr size_t kMaxTransfer = 0x7FFFF000;

/// The descriptor of a file handle, or -1, for which every call reports a bad handle.
int descriptor(int64_t file) noexcept
{
    return file < 0 || file > INT_MAX ? -1 : static_cast<int>(file);
}

int open_retrying(const char* path, int flags, mode_t mode) noexcept
{
    int file = -1;
    do
        file = open(path, flags, mode);
    while (file < 0 && errno == EINTR);
    return file;
}

int open_flags(const OpenOptions& options) noexcept
{
    int flags = O_CLOEXEC | O_NOCTTY;
    switch (options.access) {
    case Access::read:
        flags |= O_RDONLY;
        break;
    case Access::write:
        flags |= O_WRONLY;
        break;
    case Access::read_write:
        flags |= O_RDWR;
        break;
    }
    flags |= options.disposition == Disposition::create_always ? O_CREAT : 0; // emptied when it is ours to empty
    return flags | (options.delete_on_close ? O_NOFOLLOW : 0);
}

/// denied while another open, or this one, shares the file with nobody. Locks go with the descriptor and its copies. A
/// file system that has none lets everybody in.
Status lock_share(int file, Share share) noexcept
{
    int result = 0;
    do
        result = flock(file, LOCK_NB | (share == Share::none ? LOCK_EX : LOCK_SH));
    while (result != 0 && errno == EINTR);
    return result != 0 && errno == EWOULDBLOCK ? Status::denied : Status::ok;
}

/// A descriptor that only reads cannot be used to empty its file, which creating one for reading does.
int empty(int file, const char* path, Access access) noexcept
{
    int result = 0;
    do
        result = access == Access::read ? truncate(path, 0) : ftruncate(file, 0);
    while (result != 0 && errno == EINTR);
    return result;
}

/// What is left to do once the file is open; on failure the caller closes it.
Status finish_open(int file, const char* path, const OpenOptions& options) noexcept
{
    struct stat info = {};
    if (fstat(file, &info) != 0)
        return last_status();
    if (S_ISDIR(info.st_mode))
        return Status::denied;
    if (const Status status = lock_share(file, options.share); status != Status::ok)
        return status;
    const bool empties = options.disposition != Disposition::open_existing && S_ISREG(info.st_mode);
    if (empties && empty(file, path, options.access) != 0)
        return last_status();
    if (options.read_only && options.disposition == Disposition::create_always &&
        fchmod(file, info.st_mode & 07777 & ~static_cast<mode_t>(0222)) != 0)
        return last_status();
    if (options.delete_on_close && unlink(path) != 0)
        return last_status();
    return Status::ok;
}

/// Where a transfer takes place that has no position of its own.
constexpr int64_t kCurrent = -1;

/// disk_full when writing `bytes` would pass the size limit, which holds for regular files only.
Status check_write(int file, int64_t offset, size_t bytes) noexcept
{
    if (posix::check_size_limit(INT64_MAX) == Status::ok) // no limit at all, the usual case
        return Status::ok;
    struct stat info = {};
    const off_t position = offset == kCurrent ? lseek(file, 0, SEEK_CUR) : offset;
    if (position < 0 || fstat(file, &info) != 0 || !S_ISREG(info.st_mode))
        return Status::ok;
    if (bytes > static_cast<uint64_t>(INT64_MAX - position))
        return Status::disk_full;
    return posix::check_size_limit(position + static_cast<int64_t>(bytes));
}

Status read_all(int file, int64_t offset, void* buffer, size_t bytes, size_t* moved) noexcept
{
    auto* to = static_cast<uint8_t*>(buffer);
    size_t done = 0;
    while (done < bytes) {
        const size_t piece = std::min(bytes - done, kMaxTransfer);
        const ssize_t part = offset == kCurrent ? read(file, to + done, piece)
                                                : pread(file, to + done, piece, offset + static_cast<int64_t>(done));
        if (part < 0 && errno != EINTR)
            return last_status();
        if (part == 0)
            break;
        if (part > 0)
            done += static_cast<size_t>(part);
    }
    *moved = done;
    return Status::ok;
}

Status write_all(int file, int64_t offset, const void* buffer, size_t bytes, size_t* moved) noexcept
{
    if (const Status status = check_write(file, offset, bytes); status != Status::ok)
        return status;
    const auto* from = static_cast<const uint8_t*>(buffer);
    size_t done = 0;
    while (done < bytes) {
        const size_t piece = std::min(bytes - done, kMaxTransfer);
        const ssize_t part = offset == kCurrent ? write(file, from + done, piece)
                                                : pwrite(file, from + done, piece, offset + static_cast<int64_t>(done));
        if (part < 0 && errno != EINTR)
            return last_status();
        if (part == 0)
            return Status::failed;
        if (part > 0)
            done += static_cast<size_t>(part);
    }
    *moved = done;
    return Status::ok;
}

/// Cuts or extends a file; past the size limit nothing is tried.
Status set_size(int file, int64_t size) noexcept
{
    struct stat info = {};
    if (fstat(file, &info) != 0)
        return last_status();
    if (size > info.st_size) {
        if (const Status status = posix::check_size_limit(size); status != Status::ok)
            return status;
    }
    int result = 0;
    do
        result = ftruncate(file, size);
    while (result != 0 && errno == EINTR);
    return result == 0 ? Status::ok : last_status();
}

/// A position that a transfer of so many bytes may have.
bool is_position(int64_t offset, size_t bytes) noexcept
{
    return offset >= 0 && bytes <= static_cast<uint64_t>(INT64_MAX - offset);
}

} // namespace

Status posix::check_size_limit(int64_t end) noexcept
{
    rlimit limit{};
    if (getrlimit(RLIMIT_FSIZE, &limit) != 0)
        return last_status();
    return limit.rlim_cur != RLIM_INFINITY && static_cast<uint64_t>(end) > limit.rlim_cur ? Status::disk_full
                                                                                          : Status::ok;
}

Status file_open(const wchar_t* name, const OpenOptions& options, int64_t* file) noexcept
{
    char path[posix::kMaxPath];
    if (const Status status = posix::to_utf8(name, path, sizeof path); status != Status::ok)
        return status;
    // Windows refuses to empty a file that is opened for reading alone; POSIX leaves it open what happens.
    if (options.disposition == Disposition::truncate_existing && options.access == Access::read)
        return Status::failed;
    const int opened = open_retrying(path, open_flags(options), options.delete_on_close ? 0600 : 0666);
    if (opened < 0)
        return last_status();
    if (const Status status = finish_open(opened, path, options); status != Status::ok) {
        close(opened);
        return status;
    }
    *file = opened;
    return Status::ok;
}

Status file_read(int64_t file, void* buffer, size_t bytes, size_t* moved) noexcept
{
    return read_all(descriptor(file), kCurrent, buffer, bytes, moved);
}

Status file_write(int64_t file, const void* buffer, size_t bytes, size_t* moved) noexcept
{
    return write_all(descriptor(file), kCurrent, buffer, bytes, moved);
}

Status file_read_at(int64_t file, int64_t offset, void* buffer, size_t bytes, size_t* moved) noexcept
{
    return is_position(offset, bytes) ? read_all(descriptor(file), offset, buffer, bytes, moved) : Status::failed;
}

Status file_write_at(int64_t file, int64_t offset, const void* buffer, size_t bytes, size_t* moved) noexcept
{
    return is_position(offset, bytes) ? write_all(descriptor(file), offset, buffer, bytes, moved) : Status::disk_full;
}

Status file_set_size(int64_t file, int64_t size) noexcept
{
    return set_size(descriptor(file), size);
}

Status file_seek(int64_t file, int64_t offset, Origin origin, int64_t* position) noexcept
{
    const int whence = origin == Origin::start ? SEEK_SET : origin == Origin::current ? SEEK_CUR : SEEK_END;
    const off_t now = lseek(descriptor(file), offset, whence);
    if (now < 0)
        return last_status();
    *position = now;
    return Status::ok;
}

Status file_truncate(int64_t file) noexcept
{
    const off_t position = lseek(descriptor(file), 0, SEEK_CUR);
    return position < 0 ? last_status() : set_size(descriptor(file), position);
}

Status file_map(int64_t file, int64_t offset, size_t bytes, void** view) noexcept
{
    struct stat info = {};
    if (fstat(descriptor(file), &info) != 0)
        return last_status();
    // Touching a view past the end of its file would end the process.
    if (offset < 0 || offset > info.st_size || bytes > static_cast<uint64_t>(info.st_size - offset))
        return Status::failed;
    void* mapped = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor(file), offset);
    if (mapped == MAP_FAILED)
        return last_status();
    *view = mapped;
    return Status::ok;
}

void file_unmap(void* view, size_t bytes) noexcept
{
    if (view != nullptr)
        munmap(view, bytes);
}

Status file_close(int64_t file) noexcept
{
    // The descriptor is gone even when a signal came in between; trying again could close somebody else's.
    return close(descriptor(file)) == 0 || errno == EINTR ? Status::ok : last_status();
}

Status file_delete(const wchar_t* name) noexcept
{
    char path[posix::kMaxPath];
    if (const Status status = posix::to_utf8(name, path, sizeof path); status != Status::ok)
        return status;
    return unlink(path) == 0 ? Status::ok : last_status();
}

} // namespace vk::backend
