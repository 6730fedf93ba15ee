#include "kernel/resize/ResizeStream.h"

#include "Vkcolorres.h"
#include "Vkresample.h"
#include "Vksystem.h"
#include "kernel/colorres/GrayScale.h"
#include "kernel/format/PackedBits.h"
#include "kernel/format/RowMath.h"
#include "kernel/palette/Palette.h"
#include "kernel/rows/Locks.h"
#include "kernel/system/Checks.h"
#include "platform/platform.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace vk {

using namespace resample;

namespace {

/// Pixels that are handed out at a time; whole bytes at every depth.
constexpr uint32_t kMostChunk = 8192;

size_t line_of(int32_t width, int32_t bits) noexcept
{
    return static_cast<size_t>((packed_bytes(static_cast<uint32_t>(width), bits) + 3) / 4 * 4);
}

/// Copies pixels that do not start on a byte.
void copy_packed(const uint8_t* row, uint8_t* out, int32_t bits, int32_t column, int32_t count) noexcept
{
    for (int32_t i = 0; i < count; ++i) {
        const auto from = static_cast<uint32_t>(column + i);
        const auto to = static_cast<uint32_t>(i);
        const uint8_t* const at = row + column_offset(bits, column + i);
        insert_bits(out + column_offset(bits, i), bits, to, extract_bits(at, bits, from));
    }
}

void copy_pixels(const uint8_t* row, uint8_t* out, int32_t bits, int32_t column, int32_t count) noexcept
{
    const auto bytes = static_cast<size_t>(packed_bytes(static_cast<uint32_t>(count), bits));
    const bool is_whole = int64_t{column} * bits % 8 == 0;
    if (is_whole) {
        std::memcpy(out, row + column_offset(bits, column), bytes);
        if (!is_whole_bytes(bits))
            out[bytes - 1] &= tail_mask(bits, static_cast<uint32_t>(count));
        return;
    }
    std::memset(out, 0, bytes);
    copy_packed(row, out, bits, column, count);
}

/// The missing dimension of an axis, the other axis going from `other_old` to `other_new`; 0 when it cannot be had.
int32_t completed(int32_t old_length, int32_t other_old, int32_t other_new) noexcept
{
    const auto larger = static_cast<double>(std::max(old_length, other_new));
    const auto smaller = static_cast<double>(std::min(old_length, other_new));
    const double length = larger / static_cast<double>(other_old) * smaller;
    return length < 2147483648.0 ? static_cast<int32_t>(length) : 0;
}

bool same_colors(const RGBQUAD* a, const RGBQUAD* b, uint32_t count) noexcept
{
    return std::equal(a, a + count, b, [](const RGBQUAD& x, const RGBQUAD& y) noexcept {
        return x.rgbRed == y.rgbRed && x.rgbGreen == y.rgbGreen && x.rgbBlue == y.rgbBlue;
    });
}

uint32_t order_flag(int32_t order) noexcept
{
    return order < 0 || order > COLORORDER_RGB565 ? UINT32_MAX : COLORRES_ORDER(order);
}

} // namespace

bool complete_dimensions(int32_t old_width, int32_t old_height, int32_t& width, int32_t& height) noexcept
{
    if (old_width < 1 || old_height < 1 || width < 0 || height < 0 || (width == 0 && height == 0))
        return false;
    if (width == 0)
        width = completed(old_width, old_height, height);
    else if (height == 0)
        height = completed(old_height, old_width, width);
    return width > 0 && height > 0;
}

/// The filter that the flags ask for. Area averaging only shrinks.
Kernel ResizeStream::kernel() const noexcept
{
    const uint32_t flags = request_.flags;
    const bool is_smaller = request_.width <= source_.Width && request_.height <= source_.Height;
    const uint32_t modes = STREAMFLAG_BICUBIC | STREAMFLAG_LINEAR | STREAMFLAG_SHARP | STREAMFLAG_ALTERNATIVE;
    if (flags & STREAMFLAG_AREA && (is_smaller || !(flags & modes)))
        return Kernel::area;
    if (flags & STREAMFLAG_BICUBIC)
        return Kernel::bicubic;
    if (flags & STREAMFLAG_LINEAR)
        return Kernel::triangle;
    return flags & (STREAMFLAG_SHARP | STREAMFLAG_ALTERNATIVE) ? Kernel::lanczos : Kernel::nearest;
}

