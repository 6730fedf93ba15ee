// A context's picture shows the bitmap's colours in a form that the system draws in. What was drawn is found by making
// that form of the bitmap's rows once more: a pixel that still shows the same is left alone, however much of it the
// form cannot hold.
#include "kernel/display/Context.h"

#if defined(_WIN32)

#include "kernel/bitmap/Alloc.h"
#include "kernel/bitmap/Create.h"
#include "kernel/bitmap/Record.h"
#include "kernel/colorres/ColorRes.h"
#include "kernel/combine/RowConverter.h"
#include "kernel/format/RowMath.h"
#include "kernel/palette/Palette.h"
#include "kernel/resize/Temporary.h"
#include "kernel/rows/Locks.h"
#include "kernel/rows/RowAccess.h"
#include "kernel/rows/Segments.h"
#include "kernel/system/LibraryLock.h"
#include "kernel/system/Progress.h"
#include "kernel/system/SilentStatus.h"
#include "kernel/view/ViewPerspective.h"
#include "platform/context.h"
#include "platform/platform.h"

#include <algorithm>
#include <cstring>
#include <mutex>
#include <new>

namespace vk::display {

namespace {

using combine::PixelForm;
using combine::RowConverter;
using platform::Canvas;
using platform::Colors;

constexpr int32_t kColorBits = 32;
constexpr int32_t kReadBits = 24;
constexpr int64_t kBandBytes = int64_t{4} << 20;

/// What a bitmap's pixels are, as far as it has to stay while there is a context.
struct Facts {
    int32_t width = 0;
    int32_t height = 0;
    int32_t bits = 0;
    int32_t order = 0;
    int32_t perspective = 0;

