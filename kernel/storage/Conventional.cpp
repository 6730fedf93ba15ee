// Conventional memory: one contiguous block, in one of three forms that differ only in who holds it.
//   private  a section of the platform, described by a Block that hangs on `Handle`; made by create
//   global   a movable global block in `Handle`, whose pixels start DataOffset bytes in; made elsewhere
//   user     memory the caller lent (Mirror): never resized, never freed
#include "kernel/storage/Storage.h"
#include "kernel/system/Checks.h"
#include "platform/platform.h"

#include <algorithm>
#include <cstring>

namespace vk {

namespace {

constexpr size_t kAlignment = 32;

struct Block {
    Section section;
    uint64_t bytes; ///< pixel bytes, behind the alignment gap

    uint8_t* pixels() const noexcept { return static_cast<uint8_t*>(section.view) + gap(); }
    size_t gap() const noexcept
    {
        return (kAlignment - reinterpret_cast<uintptr_t>(section.view) % kAlignment) % kAlignment;
    }
};

bool is_global(const BITMAPHANDLE& bitmap) noexcept
{
    return (bitmap.Flags & BITMAPFLAG_GLOBAL) != 0;
}

Block* block_of(const BITMAPHANDLE& bitmap) noexcept
{
    return is_lent(bitmap) || is_global(bitmap) ? nullptr : static_cast<Block*>(bitmap.Handle);
}

/// Bytes of a section that holds `bytes` aligned pixel bytes; 0 when no section can.
size_t section_bytes(uint64_t bytes) noexcept
{
    return bytes > SIZE_MAX / 2 ? 0 : static_cast<size_t>(bytes) + kAlignment - 1;
}

/// Clears what the pixels leave of each row.
void clear_row_ends(const BITMAPHANDLE& bitmap, const Block& block) noexcept
{
    const uint64_t line = bitmap.BytesPerLine;
    const uint64_t pixels = static_cast<uint64_t>(bitmap.Width) * static_cast<uint32_t>(bitmap.BitsPerPixel) / 8;
    if (pixels >= line)
        return;
    for (uint64_t row = 0; row + line <= block.bytes; row += line)
        std::memset(block.pixels() + row + pixels, 0, static_cast<size_t>(line - pixels));
}

int create(BITMAPHANDLE& bitmap, const StoreRequest& request) noexcept
{
    const size_t bytes = section_bytes(request.bytes);
    auto* const block = bytes ? static_cast<Block*>(platform::heap_alloc(sizeof(Block))) : nullptr;
    if (!block)
        return V_ERROR_NO_MEMORY;
    *block = Block{{}, request.bytes};
    const Contents contents = request.is_written ? Contents::unspecified : Contents::zeroed;
    if (platform::section_create(bytes, contents, &block->section) != Status::ok) {
        platform::heap_free(block);
        return V_ERROR_NO_MEMORY;
    }
    if (request.is_written && !request.pads_are_written)
        clear_row_ends(bitmap, *block);
    bitmap.Handle = block;
    bitmap.Data = block->pixels();
    bitmap.DataOffset = static_cast<int64_t>(block->gap());
    return V_SUCCESS;
}

uint64_t extent(const BITMAPHANDLE& bitmap) noexcept
{
    if (is_global(bitmap) && !is_lent(bitmap)) {
        const uint64_t held = platform::movable_size(bitmap.Handle);
        const auto offset = static_cast<uint64_t>(bitmap.DataOffset);
        return std::min(data_size(bitmap), held > offset ? held - offset : 0);
    }
    const Block* const block = block_of(bitmap);
    return block ? block->bytes : data_size(bitmap);
}

intptr_t read(BITMAPHANDLE& bitmap, uint64_t position, void* buffer, size_t bytes) noexcept
{
    const uint8_t* const data = bitmap.Data;
    if (!data)
        return V_ERROR_INVALID_IMAGE;
    std::memcpy(buffer, data + position, bytes);
    return static_cast<intptr_t>(bytes);
}

intptr_t write(BITMAPHANDLE& bitmap, uint64_t position, const void* buffer, size_t bytes) noexcept
{
    uint8_t* const data = bitmap.Data;
    if (!data)
        return V_ERROR_INVALID_IMAGE;
    std::memcpy(data + position, buffer, bytes);
    return static_cast<intptr_t>(bytes);
}

/// Clears bytes [start, end) of a global block. False when it cannot be locked.
bool clear_global(void* handle, uint64_t start, uint64_t end) noexcept
{
    auto* const block = static_cast<uint8_t*>(platform::movable_lock(handle));
    if (!block)
        return false;
    std::memset(block + start, 0, static_cast<size_t>(end - start));
    platform::movable_unlock(handle);
    return true;
}

/// A block that came from elsewhere may hold more than pixels: what stands behind the present rows is cleared where new
/// rows come to lie. When that fails the block keeps its new size, which the record does not show.
int resize_global(BITMAPHANDLE& bitmap, uint64_t bytes) noexcept
{
    constexpr uint32_t kMoveableZeroed = 0x42;
    const auto offset = static_cast<uint64_t>(bitmap.DataOffset);
    if (offset > SIZE_MAX / 2 || bytes > SIZE_MAX / 2 - offset)
        return V_ERROR_NO_MEMORY;
    const uint64_t held = platform::movable_size(bitmap.Handle);
    const uint64_t wanted = offset + bytes;
    void* const handle = platform::movable_realloc(bitmap.Handle, static_cast<size_t>(wanted), kMoveableZeroed);
    if (!handle)
        return V_ERROR_NO_MEMORY;
    bitmap.Handle = handle;
    const uint64_t start = offset + plain_size(bitmap);
    const uint64_t end = std::min(held, wanted);
    return start >= end || clear_global(handle, start, end) ? V_SUCCESS : V_ERROR_NO_MEMORY;
}

int resize(BITMAPHANDLE& bitmap, int32_t height) noexcept
{
    const uint64_t bytes = static_cast<uint64_t>(bitmap.BytesPerLine) * static_cast<uint32_t>(height);
    if (is_global(bitmap))
        return resize_global(bitmap, bytes);
    Block* const block = block_of(bitmap);
    if (!block)
        return V_ERROR_INVALID_PARAMETER;
    const uint8_t* const lent = bitmap.Data == block->pixels() ? nullptr : bitmap.Data;
    const uint64_t before = block->bytes;
    const size_t wanted = section_bytes(bytes);
    if (!wanted || platform::section_resize(&block->section, wanted) != Status::ok)
        return V_ERROR_NO_MEMORY;
    block->bytes = bytes;
    if (bytes > before) // rows cut off earlier may stand in the room for alignment, which counts as part of the section
        std::memset(block->pixels() + before, 0,
                    static_cast<size_t>(std::min<uint64_t>(bytes - before, kAlignment - 1)));
    if (lent) // the pixels are in memory that was attached later
        std::memcpy(block->pixels(), lent, static_cast<size_t>(std::min(before, bytes)));
    bitmap.Data = block->pixels();
    bitmap.DataOffset = static_cast<int64_t>(block->gap());
    return V_SUCCESS;
}

void destroy(BITMAPHANDLE& bitmap) noexcept
{
    if (is_lent(bitmap))
        return;
    if (is_global(bitmap)) {
        if (is_pinned(bitmap))
            platform::movable_unlock(bitmap.Handle);
        platform::movable_free(bitmap.Handle);
        return;
    }
    if (Block* const block = block_of(bitmap)) {
        platform::section_free(&block->section);
        platform::heap_free(block);
    }
}

} // namespace

const StoreCalls kConventionalCalls = {
    .create = create,
    .extent = extent,
    .read = read,
    .write = write,
    .resize = resize,
    .recount = plain_size,
    .figures = nullptr,
    .destroy = destroy,
};

} // namespace vk
