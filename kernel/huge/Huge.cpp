// Blocks of any size behind windows. In memory a window is the block itself. In a file it is a mapped view, one at a
// time, which has its disk space before it is handed out: a view must never meet a full disk. A redirected file cannot
// be mapped; its window is a copy that is written back when it closes.
#include "Vkhuge.h"
#include "kernel/bitmap/Alloc.h"
#include "kernel/files/TempOptions.h"
#include "kernel/storage/StorageFile.h"
#include "kernel/system/System.h"
#include "kernel/system/ThreadState.h"
#include "kernel/temp/Temp.h"
#include "platform/platform.h"

#include <algorithm>
#include <cstring>
#include <new>

struct V_HUGEMEMORY_ {
    uint64_t bytes = 0;
    uint8_t* data = nullptr;   ///< all of it, when in memory
    vk::Section section;       ///< memory of our own
    vk::StorageFile file;      ///< otherwise
    uint8_t* window = nullptr; ///< the view of the file, or a copy of its bytes
    uint64_t window_offset = 0;
    size_t window_bytes = 0;
};

namespace vk {

namespace {

/// A window shows at least so much, so that walking through a block is not mapping all the time.
constexpr uint64_t kLeastWindow = 1u << 20;
constexpr uint64_t kZeroStep = 16u << 20;
static_assert(kLeastWindow % kMapGranularity == 0);

HHUGEMEMORY make(uint64_t bytes) noexcept
{
    void* const memory = platform::heap_alloc(sizeof(V_HUGEMEMORY_));
    if (!memory)
        return nullptr;
    auto* const block = new (memory) V_HUGEMEMORY_;
    block->bytes = bytes;
    return block;
}

int take_memory(V_HUGEMEMORY_& block) noexcept
{
    if (block.bytes > SIZE_MAX / 2 ||
        platform::section_create(static_cast<size_t>(block.bytes), Contents::zeroed, &block.section) != Status::ok)
        return V_ERROR_NO_MEMORY;
    block.data = static_cast<uint8_t*>(block.section.view);
    return V_SUCCESS;
}

int take_file(V_HUGEMEMORY_& block) noexcept
{
    if (block.bytes > INT64_MAX || temp_files_forbidden())
        return V_ERROR_NO_MEMORY;
    if (const int result = storage_file::open(block.file); result != V_SUCCESS)
        return result;
    if (storage_file::set_size(block.file, block.bytes))
        return V_SUCCESS;
    storage_file::close(block.file);
    block.file = {};
    return V_ERROR_NO_MEMORY;
}

bool belongs_on_disk(uint64_t bytes) noexcept
{
    const uint64_t threshold = disk_threshold();
    return (threshold != 0 && bytes > threshold) || bytes > conventional_limit();
}

/// Serves an accepted request.
int take_storage(V_HUGEMEMORY_& block, uint32_t memory) noexcept
{
    if (memory & TYPE_DISK && !temp_files_forbidden())
        return take_file(block);
    const bool may_use_disk = !(memory & TYPE_NODISK);
    if (may_use_disk && belongs_on_disk(block.bytes) && take_file(block) == V_SUCCESS)
        return V_SUCCESS;
    const int result = take_memory(block);
    return result == V_SUCCESS || !may_use_disk ? result : take_file(block);
}

/// SUCCESS, or the window stays open because its copy could not be written back.
int close_window(V_HUGEMEMORY_& block) noexcept
{
    if (!block.window)
        return V_SUCCESS;
    if (block.file.redirected) {
        const intptr_t moved =
            storage_file::write_at(block.file, block.window_offset, block.window, block.window_bytes);
        if (moved < 0)
            return static_cast<int>(moved);
        platform::heap_free(block.window);
    } else {
        platform::file_unmap(block.window, block.window_bytes);
    }
    block.window = nullptr;
    return V_SUCCESS;
}

/// Maps a part of the file.
int map_window(const V_HUGEMEMORY_& block, uint64_t start, size_t bytes, void** view) noexcept
{
    const auto from = static_cast<int64_t>(start);
    Status status = platform::file_reserve(block.file.handle, from, bytes);
    if (status == Status::ok)
        status = platform::file_map(block.file.handle, from, bytes, view);
    if (status == Status::ok)
        return V_SUCCESS;
    return status == Status::disk_full ? V_ERROR_NO_DISK_SPACE : V_ERROR_NO_MEMORY;
}

/// Copies a part of a redirected file.
int copy_window(const V_HUGEMEMORY_& block, uint64_t start, size_t bytes, void** view) noexcept
{
    void* const copy = platform::heap_alloc(bytes);
    if (!copy)
        return V_ERROR_NO_MEMORY;
    const intptr_t moved = storage_file::read_at(block.file, start, copy, bytes);
    if (moved < 0) {
        platform::heap_free(copy);
        return static_cast<int>(moved);
    }
    *view = copy;
    return V_SUCCESS;
}

int open_window(V_HUGEMEMORY_& block, uint64_t offset, uint64_t bytes) noexcept
{
    const uint64_t start = offset / kMapGranularity * kMapGranularity;
    const uint64_t end = std::min(block.bytes, std::max(offset + bytes, start + kLeastWindow));
    if (end - start > SIZE_MAX / 2)
        return V_ERROR_NO_MEMORY;
    int result = close_window(block);
    if (result != V_SUCCESS)
        return result;
    const auto size = static_cast<size_t>(end - start);
    void* view = nullptr;
    result = block.file.redirected ? copy_window(block, start, size, &view) : map_window(block, start, size, &view);
    if (result != V_SUCCESS)
        return result;
    block.window = static_cast<uint8_t*>(view);
    block.window_offset = start;
    block.window_bytes = size;
    return V_SUCCESS;
}

bool holds(const V_HUGEMEMORY_& block, uint64_t offset, uint64_t bytes) noexcept
{
    return offset <= block.bytes && bytes <= block.bytes - offset;
}

/// The bytes from `offset` on, which lie in the block.
int access(V_HUGEMEMORY_& block, uint64_t offset, uint64_t bytes, uint8_t** data) noexcept
{
    if (block.data) {
        *data = block.data + offset;
        return V_SUCCESS;
    }
    const bool is_open = block.window && offset >= block.window_offset &&
                         offset - block.window_offset <= block.window_bytes &&
                         bytes <= block.window_bytes - (offset - block.window_offset);
    const int result = is_open ? V_SUCCESS : open_window(block, offset, bytes);
    if (result == V_SUCCESS)
        *data = block.window + (offset - block.window_offset);
    return result;
}

int clear(V_HUGEMEMORY_& block, uint64_t offset, uint64_t bytes) noexcept
{
    while (bytes != 0) {
        const uint64_t step = std::min(bytes, kZeroStep);
        uint8_t* data = nullptr;
        const int result = access(block, offset, step, &data);
        if (result != V_SUCCESS)
            return result;
        std::memset(data, 0, static_cast<size_t>(step));
        offset += step;
        bytes -= step;
    }
    return V_SUCCESS;
}

} // namespace

} // namespace vk

