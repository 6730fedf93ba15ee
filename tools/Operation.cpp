/**
 * @file Operation.cpp
 * The list of operations, and how a sub-command is made of one.
 */
#include "tools/Operation.h"

#include "tools/Failure.h"
#include "tools/FileOptions.h"
#include "tools/PictureFile.h"
#include "tools/Pipe.h"
#include "tools/Progress.h"
#include "tools/Report.h"
#include "tools/TimedFiles.h"

#include <algorithm>
#include <chrono>

namespace vk::tool {

extern const Operation kAlpha;
extern const Operation kCombine;
extern const Operation kConvert;
extern const Operation kCrop;
extern const Operation kExtend;
extern const Operation kFill;
extern const Operation kFlip;
extern const Operation kMirror;
extern const Operation kOrient;
extern const Operation kOverlay;
extern const Operation kRegion;
extern const Operation kRender;
extern const Operation kResize;
extern const Operation kRotate;
extern const Operation kScramble;
extern const Operation kShear;
extern const Operation kTrim;
extern const Operation kWarp;
extern const Operation kWindow;

namespace {

constexpr const Operation* kOperations[] = {&kConvert, &kResize, &kRotate,  &kWarp,     &kShear,   &kFlip, &kMirror,
                                            &kOrient,  &kCrop,   &kTrim,    &kExtend,   &kCombine, &kFill, &kRegion,
                                            &kAlpha,   &kWindow, &kOverlay, &kScramble, &kRender};

using Milliseconds = std::chrono::duration<double, std::milli>;

Report describe(const PictureInfo& info, const std::string& written_to, Milliseconds spent)
{
    Report report;
    report.text("file", "written to", written_to);
    report.number("width", "width", info.width, " pixels");
    report.number("height", "height", info.height, " pixels");
    report.number("bits", "bits per pixel", info.bits);
    report.number("colors", "palette", static_cast<int64_t>(info.palette.size()), " entries");
    report.number("data_bytes", "data size", static_cast<int64_t>(info.data_bytes()), " bytes");
    report.measure("operation_ms", "time", spent.count(), " ms");
    return report;
}

Step step_of(const Operation& operation, const Arguments& arguments)
{
    const auto prepare_rows = operation.prepare_rows;
    return {operation.prepare(arguments), prepare_rows == nullptr ? RowStage() : prepare_rows(arguments),
            operation.any_view};
}

std::vector<Step> steps_of(const Operation& operation, const Arguments& arguments)
{
    std::vector<Step> steps = {step_of(operation, arguments)};
    std::vector<Step> more = read_chain(arguments.chain);
    std::move(more.begin(), more.end(), std::back_inserter(steps));
    return steps;
}

/** The extension of the format that a pipe is to be given. */
std::string piped_extension(const Arguments& arguments)
{
    const std::optional<std::string> format = arguments.value("--format");
    if (format && !has_writable_name("x." + *format)) {
        throw UsageError("--format does not know " + *format);
    }
    return format ? "." + *format : default_extension();
}

void run_operation(const Operation& operation, const Arguments& arguments)
{
    const std::vector<Step> steps = steps_of(operation, arguments);
    const FileOptions options(arguments);
    std::optional<Pipe> pipe;
    std::string extension;
    if (arguments.has("--pipe")) {
        extension = piped_extension(arguments);
        pipe.emplace();
    }
    Clock::duration files{};
    TimedWriter writer(
        pipe ? pipe->create(extension, options.write) : create_picture(arguments.files[1], options.write), files);
    auto reader = std::make_unique<TimedReader>(
        pipe ? pipe->open(options.read) : open_picture(arguments.files[0], options.read), files);
    const Clock::time_point start = Clock::now();
    Progress progress(operation.doing);
    const RowDone row_done = [&](int32_t done, int32_t total) { progress.count(done, total); };
    const PictureInfo info = process_pages(*reader, steps, writer, options, row_done);
    reader.reset(); // the file may be the one to be replaced
    writer.finish();
    const Milliseconds spent = Clock::now() - start - files;
    if (!pipe) {
        return describe(info, arguments.files[1], spent).print(arguments.has("--json"));
    }
    pipe->send();
    if (arguments.has("--json")) { // elsewhere than the picture
        describe(info, "standard output", spent).print(true, stderr);
    }
}

} // namespace

std::span<const Operation* const> operations()
{
    return kOperations;
}

std::vector<Step> read_chain(std::vector<std::string> words)
{
    std::vector<Step> chain;
    while (!words.empty()) {
        if (words[0] == kThen && words.size() > 1) {
            words.erase(words.begin());
        }
        const auto found = std::find_if(std::begin(kOperations), std::end(kOperations),
                                        [&](const Operation* operation) { return words[0] == operation->name; });
        if (found == std::end(kOperations)) {
            throw UsageError("unknown operation " + words[0]);
        }
        const Command step{(*found)->name, "", 0, "", (*found)->options, {}, true};
        Arguments arguments = parse_arguments(step, std::span<const std::string>(words).subspan(1));
        chain.push_back(step_of(**found, arguments));
        words = std::move(arguments.chain);
    }
    return chain;
}

PictureInfo process(PictureReader& reader, const std::vector<Step>& chain, PictureWriter& writer,
                    const WriteOptions& options, const RowDone& row_done)
{
    Rows rows = rows_of(reader);
    auto step = chain.begin();
    for (; step != chain.end() && step->rows; ++step) {
        if (!step->any_view && !stand_upright(rows)) {
            break;
        }
        Rows made = step->rows(rows);
        if (made == nullptr) {
            break;
        }
        rows = std::move(made);
    }
    const bool keeps_view = !options.bare && writer.keeps_orientation();
    if (step == chain.end() && (keeps_view || stand_upright(rows))) {
        write_rows(*rows, writer, options, row_done);
        return rows->info();
    }
    const std::unique_ptr<Bitmap> bitmap = gather(*rows, row_done);
    rows.reset();
    for (; step != chain.end(); ++step) {
        if (!step->any_view) {
            bitmap->turn_upright();
        }
        step->action(*bitmap);
    }
    save_page(*bitmap, writer, options, row_done);
    return rows_of(*bitmap)->info();
}

PictureInfo process_pages(PictureReader& reader, const std::vector<Step>& chain, PictureWriter& writer,
                          const FileOptions& options, const RowDone& row_done)
{
    const bool all = !options.read.page && !reader.info().frame && writer.keeps_pages();
    const PictureInfo first = process(reader, chain, writer, options.write, row_done);
    while (all && reader.next_page()) {
        process(reader, chain, writer, options.write, row_done);
    }
    return first;
}

Command operation_command(const Operation& operation)
{
    const auto run = [&operation](const Arguments& arguments) { run_operation(operation, arguments); };
    return {operation.name, "FILE OUT", 2, operation.summary, operation.options, run, false, true, true};
}

} // namespace vk::tool
