/**
 * @file Hold.cpp
 * vk hold: puts a picture row by row into a bitmap of a chosen storage kind, reads it back, proves that every row is
 * the file's, and tells what the storage took. Only the library's row calls are timed, not the picture files.
 */
#include "tools/Command.h"
#include "tools/Failure.h"
#include "tools/Progress.h"
#include "tools/command/Describe.h"

#include <algorithm>
#include <chrono>
#include <cstring>

namespace vk::tool {

namespace {

const std::string kAsDescription = std::string("the storage kind: ") + storage_kind_names() + " (default: conv)";

const Option kOptions[] = {
    {"--as", "KIND", kAsDescription.c_str()},
    {"--tile-size", "BYTES", "with tiled: bytes per tile, such as 64K (default: an eighth of the picture)"},
    {"-o", "FILE", "write the picture as read back from the bitmap: .png, .pnm, .pbm, .pgm or .ppm"},
};

using Clock = std::chrono::steady_clock;

/** Some rows of a picture, handled at a time so that the clock is read per batch. */
class Batch {
public:
    explicit Batch(const PictureInfo& info)
        : row_bytes_(info.row_bytes()), height_(info.height),
          rows_(static_cast<int32_t>(std::clamp<uint64_t>(kBatchBytes / info.row_bytes(), 1, kMaxRows))),
          bytes_(row_bytes_ * static_cast<size_t>(std::min(rows_, height_)))
    {}

    size_t row_bytes() const { return row_bytes_; }
    uint8_t* row(int32_t index) { return bytes_.data() + static_cast<size_t>(index) * row_bytes_; }

    /** Calls `step(first row, number of rows)` for the whole picture, in order. */
    template <typename Step> void for_all(Step step)
    {
        for (int64_t first = 0; first < height_; first += rows_) {
            step(static_cast<int32_t>(first), static_cast<int32_t>(std::min<int64_t>(rows_, height_ - first)));
        }
    }

private:
    static constexpr uint64_t kBatchBytes = uint64_t{1} << 20;
    static constexpr uint64_t kMaxRows = 1024;

    size_t row_bytes_;
    int32_t height_;
    int32_t rows_;
    std::vector<uint8_t> bytes_;
};

/** Puts all rows; the time the puts took. */
Clock::duration fill(Bitmap& bitmap, PictureReader& reader)
{
    Access access(bitmap);
    Batch batch(reader.info());
    Progress progress("writing");
    Clock::duration spent{};
    batch.for_all([&](int32_t first, int32_t rows) {
        for (int32_t i = 0; i < rows; ++i) {
            reader.read_row(batch.row(i));
        }
        const Clock::time_point start = Clock::now();
        for (int32_t i = 0; i < rows; ++i) {
            access.put(first + i, batch.row(i), batch.row_bytes());
        }
        spent += Clock::now() - start;
        progress.count(int64_t{first} + rows, reader.info().height);
    });
    return spent;
}

/** Gets all rows, compares them with the file read anew, and passes them on; the time the gets took. */
Clock::duration drain(Bitmap& bitmap, PictureReader& reader, PictureWriter* writer)
{
    Access access(bitmap);
    Batch batch(reader.info());
    Progress progress("reading");
    std::vector<uint8_t> expected(batch.row_bytes());
    Clock::duration spent{};
    batch.for_all([&](int32_t first, int32_t rows) {
        const Clock::time_point start = Clock::now();
        for (int32_t i = 0; i < rows; ++i) {
            access.get(first + i, batch.row(i), batch.row_bytes());
        }
        spent += Clock::now() - start;
        for (int32_t i = 0; i < rows; ++i) {
            reader.read_row(expected.data());
            if (std::memcmp(expected.data(), batch.row(i), expected.size()) != 0) {
                throw OperationError("row " + std::to_string(first + i) + " is not the picture's");
            }
            if (writer != nullptr) {
                writer->write_row(batch.row(i));
            }
        }
        progress.count(int64_t{first} + rows, reader.info().height);
    });
    return spent;
}

bool same_shape(const PictureInfo& a, const PictureInfo& b)
{
    return a.width == b.width && a.height == b.height && a.bits == b.bits && a.order == b.order;
}

void describe_time(Report& report, const std::string& what, Clock::duration spent, uint64_t bytes)
{
    const bool write = what == "write";
    const double seconds = std::chrono::duration<double>(spent).count();
    report.measure(write ? "write_ms" : "read_ms", write ? "write time" : "read time", seconds * 1e3, " ms");
    report.measure(write ? "write_mb_per_s" : "read_mb_per_s", write ? "write speed" : "read speed",
                   static_cast<double>(bytes) / 1e6 / std::max(seconds, 1e-9), " MB/s");
}

void run_hold(const Arguments& arguments)
{
    const std::string& name = arguments.files[0];
    const StorageKind& kind = storage_kind(arguments.value("--as").value_or("conv"));
    const std::optional<int64_t> tile_bytes = arguments.bytes("--tile-size");
    const std::optional<std::string> output = arguments.value("-o");
    const std::unique_ptr<PictureWriter> writer = output ? create_picture(*output) : nullptr;

    std::unique_ptr<PictureReader> reader = open_picture(name);
    const PictureInfo info = reader->info();
    Bitmap bitmap(info, kind, tile_bytes);
    if (writer != nullptr) {
        writer->begin(info);
    }
    const Clock::duration write_time = fill(bitmap, *reader);
    reader = open_picture(name);
    if (!same_shape(reader->info(), info)) {
        throw FileError(name, "changed while it was read");
    }
    const Clock::duration read_time = drain(bitmap, *reader, writer.get());
    if (writer != nullptr) {
        reader.reset(); // the file may be the one to be replaced
        writer->finish();
    }

    Report report;
    describe_picture(report, name, info, bitmap);
    report.text("kind", "storage kind", kind.name);
    describe_storage(report, bitmap.memory_info());
    const uint64_t stored = bitmap.stored_bytes();
    report.number("stored_bytes", "stored size", static_cast<int64_t>(stored), " bytes");
    report.measure("ratio", "raw / stored", static_cast<double>(info.data_bytes()) / static_cast<double>(stored));
    describe_time(report, "write", write_time, info.data_bytes());
    describe_time(report, "read", read_time, info.data_bytes());
    report.truth("equal", "all rows equal", true);
    if (output) {
        report.text("output", "written to", *output);
    }
    report.print(arguments.has("--json"));
}

} // namespace

extern const Command kHoldCommand;
const Command kHoldCommand = {
    "hold", "FILE", 1, "Holds a picture in storage of a chosen kind and proves it.", kOptions, &run_hold,
};

} // namespace vk::tool
