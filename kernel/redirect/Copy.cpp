// The library's own copy operation: between plain files, redirected files and redirected temporary files.
#include "Vkfiles.h"
#include "kernel/redirect/File.h"
#include "platform/platform.h"

#include <cwchar>

namespace vk::redirect {

namespace {

constexpr size_t kChunk = 32768;
constexpr uint32_t kSources = COPYREDIRECT_SRC_FILE | COPYREDIRECT_SRC_OPEN | COPYREDIRECT_SRC_TEMP;
constexpr uint32_t kDestinations = COPYREDIRECT_DST_FILE | COPYREDIRECT_DST_OPEN | COPYREDIRECT_DST_TEMP;
/// A destination's bits become the source's of the same kind.
constexpr unsigned kDestinationShift = 3;

/// One side of a copy, of a kind that a source bit names; of several bits the lowest counts.
class Side {
public:
    Side(const wchar_t* name, uint32_t kind, int flags, int mode) noexcept
    {
        if (kind & COPYREDIRECT_SRC_FILE) {
            const int64_t handle = V_OsOpen(name, flags, mode, nullptr);
            file_ = handle == kNoFile ? nullptr : wrap(default_table(), handle, Kind::given);
            if (handle != kNoFile && !file_)
                V_OsClose(handle, nullptr);
        } else {
            file_ = open_named(kind & COPYREDIRECT_SRC_OPEN ? effective_table() : temp_table(), name, flags, mode);
        }
    }
    ~Side() { close(); }
    Side(const Side&) = delete;
    Side& operator=(const Side&) = delete;

    explicit operator bool() const noexcept { return file_ != nullptr; }

    int64_t read(void* buffer) const noexcept { return call_read(file_->table, file_->handle, buffer, kChunk); }

    bool write(const uint8_t* buffer, size_t bytes) const noexcept
    {
        for (size_t done = 0; done < bytes;) {
            const int64_t moved = call_write(file_->table, file_->handle, buffer + done, bytes - done);
            if (moved <= 0)
                return false;
            done += static_cast<size_t>(moved);
        }
        return true;
    }

    /// False when the operation reports a failure; nobody could try again, so the record goes all the same.
    bool close() noexcept
    {
        if (!file_)
            return true;
        const bool closed = call_close(file_->table, file_->handle) >= 0;
        release(file_);
        file_ = nullptr;
        return closed;
    }

private:
    File* file_ = nullptr;
};

bool exists(const wchar_t* name, uint32_t kind) noexcept
{
    return static_cast<bool>(Side(name, kind, V_OPENFLAG_READ, V_OPENMODE_READ));
}

int copy_all(const Side& from, const Side& to, uint8_t* chunk) noexcept
{
    for (;;) {
        const int64_t moved = from.read(chunk);
        if (moved == 0)
            return V_SUCCESS;
        if (moved < 0)
            return V_ERROR_FILE_READ;
        if (!to.write(chunk, static_cast<size_t>(moved)))
            return V_ERROR_FILE_WRITE;
    }
}

int copy_with(const wchar_t* source, uint32_t from_kind, const wchar_t* destination, uint32_t to_kind,
              uint8_t* chunk) noexcept
{
    const Side from(source, from_kind, V_OPENFLAG_READ, V_OPENMODE_READ);
    if (!from)
        return V_FAILURE;
    // Creating the destination would empty the source.
    if (destination && from_kind == to_kind && std::wcscmp(source, destination) == 0)
        return V_FAILURE;
    Side to(destination, to_kind, V_OPENFLAG_CREATE | V_OPENFLAG_TRUNCATE | V_OPENFLAG_READWRITE, V_OPENMODE_READWRITE);
    if (!to)
        return V_FAILURE;
    const int result = copy_all(from, to, chunk);
    return !to.close() && result == V_SUCCESS ? V_ERROR_FILE_WRITE : result;
}

} // namespace

int default_copy(const wchar_t* source, const wchar_t* destination, uint32_t flags) noexcept
{
    const uint32_t from_kind = flags & kSources;
    const uint32_t to_kind = (flags & kDestinations) >> kDestinationShift;
    if (from_kind == 0 || to_kind == 0)
        return V_ERROR_INVALID_PARAMETER;
    if ((flags & COPYREDIRECT_NOREPLACE) && exists(destination, to_kind)) {
        platform::set_last_error(Status::exists);
        return V_FAILURE;
    }
    auto* const chunk = static_cast<uint8_t*>(platform::heap_alloc(kChunk));
    if (!chunk)
        return V_ERROR_NO_MEMORY;
    const int result = copy_with(source, from_kind, destination, to_kind, chunk);
    platform::heap_free(chunk);
    return result;
}

} // namespace vk::redirect
