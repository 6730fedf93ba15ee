/**
 * @file FileOptions.cpp
 * What the options that many commands share say of files.
 */
#include "tools/FileOptions.h"

#include "tools/Values.h"

namespace vk::tool {

namespace {

/** Pixels of each direction that share their colour. */
struct Chroma {
    int across;
    int down;
};

constexpr Word<Chroma> kChroma[] = {{"444", {1, 1}}, {"422", {2, 1}}, {"420", {2, 2}}};

} // namespace

void apply_limit(const Arguments& arguments)
{
    uint64_t pixels = 0;
    const std::optional<std::string> text = arguments.value("--limit");
    if (!text) {
        return;
    }
    if (!parse_number(*text, pixels) || pixels == 0) {
        throw UsageError("--limit needs a number of pixels");
    }
    set_most_pixels(pixels);
}

ReadOptions read_options(const Arguments& arguments)
{
    ReadOptions options;
    if (arguments.has("--page")) {
        options.page = static_cast<uint32_t>(count_option(arguments, "--page", 1) - 1);
    }
    options.srgb = arguments.has("--srgb");
    return options;
}

WriteOptions write_options(const Arguments& arguments)
{
    WriteOptions options;
    options.quality = number_option(arguments, "--quality", options.quality, 1, 100);
    if (arguments.has("--effort")) {
        options.effort = number_option(arguments, "--effort", kUsualEffort, 0, 9);
    }
    const Chroma chroma = require_word(kChroma, "--chroma", arguments.value("--chroma").value_or("420"));
    options.chroma_across = chroma.across;
    options.chroma_down = chroma.down;
    options.progressive = arguments.has("--progressive");
    options.optimized = arguments.has("--optimized");
    options.compression = arguments.value("--compression").value_or("");
    options.big = arguments.has("--big");
    options.bare = arguments.has("--strip");
    options.lossless = arguments.has("--lossless");
    return options;
}

} // namespace vk::tool
