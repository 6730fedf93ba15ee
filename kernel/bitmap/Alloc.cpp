// Allocation and creation. A request passes the process-wide callback, is brought to an accepted form, passes the
// bitmap's own callback, and is then served by the first storage kind that can be had, in the order conventional,
// tiled, disk.
#include "kernel/bitmap/Alloc.h"

#include "kernel/bitmap/Callbacks.h"
#include "kernel/bitmap/Record.h"
#include "kernel/files/TempOptions.h"
#include "kernel/system/Blocks.h"
#include "kernel/system/Checks.h"
#include "kernel/system/HandleLimit.h"
#include "kernel/system/System.h"
#include "kernel/system/ThreadState.h"
#include "kernel/temp/Temp.h"
#include "platform/platform.h"

#include <algorithm>

namespace vk {

namespace {

/// Result of a data callback that holds the pixels itself.
constexpr int kOwnedByCallback = 2;

/// The fields that allocation writes, to be put back when it fails. A copy of the whole record would undo what
/// callbacks did to other fields.
class Undo {
public:
    explicit Undo(BITMAPHANDLE& bitmap) noexcept
        : bitmap_(bitmap), handle_(bitmap.Handle), data_(bitmap.Data), offset_(bitmap.DataOffset), flags_(bitmap.Flags),
          paint_lut_(bitmap.PaintLUT), paint_lut16_(is_current(bitmap) ? bitmap.PaintLUT16 : nullptr)
    {}

