// An open redirected file: the handle that an open operation returned, with a copy of the operations that go with it.
//
// The record is what V_REDIRECTHANDLE points to. It is valid between its making and its release; closing releases it
// only when the close operation agrees.
#pragma once

#include "kernel/redirect/Table.h"

namespace vk::redirect {

constexpr uint32_t kMagicFile = 'V' | 'F' << 8 | 'I' << 16 | 'L' << 24;

enum class Kind : uint32_t { current_table = 0, given = 4 };

struct File {
    uint32_t magic;
    int64_t handle;
    Kind kind;
    Table table;
    wchar_t* delete_name; ///< of a temporary file that is deleted when it has been closed, or null
};

inline V_REDIRECTHANDLE no_file() noexcept
{
    return reinterpret_cast<V_REDIRECTHANDLE>(intptr_t{-1});
}

/// The record behind a caller's handle; null when there is none.
File* file_of(V_REDIRECTHANDLE handle) noexcept;

/// A record for an open handle; null without memory.
File* wrap(const Table& table, int64_t handle, Kind kind) noexcept;
/// Opens a file and wraps it; null on any failure, nothing is then open.
File* open_with(const Table& table, const wchar_t* name, int flags, int mode, Kind kind) noexcept;
/// Opens a file with the operations registered for its name, or else with `table`.
File* open_named(const Table& table, const wchar_t* name, int flags, int mode) noexcept;
/// Frees the record and the name.
void release(File* file) noexcept;

/// Whole transfers at a position, in pieces that every operation can count. `bytes` or ERROR_FILE_SEEK,
/// ERROR_FILE_READ, ERROR_FILE_WRITE.
intptr_t read_at(const File& file, uint64_t position, void* buffer, size_t bytes) noexcept;
intptr_t write_at(const File& file, uint64_t position, const void* buffer, size_t bytes) noexcept;
/// Ends the file at a position that it reaches beyond. False on failure.
bool cut(const File& file, uint64_t size) noexcept;
/// Bytes in the file, or -1.
int64_t size_of(const File& file) noexcept;

} // namespace vk::redirect
