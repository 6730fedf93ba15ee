/**
 * @file Trial.cpp
 * Filling a bitmap from a file and draining it again, batch by batch.
 */
#include "tools/command/Trial.h"

#include "tools/Failure.h"
#include "tools/Progress.h"

#include <algorithm>
#include <cstring>

namespace vk::tool {

namespace {

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

double rate(uint64_t bytes, Clock::duration spent)
{
    return static_cast<double>(bytes) / 1e6 / std::max(std::chrono::duration<double>(spent).count(), 1e-9);
}

double milliseconds(Clock::duration spent)
{
    return std::chrono::duration<double>(spent).count() * 1e3;
}

} // namespace

Trial try_storage(const std::string& name, const ReadOptions& options, const StorageKind& kind,
                  std::optional<int64_t> tile_bytes, PictureWriter* writer)
{
    std::unique_ptr<PictureReader> reader = open_picture(name, options);
    Trial trial;
    trial.info = reader->info();
    trial.bitmap = std::make_unique<Bitmap>(trial.info, kind, tile_bytes);
    if (writer != nullptr) {
        writer->begin(trial.info);
    }
    trial.write_time = fill(*trial.bitmap, *reader);
    reader = open_picture(name, options);
    if (!same_shape(reader->info(), trial.info)) {
        throw FileError(name, "changed while it was read");
    }
    trial.read_time = drain(*trial.bitmap, *reader, writer);
    reader.reset(); // the file may be the one to be replaced
    if (writer != nullptr) {
        writer->finish();
    }
    trial.stored_bytes = trial.bitmap->stored_bytes();
    return trial;
}

void describe_trial(Report& report, const Trial& trial)
{
    const uint64_t raw = trial.info.data_bytes();
    report.number("stored_bytes", "stored size", static_cast<int64_t>(trial.stored_bytes), " bytes");
    report.measure("ratio", "raw / stored", static_cast<double>(raw) / static_cast<double>(trial.stored_bytes));
    report.measure("write_ms", "write time", milliseconds(trial.write_time), " ms");
    report.measure("write_mb_per_s", "write speed", rate(raw, trial.write_time), " MB/s");
    report.measure("read_ms", "read time", milliseconds(trial.read_time), " ms");
    report.measure("read_mb_per_s", "read speed", rate(raw, trial.read_time), " MB/s");
}

} // namespace vk::tool
