/**
 * @file Progress.h
 * A progress bar on standard error, shown only on a terminal. While it lives it is the library's status callback, so
 * operations that report their progress move it by themselves; others are counted by the caller. After an interrupt
 * both kinds of work are stopped.
 */
#ifndef VK_TOOLS_PROGRESS_H
#define VK_TOOLS_PROGRESS_H

#include "include/Vkkrnx.h"

#include <string>

namespace vk::tool {

class Progress {
public:
    explicit Progress(std::string label);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /** `done` of `total` parts are done; `total` is not 0. Interrupted when the work is to stop. */
    void count(int64_t done, int64_t total);

private:
    static int on_status(int percent, void* self);
    void show(int percent);

    std::string label_;
    bool visible_;
    int shown_ = -1;
    bool counts_ = false; ///< what operations report on the way is of parts
    V_STATUSCALLBACK previous_ = nullptr;
    void* previous_data_ = nullptr;
};

} // namespace vk::tool

#endif
