/**
 * @file Platform.h
 * What differs between systems: names of files, the command line, terminals and Ctrl-C. Text is UTF-8 throughout the
 * program.
 */
#ifndef VK_TOOLS_PLATFORM_H
#define VK_TOOLS_PLATFORM_H

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace vk::tool {

struct FileCloser {
    void operator()(std::FILE* file) const noexcept { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

/** Sets the standard streams up and gives the command line, without the program's name, in UTF-8. */
std::vector<std::string> start_program(int argc, char** argv);

std::filesystem::path path_of(const std::string& name);

/** Opens a file for reading bytes; null and errno when that fails. */
File open_for_reading(const std::string& name);

/** Makes a file that does not exist yet, for writing (and reading back) bytes that are to take the target's place:
 * where there is a target, nobody may do with the new file what is not allowed with that one. Null and errno (EEXIST
 * when it exists) otherwise. */
File create_new(const std::filesystem::path& path, const std::filesystem::path& target);

/** Makes a file for writing and reading bytes that has no name, or one that goes with it, whatever ends the program.
 * Null and errno when that fails. */
File temporary_file();

/** As fseek, for files of any size; the new position or -1. */
int64_t seek_file(std::FILE* file, int64_t offset, int whence);

/** The system's text for an errno value. */
std::string error_text(int error);

bool stderr_is_terminal();

/** From now on the first Ctrl-C, hang-up or request to end is only noted, so that what is half-written can be taken
 * away; a second one ends the program. A file that grows too large is an error of its writing and no signal. */
void note_interrupts();
bool interrupted();
/** After an interrupt: ends the program as if the signal had not been noted, where there are signals. */
void pass_interrupt_on();

} // namespace vk::tool

#endif
