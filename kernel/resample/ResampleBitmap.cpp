// Resampling of whole bitmaps: the destination's rows one after the other, each from the few source rows it needs.
#include "kernel/resample/Resample.h"

#include "Vkbitmap.h"
#include "kernel/bitmap/OverlayCopies.h"
#include "kernel/bitmap/Region.h"
#include "kernel/bitmap/Staged.h"
#include "kernel/colorres/GrayScale.h"
#include "kernel/colorres/SameRange.h"
#include "kernel/convert/ExactLookup.h"
#include "kernel/format/RowMath.h"
#include "kernel/resample/MovedRows.h"
#include "kernel/resample/RowResampler.h"
#include "kernel/rows/RowAccess.h"
#include "kernel/rows/RowBands.h"
#include "kernel/system/Checks.h"
#include "kernel/system/Progress.h"

namespace vk {

using namespace resample;

namespace {

Kernel kernel_of(Filter filter) noexcept
{
    return filter == Filter::area ? Kernel::area : filter == Filter::bicubic ? Kernel::bicubic : Kernel::lanczos;
}

/// The way of a row of lanes into the destination.
class RowSink {
public:
    RowSink(BITMAPHANDLE& to, const Form& form, bool reversed) noexcept
        : to_(to), form_(form), writer_(to), reversed_(reversed)
    {}
    RowSink(const RowSink&) = delete;
    RowSink& operator=(const RowSink&) = delete;
    ~RowSink() { pixel::destroy_exact_lookup(lookup_); }

    /// For rows that this writes, or for rows that somebody else does.
    int open(bool is_lent) noexcept
    {
        const auto width = static_cast<uint32_t>(to_.Width);
        int result = is_lent ? V_SUCCESS : writer_.reserve(1);
        const bool is_packed = form_.lanes != Lanes::stored;
        if (result == V_SUCCESS && (!lanes_.allocate(form_.pixel_bytes() * width + kLaneSlack) ||
                                    (is_packed && !room_.allocate(uint64_t{width} * sizeof(uint32_t)))))
            result = V_ERROR_NO_MEMORY;
        if (result != V_SUCCESS || form_.lanes != Lanes::color)
            return result;
        const uint64_t pixels = uint64_t{width} * static_cast<uint32_t>(to_.Height);
        lookup_ = pixel::create_exact_lookup(form_.entries, form_.colors, pixels);
        return lookup_ ? V_SUCCESS : V_ERROR_NO_MEMORY;
    }

    /// Rows from `first` on go there, BytesPerLine apart; none of them is written.
    void lend(int32_t first, uint8_t* rows) noexcept
    {
        first_ = first;
        lent_ = rows;
    }

    /// Where the lanes of row `y` are to go.
    void* place(int32_t y) const noexcept
    {
        uint8_t* const row = packed(y);
        return is_direct(row) ? row : lanes_.data();
    }

    /// Stores what was put there. SUCCESS or the failure of the transfer.
    int write(int32_t y) noexcept
    {
        const auto width = static_cast<size_t>(to_.Width);
        uint8_t* const row = packed(y);
        if (form_.lanes != Lanes::stored)
            pack_row(form_, lanes_.data(), row, width, reinterpret_cast<uint32_t*>(room_.data()), lookup_);
        else if (!is_direct(row))
            std::memcpy(row, lanes_.data(), form_.pixel_bytes() * width);
        return lent_ ? V_SUCCESS : writer_.write(stored(y), 1);
    }

private:
    uint8_t* packed(int32_t y) const noexcept
    {
        return lent_ ? lent_ + size_t{to_.BytesPerLine} * static_cast<uint32_t>(y - first_) : writer_.place(stored(y));
    }
    int32_t stored(int32_t y) const noexcept { return reversed_ ? to_.Height - 1 - y : y; }
    bool is_direct(const uint8_t* row) const noexcept
    {
        return form_.lanes == Lanes::stored && is_aligned(row, form_.lane_bytes);
    }

    BITMAPHANDLE& to_;
    const Form& form_;
    RowWriter writer_;
    bool reversed_;
    int32_t first_ = 0;
    uint8_t* lent_ = nullptr;
    RowBuffer lanes_;
    RowBuffer room_;
    ColorLookup* lookup_ = nullptr;
};

bool is_reversed(const BITMAPHANDLE& from, const BITMAPHANDLE& to) noexcept
{
    return from.ViewPerspective != to.ViewPerspective;
}

/// Rows of the destination, in any order.
class Filling {
public:
    Filling(BITMAPHANDLE& from, BITMAPHANDLE& to, const Form& source, const Form& target,
            const RowRing* ring = nullptr) noexcept
        : to_(to), rows_(from, source, ring), sink_(to, target, is_reversed(from, to))
    {}

    int open(Kernel kernel, bool is_lent = false) noexcept
    {
        const int result = rows_.open(to_.Width, to_.Height, kernel);
        return result == V_SUCCESS ? sink_.open(is_lent) : result;
    }

    void lend(int32_t first, uint8_t* rows) noexcept { sink_.lend(first, rows); }

