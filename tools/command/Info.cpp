/**
 * @file Info.cpp
 * vk info: what is in a picture file, and what the library would make of it. The pixels are not read.
 */
#include "tools/Command.h"
#include "tools/command/Describe.h"

namespace vk::tool {

namespace {

void run_info(const Arguments& arguments)
{
    const std::string& name = arguments.files[0];
    const std::unique_ptr<PictureReader> reader = open_picture(name);
    Bitmap bitmap(reader->info());
    Report report;
    describe_picture(report, name, reader->info(), bitmap);
    describe_storage(report, bitmap.memory_info());
    report.print(arguments.has("--json"));
}

} // namespace

extern const Command kInfoCommand;
const Command kInfoCommand = {
    "info", "FILE", 1, "Tells what a picture is and how a bitmap would hold it.", {}, &run_info,
};

} // namespace vk::tool
