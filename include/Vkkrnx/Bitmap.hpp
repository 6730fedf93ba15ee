/**
 * @file Bitmap.hpp
 * Bitmaps: owned (vk::Bitmap), and borrowed (vk::BitmapView). Vkkrnx.hpp includes it.
 */
#ifndef VKKRNX_BITMAP_HPP
#define VKKRNX_BITMAP_HPP

#include "Shapes.hpp"

namespace vk {
inline namespace VKKRNX_ABI {

/// A block of movable global memory, as device-independent bitmaps are handed around in.
class DibBlock {
public:
    /// Without a block.
    DibBlock() noexcept = default;
    /// Takes a block over.
    explicit DibBlock(HGLOBAL block) noexcept : block_(block) {}
    /// Takes the other's block over.
    DibBlock(DibBlock&& other) noexcept : block_(other.release()) {}
    /// Frees its block and takes the other's over.
    DibBlock& operator=(DibBlock&& other) noexcept
    {
        DibBlock(std::move(other)).swap(*this);
        return *this;
    }
    ~DibBlock()
    {
        if (block_)
            GlobalFree(block_);
    }
    /// The block's handle, or null.
    [[nodiscard]] HGLOBAL get() const noexcept { return block_; }
    /// Gives the block up. @return its handle.
    [[nodiscard]] HGLOBAL release() noexcept { return std::exchange(block_, nullptr); }
    /// The block's size in bytes.
    [[nodiscard]] std::size_t size() const noexcept { return block_ ? GlobalSize(block_) : 0; }
    /// Exchanges blocks.
    void swap(DibBlock& other) noexcept { std::swap(block_, other.block_); }

private:
    HGLOBAL block_ = nullptr;
};

/// A bitmap that somebody else owns. It refers to the record, which stays where it is; copies refer to the same one.
class BitmapView : public Operations {
public:
    /// Of a record of the C interface, of either size.
    explicit BitmapView(BITMAPHANDLE& record) noexcept : Operations(&record) {}
    /// Of a bitmap.
    explicit BitmapView(Operations& bitmap) noexcept : Operations(bitmap.record()) {}
};

/// What a new bitmap is to be like, besides its size and depth.
struct CreateOptions {
    ColorOrder order = ColorOrder::bgr;              ///< of channels
    Memory memory = Memory::conventional;            ///< where pixels go
    std::span<const RGBQUAD> palette = {};           ///< `1 << depth` entries, or none for the fixed palette
    Perspective perspective = Perspective::top_left; ///< how rows are stored
};

/// A bitmap and all that hangs on it, freed with it. It moves, together with its locks; `clone` copies it.
class Bitmap : public Operations {
public:
    /// An empty record.
    Bitmap() noexcept : Operations(&held_) {}
    /// Takes the other's pixels and parts over; the other is empty then.
    Bitmap(Bitmap&& other) noexcept : Operations(&held_), held_(other.release()) {}
    /// Frees what it has, and takes the other's pixels and parts over.
    Bitmap& operator=(Bitmap&& other) noexcept
    {
        if (this != &other) {
            reset();
            held_ = other.release();
        }
        return *this;
    }
    ~Bitmap() { reset(); }

    /// A bitmap with clear pixels (V_CreateBitmap). A depth of 0 means 8 bits with a gray palette.
    [[nodiscard]] static Bitmap create(std::int32_t width, std::int32_t height, std::int32_t depth,
                                       const CreateOptions& options = {}, Report report = {})
    {
        return created(width, height, depth, options, value_of(options.memory), {}, report);
    }
    /// A bitmap over memory of the caller's, which outlives it: rows of ((width * depth + 31) / 32) * 4 bytes.
    [[nodiscard]] static Bitmap over(std::span<std::byte> pixels, std::int32_t width, std::int32_t height,
                                     std::int32_t depth, const CreateOptions& options = {}, Report report = {})
    {
        const std::int64_t line = (static_cast<std::int64_t>(width) * depth + 31) / 32 * 4;
        if (width < 0 || height < 0 || depth < 0 || depth > 64 ||
            pixels.size() / static_cast<std::size_t>(height > 0 ? height : 1) < static_cast<std::size_t>(line)) {
            report(V_ERROR_BUFFER_TOO_SMALL);
            return Bitmap();
        }
        return created(width, height, depth, options, TYPE_USER, pixels, report);
    }
    /// Takes over what a record of the C interface describes, which is not to be freed there any more. An earlier
    /// record is refused with Code::invalid_struct_size.
    [[nodiscard]] static Bitmap adopt(const BITMAPHANDLE& record, Report report = {})
    {
        Bitmap bitmap;
        if (report(record.StructSize == record_size ? V_SUCCESS : V_ERROR_INVALID_STRUCT_SIZE))
            bitmap.held_ = record;
        return bitmap;
    }
    /// Makes a device-independent bitmap's block the storage (V_ChangeFromDIB). After a failure the block is untouched.
    [[nodiscard]] static Bitmap from_dib(DibBlock&& block, Report report = {})
    {
        Bitmap bitmap;
        if (bitmap.made(V_ChangeFromDIB(bitmap.record_, record_size, block.get()), report))
            static_cast<void>(block.release());
        return bitmap;
    }
    /// A bitmap over a block of the caller's, which outlives it (V_MirrorFromDIB).
    [[nodiscard]] static Bitmap over_dib(const DibBlock& block, Report report = {})
    {
        Bitmap bitmap;
        bitmap.made(V_MirrorFromDIB(bitmap.record_, record_size, block.get()), report);
        return bitmap;
    }
    /// A bitmap of a device-independent one in memory (V_ConvertFromDIB), all that its header says.
    [[nodiscard]] static Bitmap from_dib(const BITMAPINFO& info, const void* bits, Report report = {})
    {
        Bitmap bitmap;
        bitmap.made(V_ConvertFromDIB(bitmap.record_, record_size, &info, bits), report);
        return bitmap;
    }
    /// A bitmap of a YUV picture (V_YuvToBitmap).
    [[nodiscard]] static Bitmap from_yuv(const V_YUVPICTURE& picture, Report report = {})
    {
        Bitmap bitmap;
        bitmap.made(V_YuvToBitmap(bitmap.record_, record_size, &picture), report);
        return bitmap;
    }

    /// All rows, to read, of a bitmap that stays.
    [[nodiscard]] Rows rows(Report report = {}) & { return Operations::rows(report); }
    /// A bitmap that goes has none to offer.
    Rows rows(Report report = {}) && = delete;
    /// Frees pixels and parts; the record is empty then.
    void reset() noexcept
    {
        if (!allocated() && held_.ExtraData)
            V_FreeBitmapExtraData(&held_);
        if (held_.Flags != 0 || held_.Palette || held_.RgnInfo || held_.Overlays || held_.DataCallbacks || held_.LUT)
            V_FreeBitmap(&held_);
        held_ = empty_record();
    }
    /// Exchanges pixels and parts.
    void swap(Bitmap& other) noexcept { std::swap(held_, other.held_); }
    /// Gives pixels and parts up. @return the record, which is the caller's to free with V_FreeBitmap.
    [[nodiscard]] BITMAPHANDLE release() noexcept { return std::exchange(held_, empty_record()); }
    /// Turns the bitmap into a device-independent one, without copying where the layouts agree (V_ChangeToDIB). The
    /// bitmap is empty then; after a failure it is as it was.
    [[nodiscard]] DibBlock into_dib(DibHeader header = DibHeader::info, Report report = {})
    {
        DibBlock block(V_ChangeToDIB(record_, value_of(header)));
        if (report(block.get() ? V_SUCCESS : V_FAILURE))
            reset();
        return block;
    }

private:
    friend class PixelOperations;
    friend class Operations;
    friend class BitmapList;

    static BITMAPHANDLE empty_record() noexcept
    {
        BITMAPHANDLE record{};
        record.StructSize = record_size;
        return record;
    }
    static Bitmap created(std::int32_t width, std::int32_t height, std::int32_t depth, const CreateOptions& options,
                          std::uint32_t memory, std::span<std::byte> pixels, Report report)
    {
        Bitmap bitmap;
        const bool is_indexed = depth >= 1 && depth <= 8;
        if (!options.palette.empty() && is_indexed && options.palette.size() < std::size_t{1} << depth) {
            report(V_ERROR_INVALID_PARAMETER);
            return bitmap;
        }
        bitmap.made(V_CreateBitmap(bitmap.record_, record_size, memory, width, height, depth, value_of(options.order),
                                   options.palette.empty() || !is_indexed ? nullptr : options.palette.data(),
                                   value_of(options.perspective), pixels.data(), pixels.size()),
                    report);
        return bitmap;
    }
    /// After a call that fills the record.
    bool made(int result, Report report)
    {
        if (result != V_SUCCESS)
            held_ = empty_record();
        return report(result);
    }

    BITMAPHANDLE held_ = empty_record();
};

inline Bitmap PixelOperations::converted(std::int32_t depth, ColorRes how, std::span<const RGBQUAD> palette,
                                         Report report)
{
    Bitmap result;
    result.made(V_ColorResBitmap(record_, result.record_, record_size, depth, value_of(how),
                                 palette.empty() ? nullptr : palette.data(), nullptr,
                                 static_cast<std::uint32_t>(palette.size())),
                report);
    return result;
}
inline Bitmap PixelOperations::grayed(std::int32_t depth, Report report)
{
    Bitmap result;
    result.made(V_CreateGrayScaleBitmap(result.record_, record_, record_size, depth), report);
    return result;
}
inline Bitmap PixelOperations::alpha(Report report)
{
    Bitmap result;
    result.made(V_GetBitmapAlpha(result.record_, record_, record_size), report);
    return result;
}
inline Bitmap PixelOperations::region_mask(Report report)
{
    Bitmap result;
    result.made(V_GetBitmapRegionMask(result.record_, record_, record_size), report);
    return result;
}
inline Bitmap PixelOperations::windowed(const Window& window, std::int32_t depth, Report report)
{
    Bitmap result;
    result.made(V_WindowBitmap(result.record_, record_, record_size, &window, depth), report);
    return result;
}
inline Bitmap PixelOperations::overlay(std::int32_t slot, OverlayUse use, Report report)
{
    Bitmap result;
    result.made(V_GetBitmapOverlay(record_, slot, result.record_, record_size, value_of(use)), report);
    return result;
}
inline Bitmap Operations::with_perspective(Perspective to, Report report)
{
    Bitmap result;
    result.made(V_ChangeBitmapViewPerspective(result.record_, record_, record_size, value_of(to)), report);
    return result;
}
inline Bitmap Operations::part(const Rect& rect, Report report)
{
    Bitmap result;
    result.made(V_CopyBitmapRect(result.record_, record_, record_size, rect.left, rect.top, extent(rect.width()),
                                 extent(rect.height())),
                report);
    return result;
}
inline Bitmap Operations::rendered(const Rect& rect, std::int32_t width, std::int32_t height, Render how, Report report)
{
    Bitmap result;
    result.made(V_RenderBitmap(result.record_, record_, record_size, &rect, width, height, value_of(how)), report);
    return result;
}
inline Bitmap Operations::clone(Report report)
{
    Bitmap result;
    result.made(V_CopyBitmap(result.record_, record_, record_size), report);
    return result;
}
inline Bitmap Operations::like(std::int32_t width, std::int32_t height, std::int32_t depth, Memory memory,
                               DupFlag parts, Report report)
{
    Bitmap result;
    result.made(V_DupBitmapNewDim(result.record_, record_, record_size, width, height, depth, value_of(memory),
                                  value_of(parts)),
                report);
    return result;
}
inline DibBlock Operations::to_dib(DibHeader header, Report report)
{
    DibBlock block(V_ConvertToDIB(record_, value_of(header)));
    report(block.get() ? V_SUCCESS : V_FAILURE);
    return block;
}

} // namespace VKKRNX_ABI
} // namespace vk

#endif // VKKRNX_BITMAP_HPP
