/**
 * @file Describe.cpp
 * The lines of Describe.h.
 */
#include "tools/command/Describe.h"

namespace vk::tool {

namespace {

const char* order_name(int32_t order)
{
    switch (order) {
    case COLORORDER_RGB:
        return "RGB";
    case COLORORDER_BGR:
        return "BGR";
    case COLORORDER_GRAY:
        return "gray";
    default:
        return "other";
    }
}

} // namespace

void describe_picture(Report& report, const std::string& name, const PictureInfo& info, Bitmap& bitmap)
{
    const BITMAPHANDLE& record = bitmap.record();
    report.text("file", "file", name);
    report.text("format", "format", info.format);
    report.number("width", "width", record.Width, " pixels");
    report.number("height", "height", record.Height, " pixels");
    report.number("bits_per_pixel", "bits per pixel", record.BitsPerPixel);
    report.text("order", "colour order", order_name(record.Order));
    report.number("palette_entries", "palette entries", record.Palette == nullptr ? 0 : record.Colors);
    report.number("x_resolution", "x resolution", record.XResolution, " dots per inch");
    report.number("y_resolution", "y resolution", record.YResolution, " dots per inch");
    report.truth("resolution_in_file", "stated in file", info.x_resolution > 0 && info.y_resolution > 0);
    report.number("view_perspective", "view perspective", record.ViewPerspective);
    report.number("profile_bytes", "colour profile", static_cast<int64_t>(info.profile.size()), " bytes");
    describe_frame(report, info.frame);
    report.number("bytes_per_line", "bytes per line", record.BytesPerLine);
    report.number("raw_bytes", "raw size", static_cast<int64_t>(info.data_bytes()), " bytes");
}

void describe_frame(Report& report, const std::optional<Frame>& frame)
{
    if (!frame) {
        return;
    }
    const char* const disposal = frame->disposal == Disposal::clear     ? "cleared"
                                 : frame->disposal == Disposal::restore ? "taken back"
                                                                        : "kept";
    report.number("left", "at column", frame->left);
    report.number("top", "at row", frame->top);
    report.number("canvas_width", "canvas width", frame->canvas_width, " pixels");
    report.number("canvas_height", "canvas height", frame->canvas_height, " pixels");
    report.number("delay", "shown for", frame->delay, " ms");
    report.text("disposal", "then", disposal);
    report.truth("replaces", "covers all", frame->replaces);
    report.number("loops", "loops", frame->loops);
}

void describe_storage(Report& report, const MemoryInfo& info)
{
    report.text("memory", "memory", memory_type_name(info.type));
    if (info.type != TYPE_TILED) {
        return;
    }
    report.number("tile_bytes", "tile size", info.tile_bytes, " bytes");
    report.number("tiles", "tiles", info.tiles);
    report.number("tiles_in_memory", "tiles in memory", info.tiles_in_memory);
    report.number("tiles_in_file", "tiles in file", info.tiles_in_file);
    report.number("mapped_tiles", "mapped at most", info.mapped_tiles);
}

} // namespace vk::tool