    Facts() noexcept = default;
    explicit Facts(const BITMAPHANDLE& bitmap) noexcept
        : width(bitmap.Width), height(bitmap.Height), bits(bitmap.BitsPerPixel), order(bitmap.Order),
          perspective(bitmap.ViewPerspective)
    {}
    bool operator==(const Facts&) const noexcept = default;
};

/// A context that is out, in the library's list of them.
struct OpenContext {
    OpenContext* next = nullptr;
    Canvas canvas;
    Facts facts;
};

constinit LibraryLock g_lock;
OpenContext* g_first = nullptr;

void add(OpenContext* context) noexcept
{
    const std::lock_guard<LibraryLock> hold(g_lock);
    context->next = g_first;
    g_first = context;
}

/// The context is taken from the list when `accept` says so of its facts. Null without one.
template <class Accept> OpenContext* take(HDC handle, Accept accept, bool* is_known) noexcept
{
    const std::lock_guard<LibraryLock> hold(g_lock);
    for (OpenContext** at = &g_first; *at; at = &(*at)->next) {
        OpenContext* const found = *at;
        if (found->canvas.context != handle)
            continue;
        *is_known = true;
        if (!accept(found->facts))
            return nullptr;
        *at = found->next;
        return found;
    }
    return nullptr;
}

/// The bitmap without what gives its pixels another meaning than their own.
class PlainRecord {
public:
    explicit PlainRecord(const BITMAPHANDLE& bitmap) noexcept
    {
        std::memcpy(static_cast<void*>(&record_), &bitmap, bitmap.StructSize);
        record_.Flags &= ~(BITMAPFLAG_USELUT | BITMAPFLAG_TRANSPARENCY);
    }
    const BITMAPHANDLE& get() const noexcept { return record_; }

private:
    BITMAPHANDLE record_ = {};
};

/// The depth that the system draws in.
int32_t drawn_bits(int32_t bits) noexcept
{
    return bits > 8 ? kColorBits : bits > 4 ? 8 : bits > 1 ? 4 : 1;
}

/// The form of that depth. Entries that the bitmap has not are all the first, which drawing finds before them.
PixelForm drawn_form(const BITMAPHANDLE& plain) noexcept
{
    PixelForm form = combine::color_form();
    if (plain.BitsPerPixel > 8)
        return form;
    const PixelForm own = combine::form_of(plain);
    form.bits = drawn_bits(plain.BitsPerPixel);
    form.order = COLORORDER_RGB;
    form.colors = own.colors;
    std::fill(std::begin(form.palette), std::end(form.palette), own.palette[0]);
    std::copy_n(own.palette, own.colors, form.palette);
    return form;
}

/// A bitmap for the picture of a context.
int make_drawn(BITMAPHANDLE& made, int32_t width, int32_t height, const PixelForm& form, int32_t perspective) noexcept
{
    return create_bitmap(made, kRecordSize,
                         {TYPE_CONV, width, height, form.bits, COLORORDER_BGR, form.indexed() ? form.palette : nullptr,
                          is_perspective(perspective) ? perspective : TOP_LEFT, nullptr, 0, nullptr});
}

int show_rows(BITMAPHANDLE& bitmap, BITMAPHANDLE& drawn, const PixelForm& form) noexcept
{
    const PlainRecord plain(bitmap);
    RowConverter converter;
    int result =
        converter.open(plain.get(), form, static_cast<uint64_t>(bitmap.Width) * static_cast<uint64_t>(bitmap.Height));
    BitmapAccess access(bitmap), drawn_access(drawn);
    result = first_failure(result, first_failure(access.result(), drawn_access.result()));
    RowReader reader(bitmap);
    RowWriter writer(drawn);
    if (result == V_SUCCESS)
        result = reader.reserve(1);
    if (result == V_SUCCESS)
        result = writer.reserve(1);
    for (int32_t y = 0; y < bitmap.Height && result == V_SUCCESS; ++y) {
        const uint8_t* row = nullptr;
        result = reader.read(y, 1, &row);
        if (result == V_SUCCESS)
            converter.run(row, writer.place(y), static_cast<size_t>(bitmap.Width));
        if (result == V_SUCCESS)
            result = writer.write(y, 1);
    }
    return first_failure(result, release_both(drawn_access, access));
}

/// Fills a canvas with a bitmap as it is shown.
int fill_canvas(const Canvas& canvas, BITMAPHANDLE& bitmap, const PixelForm& form) noexcept
{
    Temporary temporary;
    BITMAPHANDLE& drawn = temporary.record();
    int result = make_drawn(drawn, bitmap.Width, bitmap.Height, form, bitmap.ViewPerspective);
    if (result == V_SUCCESS)
        result = show_rows(bitmap, drawn, form);
    if (result == V_SUCCESS)
        result = change_view_perspective(drawn, TOP_LEFT);
    BitmapAccess access(drawn);
    if (result == V_SUCCESS)
        result = access.result();
    const size_t line = drawn.BytesPerLine;
    for (int32_t y = 0; y < drawn.Height && result == V_SUCCESS; ++y)
        result = get_rows(drawn, canvas.pixels + line * static_cast<size_t>(y), y, 1);
    return result;
}

/// Brings the pixels of a row that were drawn to the bitmap.
class DrawnRows {
public:
    DrawnRows(BITMAPHANDLE& bitmap, BITMAPHANDLE& drawn) noexcept
        : bitmap_(bitmap), drawn_(drawn), reader_(drawn), plain_(bitmap), form_(drawn_form(plain_.get()))
    {}

    int open() noexcept
    {
        const auto pixels = static_cast<uint64_t>(bitmap_.Width) * static_cast<uint64_t>(bitmap_.Height);
        int result = shown_.open(plain_.get(), form_, pixels);
        if (result == V_SUCCESS)
            result = back_.open(drawn_, combine::form_of(plain_.get()), pixels);
        const bool has_room = own_.allocate(bitmap_.BytesPerLine) && changed_.allocate(bitmap_.BytesPerLine) &&
                              before_.allocate(drawn_.BytesPerLine) && after_.allocate(drawn_.BytesPerLine);
        return first_failure(result, has_room ? reader_.reserve(1) : V_ERROR_NO_MEMORY);
    }

