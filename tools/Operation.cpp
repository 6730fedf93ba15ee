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

RowDone shown(const char* label)
{
    return
        [progress = std::make_shared<Progress>(label)](int32_t done, int32_t total) { progress->count(done, total); };
}

/** Does it, and gives the time that took. */
Milliseconds act(const Operation& operation, const Action& action, Bitmap& bitmap)
{
    const auto start = std::chrono::steady_clock::now();
    Progress progress(operation.doing);
    if (!operation.any_view) {
        bitmap.turn_upright();
    }
    action(bitmap);
    return std::chrono::steady_clock::now() - start;
}

Report describe(const BITMAPHANDLE& record, const std::string& written_to, Milliseconds spent)
{
    Report report;
    report.text("file", "written to", written_to);
    report.number("width", "width", record.Width, " pixels");
    report.number("height", "height", record.Height, " pixels");
    report.number("bits", "bits per pixel", record.BitsPerPixel);
    report.number("colors", "palette", record.Colors, " entries");
    report.number("data_bytes", "data size", static_cast<int64_t>(record.Size64), " bytes");
    report.measure("operation_ms", "time", spent.count(), " ms");
    return report;
}

/** From standard input to standard output, which gets the picture only when it is complete. The report, when it is
 *  asked for, has to go elsewhere. */
void run_piped(const Operation& operation, const Arguments& arguments)
{
    const Action action = operation.prepare(arguments);
    const std::optional<std::string> format = arguments.value("--format");
    if (format && !has_writable_name("x." + *format)) {
        throw UsageError("--format does not know " + *format);
    }
    std::unique_ptr<Bitmap> bitmap;
    {
        BufferRedirection input;
        input.fill_from_input();
        bitmap = load_bitmap("standard input", shown("reading"), read_options(arguments));
    }
    const Milliseconds spent = act(operation, action, *bitmap);
    const WriteOptions options = write_options(arguments);
    const std::string name = "standard output" + (format ? "." + *format : default_extension());
    BufferRedirection output;
    save_bitmap(*bitmap, *create_picture(name, options), options, shown("writing"));
    output.send_to_output();
    if (arguments.has("--json")) {
        describe(bitmap->record(), "standard output", spent).print(true, stderr);
    }
}

void run_operation(const Operation& operation, const Arguments& arguments)
{
    if (arguments.has("--pipe")) {
        return run_piped(operation, arguments);
    }
    const Action action = operation.prepare(arguments);
    const WriteOptions options = write_options(arguments);
    const std::unique_ptr<PictureWriter> writer = create_picture(arguments.files[1], options);
    const std::unique_ptr<Bitmap> bitmap = load_bitmap(arguments.files[0], shown("reading"), read_options(arguments));
    const Milliseconds spent = act(operation, action, *bitmap);
    save_bitmap(*bitmap, *writer, options, shown("writing"));
    describe(bitmap->record(), arguments.files[1], spent).print(arguments.has("--json"));
}

} // namespace

std::span<const Operation* const> operations()
{
    return kOperations;
}

std::vector<Action> read_chain(std::vector<std::string> words)
{
    std::vector<Action> chain;
    while (!words.empty()) {
        const auto found = std::find_if(std::begin(kOperations), std::end(kOperations),
                                        [&](const Operation* operation) { return words[0] == operation->name; });
        if (found == std::end(kOperations)) {
            throw UsageError("unknown operation " + words[0]);
        }
        const Command step{(*found)->name, "", 0, "", (*found)->options, {}, true};
        Arguments arguments = parse_arguments(step, std::span<const std::string>(words).subspan(1));
        chain.push_back([action = (*found)->prepare(arguments), any_view = (*found)->any_view](Bitmap& bitmap) {
            if (!any_view) {
                bitmap.turn_upright();
            }
            action(bitmap);
        });
        words = std::move(arguments.chain);
    }
    return chain;
}

Command operation_command(const Operation& operation)
{
    const auto run = [&operation](const Arguments& arguments) { run_operation(operation, arguments); };
    return {operation.name, "FILE OUT", 2, operation.summary, operation.options, run, false, true, true};
}

} // namespace vk::tool