    void restore() const noexcept
    {
        bitmap_.Handle = handle_;
        bitmap_.Data = data_;
        bitmap_.DataOffset = offset_;
        bitmap_.Flags = flags_;
        bitmap_.PaintLUT = paint_lut_;
        if (is_current(bitmap_))
            bitmap_.PaintLUT16 = paint_lut16_;
    }

private:
    BITMAPHANDLE& bitmap_;
    void* handle_;
    uint8_t* data_;
    int64_t offset_;
    uint32_t flags_;
    uint8_t* paint_lut_;
    uint16_t* paint_lut16_;
};

/// Brings what a request says of a compressed kind to what can be had.
void settle_compressed(const Store& store, int32_t bits, uint32_t& memory) noexcept
{
    if (!(memory & store.memory_type))
        return;
    if (!store.holds(bits) || (store.takes_handles && near_handle_limit()))
        memory &= ~store.memory_type;
    else if (store.settles_request)
        memory = store.request;
}

/// Brings a request to its accepted form, or refuses it.
int settle_request(int32_t bits, uint32_t& memory) noexcept
{
    if (memory == 0)
        return V_ERROR_INVALID_PARAMETER;
    if (memory & TYPE_USER)
        memory &= ~(TYPE_NOTILED | TYPE_NODISK);
    else if (memory & TYPE_DISK && temp_files_forbidden())
        memory = (memory & ~TYPE_DISK) | TYPE_NODISK;
    for (const Store& store : kStores)
        if (store.compression != 0)
            settle_compressed(store, bits, memory);
    if (memory == 0) // the kind that was dropped was all there was
        memory = TYPE_CONV;
    return is_accepted_request(memory) ? V_SUCCESS : V_ERROR_INVALID_PARAMETER;
}

/// `percent` of `whole`, without overflow.
uint64_t percent_of(uint64_t whole, uint64_t percent) noexcept
{
    return whole / 100 * percent + whole % 100 * percent / 100;
}

/// A threshold that is a number of bytes, or with a minus sign a percentage of `whole`.
uint64_t resolve_bytes(int64_t setting, uint64_t whole) noexcept
{
    return setting >= 0 ? static_cast<uint64_t>(setting) : percent_of(whole, static_cast<uint64_t>(-setting));
}

int try_disk(BITMAPHANDLE& bitmap, uint32_t memory, const StoreRequest& request) noexcept
{
    return memory & TYPE_NODISK ? V_ERROR_NO_MEMORY : kDiskStore.create(bitmap, request);
}

/// Serves a settled request; the data callback has had its say.
int make_storage(BITMAPHANDLE& bitmap, uint32_t memory, NewPixels pixels) noexcept
{
    if (memory == TYPE_USER) {
        await_user_memory(bitmap);
        return V_SUCCESS;
    }
    const StoreRequest request = store_request(data_size(bitmap));
    for (const Store& store : kStores)
        if (!store.by_thresholds && memory & store.memory_type)
            return store.create(bitmap, request);
    return allocate_plain(bitmap, memory, pixels);
}

/// Steps between the process-wide callback and success.
int allocate_settled(BITMAPHANDLE& bitmap, uint32_t memory, const RGBQUAD* palette, NewPixels pixels) noexcept
{
    int result = settle_request(bitmap.BitsPerPixel, memory);
    if (result == V_SUCCESS && memory & TYPE_DISK)
        result = check_temp_directory();
    if (result != V_SUCCESS)
        return result;
    if (!give_paint_table(bitmap))
        return V_ERROR_NO_MEMORY;
    uint8_t* const paint_table = bitmap.PaintLUT;
    const uint32_t asked = memory;
    result = ask_data_callback(bitmap, memory, palette);
    if (result == kOwnedByCallback) {
        leave_to_callback(bitmap);
        bitmap.Flags |= BITMAPFLAG_ALLOCATED;
        return V_SUCCESS;
    }
    if (result == V_SUCCESS && memory != asked)
        result = settle_request(bitmap.BitsPerPixel, memory);
    if (result == V_SUCCESS)
        result = make_storage(bitmap, memory, pixels);
    if (result != V_SUCCESS) {
        locked_block_free(paint_table);
        return result;
    }
    bitmap.Flags |= BITMAPFLAG_ALLOCATED;
    return V_SUCCESS;
}

} // namespace

bool give_paint_table(BITMAPHANDLE& bitmap) noexcept
{
    constexpr size_t kEntries = 256;
    auto* const table = static_cast<uint8_t*>(locked_block_alloc(kEntries));
    if (!table)
        return false;
    for (size_t i = 0; i < kEntries; ++i)
        table[i] = static_cast<uint8_t>(i);
    bitmap.PaintLUT = table;
    if (is_current(bitmap))
        bitmap.PaintLUT16 = nullptr;
    return true;
}

NewPixels pixels_of_shown_record() noexcept
{
    return thread_state().status_callback ? NewPixels::clear : NewPixels::to_be_written;
}

StoreRequest store_request(uint64_t bytes) noexcept
{
    const ThreadState& settings = thread_state();
    StoreRequest request;
    request.bytes = bytes;
    request.tile_bytes = tile_size_in_force();
    request.memory_tiles = settings.conv_tiles;
    request.mapped_tiles = settings.conv_buffers;
    request.files_forbidden = temp_files_forbidden();
    return request;
}

uint64_t conventional_limit() noexcept
{
    MemoryStatus memory;
    if (platform::memory_status(&memory) != Status::ok)
        return UINT64_MAX; // nothing is known: let the allocation itself decide
    const ThreadState& settings = thread_state();
    const uint64_t available = memory.available_physical + memory.available_page_file;
    const uint64_t reserve = resolve_bytes(settings.reserved_memory, memory.total_physical + memory.total_page_file);
    const int64_t max_setting = settings.max_conv_size;
    // Of a size in bytes the low 32 bits count.
    const uint64_t largest = resolve_bytes(max_setting >= 0 ? max_setting & 0xFFFFFFFF : max_setting, available);
    return std::min(available > reserve ? available - reserve : 0, largest);
}

int allocate_plain(BITMAPHANDLE& bitmap, uint32_t memory, NewPixels pixels) noexcept
{
    const uint64_t bytes = data_size(bitmap);
    StoreRequest request = store_request(bytes);
    request.is_written = pixels != NewPixels::clear;
    request.pads_are_written = pixels == NewPixels::rows_to_be_written;
    if (memory & TYPE_TILED) {
        if (near_handle_limit() || bytes <= request.tile_bytes)
            memory = (memory & ~TYPE_TILED) | TYPE_CONV;
    } else if (disk_threshold() && bytes > disk_threshold() && !(memory & TYPE_NODISK)) {
        memory |= TYPE_DISK;
    } else {
        request.memory_limit = conventional_limit();
        if (bytes > request.memory_limit)
            memory |= TYPE_TILED;
    }
    if (!(memory & (TYPE_TILED | TYPE_DISK)) && kConventionalStore.create(bitmap, request) == V_SUCCESS)
        return V_SUCCESS;
    if (!(memory & (TYPE_DISK | TYPE_NOTILED))) {
        StoreRequest tiles = request;
        tiles.files_forbidden = request.files_forbidden || memory & TYPE_NODISK;
        if (kTiledStore.create(bitmap, tiles) == V_SUCCESS)
            return V_SUCCESS;
    }
    return try_disk(bitmap, memory, request);
}

int allocate_bitmap(BITMAPHANDLE& bitmap, uint32_t memory, const RGBQUAD* palette, NewPixels pixels) noexcept
{
    if (data_size(bitmap) == 0)
        return V_ERROR_INVALID_WIDTH_HEIGHT;
    int result = ask_allocate_callback(bitmap, memory, palette);
    if (result != V_SUCCESS)
        return result;
    const Undo undo(bitmap);
    bitmap.Flags &= ~(kPlaceFlags | BITMAPFLAG_ALLOCATED);
    result = allocate_settled(bitmap, memory, palette, pixels);
    if (result != V_SUCCESS)
        undo.restore();
    return result;
}

int set_data_pointer(BITMAPHANDLE& bitmap, void* data, uint64_t bytes) noexcept
{
    const bool is_user = bitmap.Flags & BITMAPFLAG_ALLOCATED && is_user_memory(bitmap);
    if (!is_user && data && bytes != data_size(bitmap))
        return V_ERROR_INVALID_PARAMETER;
    bitmap.Data = static_cast<uint8_t*>(data);
    return V_SUCCESS;
}

} // namespace vk