    int run(int32_t y) noexcept
    {
        const uint8_t* row = nullptr;
        int result = reader_.read(y, 1, &row);
        if (result == V_SUCCESS)
            result = get_rows(bitmap_, own_.data(), y, 1);
        if (result != V_SUCCESS)
            return result;
        const auto width = static_cast<size_t>(bitmap_.Width);
        shown_.run(own_.data(), before_.data(), width);
        take(row);
        if (std::memcmp(before_.data(), after_.data(), bytes_) == 0)
            return V_SUCCESS;
        back_.run(after_.data(), changed_.data(), width);
        put_changes();
        return put_rows(bitmap_, own_.data(), y, 1);
    }

private:
    /// What is drawn is opaque, and what stands behind the last pixel is nothing.
    void take(const uint8_t* row) noexcept
    {
        const auto width = static_cast<uint32_t>(bitmap_.Width);
        bytes_ = static_cast<size_t>(packed_bytes(width, form_.bits));
        std::memset(after_.data(), 0, bytes_);
        copy_pixels(after_.data(), row, form_.bits, 0, width);
        if (form_.indexed())
            return;
        for (size_t at = 3; at < bytes_; at += 4)
            before_.data()[at] = after_.data()[at] = 0xFF;
    }

    bool differs(uint32_t x) const noexcept
    {
        const auto bits = static_cast<uint32_t>(form_.bits);
        if (bits >= 8)
            return std::memcmp(before_.data() + x * (bits / 8), after_.data() + x * (bits / 8), bits / 8) != 0;
        const uint32_t at = x * bits, mask = (0xFF00u >> bits & 0xFFu) >> at % 8;
        return ((before_.data()[at / 8] ^ after_.data()[at / 8]) & mask) != 0;
    }

    void put_changes() noexcept
    {
        const auto width = static_cast<uint32_t>(bitmap_.Width);
        for (uint32_t x = 0; x < width; ++x) {
            const uint32_t first = x;
            while (x < width && differs(x))
                ++x;
            if (x > first)
                copy_pixels(own_.data(), changed_.data(), bitmap_.BitsPerPixel, first, x);
        }
    }

