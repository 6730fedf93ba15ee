// The one place where a Status becomes a result code.
//
// Statuses that mean the same whatever the operation have a code of their own; the rest take the caller's fallback,
// which names the operation that failed.
#include "platform/platform.h"

#include "Vkrecord.h"

namespace vk {

int to_result(Status status, int fallback) noexcept
{
    switch (status) {
    case Status::ok:
        return V_SUCCESS;
    case Status::no_memory:
        return V_ERROR_NO_MEMORY;
    case Status::not_found:
        return V_ERROR_FILE_NOT_FOUND;
    case Status::exists:
    case Status::denied:
        return V_ERROR_FILE_OPEN;
    case Status::disk_full:
        return V_ERROR_NO_DISK_SPACE;
    case Status::bad_handle:
        return V_ERROR_INVALID_HANDLE;
    case Status::bad_name:
    case Status::too_long:
        return V_ERROR_INVALID_FILENAME;
    case Status::unsupported:
        return V_ERROR_FEATURE_NOT_SUPPORTED;
    case Status::failed:
        break;
    }
    return fallback;
}

} // namespace vk
