/**
 * @file Pipe.h
 * Pictures from standard input and to standard output, through the library's redirected file operations. Formats that
 * are read from front to back are read as they come in; for others the input waits in a spool first. The result waits
 * in another one until it is complete.
 */
#ifndef VK_TOOLS_PIPE_H
#define VK_TOOLS_PIPE_H

#include "include/Vkkrnx.h"
#include "tools/Spool.h"
#include "tools/picture/Picture.h"

namespace vk::tool {

/** Standard input as a file. Its last bytes are kept, so that what looks ahead can go back. */
class StandardInput {
public:
    /** FileError when it cannot be read or is empty. */
    StandardInput();

    /** As the library's read and seek operations. Throw nothing. */
    int64_t read(uint8_t* bytes, size_t count) noexcept;
    int64_t seek(int64_t offset, int origin) noexcept;

private:
    bool fill() noexcept;
    bool keep_all() noexcept;
    int64_t end() const { return first_ + static_cast<int64_t>(filled_); }

    std::vector<uint8_t> window_; ///< the bytes from first_ to end(), and room
    size_t filled_ = 0;
    int64_t first_ = 0;
    int64_t position_ = 0;
    bool failed_ = false;
    bool keeps_all_ = false;
    Spool spool_; ///< all of it, once it is kept
};

/** One picture in, one out. */
class Pipe {
public:
    /** A reader and a writer on the streams, which live as long as this. */
    std::unique_ptr<PictureReader> open(const ReadOptions& options);
    std::unique_ptr<PictureWriter> create(const std::string& extension, const WriteOptions& options);
    /** Writes the finished file to standard output; FileError when that cannot be. */
    void send();

private:
    friend class PipeRedirection;

    StandardInput input_;
    Spool output_;
    int64_t place_ = 0; ///< in the output
};

} // namespace vk::tool

#endif
