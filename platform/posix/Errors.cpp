// Translation of errno values to Status, for the whole back end.
#include "platform/posix/Posix.h"

#include <cerrno>

namespace vk::backend::posix {

Status to_status(int error) noexcept
{
    switch (error) {
    case ENOMEM:
    case EMFILE:
    case ENFILE:
    case EAGAIN: // too much memory locked
        return Status::no_memory;
    case ENOENT:
    case ENOTDIR:
        return Status::not_found;
    case EEXIST:
        return Status::exists;
    case EACCES:
    case EPERM:
    case EROFS:
    case EISDIR:
    case EBUSY:
    case ETXTBSY:
    case ELOOP: // a symbolic link where none may be
        return Status::denied;
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
        return Status::disk_full;
    case EBADF:
        return Status::bad_handle;
    case ENAMETOOLONG:
    case EILSEQ:
        return Status::bad_name;
    case EOPNOTSUPP:
    case ENOSYS:
    case ENODEV:
        return Status::unsupported;
    default:
        return Status::failed;
    }
}

Status last_status() noexcept
{
    return to_status(errno);
}

} // namespace vk::backend::posix

namespace vk::backend {

void set_last_error(Status status) noexcept
{
    errno = status == Status::exists ? EEXIST : EIO;
}

} // namespace vk::backend
