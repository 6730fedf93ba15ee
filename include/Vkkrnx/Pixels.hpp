/**
 * @file Pixels.hpp
 * Operations that keep a bitmap's geometry: rows, storage, colours, filling, windows, regions, overlays. Vkkrnx.hpp
 * includes it. Arguments, results and what a failure leaves are those of the C functions that are named.
 */
#ifndef VKKRNX_PIXELS_HPP
#define VKKRNX_PIXELS_HPP

#include "Record.hpp"

#include <vector>

namespace vk {
inline namespace VKKRNX_ABI {

/// What is said of an overlay; visible, white, in no bit at first.
struct OverlayAttributes : V_OVERLAYATTRIBUTES {
    /// As at first.
    OverlayAttributes() noexcept
        : V_OVERLAYATTRIBUTES{sizeof(V_OVERLAYATTRIBUTES), OVERLAYFLAG_VISIBLE, 0x00FFFFFFu, 0, 0, OVERLAY_NOBIT, {}}
    {}
};

/// A window on gray samples.
struct Window : V_WINDOW {
    /// By the sample in the middle, and the samples from black to white.
    Window(double center, double width, WindowFunction function = WindowFunction::linear,
           WindowFlag window_flags = {}) noexcept
        : V_WINDOW{sizeof(V_WINDOW), value_of(function), value_of(window_flags), 0, center, width}
    {}
};

/// A bitmap's region. It refers to the bitmap, which outlives it.
class Region {
public:
    /// Of a bitmap.
    explicit Region(Operand bitmap) noexcept : record_(bitmap.record()) {}

    /// Combines the region with a rectangle (V_SetBitmapRegionRect).
    void rectangle(const Rect& rect, RegionMode mode = RegionMode::replace, Report report = {})
    {
        report(V_SetBitmapRegionRect(record_, &rect, value_of(mode)));
    }
    /// Combines it with an ellipse (V_SetBitmapRegionEllipse).
    void ellipse(const Rect& rect, RegionMode mode = RegionMode::replace, Report report = {})
    {
        report(V_SetBitmapRegionEllipse(record_, &rect, value_of(mode)));
    }
    /// Combines it with a rectangle with rounded corners (V_SetBitmapRegionRoundRect).
    void round_rectangle(const Rect& rect, std::int32_t width, std::int32_t height,
                         RegionMode mode = RegionMode::replace, Report report = {})
    {
        report(V_SetBitmapRegionRoundRect(record_, &rect, width, height, value_of(mode)));
    }
    /// Combines it with a polygon (V_SetBitmapRegionPolygon).
    void polygon(std::span<const Point> points, FillRule rule = FillRule::alternate,
                 RegionMode mode = RegionMode::replace, Report report = {})
    {
        report(V_SetBitmapRegionPolygon(record_, points.data(), static_cast<std::uint32_t>(points.size()),
                                        value_of(rule), value_of(mode)));
    }
    /// Combines it with the pixels of a mask that are not 0 (V_SetBitmapRegionMask).
    void mask(Operand mask, RegionMode mode = RegionMode::replace, Report report = {})
    {
        report(V_SetBitmapRegionMask(record_, mask.record(), value_of(mode)));
    }
    /// Combines it with a range of colours (V_SetBitmapRegionColor).
    void colors(Color lower, Color upper, RegionMode mode = RegionMode::replace, Report report = {})
    {
        report(V_SetBitmapRegionColor(record_, lower.value(), upper.value(), value_of(mode)));
    }
    /// Combines it with what has nearly the colour of a pixel and hangs together with it (V_SetBitmapRegionMagicWand).
    void magic_wand(std::int32_t col, std::int32_t row, Color lower_tolerance, Color upper_tolerance,
                    RegionMode mode = RegionMode::replace, Report report = {})
    {
        report(V_SetBitmapRegionMagicWand(record_, col, row, lower_tolerance.value(), upper_tolerance.value(),
                                          value_of(mode)));
    }
    /// Makes it that of another bitmap (V_CopyBitmapRegion).
    void copy(Operand from, Report report = {}) { report(V_CopyBitmapRegion(record_, from.record())); }
    /// Makes it what it leaves out (V_InvertBitmapRegion).
    void invert(Report report = {}) { report(V_InvertBitmapRegion(record_)); }
    /// Moves it (V_OffsetBitmapRegion).
    void move(std::int32_t cols, std::int32_t rows, Report report = {})
    {
        report(V_OffsetBitmapRegion(record_, cols, rows));
    }
    /// Frees it (V_FreeBitmapRegion).
    void remove(Report report = {}) { report(V_FreeBitmapRegion(record_)); }

    /// Whether the bitmap has one.
    [[nodiscard]] bool exists(Report report = {}) const { return report.answer(V_BitmapHasRegion(record_)); }
    /// The smallest rectangle around it.
    [[nodiscard]] Rect bounds(Report report = {}) const
    {
        Rect rect;
        report(V_GetBitmapRegionBounds(record_, &rect));
        return rect;
    }
    /// The number of its pixels.
    [[nodiscard]] std::uint64_t area(Report report = {}) const
    {
        std::uint64_t pixels = 0;
        report(V_GetBitmapRegionArea(record_, &pixels));
        return pixels;
    }
    /// Whether a pixel is in it.
    [[nodiscard]] bool contains(std::int32_t col, std::int32_t row, Report report = {}) const
    {
        return report.answer(V_IsPointInBitmapRegion(record_, col, row));
    }
    /// The runs of a row that are in it (V_GetBitmapRegionRow).
    [[nodiscard]] std::vector<V_REGIONRUN> row(std::int32_t row, Report report = {}) const
    {
        std::int32_t count = 0;
        std::vector<V_REGIONRUN> runs;
        if (!report(V_GetBitmapRegionRow(record_, row, &count, nullptr)))
            return runs;
        runs.resize(static_cast<std::size_t>(count));
        if (count != 0 && !report(V_GetBitmapRegionRow(record_, row, &count, runs.data())))
            runs.clear();
        return runs;
    }

private:
    BITMAPHANDLE* record_;
};

/// Where a bitmap's pixels are, and how tiles are shaped (V_GetBitmapMemoryInfo).
struct Storage {
    Memory memory = Memory::as_usual;    ///< the kind of storage
    std::int64_t tile_size = 0;          ///< bytes per tile
    std::int32_t tiles = 0;              ///< the number of tiles
    std::int32_t conventional_tiles = 0; ///< tiles in memory
    std::int32_t tiles_left = 0;         ///< tiles in the file
    std::int32_t buffers = 0;            ///< tiles of the file that may be mapped at once
};

/// What keeps a bitmap's geometry.
class PixelOperations : public Record {
public:
    /// All rows, to read: `for (std::span<const std::byte> row : picture.rows())`.
    [[nodiscard]] Rows rows(Report report = {}) { return Rows(*this, report); }
    /// Calls a callable with the number of each row and its bytes, which it may change, in every kind of storage: where
    /// they lie in memory, else through a buffer. It may answer nothing, or false to stop.
    template <class Edit>
    requires std::invocable<Edit&, std::int32_t, std::span<std::byte>>
    void edit_rows(Edit&& edit, Report report = {})
    {
        LockGuard guard(*this, report);
        if (!guard)
            return;
        const bool is_here = !row(0).empty();
        const RowBuffer buffer(is_here ? 0 : bytes_per_line());
        if (!is_here && height() > 0 && buffer.span().empty()) {
            report(V_ERROR_NO_MEMORY);
            return;
        }
        for (std::int32_t y = 0; y < height(); ++y) {
            const std::span<std::byte> bytes = is_here ? row(y) : buffer.span();
            if (!is_here && get_row(y, bytes, report) == 0)
                return;
            const bool goes_on = go_on(edit, y, bytes);
            if ((!is_here && put_row(y, bytes, report) == 0) || !goes_on)
                return;
        }
    }

    /// Where the pixels are (V_GetBitmapMemoryInfo).
    [[nodiscard]] Storage storage(Report report = {})
    {
        Storage found;
        std::uint32_t memory = 0;
        if (report(V_GetBitmapMemoryInfo(record_, &memory, &found.tile_size, &found.tiles, &found.conventional_tiles,
                                         &found.tiles_left, &found.buffers)))
            found.memory = static_cast<Memory>(memory);
        return found;
    }
    /// Moves the pixels to storage of another kind (V_SetBitmapMemoryInfo).
    void move_to(Memory memory, Report report = {})
    {
        move_to(Storage{memory, 0, 0, 0, 0, 0}, MemoryInfo::memory, report);
    }
    /// Moves the pixels to other storage, taking those figures that are named.
    void move_to(const Storage& wanted, MemoryInfo figures, Report report = {})
    {
        report(V_SetBitmapMemoryInfo(record_, value_of(wanted.memory), wanted.tile_size, wanted.tiles,
                                     wanted.conventional_tiles, wanted.tiles_left, wanted.buffers, value_of(figures)));
    }
    /// Changes the way rows are stored (V_ChangeBitmapCompression).
    void compress(Compression compression, Report report = {})
    {
        report(V_ChangeBitmapCompression(record_, value_of(compression)));
    }
    /// Changes the number of rows (V_ChangeBitmapHeight).
    void change_height(std::int32_t height, Report report = {}) { report(V_ChangeBitmapHeight(record_, height)); }
    /// Copies all pixels from a bitmap of the same size and depth (V_CopyBitmapData).
    void copy_pixels(Operand from, Report report = {}) { report(V_CopyBitmapData(record_, from.record())); }

    /// Gives the bitmap a copy of palette entries (V_SetBitmapNewPalette).
    void set_palette(std::span<const RGBQUAD> palette, Report report = {})
    {
        report(V_SetBitmapNewPalette(record_, palette.data(), static_cast<std::uint32_t>(palette.size())));
    }
    /// A colour meant for another bitmap, as one that means the same here (V_TranslateBitmapColor).
    [[nodiscard]] Color translate(Color color, Operand from) noexcept
    {
        return Color(V_TranslateBitmapColor(record_, from.record(), color.value()));
    }
    /// Changes depth, order or palette (V_ColorResBitmap). A palette has `1 << depth` entries or fewer.
    void convert(std::int32_t depth, ColorRes how = {}, std::span<const RGBQUAD> palette = {}, Report report = {})
    {
        report(V_ColorResBitmap(record_, nullptr, 0, depth, value_of(how), palette.empty() ? nullptr : palette.data(),
                                nullptr, static_cast<std::uint32_t>(palette.size())));
    }
    /// The same into a new bitmap.
    [[nodiscard]] Bitmap converted(std::int32_t depth, ColorRes how = {}, std::span<const RGBQUAD> palette = {},
                                   Report report = {});
    /// Changes the depth to at most 8 bits with a palette made for the picture, of so many colours (0: all).
    void quantize(std::int32_t depth, std::uint32_t colors = 0, ColorRes how = {}, Report report = {})
    {
        report(V_ColorResBitmap(record_, nullptr, 0, depth, value_of(how | ColorRes::palette_optimized), nullptr,
                                nullptr, colors));
    }
    /// Makes the bitmap gray, of 8, 12 or 16 bits (V_GrayScaleBitmap).
    void make_gray(std::int32_t depth = 8, Report report = {}) { report(V_GrayScaleBitmap(record_, depth)); }
    /// A gray bitmap of this one.
    [[nodiscard]] Bitmap grayed(std::int32_t depth = 8, Report report = {});
    /// Whether the bitmap is gray (V_IntIsGrayScaleBitmap).
    [[nodiscard]] bool is_gray() noexcept { return V_IntIsGrayScaleBitmap(record_) != 0; }
    /// The number of different colours (V_CountBitmapColors).
    [[nodiscard]] std::uint64_t count_colors(Report report = {})
    {
        std::uint64_t colors = 0;
        report(V_CountBitmapColors(record_, &colors));
        return colors;
    }

    /// Gives all pixels one colour (V_FillBitmap).
    void fill(Color color, Report report = {}) { report(V_FillBitmap(record_, color.value())); }
    /// Gives the pixels of a rectangle one colour (V_FillBitmapRect).
    void fill(const Rect& rect, Color color, Report report = {})
    {
        report(V_FillBitmapRect(record_, &rect, color.value()));
    }
    /// Covers the bitmap with copies of another (V_FillBitmapPattern).
    void fill_pattern(Operand pattern, std::int32_t origin_col = 0, std::int32_t origin_row = 0, Report report = {})
    {
        report(V_FillBitmapPattern(record_, pattern.record(), origin_col, origin_row));
    }
    /// Gives one colour to what is connected to a pixel (V_FloodFillBitmap).
    void flood_fill(std::int32_t col, std::int32_t row, Color color, std::uint32_t tolerance = 0, FloodFlag flags = {},
                    Color border = {}, Report report = {})
    {
        report(V_FloodFillBitmap(record_, col, row, color.value(), border.value(), tolerance, value_of(flags)));
    }
    /// A gray bitmap of the alpha (V_GetBitmapAlpha).
    [[nodiscard]] Bitmap alpha(Report report = {});
    /// Puts the gray of a bitmap in as alpha (V_SetBitmapAlpha).
    void set_alpha(Operand alpha, Report report = {}) { report(V_SetBitmapAlpha(record_, alpha.record())); }
    /// Gives all pixels one alpha (V_SetBitmapAlphaValue).
    void set_alpha(std::uint32_t alpha, Report report = {}) { report(V_SetBitmapAlphaValue(record_, alpha)); }
    /// Multiplies colours by their alpha (V_PremultiplyBitmap).
    void premultiply(Report report = {}) { report(V_PremultiplyBitmap(record_)); }
    /// Divides colours by their alpha (V_UnpremultiplyBitmap).
    void unpremultiply(Report report = {}) { report(V_UnpremultiplyBitmap(record_)); }
    /// Makes the pixels of a rectangle unrecognisable, or brings them back: both are the same (V_ScrambleBitmap).
    void scramble(const Rect& rect, std::uint32_t key, Report report = {})
    {
        report(V_ScrambleBitmap(record_, record_, record_->StructSize, rect.left, rect.top,
                                static_cast<std::int32_t>(rect.width()), static_cast<std::int32_t>(rect.height()), key,
                                SCRAMBLE_HIDE));
    }

    /// The region, to change and to ask.
    [[nodiscard]] Region region() noexcept { return Region(*this); }
    /// A 1-bit bitmap that is white inside the region (V_GetBitmapRegionMask).
    [[nodiscard]] Bitmap region_mask(Report report = {});

    /// Finds the smallest and the largest gray sample (V_GetBitmapMinMax).
    std::pair<std::int32_t, std::int32_t> find_range(Report report = {})
    {
        report(V_GetBitmapMinMax(record_));
        return {std::int32_t{record_->MinVal}, std::int32_t{record_->MaxVal}};
    }
    /// Sets how gray samples are shown (V_SetBitmapWindow).
    void set_window(const Window& window, Report report = {}) { report(V_SetBitmapWindow(record_, &window)); }
    /// Shows gray samples without a window again.
    void clear_window(Report report = {}) { report(V_SetBitmapWindow(record_, nullptr)); }
    /// Makes the bitmap what it shows through a window, of 8 or 24 bits (V_WindowBitmap).
    void apply_window(const Window& window, std::int32_t depth = 8, Report report = {})
    {
        report(V_WindowBitmap(nullptr, record_, 0, &window, depth));
    }
    /// The same into a new bitmap.
    [[nodiscard]] Bitmap windowed(const Window& window, std::int32_t depth = 8, Report report = {});
    /// Sets contrast, intensity and gamma (V_SetBitmapPaint).
    void set_paint(std::int32_t contrast, std::int32_t intensity, std::int32_t gamma = 100, Report report = {})
    {
        report(V_SetBitmapPaint(record_, contrast, intensity, gamma));
    }

    /// Puts a 1-bit picture into a slot (V_SetBitmapOverlay).
    void set_overlay(std::int32_t slot, Operand overlay, OverlayUse use = OverlayUse::copy, Report report = {})
    {
        report(V_SetBitmapOverlay(record_, slot, overlay.record(), value_of(use)));
    }
    /// The picture of a slot (V_GetBitmapOverlay).
    [[nodiscard]] Bitmap overlay(std::int32_t slot, OverlayUse use = OverlayUse::copy, Report report = {});
    /// Empties a slot (V_RemoveBitmapOverlay).
    void remove_overlay(std::int32_t slot, Report report = {}) { report(V_RemoveBitmapOverlay(record_, slot)); }
    /// What is said of a slot.
    [[nodiscard]] OverlayAttributes overlay_attributes(std::int32_t slot, Report report = {})
    {
        OverlayAttributes attributes;
        report(V_GetBitmapOverlayAttributes(record_, slot, &attributes, sizeof(V_OVERLAYATTRIBUTES)));
        return attributes;
    }
    /// Says something of a slot.
    void set_overlay_attributes(std::int32_t slot, const OverlayAttributes& attributes, Report report = {})
    {
        report(V_SetBitmapOverlayAttributes(record_, slot, &attributes));
    }
    /// Makes the picture of a slot from its bit of the samples (V_LoadBitmapOverlayBits).
    void load_overlay_bits(std::int32_t slot, Report report = {}) { report(V_LoadBitmapOverlayBits(record_, slot)); }
    /// Writes the picture of a slot into its bit of the samples (V_StoreBitmapOverlayBits).
    void store_overlay_bits(std::int32_t slot, Report report = {}) { report(V_StoreBitmapOverlayBits(record_, slot)); }
    /// Draws the visible overlays into the pixels (V_FlattenBitmapOverlays).
    void flatten_overlays(Report report = {}) { report(V_FlattenBitmapOverlays(nullptr, record_, 0)); }

protected:
    using Record::Record;
    /// Of the same record.
    PixelOperations(const PixelOperations&) noexcept = default;
    /// Goes over to the other's record.
    PixelOperations& operator=(const PixelOperations&) noexcept = default;
    ~PixelOperations() = default;

private:
    template <class Edit> static bool go_on(Edit& edit, std::int32_t y, std::span<std::byte> bytes)
    {
        if constexpr (std::is_same_v<std::invoke_result_t<Edit&, std::int32_t, std::span<std::byte>>, bool>) {
            return edit(y, bytes);
        } else {
            edit(y, bytes);
            return true;
        }
    }
};

} // namespace VKKRNX_ABI
} // namespace vk

#endif // VKKRNX_PIXELS_HPP
