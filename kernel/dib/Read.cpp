// From a DIB into a bitmap of its own. The header is settled first: what its compression is and whether its sizes go
// with it; then storage is made and rows are filled by the way that belongs to the compression.
#include "kernel/dib/Dib.h"

#include "kernel/bitmap/Alloc.h"
#include "kernel/bitmap/Duplicate.h"
#include "kernel/bitmap/Record.h"
#include "kernel/convert/Convert.h"
#include "kernel/dib/BitFields.h"
#include "kernel/dib/Codecs.h"
#include "kernel/dib/Runs.h"
#include "kernel/dib/Yuv.h"
#include "kernel/format/Depths.h"
#include "kernel/rows/Locks.h"
#include "kernel/rows/RowAccess.h"
#include "kernel/system/Checks.h"
#include "kernel/system/Progress.h"
#include "kernel/system/ThreadState.h"

#include <algorithm>

namespace vk {

namespace {

using dib::Header;

enum class Way { plain, fields, runs, yuv, jpeg };

/// A header that is settled.
struct Settled {
    Header header;
    Way way = Way::plain;
    const dib::YuvFormat* yuv = nullptr;
    dib::Masks masks;
    int32_t order_of_masks = -1;

    bool decodes() const noexcept { return way == Way::yuv || way == Way::jpeg; }
    int32_t bits() const noexcept { return way == Way::yuv ? 24 : header.bits; }
    int32_t order() const noexcept
    {
        return way == Way::fields && order_of_masks >= 0 ? order_of_masks : usual_order(bits());
    }
    int32_t view() const noexcept
    {
        const bool upside_down = way == Way::jpeg || (way == Way::yuv && yuv->upside_down);
        return header.top_down() != upside_down ? TOP_LEFT : BOTTOM_LEFT;
    }
};

bool has_yuv_sizes(const Header& header, const dib::YuvFormat& format) noexcept
{
    return header.width % format.width_step == 0 && header.rows() % format.height_step == 0 &&
           (header.bits == format.bits || header.bits == 24);
}

int check_depth(int32_t bits) noexcept
{
    return is_bitmap_depth(bits) ? V_SUCCESS : V_ERROR_INVALID_BITS_PER_PIXEL;
}

int supported(bool is) noexcept
{
    return is ? V_SUCCESS : V_ERROR_FEATURE_NOT_SUPPORTED;
}

/// Finds out what the compression asks for. ERROR_FEATURE_NOT_SUPPORTED when there is no such DIB,
/// ERROR_INVALID_BITS_PER_PIXEL where the pixels may have any depth but no bitmap has this one.
int settle_way(Settled& settled) noexcept
{
    const Header& header = settled.header;
    const uint32_t code = header.compression;
    switch (code) {
    case BI_RGB:
        settled.way = Way::plain;
        return check_depth(header.bits);
    case BI_BITFIELDS:
        settled.way = Way::fields;
        return supported(header.bits == 16 || header.bits == 32);
    case BI_RLE8:
    case BI_RLE4:
        settled.way = Way::runs;
        return supported(header.bits == (code == BI_RLE8 ? 8 : 4));
    default:
        break;
    }
    settled.yuv = dib::find_yuv(code);
    settled.way = settled.yuv ? Way::yuv : Way::jpeg;
    if (settled.yuv)
        return supported(has_yuv_sizes(header, *settled.yuv));
    return is_jpeg_code(code) ? check_depth(header.bits) : V_ERROR_FEATURE_NOT_SUPPORTED;
}

uint64_t bytes_needed(const Settled& settled) noexcept
{
    const Header& header = settled.header;
    switch (settled.way) {
    case Way::runs:
    case Way::jpeg:
        return header.image_bytes;
    case Way::yuv:
        return dib::yuv_bytes(*settled.yuv, static_cast<uint32_t>(header.width), static_cast<uint32_t>(header.rows()));
    default:
        return header.plain_bytes();
    }
}

int settle(const DibSource& dib, Settled& settled) noexcept
{
    settled.header = dib::read_header(dib.header);
    Header& header = settled.header;
    if (header.size == dib::kCoreSize)
        header.compression = BI_RGB;
    if (header.width < 0 || header.height == INT32_MIN)
        return V_ERROR_INVALID_PARAMETER;
    if (const int result = settle_way(settled); result != V_SUCCESS)
        return result;
    const uint32_t colors = settled.way == Way::yuv ? 0 : header.colors();
    const uint64_t behind = settled.way == Way::fields ? dib::kMaskBytes : uint64_t{colors} * sizeof(RGBQUAD);
    if ((header.bits <= 8 && colors > 1u << header.bits) || behind + dib::kInfoSize > dib.header_room ||
        (dib.bits && bytes_needed(settled) > dib.bits_room))
        return V_ERROR_INVALID_PARAMETER;
    if (settled.way == Way::fields) {
        settled.masks = dib::read_masks(dib.header + dib::kInfoSize);
        settled.order_of_masks = dib::usual_order(settled.masks, header.bits);
    }
    return V_SUCCESS;
}

ConvertJob copy_of_bytes(size_t bytes) noexcept
{
    ConvertJob job;
    job.width = static_cast<int32_t>(bytes);
    job.src_bits = job.dst_bits = 8;
    job.src_order = job.dst_order = COLORORDER_GRAY;
    return job;
}

/// Fills rows from a settled DIB that is no JPEG, in order.
class Filler {
public:
    Filler(const Settled& settled, const uint8_t* bits, uint32_t line) noexcept
        : settled_(settled), bits_(bits), line_(line), mover_(settled.masks),
          runs_(bits, settled.way == Way::runs ? settled.header.image_bytes : 0, settled.header.bits, width(), height(),
                line)
    {}

