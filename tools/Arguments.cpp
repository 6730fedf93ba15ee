/**
 * @file Arguments.cpp
 * The parsing of command lines: "--name value", "--name=value", flags, and "--" before files that begin with a dash.
 */
#include "tools/Command.h"
#include "tools/Failure.h"

#include <algorithm>
#include <charconv>
#include <limits>

namespace vk::tool {

namespace {

const Option& find_option(const Command& command, const std::string& name)
{
    using Options = std::span<const Option>;
    for (const Options options :
         {command.options, Options(kReadOptions), command.can_pipe ? Options(kPipeOptions) : Options(),
          command.writes ? Options(kWriteOptions) : Options()}) {
        const auto found =
            std::find_if(options.begin(), options.end(), [&](const Option& option) { return name == option.name; });
        if (found != options.end()) {
            return *found;
        }
    }
    throw UsageError("unknown option " + name);
}

} // namespace

Arguments parse_arguments(const Command& command, std::span<const std::string> words)
{
    Arguments arguments;
    bool only_files = false;
    for (size_t i = 0; i < words.size(); ++i) {
        const std::string& word = words[i];
        if (word == kThen && !only_files && (command.takes_chain || command.can_pipe)) {
            arguments.chain.assign(words.begin() + static_cast<std::ptrdiff_t>(i), words.end());
            break;
        }
        if (only_files || word.size() < 2 || word[0] != '-') {
            if (command.takes_chain && arguments.files.size() == command.file_count) {
                arguments.chain.assign(words.begin() + static_cast<std::ptrdiff_t>(i), words.end());
                break;
            }
            arguments.files.push_back(word);
            continue;
        }
        if (word == "--") {
            only_files = true;
            continue;
        }
        const size_t equals = word.starts_with("--") ? word.find('=') : std::string::npos;
        const Option& option = find_option(command, word.substr(0, equals));
        std::string value;
        if (option.value == nullptr) {
            if (equals != std::string::npos) {
                throw UsageError(std::string(option.name) + " takes no value");
            }
        } else if (equals != std::string::npos) {
            value = word.substr(equals + 1);
        } else if (++i < words.size()) {
            value = words[i];
        } else {
            throw UsageError(std::string(option.name) + " needs a value");
        }
        if (!arguments.options.emplace(option.name, value).second) {
            throw UsageError(std::string(option.name) + " is given twice");
        }
    }
    if (command.takes_more && arguments.files.size() > command.file_count) {
        return arguments;
    }
    const bool pipe = command.can_pipe && arguments.has("--pipe");
    if (command.can_pipe && !pipe && arguments.has("--format")) {
        throw UsageError("--format goes with --pipe");
    }
    if (arguments.files.size() != (pipe ? 0 : command.file_count)) {
        throw UsageError(std::string("expected ") + (pipe ? "no names with --pipe" : command.files) + ", got " +
                         std::to_string(arguments.files.size()) + (arguments.files.size() == 1 ? " name" : " names"));
    }
    return arguments;
}

std::optional<std::string> Arguments::value(const std::string& name) const
{
    const auto found = options.find(name);
    return found == options.end() ? std::nullopt : std::optional(found->second);
}

std::optional<int64_t> Arguments::bytes(const std::string& name) const
{
    const std::optional<std::string> text = value(name);
    if (!text) {
        return std::nullopt;
    }
    int64_t number = 0;
    const auto [end, error] = std::from_chars(text->data(), text->data() + text->size(), number);
    const std::string suffix(end, text->data() + text->size());
    constexpr const char* kSuffixes[] = {"", "K", "M", "G"};
    const auto found = std::find(std::begin(kSuffixes), std::end(kSuffixes), suffix);
    const auto shift = 10 * (found - std::begin(kSuffixes));
    if (error != std::errc() || found == std::end(kSuffixes) || number < 1 ||
        number > std::numeric_limits<int64_t>::max() >> shift) {
        throw UsageError(name + ": not a number of bytes: " + *text);
    }
    return number << shift;
}

} // namespace vk::tool
