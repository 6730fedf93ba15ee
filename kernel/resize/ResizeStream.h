// A resized bitmap, row by row: what V_StartResizeBitmap hands out. Rows may be asked for in any order; the one asked
// for last is kept in its final form, so that taking it in pieces costs nothing.
//
// A row goes through three forms: lanes (kernel/resample/), a row of pixels that the embedded record describes, and the
// output's. Where the last two are the same nothing is converted; indexed outputs are matched or dithered
// (ColorRows.h).
#pragma once

#include "Vkrecord.h"
#include "kernel/colorres/ColorRes.h"
#include "kernel/colorres/ColorRows.h"
#include "kernel/resample/RowResampler.h"
#include "kernel/rows/RowAccess.h"

#include <optional>

namespace vk {

/// What a stream is to deliver; dimensions are complete.
struct StreamRequest {
    int32_t width = 0;
    int32_t height = 0;
    int32_t bits = 0;
    int32_t order = 0;
    const RGBQUAD* palette = nullptr;
    uint32_t flags = 0; ///< as V_StartResizeBitmap2 takes them
    bool reversed = false;
};

/// Completes dimensions of which one may be 0, to keep the aspect ratio. False when they cannot be.
bool complete_dimensions(int32_t old_width, int32_t old_height, int32_t& width, int32_t& height) noexcept;

class ResizeStream {
public:
    explicit ResizeStream(BITMAPHANDLE& source) noexcept : source_(source), resampler_(source, form_) {}
    ResizeStream(const ResizeStream&) = delete;
    ResizeStream& operator=(const ResizeStream&) = delete;

    /// The source is accessed, and check_rows accepts it; it outlives the stream. SUCCESS, ERROR_INVALID_PARAMETER for
    /// an output format there is none of, ERROR_NO_MEMORY and what conversion says.
    int open(const StreamRequest& request) noexcept;

    int32_t width() const noexcept { return request_.width; }
    int32_t height() const noexcept { return request_.height; }
    int32_t bits() const noexcept { return target_.bits; } ///< of an output pixel

    /// Copies `count` pixels of row `y` from `column` on, all inside. SUCCESS or the failure of a transfer.
    int get(uint8_t* out, int32_t y, int32_t column, int32_t count) noexcept;

private:
    resample::Kernel kernel() const noexcept;
    bool make_form(resample::Kernel kernel) noexcept;
    void describe_rows(bool is_nearest) noexcept;
    int settle() noexcept;
    int open_buffers() noexcept;
    int start_conversion() noexcept;
    int make_row(int32_t y) noexcept;

    BITMAPHANDLE& source_;
    StreamRequest request_;
    resample::Form form_;
    resample::RowResampler resampler_;
    BITMAPHANDLE rows_ = {}; ///< describes the rows behind the filter
    ColorTarget target_;
    bool converts_ = false;
    std::optional<ColorRows> conversion_;
    int32_t next_ = 0; ///< the row that continues the dithering
    int32_t held_ = 0; ///< row in `row_`, counted from 1
    RowBuffer lanes_;
    RowBuffer room_;
    RowBuffer pixels_; ///< a row as rows_ describes it
    RowBuffer row_;    ///< a row of the output
};

/// V_StartResizeBitmap2: checks and starts a stream of `source`, or of `destination` without one, and hands its state
/// out.
int start_stream(BITMAPHANDLE* source, BITMAPHANDLE* destination, StreamRequest request, void* user_data,
                 bool source_locked, void** out) noexcept;

/// Copies `width` pixels of a row; ERROR_INVALID_PARAMETER for what is no state, or pixels outside.
int get_stream_pixels(void* state, void* out, int32_t row, int32_t column, uint32_t width) noexcept;

int stop_stream(void* state) noexcept;

} // namespace vk
