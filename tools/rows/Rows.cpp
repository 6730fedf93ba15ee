/**
 * @file Rows.cpp
 * The sources that begin with a file or a bitmap, and the stage that works in bands.
 */
#include "tools/rows/Rows.h"

#include "tools/Failure.h"

#include <algorithm>

namespace vk::tool {

namespace {

class FileRows : public RowSource {
public:
    explicit FileRows(PictureReader& reader) : reader_(reader) { info_ = reader.info(); }
    void next(uint8_t* row) override { reader_.read_row(row); }

private:
    PictureReader& reader_;
};

class BitmapRows : public RowSource {
public:
    explicit BitmapRows(Bitmap& bitmap) : access_(bitmap)
    {
        PictureInfo notes;
        notes.profile = bitmap.profile;
        notes.frame = bitmap.frame();
        notes.width = bitmap.record().Width;
        notes.height = bitmap.record().Height;
        if (bitmap.knows_resolution()) {
            notes.x_resolution = bitmap.record().XResolution;
            notes.y_resolution = bitmap.record().YResolution;
        }
        info_ = form_of(bitmap.record(), notes);
    }
    void next(uint8_t* row) override { access_.get(next_row_++, row, info_.row_bytes()); }

private:
    Access access_;
    int32_t next_row_ = 0;
};

using BandAction = std::function<void(Bitmap&)>;

class Bands : public RowSource {
public:
    Bands(Rows rows, const BandAction& action) : rows_(std::move(rows)), action_(action)
    {
        PictureInfo one = rows_->info();
        one.height = 1;
        Bitmap blank(one);
        action_(blank);
        info_ = form_of(blank.record(), one);
        set_size(info_, info_.width, rows_->info().height);
        if (info_.width == one.width) {
            info_.frame = rows_->info().frame;
        }
        row_.resize(rows_->info().row_bytes());
    }
    void next(uint8_t* row) override
    {
        if (next_row_ == end_) {
            fill();
        }
        Access access(*band_);
        access.get(next_row_++ - first_, row, info_.row_bytes());
    }

private:
    void fill();

    Rows rows_;
    BandAction action_;
    std::vector<uint8_t> row_;
    std::unique_ptr<Bitmap> band_;
    int32_t first_ = 0; ///< the band's rows, and the next one of them
    int32_t end_ = 0;
    int32_t next_row_ = 0;
};

void Bands::fill()
{
    constexpr size_t kBandBytes = size_t{1} << 20;
    PictureInfo part = rows_->info();
    const auto most = static_cast<int32_t>(std::max<size_t>(kBandBytes / row_.size(), 1));
    first_ = end_;
    part.height = std::min(most, rows_->info().height - first_);
    end_ = first_ + part.height;
    band_ = std::make_unique<Bitmap>(part);
    {
        Access access(*band_);
        for (int32_t y = 0; y < part.height; ++y) {
            rows_->next(row_.data());
            access.put(y, row_.data(), row_.size());
        }
    }
    action_(*band_);
}

} // namespace

void set_size(PictureInfo& info, int32_t width, int32_t height)
{
    if (info.frame && (width != info.width || height != info.height)) {
        info.frame->left = info.frame->top = 0;
        info.frame->canvas_width = width;
        info.frame->canvas_height = height;
    }
    info.width = width;
    info.height = height;
}

PictureInfo form_of(const BITMAPHANDLE& record, const PictureInfo& notes)
{
    PictureInfo info = notes;
    set_size(info, record.Width, record.Height);
    info.bits = record.BitsPerPixel;
    info.order = record.Order;
    info.orientation = record.ViewPerspective;
    const RGBQUAD* const palette = record.Palette;
    const uint32_t colors = palette == nullptr ? 0 : +record.Colors;
    info.palette.assign(palette, palette + colors);
    return info;
}

Rows rows_of(PictureReader& reader)
{
    return std::make_unique<FileRows>(reader);
}

Rows rows_of(Bitmap& bitmap)
{
    return std::make_unique<BitmapRows>(bitmap);
}

RowStage in_bands(std::function<void(Bitmap&)> action)
{
    return
        [action = std::move(action)](Rows& rows) -> Rows { return std::make_unique<Bands>(std::move(rows), action); };
}

bool stand_upright(Rows& rows)
{
    constexpr int32_t kMirrored = 2;
    if (rows->info().orientation == kMirrored) {
        rows = in_bands([](Bitmap& band) { band.turn_upright(); })(rows);
    }
    return rows->info().orientation == TOP_LEFT;
}

} // namespace vk::tool
