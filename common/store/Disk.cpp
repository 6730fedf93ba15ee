// Disk storage: one temporary file of exactly the data size, whose handle is the record's `Handle`. Row n lies at
// n * BytesPerLine; the file is gone when the handle closes.
#include "common/Checks.h"
#include "common/Osys.h"
#include "common/TempFile.h"
#include "common/store/Store.h"
#include "platform/platform.h"

namespace vk {

namespace {

int64_t file_of(const BITMAPHANDLE& bitmap) noexcept
{
    return reinterpret_cast<intptr_t>(bitmap.Handle);
}

int create(BITMAPHANDLE& bitmap, const StoreRequest& request) noexcept
{
    if (request.files_forbidden || request.bytes > INT64_MAX)
        return V_ERROR_NO_MEMORY;
    const int64_t file = create_storage_file();
    if (file == kNoFile)
        return V_ERROR_NO_MEMORY;
    const uint8_t last = 0;
    if (osys::write_at(file, request.bytes - 1, &last, 1) != 1) {
        V_OsClose(file, nullptr);
        return V_ERROR_NO_MEMORY;
    }
    bitmap.Handle = reinterpret_cast<void*>(static_cast<intptr_t>(file));
    bitmap.Data = nullptr;
    bitmap.DataOffset = 0;
    bitmap.Flags |= BITMAPFLAG_DISKMEMORY;
    bitmap.Flags &= ~(BITMAPFLAG_GLOBAL | BITMAPFLAG_MIRROR);
    return V_SUCCESS;
}

intptr_t read(BITMAPHANDLE& bitmap, uint64_t position, void* buffer, size_t bytes) noexcept
{
    return osys::read_at(file_of(bitmap), position, buffer, bytes);
}

intptr_t write(BITMAPHANDLE& bitmap, uint64_t position, const void* buffer, size_t bytes) noexcept
{
    return osys::write_at(file_of(bitmap), position, buffer, bytes);
}

int resize(BITMAPHANDLE& bitmap, int32_t height) noexcept
{
    const uint64_t bytes = static_cast<uint64_t>(bitmap.BytesPerLine) * static_cast<uint32_t>(height);
    if (bytes > INT64_MAX || V_OsSetFileSize(file_of(bitmap), static_cast<int64_t>(bytes)) != 0)
        return V_ERROR_NO_MEMORY;
    return V_SUCCESS;
}

void figures(const BITMAPHANDLE&, StoreFigures&) noexcept {}

void destroy(BITMAPHANDLE& bitmap) noexcept
{
    V_OsClose(file_of(bitmap), nullptr); // a failing close frees the handle all the same
}

} // namespace

const Store kDiskStore = {
    .name = "disk",
    .memory_type = TYPE_DISK,
    .before_start = V_ERROR_FILE_SEEK,
    .read_past_end = V_ERROR_FILE_READ,
    .create = create,
    .extent = plain_size,
    .read = read,
    .write = write,
    .resize = resize,
    .recount = plain_size,
    .figures = figures,
    .destroy = destroy,
};

} // namespace vk
