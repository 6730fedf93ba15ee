/**
 * @file Info.cpp
 * vk info: what is in a picture file, and what the library would make of it. The pixels are read only to find out how
 * they compress.
 */
#include "tools/FileOptions.h"
#include "tools/command/Describe.h"
#include "tools/command/Trial.h"

namespace vk::tool {

namespace {

const Option kOptions[] = {
    {"--compress", nullptr, "also hold the picture super-compressed: its ratio and speed (1, 8 and 24 bits)"},
    kPageOption,
};

void run_info(const Arguments& arguments)
{
    const std::string& name = arguments.files[0];
    const std::unique_ptr<PictureReader> reader = open_picture(name, read_options(arguments));
    Bitmap bitmap(reader->info());
    Report report;
    describe_picture(report, name, reader->info(), bitmap);
    describe_storage(report, bitmap.memory_info());
    if (arguments.has("--compress")) {
        describe_trial(report,
                       try_storage(name, read_options(arguments), storage_kind("super"), std::nullopt, nullptr));
    }
    report.print(arguments.has("--json"));
}

} // namespace

extern const Command kInfoCommand;
const Command kInfoCommand = {
    "info", "FILE", 1, "Tells what a picture is and how a bitmap would hold it.", kOptions, &run_info,
};

} // namespace vk::tool
