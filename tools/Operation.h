/**
 * @file Operation.h
 * Something done to one picture's bitmap. Each operation is a sub-command of its own (read, do, write) and a step that
 * `vk batch` can chain. A new operation is one file in operation/ and one row in Operation.cpp.
 */
#ifndef VK_TOOLS_OPERATION_H
#define VK_TOOLS_OPERATION_H

#include "tools/Bitmap.h"
#include "tools/Command.h"
#include "tools/FileOptions.h"
#include "tools/PictureFile.h"

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
    /** Reads the options for doing it to rows as they come; null, or what is made is, where the picture has to be held.
     *  What comes out is the same. */
    RowStage (*prepare_rows)(const Arguments& arguments) = nullptr;
};

/** An operation in a chain. */
struct Step {
    Action action;
    RowStage rows; ///< empty: there is none
    bool any_view;
};

/** Takes a page through operations to a writer: as rows as far as they go, the rest as a bitmap. The file is for the
 *  caller to finish. Gives what the picture has become. */
PictureInfo process(PictureReader& reader, const std::vector<Step>& chain, PictureWriter& writer,
                    const WriteOptions& options, const RowDone& row_done);

/** The same with all pages of a document where the writer has pages, too, unless one is asked for; of an animation with
 *  the frame at hand. */
PictureInfo process_pages(PictureReader& reader, const std::vector<Step>& chain, PictureWriter& writer,
                          const FileOptions& options, const RowDone& row_done);

std::span<const Operation* const> operations();

/** Reads operations that follow each other, each with its options: "convert --bits 8 --then flip". */
std::vector<Step> read_chain(std::vector<std::string> words);

/** The sub-command that does one operation to one picture. */
Command operation_command(const Operation& operation);

} // namespace vk::tool

#endif
