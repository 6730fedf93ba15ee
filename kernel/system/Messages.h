// The English texts of the result codes.
#pragma once

namespace vk {

/// The text of a code, or one that says that the code is unknown.
const char* message_of(int code) noexcept;

} // namespace vk
