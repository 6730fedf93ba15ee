/**
 * @file Sheet.cpp
 * vk sheet: many pictures on one. Each is brought to 24 bits and to the size that fits its cell as soon as it is read,
 * and waits in a bitmap list for the sheet, whose rows it is then put into; so only one picture is held whole.
 */
#include "tools/BitmapList.h"
#include "tools/FileOptions.h"
#include "tools/PictureFile.h"
#include "tools/Progress.h"
#include "tools/Report.h"
#include "tools/Values.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <limits>

namespace vk::tool {

namespace {

const Option kOptions[] = {
    {"-o", "OUT", "the sheet to write"},
    {"--columns", "N", "pictures in a row (default: as many as there are rows)"},
    {"--size", "WxH", "pixels of a picture's cell (default: 128x128)"},
    {"--gap", "N", "pixels around the cells (default: 8)"},
};

constexpr uint8_t kPaper = 0xFF;
constexpr int32_t kPixelBytes = 3;

struct Layout {
    int32_t columns = 0;
    int32_t rows = 0;
    int32_t cell_width = 128;
    int32_t cell_height = 128;
    int32_t gap = 8;

    int64_t width() const { return columns * (int64_t{cell_width} + gap) + gap; }
    int64_t height() const { return rows * (int64_t{cell_height} + gap) + gap; }
};

Layout read_layout(const Arguments& arguments)
{
    Layout layout;
    const auto count = static_cast<int32_t>(arguments.files.size());
    const auto square = static_cast<int32_t>(std::ceil(std::sqrt(count)));
    layout.columns = std::min(count_option(arguments, "--columns", square), count);
    layout.rows = (count + layout.columns - 1) / layout.columns;
    if (const std::optional<std::string> size = arguments.value("--size")) {
        const size_t cross = size->find('x');
        if (cross == std::string::npos || !parse_number(size->substr(0, cross), layout.cell_width) ||
            !parse_number(size->substr(cross + 1), layout.cell_height) ||
            std::min(layout.cell_width, layout.cell_height) < 1) {
            throw UsageError("--size needs WxH");
        }
    }
    if (const std::optional<std::string> gap = arguments.value("--gap")) {
        if (!parse_number(*gap, layout.gap) || layout.gap < 0) {
            throw UsageError("--gap needs a number of at least 0");
        }
    }
    constexpr int64_t kMost = std::numeric_limits<int32_t>::max() / kPixelBytes - 3;
    if (std::max(layout.width(), layout.height()) > kMost) {
        throw UsageError("the sheet would be too large");
    }
    return layout;
}

/** Makes a picture one of 24 bits that just fits its cell. */
void fit(Bitmap& bitmap, const Layout& layout)
{
    bitmap.turn_upright();
    BITMAPHANDLE& record = bitmap.record();
    check(V_ColorResBitmap(&record, nullptr, 0, 24, COLORRES_ORDER_BGR, nullptr, nullptr, 0), "making 24 bits");
    const double width = record.Width;
    const double height = record.Height;
    const double scale = std::min(layout.cell_width / width, layout.cell_height / height);
    const auto side = [scale](double pixels, int32_t most) {
        return std::clamp(static_cast<int32_t>(std::lround(pixels * scale)), 1, most);
    };
    check(V_SizeBitmap(&record, side(width, layout.cell_width), side(height, layout.cell_height), SIZEFLAG_RESAMPLE),
          "resizing");
}

std::unique_ptr<Bitmap> make_sheet(const Layout& layout)
{
    PictureInfo info;
    info.width = static_cast<int32_t>(layout.width());
    info.height = static_cast<int32_t>(layout.height());
    info.bits = 8 * kPixelBytes;
    info.order = COLORORDER_BGR;
    auto sheet = std::make_unique<Bitmap>(info);
    const std::vector<uint8_t> row(info.row_bytes(), kPaper);
    Access access(*sheet);
    for (int32_t y = 0; y < info.height; ++y) {
        access.put(y, row.data(), row.size());
    }
    return sheet;
}

/** Puts a picture in the middle of cell number `index`. */
void place(Access& sheet, BITMAPHANDLE& picture, const Layout& layout, int32_t index)
{
    const int32_t width = picture.Width;
    const int32_t height = picture.Height;
    const int32_t left = layout.gap + index % layout.columns * (layout.cell_width + layout.gap);
    const int32_t top = layout.gap + index / layout.columns * (layout.cell_height + layout.gap);
    const int32_t x = left + (layout.cell_width - width) / 2;
    const int32_t y = top + (layout.cell_height - height) / 2;
    std::vector<uint8_t> row(static_cast<size_t>(width) * kPixelBytes);
    Access access(picture);
    for (int32_t line = 0; line < height; ++line) {
        access.get(line, row.data(), row.size());
        sheet.put(y + line, x, row.data(), row.size());
    }
}

/** Reads the pictures, and makes them ready for their cells. */
void collect(BitmapList& list, const Arguments& arguments, const Layout& layout)
{
    const std::vector<std::string>& names = arguments.files;
    for (size_t i = 0; i < names.size(); ++i) {
        Progress progress(std::to_string(i + 1) + "/" + std::to_string(names.size()));
        const std::unique_ptr<Bitmap> bitmap = load_bitmap(
            names[i], [&](int32_t done, int32_t total) { progress.count(done, total); }, read_options(arguments));
        fit(*bitmap, layout);
        list.append(*bitmap);
    }
}

std::unique_ptr<Bitmap> lay_out(BitmapList& list, int32_t count, const Layout& layout)
{
    std::unique_ptr<Bitmap> sheet = make_sheet(layout);
    Access access(*sheet);
    for (int32_t i = 0; i < count; ++i) {
        BITMAPHANDLE picture = list.item(static_cast<uint32_t>(i));
        place(access, picture, layout, i);
    }
    return sheet;
}

void run_sheet(const Arguments& arguments)
{
    const std::optional<std::string> out = arguments.value("-o");
    if (!out) {
        throw UsageError("-o needs to be given");
    }
    const Layout layout = read_layout(arguments);
    const WriteOptions options = write_options(arguments);
    const std::unique_ptr<PictureWriter> writer = create_picture(*out, options);
    const auto count = static_cast<int32_t>(arguments.files.size());
    const auto start = std::chrono::steady_clock::now();
    BitmapList list;
    collect(list, arguments, layout);
    const std::unique_ptr<Bitmap> sheet = lay_out(list, count, layout);
    const std::chrono::duration<double> spent = std::chrono::steady_clock::now() - start;
    save_bitmap(*sheet, *writer, options, unseen);

    Report report;
    report.text("file", "written to", *out);
    report.number("pictures", "pictures", count);
    report.number("columns", "columns", layout.columns);
    report.number("rows", "rows", layout.rows);
    report.number("width", "width", sheet->record().Width, " pixels");
    report.number("height", "height", sheet->record().Height, " pixels");
    report.measure("sheet_ms", "time", spent.count() * 1e3, " ms");
    report.print(arguments.has("--json"));
}

} // namespace

extern const Command kSheetCommand;
const Command kSheetCommand = {
    .name = "sheet",
    .files = "FILE... -o OUT",
    .file_count = 1,
    .summary = "Lays out many pictures on one.",
    .options = kOptions,
    .run = &run_sheet,
    .writes = true,
    .takes_more = true,
};

} // namespace vk::tool
