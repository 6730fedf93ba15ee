/**
 * @file Pipe.h
 * Pictures from standard input and to standard output. Both pass through a memory buffer that the calling thread's
 * files are redirected into while one of these exists: whatever picture is opened then, the buffer is its file.
 */
#ifndef VK_TOOLS_PIPE_H
#define VK_TOOLS_PIPE_H

#include "include/Vkkrnx.h"

#include <cstddef>

namespace vk::tool {

/** A redirection into a buffer of the library's that grows as it is written. */
class BufferRedirection {
public:
    BufferRedirection();
    ~BufferRedirection();
    BufferRedirection(const BufferRedirection&) = delete;
    BufferRedirection& operator=(const BufferRedirection&) = delete;

    /** Fills the buffer with all of standard input; FileError when that cannot be read or is empty. */
    void fill_from_input();
    /** Ends the redirection and writes the buffer's data to standard output; FileError when that cannot be. */
    void send_to_output();

private:
    void stop() noexcept;

    void* redirection_ = nullptr;
    V_REDIRECTHANDLE file_ = nullptr;
    void* data_ = nullptr; ///< the buffer, once the redirection has ended
    size_t bytes_ = 0;
};

} // namespace vk::tool

#endif
