/**
 * @file Hold.cpp
 * vk hold: puts a picture row by row into a bitmap of a chosen storage kind, reads it back, proves that every row is
 * the file's, and tells what the storage took. Only the library's row calls are timed, not the picture files.
 */
#include "tools/FileOptions.h"
#include "tools/command/Describe.h"
#include "tools/command/Trial.h"

namespace vk::tool {

namespace {

const std::string kAsDescription = std::string("the storage kind: ") + storage_kind_names() + " (default: conv)";

const Option kOptions[] = {
    {"--as", "KIND", kAsDescription.c_str()},
    {"--tile-size", "BYTES", "with tiled: bytes per tile, such as 64K (default: an eighth of the picture)"},
    {"-o", "FILE", "write the picture as read back from the bitmap"},
    kPageOption,
};

void run_hold(const Arguments& arguments)
{
    const std::string& name = arguments.files[0];
    const StorageKind& kind = storage_kind(arguments.value("--as").value_or("conv"));
    const std::optional<int64_t> tile_bytes = arguments.bytes("--tile-size");
    const std::optional<std::string> output = arguments.value("-o");
    const std::unique_ptr<PictureWriter> writer = output ? create_picture(*output, write_options(arguments)) : nullptr;
    const Trial trial = try_storage(name, read_options(arguments), kind, tile_bytes, writer.get());

    Report report;
    describe_picture(report, name, trial.info, *trial.bitmap);
    report.text("kind", "storage kind", kind.name);
    describe_storage(report, trial.bitmap->memory_info());
    describe_trial(report, trial);
    report.truth("equal", "all rows equal", true);
    if (output) {
        report.text("output", "written to", *output);
    }
    report.print(arguments.has("--json"));
}

} // namespace

extern const Command kHoldCommand;
const Command kHoldCommand = {
    "hold", "FILE", 1,    "Holds a picture in storage of a chosen kind and proves it.", kOptions, &run_hold,
    false,  false,  true,
};

} // namespace vk::tool
