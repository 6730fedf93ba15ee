/**
 * @file TimedFiles.h
 * A reader and a writer that add up the time they take, so that the rest of it can be told to be an operation's.
 */
#ifndef VK_TOOLS_TIMED_FILES_H
#define VK_TOOLS_TIMED_FILES_H

#include "tools/picture/Picture.h"

#include <chrono>

namespace vk::tool {

using Clock = std::chrono::steady_clock;

/** Adds its own life to a sum. */
class Stopwatch {
public:
    explicit Stopwatch(Clock::duration& sum) : sum_(sum) {}
    ~Stopwatch() { sum_ += Clock::now() - start_; }
    Stopwatch(const Stopwatch&) = delete;
    Stopwatch& operator=(const Stopwatch&) = delete;

private:
    Clock::duration& sum_;
    Clock::time_point start_ = Clock::now();
};

class TimedReader : public PictureReader {
public:
    TimedReader(std::unique_ptr<PictureReader> reader, Clock::duration& sum) : reader_(std::move(reader)), sum_(sum)
    {
        info_ = reader_->info();
    }
    bool next_page() override
    {
        const Stopwatch watch(sum_);
        const bool more = reader_->next_page();
        info_ = reader_->info();
        return more;
    }

private:
    void decode_row(uint8_t* row) override
    {
        const Stopwatch watch(sum_);
        reader_->read_row(row);
    }

    std::unique_ptr<PictureReader> reader_;
    Clock::duration& sum_;
};

class TimedWriter : public PictureWriter {
public:
    TimedWriter(std::unique_ptr<PictureWriter> writer, Clock::duration& sum) : writer_(std::move(writer)), sum_(sum) {}

    bool keeps_orientation() const override { return writer_->keeps_orientation(); }
    bool keeps_pages() const override { return writer_->keeps_pages(); }
    void begin(const PictureInfo& info) override
    {
        const Stopwatch watch(sum_);
        writer_->begin(info);
    }
    void write_row(const uint8_t* row) override
    {
        const Stopwatch watch(sum_);
        writer_->write_row(row);
    }
    void finish() override
    {
        const Stopwatch watch(sum_);
        writer_->finish();
    }

private:
    std::unique_ptr<PictureWriter> writer_;
    Clock::duration& sum_;
};

} // namespace vk::tool

#endif
