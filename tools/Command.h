/**
 * @file Command.h
 * A sub-command, its options, and the command line as parsed for it. A new sub-command is one file in command/ and one
 * row in the table of Main.cpp.
 */
#ifndef VK_TOOLS_COMMAND_H
#define VK_TOOLS_COMMAND_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace vk::tool {

struct Option {
    const char* name;        ///< with its dashes: "--as"
    const char* value;       ///< what its value is called in the help; null when it takes none
    const char* description; ///< one line
};

/** Stands between operations. */
constexpr const char* kThen = "--then";

/** Of the commands that read one picture. */
constexpr Option kPageOption = {"--page", "N", "of several pictures in the file take the Nth, counted from 1"};

/** Of the commands that do an operation to one picture, from standard input to standard output too. */
constexpr Option kPipeOptions[] = {
    {"--pipe", nullptr, "read the picture from standard input, write it to standard output; no FILE and OUT then"},
    {"--format", "EXT", "with --pipe: the format to write, by its file name extension"},
    kPageOption,
    {kThen, "OPERATION...", "go on with another operation and its options; as often as needed"},
};

/** Of all commands. */
constexpr Option kReadOptions[] = {
    {"--json", nullptr, "print one JSON object"},
    {"--limit", "PIXELS",
     "read no larger pictures (default 1000000000); large ones in tiny files only with this option"},
};

/** Of the commands that write a picture. */
constexpr Option kWriteOptions[] = {
    {"--quality", "N", "of JPEG and WebP, 1 to 100 (default 90)"},
    {"--lossless", nullptr, "WebP that keeps every pixel as it is; pictures of up to 8 bits always do"},
    {"--chroma", "KIND", "of JPEG: 444, 422 or 420 (default): how many pixels share their colour"},
    {"--progressive", nullptr, "JPEG that shows coarsely first"},
    {"--optimized", nullptr, "JPEG a little smaller; holds the picture"},
    {"--effort", "N", "of packing PNG, TIFF and WebP, 0 (none) to 9 (default 6; PNG of colours: 3 if near)"},
    {"--compression", "KIND",
     "of TIFF: none, packbits, lzw, deflate, group3, group4 or jpeg (default: by the picture)"},
    {"--big", nullptr, "TIFF with room for more than 4 GiB"},
    {"--srgb", nullptr, "convert the colours to sRGB by the profile that the file read has"},
    {"--strip", nullptr, "write pixels alone: no profile, resolution or orientation"},
};

class Arguments {
public:
    std::vector<std::string> files;
    std::vector<std::string> chain;             ///< further operations, where a command takes some
    std::map<std::string, std::string> options; ///< by name; a flag's value is empty

    bool has(const std::string& name) const { return options.contains(name); }
    std::optional<std::string> value(const std::string& name) const;
    /** An option's value as a positive number of bytes; K, M and G multiply by 1024, its square and its cube. */
    std::optional<int64_t> bytes(const std::string& name) const;
};

struct Command {
    const char* name;
    const char* files;               ///< the command's other arguments as the help shows them
    size_t file_count;               ///< how many they are
    const char* summary;             ///< one line
    std::span<const Option> options; ///< besides those that all have
    std::function<void(const Arguments&)> run;
    bool takes_chain = false; ///< further words are operations with their options
    bool can_pipe = false;    ///< has kPipeOptions, too; with --pipe there are no files
    bool writes = false;      ///< has kWriteOptions, too
    bool takes_more = false;  ///< files beyond that count, too
};

/** Sorts a command line (without the command's name); UsageError for anything the command does not know. */
Arguments parse_arguments(const Command& command, std::span<const std::string> words);

} // namespace vk::tool

#endif
