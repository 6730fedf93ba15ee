/**
 * @file Pipe.cpp
 * The file operations of Pipe.h. They are in force on the thread only while the two files are opened, which keep them:
 * other pictures that an operation needs are files as ever.
 */
#include "tools/Pipe.h"

#include "tools/Failure.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <limits>

namespace vk::tool {

namespace {

constexpr size_t kPiece = size_t{1} << 16;
constexpr size_t kRoom = size_t{1} << 20;
constexpr size_t kKept = kRoom / 4; ///< of what was read, when there is no more room

} // namespace

StandardInput::StandardInput() : window_(kRoom)
{
    errno = 0;
    if (!fill()) {
        throw FileError("standard input", failed_ ? "cannot be read: " + error_text(errno) : "there is nothing in it");
    }
}

bool StandardInput::fill() noexcept
{
    if (filled_ + kPiece > window_.size()) {
        const size_t dropped = filled_ - kKept;
        std::memmove(window_.data(), &window_[dropped], kKept);
        first_ += static_cast<int64_t>(dropped);
        filled_ = kKept;
    }
    const size_t got = std::fread(&window_[filled_], 1, kPiece, stdin);
    failed_ = failed_ || std::ferror(stdin) != 0;
    filled_ += got;
    return got != 0;
}

int64_t StandardInput::read(uint8_t* bytes, size_t count) noexcept
{
    if (keeps_all_) {
        const size_t got = position_ < 0 ? 0 : spool_.read(position_, bytes, count);
        position_ += static_cast<int64_t>(got);
        return static_cast<int64_t>(got);
    }
    size_t done = 0;
    while (done < count && (position_ < end() || fill())) {
        const size_t part = std::min(count - done, static_cast<size_t>(end() - position_));
        std::memcpy(bytes + done, &window_[static_cast<size_t>(position_ - first_)], part);
        position_ += static_cast<int64_t>(part);
        done += part;
    }
    return failed_ && done < count ? -1 : static_cast<int64_t>(done);
}

/** Going where the window does not reach takes all of the input, which is too late when some of it has been dropped. */
int64_t StandardInput::seek(int64_t offset, int origin) noexcept
{
    constexpr int64_t kFarthest = std::numeric_limits<int64_t>::max() / 2;
    if (offset < -kFarthest || offset > kFarthest) {
        return -1;
    }
    const bool from_end = origin == SEEK_END;
    const int64_t near_to = offset + (origin == SEEK_CUR ? position_ : 0);
    const bool is_near = !from_end && near_to >= first_ && near_to <= end();
    if (!keeps_all_ && !is_near && !keep_all()) {
        return -1;
    }
    const int64_t to = from_end ? spool_.size() + offset : near_to;
    position_ = to < 0 ? position_ : to;
    return to < 0 ? -1 : to;
}

bool StandardInput::keep_all() noexcept
{
    if (first_ != 0) {
        return false;
    }
    do {
        if (!spool_.write(spool_.size(), window_.data(), filled_)) {
            failed_ = true;
            return false;
        }
        filled_ = 0;
    } while (fill());
    keeps_all_ = !failed_;
    return keeps_all_;
}

/** Has the thread's files opened on a pipe while it lives. */
class PipeRedirection {
public:
    explicit PipeRedirection(Pipe& pipe) { V_RedirectIO(&open, &read, &write, &seek, &close, &pipe); }
    ~PipeRedirection() { V_RedirectIO(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr); }
    PipeRedirection(const PipeRedirection&) = delete;
    PipeRedirection& operator=(const PipeRedirection&) = delete;

private:
    static constexpr int64_t kInput = 1; ///< the handles
    static constexpr int64_t kOutput = 2;

    static int64_t open(const wchar_t*, int flags, int, void*)
    {
        return (flags & V_OPENFLAG_READWRITE) != 0 ? kOutput : kInput;
    }
    static int64_t read(int64_t file, void* bytes, size_t count, void* self)
    {
        Pipe& pipe = *static_cast<Pipe*>(self);
        if (file == kInput) {
            return pipe.input_.read(static_cast<uint8_t*>(bytes), count);
        }
        const size_t got = pipe.output_.read(pipe.place_, bytes, count);
        pipe.place_ += static_cast<int64_t>(got);
        return static_cast<int64_t>(got);
    }
    static int64_t write(int64_t file, const void* bytes, size_t count, void* self)
    {
        Pipe& pipe = *static_cast<Pipe*>(self);
        if (file == kInput || !pipe.output_.write(pipe.place_, bytes, count)) {
            return -1;
        }
        pipe.place_ += static_cast<int64_t>(count);
        return static_cast<int64_t>(count);
    }
    static int64_t seek(int64_t file, int64_t offset, int origin, void* self)
    {
        Pipe& pipe = *static_cast<Pipe*>(self);
        if (file == kInput) {
            return pipe.input_.seek(offset, origin);
        }
        const int64_t to = offset + (origin == SEEK_SET ? 0 : origin == SEEK_CUR ? pipe.place_ : pipe.output_.size());
        pipe.place_ = to < 0 ? pipe.place_ : to;
        return to < 0 ? -1 : to;
    }
    static int close(int64_t, void*) { return V_SUCCESS; }
};

namespace {

/** Opens its file, which a writer does when it begins, on the pipe. */
class PipedWriter : public PictureWriter {
public:
    PipedWriter(Pipe& pipe, std::unique_ptr<PictureWriter> writer) : pipe_(pipe), writer_(std::move(writer)) {}

    bool keeps_orientation() const override { return writer_->keeps_orientation(); }
    bool keeps_pages() const override { return writer_->keeps_pages(); }
    void begin(const PictureInfo& info) override
    {
        const PipeRedirection redirection(pipe_);
        writer_->begin(info);
    }
    void write_row(const uint8_t* row) override { writer_->write_row(row); }
    void finish() override { writer_->finish(); }

private:
    Pipe& pipe_;
    std::unique_ptr<PictureWriter> writer_;
};

} // namespace

std::unique_ptr<PictureReader> Pipe::open(const ReadOptions& options)
{
    const PipeRedirection redirection(*this);
    return open_picture("standard input", options);
}

std::unique_ptr<PictureWriter> Pipe::create(const std::string& extension, const WriteOptions& options)
{
    return std::make_unique<PipedWriter>(*this, create_picture("standard output" + extension, options));
}

void Pipe::send()
{
    std::vector<uint8_t> piece(kRoom);
    errno = 0;
    for (int64_t at = 0; at < output_.size();) {
        const size_t got = output_.read(at, piece.data(), piece.size());
        if (got == 0 || std::fwrite(piece.data(), 1, got, stdout) != got) {
            throw FileError("standard output", "cannot be written: " + error_text(errno));
        }
        at += static_cast<int64_t>(got);
    }
    if (std::fflush(stdout) != 0) {
        throw FileError("standard output", "cannot be written: " + error_text(errno));
    }
}

} // namespace vk::tool
