// A DIB's block as the storage of a bitmap, owned or borrowed. Everything is checked against the size of the block
// before anything of it is used; what changes the block, the repacking of unusual masks, comes when nothing can fail
// any more.
#include "kernel/bitmap/Alloc.h"
#include "kernel/bitmap/Record.h"
#include "kernel/dib/BitFields.h"
#include "kernel/dib/Dib.h"
#include "kernel/dib/Yuv.h"
#include "kernel/format/RowMath.h"
#include "kernel/storage/Storage.h"
#include "kernel/system/Checks.h"
#include "platform/platform.h"

namespace vk {

namespace {

using dib::Header;

/// A block, locked for as long as it is looked at.
class LockedBlock {
public:
    explicit LockedBlock(HGLOBAL handle) noexcept : handle_(handle), data_(nullptr)
    {
        data_ = static_cast<uint8_t*>(platform::movable_lock(handle));
        size_ = data_ ? platform::movable_size(handle) : 0;
    }
    LockedBlock(const LockedBlock&) = delete;
    LockedBlock& operator=(const LockedBlock&) = delete;
    ~LockedBlock()
    {
        if (data_)
            platform::movable_unlock(handle_);
    }

    uint8_t* data() const noexcept { return data_; }
    uint64_t size() const noexcept { return size_; }

private:
    HGLOBAL handle_;
    uint8_t* data_;
    uint64_t size_ = 0;
};

/// What a block holds, checked.
struct Packed {
    Header header;
    uint64_t masks = 0;  ///< offset of the masks, for bit fields
    uint64_t pixels = 0; ///< offset of the pixel array

