/**
 * @file Operation.h
 * Something done to one picture's bitmap. Each operation is a sub-command of its own (read, do, write) and a step that
 * `vk batch` can chain. A new operation is one file in operation/ and one row in Operation.cpp.
 */
#ifndef VK_TOOLS_OPERATION_H
#define VK_TOOLS_OPERATION_H

#include "tools/Bitmap.h"
#include "tools/Command.h"

#include <functional>
#include <span>
#include <vector>

namespace vk::tool {

/** An operation with its options read and checked. May be run on many bitmaps, from several threads at once. */
using Action = std::function<void(Bitmap&)>;

struct Operation {
    const char* name;
    const char* doing; ///< what it does while it runs, for the progress bar
    const char* summary;
    std::span<const Option> options;
    /** Reads the options; UsageError for values that make no sense. */
    Action (*prepare)(const Arguments& arguments);
    bool any_view = false; ///< whether it takes rows that are not upright; others are given upright ones
};

std::span<const Operation* const> operations();

/** Reads operations that follow each other, each with its options: "convert --bits 8 flip". */
std::vector<Action> read_chain(std::vector<std::string> words);

/** The sub-command that does one operation to one picture. */
Command operation_command(const Operation& operation);

} // namespace vk::tool

#endif
