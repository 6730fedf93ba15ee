/**
 * @file Failure.cpp
 * The library's failures in words.
 */
#include "tools/Failure.h"

namespace vk::tool {

void throw_library_error(intptr_t code, const std::string& doing)
{
    char text[512] = "";
    V_GetFriendlyErrorMessageA(static_cast<int>(code), text, sizeof text);
    throw OperationError(doing + ": " + text + " (code " + std::to_string(code) + ")");
}

} // namespace vk::tool
