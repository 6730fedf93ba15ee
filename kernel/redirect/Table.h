// The seven file operations as a table of slots: the library-wide table, what a thread puts in front of it, and calls
// through a table.
//
// A slot holds a function of any type as a number, so that all of them can be exchanged alike; only the call functions
// here know the types. Tables are plain values: they are copied out under the lock, and no lock is held while a user's
// operation runs. File.h wraps open files, Buffer.h and Names.h are the ready-made redirections.
#pragma once

#include "Vkrecord.h"
#include "Vkredirect.h"
#include "kernel/system/RedirectSlots.h"

#include <cstddef>
#include <cstdint>

namespace vk::redirect {

constexpr uintptr_t kNone = static_cast<uintptr_t>(V_REDIRECT_NONE);
constexpr uintptr_t kDefault = static_cast<uintptr_t>(V_REDIRECT_DEFAULT);

/// The record's operations, its size left out of account.
Table from_record(const REDIRECTFUNCTIONS& record) noexcept;
/// Writes a whole record.
void to_record(const Table& table, REDIRECTFUNCTIONS& record) noexcept;

/// The library's own operations, without user data.
const Table& default_table() noexcept;
/// Replaces each function that asks for it by the library's own.
void settle_defaults(Table& table) noexcept;

/// The table for the whole library.
Table library_table() noexcept;
/// Exchanges the operations that `table` has with those of the library.
void exchange_library(Table& table) noexcept;
/// The same with the calling thread's; `table` says kNone where the thread had none.
void exchange_thread(Table& table) noexcept;
/// Exchanges the functions that `incoming` has, and their user data, with those of `table`.
void exchange(Table& table, Table& incoming) noexcept;

/// What the calling thread opens files with, and temporary files, which no memory buffer takes.
Table effective_table() noexcept;
Table temp_table() noexcept;
/// Temporary files of the system, whatever is redirected.
const Table& plain_temp_table() noexcept;

/// True when the five file operations are the library's own.
bool is_plain(const Table& table) noexcept;

/// True when the system closes a table's files: whatever it says of the end of one, the handle is gone.
bool closes_in_system(const Table& table) noexcept;

/// Calls through a slot; an empty one gives -1. A count that no honest operation can return gives -1 too.
int64_t call_open(const Table& table, const wchar_t* name, int flags, int mode) noexcept;
int64_t call_read(const Table& table, int64_t file, void* buffer, size_t bytes) noexcept;
int64_t call_write(const Table& table, int64_t file, const void* buffer, size_t bytes) noexcept;
int64_t call_seek(const Table& table, int64_t file, int64_t offset, int origin) noexcept;
int call_close(const Table& table, int64_t file) noexcept;
/// Deletes a file of its maker's; the library's own operation has nothing to delete for redirected files.
void call_delete_redirected(const Table& table, const wchar_t* name) noexcept;

/// The library's own copy operation.
int default_copy(const wchar_t* source, const wchar_t* destination, uint32_t flags) noexcept;

} // namespace vk::redirect