    int fill(uint32_t row, uint32_t rows, uint8_t* to) noexcept
    {
        switch (settled_.way) {
        case Way::fields:
            fill_fields(row, rows, to);
            return V_SUCCESS;
        case Way::runs:
            return fill_runs(rows, to);
        case Way::yuv:
            dib::convert_yuv({settled_.yuv, bits_, width(), height()}, row, rows, to, line_);
            return V_SUCCESS;
        default:
            return convert_rows({bits_ + row * line_, line_}, {to, line_}, rows, copy_of_bytes(line_));
        }
    }

private:
    uint32_t width() const noexcept { return static_cast<uint32_t>(settled_.header.width); }
    uint32_t height() const noexcept { return static_cast<uint32_t>(settled_.header.rows()); }

    void fill_fields(uint32_t row, uint32_t rows, uint8_t* to) noexcept
    {
        const int32_t bits = settled_.header.bits;
        for (uint32_t i = 0; i < rows; ++i, to += line_) {
            const uint8_t* const from = bits_ + (size_t{row} + i) * line_;
            if (settled_.order_of_masks < 0) {
                mover_.repack(to, from, dib::repacked_pixels(settled_.header), bits, 0xFF);
                continue;
            }
            std::memcpy(to, from, line_);
            for (size_t x = 0; bits == 32 && x < width(); ++x)
                to[4 * x + 3] = 0xFF;
        }
    }

    int fill_runs(uint32_t rows, uint8_t* to) noexcept
    {
        for (uint32_t i = 0; i < rows; ++i, to += line_)
            if (!runs_.row(to))
                return V_ERROR_INTERNAL;
        return V_SUCCESS;
    }

    const Settled& settled_;
    const uint8_t* bits_;
    size_t line_;
    dib::FieldMover mover_;
    dib::RunDecoder runs_;
};

int read_rows(BITMAPHANDLE& bitmap, const Settled& settled, const uint8_t* bits) noexcept
{
    RowWriter writer(bitmap);
    const int32_t height = bitmap.Height;
    const int32_t batch = writer.in_place() ? reported_rows(height) : buffered_rows(bitmap, bitmap);
    Filler filler(settled, bits, bitmap.BytesPerLine);
    Progress progress(height);
    int result = progress.begin();
    if (result == V_SUCCESS)
        result = writer.reserve(batch);
    for (int32_t row = 0; row < height && result == V_SUCCESS;) {
        const int32_t rows = std::min(batch, height - row);
        result = filler.fill(static_cast<uint32_t>(row), static_cast<uint32_t>(rows), writer.place(row));
        if (result == V_SUCCESS)
            result = writer.write(row, rows);
        row += rows;
        if (result == V_SUCCESS)
            result = progress.update(row);
    }
    return result;
}

/// Takes the rows that a codec decodes: as they are, or as the depth of the bitmap wants them.
class CodecRows {
public:
    explicit CodecRows(BITMAPHANDLE& bitmap) noexcept : bitmap_(bitmap), writer_(bitmap), progress_(bitmap.Height)
    {
        job_.width = bitmap.Width;
        job_.src_bits = decoded_bits();
        job_.dst_bits = bitmap.BitsPerPixel;
        job_.src_order = decoded_bits() == 8 ? COLORORDER_GRAY : COLORORDER_BGR;
        job_.dst_order = decoded_bits() == 8 ? COLORORDER_GRAY : usual_order(job_.dst_bits);
        job_.dst_palette = bitmap.Palette;
    }

    int32_t decoded_bits() const noexcept { return bitmap_.BitsPerPixel == 8 ? 8 : 24; }

