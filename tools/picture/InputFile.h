/**
 * @file InputFile.h
 * The bytes of a picture file. Where the library's file operations are redirected on the calling thread, the file is
 * opened, read and sought through the library, so that a picture may come from a memory buffer; elsewhere it is the
 * system's file.
 */
#ifndef VK_TOOLS_INPUT_FILE_H
#define VK_TOOLS_INPUT_FILE_H

#include "include/Vkkrnx.h"
#include "tools/Platform.h"

#include <optional>

namespace vk::tool {

class InputFile {
public:
    /** FileError when it cannot be opened. */
    explicit InputFile(const std::string& name);
    ~InputFile();
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;

    /** Gives the bytes read, fewer only at the end and after a failure. Throws nothing: C libraries call it. */
    size_t read(void* bytes, size_t count) noexcept;
    /** FileError when a read has failed. */
    void check() const;
    void rewind();
    /** Moves as fseek does; the new position, -1 when that cannot be. Throws nothing: C libraries call it. */
    int64_t seek(int64_t offset, int whence) noexcept;
    /** Bytes in the file; none for what has no size. */
    std::optional<uint64_t> size();
    /** False where it is known that there are fewer bytes in all. Redirected files are not asked for their end, which
     *  may yet have to come in: they are looked into some way ahead. */
    bool may_hold(uint64_t bytes);

private:
    std::string name_;
    File file_;
    V_REDIRECTHANDLE redirected_ = nullptr; ///< in place of file_
    int error_ = 0;                         ///< of the first read that failed, an errno value
};

using Input = std::unique_ptr<InputFile>;

} // namespace vk::tool

#endif
