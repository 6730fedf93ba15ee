// The directory of temporary files, and new files with unique names in it.
//
// A file that nobody else is to find has no name at all, on file systems that know such files; elsewhere it loses its
// name at once. One with a name is made exclusively, never through a symbolic link, readable by its owner alone. The
// name's random part only keeps collisions rare; it is O_EXCL that makes the file ours.
#include "platform/posix/Posix.h"

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <cwchar>
#include <fcntl.h>
#include <sys/random.h>
#include <unistd.h>

namespace vk::backend {

namespace {

constexpr int kAttempts = 100;
constexpr size_t kRandomDigits = 16;

uint64_t random_number() noexcept
{
    uint64_t value = 0;
    if (getrandom(&value, sizeof value, GRND_NONBLOCK) == static_cast<ssize_t>(sizeof value))
        return value;
    // Early at boot there is no randomness yet; time, process and a counter are as unique, if not as secret.
    static std::atomic<uint64_t> counter{0};
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    const auto ticks = static_cast<uint64_t>(now.tv_sec) * 1000000000u + static_cast<uint64_t>(now.tv_nsec);
    return (ticks ^ static_cast<uint64_t>(getpid()) << 40) + counter.fetch_add(0x9E3779B97F4A7C15u);
}

/// A name under construction.
class Name {
public:
    explicit Name(wchar_t* text) noexcept : text_(text) { text_[0] = 0; }

    bool append(const wchar_t* part) noexcept
    {
        const size_t length = std::wcslen(part);
        if (length >= kMaxTempName - used_)
            return false;
        std::wmemcpy(text_ + used_, part, length + 1);
        used_ += length;
        return true;
    }

    bool ends_with(wchar_t last) const noexcept { return used_ != 0 && text_[used_ - 1] == last; }

private:
    wchar_t* text_;
    size_t used_ = 0;
};

Status compose(const wchar_t* directory, const wchar_t* prefix, wchar_t* text) noexcept
{
    wchar_t digits[kRandomDigits + 1];
    uint64_t random = random_number();
    for (size_t i = 0; i < kRandomDigits; ++i, random >>= 4)
        digits[i] = L"0123456789abcdef"[random & 15];
    digits[kRandomDigits] = 0;

    Name name(text);
    if (!name.append(directory) || (!name.ends_with(L'/') && !name.append(L"/")))
        return Status::bad_name;
    return name.append(prefix) && name.append(digits) && name.append(L".tmp") ? Status::ok : Status::bad_name;
}

/// Makes the file; false with errno set when it cannot.
bool make_exclusive(const char* path) noexcept
{
    int file = -1;
    do
        file = open(path, O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    while (file < 0 && errno == EINTR);
    if (file >= 0)
        close(file);
    return file >= 0;
}

} // namespace

Status temp_directory(wchar_t* directory, size_t length) noexcept
{
    if (directory == nullptr)
        return Status::bad_name;
    if (length == 0)
        return Status::too_long;
    // A program with raised rights does not let its caller say where its files go.
    const char* set = secure_getenv("TMPDIR");
    if (set == nullptr || *set == 0)
        set = "/tmp";
    if (const Status status = posix::from_utf8(set, directory, length); status != Status::ok)
        return status;
    const size_t used = std::wcslen(directory);
    if (directory[used - 1] == L'/')
        return Status::ok;
    if (used + 2 > length)
        return Status::too_long;
    directory[used] = L'/';
    directory[used + 1] = 0;
    return Status::ok;
}

Status temp_name(const wchar_t* directory, const wchar_t* prefix, wchar_t* name) noexcept
{
    if (directory == nullptr || prefix == nullptr || *directory == 0 || std::wcschr(prefix, L'/') != nullptr)
        return Status::bad_name;
    wchar_t candidate[kMaxTempName];
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        if (const Status status = compose(directory, prefix, candidate); status != Status::ok)
            return status;
        char path[posix::kMaxPath];
        if (const Status status = posix::to_utf8(candidate, path, sizeof path); status != Status::ok)
            return status;
        if (make_exclusive(path)) {
            std::wmemcpy(name, candidate, std::wcslen(candidate) + 1);
            return Status::ok;
        }
        if (errno != EEXIST)
            return posix::last_status();
    }
    return Status::exists;
}

Status temp_file(const wchar_t* directory, const wchar_t* prefix, int64_t* file) noexcept
{
    char path[posix::kMaxPath];
    if (const Status status = posix::to_utf8(directory, path, sizeof path); status != Status::ok)
        return status;
    int made = -1;
    do
        made = open(path, O_TMPFILE | O_EXCL | O_RDWR | O_CLOEXEC, 0600);
    while (made < 0 && errno == EINTR);
    if (made >= 0) {
        *file = made;
        return Status::ok;
    }
    wchar_t name[kMaxTempName];
    if (const Status status = temp_name(directory, prefix, name); status != Status::ok)
        return status;
    OpenOptions options;
    options.access = Access::read_write;
    options.share = Share::read_write;
    options.delete_on_close = true;
    const Status status = file_open(name, options, file);
    if (status != Status::ok)
        file_delete(name);
    return status;
}

} // namespace vk::backend
