// Names and creation of temporary files.
#include "kernel/temp/Temp.h"

#include "Vkfiles.h"
#include "kernel/system/Text.h"
#include "platform/platform.h"

#include <atomic>
#include <chrono>
#include <cwchar>
#include <iterator>

namespace vk {

namespace {

constexpr size_t kNarrowName = 3 * kMaxTempName; ///< UTF-8 needs at most three bytes per 16-bit character
constexpr size_t kDigits = 16;
constexpr wchar_t kEnding[] = L".tmp";
/// What a name has behind directory and prefix, its final zero included.
constexpr size_t kMadeUp = kDigits + std::size(kEnding);

std::atomic<uint64_t> g_made_up{0};

/// A number that is not used twice: the time tells processes apart, the counter calls at one time.
uint64_t unique_number() noexcept
{
    const auto now = std::chrono::system_clock::now().time_since_epoch().count();
    return static_cast<uint64_t>(now) * 0x10000 + g_made_up.fetch_add(1) % 0x10000;
}

/// A name for a file that the system knows nothing of.
bool make_up_name(const wchar_t* directory, const wchar_t* prefix, wchar_t* name) noexcept
{
    const size_t first = std::wcslen(directory);
    const size_t second = std::wcslen(prefix);
    if (first + second + kMadeUp > kMaxTempName)
        return false;
    std::wmemcpy(name, directory, first);
    std::wmemcpy(name + first, prefix, second);
    wchar_t* end = name + first + second;
    uint64_t number = unique_number();
    for (size_t i = 0; i < kDigits; ++i, number >>= 4)
        *end++ = L"0123456789abcdef"[number & 15];
    std::wmemcpy(end, kEnding, std::size(kEnding));
    return true;
}

} // namespace

bool opens_in_system(const redirect::Table& table) noexcept
{
    return table.slots[redirect::kOpen].function == redirect::default_table().slots[redirect::kOpen].function;
}

int temp_directory(wchar_t* directory, uint32_t length) noexcept
{
    switch (platform::temp_directory(directory, length)) {
    case Status::ok:
        return V_SUCCESS;
    case Status::too_long:
        return V_ERROR_BUFFER_TOO_SMALL;
    case Status::bad_name:
        return V_ERROR_INVALID_FILENAME;
    default:
        return V_ERROR_NO_MEMORY;
    }
}

int usable_temp_directory(wchar_t* directory) noexcept
{
    const int result = temp_directory(directory, kMaxTempName);
    if (result != V_SUCCESS)
        return result == V_ERROR_BUFFER_TOO_SMALL ? V_ERROR_INVALID_FILENAME : result;
    return std::wcslen(directory) + std::size(kDefaultPrefix) - 1 + kMadeUp <= kMaxTempName ? V_SUCCESS
                                                                                            : V_ERROR_INVALID_FILENAME;
}

int check_temp_directory() noexcept
{
    wchar_t directory[kMaxTempName];
    return usable_temp_directory(directory);
}

int make_temp_name(const redirect::Table& table, const wchar_t* prefix, wchar_t* name) noexcept
{
    wchar_t directory[kMaxTempName];
    if (const int result = usable_temp_directory(directory); result != V_SUCCESS)
        return result;
    if (!opens_in_system(table))
        return make_up_name(directory, prefix, name) ? V_SUCCESS : V_ERROR_NO_MEMORY;
    return platform::temp_name(directory, prefix, name) == Status::ok ? V_SUCCESS : V_ERROR_NO_MEMORY;
}

int temp_name_utf8(char* name, const char* prefix) noexcept
{
    wchar_t wide_prefix[kMaxTempName];
    // A prefix that cannot be read leaves no system error behind, which maps to this code.
    if (prefix && !utf8_to_wide(prefix, wide_prefix, kMaxTempName))
        return V_ERROR_NO_DISK_SPACE;
    const redirect::Table table = redirect::temp_table();
    wchar_t wide[kMaxTempName];
    const int result = make_temp_name(table, prefix ? wide_prefix : kDefaultPrefix, wide);
    if (result != V_SUCCESS)
        return result;
    if (!wide_to_utf8(wide, name, kNarrowName)) {
        if (opens_in_system(table))
            V_OsDelete(wide);
        return V_ERROR_FILE_READ;
    }
    return V_SUCCESS;
}

} // namespace vk
