#include "kernel/bitmap/Region.h"

#include "kernel/area/Block.h"
#include "kernel/bitmap/Alloc.h"
#include "kernel/bitmap/Callbacks.h"
#include "kernel/bitmap/Record.h"
#include "kernel/rows/Locks.h"
#include "kernel/rows/RowAccess.h"
#include "kernel/system/Blocks.h"
#include "kernel/system/Checks.h"

#include <algorithm>
#include <cstring>

namespace vk {

namespace {

int allocate_mask(BITMAPHANDLE& mask, const BITMAPHANDLE& like) noexcept
{
    constexpr int32_t kBits = 1;
    const int result = init_bitmap(mask, kRecordSize, like.Width, like.Height, kBits, nullptr);
    mask.ViewPerspective = like.ViewPerspective;
    return result == V_SUCCESS ? allocate_bitmap(mask, TYPE_CONV, nullptr) : result;
}

int put_block(BITMAPHANDLE& bitmap, void* block) noexcept
{
    if (!block)
        return V_ERROR_NO_MEMORY;
    if (!has_area(bitmap))
        ask_free_hook(bitmap);
    drop_area(bitmap);
    bitmap.RgnInfo = block;
    return V_SUCCESS;
}

} // namespace

int set_area(BITMAPHANDLE& bitmap, const Area& area) noexcept
{
    return put_block(bitmap, make_area_block(area));
}

int set_area(BITMAPHANDLE& bitmap, AreaBuilder& built) noexcept
{
    return put_block(bitmap, built.release());
}

void drop_area(BITMAPHANDLE& bitmap) noexcept
{
    if (has_area(bitmap))
        locked_block_free(bitmap.RgnInfo);
    bitmap.RgnInfo = nullptr;
}

void take_area(BITMAPHANDLE& bitmap, BITMAPHANDLE& from) noexcept
{
    if (!has_area(from))
        return;
    drop_area(bitmap);
    bitmap.RgnInfo = from.RgnInfo;
    from.RgnInfo = nullptr;
}

int lay_out_area(const BITMAPHANDLE& bitmap, BITMAPHANDLE& made, Layout layout) noexcept
{
    if (!has_area(bitmap))
        return V_SUCCESS;
    AreaBuilder cut;
    AreaBuilder built(AreaHome::block);
    const bool is_good = cut_area(area_of(bitmap), frame_of(bitmap), cut) &&
                         lay_out_area(cut.area(), layout, bitmap.Width, bitmap.Height, built);
    return is_good ? set_area(made, built) : V_ERROR_NO_MEMORY;
}

int scale_area(const BITMAPHANDLE& bitmap, BITMAPHANDLE& made) noexcept
{
    if (!has_area(bitmap))
        return V_SUCCESS;
    AreaBuilder cut;
    AreaBuilder built(AreaHome::block);
    const bool is_good = cut_area(area_of(bitmap), frame_of(bitmap), cut) &&
                         scale_area(cut.area(), bitmap.Width, bitmap.Height, made.Width, made.Height, built);
    return is_good ? set_area(made, built) : V_ERROR_NO_MEMORY;
}

int move_area(const BITMAPHANDLE& bitmap, BITMAPHANDLE& made, int64_t columns, int64_t rows) noexcept
{
    if (!has_area(bitmap))
        return V_SUCCESS;
    AreaBuilder built(AreaHome::block);
    const bool is_good = move_area(area_of(bitmap), columns, rows, frame_of(made), built);
    return is_good ? set_area(made, built) : V_ERROR_NO_MEMORY;
}

int lay_out_region(BITMAPHANDLE& bitmap, BITMAPHANDLE& made, Layout layout) noexcept
{
    const bool is_asked = !layout.transpose;
    int result = is_asked ? ask_reverse_hooks(bitmap, layout.flip, layout.mirror) : V_SUCCESS;
    if (result != V_SUCCESS)
        return result;
    result = lay_out_area(bitmap, made, layout);
    if (result != V_SUCCESS && is_asked)
        ask_reverse_hooks(bitmap, layout.flip, layout.mirror); // back
    return result;
}

int scale_region(BITMAPHANDLE& bitmap, BITMAPHANDLE& made, int32_t width, int32_t height) noexcept
{
    const int result = ask_scale_hook(bitmap, width, height);
    return result == V_SUCCESS ? scale_area(bitmap, made) : result;
}

int copy_region(BITMAPHANDLE& bitmap, BITMAPHANDLE& made) noexcept
{
    return has_area(bitmap) ? move_area(bitmap, made, 0, 0) : ask_copy_hook(made, bitmap);
}

void free_region(BITMAPHANDLE& bitmap) noexcept
{
    void* const block = bitmap.RgnInfo;
    if (!block)
        return;
    const bool is_ours = is_area_block(block);
    ask_free_hook(bitmap);
    if (is_ours && bitmap.RgnInfo == block)
        locked_block_free(block);
    bitmap.RgnInfo = nullptr;
}

int draw_area(const Area& area, BITMAPHANDLE& mask) noexcept
{
    RowWriter writer(mask);
    const size_t line = mask.BytesPerLine;
    int result = writer.reserve(1);
    for (uint32_t i = 0; i < area.band_count && result == V_SUCCESS; ++i)
        for (int32_t y = area.bands[i].top; y < area.bands[i].bottom && result == V_SUCCESS; ++y) {
            uint8_t* const row = writer.place(y);
            std::memset(row, 0, line);
            set_bits(row, area.runs_of(area.bands[i]));
            result = writer.write(y, 1);
        }
    return result;
}

int make_region_mask(BITMAPHANDLE& bitmap, BITMAPHANDLE& mask) noexcept
{
    AreaBuilder cut;
    if (!cut_area(area_of(bitmap), frame_of(bitmap), cut))
        return V_ERROR_NO_MEMORY;
    int result = allocate_mask(mask, bitmap);
    if (result != V_SUCCESS)
        return result;
    BitmapAccess access(mask);
    result = access.result() == V_SUCCESS ? draw_area(cut.area(), mask) : access.result();
    if (result != V_SUCCESS) {
        access.release();
        free_bitmap(mask);
    }
    return result;
}

int area_of_mask(BITMAPHANDLE& mask, BitsToArea to) noexcept
{
    RowReader reader(mask);
    const int32_t batch = buffered_rows(mask, mask);
    const size_t line = mask.BytesPerLine;
    int result = reader.reserve(batch);
    for (int32_t row = 0; row < mask.Height && result == V_SUCCESS;) {
        const int32_t rows = std::min(batch, mask.Height - row);
        const uint8_t* data = nullptr;
        to.built().expect_rows(row, mask.Height);
        result = reader.read(row, rows, &data);
        if (result == V_SUCCESS)
            to.add({data, line, row, rows}, mask.Width);
        if (!to.built().good())
            result = V_ERROR_NO_MEMORY;
        row += rows;
    }
    return result;
}

RegionMasks::RegionMasks() noexcept
{
    clear_record(from, kRecordSize);
    clear_record(to, kRecordSize);
}

RegionMasks::~RegionMasks()
{
    free_bitmap(from);
    free_bitmap(to);
}

int RegionMasks::make(BITMAPHANDLE& bitmap, const BITMAPHANDLE& made) noexcept
{
    const int result = make_region_mask(bitmap, from);
    return result == V_SUCCESS ? allocate_mask(to, made) : result;
}

int RegionMasks::give_to(BITMAPHANDLE& made) noexcept
{
    BitmapAccess access(to);
    AreaBuilder built(AreaHome::block);
    const int result = access.result() == V_SUCCESS ? area_of_mask(to, BitsToArea(built)) : access.result();
    return result == V_SUCCESS ? set_area(made, built) : result;
}

} // namespace vk
