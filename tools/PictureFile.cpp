/**
 * @file PictureFile.cpp
 * The way of a picture's rows between file and bitmap.
 */
#include "tools/PictureFile.h"

#include "tools/Failure.h"
#include "tools/Platform.h"
#include "tools/picture/Formats.h"

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
    return gather(*rows_of(reader), row_done);
}

std::unique_ptr<Bitmap> gather(RowSource& rows, const RowDone& row_done)
{
    const PictureInfo& info = rows.info();
    auto bitmap = std::make_unique<Bitmap>(info);
    bitmap->take_notes(info);
    Access access(*bitmap);
    std::vector<uint8_t> row(info.row_bytes());
    row_done(0, info.height);
    for (int32_t y = 0; y < info.height; ++y) {
        rows.next(row.data());
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

FileForm file_form(const PictureInfo& info)
{
    const int32_t bits = info.bits;
    if (bits <= 8) {
        return {bits == 1 || bits == 2 || bits == 4 ? bits : 8, COLORORDER_RGB};
    }
    if (info.order == COLORORDER_GRAY) {
        return {16, COLORORDER_GRAY};
    }
    return {bits == 16 ? 24 : bits, COLORORDER_BGR};
}

PictureInfo file_info(const PictureInfo& from, const FileForm& form, bool bare)
{
    PictureInfo info = from;
    info.bits = form.bits;
    info.order = form.order;
    if (form.bits <= 8) {
        if (from.palette.empty()) { // gray levels need none
            info.palette = gray_ramp(form.bits);
        }
        info.palette.resize(size_t{1} << form.bits);
    } else {
        info.palette.clear();
    }
    // It may have been made for other pixels than it comes to belong to.
    const bool gray = form.order == COLORORDER_GRAY || is_gray(info.palette);
    if (bare || !is_profile_of(info.profile, gray)) {
        info.profile.clear();
    }
    if (bare) {
        info.x_resolution = info.y_resolution = 0;
        info.orientation = TOP_LEFT;
    }
    return info;
}

} // namespace

void write_rows(RowSource& rows, PictureWriter& writer, const WriteOptions& options, const RowDone& row_done)
{
    const PictureInfo& from = rows.info();
    const FileForm form = file_form(from);
    const PictureInfo info = file_info(from, form, options.bare);
    writer.begin(info);
    const int32_t room = V_CalcConvertSize(from.width, from.bits, from.width, form.bits);
    std::vector<uint8_t> row(std::max(static_cast<size_t>(std::max(room, 8)), from.row_bytes()));
    std::vector<RGBQUAD> palette = from.palette;
    palette.resize(from.bits <= 8 && !palette.empty() ? size_t{1} << from.bits : 0);
    const auto entries = [](const std::vector<RGBQUAD>& colors) { return colors.empty() ? nullptr : colors.data(); };
    const bool converts = form.bits != from.bits || form.order != from.order;
    row_done(0, from.height);
    for (int32_t y = 0; y < from.height; ++y) {
        rows.next(row.data());
        if (converts) {
            check(V_ConvertBuffer(row.data(), from.width, from.bits, form.bits, from.order, form.order,
                                  entries(palette), entries(info.palette)),
                  "converting for the file");
        }
        writer.write_row(row.data());
        row_done(y + 1, from.height);
    }
}

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
    write_rows(*rows_of(bitmap), writer, options, row_done);
}

} // namespace vk::tool
