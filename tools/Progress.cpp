/**
 * @file Progress.cpp
 * The progress bar of Progress.h.
 */
#include "tools/Progress.h"

#include "tools/Failure.h"
#include "tools/Platform.h"

#include <algorithm>
#include <cstdio>
#include <utility>

namespace vk::tool {

Progress::Progress(std::string label) : label_(std::move(label)), visible_(stderr_is_terminal())
{
    V_SetStatusCallback(&on_status, this, &previous_, &previous_data_);
}

Progress::~Progress()
{
    V_SetStatusCallback(previous_, previous_data_, nullptr, nullptr);
    if (shown_ >= 0) {
        std::fprintf(stderr, "\r\033[K");
    }
}

int Progress::on_status(int percent, void* self)
{
    auto& progress = *static_cast<Progress*>(self);
    if (!progress.counts_) {
        progress.show(percent);
    }
    return interrupted() ? V_ERROR_USER_ABORT : V_SUCCESS;
}

void Progress::count(int64_t done, int64_t total)
{
    counts_ = done < total;
    show(static_cast<int>(done * 100 / total));
    if (interrupted()) {
        throw Interrupted();
    }
}

void Progress::show(int percent)
{
    if (!visible_ || percent == shown_) {
        return;
    }
    shown_ = percent;
    const std::string bar(static_cast<size_t>(std::clamp(percent, 0, 100) * 40 / 100), '#');
    std::fprintf(stderr, "\r%-8s [%-40s] %3d %%", label_.c_str(), bar.c_str(), percent);
}

} // namespace vk::tool
