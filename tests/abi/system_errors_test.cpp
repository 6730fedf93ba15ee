// Including code may keep the system's error macros; the library's codes are then reached through their V_ names.
#if defined(_WIN32)
#include <windows.h>
#endif
#define VKKRNX_KEEP_SYSTEM_ERRORS
#include "Vkkrnx.h"

#include <gtest/gtest.h>

#if defined(_WIN32)
static_assert(ERROR_FILE_NOT_FOUND == 2 && ERROR_INVALID_HANDLE == 6 && ERROR_INVALID_PARAMETER == 87);
#elif defined(ERROR_FILE_NOT_FOUND) || defined(ERROR_INVALID_HANDLE) || defined(ERROR_INVALID_PARAMETER)
#error "names the system does not have were left behind"
#endif

TEST(Header, LeavesSystemErrorsAlone)
{
    EXPECT_EQ(V_ERROR_INVALID_PARAMETER, V_GetDefaultMemoryType(nullptr));
}