    BITMAPHANDLE& bitmap_;
    BITMAPHANDLE& drawn_;
    RowReader reader_;
    const PlainRecord plain_;
    const PixelForm form_;
    RowConverter shown_;
    RowConverter back_;
    RowBuffer own_;
    RowBuffer changed_;
    RowBuffer before_;
    RowBuffer after_;
    size_t bytes_ = 0;
};

int put_drawn(BITMAPHANDLE& bitmap, BITMAPHANDLE& drawn) noexcept
{
    BitmapAccess access(bitmap), drawn_access(drawn);
    int result = first_failure(access.result(), drawn_access.result());
    DrawnRows rows(bitmap, drawn);
    if (result == V_SUCCESS)
        result = rows.open();
    for (int32_t y = 0; y < bitmap.Height && result == V_SUCCESS; ++y)
        result = rows.run(y);
    return first_failure(result, release_both(drawn_access, access));
}

/// Brings a canvas's picture to the bitmap.
int read_canvas(const Canvas& canvas, BITMAPHANDLE& bitmap) noexcept
{
    const PlainRecord plain(bitmap);
    const PixelForm form = drawn_form(plain.get());
    const bool is_turned = is_rotated_perspective(bitmap.ViewPerspective);
    const int32_t width = is_turned ? +bitmap.Height : +bitmap.Width,
                  height = is_turned ? +bitmap.Width : +bitmap.Height;
    Temporary temporary;
    BITMAPHANDLE& drawn = temporary.record();
    int result = make_drawn(drawn, width, height, form, TOP_LEFT);
    if (result == V_SUCCESS) {
        BitmapAccess access(drawn);
        result = access.result();
        const size_t line = drawn.BytesPerLine;
        for (int32_t y = 0; y < height && result == V_SUCCESS; ++y)
            result = put_rows(drawn, canvas.pixels + line * static_cast<size_t>(y), y, 1);
    }
    if (result == V_SUCCESS && is_perspective(bitmap.ViewPerspective))
        result = change_view_perspective(drawn, bitmap.ViewPerspective);
    return result == V_SUCCESS ? put_drawn(bitmap, drawn) : result;
}

void free_context(OpenContext* context) noexcept
{
    platform::canvas_delete(context->canvas);
    platform::heap_free(context);
}

/// Draws all rows of an accessed bitmap of 8 or 24 bits, top row first.
int draw_rows(HDC context, BITMAPHANDLE& made, int32_t left, int32_t top) noexcept
{
    RowReader reader(made);
    const int32_t rows = reader.in_place() ? static_cast<int32_t>(made.Height) : 1;
    const Colors colors{made.Palette, made.Palette ? static_cast<uint32_t>(made.Colors) : 0};
    int result = reader.reserve(rows);
    for (int32_t y = 0; y < made.Height && result == V_SUCCESS; y += rows) {
        const uint8_t* pixels = nullptr;
        const RECT to{left, top + y, left + made.Width, top + y + rows};
        result = reader.read(y, rows, &pixels);
        if (result == V_SUCCESS && !platform::context_draw(context, to, made.BitsPerPixel, pixels, colors))
            result = V_ERROR_NO_MEMORY;
    }
    return result;
}

/// Dithers what is painted to the colours of a context that has no others.
int suit_context(HDC context, BITMAPHANDLE& made, const BITMAPHANDLE& bitmap) noexcept
{
    RGBQUAD entries[kMaxPaletteEntries];
    const uint32_t count = platform::context_palette(context, entries);
    if (count == 0)
        return V_SUCCESS;
    ColorResRequest request;
    request.bits = 8;
    request.palette = entries;
    request.colors = count;
    made.DitheringMethod = bitmap.DitheringMethod;
    const SilentStatus silent;
    return change_colors(made, request);
}

/// What two rectangles share; false for nothing.
bool cut(RECT& rect, const RECT& by) noexcept
{
    rect = {std::max(rect.left, by.left), std::max(rect.top, by.top), std::min(rect.right, by.right),
            std::min(rect.bottom, by.bottom)};
    return rect.left < rect.right && rect.top < rect.bottom;
}

/// Rows of a context, band by band, into an accessed bitmap.
int read_bands(BITMAPHANDLE& made, HDC context, const ContextPart& part, const Canvas& canvas, int32_t band) noexcept
{
    const size_t line = made.BytesPerLine;
    Progress progress(part.height);
    int result = progress.begin();
    for (int32_t y = 0; y < part.height && result == V_SUCCESS; y += band) {
        const int32_t rows = std::min(band, part.height - y);
        const int64_t top = int64_t{part.top} + y;
        std::memset(canvas.pixels, 0, line * static_cast<size_t>(rows));
        if (top <= INT32_MAX - rows &&
            !platform::context_read(context, part.left, static_cast<int32_t>(top), canvas, part.width, rows))
            return V_ERROR_INVALID_HANDLE;
        result = put_rows(made, canvas.pixels, y, rows);
        if (result == V_SUCCESS)
            result = progress.update(int64_t{y} + rows);
    }
    return result;
}

int read_context(BITMAPHANDLE& made, HDC context, const ContextPart& part) noexcept
{
    const int64_t line = made.BytesPerLine;
    const auto band = static_cast<int32_t>(std::clamp<int64_t>(kBandBytes / line, 1, part.height));
    Canvas canvas;
    if (!platform::canvas_create(&canvas, part.width, band, kReadBits, {}))
        return V_ERROR_NO_MEMORY;
    BitmapAccess access(made);
    int result = access.result();
    if (result == V_SUCCESS)
        result = read_bands(made, context, part, canvas, band);
    platform::canvas_delete(canvas);
    return first_failure(result, access.release());
}

} // namespace

HDC create_context(BITMAPHANDLE& bitmap) noexcept
{
    void* const block = platform::heap_alloc(sizeof(OpenContext));
    if (!block)
        return nullptr;
    auto* const context = new (block) OpenContext;
    context->facts = Facts(bitmap);
    const PlainRecord plain(bitmap);
    const PixelForm form = drawn_form(plain.get());
    const bool is_turned = is_rotated_perspective(bitmap.ViewPerspective);
    const int32_t width = is_turned ? +bitmap.Height : +bitmap.Width,
                  height = is_turned ? +bitmap.Width : +bitmap.Height;
    const Colors colors{form.palette, form.indexed() ? 1u << form.bits : 0};
    if (!platform::canvas_create(&context->canvas, width, height, form.bits, colors)) {
        platform::heap_free(context);
        return nullptr;
    }
    if (fill_canvas(context->canvas, bitmap, form) != V_SUCCESS) {
        free_context(context);
        return nullptr;
    }
    const HDC handle = context->canvas.context;
    add(context);
    return handle;
}

int release_context(BITMAPHANDLE* bitmap, HDC handle) noexcept
{
    bool is_known = false;
    const auto accept = [&](const Facts& facts) noexcept { return !bitmap || facts == Facts(*bitmap); };
    OpenContext* const context = take(handle, accept, &is_known);
    if (!context)
        return is_known ? V_ERROR_INVALID_PARAMETER : V_ERROR_INVALID_HANDLE;
    platform::finish_drawing();
    const int result = bitmap ? read_canvas(context->canvas, *bitmap) : V_SUCCESS;
    free_context(context);
    return result;
}

int paint_to_context(HDC context, BITMAPHANDLE& bitmap, RenderJob job, const RECT& to, const RECT* clip) noexcept
{
    RECT box;
    RECT seen = to;
    if (!platform::context_box(context, &box))
        return V_ERROR_INVALID_HANDLE;
    if (!cut(seen, box) || (clip && !cut(seen, *clip)))
        return V_SUCCESS;
    job.shown = {static_cast<int32_t>(seen.left - to.left), static_cast<int32_t>(seen.top - to.top),
                 static_cast<int32_t>(seen.right - to.left), static_cast<int32_t>(seen.bottom - to.top)};
    Temporary temporary;
    BITMAPHANDLE& made = temporary.record();
    int result = render(made, bitmap, kRecordSize, job);
    if (result == V_SUCCESS)
        result = suit_context(context, made, bitmap);
    if (result != V_SUCCESS)
        return result;
    BitmapAccess access(made);
    result = access.result();
    return result == V_SUCCESS ? draw_rows(context, made, seen.left, seen.top) : result;
}

int bitmap_from_context(BITMAPHANDLE& made, uint32_t struct_size, HDC context, const ContextPart& part) noexcept
{
    RECT box;
    int result = platform::context_box(context, &box) ? V_SUCCESS : V_ERROR_INVALID_HANDLE;
    if (result == V_SUCCESS && !row_holds_width(wrapping_bytes_per_line(part.width, kReadBits), part.width, kReadBits))
        result = V_ERROR_INVALID_WIDTH_HEIGHT;
    if (result != V_SUCCESS) {
        clear_record(made, struct_size);
        return result;
    }
    result = create_bitmap(
        made, struct_size,
        {TYPE_CONV, part.width, part.height, kReadBits, COLORORDER_BGR, nullptr, TOP_LEFT, nullptr, 0, nullptr});
    if (result == V_SUCCESS)
        result = read_context(made, context, part);
    if (result != V_SUCCESS) {
        free_bitmap(made);
        clear_record(made, struct_size);
    }
    return result;
}

} // namespace vk::display

#endif