    static int begin(const V_CODECPICTURE* picture, void* self) noexcept
    {
        auto& rows = *static_cast<CodecRows*>(self);
        if (!picture || picture->StructSize != sizeof *picture || picture->Width != rows.bitmap_.Width ||
            picture->Height != rows.bitmap_.Height || picture->BitsPerPixel != rows.decoded_bits())
            return V_ERROR_INTERNAL; // not the picture that the header speaks of
        const int result = rows.progress_.begin();
        return result == V_SUCCESS ? rows.writer_.reserve(1) : result;
    }

    static int put_row(const uint8_t* row, int32_t index, void* self) noexcept
    {
        auto& rows = *static_cast<CodecRows*>(self);
        if (!row || index != rows.next_ || index >= rows.bitmap_.Height)
            return V_ERROR_INTERNAL;
        const size_t line = rows.bitmap_.BytesPerLine;
        int result = convert_rows({row, line}, {rows.writer_.place(index), line}, 1, rows.job_);
        if (result == V_SUCCESS)
            result = rows.writer_.write(index, 1);
        ++rows.next_;
        return result == V_SUCCESS ? rows.progress_.update(rows.next_) : result;
    }

    bool complete() const noexcept { return next_ == bitmap_.Height; }

private:
    BITMAPHANDLE& bitmap_;
    RowWriter writer_;
    Progress progress_;
    ConvertJob job_;
    int32_t next_ = 0;
};

int read_jpeg(BITMAPHANDLE& bitmap, const Settled& settled, const uint8_t* bits, const CodecUse& codec) noexcept
{
    CodecRows rows(bitmap);
    const int result = codec.load()(bits, settled.header.image_bytes, rows.decoded_bits(), CodecRows::begin,
                                    CodecRows::put_row, &rows);
    return result == V_SUCCESS && !rows.complete() ? V_ERROR_INTERNAL : result;
}

/// Storage and pixels for an initialised record.
int read_pixels(BITMAPHANDLE& bitmap, const Settled& settled, const DibSource& dib, const CodecUse* codec) noexcept
{
    const bool is_whole = settled.way != Way::runs && settled.way != Way::jpeg; // else pixels may be left out
    int result = allocate_bitmap(bitmap, thread_state().default_memory_type, nullptr,
                                 is_whole ? pixels_of_shown_record() : NewPixels::clear);
    if (result == V_SUCCESS)
        result = check_rows(bitmap);
    const uint32_t colors = settled.way == Way::yuv ? 0 : settled.header.colors();
    if (result == V_SUCCESS && colors != 0)
        result = set_color_table(bitmap, dib.header + dib::kInfoSize, colors, sizeof(RGBQUAD));
    if (result != V_SUCCESS)
        return result;
    BitmapAccess access(bitmap);
    result = access.result();
    if (result == V_SUCCESS)
        result = codec ? read_jpeg(bitmap, settled, dib.bits, *codec) : read_rows(bitmap, settled, dib.bits);
    const int released = access.release();
    return result == V_SUCCESS ? released : result;
}

int read_settled(BITMAPHANDLE& bitmap, const Settled& settled, const DibSource& dib) noexcept
{
    if (settled.way != Way::jpeg)
        return read_pixels(bitmap, settled, dib, nullptr);
    const CodecUse codec(Codec::jpeg);
    return codec.result() == V_SUCCESS ? read_pixels(bitmap, settled, dib, &codec) : codec.result();
}

} // namespace

bool is_jpeg_code(uint32_t code) noexcept
{
    return code == dib::four_cc("dmb1") || code == dib::four_cc("MJPG") || code == dib::four_cc("JPEG");
}

int set_color_table(BITMAPHANDLE& bitmap, const uint8_t* table, uint32_t count, uint32_t entry_bytes) noexcept
{
    RGBQUAD entries[256];
    for (uint32_t i = 0; i < count; ++i, table += entry_bytes)
        entries[i] = {table[0], table[1], table[2], 0};
    return give_palette(bitmap, entries, count);
}

int convert_from_dib(BITMAPHANDLE& bitmap, uint32_t struct_size, const DibSource& dib) noexcept
{
    Settled settled;
    int result = settle(dib, settled);
    const Header& header = settled.header;
    if (result == V_SUCCESS)
        result = init_bitmap(bitmap, struct_size, header.width, header.rows(), settled.bits(), nullptr);
    if (result == V_SUCCESS && !dib.bits)
        return V_SUCCESS;
    if (result == V_SUCCESS) {
        dib::set_resolution(bitmap, header);
        bitmap.Order = settled.order();
        bitmap.ViewPerspective = settled.view();
        result = read_settled(bitmap, settled, dib);
        if (result != V_SUCCESS)
            free_bitmap(bitmap);
    }
    if (result != V_SUCCESS)
        clear_record(bitmap, struct_size);
    return result;
}

} // namespace vk
