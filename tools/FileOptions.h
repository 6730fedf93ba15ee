/**
 * @file FileOptions.h
 * The options of kReadOptions and kWriteOptions as the readers and writers of pictures want them.
 */
#ifndef VK_TOOLS_FILE_OPTIONS_H
#define VK_TOOLS_FILE_OPTIONS_H

#include "tools/Command.h"
#include "tools/picture/Picture.h"

namespace vk::tool {

/** Puts --limit into force for the rest of the program. */
void apply_limit(const Arguments& arguments);

ReadOptions read_options(const Arguments& arguments);
WriteOptions write_options(const Arguments& arguments);

/** Both. */
struct FileOptions {
    explicit FileOptions(const Arguments& arguments) : read(read_options(arguments)), write(write_options(arguments)) {}

    ReadOptions read;
    WriteOptions write;
};

} // namespace vk::tool

#endif
