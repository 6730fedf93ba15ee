/**
 * @file Compare.cpp
 * vk compare: whether two pictures show the same, and if not by how much. Both are looked at upright and in the
 * simplest form that has the values of both: 8 bits a channel, or 16 where one has more, with alpha where one has it.
 */
#include "tools/FileOptions.h"
#include "tools/PictureFile.h"
#include "tools/Progress.h"
#include "tools/Report.h"
#include "tools/Values.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>

namespace vk::tool {

namespace {

const Option kOptions[] = {
    {"--tolerance", "N",
     "how far a channel may be off, in its own steps, and the pictures still count as equal (default 0)"},
    {"-o", "OUT", "write a picture of the differences, channel by channel, made as bright as they can be"},
};

/** What is found on the way through all rows. */
struct Difference {
    int64_t pixels = 0; ///< that are off by more than the tolerance
    int32_t largest = 0;
    double squares = 0;
    int64_t samples = 0;

    /** In decibels; infinite for pictures that are the same. */
    double signal_to_noise(int32_t most) const
    {
        const double peak = most;
        return 10 * std::log10(peak * peak / (squares / static_cast<double>(samples)));
    }
};

/** The form in which two pictures are compared. */
struct Form {
    bool deep;
    bool alpha;

    int32_t bits() const { return (alpha ? 4 : 3) * (deep ? 16 : 8); }
    int32_t most() const { return deep ? 0xFFFF : 0xFF; }
};

bool is_deep(const BITMAPHANDLE& record)
{
    const int32_t bits = record.BitsPerPixel;
    return bits >= 48 || (record.Order == COLORORDER_GRAY && bits > 8);
}

bool has_alpha(const BITMAPHANDLE& record)
{
    return record.BitsPerPixel % 32 == 0;
}

void bring_to(Bitmap& bitmap, const Form& form)
{
    BITMAPHANDLE& record = bitmap.record();
    const bool had_alpha = has_alpha(record);
    bitmap.turn_upright();
    check(V_ColorResBitmap(&record, nullptr, 0, form.bits(), COLORRES_ORDER_BGR, nullptr, nullptr, 0),
          "bringing both to one form");
    if (form.alpha && !had_alpha) {
        check(V_SetBitmapAlphaValue(&record, static_cast<uint32_t>(form.most())), "making it opaque");
    }
}

template <typename Sample>
void compare_rows(const uint8_t* first, uint8_t* second, size_t samples, size_t channels, int32_t tolerance,
                  Difference& difference)
{
    int32_t worst = 0;
    for (size_t i = 0; i < samples; ++i) {
        Sample a;
        Sample b;
        std::memcpy(&a, first + i * sizeof a, sizeof a);
        std::memcpy(&b, second + i * sizeof b, sizeof b);
        const int32_t off = std::abs(int32_t{a} - int32_t{b});
        const auto shown = static_cast<Sample>(off);
        std::memcpy(second + i * sizeof b, &shown, sizeof shown);
        difference.squares += static_cast<double>(off) * off;
        worst = std::max(i % channels == 0 ? 0 : worst, off);
        difference.largest = std::max(difference.largest, off);
        difference.pixels += i % channels == channels - 1 && worst > tolerance ? 1 : 0;
    }
    difference.samples += static_cast<int64_t>(samples);
}

/** Compares, and leaves the differences in the second. */
Difference compare(Bitmap& first, Bitmap& second, const Form& form, int32_t tolerance)
{
    const BITMAPHANDLE& record = first.record();
    Difference difference;
    Progress progress("comparing");
    Access a(first);
    Access b(second);
    std::vector<uint8_t> row_a(record.BytesPerLine);
    std::vector<uint8_t> row_b(row_a.size());
    const size_t channels = form.alpha ? 4 : 3;
    const size_t samples = static_cast<size_t>(record.Width) * channels;
    for (int32_t y = 0; y < record.Height; ++y) {
        a.get(y, row_a.data(), row_a.size());
        b.get(y, row_b.data(), row_b.size());
        const auto rows = form.deep ? &compare_rows<uint16_t> : &compare_rows<uint8_t>;
        rows(row_a.data(), row_b.data(), samples, channels, tolerance, difference);
        b.put(y, row_b.data(), row_b.size());
        progress.count(y + 1, record.Height);
    }
    return difference;
}

/** Stretches the differences to all of the range; what is alpha's becomes opaque. */
void save_differences(Bitmap& bitmap, const Form& form, const Difference& difference, const std::string& name,
                      const WriteOptions& options)
{
    const std::unique_ptr<PictureWriter> writer = create_picture(name, options);
    BITMAPHANDLE& record = bitmap.record();
    if (form.alpha) {
        check(V_ColorResBitmap(&record, nullptr, 0, form.deep ? 48 : 24, COLORRES_ORDER_BGR, nullptr, nullptr, 0),
              "dropping alpha");
    }
    const auto most = static_cast<uint32_t>(form.most());
    const auto largest = static_cast<uint32_t>(std::max(difference.largest, 1));
    {
        Access access(bitmap);
        std::vector<uint8_t> row(record.BytesPerLine);
        for (int32_t y = 0; y < record.Height; ++y) {
            access.get(y, row.data(), row.size());
            for (size_t i = 0; i < static_cast<size_t>(record.Width) * 3; ++i) {
                uint16_t wide = row[i];
                if (form.deep) {
                    std::memcpy(&wide, &row[2 * i], sizeof wide);
                    wide = static_cast<uint16_t>(wide * most / largest);
                    std::memcpy(&row[2 * i], &wide, sizeof wide);
                } else {
                    row[i] = static_cast<uint8_t>(wide * most / largest);
                }
            }
            access.put(y, row.data(), row.size());
        }
    }
    bitmap.profile.clear();
    save_bitmap(bitmap, *writer, options, unseen);
}

std::unique_ptr<Bitmap> load(const std::string& name, const ReadOptions& options)
{
    Progress progress("reading");
    return load_bitmap(
        name, [&](int32_t done, int32_t total) { progress.count(done, total); }, options);
}

void run_compare(const Arguments& arguments)
{
    const int32_t tolerance = number_option(arguments, "--tolerance", 0, 0, 0xFFFF);
    const WriteOptions options = write_options(arguments);
    const std::unique_ptr<Bitmap> first = load(arguments.files[0], read_options(arguments));
    const std::unique_ptr<Bitmap> second = load(arguments.files[1], read_options(arguments));
    const Form form = {is_deep(first->record()) || is_deep(second->record()),
                       has_alpha(first->record()) || has_alpha(second->record())};
    bring_to(*first, form);
    bring_to(*second, form);
    const BITMAPHANDLE& a = first->record();
    const BITMAPHANDLE& b = second->record();
    if (a.Width != b.Width || a.Height != b.Height) {
        throw Failure(kExitDifferent, "the pictures differ in size: " + std::to_string(a.Width) + " x " +
                                          std::to_string(a.Height) + " and " + std::to_string(b.Width) + " x " +
                                          std::to_string(b.Height));
    }
    const Difference difference = compare(*first, *second, form, tolerance);
    if (const std::optional<std::string> out = arguments.value("-o")) {
        save_differences(*second, form, difference, *out, options);
    }
    Report report;
    report.truth("equal", "equal", difference.pixels == 0);
    report.number("different_pixels", "different pixels", difference.pixels);
    report.number("largest_difference", "largest", difference.largest, form.deep ? " of 65535" : " of 255");
    if (difference.largest != 0) {
        report.measure("psnr", "signal to noise", difference.signal_to_noise(form.most()), " dB");
    }
    report.print(arguments.has("--json"));
    if (difference.pixels != 0) {
        throw Failure(kExitDifferent, "the pictures differ");
    }
}

} // namespace

extern const Command kCompareCommand;
const Command kCompareCommand = {
    .name = "compare",
    .files = "FILE FILE",
    .file_count = 2,
    .summary = "Tells whether two pictures show the same, and how far they are apart.",
    .options = kOptions,
    .run = &run_compare,
    .writes = true,
};

} // namespace vk::tool
