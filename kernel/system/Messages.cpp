// The English texts of the result codes.
#include "kernel/system/Messages.h"

#include "Vkrecord.h"

namespace vk {

/// The text of a code. Two codes share one text on purpose: both say that memory ran out.
const char* message_of(int code) noexcept
{
    switch (code) {
    case V_SUCCESS:
        return "Success";
    case V_FAILURE:
        return "Function not successful";
    case V_SUCCESS_ABORT:
        return "Successful. You can quit now";
    case V_SUCCESS_DELETE_FILE:
        return "Function successful. Delete file before quiting";
    case V_SUCCESS_RETRY:
        return "Function successful. Retry the failed operation";
    case V_SUCCESS_IGNORE_MARKER:
        return "Successful. Ignore this marker";
    case V_ERROR_NO_MEMORY:
    case V_ERROR_MEMORY_TOO_LARGE:
        return "Not enough memory available";
    case V_ERROR_INVALID_IMAGE:
        return "Invalid image";
    case V_ERROR_FILE_SEEK:
        return "Error seeking to position";
    case V_ERROR_FILE_WRITE:
        return "Error writing file";
    case V_ERROR_FILE_GONE:
        return "File not present - abort";
    case V_ERROR_FILE_READ:
        return "Error reading file";
    case V_ERROR_INVALID_FILENAME:
        return "Invalid filename specified";
    case V_ERROR_FILE_NOT_FOUND:
        return "File not found";
    case V_ERROR_INVALID_WIDTH_HEIGHT:
        return "Invalid width or height";
    case V_ERROR_INVALID_PARAMETER:
        return "Invalid parameter passed";
    case V_ERROR_FILE_OPEN:
        return "Not able to open file";
    case V_ERROR_FEATURE_NOT_SUPPORTED:
        return "Feature not supported. This version of the library cannot do it, or not for this kind of bitmap";
    case V_ERROR_INVALID_BITS_PER_PIXEL:
        return "Invalid bits per pixel";
    case V_ERROR_USER_ABORT:
        return "Escape key pressed - or user aborted operation";
    case V_ERROR_INTERNAL:
        return "Internal error";
    case V_ERROR_INVALID_TILE:
        return "Invalid tile";
    case V_ERROR_INVALID_HANDLE:
        return "Invalid handle";
    case V_ERROR_BUFFER_TOO_SMALL:
        return "The buffer size is too small";
    case V_ERROR_NO_DISK_SPACE:
        return "Not enough disk space";
    case V_ERROR_INVALID_STRUCT_SIZE:
        return "The structure size is invalid";
    case V_ERROR_NULL_PTR:
        return "A NULL pointer was passed";
    case V_ERROR_INVALID_LUT_LENGTH:
        return "The LUT length is invalid. LUTLength should be 1 << (HighBit - LowBit + 1)";
    default:
        return "Internal or Unrecognized Error!";
    }
}

} // namespace vk