/// Indices that are not mixed stay indices, whatever the palette; so do those that are averaged by index when they are
/// to keep their palette.
bool ResizeStream::make_form(Kernel kernel) noexcept
{
    const bool is_nearest = kernel == Kernel::nearest;
    if (!resample::make_form(source_, false, form_))
        return false;
    const bool keeps_palette = request_.bits == form_.bits && request_.order != COLORORDER_GRAY &&
                               (!request_.palette || same_colors(request_.palette, form_.entries, 1u << form_.bits));
    if (form_.lanes == Lanes::index && !is_nearest && !keeps_palette)
        return resample::make_form(source_, true, form_);
    if (is_nearest && form_.lanes == Lanes::color) {
        form_.lanes = Lanes::index;
        form_.channels = 1;
        form_.most = (1u << form_.bits) - 1;
    }
    return true;
}

void ResizeStream::describe_rows(bool is_nearest) noexcept
{
    rows_.StructSize = kRecordSize;
    rows_.Width = request_.width;
    rows_.Height = request_.height;
    rows_.DitheringMethod = source_.DitheringMethod;
    rows_.BitsPerPixel = form_.bits;
    rows_.Order = form_.order;
    rows_.LowBit = source_.LowBit;
    rows_.HighBit = source_.HighBit;
    if (form_.lanes == Lanes::gray || form_.lanes == Lanes::color) {
        rows_.BitsPerPixel = form_.lanes == Lanes::gray ? 8 : 24;
        rows_.Order = form_.lanes == Lanes::gray ? COLORORDER_GRAY : COLORORDER_BGR;
    } else if (form_.lanes == Lanes::index) {
        rows_.Palette = form_.entries;
        rows_.Colors = form_.colors;
    } else if (form_.lanes == Lanes::sample) {
        rows_.Flags = source_.Flags & BITMAPFLAG_USELUT;
        rows_.LUT = source_.LUT;
        rows_.LUTLength = source_.LUTLength;
        rows_.LUTLength16 = source_.LUTLength16;
        rows_.LUT16 = is_current(source_) ? source_.LUT16 : nullptr;
    }
    if (is_nearest && source_.Flags & BITMAPFLAG_TRANSPARENCY) {
        rows_.Flags |= BITMAPFLAG_TRANSPARENCY;
        rows_.Transparency = source_.Transparency;
    }
}

/// Settles the output: the palette passed, or the gray ramp for gray sources, the source's own where it fits, else the
/// fixed one.
int ResizeStream::settle() noexcept
{
    ColorResRequest wanted;
    wanted.bits = request_.bits == 0 ? 8 : request_.bits;
    wanted.flags = request_.bits == 0 ? uint32_t{COLORRES_ORDER_GRAY} : order_flag(request_.order);
    const bool has_palette = is_indexed(wanted.bits) && wanted.flags != COLORRES_ORDER_GRAY;
    if (has_palette && request_.palette) {
        wanted.palette = request_.palette;
    } else if (has_palette && wanted.bits == source_.BitsPerPixel && form_.colors != 0) {
        wanted.palette = form_.entries;
        wanted.colors = form_.colors;
    } else if (has_palette) {
        const bool is_gray = gray_kind(source_) != GrayKind::none;
        wanted.flags |= is_gray ? COLORRES_PALETTE_GRAY : COLORRES_PALETTE_FIXED;
    }
    if (settle_target(rows_, wanted, target_) != V_SUCCESS)
        return V_ERROR_INVALID_PARAMETER;
    const bool is_levels = target_.bits == 8 && target_.count == kMaxPaletteEntries &&
                           same_colors(target_.entries, gray_levels(), kMaxPaletteEntries);
    const bool is_same_gray = is_levels && rows_.BitsPerPixel == 8 && rows_.Order == COLORORDER_GRAY;
    converts_ = !is_same_gray && !has_form(rows_, target_);
    drop_useless_dithering(rows_, target_);
    return V_SUCCESS;
}

