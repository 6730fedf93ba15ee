/**
 * @file Spool.h
 * Bytes that wait: in memory while they are few, else in a file that nobody sees and that goes with the spool.
 */
#ifndef VK_TOOLS_SPOOL_H
#define VK_TOOLS_SPOOL_H

#include "tools/Platform.h"

namespace vk::tool {

/** Throws nothing: C libraries call it. */
class Spool {
public:
    /** Gives the bytes read from a place on, fewer only at the end and after a failure. */
    size_t read(int64_t at, void* bytes, size_t count) noexcept;
    /** False, and errno, when there is no room. What lies between the end and a place behind it is zeros. */
    bool write(int64_t at, const void* bytes, size_t count) noexcept;
    int64_t size() const { return size_; }

private:
    bool make_room(int64_t end);
    bool write_at(int64_t at, const void* bytes, size_t count);

    std::vector<uint8_t> bytes_;
    File file_; ///< in place of bytes_
    int64_t size_ = 0;
    int64_t place_ = -1; ///< the file's; -1: not known
    bool reads_ = false; ///< what was done last in the file
};

} // namespace vk::tool

#endif
