// Private header of the POSIX back end: what its files share.
//
// Only the files in this folder and the tests of what cannot be reached through platform.h include it.
#pragma once

#include "platform/platform.h"

#include <climits>
#include <cstddef>
#include <cstdint>
#include <ctime>

namespace vk::backend::posix {

/// The status of an errno value; the only place that translates one.
Status to_status(int error) noexcept;
/// The status of the call that just failed.
Status last_status() noexcept;

/// Room for a file name in UTF-8, with its final zero.
constexpr size_t kMaxPath = PATH_MAX;

/// Converts a wide string to UTF-8. bad_name: null, not Unicode, or longer than `room` with its zero.
Status to_utf8(const wchar_t* text, char* utf8, size_t room) noexcept;
/// Converts UTF-8 to a wide string. failed: not UTF-8; bad_name: longer than `room` characters with its zero.
Status from_utf8(const char* utf8, wchar_t* text, size_t room) noexcept;

/// disk_full when a file may not reach `end` bytes. A write past the limit would raise SIGXFSZ, whose default action
/// ends the process, so callers ask first.
Status check_size_limit(int64_t end) noexcept;

/// Backs [offset, end) with zeros where the file has none of its own, on file systems that cannot do it themselves.
Status reserve_by_writing(int file, int64_t offset, int64_t end) noexcept;

/// Says, for as long as it lives, that the calling thread waits. Where that is an item of the pool, another thread
/// takes its place meanwhile.
class ItemWaits {
public:
    ItemWaits() noexcept;
    ~ItemWaits();
    ItemWaits(const ItemWaits&) = delete;
    ItemWaits& operator=(const ItemWaits&) = delete;

private:
    bool is_item_;
};

/// A time of the monotonic clock.
timespec time_from_now(uint32_t milliseconds) noexcept;

} // namespace vk::backend::posix
