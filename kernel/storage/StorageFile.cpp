// Storage files: the system's through the file layer, others through the operations they were opened with.
#include "kernel/storage/StorageFile.h"

#include "Vkfiles.h"
#include "Vkredirect.h"
#include "kernel/files/Files.h"
#include "kernel/redirect/File.h"
#include "kernel/temp/Temp.h"

#include <cwchar>

namespace vk::storage_file {

namespace {

constexpr int kFlags = V_OPENFLAG_CREATE | V_OPENFLAG_TRUNCATE | V_OPENFLAG_READWRITE | V_OPENFLAG_TEMPORARY;
constexpr wchar_t kPrefix[] = L"VD";

int open_plain(StorageFile& file) noexcept
{
    wchar_t directory[kMaxTempName];
    if (const int result = usable_temp_directory(directory); result != V_SUCCESS)
        return result;
    return platform::temp_file(directory, kPrefix, &file.handle) == Status::ok ? V_SUCCESS : V_ERROR_NO_MEMORY;
}

/// Closes a redirected file for good, and has it deleted in case its maker does not do so by itself.
void give_up(redirect::File* file) noexcept
{
    redirect::call_close(file->table, file->handle);
    if (file->delete_name)
        redirect::call_delete_redirected(file->table, file->delete_name);
    redirect::release(file);
}

bool open_redirected(StorageFile& file, const redirect::Table& table, const wchar_t* name) noexcept
{
    const size_t length = std::wcslen(name) + 1;
    auto* const kept = static_cast<wchar_t*>(platform::heap_alloc(length * sizeof(wchar_t)));
    if (!kept)
        return false;
    std::wmemcpy(kept, name, length);
    file.redirected = redirect::open_with(table, name, kFlags, V_OPENMODE_READWRITE, redirect::Kind::current_table);
    if (!file.redirected) {
        platform::heap_free(kept);
        return false;
    }
    file.redirected->delete_name = kept;
    file.handle = file.redirected->handle;
    return true;
}

} // namespace

int open(StorageFile& file) noexcept
{
    const redirect::Table table = redirect::temp_table();
    if (redirect::is_plain(table))
        return open_plain(file);
    wchar_t name[kMaxTempName];
    if (const int result = make_temp_name(table, kPrefix, name); result != V_SUCCESS)
        return result;
    const bool opened = open_redirected(file, table, name);
    if (!opened && opens_in_system(table))
        V_OsDelete(name);
    return opened ? V_SUCCESS : V_ERROR_NO_MEMORY;
}

void close(StorageFile& file) noexcept
{
    if (file.redirected)
        give_up(file.redirected);
    else if (file.is_open())
        V_OsClose(file.handle, nullptr); // a failing close frees the handle all the same
    file = {};
}

intptr_t read_at(const StorageFile& file, uint64_t position, void* buffer, size_t bytes) noexcept
{
    return file.redirected ? redirect::read_at(*file.redirected, position, buffer, bytes)
                           : osys::read_at(file.handle, position, buffer, bytes);
}

intptr_t write_at(const StorageFile& file, uint64_t position, const void* buffer, size_t bytes) noexcept
{
    if (bytes == 0) // an operation would cut the file here
        return 0;
    return file.redirected ? redirect::write_at(*file.redirected, position, buffer, bytes)
                           : osys::write_at(file.handle, position, buffer, bytes);
}

bool set_size(const StorageFile& file, uint64_t size) noexcept
{
    if (size > INT64_MAX)
        return false;
    if (!file.redirected)
        return osys::set_size(file.handle, size);
    const int64_t now = redirect::size_of(*file.redirected);
    if (now < 0 || static_cast<uint64_t>(now) >= size)
        return now >= 0 && cut(file, size);
    const uint8_t last = 0; // there is no operation that extends a file but writing
    return write_at(file, size - 1, &last, 1) == 1;
}

bool cut(const StorageFile& file, uint64_t size) noexcept
{
    if (!file.redirected)
        return set_size(file, size);
    const int64_t now = redirect::size_of(*file.redirected);
    return now >= 0 && (static_cast<uint64_t>(now) <= size || redirect::cut(*file.redirected, size));
}

} // namespace vk::storage_file
