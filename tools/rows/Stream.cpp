/**
 * @file Stream.cpp
 * Rows through the library's streaming resize. It reads a bitmap whose rows a callback gets from the source before it,
 * in ascending order but for the last few, which are kept.
 */
#include "tools/Failure.h"
#include "tools/rows/Rows.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <exception>

namespace vk::tool {

namespace {

constexpr size_t kMostKept = size_t{24} << 20;

/** Result rows reach into those of their neighbours, and the library looks at some twice. */
size_t rows_kept(const PictureInfo& info, const StreamRequest& request)
{
    constexpr double kSpare = 8;
    const double shrinking = std::max(1.0, static_cast<double>(info.height) / request.height);
    return static_cast<size_t>(std::ceil(shrinking * request.reach) + kSpare);
}

class StreamedRows : public RowSource {
public:
    StreamedRows(Rows rows, const StreamRequest& request, const PictureInfo& info);
    ~StreamedRows() override;
    StreamedRows(const StreamedRows&) = delete;
    StreamedRows& operator=(const StreamedRows&) = delete;

    void next(uint8_t* row) override;

private:
    void make_bitmap(int32_t dithering);
    void start(const StreamRequest& request);
    static intptr_t on_row(BITMAPHANDLE*, void* bytes, int32_t row, int32_t column, size_t count, void* self);
    bool give(uint8_t* bytes, int32_t row, int32_t column, size_t count);
    uint8_t* place(int32_t row) { return &kept_[static_cast<size_t>(row) % room_ * rows_->info().row_bytes()]; }

    Rows rows_;
    size_t room_; ///< rows in kept_
    std::vector<uint8_t> kept_;
    int32_t read_ = 0; ///< rows that came
    BITMAPHANDLE record_{};
    void* state_ = nullptr;
    int32_t next_row_ = 0;
    std::exception_ptr failure_; ///< of reading, which must not pass through the library
};

StreamedRows::StreamedRows(Rows rows, const StreamRequest& request, const PictureInfo& info)
    : rows_(std::move(rows)), room_(rows_kept(rows_->info(), request))
{
    info_ = info;
    set_size(info_, request.width, request.height);
    kept_.resize(room_ * rows_->info().row_bytes());
    make_bitmap(request.dithering);
    try {
        start(request);
    } catch (...) {
        V_FreeBitmap(&record_);
        throw;
    }
}

StreamedRows::~StreamedRows()
{
    V_StopResizeBitmap(state_);
    V_FreeBitmap(&record_);
}

void StreamedRows::make_bitmap(int32_t dithering)
{
    constexpr int kHasPixels = 2;
    const PictureInfo& from = rows_->info();
    BITMAPDATACALLBACKS calls{};
    calls.StructSize = sizeof calls;
    calls.UserData = this;
    calls.AllocateBitmapDataCallback = [](BITMAPHANDLE*, ALLOCATEBITMAPCALLBACKDATA*, void*) { return kHasPixels; };
    calls.FreeBitmapDataCallback = [](BITMAPHANDLE*, void*) { return kHasPixels; };
    calls.GetBitmapRowColCallback = &on_row;
    check(V_CreateBitmapWithCallbacks(&record_, BITMAPHANDLE_SIZE, TYPE_CONV, from.width, from.height, from.bits,
                                      from.order, from.palette.empty() ? nullptr : from.palette.data(),
                                      from.orientation, nullptr, 0, &calls),
          "describing the rows");
    record_.DitheringMethod = dithering;
}

void StreamedRows::start(const StreamRequest& request)
{
    const RGBQUAD* const palette = request.palette.empty() ? nullptr : request.palette.data();
    check(V_StartResizeBitmap2(&record_, request.width, request.height, request.bits, palette, request.order,
                               request.flags, nullptr, nullptr, &state_, 0, 0),
          "starting on the rows");
}

intptr_t StreamedRows::on_row(BITMAPHANDLE*, void* bytes, int32_t row, int32_t column, size_t count, void* self)
{
    auto& rows = *static_cast<StreamedRows*>(self);
    try {
        if (rows.give(static_cast<uint8_t*>(bytes), row, column, count)) {
            return static_cast<intptr_t>(count);
        }
    } catch (...) {
        rows.failure_ = std::current_exception();
    }
    return V_ERROR_FILE_READ;
}

bool StreamedRows::give(uint8_t* bytes, int32_t row, int32_t column, size_t count)
{
    const size_t line = rows_->info().row_bytes();
    const size_t at = static_cast<size_t>(column) * static_cast<size_t>(rows_->info().bits) / 8;
    if (at + count > line || row + static_cast<int64_t>(room_) < read_) {
        return false;
    }
    for (; read_ <= row; ++read_) {
        rows_->next(place(read_));
    }
    std::memcpy(bytes, place(row) + at, count);
    return true;
}

void StreamedRows::next(uint8_t* row)
{
    const int result = V_GetResizedRowCol(state_, row, next_row_++, 0, static_cast<uint32_t>(info_.width));
    if (failure_) {
        std::rethrow_exception(failure_);
    }
    check(result, "making a row");
}

} // namespace

Rows stream_rows(Rows& rows, const StreamRequest& request, const PictureInfo& info)
{
    PictureInfo made = info;
    set_size(made, request.width, request.height);
    if (rows_kept(rows->info(), request) > kMostKept / rows->info().row_bytes() || made.row_bytes() > kMostKept) {
        return nullptr;
    }
    return std::make_unique<StreamedRows>(std::move(rows), request, info);
}

} // namespace vk::tool