int ResizeStream::open_buffers() noexcept
{
    const auto width = static_cast<uint32_t>(request_.width);
    const bool has_room = lanes_.allocate(form_.pixel_bytes() * width + kLaneSlack) &&
                          room_.allocate(uint64_t{width} * sizeof(uint32_t)) &&
                          pixels_.allocate(line_of(request_.width, rows_.BitsPerPixel)) &&
                          row_.allocate(line_of(request_.width, target_.bits));
    return has_room ? V_SUCCESS : V_ERROR_NO_MEMORY;
}

int ResizeStream::start_conversion() noexcept
{
    next_ = 0;
    conversion_.emplace();
    return conversion_->open(rows_, target_);
}

int ResizeStream::open(const StreamRequest& request) noexcept
{
    request_ = request;
    const Kernel kernel = this->kernel();
    if (!make_form(kernel))
        return V_ERROR_INVALID_PARAMETER;
    describe_rows(kernel == Kernel::nearest);
    int result = settle();
    if (result == V_SUCCESS)
        result = open_buffers();
    if (result == V_SUCCESS)
        result = resampler_.open(request.width, request.height, kernel);
    return result == V_SUCCESS && converts_ ? start_conversion() : result;
}

/// Makes row `y` of the output. A row that does not follow the one before begins the dithering anew.
int ResizeStream::make_row(int32_t y) noexcept
{
    held_ = 0;
    int result = resampler_.row(request_.reversed ? request_.height - 1 - y : y, lanes_.data());
    if (result != V_SUCCESS)
        return result;
    const auto width = static_cast<size_t>(request_.width);
    uint8_t* const pixels = converts_ ? pixels_.data() : row_.data();
    const bool is_packed = form_.lanes == Lanes::index || form_.lanes == Lanes::sample || form_.lanes == Lanes::field;
    if (is_packed)
        pack_row(form_, lanes_.data(), pixels, width, reinterpret_cast<uint32_t*>(room_.data()), nullptr);
    else
        std::memcpy(pixels, lanes_.data(), form_.pixel_bytes() * width);
    if (converts_ && target_.dithered && y != next_)
        result = start_conversion();
    if (converts_ && result == V_SUCCESS)
        result = conversion_->run({pixels, 0}, {row_.data(), 0}, 1);
    if (result == V_SUCCESS) {
        next_ = y + 1;
        held_ = y + 1;
    }
    return result;
}

int ResizeStream::get(uint8_t* out, int32_t y, int32_t column, int32_t count) noexcept
{
    const int result = held_ == y + 1 ? V_SUCCESS : make_row(y);
    if (result == V_SUCCESS)
        copy_pixels(row_.data(), out, target_.bits, column, count);
    return result;
}

namespace {

/// What the opaque pointer leads to.
struct StreamState {
    uint32_t struct_size = sizeof(StreamState);
    bool is_locked = false; ///< by the start call, which is over
    BITMAPHANDLE* source;   ///< as it was given, or null
    BITMAPHANDLE& rows_of;  ///< the bitmap whose rows are resized
    void* user_data;
    ResizeStream stream;