using namespace vk;

int V_AllocHugeMemory(HHUGEMEMORY* phMemory, uint64_t uSize, uint32_t uMemory) noexcept
{
    if (!phMemory)
        return V_ERROR_INVALID_PARAMETER;
    *phMemory = nullptr;
    if (uMemory == 0)
        uMemory = thread_state().default_memory_type;
    else if (uMemory == TYPE_NODISK)
        uMemory |= TYPE_CONV; // whatever the default
    if (uSize == 0 || (uMemory != TYPE_CONV && uMemory != TYPE_DISK && uMemory != (TYPE_CONV | TYPE_NODISK)))
        return V_ERROR_INVALID_PARAMETER;
    if (uMemory & TYPE_DISK && !temp_files_forbidden()) {
        if (const int result = check_temp_directory(); result != V_SUCCESS)
            return result;
    }
    HHUGEMEMORY block = make(uSize);
    const int result = block ? take_storage(*block, uMemory) : V_ERROR_NO_MEMORY;
    if (result == V_SUCCESS)
        *phMemory = block;
    else
        platform::heap_free(block);
    return result;
}

int V_CreateHugeMemoryFromPtr(HHUGEMEMORY* phMemory, void* pData, uint64_t uSize) noexcept
{
    if (!phMemory)
        return V_ERROR_INVALID_PARAMETER;
    *phMemory = nullptr;
    if (!pData || uSize == 0)
        return V_ERROR_INVALID_PARAMETER;
    *phMemory = make(uSize);
    if (!*phMemory)
        return V_ERROR_NO_MEMORY;
    (*phMemory)->data = static_cast<uint8_t*>(pData);
    return V_SUCCESS;
}

int V_AccessHugeMemory(HHUGEMEMORY hMemory, uint64_t uOffset, uint64_t uBytes, void** ppData) noexcept
{
    if (!ppData)
        return V_ERROR_INVALID_PARAMETER;
    *ppData = nullptr;
    if (!hMemory || uBytes == 0 || !holds(*hMemory, uOffset, uBytes))
        return V_ERROR_INVALID_PARAMETER;
    uint8_t* data = nullptr;
    const int result = access(*hMemory, uOffset, uBytes, &data);
    *ppData = data;
    return result;
}

int V_ZeroHugeMemory(HHUGEMEMORY hMemory, uint64_t uOffset, uint64_t uBytes) noexcept
{
    if (!hMemory || !holds(*hMemory, uOffset, uBytes))
        return V_ERROR_INVALID_PARAMETER;
    const int result = clear(*hMemory, uOffset, uBytes);
    const int closed = close_window(*hMemory);
    return result == V_SUCCESS ? closed : result;
}

int V_FreeHugeMemory(HHUGEMEMORY hMemory) noexcept
{
    if (!hMemory)
        return V_ERROR_INVALID_PARAMETER;
    if (close_window(*hMemory) != V_SUCCESS)
        platform::heap_free(hMemory->window); // nobody will read it
    storage_file::close(hMemory->file);
    if (hMemory->section.view)
        platform::section_free(&hMemory->section);
    hMemory->~V_HUGEMEMORY_();
    platform::heap_free(hMemory);
    return V_SUCCESS;
}
