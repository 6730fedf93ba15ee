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

/** Of the commands that can read standard input and write standard output. */
constexpr Option kPipeOptions[] = {
    {"--pipe", nullptr, "read the picture from standard input, write it to standard output; no FILE and OUT then"},
    {"--format", "EXT", "with --pipe: the format to write, by its file name extension"},
};

class Arguments {
public:
    std::vector<std::string> files;
    std::vector<std::string> chain;             ///< what follows the files, where a command takes operations
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
    std::span<const Option> options; ///< besides --json, which every command has
    std::function<void(const Arguments&)> run;
    bool takes_chain = false; ///< further words are operations with their options
    bool can_pipe = false;    ///< has kPipeOptions, too; with --pipe there are no files
    bool takes_more = false;  ///< files beyond that count, too
};

/** Sorts a command line (without the command's name); UsageError for anything the command does not know. */
Arguments parse_arguments(const Command& command, std::span<const std::string> words);

} // namespace vk::tool

#endif
