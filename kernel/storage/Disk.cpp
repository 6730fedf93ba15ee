// Disk storage: one temporary file of exactly the data size. Row n lies at n * BytesPerLine; the file is gone when it
// is closed.
//
// The record's `Handle` is the file's handle; when files are redirected it is the redirected file, and `DataOffset`,
// which means nothing for disk storage otherwise, says so.
#include "kernel/redirect/File.h"
#include "kernel/storage/StorageFile.h"
#include "kernel/storage/Store.h"
#include "kernel/system/Checks.h"

namespace vk {

namespace {

constexpr int64_t kRedirected = 1;

StorageFile file_of(const BITMAPHANDLE& bitmap) noexcept
{
    if (bitmap.DataOffset != kRedirected)
        return {reinterpret_cast<intptr_t>(bitmap.Handle), nullptr};
    auto* const file = static_cast<redirect::File*>(bitmap.Handle);
    return {file->handle, file};
}

int create(BITMAPHANDLE& bitmap, const StoreRequest& request) noexcept
{
    if (request.files_forbidden || request.bytes > INT64_MAX)
        return V_ERROR_NO_MEMORY;
    StorageFile file;
    if (const int result = storage_file::open(file); result != V_SUCCESS)
        return result;
    const uint8_t last = 0;
    if (storage_file::write_at(file, request.bytes - 1, &last, 1) != 1) {
        storage_file::close(file);
        return V_ERROR_NO_MEMORY;
    }
    bitmap.Handle = file.redirected ? static_cast<void*>(file.redirected)
                                    : reinterpret_cast<void*>(static_cast<intptr_t>(file.handle));
    bitmap.Data = nullptr;
    bitmap.DataOffset = file.redirected ? kRedirected : 0;
    return V_SUCCESS;
}

intptr_t read(BITMAPHANDLE& bitmap, uint64_t position, void* buffer, size_t bytes) noexcept
{
    return storage_file::read_at(file_of(bitmap), position, buffer, bytes);
}

intptr_t write(BITMAPHANDLE& bitmap, uint64_t position, const void* buffer, size_t bytes) noexcept
{
    return storage_file::write_at(file_of(bitmap), position, buffer, bytes);
}

int resize(BITMAPHANDLE& bitmap, int32_t height) noexcept
{
    const uint64_t bytes = static_cast<uint64_t>(bitmap.BytesPerLine) * static_cast<uint32_t>(height);
    return storage_file::set_size(file_of(bitmap), bytes) ? V_SUCCESS : V_ERROR_NO_MEMORY;
}

void destroy(BITMAPHANDLE& bitmap) noexcept
{
    StorageFile file = file_of(bitmap);
    storage_file::close(file);
}

} // namespace

const StoreCalls kDiskCalls = {
    .create = create,
    .extent = plain_size,
    .read = read,
    .write = write,
    .resize = resize,
    .recount = plain_size,
    .figures = nullptr,
    .destroy = destroy,
};

} // namespace vk
