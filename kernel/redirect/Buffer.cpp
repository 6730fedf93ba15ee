// The file operations on a memory buffer, and redirection to it.
//
// Invariants of the object: the data size is at most the capacity, and the capacity is 0 without a buffer. The position
// alone may be anywhere. Whoever comes with an object's address is believed only if a redirection is running there:
// files, filters and threads may still have the address of one that has ended.
#include "kernel/redirect/Buffer.h"

#include "kernel/redirect/File.h"
#include "kernel/system/LibraryLock.h"
#include "kernel/system/ThreadState.h"
#include "platform/platform.h"

#include <algorithm>
#include <cstring>
#include <mutex>
#include <new>

namespace vk::redirect {

namespace {

constexpr int64_t kStep = 32768; ///< a growing buffer's capacity is a multiple of this

/// Its address tells threads apart that are alive at one time.
thread_local constinit char t_thread = 0;

struct Buffer {
    Buffer* next_running;
    const char* owner; ///< the thread that started it
    uint8_t* data;
    int64_t capacity;
    int64_t size;
    int64_t position;
    uint32_t options;
    Table saved;    ///< what the thread had before, kNone where nothing
    bool allocated; ///< the block is one that this object made

    bool may(uint32_t option) const noexcept { return (options & option) != 0; }
};

constinit LibraryLock g_lock;
constinit Buffer* g_running = nullptr; ///< all redirections that have been started and not ended

/// What points to a redirection in the list, or to the list's end. Under the lock.
Buffer** link_of(const void* object) noexcept
{
    Buffer** link = &g_running;
    while (*link && *link != object)
        link = &(*link)->next_running;
    return link;
}

/// The redirection at an address; null when none is running there.
Buffer* running_at(const void* object) noexcept
{
    const std::lock_guard lock(g_lock);
    return *link_of(object);
}

void note_started(Buffer& buffer) noexcept
{
    const std::lock_guard lock(g_lock);
    buffer.next_running = g_running;
    g_running = &buffer;
}

void note_ended(const Buffer& buffer) noexcept
{
    const std::lock_guard lock(g_lock);
    *link_of(&buffer) = buffer.next_running;
}

Buffer* buffer_of(int64_t handle) noexcept
{
    return running_at(reinterpret_cast<const void*>(static_cast<intptr_t>(handle)));
}

/// Changes the size of the buffer's block. It has to be unlocked for that, and is locked again whatever comes of it.
void resize_block(Buffer& buffer, int64_t capacity) noexcept
{
    if (!buffer.data) {
        void* const block = platform::movable_alloc(GMEM_MOVEABLE | GMEM_ZEROINIT, static_cast<size_t>(capacity));
        void* const data = block ? platform::movable_lock(block) : nullptr;
        if (block && !data)
            platform::movable_free(block);
        if (data) {
            buffer.data = static_cast<uint8_t*>(data);
            buffer.capacity = capacity;
            buffer.allocated = true;
        }
        return;
    }
    void* const block = platform::movable_handle(buffer.data);
    if (!block) // not a block after all
        return;
    platform::movable_unlock(block);
    const bool resized =
        platform::movable_realloc(block, static_cast<size_t>(capacity), GMEM_MOVEABLE | GMEM_ZEROINIT) != nullptr;
    void* const data = platform::movable_lock(block);
    buffer.data = static_cast<uint8_t*>(data);
    if (!data) { // what is in the block cannot be reached any more; somebody else's stays theirs
        if (buffer.allocated)
            platform::movable_free(block);
        buffer.capacity = 0;
        buffer.size = 0;
    } else if (resized) {
        buffer.capacity = capacity;
    }
}

/// Makes room up to `end` as far as the options and memory allow.
void make_room(Buffer& buffer, int64_t end) noexcept
{
    if (end <= buffer.capacity || !buffer.may(REDIRECTBUFFER_GROW) || end > INT64_MAX - kStep)
        return;
    resize_block(buffer, (end + kStep - 1) / kStep * kStep);
}

/// Bytes between the end of the data and a position behind it read as zeros, whatever was there.
void clear_gap(Buffer& buffer) noexcept
{
    if (buffer.position > buffer.size)
        std::memset(buffer.data + buffer.size, 0, static_cast<size_t>(buffer.position - buffer.size));
}

int64_t buffer_open(const wchar_t*, int flags, int, void* user_data) noexcept
{
    Buffer* const buffer = running_at(user_data);
    if (!buffer)
        return -1;
    buffer->position = 0;
    if (flags & V_OPENFLAG_TRUNCATE)
        buffer->size = 0;
    return static_cast<int64_t>(reinterpret_cast<intptr_t>(buffer));
}

int64_t buffer_read(int64_t handle, void* out, size_t count, void*) noexcept
{
    Buffer* const buffer = buffer_of(handle);
    if (!buffer || !buffer->data || !out || buffer->position < 0 || buffer->position > buffer->size)
        return -1;
    const size_t moved = std::min(count, static_cast<size_t>(buffer->size - buffer->position));
    std::memcpy(out, buffer->data + buffer->position, moved);
    buffer->position += static_cast<int64_t>(moved);
    return static_cast<int64_t>(moved);
}

int64_t buffer_write(int64_t handle, const void* in, size_t count, void*) noexcept
{
    Buffer* const buffer = buffer_of(handle);
    if (!buffer || !buffer->may(REDIRECTBUFFER_WRITE) || buffer->position < 0 || (count != 0 && !in))
        return -1;
    if (count != 0 && count <= static_cast<uint64_t>(INT64_MAX - buffer->position))
        make_room(*buffer, buffer->position + static_cast<int64_t>(count));
    if (buffer->position > buffer->capacity)
        return -1;
    clear_gap(*buffer);
    if (count == 0) {
        buffer->size = buffer->position;
        return 0;
    }
    const size_t moved = std::min(count, static_cast<size_t>(buffer->capacity - buffer->position));
    if (moved != 0)
        std::memcpy(buffer->data + buffer->position, in, moved);
    buffer->position += static_cast<int64_t>(moved);
    buffer->size = std::max(buffer->size, buffer->position);
    return static_cast<int64_t>(moved);
}

int64_t buffer_seek(int64_t handle, int64_t offset, int origin, void*) noexcept
{
    Buffer* const buffer = buffer_of(handle);
    if (!buffer || origin < 0 || origin > 2)
        return -1;
    const int64_t base = origin == 0 ? 0 : origin == 1 ? buffer->position : buffer->size;
    if (offset > 0 ? base > INT64_MAX - offset : base < INT64_MIN - offset)
        return -1;
    buffer->position = base + offset;
    return buffer->position;
}

/// Where the redirection has ended there is nothing left to close, and the file's record may go.
int buffer_close(int64_t handle, void*) noexcept
{
    Buffer* const buffer = buffer_of(handle);
    if (!buffer)
        return 0;
    const bool shrinks =
        buffer->may(REDIRECTBUFFER_GROW) && buffer->may(REDIRECTBUFFER_SHRINK) && !buffer->may(REDIRECTBUFFER_DATA);
    if (shrinks && buffer->data && buffer->size < buffer->capacity)
        resize_block(*buffer, std::max<int64_t>(buffer->size, 1)); // a block of no bytes could not be locked
    return 0;
}

Table table_for(Buffer& buffer) noexcept
{
    Table table = library_table();
    table.slots[kOpen].function = reinterpret_cast<uintptr_t>(&buffer_open);
    table.slots[kRead].function = reinterpret_cast<uintptr_t>(&buffer_read);
    table.slots[kWrite].function = reinterpret_cast<uintptr_t>(&buffer_write);
    table.slots[kSeek].function = reinterpret_cast<uintptr_t>(&buffer_seek);
    table.slots[kClose].function = reinterpret_cast<uintptr_t>(&buffer_close);
    for (size_t i = 0; i < kFileSlots; ++i)
        table.slots[i].user_data = &buffer;
    return table;
}

bool is_buffer_slot(const Slot& slot, size_t index) noexcept
{
    const uintptr_t functions[kFileSlots] = {
        reinterpret_cast<uintptr_t>(&buffer_open), reinterpret_cast<uintptr_t>(&buffer_read),
        reinterpret_cast<uintptr_t>(&buffer_write), reinterpret_cast<uintptr_t>(&buffer_seek),
        reinterpret_cast<uintptr_t>(&buffer_close)};
    return index < kFileSlots && slot.function == functions[index];
}

/// The redirection that a slot leads to; null when it leads elsewhere.
Buffer* buffer_behind(const Slot& slot, size_t index) noexcept
{
    return is_buffer_slot(slot, index) ? running_at(slot.user_data) : nullptr;
}

/// Exchanges the five file operations of the calling thread; what it had comes back, kNone where nothing.
void exchange_file_slots(Table& table) noexcept
{
    table.slots[kCopy].function = 0;
    table.slots[kDelete].function = 0;
    exchange_thread(table);
}

/// Takes a redirection out from behind others that were started later and not ended yet.
bool unlink_inner(Buffer& gone) noexcept
{
    for (Buffer* outer = buffer_behind(thread_state().redirect.slots[kOpen], kOpen); outer && outer != &gone;
         outer = buffer_behind(outer->saved.slots[kOpen], kOpen)) {
        if (buffer_behind(outer->saved.slots[kOpen], kOpen) == &gone) {
            outer->saved = gone.saved;
            return true;
        }
    }
    return false;
}

int start(Buffer& buffer, V_REDIRECTHANDLE* file) noexcept
{
    const Table table = table_for(buffer);
    if (file) {
        File* const made = wrap(table, reinterpret_cast<intptr_t>(&buffer), Kind::given);
        if (!made)
            return V_ERROR_NO_MEMORY;
        *file = made;
    }
    buffer.saved = table;
    note_started(buffer);
    exchange_file_slots(buffer.saved);
    return V_SUCCESS;
}

} // namespace

Slot behind_buffers(Slot slot, size_t index) noexcept
{
    while (const Buffer* const buffer = buffer_behind(slot, index))
        slot = buffer->saved.slots[index];
    return without_ended(slot, index);
}

Slot without_ended(const Slot& slot, size_t index) noexcept
{
    const bool is_empty = slot.function == kNone || (is_buffer_slot(slot, index) && !running_at(slot.user_data));
    return is_empty ? Slot{} : slot;
}

Table without_buffers(const Table& table) noexcept
{
    Table plain = table;
    for (size_t i = 0; i < kFileSlots; ++i)
        plain.slots[i] = behind_buffers(table.slots[i], i);
    return plain;
}

bool has_buffers(const Table& table) noexcept
{
    for (size_t i = 0; i < kFileSlots; ++i)
        if (buffer_behind(table.slots[i], i))
            return true;
    return false;
}

int start_buffer(void** out, V_REDIRECTHANDLE* file, uint32_t options, void* data, uint64_t bytes) noexcept
{
    void* const memory = platform::heap_alloc(sizeof(Buffer));
    if (!memory)
        return V_ERROR_NO_MEMORY;
    const auto capacity = static_cast<int64_t>(data ? std::min<uint64_t>(bytes, INT64_MAX) : 0);
    const int64_t size = options & REDIRECTBUFFER_DATA ? capacity : 0;
    Buffer* const buffer =
        new (memory) Buffer{nullptr, &t_thread, static_cast<uint8_t*>(data), capacity, size, 0, options, {}, false};
    const int result = start(*buffer, file);
    if (result == V_SUCCESS)
        *out = buffer;
    else
        platform::heap_free(memory);
    return result;
}

int stop_buffer(void* object, void** data, size_t* size) noexcept
{
    Buffer* const buffer = running_at(object);
    if (!buffer)
        return V_ERROR_INVALID_PARAMETER;
    if (!unlink_inner(*buffer) && buffer->owner == &t_thread) // another thread's slots are out of reach
        exchange_file_slots(buffer->saved);
    note_ended(*buffer);
    if (data)
        *data = buffer->data;
    if (size)
        *size = static_cast<size_t>(buffer->size);
    platform::heap_free(buffer);
    return V_SUCCESS;
}

} // namespace vk::redirect
