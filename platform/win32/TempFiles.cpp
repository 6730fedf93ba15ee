// The directory of temporary files, and new files with unique names in it, from the system's own services.
//
// The directory belongs to the user, and files inherit its protection: that is what keeps them to their owner. The
// system uses the first three characters of a prefix.
#include "platform/win32/Win32.h"

#include <atomic>
#include <cwchar>

namespace vk::backend {

namespace {

constexpr int kAttempts = 100;

/// A number that is hardly used twice; whether somebody has the name already is for the system to say.
uint64_t unusual_number() noexcept
{
    static std::atomic<uint64_t> counter{0};
    LARGE_INTEGER ticks{};
    QueryPerformanceCounter(&ticks);
    return (static_cast<uint64_t>(ticks.QuadPart) ^ uint64_t{GetCurrentProcessId()} << 40) +
           counter.fetch_add(0x9E3779B97F4A7C15u);
}

/// A name in a directory; false when it is too long.
bool compose(const wchar_t* directory, const wchar_t* prefix, wchar_t (&name)[MAX_PATH]) noexcept
{
    wchar_t digits[17] = {};
    uint64_t number = unusual_number();
    for (int i = 0; i < 16; ++i, number >>= 4)
        digits[i] = L"0123456789abcdef"[number & 15];
    const size_t used = std::wcslen(directory);
    const wchar_t* const between = used != 0 && directory[used - 1] == L'\\' ? L"" : L"\\";
    const wchar_t* const parts[] = {directory, between, prefix, digits, L".tmp"};
    size_t length = 0;
    for (const wchar_t* const part : parts) {
        const size_t more = std::wcslen(part);
        if (length + more >= MAX_PATH)
            return false;
        std::wmemcpy(name + length, part, more + 1);
        length += more;
    }
    return true;
}

} // namespace

static_assert(kMaxTempName >= MAX_PATH, "GetTempFileNameW writes up to MAX_PATH characters");

Status temp_directory(wchar_t* directory, size_t length) noexcept
{
    if (directory == nullptr)
        return Status::bad_name;
    if (length == 0)
        return Status::too_long;
    wchar_t path[MAX_PATH + 1];
    const DWORD used = GetTempPathW(MAX_PATH + 1, path);
    if (used == 0)
        return win32::last_status();
    if (used > MAX_PATH || used >= length)
        return Status::too_long;
    std::wmemcpy(directory, path, used + size_t{1});
    return Status::ok;
}

Status temp_name(const wchar_t* directory, const wchar_t* prefix, wchar_t* name) noexcept
{
    if (directory == nullptr || prefix == nullptr || *directory == 0 || std::wcspbrk(prefix, L"\\/:") != nullptr)
        return Status::bad_name;
    wchar_t made[MAX_PATH];
    if (GetTempFileNameW(directory, prefix, 0, made) == 0)
        return win32::last_status();
    std::wmemcpy(name, made, std::wcslen(made) + 1);
    return Status::ok;
}

Status temp_file(const wchar_t* directory, const wchar_t* prefix, int64_t* file) noexcept
{
    if (directory == nullptr || prefix == nullptr || *directory == 0 || std::wcspbrk(prefix, L"\\/:") != nullptr)
        return Status::bad_name;
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        wchar_t name[MAX_PATH];
        if (!compose(directory, prefix, name))
            return Status::bad_name;
        const HANDLE made =
            CreateFileW(name, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                        nullptr, CREATE_NEW, FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE, nullptr);
        if (made != INVALID_HANDLE_VALUE) {
            *file = reinterpret_cast<intptr_t>(made);
            return Status::ok;
        }
        if (GetLastError() != ERROR_FILE_EXISTS)
            return win32::last_status();
    }
    return Status::exists;
}

} // namespace vk::backend
