/**
 * @file Trial.h
 * A picture put row by row into a bitmap of a chosen storage kind, read back and compared with the file. Only the
 * library's row calls are timed, not the picture files.
 */
#ifndef VK_TOOLS_TRIAL_H
#define VK_TOOLS_TRIAL_H

#include "tools/Bitmap.h"
#include "tools/Report.h"

#include <chrono>
#include <memory>
#include <optional>
#include <string>

namespace vk::tool {

struct Trial {
    PictureInfo info;
    std::unique_ptr<Bitmap> bitmap;
    std::chrono::steady_clock::duration write_time{};
    std::chrono::steady_clock::duration read_time{};
    uint64_t stored_bytes = 0;
};

/** Does it; OperationError for a row that comes back different. `writer`, or null, gets the rows that came back. */
Trial try_storage(const std::string& name, const ReadOptions& options, const StorageKind& kind,
                  std::optional<int64_t> tile_bytes, PictureWriter* writer);

/** The stored size, its ratio and both rates. */
void describe_trial(Report& report, const Trial& trial);

} // namespace vk::tool

#endif
