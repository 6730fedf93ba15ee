/**
 * @file OutputFile.h
 * A file that appears in its place complete or not at all: it is written under another name beside the target, which
 * takes the target's place at the end. Every failure on the way removes it.
 */
#ifndef VK_TOOLS_OUTPUT_FILE_H
#define VK_TOOLS_OUTPUT_FILE_H

#include "tools/Platform.h"

namespace vk::tool {

class OutputFile {
public:
    explicit OutputFile(const std::string& name);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    std::FILE* stream() const { return file_.get(); }
    void write(const void* data, size_t bytes);
    void commit();

private:
    std::string name_;
    std::filesystem::path target_;
    std::filesystem::path temporary_;
    File file_;
};

} // namespace vk::tool

#endif
