/**
 * @file Platform.h
 * What differs between systems: names of files, the command line, terminals and Ctrl-C. Text is UTF-8 throughout the
 * program.
 */
#ifndef VK_TOOLS_PLATFORM_H
#define VK_TOOLS_PLATFORM_H

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

/** Makes a file that does not exist yet, for writing bytes; null and errno (EEXIST when it exists) otherwise. */
File create_new(const std::filesystem::path& path);

/** The system's text for an errno value. */
std::string error_text(int error);

bool stderr_is_terminal();

/** From now on the first Ctrl-C is only noted; a second one ends the program. */
void note_interrupts();
bool interrupted();

} // namespace vk::tool

#endif