    bool has_fields() const noexcept { return header.compression == BI_BITFIELDS; }
    uint32_t entry_bytes() const noexcept { return header.size == dib::kCoreSize ? 3 : sizeof(RGBQUAD); }
};

/// Reads the header of a block; false when it does not hold one.
bool read_block_header(const LockedBlock& block, Header& header) noexcept
{
    if (block.size() < sizeof header.size)
        return false;
    const auto size = dib::read_value<uint32_t>(block.data());
    if (size > block.size() || (size != dib::kCoreSize && size < dib::kInfoSize))
        return false;
    header = size == dib::kCoreSize ? dib::read_core_header(block.data()) : dib::read_header(block.data());
    if (size != dib::kInfoSize)
        header.x_per_metre = header.y_per_metre = 0; // only that header's own resolution counts
    return header.width > 0 && header.height != 0 && header.height != INT32_MIN;
}

/// Compressions whose pixels have to be decoded.
bool is_decoded(uint32_t code) noexcept
{
    return code == BI_RLE8 || code == BI_RLE4 || dib::find_yuv(code) || is_jpeg_code(code);
}

/// Whether a block can serve as storage, or its bit fields be copied: for copies the planes do not count.
int check_format(const Header& header, bool borrow) noexcept
{
    const int32_t bits = header.bits;
    if (header.planes != 1 && !(borrow && header.compression == BI_BITFIELDS))
        return V_ERROR_FEATURE_NOT_SUPPORTED;
    if (header.compression == BI_BITFIELDS)
        return bits == 16 || bits == 32 ? V_SUCCESS : V_ERROR_FEATURE_NOT_SUPPORTED;
    const bool is_plain = bits == 1 || bits == 4 || bits == 8 || bits == 16 || bits == 24 || bits == 32;
    return header.compression == BI_RGB && is_plain ? V_SUCCESS : V_ERROR_FEATURE_NOT_SUPPORTED;
}

/// Finds masks and pixels, and checks that the block holds all of them.
int lay_out(const LockedBlock& block, Packed& packed, bool borrow) noexcept
{
    const Header& header = packed.header;
    const int result = check_format(header, borrow);
    if (result != V_SUCCESS)
        return result;
    const uint64_t image = header.plain_bytes();
    packed.masks = header.size;
    if (packed.has_fields()) {
        packed.pixels = uint64_t{header.size} + dib::kMaskBytes;
        if (packed.pixels + image > block.size() && header.size >= dib::kInfoSize + dib::kMaskBytes) {
            packed.masks = dib::kInfoSize; // the header has masks of its own
            packed.pixels = header.size;
        }
    } else {
        const uint64_t entries = header.bits > 8 ? header.colors_used : header.colors();
        if (header.bits < 24 && entries > uint64_t{1} << header.bits)
            return V_ERROR_INVALID_PARAMETER;
        packed.pixels = header.size + entries * packed.entry_bytes();
    }
    const bool fits = packed.pixels + image <= block.size() && packed.masks <= block.size() &&
                      row_holds_width(wrapping_bytes_per_line(header.width, header.bits), header.width, header.bits);
    return fits ? V_SUCCESS : V_ERROR_INVALID_PARAMETER;
}

/// Brings unusual masks to a colour order, in the block itself. The order the pixels are in then.
int32_t normalise_fields(const LockedBlock& block, const Packed& packed) noexcept
{
    const Header& header = packed.header;
    const dib::Masks masks = dib::read_masks(block.data() + packed.masks);
    const int32_t order = dib::usual_order(masks, header.bits);
    if (order >= 0)
        return order;
    const dib::FieldMover mover(masks);
    uint8_t* row = block.data() + packed.pixels;
    for (int32_t i = 0; i < header.rows(); ++i, row += header.stride())
        mover.repack(row, row, dib::repacked_pixels(header), header.bits, 0);
    return COLORORDER_BGR;
}

/// Describes the bitmap and gives it all that is not the block.
int describe(BITMAPHANDLE& bitmap, uint32_t struct_size, const LockedBlock& block, const Packed& packed) noexcept
{
    const Header& header = packed.header;
    int result = init_bitmap(bitmap, struct_size, header.width, header.rows(), header.bits, nullptr);
    if (result == V_SUCCESS && header.bits <= 8)
        result = set_color_table(bitmap, block.data() + header.size, header.colors(), packed.entry_bytes());
    if (result == V_SUCCESS && !give_paint_table(bitmap))
        result = V_ERROR_NO_MEMORY;
    if (result != V_SUCCESS) {
        free_bitmap(bitmap);
        return result;
    }
    dib::set_resolution(bitmap, header);
    bitmap.ViewPerspective = header.top_down() ? TOP_LEFT : BOTTOM_LEFT;
    bitmap.Order = header.bits > 8 ? COLORORDER_BGR : COLORORDER_RGB;
    bitmap.DataOffset = static_cast<int64_t>(packed.pixels);
    return V_SUCCESS;
}

/// Copies or decodes a block; bits start at an offset, which is within the block.
int convert_block(BITMAPHANDLE& bitmap, uint32_t struct_size, const LockedBlock& block, uint64_t offset) noexcept
{
    if (block.size() < dib::kInfoSize || offset > block.size())
        return V_ERROR_INVALID_PARAMETER;
    return convert_from_dib(bitmap, struct_size,
                            {block.data(), block.size(), block.data() + offset, block.size() - offset});
}

int adopt_checked(BITMAPHANDLE& bitmap, uint32_t struct_size, HGLOBAL handle, bool borrow, bool& decoded) noexcept
{
    const LockedBlock block(handle);
    Packed packed;
    if (!block.data()) // a block that cannot be locked now, or none
        return platform::movable_size(handle) != 0 ? V_ERROR_NO_MEMORY : V_ERROR_INVALID_PARAMETER;
    if (!read_block_header(block, packed.header))
        return V_ERROR_INVALID_PARAMETER;
    if (is_decoded(packed.header.compression)) {
        decoded = true;
        return convert_block(bitmap, struct_size, block, packed.header.size);
    }
    int result = lay_out(block, packed, borrow);
    if (result == V_SUCCESS && borrow && packed.has_fields())
        return convert_block(bitmap, struct_size, block, packed.pixels);
    if (result == V_SUCCESS)
        result = describe(bitmap, struct_size, block, packed);
    if (result != V_SUCCESS)
        return result;
    if (packed.has_fields())
        bitmap.Order = normalise_fields(block, packed);
    bitmap.Handle = handle;
    use_global_block(bitmap, borrow);
    bitmap.Flags |= BITMAPFLAG_ALLOCATED;
    return V_SUCCESS;
}

} // namespace

int adopt_dib(BITMAPHANDLE& bitmap, uint32_t struct_size, HGLOBAL handle, bool borrow) noexcept
{
    bool decoded = false;
    const int result = adopt_checked(bitmap, struct_size, handle, borrow, decoded);
    if (result != V_SUCCESS)
        clear_record(bitmap, struct_size);
    else if (decoded && !borrow)
        platform::movable_free(handle);
    return result;
}

} // namespace vk
