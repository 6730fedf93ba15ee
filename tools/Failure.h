/**
 * @file Failure.h
 * What can go wrong in a command, as exceptions that carry the message and the program's exit code. Main.cpp catches
 * them; nothing else does. 0 is success.
 */
#ifndef VK_TOOLS_FAILURE_H
#define VK_TOOLS_FAILURE_H

#include "include/Vkkrnx.h"

#include <stdexcept>
#include <string>

namespace vk::tool {

constexpr int kExitOperation = 1;
constexpr int kExitUsage = 2;
constexpr int kExitFile = 3;
constexpr int kExitDifferent = 4; ///< of vk compare

class Failure : public std::runtime_error {
public:
    Failure(int exit_code, const std::string& message) : std::runtime_error(message), exit_code_(exit_code) {}
    int exit_code() const noexcept { return exit_code_; }

private:
    int exit_code_;
};

/** The command line is wrong. */
class UsageError : public Failure {
public:
    explicit UsageError(const std::string& message) : Failure(kExitUsage, message) {}
};

/** A file cannot be read or written. */
class FileError : public Failure {
public:
    FileError(const std::string& name, const std::string& why) : Failure(kExitFile, name + ": " + why) {}
};

/** What was asked for cannot be done. */
class OperationError : public Failure {
public:
    explicit OperationError(const std::string& message) : Failure(kExitOperation, message) {}
};

/** Ctrl-C, a hang-up or a request to end. */
class Interrupted : public OperationError {
public:
    Interrupted() : OperationError("stopped") {}
};

/** A call of the library failed with `code` while `doing` something. */
[[noreturn]] void throw_library_error(intptr_t code, const std::string& doing);

/** For calls that answer SUCCESS. */
inline void check(int result, const char* doing)
{
    if (result != V_SUCCESS) {
        throw_library_error(result, doing);
    }
}

} // namespace vk::tool

#endif
