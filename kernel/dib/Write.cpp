// From a bitmap to a packed DIB. The DIB is laid out first; then either the bitmap's own block becomes it, or a block
// is made and rows are put into it, as they are or converted, the bottom one first.
#include "Vkbitmap.h"
#include "Vkdib.h"
#include "kernel/bitmap/Alloc.h"
#include "kernel/colorres/ColorRows.h"
#include "kernel/convert/Convert.h"
#include "kernel/dib/Dib.h"
#include "kernel/format/RowMath.h"
#include "kernel/format/Spread.h"
#include "kernel/palette/Palette.h"
#include "kernel/rows/Locks.h"
#include "kernel/rows/RowAccess.h"
#include "kernel/storage/Storage.h"
#include "kernel/system/Checks.h"
#include "kernel/system/Progress.h"
#include "kernel/view/ViewPerspective.h"
#include "platform/platform.h"

#include <algorithm>

namespace vk {

namespace {

constexpr uint32_t kMoveableZeroed = 0x42;
constexpr uint32_t kMasks565[] = {0xF800, 0x07E0, 0x001F};
static_assert(sizeof kMasks565 == dib::kMaskBytes);

/// Orders of 16-bit pixels that a DIB may have.
enum class Fields { keep, make_555 };

struct DibLayout {
    int32_t bits = 0;
    int32_t order = COLORORDER_BGR;
    uint32_t header_bytes = 0;
    uint32_t colors = 0;
    uint64_t stride = 0;
    uint64_t image = 0;
    bool as_stored = false; ///< rows need no conversion
    ProgressShare share;    ///< what writing the rows has of the operation's progress

