/**
 * @file Record.hpp
 * What bitmaps say of themselves, access to them, and their rows. Vkkrnx.hpp includes it.
 */
#ifndef VKKRNX_RECORD_HPP
#define VKKRNX_RECORD_HPP

#include "Palette.hpp"

#include <iterator>
#include <memory>
#include <new>

namespace vk {
inline namespace VKKRNX_ABI {

class Bitmap;
class BitmapView;

/// Size of a current record.
inline constexpr std::uint32_t record_size = sizeof(BITMAPHANDLE);

/// A record and what it says: the ground that vk::Bitmap and vk::BitmapView stand on. Which of its functions may be
/// called by which threads is said with the C functions: one thread per bitmap at a time.
class Record {
public:
    /// The record, for functions of the C interface.
    [[nodiscard]] BITMAPHANDLE* record() noexcept { return record_; }
    /// The record.
    [[nodiscard]] const BITMAPHANDLE* record() const noexcept { return record_; }

    /// Pixels in a stored row.
    [[nodiscard]] std::int32_t width() const noexcept { return record_->Width; }
    /// Stored rows.
    [[nodiscard]] std::int32_t height() const noexcept { return record_->Height; }
    /// Bits per pixel.
    [[nodiscard]] std::int32_t depth() const noexcept { return record_->BitsPerPixel; }
    /// Bytes in a stored row.
    [[nodiscard]] std::uint32_t bytes_per_line() const noexcept { return record_->BytesPerLine; }
    /// The whole picture.
    [[nodiscard]] Rect bounds() const noexcept { return Rect(0, 0, width(), height()); }
    /// The order of channels.
    [[nodiscard]] ColorOrder order() const noexcept { return static_cast<ColorOrder>(record_->Order); }
    /// How stored rows relate to the picture as displayed.
    [[nodiscard]] Perspective perspective() const noexcept
    {
        return static_cast<Perspective>(record_->ViewPerspective);
    }
    /// What is true of the bitmap.
    [[nodiscard]] BitmapFlag flags() const noexcept { return static_cast<BitmapFlag>(record_->Flags); }
    /// Whether there is storage.
    [[nodiscard]] bool allocated() const noexcept { return has(flags(), BitmapFlag::allocated); }
    /// Dots per inch along a stored row.
    [[nodiscard]] std::int32_t x_resolution() const noexcept { return record_->XResolution; }
    /// Dots per inch along a stored column.
    [[nodiscard]] std::int32_t y_resolution() const noexcept { return record_->YResolution; }
    /// Sets the resolution.
    void set_resolution(std::int32_t x, std::int32_t y) noexcept
    {
        record_->XResolution = x;
        record_->YResolution = y;
    }
    /// The method of colour reductions.
    [[nodiscard]] Dither dithering() const noexcept { return static_cast<Dither>(record_->DitheringMethod); }
    /// Sets the method of colour reductions.
    void set_dithering(Dither method) noexcept { record_->DitheringMethod = value_of(method); }
    /// Sets the transparent colour.
    void set_transparency(Color color) noexcept
    {
        record_->Transparency = color.value();
        record_->Flags |= BITMAPFLAG_TRANSPARENCY;
    }
    /// Forgets the transparent colour.
    void clear_transparency() noexcept { record_->Flags &= ~BITMAPFLAG_TRANSPARENCY; }
    /// The palette's entries, which stay the bitmap's; none above 8 bits.
    [[nodiscard]] std::span<const RGBQUAD> palette() const noexcept
    {
        const RGBQUAD* const entries = record_->Palette;
        return std::span<const RGBQUAD>(entries, entries ? record_->Colors : 0);
    }

    /// Row bytes where they lie: the bitmap's own memory, while it is accessed (vk::LockGuard). Empty for rows outside
    /// of the bitmap, and where rows are not in one block of memory or a callback gives them.
    [[nodiscard]] std::span<std::byte> row(std::int32_t row) noexcept
    {
        const BITMAPHANDLE& bitmap = *record_;
        constexpr std::uint32_t elsewhere =
            BITMAPFLAG_DISKMEMORY | BITMAPFLAG_COMPRESSED | BITMAPFLAG_TILED | BITMAPFLAG_SUPERCOMPRESSED;
        constexpr std::uint32_t here = BITMAPFLAG_ALLOCATED | BITMAPFLAG_CONVENTIONALMEMORY;
        std::uint8_t* const data = bitmap.Data;
        if ((bitmap.Flags & (elsewhere | here)) != here || !data || row < 0 || row >= bitmap.Height ||
            has_row_callback())
            return {};
        const std::size_t line = bitmap.BytesPerLine;
        return {reinterpret_cast<std::byte*>(data) + line * static_cast<std::size_t>(row), line};
    }
    /// Copies stored bytes from a row on into a buffer, which may be longer than a row (V_GetBitmapRow). The bitmap is
    /// accessed. @return the bytes copied.
    std::size_t get_row(std::int32_t row, std::span<std::byte> buffer, Report report = {})
    {
        return report.count(V_GetBitmapRow(record_, buffer.data(), row, buffer.size()));
    }
    /// The same from a pixel of the row on.
    std::size_t get_row(std::int32_t row, std::int32_t col, std::span<std::byte> buffer, Report report = {})
    {
        return report.count(V_GetBitmapRowCol(record_, buffer.data(), row, col, buffer.size()));
    }
    /// Copies a buffer into stored rows (V_PutBitmapRow). The bitmap is accessed. @return the bytes copied.
    std::size_t put_row(std::int32_t row, std::span<const std::byte> buffer, Report report = {})
    {
        return report.count(V_PutBitmapRow(record_, buffer.data(), row, buffer.size()));
    }
    /// The same from a pixel of the row on.
    std::size_t put_row(std::int32_t row, std::int32_t col, std::span<const std::byte> buffer, Report report = {})
    {
        return report.count(V_PutBitmapRowCol(record_, buffer.data(), row, col, buffer.size()));
    }
    /// Puts chosen pixels of a row (V_PutBitmapRowSegments). @return the pixels put; 0 where the buffer is no whole
    /// row.
    std::size_t put_segments(std::int32_t row, std::span<const std::byte> buffer, std::span<const ROWSEGMENT> segments,
                             Report report = {})
    {
        if (buffer.size() < bytes_per_line())
            return report.count(V_ERROR_BUFFER_TOO_SMALL);
        return report.count(V_PutBitmapRowSegments(record_, buffer.data(), row, segments.data(),
                                                   static_cast<std::uint32_t>(segments.size())));
    }

    /// The pixel's colour (V_GetPixelColor). Accesses the bitmap itself.
    [[nodiscard]] Color pixel(std::int32_t row, std::int32_t col, Report report = {})
    {
        const COLORREF color = V_GetPixelColor(record_, row, col);
        report(color == 0x80000000u ? V_ERROR_INVALID_PARAMETER : V_SUCCESS);
        return Color(color);
    }
    /// Sets the pixel's colour (V_PutPixelColor). Accesses the bitmap itself.
    void set_pixel(std::int32_t row, std::int32_t col, Color color, Report report = {})
    {
        report(V_PutPixelColor(record_, row, col, color.value()));
    }

protected:
    /// Of a record, which outlives it.
    explicit Record(BITMAPHANDLE* record) noexcept : record_(record) {}
    /// Of the same record.
    Record(const Record&) noexcept = default;
    /// Goes over to the other's record.
    Record& operator=(const Record&) noexcept = default;
    ~Record() = default;

    BITMAPHANDLE* record_; ///< never null

private:
    bool has_row_callback() const noexcept
    {
        const BITMAPDATACALLBACKS* const callbacks =
            record_->StructSize == record_size ? record_->DataCallbacks : nullptr;
        return callbacks && (callbacks->GetBitmapRowColCallback || callbacks->PutBitmapRowColCallback);
    }
};

/// A bitmap as an argument: any that can be changed, for the length of a call.
class Operand {
public:
    /// A bitmap with a name.
    Operand(Record& bitmap) noexcept : record_(bitmap.record()) {} // NOLINT(google-explicit-constructor)
    /// One without.
    Operand(Record&& bitmap) noexcept : record_(bitmap.record()) {} // NOLINT(google-explicit-constructor)
    /// A record of the C interface.
    Operand(BITMAPHANDLE& record) noexcept : record_(&record) {} // NOLINT(google-explicit-constructor)
    /// The record.
    [[nodiscard]] BITMAPHANDLE* record() const noexcept { return record_; }

private:
    BITMAPHANDLE* record_;
};

/// Keeps a bitmap accessed (V_AccessBitmap) as long as it lives. The record must stay where it is meanwhile.
class LockGuard {
public:
    /// Accesses a bitmap. After a failure the guard holds nothing.
    explicit LockGuard(Operand bitmap, Report report = {})
    {
        if (report(V_AccessBitmap(bitmap.record())))
            record_ = bitmap.record();
    }
    LockGuard(const LockGuard&) = delete;
    LockGuard& operator=(const LockGuard&) = delete;
    ~LockGuard()
    {
        if (record_)
            V_ReleaseBitmap(record_);
    }
    /// Whether it holds the bitmap.
    [[nodiscard]] explicit operator bool() const noexcept { return record_ != nullptr; }
    /// Releases the bitmap before the guard ends, and tells what a callback says to that.
    void release(Report report = {})
    {
        if (BITMAPHANDLE* const record = std::exchange(record_, nullptr))
            report(V_ReleaseBitmap(record));
    }

private:
    BITMAPHANDLE* record_ = nullptr;
};

/// Memory for a row; empty when there is none.
class RowBuffer {
public:
    /// For so many bytes.
    explicit RowBuffer(std::size_t bytes) noexcept
        : bytes_(new (std::nothrow) std::byte[bytes]), size_(bytes_ ? bytes : 0)
    {}
    /// The bytes.
    [[nodiscard]] std::span<std::byte> span() const noexcept { return {bytes_.get(), size_}; }

private:
    std::unique_ptr<std::byte[]> bytes_;
    std::size_t size_;
};

/// The rows of a bitmap from the first stored one on, to read, in every kind of storage: where they lie in memory, else
/// through a buffer. It keeps the bitmap accessed. A failure ends it.
class Rows {
public:
    /// Row after row.
    class Iterator {
    public:
        using value_type = std::span<const std::byte>; ///< a row
        using difference_type = std::ptrdiff_t;        ///< of rows

        /// At no row.
        Iterator() noexcept = default;
        /// The present row, good until the next one is asked for.
        [[nodiscard]] value_type operator*() const noexcept { return rows_->present_; }
        /// Goes to the next row.
        Iterator& operator++()
        {
            rows_->next();
            return *this;
        }
        /// Goes to the next row.
        void operator++(int) { rows_->next(); }
        /// Whether there are no more rows.
        friend bool operator==(const Iterator& at, std::default_sentinel_t) noexcept { return at.at_end(); }

    private:
        friend class Rows;
        explicit Iterator(Rows& rows) noexcept : rows_(&rows) {}
        bool at_end() const noexcept { return rows_->present_.empty(); }

        Rows* rows_ = nullptr;
    };

    /// Begins. Reports what happens until the end.
    Rows(Operand bitmap, Report report) : bitmap_(bitmap), report_(report), guard_(bitmap, report)
    {
        if (guard_ && bitmap_.row(0).empty() && !(buffer_ = RowBuffer(bitmap_.bytes_per_line())).span().data())
            report(V_ERROR_NO_MEMORY);
        else if (guard_)
            next();
    }
    Rows(const Rows&) = delete;
    Rows& operator=(const Rows&) = delete;
    ~Rows() = default;
    /// The first row, once.
    [[nodiscard]] Iterator begin() noexcept { return Iterator(*this); }
    /// Behind the last row.
    [[nodiscard]] std::default_sentinel_t end() const noexcept { return {}; }

private:
    struct Held : Record {
        explicit Held(Operand bitmap) noexcept : Record(bitmap.record()) {}
    };

    void next()
    {
        present_ = {};
        if (++row_ >= bitmap_.height())
            return;
        present_ = bitmap_.row(row_);
        if (present_.empty() && bitmap_.get_row(row_, buffer_.span(), report_) != 0)
            present_ = buffer_.span();
    }

    Held bitmap_;
    Report report_;
    LockGuard guard_;
    RowBuffer buffer_{0};
    std::span<const std::byte> present_;
    std::int32_t row_ = -1;
};

} // namespace VKKRNX_ABI
} // namespace vk

#endif // VKKRNX_RECORD_HPP
