/**
 * @file OutputFile.h
 * A file that appears in its place complete or not at all: it is written under another name beside the target, which
 * takes the target's place at the end. Every failure on the way removes it. Where the library's file operations are
 * redirected on the calling thread, the file is written through the library instead.
 */
#ifndef VK_TOOLS_OUTPUT_FILE_H
#define VK_TOOLS_OUTPUT_FILE_H

#include "include/Vkkrnx.h"
#include "tools/Platform.h"

namespace vk::tool {

class OutputFile {
public:
    explicit OutputFile(const std::string& name);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    /** Writes; false when that fails. Throws nothing: C libraries call it. */
    bool put(const void* data, size_t bytes) noexcept;
    /** Moves as fseek does; -1 when that cannot be. */
    int64_t seek(int64_t offset, int whence) noexcept;
    /** Reads back what was written; a seek is due between writing and reading. Gives the bytes read. */
    size_t get(void* data, size_t bytes) noexcept;
    /** put() that throws a FileError. */
    void write(const void* data, size_t bytes);
    void commit();

private:
    void make_temporary();

    std::string name_;
    std::filesystem::path target_;
    std::filesystem::path temporary_;
    File file_;
    V_REDIRECTHANDLE redirected_ = nullptr; ///< in place of all of these
};

} // namespace vk::tool

#endif
