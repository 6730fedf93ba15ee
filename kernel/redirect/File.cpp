// Records of open redirected files, and whole transfers through operations that may move less than asked for.
#include "kernel/redirect/File.h"

#include "kernel/redirect/Names.h"
#include "platform/platform.h"

#include <algorithm>
#include <new>

namespace vk::redirect {

namespace {

/// Largest piece of one transfer: a count that fits everybody's idea of an integer.
constexpr size_t kPiece = 0x7FFFFFF;

bool seek(const File& file, uint64_t position) noexcept
{
    const auto target = static_cast<int64_t>(position);
    return target >= 0 && call_seek(file.table, file.handle, target, 0) == target;
}

} // namespace

File* file_of(V_REDIRECTHANDLE handle) noexcept
{
    if (!handle || handle == no_file())
        return nullptr;
    File* const file = static_cast<File*>(handle);
    return file->magic == kMagicFile ? file : nullptr;
}

File* wrap(const Table& table, int64_t handle, Kind kind) noexcept
{
    void* const memory = platform::heap_alloc(sizeof(File));
    return memory ? new (memory) File{kMagicFile, handle, kind, table, nullptr} : nullptr;
}

File* open_with(const Table& table, const wchar_t* name, int flags, int mode, Kind kind) noexcept
{
    const int64_t handle = call_open(table, name, flags, mode);
    if (handle == kNoFile)
        return nullptr;
    File* const file = wrap(table, handle, kind);
    if (!file)
        call_close(table, handle);
    return file;
}

File* open_named(const Table& table, const wchar_t* name, int flags, int mode) noexcept
{
    if (!name)
        return nullptr;
    if (!is_registered_form(name))
        return open_with(table, name, flags, mode, Kind::current_table);
    Table registered;
    if (find_name(name, registered) != V_SUCCESS)
        return nullptr;
    return open_with(registered, name, flags, mode, Kind::given);
}

void release(File* file) noexcept
{
    file->magic = 0; // a second use of the handle is likelier to be noticed
    platform::heap_free(file->delete_name);
    platform::heap_free(file);
}

intptr_t read_at(const File& file, uint64_t position, void* buffer, size_t bytes) noexcept
{
    if (!seek(file, position))
        return V_ERROR_FILE_SEEK;
    for (size_t done = 0; done < bytes;) {
        const int64_t moved =
            call_read(file.table, file.handle, static_cast<uint8_t*>(buffer) + done, std::min(bytes - done, kPiece));
        if (moved <= 0)
            return V_ERROR_FILE_READ;
        done += static_cast<size_t>(moved);
    }
    return static_cast<intptr_t>(bytes);
}

intptr_t write_at(const File& file, uint64_t position, const void* buffer, size_t bytes) noexcept
{
    if (!seek(file, position))
        return V_ERROR_FILE_SEEK;
    for (size_t done = 0; done < bytes;) { // a write of nothing would cut the file
        const int64_t moved = call_write(file.table, file.handle, static_cast<const uint8_t*>(buffer) + done,
                                         std::min(bytes - done, kPiece));
        if (moved <= 0)
            return V_ERROR_FILE_WRITE;
        done += static_cast<size_t>(moved);
    }
    return static_cast<intptr_t>(bytes);
}

bool cut(const File& file, uint64_t size) noexcept
{
    return seek(file, size) && call_write(file.table, file.handle, nullptr, 0) == 0;
}

int64_t size_of(const File& file) noexcept
{
    return call_seek(file.table, file.handle, 0, 2);
}

} // namespace vk::redirect
