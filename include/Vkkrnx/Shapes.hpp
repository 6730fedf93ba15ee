/**
 * @file Shapes.hpp
 * Operations that change a bitmap's geometry, and those that take two bitmaps. Vkkrnx.hpp includes it. Arguments,
 * results and what a failure leaves are those of the C functions that are named.
 */
#ifndef VKKRNX_SHAPES_HPP
#define VKKRNX_SHAPES_HPP

#include "Pixels.hpp"

namespace vk {
inline namespace VKKRNX_ABI {

class DibBlock;

/// A YUV picture in memory of the caller's, from the code, the size and how samples are meant.
struct YuvPicture : V_YUVPICTURE {
    /// Of a four-character code such as "NV12"; its planes are laid out in one block (V_GetYuvSize) that `Planes[0]`
    /// has yet to point at.
    YuvPicture(const char (&code)[5], std::int32_t width, std::int32_t height, YuvMatrix matrix = YuvMatrix::bt601,
               YuvRange range = YuvRange::video, YuvSiting siting = YuvSiting::left) noexcept
        : V_YUVPICTURE{sizeof(V_YUVPICTURE),
                       four(code),
                       width,
                       height,
                       value_of(matrix),
                       value_of(range),
                       value_of(siting),
                       0,
                       {},
                       {},
                       {}},
          size_(V_GetYuvSize(this))
    {}
    /// Bytes of the block; 0 when there is no such picture.
    [[nodiscard]] std::uint64_t size() const noexcept { return size_; }

private:
    static constexpr std::uint32_t four(const char (&code)[5]) noexcept
    {
        std::uint32_t number = 0;
        for (int i = 3; i >= 0; --i)
            number = number << 8 | static_cast<unsigned char>(code[i]);
        return number;
    }

    std::uint64_t size_;
};

/// All that can be done to a bitmap, whoever owns it.
class Operations : public PixelOperations {
public:
    /// Changes the size (V_SizeBitmap).
    void resize(std::int32_t width, std::int32_t height, SizeFlag how = {}, Report report = {})
    {
        report(V_SizeBitmap(record_, width, height, value_of(how)));
    }
    /// Fills another bitmap with this one, resized to its size (V_ResizeBitmap).
    void resize_into(Operand destination, SizeFlag how = {}, Report report = {})
    {
        report(V_ResizeBitmap(record_, destination.record(), value_of(how)));
    }
    /// Changes the size by area averaging (V_ResampleBitmap).
    void resample(std::int32_t width, std::int32_t height, Report report = {})
    {
        report(V_ResampleBitmap(record_, width, height));
    }
    /// Changes the size by cubic convolution (V_BicubicResampleBitmap).
    void resample_bicubic(std::int32_t width, std::int32_t height, Report report = {})
    {
        report(V_BicubicResampleBitmap(record_, width, height));
    }
    /// Turns the displayed picture clockwise by hundredths of a degree (V_RotateBitmap).
    void rotate(std::int32_t angle, RotateFlag how = {}, Color fill_color = {}, Report report = {})
    {
        report(V_RotateBitmap(record_, angle, value_of(how), fill_color.value()));
    }
    /// Turns the displayed picture by a quarter (V_RotateBitmap90).
    void rotate(QuarterTurn turn, Report report = {}) { report(V_RotateBitmap90(record_, value_of(turn))); }
    /// Reverses the displayed picture top to bottom (V_FlipBitmap).
    void flip(Report report = {}) { report(V_FlipBitmap(record_)); }
    /// Reverses the displayed picture left to right (V_ReverseBitmap).
    void mirror(Report report = {}) { report(V_ReverseBitmap(record_)); }
    /// Rearranges the pixels for another perspective (V_ChangeBitmapViewPerspective).
    void change_perspective(Perspective to, Report report = {})
    {
        report(V_ChangeBitmapViewPerspective(nullptr, record_, 0, value_of(to)));
    }
    /// The same into a new bitmap.
    [[nodiscard]] Bitmap with_perspective(Perspective to, Report report = {});
    /// A rectangle of another perspective in stored pixels (V_RectToBitmap).
    [[nodiscard]] Rect to_stored(Rect rect, Perspective from = Perspective::top_left, Report report = {})
    {
        report(V_RectToBitmap(record_, value_of(from), &rect));
        return rect;
    }
    /// A rectangle of stored pixels in another perspective (V_RectFromBitmap).
    [[nodiscard]] Rect from_stored(Rect rect, Perspective to = Perspective::top_left, Report report = {})
    {
        report(V_RectFromBitmap(record_, value_of(to), &rect));
        return rect;
    }
    /// Shears the picture by hundredths of a degree (V_ShearBitmap).
    void shear(std::int32_t angle, ShearFlag how = {}, Color fill_color = {}, Report report = {})
    {
        report(V_ShearBitmap(record_, angle, value_of(how), fill_color.value()));
    }
    /// Warps by a projective map, onto a canvas of that size; 0 stands for what the picture takes (V_WarpBitmap).
    void warp(const Matrix& matrix, std::int32_t width = 0, std::int32_t height = 0, WarpFlag how = {},
              Color fill_color = {}, Report report = {})
    {
        report(V_WarpBitmap(record_, &matrix, width, height, value_of(how), fill_color.value()));
    }
    /// Makes an upright rectangle of what has four corners (V_WarpBitmapCorners).
    void warp_corners(std::span<const Point, 4> corners, std::int32_t width = 0, std::int32_t height = 0,
                      WarpFlag how = {}, Color fill_color = {}, Report report = {})
    {
        report(V_WarpBitmapCorners(record_, corners.data(), width, height, value_of(how), fill_color.value()));
    }
    /// Warps by a grid of so many columns, row after row (V_WarpBitmapGrid).
    void warp_grid(std::span<const Point> grid, std::int32_t columns, std::int32_t width = 0, std::int32_t height = 0,
                   WarpFlag how = {}, Color fill_color = {}, Report report = {})
    {
        const std::size_t grid_rows = columns > 0 ? grid.size() / static_cast<std::size_t>(columns) : 0;
        report(grid_rows > INT32_MAX
                   ? V_ERROR_INVALID_PARAMETER
                   : V_WarpBitmapGrid(record_, grid.data(), columns, static_cast<std::int32_t>(grid_rows), width,
                                      height, value_of(how), fill_color.value()));
    }

    /// A part of the bitmap as a bitmap (V_CopyBitmapRect). Empty where the rectangle leaves nothing.
    [[nodiscard]] Bitmap part(const Rect& rect, Report report = {});
    /// Cuts the bitmap to a part of it (V_TrimBitmap).
    void trim(const Rect& rect, Report report = {})
    {
        report(V_TrimBitmap(record_, rect.left, rect.top, extent(rect.width()), extent(rect.height())));
    }
    /// What is not border (V_GetTrimRect).
    [[nodiscard]] Rect trim_rect(Color border, std::uint32_t tolerance = 0, Report report = {})
    {
        Rect rect;
        report(V_GetTrimRect(record_, border.value(), tolerance, &rect));
        return rect;
    }
    /// Adds pixels around the bitmap (V_ExtendBitmap).
    void extend(std::int32_t left, std::int32_t top, std::int32_t right, std::int32_t bottom, Extend how = Extend::fill,
                Color fill_color = {}, Report report = {})
    {
        report(V_ExtendBitmap(record_, left, top, right, bottom, value_of(how), fill_color.value()));
    }
    /// Puts a rectangle of another bitmap into this one (V_CombineBitmap).
    void combine(const Rect& rect, Operand source, std::int32_t source_col = 0, std::int32_t source_row = 0,
                 Combine how = Combine::copy, Report report = {})
    {
        report(V_CombineBitmap(record_, rect.left, rect.top, extent(rect.width()), extent(rect.height()),
                               source.record(), source_col, source_row, value_of(how)));
    }
    /// Blends a rectangle with another bitmap (V_BlendBitmap), its opacity out of 65535.
    void blend(const Rect& rect, Operand source, std::int32_t source_col = 0, std::int32_t source_row = 0,
               Blend mode = Blend::source_over, std::uint32_t opacity = 65535, Report report = {})
    {
        report(V_BlendBitmap(record_, rect.left, rect.top, extent(rect.width()), extent(rect.height()), source.record(),
                             source_col, source_row, nullptr, 0, 0, value_of(mode), opacity));
    }
    /// The same through a mask, whose first pixel lies on the rectangle's unless told otherwise.
    void blend_masked(const Rect& rect, Operand source, Operand mask, std::int32_t source_col = 0,
                      std::int32_t source_row = 0, std::int32_t mask_col = 0, std::int32_t mask_row = 0,
                      Blend mode = Blend::source_over, std::uint32_t opacity = 65535, Report report = {})
    {
        report(V_BlendBitmap(record_, rect.left, rect.top, extent(rect.width()), extent(rect.height()), source.record(),
                             source_col, source_row, mask.record(), mask_col, mask_row, value_of(mode), opacity));
    }

    /// A bitmap of what a viewer shows of a part of this one, in that size; 0 stands for its own (V_RenderBitmap).
    [[nodiscard]] Bitmap rendered(const Rect& rect, std::int32_t width = 0, std::int32_t height = 0, Render how = {},
                                  Report report = {});
    /// A copy with all that hangs on it (V_CopyBitmap).
    [[nodiscard]] Bitmap clone(Report report = {});
    /// A bitmap like this one of another size and depth, with clear pixels (V_DupBitmapNewDim).
    [[nodiscard]] Bitmap like(std::int32_t width, std::int32_t height, std::int32_t depth, Memory memory = {},
                              DupFlag parts = {}, Report report = {});
    /// A device-independent bitmap of this one (V_ConvertToDIB).
    [[nodiscard]] DibBlock to_dib(DibHeader header = DibHeader::info, Report report = {});
    /// Writes the picture as YUV into the memory that it points at (V_BitmapToYuv).
    void to_yuv(YuvPicture& picture, Report report = {}) { report(V_BitmapToYuv(record_, &picture)); }

protected:
    using PixelOperations::PixelOperations;
    /// Of the same record.
    Operations(const Operations&) noexcept = default;
    /// Goes over to the other's record.
    Operations& operator=(const Operations&) noexcept = default;
    ~Operations() = default;

private:
    static constexpr std::int32_t extent(std::int64_t size) noexcept
    {
        return size > INT32_MAX ? INT32_MAX : size < 0 ? 0 : static_cast<std::int32_t>(size);
    }
};

} // namespace VKKRNX_ABI
} // namespace vk

#endif // VKKRNX_SHAPES_HPP
