// Times every operation on whole bitmaps, through the shared library alone:
//   vk_scan depths [PART]  at every depth, in nanoseconds a pixel, and how many times as long a byte of source and
//                          result takes as at the operation's best depth; from three times on the line is marked.
//                          Pixels of less than a byte count as one, since most work is the same for each.
//   vk_scan sizes [PART]   at 1, 4, 16 and 64 megapixels, in memory and in tiles, and how far the times of a pixel are
//                          apart; from 1.3 times on the line is marked
// PART: operations whose names have that in them only.
#include "bench/scan/Operations.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace {

using namespace vk::scan;

struct Form {
    const char* name;
    int32_t bits;
    int32_t order;
};

constexpr Form kForms[] = {
    {"1", 1, COLORORDER_RGB},          {"2", 2, COLORORDER_RGB},         {"3", 3, COLORORDER_RGB},
    {"4", 4, COLORORDER_RGB},          {"5", 5, COLORORDER_RGB},         {"6", 6, COLORORDER_RGB},
    {"7", 7, COLORORDER_RGB},          {"8", 8, COLORORDER_RGB},         {"8 gray", 8, COLORORDER_GRAY},
    {"12 gray", 12, COLORORDER_GRAY},  {"16 gray", 16, COLORORDER_GRAY}, {"16", 16, COLORORDER_BGR},
    {"16 565", 16, COLORORDER_RGB565}, {"24", 24, COLORORDER_BGR},       {"24 RGB", 24, COLORORDER_RGB},
    {"32", 32, COLORORDER_BGR},        {"32 gray", 32, COLORORDER_GRAY}, {"48", 48, COLORORDER_BGR},
    {"64", 64, COLORORDER_BGR},
};

/// Shapes with noise on them, the same in every row's bytes whatever they mean.
void paint(BITMAPHANDLE& bitmap)
{
    V_AccessBitmap(&bitmap);
    std::vector<uint8_t> row(bitmap.BytesPerLine);
    uint32_t noise = 1;
    for (int32_t y = 0; y < bitmap.Height; ++y) {
        for (size_t x = 0; x < row.size(); ++x) {
            noise = noise * 1664525u + 1013904223u;
            row[x] = static_cast<uint8_t>((x * 255 / row.size() ^ static_cast<size_t>(y) / 64 * 37) + (noise >> 28));
        }
        V_PutBitmapRow(&bitmap, row.data(), y, row.size());
    }
    V_ReleaseBitmap(&bitmap);
}

struct Picture {
    BITMAPHANDLE record{};
    bool is_there;

    Picture(const Form& form, uint32_t memory, int32_t width, int32_t height)
        : is_there(V_CreateBitmap(&record, BITMAPHANDLE_SIZE, memory, width, height, form.bits, form.order, nullptr,
                                  TOP_LEFT, nullptr, 0) == SUCCESS)
    {
        if (is_there && form.bits == 8)
            record.Order = form.order;
        if (is_there)
            paint(record);
    }
    Picture(const Picture&) = delete;
    Picture& operator=(const Picture&) = delete;
    ~Picture() { V_FreeBitmap(&record); }
};

struct Time {
    double seconds = -1; ///< below 0: there is no such operation, or nothing was to be done
    double bytes = 0;    ///< of the source and of what became of it

    double of_byte() const { return seconds / bytes; }
};

/// Bytes a second above which nothing can have been done.
constexpr double kNothing = 200e9;

double bytes_of(const BITMAPHANDLE& bitmap)
{
    return double(bitmap.Width) * bitmap.Height * std::max(bitmap.BitsPerPixel, 8) / 8;
}

/// The least of some runs, each on a copy.
Time time_of(const Operation& operation, BITMAPHANDLE& source, int runs)
{
    Time least;
    for (int i = 0; i < runs; ++i) {
        BITMAPHANDLE copy{};
        if (V_CopyBitmap(&copy, &source, sizeof copy) != SUCCESS)
            return {};
        const auto start = std::chrono::steady_clock::now();
        const int result = operation.run(copy);
        const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        least.bytes = bytes_of(source) + bytes_of(copy);
        const bool is_done = result == SUCCESS && static_cast<double>(source.Size64) < kNothing * seconds;
        V_FreeBitmap(&copy);
        if (!is_done)
            return {};
        least.seconds = i == 0 ? seconds : std::min(least.seconds, seconds);
    }
    return least;
}

int scan_depths(const std::string& part)
{
    constexpr int32_t kWidth = 1500;
    constexpr int32_t kHeight = 1000;
    constexpr double kMarked = 3;
    std::printf("| operation | depth | ns a pixel | x best |\n|---|---|---|---|\n");
    int marked = 0;
    for (const Operation& operation : operations()) {
        if (std::string(operation.name).find(part) == std::string::npos)
            continue;
        std::vector<std::pair<const Form*, Time>> times;
        double best = 1e9;
        for (const Form& form : kForms) {
            Picture picture(form, TYPE_CONV, kWidth, kHeight);
            const Time time = picture.is_there ? time_of(operation, picture.record, 5) : Time{};
            if (time.seconds < 0)
                continue;
            times.emplace_back(&form, time);
            best = std::min(best, time.of_byte());
        }
        for (const auto& [form, time] : times) {
            const double times_best = time.of_byte() / best;
            std::printf("| %s | %s | %.2f | %.1f%s |\n", operation.name, form->name,
                        time.seconds * 1e9 / (kWidth * kHeight), times_best, times_best > kMarked ? " *" : "");
            marked += times_best > kMarked;
        }
        std::fflush(stdout);
    }
    std::printf("\n%d marked\n", marked);
    return 0;
}

int scan_sizes(const std::string& part)
{
    constexpr int32_t kSides[] = {1024, 2048, 4096, 8192};
    constexpr double kMarked = 1.3;
    std::printf("| operation | depth | storage | 1 | 4 | 16 | 64 megapixels, ns a pixel | most / least |\n"
                "|---|---|---|---|---|---|---|---|\n");
    for (const Operation& operation : operations())
        for (const Form& form : kForms) {
            if (std::string(operation.name).find(part) == std::string::npos ||
                (std::strcmp(form.name, "1") != 0 && std::strcmp(form.name, "8 gray") != 0 &&
                 std::strcmp(form.name, "24") != 0))
                continue;
            for (const uint32_t memory : {TYPE_CONV, TYPE_TILED}) {
                double least = 1e9, most = 0;
                std::string line;
                for (const int32_t side : kSides) {
                    Picture picture(form, memory, side, side);
                    const Time time =
                        picture.is_there ? time_of(operation, picture.record, side < 4000 ? 7 : 3) : Time{};
                    if (time.seconds < 0)
                        break;
                    const double pixel = time.seconds * 1e9 / side / side;
                    char text[32];
                    std::snprintf(text, sizeof text, " %.3f |", pixel);
                    line += text;
                    least = std::min(least, pixel);
                    most = std::max(most, pixel);
                }
                if (most > 0)
                    std::printf("| %s | %s | %s |%s %.2f%s |\n", operation.name, form.name,
                                memory == TYPE_CONV ? "memory" : "tiles", line.c_str(), most / least,
                                most / least > kMarked ? " *" : "");
                std::fflush(stdout);
            }
        }
    return 0;
}

} // namespace

int main(int count, char** arguments)
{
    const std::string what = count > 1 ? arguments[1] : "";
    const std::string part = count > 2 ? arguments[2] : "";
    if (what == "depths")
        return scan_depths(part);
    if (what == "sizes")
        return scan_sizes(part);
    std::fprintf(stderr, "usage: vk_scan depths|sizes [PART]\n");
    return 2;
}