    uint64_t pixels() const noexcept { return header_bytes + uint64_t{colors} * sizeof(RGBQUAD); }
    uint64_t total() const noexcept { return pixels() + image; }
    bool has_masks() const noexcept { return bits == 16 && order == COLORORDER_RGB565; }
};

/// The depth that holds a bitmap's pixels: indices stay what they are, channels get a byte each.
int32_t dib_bits(int32_t bits, int32_t order) noexcept
{
    if (is_indexed(bits))
        return bits == 1 ? 1 : bits <= 4 ? 4 : 8;
    if (is_short_gray(bits, order) || is_gray_only(bits))
        return 24;
    return has_fields(bits) ? 16 : 8 * depth_of(bits).channels;
}

uint32_t header_bytes(uint32_t type) noexcept
{
    return type == DIB_V4HEADER ? dib::kV4Size : type == DIB_V5HEADER ? dib::kV5Size : dib::kInfoSize;
}

/// Lays a bitmap's DIB out; false when there is no such DIB.
bool lay_out(const BITMAPHANDLE& bitmap, uint32_t type, Fields fields, DibLayout& layout) noexcept
{
    if (check_rows(bitmap) != V_SUCCESS)
        return false;
    const int32_t bits = bitmap.BitsPerPixel;
    layout.bits = dib_bits(bits, bitmap.Order);
    if (fields == Fields::keep && bits == 16 && bitmap.Order == COLORORDER_RGB565)
        layout.order = COLORORDER_RGB565;
    layout.header_bytes = header_bytes(type);
    if (is_indexed(bits)) {               // a bitmap that says nothing of its colours has all its depth can index
        const uint32_t most = 1u << bits; // which is what a palette's block holds, whatever the record says is in use
        layout.colors = std::min<uint32_t>(bitmap.Colors != 0 ? +bitmap.Colors : most, most);
    }
    dib::Header header;
    header.width = bitmap.Width;
    header.height = bitmap.Height;
    header.bits = static_cast<uint16_t>(layout.bits);
    layout.stride = header.stride();
    layout.image = header.plain_bytes();
    layout.as_stored = layout.bits == bits && (is_indexed(bits) || bitmap.Order == layout.order);
    return layout.total() <= UINT32_MAX;
}

/// Copies the bitmap's colours behind the header.
void write_colors(uint8_t* to, const BITMAPHANDLE& bitmap, uint32_t count) noexcept
{
    const bool is_levels = bitmap.BitsPerPixel == 8 && bitmap.Order == COLORORDER_GRAY;
    const RGBQUAD* const own = bitmap.Palette;
    const bool has_own = own && bitmap.Colors != 0;
    const RGBQUAD* const from = is_levels ? gray_levels() : has_own ? own : fixed_palette(bitmap.BitsPerPixel);
    const uint32_t known = has_own && !is_levels ? count : std::min(count, 1u << bitmap.BitsPerPixel);
    std::memset(to, 0, count * sizeof(RGBQUAD));
    for (uint32_t i = 0; i < known; ++i)
        dib::write_value(to + i * sizeof(RGBQUAD), RGBQUAD{from[i].rgbBlue, from[i].rgbGreen, from[i].rgbRed, 0});
}

/// Everything in front of the pixels; for 5-6-5 behind the shortest header also the masks, which lie over the first of
/// them.
void write_head(uint8_t* block, const BITMAPHANDLE& bitmap, const DibLayout& layout) noexcept
{
    dib::Header header;
    header.size = layout.header_bytes;
    header.width = bitmap.Width;
    header.height = bitmap.Height;
    header.planes = 1;
    header.bits = static_cast<uint16_t>(layout.bits);
    header.compression = layout.has_masks() ? BI_BITFIELDS : BI_RGB;
    header.image_bytes = static_cast<uint32_t>(layout.image);
    header.x_per_metre = dib::per_metre(bitmap.XResolution);
    header.y_per_metre = dib::per_metre(bitmap.YResolution);
    header.colors_used = layout.colors;
    dib::write_header(block, header);
    if (layout.header_bytes > dib::kInfoSize)
        std::memset(block + dib::kInfoSize, 0, layout.header_bytes - dib::kInfoSize);
    else if (layout.has_masks())
        std::memcpy(block + dib::kInfoSize, kMasks565, std::min<uint64_t>(sizeof kMasks565, layout.image));
    if (layout.header_bytes == dib::kV5Size)
        dib::write_value(block + dib::kColorSpaceOffset, dib::kSrgb);
    if (layout.colors != 0)
        write_colors(block + layout.header_bytes, bitmap, layout.colors);
}

/// Puts rows of a bitmap into a DIB's pixel array.
class ImageRows {
public:
    ImageRows(const BITMAPHANDLE& bitmap, const DibLayout& layout, uint8_t* image) noexcept
        : bitmap_(bitmap), layout_(layout), image_(image), line_(bitmap.BytesPerLine),
          used_(static_cast<size_t>(packed_bytes(static_cast<uint32_t>(bitmap.Width), layout.bits)))
    {
        target_.bits = layout.bits;
        target_.order = layout.order;
    }

    int open() noexcept { return converts_colors() ? colors_.open(bitmap_, target_) : V_SUCCESS; }

    /// Takes `rows` rows from `row` on.
    int put(const uint8_t* from, int32_t row, int32_t rows) noexcept
    {
        const bool in_order = bitmap_.ViewPerspective == BOTTOM_LEFT;
        if (in_order && layout_.as_stored && line_ == stride())
            return copy_block(from, place(row), rows);
        for (int32_t i = 0; i < rows; ++i) {
            const int32_t at = in_order ? row + i : bitmap_.Height - 1 - row - i;
            const int result = put_one(from + line_ * static_cast<uint32_t>(i), place(at));
            if (result != V_SUCCESS)
                return result;
        }
        return V_SUCCESS;
    }

private:
    bool converts_colors() const noexcept { return !layout_.as_stored && !is_indexed(bitmap_.BitsPerPixel); }
    size_t stride() const noexcept { return static_cast<size_t>(layout_.stride); }
    uint8_t* place(int32_t row) const noexcept { return image_ + stride() * static_cast<uint32_t>(row); }

    /// The converter's copy knows best how to move much at once.
    int copy_block(const uint8_t* from, uint8_t* to, int32_t rows) const noexcept
    {
        ConvertJob bytes_as_they_are;
        bytes_as_they_are.width = static_cast<int32_t>(line_);
        bytes_as_they_are.src_bits = bytes_as_they_are.dst_bits = 8;
        bytes_as_they_are.src_order = bytes_as_they_are.dst_order = COLORORDER_GRAY;
        return convert_rows({from, line_}, {to, line_}, static_cast<size_t>(rows), bytes_as_they_are);
    }

