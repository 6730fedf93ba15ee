// Rows are made as they are stored: picked from the source's where the nearest pixels are wanted, else by the filters
// of kernel/resample/, which read the part of the source that they need as a bitmap whose rows are made when they are
// asked for. They are put in their places, mirrored if need be; rows that are shown as columns are turned at the end,
// when there are no more of them than are shown.
#include "kernel/display/Render.h"

#include "kernel/bitmap/Alloc.h"
#include "kernel/bitmap/Create.h"
#include "kernel/bitmap/Record.h"
#include "kernel/display/Picture.h"
#include "kernel/format/RowMath.h"
#include "kernel/resample/RowResampler.h"
#include "kernel/system/Progress.h"
#include "kernel/view/MirrorRow.h"
#include "kernel/view/ViewPerspective.h"

#include <cstring>
#include <utility>

namespace vk::display {

namespace {

using combine::Area;
using resample::Kernel;
using resample::PixelSpan;
using resample::Stretch;

/// A job in stored directions.
struct StoredJob {
    Stretch x;
    Stretch y;
    int32_t left; ///< of the source
    int32_t top;
    Layout layout;

    StoredJob(const BITMAPHANDLE& source, const RenderJob& job) noexcept
        : left(job.part.left), top(job.part.top), layout(shown_layout(source.ViewPerspective))
    {
        int32_t width = job.width, height = job.height;
        Area shown = job.shown;
        if (layout.transpose) {
            std::swap(width, height);
            shown = {shown.top, shown.left, shown.bottom, shown.right};
        }
        const int32_t first = layout.mirror ? width - shown.right : shown.left;
        const int32_t first_row = layout.flip ? height - shown.bottom : shown.top;
        x = {job.part.width(), width, first, shown.width()};
        y = {job.part.height(), height, first_row, shown.height()};
    }

    Steps columns() const noexcept { return {left, x.source, x.target, x.first, x.count, layout.mirror}; }
    Steps rows() const noexcept { return {top, y.source, y.target, y.first, y.count, layout.flip}; }
};

/// Rows of a job in stored order, from the first on.
class StoredRows {
public:
    virtual int open() noexcept = 0;
    /// Writes row `at`; may leave what it wrote the call before, when that was to the same place.
    virtual int row(int32_t at, uint8_t* out) noexcept = 0;

protected:
    ~StoredRows() = default;
};

class NearestRows final : public StoredRows {
public:
    NearestRows(BITMAPHANDLE& source, const StoredJob& job, int32_t bits) noexcept
        : picture_(source), job_(job), rows_(job.rows()), bits_(bits)
    {}

    int open() noexcept override
    {
        const auto bytes = static_cast<uint64_t>(job_.x.count) * static_cast<uint64_t>(bits_ / 8);
        return held_.allocate(bytes) ? picture_.open(job_.columns(), bits_, rows_.count) : V_ERROR_NO_MEMORY;
    }

    /// Rows that are shown several times are made once.
    int row(int32_t at, uint8_t* out) noexcept override
    {
        const int32_t source = rows_.pixel(at);
        const bool repeats = at + 1 < rows_.count && rows_.pixel(at + 1) == source;
        const auto bytes = static_cast<size_t>(job_.x.count) * static_cast<size_t>(bits_ / 8);
        int result = V_SUCCESS;
        if (source == held_row_)
            std::memcpy(out, held_.data(), bytes);
        else
            result = picture_.row(source, out);
        if (result == V_SUCCESS && repeats && source != held_row_)
            std::memcpy(held_.data(), out, bytes);
        held_row_ = repeats && result == V_SUCCESS ? source : -1;
        return result;
    }

private:
    Picture picture_;
    const StoredJob& job_;
    Steps rows_;
    int32_t bits_;
    RowBuffer held_;
    int32_t held_row_ = -1;
};

/// The shown pixels of a part as a bitmap that has no storage.
class ShownPart {
public:
    ShownPart(BITMAPHANDLE& source, const Area& area, int32_t bits) noexcept : picture_(source), area_(area)
    {
        calls_.StructSize = sizeof calls_;
        calls_.UserData = this;
        calls_.GetBitmapRowColCallback = [](BITMAPHANDLE*, void* buffer, int32_t row, int32_t, size_t bytes,
                                            void* self) noexcept -> intptr_t {
            auto& part = *static_cast<ShownPart*>(self);
            const int result = part.picture_.row(part.area_.top + row, static_cast<uint8_t*>(buffer));
            return result == V_SUCCESS ? static_cast<intptr_t>(bytes) : result;
        };
        record_.StructSize = kRecordSize;
        record_.Flags = BITMAPFLAG_ALLOCATED;
        record_.Width = area.width();
        record_.Height = area.height();
        record_.BitsPerPixel = bits;
        record_.BytesPerLine = wrapping_bytes_per_line(area.width(), bits);
        record_.Order = COLORORDER_BGR;
        record_.ViewPerspective = TOP_LEFT;
        record_.DataCallbacks = &calls_;
    }
    ShownPart(const ShownPart&) = delete;
    ShownPart& operator=(const ShownPart&) = delete;

    int open() noexcept
    {
        const int32_t width = area_.width();
        const int result = check_rows(record_);
        return result == V_SUCCESS
                   ? picture_.open({area_.left, width, width, 0, width, false}, record_.BitsPerPixel, area_.height())
                   : result;
    }

