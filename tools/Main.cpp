/**
 * @file Main.cpp
 * The vk command: picks the sub-command, shows help, and turns failures into messages and exit codes.
 */
#include "tools/Command.h"
#include "tools/Failure.h"
#include "tools/FileOptions.h"
#include "tools/Operation.h"
#include "tools/Platform.h"
#include "tools/Values.h"
#include "tools/picture/Picture.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <new>

namespace vk::tool {

extern const Command kBatchCommand;
extern const Command kCompareCommand;
extern const Command kHoldCommand;
extern const Command kInfoCommand;
extern const Command kJoinCommand;
extern const Command kPagesCommand;
extern const Command kSheetCommand;
extern const Command kSplitCommand;

namespace {

/** The commands in the order of the help. */
const std::vector<Command>& commands()
{
    static const std::vector<Command> all = [] {
        std::vector<Command> list = {kInfoCommand, kPagesCommand, kHoldCommand};
        for (const Operation* operation : operations()) {
            list.push_back(operation_command(*operation));
        }
        list.push_back(kSplitCommand);
        list.push_back(kJoinCommand);
        list.push_back(kCompareCommand);
        list.push_back(kSheetCommand);
        list.push_back(kBatchCommand);
        return list;
    }();
    return all;
}

void print_help()
{
    std::printf("Tries the Vkkrnx imaging kernel out on picture files.\n\nUsage: vk COMMAND ...\n\nCommands:\n");
    for (const Command& command : commands()) {
        std::printf("  %-8s %s\n", command.name, command.summary);
    }
    std::printf(
        "\nOptions:\n  --help     this text; after a command, its own\n  --version  the version and the picture "
        "formats of this build\n  --workers N COMMAND ...  lets one operation use N threads; 0: a thread per "
        "processor\n\nExit codes: 0 done, 1 the operation failed, 2 wrong usage, 3 a file cannot "
        "be read or written, 4 compared pictures differ.\n");
}

void print_help(const Command& command)
{
    std::printf("%s\n\nUsage: vk %s %s [OPTION]...\n", command.summary, command.name, command.files);
    if (command.can_pipe) {
        std::printf("       vk %s --pipe [OPTION]...\n", command.name);
    }
    std::printf("\nOptions:\n");
    const auto print = [](const Option& option) {
        const std::string left = option.value == nullptr ? option.name : std::string(option.name) + " " + option.value;
        std::printf("  %-20s %s\n", left.c_str(), option.description);
    };
    std::for_each(command.options.begin(), command.options.end(), print);
    if (command.can_pipe) {
        std::for_each(std::begin(kPipeOptions), std::end(kPipeOptions), print);
    }
    if (command.writes) {
        std::for_each(std::begin(kWriteOptions), std::end(kWriteOptions), print);
    }
    std::for_each(std::begin(kReadOptions), std::end(kReadOptions), print);
    print({"--help", nullptr, "this text"});
}

void print_version()
{
    std::printf("vk %d.%d.%d\nreads %s; writes %s\n", VKKRNX_VERSION_MAJOR, VKKRNX_VERSION_MINOR, VKKRNX_VERSION_PATCH,
                readable_formats().c_str(), writable_formats().c_str());
    if (VK_WITH_SYSTEM) {
        std::puts("PNG, JPEG, TIFF and GIF by the system's imaging component");
    }
}

/** Lets each operation use so many threads. */
void set_workers(const std::string& text)
{
    int32_t count = 0;
    if (!parse_number(text, count) || V_SetWorkers(count) != SUCCESS) {
        throw UsageError("--workers takes a number from 0 on");
    }
}

void run(std::span<const std::string> words)
{
    if (words.empty()) {
        throw UsageError("no command given");
    }
    if (words[0] == "--help" || words[0] == "-h") {
        return print_help();
    }
    if (words[0] == "--version") {
        return print_version();
    }
    if (words[0] == "--workers") {
        if (words.size() < 2) {
            throw UsageError("--workers needs a number");
        }
        set_workers(words[1]);
        return run(words.subspan(2));
    }
    const auto found = std::find_if(commands().begin(), commands().end(),
                                    [&](const Command& command) { return words[0] == command.name; });
    if (found == commands().end()) {
        throw UsageError("unknown " + std::string(words[0].starts_with("-") ? "option " : "command ") + words[0]);
    }
    const Command& command = *found;
    words = words.subspan(1);
    if (std::any_of(words.begin(), words.end(), [](const auto& word) { return word == "--help" || word == "-h"; })) {
        return print_help(command);
    }
    const Arguments arguments = parse_arguments(command, words);
    apply_limit(arguments);
    command.run(arguments);
}

int report(int exit_code, const char* message)
{
    std::fprintf(stderr, "vk: %s\n", message);
    if (exit_code == kExitUsage) {
        std::fprintf(stderr, "Try 'vk --help'.\n");
    }
    return exit_code;
}

int run_program(int argc, char** argv)
{
    note_interrupts();
    try {
        const std::vector<std::string> words = start_program(argc, argv);
        run(words);
        if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
            throw FileError("standard output", "cannot be written");
        }
        return 0;
    } catch (const Failure& failure) {
        return report(failure.exit_code(), failure.what());
    } catch (const std::bad_alloc&) {
        return report(kExitOperation, "not enough memory");
    } catch (const std::exception& error) {
        return report(kExitOperation, error.what());
    }
}

} // namespace

} // namespace vk::tool

int main(int argc, char** argv)
{
    const int exit_code = vk::tool::run_program(argc, argv);
    if (exit_code != 0 && vk::tool::interrupted()) {
        std::fflush(nullptr);
        vk::tool::pass_interrupt_on();
    }
    return exit_code;
}
