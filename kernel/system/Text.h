// UTF-8 to and from the platform's wide characters (16-bit UTF-16 or 32-bit). Strict: malformed input is refused.
#pragma once

#include <cstddef>

namespace vk {

/// Converts a zero-terminated string; false when it is malformed or does not fit `capacity` with its zero.
bool utf8_to_wide(const char* text, wchar_t* out, size_t capacity) noexcept;
bool wide_to_utf8(const wchar_t* text, char* out, size_t capacity) noexcept;

} // namespace vk
