// Backing part of a file with disk space before it is written through a view.
//
// File systems without that service get zeros written where the file has none of its own. Data that is there is never
// written again, so the file's other users cannot lose a change to it.
#include "platform/posix/Posix.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vk::backend {

namespace posix {

namespace {

Status write_zeros(int file, int64_t offset, int64_t end) noexcept
{
    static constexpr uint8_t kZeros[65536] = {};
    while (offset < end) {
        const auto bytes = static_cast<size_t>(std::min<int64_t>(end - offset, sizeof kZeros));
        const ssize_t moved = pwrite(file, kZeros, bytes, offset);
        if (moved < 0 && errno != EINTR)
            return last_status();
        if (moved == 0)
            return Status::failed;
        offset += std::max<ssize_t>(moved, 0);
    }
    return Status::ok;
}

/// The start of the next hole or of the next data from `offset` on, at most `end`; -1 when the system cannot tell.
int64_t next(int file, int64_t offset, int64_t end, int whence) noexcept
{
    const off_t found = lseek(file, offset, whence);
    if (found >= 0)
        return std::min<int64_t>(found, end);
    return errno == ENXIO ? end : -1; // no data from there to the end
}

Status fill_holes(int file, int64_t offset, int64_t end) noexcept
{
    while (offset < end) {
        const int64_t hole = next(file, offset, end, SEEK_HOLE);
        const int64_t data = hole < 0 ? -1 : next(file, hole, end, SEEK_DATA);
        if (data < 0) // a file system that does not tell holes has none that could be filled safely
            return Status::ok;
        if (const Status status = write_zeros(file, hole, data); status != Status::ok)
            return status;
        offset = data;
    }
    return Status::ok;
}

} // namespace

Status reserve_by_writing(int file, int64_t offset, int64_t end) noexcept
{
    struct stat info = {};
    if (fstat(file, &info) != 0)
        return last_status();
    const off_t position = lseek(file, 0, SEEK_CUR);
    if (position < 0)
        return last_status();
    Status status = fill_holes(file, offset, std::min<int64_t>(end, info.st_size));
    if (lseek(file, position, SEEK_SET) < 0) // looking for holes moved it
        return last_status();
    if (status == Status::ok)
        status = write_zeros(file, std::max<int64_t>(offset, info.st_size), end);
    return status;
}

} // namespace posix

Status file_reserve(int64_t file, int64_t offset, size_t bytes) noexcept
{
    if (file < 0 || file > INT_MAX)
        return Status::bad_handle;
    if (offset < 0 || bytes > static_cast<uint64_t>(INT64_MAX - offset))
        return Status::disk_full;
    if (bytes == 0)
        return Status::ok;
    const int64_t end = offset + static_cast<int64_t>(bytes);
    if (const Status status = posix::check_size_limit(end); status != Status::ok)
        return status;
    int result = 0;
    do
        result = fallocate(static_cast<int>(file), 0, offset, static_cast<off_t>(bytes));
    while (result != 0 && errno == EINTR);
    if (result == 0)
        return Status::ok;
    if (errno != EOPNOTSUPP && errno != ENOSYS)
        return posix::last_status();
    return posix::reserve_by_writing(static_cast<int>(file), offset, end);
}

} // namespace vk::backend
