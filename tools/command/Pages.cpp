/**
 * @file Pages.cpp
 * vk pages, split and join: the pages of a document or the frames of an animation, told, taken apart and put together.
 * One page is held at a time.
 */
#include "tools/FileOptions.h"
#include "tools/Operation.h"
#include "tools/Platform.h"
#include "tools/Progress.h"
#include "tools/Report.h"
#include "tools/Values.h"
#include "tools/command/Describe.h"

#include <cctype>

namespace vk::tool {

namespace {

void run_pages(const Arguments& arguments)
{
    const std::string& name = arguments.files[0];
    const std::unique_ptr<PictureReader> reader = open_picture(name);
    std::vector<Report> pages;
    do {
        const PictureInfo& info = reader->info();
        Report page;
        page.number("page", "page", static_cast<int64_t>(pages.size()) + 1);
        page.number("width", "width", info.width, " pixels");
        page.number("height", "height", info.height, " pixels");
        page.number("bits_per_pixel", "bits per pixel", info.bits);
        page.number("view_perspective", "view perspective", info.orientation);
        describe_frame(page, info.frame);
        pages.push_back(std::move(page));
        if (interrupted()) {
            throw Interrupted();
        }
    } while (reader->next_page());
    Report report;
    report.text("file", "file", name);
    report.text("format", "format", reader->info().format);
    report.number("count", "pages", static_cast<int64_t>(pages.size()));
    report.list("pages", "", pages);
    report.print(arguments.has("--json"));
}

/** A name with the place of the page's number in it, which may ask for leading zeros: %d, %3d, %03d. */
class NamePattern {
public:
    explicit NamePattern(const std::string& text)
    {
        const size_t percent = text.find('%');
        size_t end = percent == std::string::npos ? text.size() : percent + 1;
        while (end < text.size() && std::isdigit(static_cast<unsigned char>(text[end])) != 0) {
            ++end;
        }
        const std::string digits = end == text.size() ? "" : text.substr(percent + 1, end - percent - 1);
        if (end == text.size() || text[end] != 'd' || text.find('%', end) != std::string::npos || digits.size() > 2) {
            throw UsageError(text + ": one %d has to stand where the number of the page goes");
        }
        before_ = text.substr(0, percent);
        behind_ = text.substr(end + 1);
        digits_ = digits.empty() ? 0 : std::stoul(digits);
    }

    std::string name(size_t number) const
    {
        const std::string digits = std::to_string(number);
        return before_ + std::string(digits_ - std::min(digits_, digits.size()), '0') + digits + behind_;
    }

private:
    std::string before_;
    std::string behind_;
    size_t digits_ = 0;
};

RowDone shown(const std::string& label)
{
    return
        [progress = std::make_shared<Progress>(label)](int32_t done, int32_t total) { progress->count(done, total); };
}

void run_split(const Arguments& arguments)
{
    const NamePattern pattern(arguments.files[1]);
    const WriteOptions options = write_options(arguments);
    create_picture(pattern.name(1), options); // the name is good, or nothing is read
    const std::unique_ptr<PictureReader> reader = open_picture(arguments.files[0], read_options(arguments));
    size_t count = 0;
    do {
        const std::string name = pattern.name(++count);
        const std::unique_ptr<PictureWriter> writer = create_picture(name, options);
        process(*reader, {}, *writer, options, shown("page " + std::to_string(count)));
        writer->finish();
    } while (reader->next_page());
    Report report;
    report.text("first", "first page", pattern.name(1));
    report.text("last", "last page", pattern.name(count));
    report.number("pages", "pages", static_cast<int64_t>(count));
    report.print(arguments.has("--json"));
}

const Option kJoinOptions[] = {
    {"--delay", "MS", "how long each frame is shown (default: as it says, or 100)"},
    {"--loop", "N", "times that an animation is shown, 0 for ever (default: as the first frame says, or for ever)"},
};

WriteOptions join_options(const Arguments& arguments)
{
    WriteOptions options = write_options(arguments);
    if (arguments.has("--delay")) {
        options.delay = number_option(arguments, "--delay", 0, 0, 655350);
    }
    if (arguments.has("--loop")) {
        options.loops = number_option(arguments, "--loop", 0, 0, 0xFFFF);
    }
    return options;
}

void run_join(const Arguments& arguments)
{
    const std::string& out = arguments.files[0];
    const WriteOptions options = join_options(arguments);
    const std::unique_ptr<PictureWriter> writer = create_picture(out, options);
    size_t count = 0;
    for (size_t i = 1; i < arguments.files.size(); ++i) {
        const std::unique_ptr<PictureReader> reader = open_picture(arguments.files[i], read_options(arguments));
        do {
            if (++count > 1 && !writer->keeps_pages()) {
                throw UsageError(out + ": the format has no pages");
            }
            process(*reader, {}, *writer, options, shown("page " + std::to_string(count)));
        } while (reader->next_page());
    }
    writer->finish();
    Report report;
    report.text("file", "written to", out);
    report.number("pages", "pages", static_cast<int64_t>(count));
    report.print(arguments.has("--json"));
}

} // namespace

extern const Command kPagesCommand;
const Command kPagesCommand = {"pages", "FILE", 1, "Lists the pages or frames of a file.", {}, &run_pages};

extern const Command kSplitCommand;
const Command kSplitCommand = {
    .name = "split",
    .files = "FILE OUT%d",
    .file_count = 2,
    .summary = "Writes every page or frame to a file of its own.",
    .options = {},
    .run = &run_split,
    .writes = true,
};

extern const Command kJoinCommand;
const Command kJoinCommand = {
    .name = "join",
    .files = "OUT FILE...",
    .file_count = 2,
    .summary = "Makes one document or animation of all pages of many files.",
    .options = kJoinOptions,
    .run = &run_join,
    .writes = true,
    .takes_more = true,
};

} // namespace vk::tool