    StreamState(BITMAPHANDLE* given, BITMAPHANDLE& rows, void* data) noexcept
        : source(given), rows_of(rows), user_data(data), stream(rows)
    {}
};

int free_state(StreamState* state) noexcept
{
    BITMAPHANDLE& bitmap = state->rows_of;
    const bool is_locked = state->is_locked;
    state->~StreamState();
    platform::heap_free(state);
    return is_locked ? release_bitmap(bitmap) : V_SUCCESS;
}

StreamState* state_of(void* state) noexcept
{
    auto* const stream = static_cast<StreamState*>(state);
    return stream && stream->struct_size == sizeof(StreamState) ? stream : nullptr;
}

/// The checks of the start call, in their order.
int check_start(const BITMAPHANDLE* source, const BITMAPHANDLE* other, void** state, StreamRequest& request) noexcept
{
    if (!source && !other)
        return V_ERROR_INVALID_IMAGE;
    for (const BITMAPHANDLE* const bitmap : {source, other})
        if (bitmap && check_record(bitmap) != V_SUCCESS)
            return V_ERROR_INVALID_STRUCT_SIZE;
    if (!state)
        return V_ERROR_INVALID_PARAMETER;
    const BITMAPHANDLE& rows = source ? *source : *other;
    const int result = check_rows(rows);
    if (result != V_SUCCESS)
        return result;
    return complete_dimensions(rows.Width, rows.Height, request.width, request.height) ? V_SUCCESS
                                                                                       : V_ERROR_INVALID_PARAMETER;
}

/// What a destination bitmap says of the output: its format, where none is named, its palette and its row order.
void follow_destination(const BITMAPHANDLE& source, const BITMAPHANDLE& other, StreamRequest& request) noexcept
{
    if (request.bits == 0) {
        request.bits = other.BitsPerPixel;
        request.order = other.Order;
    }
    const bool has_entries = is_indexed(request.bits) && other.Palette && other.Colors >= 1u << request.bits;
    if (!request.palette && request.bits == other.BitsPerPixel && has_entries)
        request.palette = other.Palette;
    const int32_t from = source.ViewPerspective;
    const int32_t to = other.ViewPerspective;
    request.reversed = (from == TOP_LEFT && to == BOTTOM_LEFT) || (from == BOTTOM_LEFT && to == TOP_LEFT);
}

/// Makes the state of a source that is locked.
int make_state(BITMAPHANDLE* given, BITMAPHANDLE& rows, const StreamRequest& request, void* user_data,
               StreamState** made) noexcept
{
    void* const memory = platform::heap_alloc(sizeof(StreamState));
    if (!memory)
        return V_ERROR_NO_MEMORY;
    auto* const state = new (memory) StreamState(given, rows, user_data);
    const int result = state->stream.open(request);
    if (result == V_SUCCESS)
        *made = state;
    else
        free_state(state);
    return result;
}

int get_pixels(ResizeStream& stream, uint8_t* out, int32_t row, int32_t column, uint32_t width, int32_t bits) noexcept
{
    int result = V_SUCCESS;
    while (width != 0 && result == V_SUCCESS) {
        const auto chunk = static_cast<int32_t>(std::min(width, kMostChunk));
        result = stream.get(out, row, column, chunk);
        out += packed_bytes(static_cast<uint32_t>(chunk), bits);
        column += chunk;
        width -= static_cast<uint32_t>(chunk);
    }
    return result;
}

} // namespace

int start_stream(BITMAPHANDLE* source, BITMAPHANDLE* destination, StreamRequest request, void* user_data,
                 bool source_locked, void** out) noexcept
{
    int result = check_start(source, destination, out, request);
    if (result != V_SUCCESS)
        return result;
    BITMAPHANDLE& rows = source ? *source : *destination;
    if (destination)
        follow_destination(rows, *destination, request);
    const bool locks = !source_locked && !is_locked_uncounted(rows);
    if (locks)
        result = access_bitmap(rows);
    if (result != V_SUCCESS)
        return result;
    StreamState* state = nullptr;
    result = make_state(source, rows, request, user_data, &state);
    if (result == V_SUCCESS) {
        state->is_locked = locks;
        *out = state;
    } else if (locks) {
        release_bitmap(rows);
    }
    return result;
}

int get_stream_pixels(void* state, void* out, int32_t row, int32_t column, uint32_t width) noexcept
{
    StreamState* const held = state_of(state);
    if (!held || !out || row < 0 || row >= held->stream.height() || column < 0 || column > held->stream.width() ||
        width > static_cast<uint32_t>(held->stream.width() - column))
        return V_ERROR_INVALID_PARAMETER;
    return get_pixels(held->stream, static_cast<uint8_t*>(out), row, column, width, held->stream.bits());
}

int stop_stream(void* state) noexcept
{
    StreamState* const held = state_of(state);
    if (!held)
        return V_ERROR_INVALID_PARAMETER;
    const bool has_source = held->source != nullptr;
    const int result = free_state(held);
    return has_source ? result : V_ERROR_NULL_PTR;
}

} // namespace vk