    int row(int32_t y) noexcept
    {
        const int result = rows_.row(y, sink_.place(y));
        return result == V_SUCCESS ? sink_.write(y) : result;
    }

private:
    BITMAPHANDLE& to_;
    RowResampler rows_;
    RowSink sink_;
};

int fill_rows(Filling& filling, const Band& band, Progress* progress) noexcept
{
    int result = V_SUCCESS;
    for (int32_t y = band.row; y < band.row + band.rows && result == V_SUCCESS; ++y) {
        result = filling.row(y);
        if (result == V_SUCCESS && progress)
            result = progress->update(int64_t{y} + 1);
    }
    return result;
}

/// Each of several threads has a window of source rows, and what else it needs, of its own.
int fill_in_bands(BITMAPHANDLE& from, BITMAPHANDLE& to, const Form& source, const Form& target, Kernel kernel,
                  uint32_t threads, Progress& progress) noexcept
{
    auto work = [&](Bands& bands) noexcept {
        Filling filling(from, to, source, target);
        const int result = filling.open(kernel);
        for (Band band{}; result == V_SUCCESS && bands.take(band);)
            bands.done(band, fill_rows(filling, band, nullptr));
        return result;
    };
    return run_bands(plan_bands(to.Height, 1, threads), progress, work);
}

/// The same where the calling thread moves rows for all.
int fill_moved(MovedRows& moved, BITMAPHANDLE& from, BITMAPHANDLE& to, const Form& source, const Form& target,
               Kernel kernel, Progress& progress) noexcept
{
    const int opened = moved.open();
    Relay& relay = moved.relay();
    auto work = [&](Bands& bands) noexcept {
        Filling filling(from, to, source, target, moved.ring());
        const int result = filling.open(kernel, moved.is_written());
        for (int64_t number = 0; result == V_SUCCESS && relay.take(bands, number);) {
            const RowPiece piece = moved.piece(number);
            filling.lend(piece.rows.row, piece.to);
            relay.done(bands, number, fill_rows(filling, piece.rows, nullptr));
        }
        return result;
    };
    return opened == V_SUCCESS ? run_bands(relay.bands(), progress, work) : opened;
}

int fill(BITMAPHANDLE& from, BITMAPHANDLE& to, Kernel kernel, const ProgressShare& share) noexcept
{
    Form source;
    Form target;
    if (!make_forms(from, to, source, target))
        return V_ERROR_INVALID_PARAMETER;
    Progress progress(to.Height, share);
    int result = progress.begin();
    const uint32_t threads = workers_allowed();
    MovedRows moved(from, to, kernel, is_reversed(from, to));
    if (result == V_SUCCESS && threads > 1 && is_in_memory(from, &to)) {
        result = fill_in_bands(from, to, source, target, kernel, threads, progress);
    } else if (result == V_SUCCESS && threads > 1 && moved.plan(threads)) {
        result = fill_moved(moved, from, to, source, target, kernel, progress);
    } else if (result == V_SUCCESS) {
        Filling filling(from, to, source, target);
        result = filling.open(kernel);
        if (result == V_SUCCESS)
            result = fill_rows(filling, {0, to.Height}, &progress);
    }
    return result == V_SUCCESS ? refresh_gray_limits(to) : result;
}

int fill_from(BITMAPHANDLE& from, BITMAPHANDLE& to, Kernel kernel, ProgressShare share) noexcept
{
    SameRange source(from);
    const int result = source.make(to, share);
    return result == V_SUCCESS ? fill(source.record(), to, kernel, share) : result;
}

/// The palette that the source's indices mean is there already, or is the source's when they stay what they are.
constexpr uint32_t kCopied = DUPFLAG_PALETTE | DUPFLAG_ANIMATION;

} // namespace

int resample_into(BITMAPHANDLE& from, BITMAPHANDLE& to, Filter filter, const ProgressShare& share) noexcept
{
    int result = check_rows(from);
    if (result == V_SUCCESS)
        result = check_rows(to);
    if (result != V_SUCCESS)
        return result;
    BitmapAccess from_access(from);
    result = from_access.result();
    if (result != V_SUCCESS)
        return result;
    BitmapAccess to_access(to);
    result = to_access.result();
    if (result == V_SUCCESS)
        result = fill_from(from, to, kernel_of(filter), share);
    const int released = release_both(to_access, from_access);
    return first_failure(result, released);
}

int resample_bitmap(BITMAPHANDLE& bitmap, int32_t width, int32_t height, Filter filter) noexcept
{
    int result = check_rows(bitmap);
    if (result != V_SUCCESS)
        return result;
    if (width < 1 || height < 1)
        return V_ERROR_INVALID_PARAMETER;
    if (width == bitmap.Width && height == bitmap.Height)
        return V_SUCCESS;
    Staged staged(bitmap);
    BitmapAccess access(bitmap);
    result = access.result();
    if (result == V_SUCCESS)
        result = staged.make({width, height, bitmap.BitsPerPixel, bitmap.Order, 0, NewPixels::to_be_written}, kCopied);
    if (result == V_SUCCESS)
        result = resample_into(bitmap, staged.record(), filter);
    OverlayCopies overlays;
    if (result == V_SUCCESS)
        result = scale_overlays(bitmap, width, height, overlays);
    if (result == V_SUCCESS)
        result = scale_region(bitmap, staged.record(), width, height);
    if (result != V_SUCCESS)
        return result;
    const int released = access.release();
    result = staged.replace();
    if (result == V_SUCCESS)
        overlays.give_to(bitmap);
    return first_failure(result, released);
}

} // namespace vk
