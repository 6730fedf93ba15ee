// The library-wide table under its lock, the thread's slots in front of it, and calls through slots.
#include "kernel/redirect/Table.h"

#include "Vkfiles.h"
#include "kernel/files/TempOptions.h"
#include "kernel/redirect/Buffer.h"
#include "kernel/system/LibraryLock.h"
#include "kernel/system/ThreadState.h"
#include "platform/platform.h"

#include <cstring>
#include <mutex>

namespace vk::redirect {

static_assert(sizeof(REDIRECTFUNCTIONS) == 120);
static_assert(sizeof(Table) == sizeof(REDIRECTFUNCTIONS) - offsetof(REDIRECTFUNCTIONS, Open));
static_assert(offsetof(REDIRECTFUNCTIONS, Delete) - offsetof(REDIRECTFUNCTIONS, Open) == kDelete * sizeof(Slot));

namespace {

template <typename Function> Slot slot_of(Function function) noexcept
{
    return {reinterpret_cast<uintptr_t>(function), nullptr};
}

int default_delete(const wchar_t* name) noexcept
{
    return V_OsDelete(name) == 0 ? V_SUCCESS : V_FAILURE;
}

/// Makes a temporary file, or opens one: it is gone when closed, and refused where no physical ones may be.
int64_t plain_temp_open(const wchar_t* name, int flags, int mode, void*) noexcept
{
    return temp_files_forbidden() ? kNoFile : V_OsOpen(name, flags | V_OPENFLAG_TEMPORARY, mode, nullptr);
}

Table make_default_table() noexcept
{
    return {{slot_of(&V_OsOpen), slot_of(&V_OsRead), slot_of(&V_OsWrite), slot_of(&V_OsSeek), slot_of(&V_OsClose),
             slot_of(&default_copy), slot_of(&default_delete)}};
}

Table make_plain_temp_table() noexcept
{
    Table table = make_default_table();
    table.slots[kOpen] = slot_of(&plain_temp_open);
    return table;
}

const Table kDefaultTable = make_default_table();
const Table kPlainTempTable = make_plain_temp_table();

/// The library-wide table; its operations may be called kDefault. It owns nothing.
constinit LibraryLock g_lock;
constinit Table g_table = {{{kDefault}, {kDefault}, {kDefault}, {kDefault}, {kDefault}, {kDefault}, {kDefault}}};

/// The slots of a thread in front of the library's.
void put_in_front(Table& table, const Table& own, bool past_buffers) noexcept
{
    for (size_t i = 0; i < kFileSlots; ++i) {
        const Slot slot = past_buffers ? behind_buffers(own.slots[i], i) : without_ended(own.slots[i], i);
        if (slot.function != 0 && slot.function != kNone)
            table.slots[i] = slot;
    }
}

/// The function of a slot as its type; null when there is none.
template <typename Function> Function function_of(const Table& table, size_t index) noexcept
{
    const uintptr_t function = table.slots[index].function;
    if (function == 0 || function == kNone)
        return nullptr;
    return reinterpret_cast<Function>(function == kDefault ? default_table().slots[index].function : function);
}

int64_t checked_count(int64_t moved, size_t bytes) noexcept
{
    return moved > 0 && static_cast<uint64_t>(moved) > bytes ? -1 : moved;
}

} // namespace

Table from_record(const REDIRECTFUNCTIONS& record) noexcept
{
    Table table;
    std::memcpy(&table, reinterpret_cast<const char*>(&record) + offsetof(REDIRECTFUNCTIONS, Open), sizeof table);
    return table;
}

void to_record(const Table& table, REDIRECTFUNCTIONS& record) noexcept
{
    record.StructSize = sizeof record;
    std::memcpy(reinterpret_cast<char*>(&record) + offsetof(REDIRECTFUNCTIONS, Open), &table, sizeof table);
}

const Table& default_table() noexcept
{
    return kDefaultTable;
}

const Table& plain_temp_table() noexcept
{
    return kPlainTempTable;
}

void settle_defaults(Table& table) noexcept
{
    for (size_t i = 0; i < kSlots; ++i) {
        if (table.slots[i].function == kDefault)
            table.slots[i].function = default_table().slots[i].function;
    }
}

void exchange(Table& table, Table& incoming) noexcept
{
    for (size_t i = 0; i < kSlots; ++i) {
        if (incoming.slots[i].function == 0)
            continue;
        const Slot previous = table.slots[i];
        table.slots[i] = incoming.slots[i];
        incoming.slots[i] = previous;
    }
}

Table library_table() noexcept
{
    Table table;
    {
        const std::lock_guard lock(g_lock);
        table = g_table;
    }
    settle_defaults(table);
    return table;
}

void exchange_library(Table& table) noexcept
{
    for (Slot& slot : table.slots) {
        if (slot.function == kNone)
            slot.function = 0;
    }
    {
        const std::lock_guard lock(g_lock);
        exchange(g_table, table);
    }
    settle_defaults(table);
}

void exchange_thread(Table& table) noexcept
{
    Table& own = thread_state_for_set().redirect;
    for (size_t i = 0; i < kSlots; ++i) {
        if (own.slots[i].function == 0 && table.slots[i].function != 0)
            own.slots[i].function = kNone;
    }
    exchange(own, table);
    for (Slot& slot : own.slots) {
        if (slot.function == kNone)
            slot.function = 0;
    }
}

Table effective_table() noexcept
{
    Table table = library_table();
    put_in_front(table, thread_state().redirect, false);
    return table;
}

Table temp_table() noexcept
{
    Table table = library_table();
    put_in_front(table, thread_state().redirect, true);
    return table;
}

bool is_plain(const Table& table) noexcept
{
    for (size_t i = 0; i < kFileSlots; ++i) {
        if (table.slots[i].function != default_table().slots[i].function)
            return false;
    }
    return true;
}

int64_t call_open(const Table& table, const wchar_t* name, int flags, int mode) noexcept
{
    const auto open = function_of<V_REDIRECTOPEN>(table, kOpen);
    return open ? open(name, flags, mode, table.slots[kOpen].user_data) : kNoFile;
}

int64_t call_read(const Table& table, int64_t file, void* buffer, size_t bytes) noexcept
{
    const auto read = function_of<V_REDIRECTREAD>(table, kRead);
    return read ? checked_count(read(file, buffer, bytes, table.slots[kRead].user_data), bytes) : -1;
}

int64_t call_write(const Table& table, int64_t file, const void* buffer, size_t bytes) noexcept
{
    const auto write = function_of<V_REDIRECTWRITE>(table, kWrite);
    return write ? checked_count(write(file, buffer, bytes, table.slots[kWrite].user_data), bytes) : -1;
}

int64_t call_seek(const Table& table, int64_t file, int64_t offset, int origin) noexcept
{
    const auto seek = function_of<V_REDIRECTSEEK>(table, kSeek);
    return seek ? seek(file, offset, origin, table.slots[kSeek].user_data) : -1;
}

bool closes_in_system(const Table& table) noexcept
{
    return table.slots[kClose].function == default_table().slots[kClose].function;
}

int call_close(const Table& table, int64_t file) noexcept
{
    const auto close = function_of<V_REDIRECTCLOSE>(table, kClose);
    return close ? close(file, table.slots[kClose].user_data) : -1;
}

void call_delete_redirected(const Table& table, const wchar_t* name) noexcept
{
    const auto remove = function_of<V_REDIRECTDELETE>(table, kDelete);
    if (remove && remove != &default_delete)
        remove(name); // whether it was there to be deleted is its maker's business
}

} // namespace vk::redirect
