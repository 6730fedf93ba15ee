// The file layer: thin wrappers over the platform's files, with results as plain numbers. They are the operations that
// every file access of the library goes through.
#include "kernel/files/Files.h"

#include "Vkfiles.h"
#include "Vkrecord.h"
#include "platform/platform.h"

#include <algorithm>

using namespace vk;

namespace {

/// Largest piece of one transfer of the Big functions.
constexpr uint64_t kPiece = 0x7FFFFFF;

constexpr int kCreateAlways = 0x100;
constexpr int kTruncateExisting = 0x200;
constexpr int kDeleteOnClose = 0x40;

int64_t open_file(const wchar_t* name, const OpenOptions& options) noexcept
{
    int64_t file = kNoFile;
    if (!name || platform::file_open(name, options, &file) != Status::ok)
        return kNoFile;
    return file;
}

/// Makes the current position the end of the file; the count of a write that asks for it is 0.
int64_t truncate_here(int64_t file) noexcept
{
    return platform::file_truncate(file) == Status::ok ? 0 : -1;
}

} // namespace

int64_t V_OsCreat(const wchar_t* pszName, int nMode) noexcept
{
    OpenOptions options;
    options.access = nMode & OSCREAT_READONLY ? Access::read : Access::read_write;
    options.share = Share::read_write;
    options.disposition = Disposition::create_always;
    options.read_only = (nMode & OSCREAT_READONLY) != 0;
    options.hidden = (nMode & OSCREAT_HIDDEN) != 0;
    options.system = (nMode & OSCREAT_SYSTEM) != 0;
    options.delete_on_close = (nMode & OSCREAT_DELETEONCLOSE) != 0;
    return open_file(pszName, options);
}

int64_t V_OsOpen(const wchar_t* pszName, int nAccess, int nShare, void*) noexcept
{
    OpenOptions options;
    switch (nAccess & 3) {
    case 0:
        options.access = Access::read;
        break;
    case 1:
        options.access = Access::write;
        break;
    default:
        options.access = Access::read_write;
        break;
    }
    if (nAccess & kCreateAlways)
        options.disposition = Disposition::create_always;
    else if (nAccess & kTruncateExisting)
        options.disposition = Disposition::truncate_existing;
    options.delete_on_close = (nAccess & kDeleteOnClose) != 0;
    if (nShare & 0x100)
        options.share = nShare & 0x80 ? Share::read_write : Share::read;
    return open_file(pszName, options);
}

int64_t V_OsRead(int64_t hFile, void* pBuffer, size_t uCount, void*) noexcept
{
    size_t moved = 0;
    if (!pBuffer || platform::file_read(hFile, pBuffer, uCount, &moved) != Status::ok)
        return -1;
    return static_cast<int64_t>(moved);
}

int64_t V_OsWrite(int64_t hFile, const void* pBuffer, size_t uCount, void*) noexcept
{
    if (uCount == 0)
        return truncate_here(hFile);
    size_t moved = 0;
    if (!pBuffer || platform::file_write(hFile, pBuffer, uCount, &moved) != Status::ok)
        return -1;
    return static_cast<int64_t>(moved);
}

int64_t V_OsSeek(int64_t hFile, int64_t nOffset, int nOrigin, void*) noexcept
{
    const Origin origin = nOrigin == 0 ? Origin::start : nOrigin == 1 ? Origin::current : Origin::end;
    int64_t position = 0;
    return platform::file_seek(hFile, nOffset, origin, &position) == Status::ok ? position : -1;
}

int V_OsClose(int64_t hFile, void*) noexcept
{
    return platform::file_close(hFile) == Status::ok ? 0 : -1;
}

int64_t V_OsReadBig(int64_t hFile, void* pBuffer, uint64_t uCount) noexcept
{
    if (uCount == 0)
        return 0;
    if (!pBuffer)
        return -1;
    for (uint64_t done = 0; done < uCount;) {
        const size_t piece = static_cast<size_t>(std::min(uCount - done, kPiece));
        const int64_t moved = V_OsRead(hFile, static_cast<uint8_t*>(pBuffer) + done, piece, nullptr);
        if (moved <= 0)
            return -1;
        done += static_cast<uint64_t>(moved);
    }
    return static_cast<int64_t>(uCount);
}

int64_t V_OsWriteBig(int64_t hFile, const void* pBuffer, uint64_t uCount) noexcept
{
    if (uCount == 0)
        return truncate_here(hFile);
    if (!pBuffer)
        return -1;
    for (uint64_t done = 0; done < uCount;) {
        const size_t piece = static_cast<size_t>(std::min(uCount - done, kPiece));
        const int64_t moved = V_OsWrite(hFile, static_cast<const uint8_t*>(pBuffer) + done, piece, nullptr);
        if (moved <= 0)
            return -1;
        done += static_cast<uint64_t>(moved);
    }
    return static_cast<int64_t>(uCount);
}

int V_OsDelete(const wchar_t* pszName) noexcept
{
    return pszName && platform::file_delete(pszName) == Status::ok ? 0 : -1;
}

int V_OsSetFileSize(int64_t hFile, int64_t nSize) noexcept
{
    if (nSize < 0 || V_OsSeek(hFile, nSize, 0, nullptr) != nSize)
        return -1;
    return platform::file_truncate(hFile) == Status::ok ? 0 : -1;
}

namespace vk::osys {

namespace {

/// Transfers in pieces until all is moved. False when one fails or moves nothing.
template <class Move> bool move_all(uint64_t position, size_t bytes, Move&& move) noexcept
{
    for (size_t done = 0; done < bytes;) {
        const auto piece = static_cast<size_t>(std::min<uint64_t>(bytes - done, kPiece));
        size_t moved = 0;
        if (move(static_cast<int64_t>(position + done), done, piece, &moved) != Status::ok || moved == 0)
            return false;
        done += moved;
    }
    return true;
}

bool is_position(uint64_t position, size_t bytes) noexcept
{
    return position <= INT64_MAX && bytes <= INT64_MAX - position;
}

} // namespace

intptr_t read_at(int64_t file, uint64_t position, void* buffer, size_t bytes) noexcept
{
    if (!is_position(position, bytes))
        return V_ERROR_FILE_SEEK;
    const auto read = [&](int64_t offset, size_t done, size_t piece, size_t* moved) noexcept {
        return platform::file_read_at(file, offset, static_cast<uint8_t*>(buffer) + done, piece, moved);
    };
    return move_all(position, bytes, read) ? static_cast<intptr_t>(bytes) : V_ERROR_FILE_READ;
}

intptr_t write_at(int64_t file, uint64_t position, const void* buffer, size_t bytes) noexcept
{
    if (!is_position(position, bytes))
        return V_ERROR_FILE_SEEK;
    const auto write = [&](int64_t offset, size_t done, size_t piece, size_t* moved) noexcept {
        return platform::file_write_at(file, offset, static_cast<const uint8_t*>(buffer) + done, piece, moved);
    };
    return move_all(position, bytes, write) ? static_cast<intptr_t>(bytes) : V_ERROR_FILE_WRITE;
}

bool set_size(int64_t file, uint64_t size) noexcept
{
    return size <= INT64_MAX && platform::file_set_size(file, static_cast<int64_t>(size)) == Status::ok;
}

} // namespace vk::osys
