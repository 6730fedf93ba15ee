/**
 * @file PictureFile.cpp
 * The way of a picture's rows between file and bitmap.
 */
#include "tools/PictureFile.h"

#include "tools/Failure.h"
#include "tools/Platform.h"

#include <algorithm>

namespace vk::tool {

void unseen(int32_t, int32_t)
{
    if (interrupted()) {
        throw Interrupted();
    }
}

std::unique_ptr<Bitmap> load_bitmap(const std::string& name, const RowDone& row_done, const ReadOptions& options)
{
    return load_page(*open_picture(name, options), row_done);
}

std::unique_ptr<Bitmap> load_page(PictureReader& reader, const RowDone& row_done)
{
    const PictureInfo& info = reader.info();
    auto bitmap = std::make_unique<Bitmap>(info);
    bitmap->take_notes(info);
    Access access(*bitmap);
    std::vector<uint8_t> row(info.row_bytes());
    for (int32_t y = 0; y < info.height; ++y) {
        reader.read_row(row.data());
        access.put(y, row.data(), row.size());
        row_done(y + 1, info.height);
    }
    return bitmap;
}

namespace {

/** A form of the pixels that picture files have. */
struct FileForm {
    int32_t bits;
    int32_t order;
};

FileForm file_form(const BITMAPHANDLE& bitmap)
{
    const int32_t bits = bitmap.BitsPerPixel;
    if (bits <= 8) {
        return {bits == 1 || bits == 2 || bits == 4 ? bits : 8, COLORORDER_RGB};
    }
    if (bitmap.Order == COLORORDER_GRAY) {
        return {16, COLORORDER_GRAY};
    }
    return {bits == 16 ? 24 : bits, COLORORDER_BGR};
}

PictureInfo file_info(const BITMAPHANDLE& bitmap, const FileForm& form)
{
    PictureInfo info;
    info.width = bitmap.Width;
    info.height = bitmap.Height;
    info.bits = form.bits;
    info.order = form.order;
    info.x_resolution = bitmap.XResolution;
    info.y_resolution = bitmap.YResolution;
    if (form.bits <= 8) {
        const size_t levels = size_t{1} << form.bits;
        if (const RGBQUAD* const palette = bitmap.Palette) {
            info.palette.assign(palette, palette + bitmap.Colors);
        } else { // gray levels need none
            for (size_t i = 0; i < levels; ++i) {
                const auto level = static_cast<uint8_t>(i * 255 / (levels - 1));
                info.palette.push_back({level, level, level, 0});
            }
        }
        info.palette.resize(levels);
    }
    return info;
}

} // namespace

void save_bitmap(Bitmap& bitmap, PictureWriter& writer, const WriteOptions& options, const RowDone& row_done)
{
    save_page(bitmap, writer, options, row_done);
    writer.finish();
}

void save_page(Bitmap& bitmap, PictureWriter& writer, const WriteOptions& options, const RowDone& row_done)
{
    if (!bitmap.rows_as_they_are && (options.bare || !writer.keeps_orientation())) {
        bitmap.turn_upright();
    }
    const BITMAPHANDLE& record = bitmap.record();
    const FileForm form = file_form(record);
    PictureInfo info = file_info(record, form);
    info.frame = bitmap.frame();
    if (!options.bare) {
        info.orientation = record.ViewPerspective;
        // It may have been made for other pixels than it comes to belong to.
        const bool gray = form.order == COLORORDER_GRAY || is_gray(info.palette);
        info.profile = is_profile_of(bitmap.profile, gray) ? bitmap.profile : std::vector<uint8_t>();
    } else {
        info.x_resolution = info.y_resolution = 0;
    }
    writer.begin(info);
    const int32_t room = V_CalcConvertSize(record.Width, record.BitsPerPixel, record.Width, form.bits);
    std::vector<uint8_t> row(static_cast<size_t>(std::max(room, 8)));
    const std::vector<RGBQUAD> palette = info.palette;
    Access access(bitmap);
    for (int32_t y = 0; y < record.Height; ++y) {
        access.get(y, row.data(), record.BytesPerLine);
        if (form.bits != record.BitsPerPixel || form.order != record.Order) {
            check(V_ConvertBuffer(row.data(), record.Width, record.BitsPerPixel, form.bits, record.Order, form.order,
                                  record.Palette, palette.empty() ? nullptr : palette.data()),
                  "converting for the file");
        }
        writer.write_row(row.data());
        row_done(y + 1, record.Height);
    }
}

} // namespace vk::tool