    int put_one(const uint8_t* from, uint8_t* to) noexcept
    {
        int result = V_SUCCESS;
        size_t written = used_;
        if (layout_.as_stored) {
            written = std::min(line_, stride());
            std::memcpy(to, from, written);
        } else if (is_indexed(bitmap_.BitsPerPixel)) {
            widen_indices(from, to);
        } else {
            result = colors_.run({from, line_}, {to, stride()}, 1);
        }
        std::memset(to + written, 0, stride() - written);
        return result;
    }

    /// Indices stay what they are at the greater depth.
    void widen_indices(const uint8_t* from, uint8_t* to) const noexcept
    {
        constexpr size_t kChunk = 2048;
        const int32_t bits = bitmap_.BitsPerPixel;
        const auto width = static_cast<size_t>(bitmap_.Width);
        if (layout_.bits == 8)
            return spread_pixels(from, to, width, bits);
        uint8_t indices[kChunk];
        for (size_t at = 0; at < width; at += kChunk) {
            const size_t count = std::min(kChunk, width - at);
            spread_pixels(from + packed_bytes(at, bits), indices, count, bits);
            gather_pixels(indices, to + packed_bytes(at, layout_.bits), count, layout_.bits);
        }
    }

    const BITMAPHANDLE& bitmap_;
    const DibLayout& layout_;
    uint8_t* image_;
    size_t line_;
    size_t used_; ///< bytes of a DIB row with pixels in them
    ColorTarget target_;
    ColorRows colors_;
};

/// Fills the pixel array.
int write_image(uint8_t* image, BITMAPHANDLE& bitmap, const DibLayout& layout) noexcept
{
    BitmapAccess access(bitmap);
    int result = access.result();
    if (result != V_SUCCESS)
        return result;
    RowReader reader(bitmap);
    const int32_t height = bitmap.Height;
    const int32_t batch = reader.in_place() ? reported_rows(height) : buffered_rows(bitmap, bitmap);
    Progress progress(height, layout.share);
    ImageRows rows(bitmap, layout, image);
    result = progress.begin();
    if (result == V_SUCCESS)
        result = rows.open();
    if (result == V_SUCCESS)
        result = reader.reserve(batch);
    for (int32_t row = 0; row < height && result == V_SUCCESS;) {
        const int32_t count = std::min(batch, height - row);
        const uint8_t* data = nullptr;
        result = reader.read(row, count, &data);
        if (result == V_SUCCESS)
            result = rows.put(data, row, count);
        row += count;
        if (result == V_SUCCESS)
            result = progress.update(row);
    }
    const int released = access.release();
    return result == V_SUCCESS ? released : result;
}

bool write_dib(uint8_t* block, BITMAPHANDLE& bitmap, const DibLayout& layout) noexcept
{
    if (write_image(block + layout.pixels(), bitmap, layout) != V_SUCCESS)
        return false;
    write_head(block, bitmap, layout);
    return true;
}

/// A new DIB in a movable block; null when anything fails.
HGLOBAL new_dib_block(BITMAPHANDLE& bitmap, const DibLayout& layout) noexcept
{
    HGLOBAL handle = platform::movable_alloc(kMoveableZeroed, static_cast<size_t>(layout.total()));
    if (!handle)
        return nullptr;
    auto* const block = static_cast<uint8_t*>(platform::movable_lock(handle));
    const bool is_done = block && write_dib(block, bitmap, layout);
    if (block)
        platform::movable_unlock(handle);
    if (!is_done) {
        platform::movable_free(handle);
        handle = nullptr;
    }
    return handle;
}

/// A new DIB in plain memory.
void* new_dib_memory(BITMAPHANDLE& bitmap, const DibLayout& layout) noexcept
{
    auto* const block = static_cast<uint8_t*>(platform::heap_alloc(static_cast<size_t>(layout.total())));
    if (block && !write_dib(block, bitmap, layout)) {
        platform::heap_free(block);
        return nullptr;
    }
    return block;
}

/// Whether the bitmap's own block can be the DIB.
bool has_dib_block(const BITMAPHANDLE& bitmap, const DibLayout& layout) noexcept
{
    const BITMAPDATACALLBACKS* const calls = data_callbacks(bitmap);
    if (!is_own_global_block(bitmap) || !layout.as_stored || bitmap.ViewPerspective != BOTTOM_LEFT ||
        bitmap.BytesPerLine != layout.stride || bitmap.DataOffset < 0 || (calls && calls->GetBitmapRowColCallback))
        return false;
    const uint64_t held = platform::movable_size(bitmap.Handle);
    const auto offset = static_cast<uint64_t>(bitmap.DataOffset);
    return offset <= held && layout.image <= held - offset;
}

/// Makes the bitmap's own block the DIB; null leaves the bitmap as it was.
HGLOBAL give_block(BITMAPHANDLE& bitmap, const DibLayout& layout) noexcept
{
    const auto offset = static_cast<uint64_t>(bitmap.DataOffset);
    if (layout.total() > offset + layout.image) {
        HGLOBAL const grown =
            platform::movable_realloc(bitmap.Handle, static_cast<size_t>(layout.total()), kMoveableZeroed);
        if (!grown)
            return nullptr;
        bitmap.Handle = grown;
    }
    HGLOBAL const handle = bitmap.Handle;
    auto* const block = static_cast<uint8_t*>(platform::movable_lock(handle));
    if (!block)
        return nullptr;
    if (offset != layout.pixels())
        std::memmove(block + layout.pixels(), block + offset, static_cast<size_t>(layout.image));
    write_head(block, bitmap, layout);
    platform::movable_unlock(handle);
    forget_storage(bitmap);
    free_bitmap(bitmap);
    return handle;
}

bool is_upright(const BITMAPHANDLE& bitmap) noexcept
{
    return bitmap.ViewPerspective == TOP_LEFT || bitmap.ViewPerspective == BOTTOM_LEFT;
}

void* convert_upright(BITMAPHANDLE& bitmap, uint32_t type, uint32_t* size, bool global,
                      const ProgressShare& share) noexcept
{
    DibLayout layout;
    layout.share = share;
    if (!lay_out(bitmap, type, Fields::make_555, layout))
        return nullptr;
    void* const made = global ? new_dib_block(bitmap, layout) : new_dib_memory(bitmap, layout);
    if (made && size)
        *size = static_cast<uint32_t>(layout.total());
    return made;
}

} // namespace

HGLOBAL change_to_dib(BITMAPHANDLE& bitmap, uint32_t type) noexcept
{
    const Operation operation(bitmap); // turning it upright is part of this
    DibLayout layout;
    if (!lay_out(bitmap, type, Fields::keep, layout))
        return nullptr;
    if (has_dib_block(bitmap, layout))
        return give_block(bitmap, layout);
    if (!is_upright(bitmap) &&
        (change_view_perspective(bitmap, BOTTOM_LEFT) != V_SUCCESS || !lay_out(bitmap, type, Fields::keep, layout)))
        return nullptr;
    HGLOBAL const handle = new_dib_block(bitmap, layout);
    if (handle)
        free_bitmap(bitmap);
    return handle;
}

void* convert_to_dib(BITMAPHANDLE& bitmap, uint32_t type, uint32_t* size, bool global) noexcept
{
    if (is_upright(bitmap))
        return convert_upright(bitmap, type, size, global, {});
    BITMAPHANDLE upright;
    constexpr uint32_t kParts = DUPFLAG_PALETTE | DUPFLAG_GRAYTABLES | DUPFLAG_ANIMATION;
    if (copy_in_view_perspective(upright, bitmap, kRecordSize, BOTTOM_LEFT, kParts, ProgressShare{}.pass(0, 2)) !=
        V_SUCCESS)
        return nullptr;
    void* const made = convert_upright(upright, type, size, global, ProgressShare{}.pass(1, 2));
    free_bitmap(upright);
    return made;
}

} // namespace vk