    BITMAPHANDLE& record() noexcept { return record_; }

private:
    Picture picture_;
    const Area area_;
    BITMAPDATACALLBACKS calls_ = {};
    BITMAPHANDLE record_ = {};
};

class FilteredRows final : public StoredRows {
public:
    FilteredRows(BITMAPHANDLE& source, const StoredJob& job, int32_t bits, Kernel kernel) noexcept
        : part_(source, needed_area(job, kernel), bits), job_(job), kernel_(kernel)
    {
        resample::make_form(part_.record(), false, form_);
    }

    int open() noexcept override
    {
        const int result = part_.open();
        if (result != V_SUCCESS)
            return result;
        const size_t bytes = static_cast<size_t>(job_.x.count) * form_.pixel_bytes();
        if (!lanes_.allocate(bytes + resample::kLaneSlack))
            return V_ERROR_NO_MEMORY;
        return rows_.emplace(part_.record(), form_).open(job_.x, job_.y, kernel_);
    }

    int row(int32_t at, uint8_t* out) noexcept override
    {
        const int result = rows_->row(at, lanes_.data());
        if (result == V_SUCCESS)
            std::memcpy(out, lanes_.data(), static_cast<size_t>(job_.x.count) * form_.pixel_bytes());
        return result;
    }

private:
    static Area needed_area(const StoredJob& job, Kernel kernel) noexcept
    {
        const PixelSpan columns = needed_pixels(kernel, job.x), rows = needed_pixels(kernel, job.y);
        return {job.left + columns.first, job.top + rows.first, job.left + columns.end, job.top + rows.end};
    }

    ShownPart part_;
    const StoredJob& job_;
    Kernel kernel_;
    resample::Form form_;
    std::optional<resample::RowResampler> rows_;
    RowBuffer lanes_;
};

/// Puts rows in their places.
int place_rows(BITMAPHANDLE& made, const StoredJob& job, StoredRows& rows) noexcept
{
    const bool is_turned = job.layout.transpose; // then everything is done behind
    const bool flips = job.layout.flip && !is_turned, mirrors = job.layout.mirror && !is_turned;
    RowWriter writer(made);
    Progress progress(made.Height);
    int result = rows.open();
    if (result == V_SUCCESS)
        result = writer.reserve(1);
    if (result == V_SUCCESS)
        result = progress.begin();
    for (int32_t at = 0; at < made.Height && result == V_SUCCESS; ++at) {
        const int32_t to = flips ? made.Height - 1 - at : at;
        result = rows.row(at, writer.place(to));
        if (result == V_SUCCESS && mirrors)
            mirror_row_in_place(writer.place(to), made.Width, made.BitsPerPixel);
        if (result == V_SUCCESS)
            result = writer.write(to, 1);
        if (result == V_SUCCESS)
            result = progress.update(int64_t{at} + 1);
    }
    return result;
}

int fill_rows(BITMAPHANDLE& made, BITMAPHANDLE& source, const RenderJob& job, const StoredJob& stored) noexcept
{
    const uint32_t filter = job.flags & kFilterFlags;
    const bool is_same = stored.x.source == stored.x.target && stored.y.source == stored.y.target;
    if (filter == RENDER_NEAREST || is_same) {
        NearestRows rows(source, stored, job.bits());
        return place_rows(made, stored, rows);
    }
    FilteredRows rows(source, stored, job.bits(), filter == RENDER_AREA ? Kernel::area : Kernel::bicubic);
    return place_rows(made, stored, rows);
}

int fill(BITMAPHANDLE& made, BITMAPHANDLE& source, const RenderJob& job, const StoredJob& stored) noexcept
{
    int result = check_rows(made);
    if (result != V_SUCCESS)
        return result;
    BitmapAccess access(source);
    result = access.result();
    if (result == V_SUCCESS) {
        BitmapAccess made_access(made);
        result = made_access.result();
        if (result == V_SUCCESS)
            result = fill_rows(made, source, job, stored);
        result = first_failure(result, made_access.release());
    }
    result = first_failure(result, access.release());
    return result == V_SUCCESS && stored.layout.transpose ? change_view_perspective(made, TOP_LEFT) : result;
}

} // namespace

RenderJob render_job(const BITMAPHANDLE& bitmap, const RECT* part, int32_t width, int32_t height,
                     uint32_t flags) noexcept
{
    const bool is_turned = is_rotated_perspective(bitmap.ViewPerspective);
    RenderJob job;
    job.part = part ? combine::clip_area(bitmap, *part) : combine::whole_area(bitmap);
    job.width = width != 0 ? width : is_turned ? job.part.height() : job.part.width();
    job.height = height != 0 ? height : is_turned ? job.part.width() : job.part.height();
    job.shown = {0, 0, job.width, job.height};
    job.flags = flags;
    return job;
}

int render(BITMAPHANDLE& made, BITMAPHANDLE& source, uint32_t struct_size, const RenderJob& job) noexcept
{
    const StoredJob stored(source, job);
    const int32_t width = stored.x.count, height = stored.y.count, bits = job.bits();
    int result =
        row_holds_width(wrapping_bytes_per_line(width, bits), width, bits) ? V_SUCCESS : V_ERROR_INVALID_WIDTH_HEIGHT;
    if (result == V_SUCCESS) {
        const int32_t perspective = stored.layout.transpose ? static_cast<int32_t>(source.ViewPerspective) : TOP_LEFT;
        result =
            create_bitmap(made, struct_size,
                          {TYPE_CONV, width, height, bits, COLORORDER_BGR, nullptr, perspective, nullptr, 0, nullptr});
    }
    if (result == V_SUCCESS)
        result = fill(made, source, job, stored);
    if (result != V_SUCCESS) {
        free_bitmap(made);
        clear_record(made, struct_size);
    }
    return result;
}

} // namespace vk::display
