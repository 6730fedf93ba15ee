/**
 * @file Batch.cpp
 * vk batch: a chain of operations for all pictures of a folder and those below it, several at once. The workers are the
 * items of one batch on the library's thread pool; each takes the next picture from a common list until there is none,
 * so what comes out does not depend on how many there are. A picture that fails is reported and hinders no other;
 * Ctrl-C cancels the rest.
 */
#include "include/Vkthreading.h"
#include "tools/FileOptions.h"
#include "tools/Operation.h"
#include "tools/PictureFile.h"
#include "tools/Platform.h"
#include "tools/Progress.h"
#include "tools/Report.h"
#include "tools/Values.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <map>
#include <mutex>
#include <system_error>

namespace vk::tool {

namespace {

const Option kOptions[] = {
    {"-o", "DIR", "where the results go; made when it is not there"},
    {"--format", "EXT", "write every picture as this; default: as it was, or as png"},
    {"--recursive", nullptr, "pictures in sub-folders too, which the results get as well"},
    {"--resume", nullptr, "leave out what is there already and is newer than its picture, as after an interruption"},
    {"--jobs", "N", "pictures worked on at once (default: the number of processors)"},
};

constexpr int32_t kMostJobs = 64;

struct Job {
    std::string source;
    std::string target;
    std::string failure; ///< empty: done, or never begun
    bool done = false;
};

/** What the workers share. */
class Work {
public:
    Work(const std::vector<Step>& chain, const FileOptions& options, std::vector<Job>& jobs)
        : chain_(chain), options_(options), jobs_(jobs)
    {}

    /** Takes pictures from the list until there is none or the batch is cancelled. */
    int run(VKWorkItems& batch) noexcept;

private:
    void run_job(Job& job) noexcept;
    void convert(const Job& job) const;

    const std::vector<Step>& chain_;
    const FileOptions& options_;
    std::vector<Job>& jobs_;
    std::atomic<size_t> next_{0};
    std::mutex progress_mutex_;
    Progress progress_{"pictures"};
    int64_t finished_ = 0;
};

int stop_when_interrupted(int, void*)
{
    return interrupted() ? V_ERROR_USER_ABORT : V_SUCCESS;
}

void Work::convert(const Job& job) const
{
    const std::unique_ptr<PictureWriter> writer = create_picture(job.target, options_.write);
    std::unique_ptr<PictureReader> reader = open_picture(job.source, options_.read);
    process_pages(*reader, chain_, *writer, options_, &unseen);
    reader.reset(); // the file may be the one to be replaced
    writer->finish();
}

void Work::run_job(Job& job) noexcept
{
    try {
        try {
            convert(job);
            job.done = true;
        } catch (const std::exception& error) {
            if (!interrupted()) {
                job.failure = error.what();
                if (!job.failure.starts_with(job.source)) {
                    job.failure = job.source + ": " + job.failure;
                }
            }
        }
        const std::lock_guard guard(progress_mutex_);
        progress_.count(++finished_, static_cast<int64_t>(jobs_.size()));
    } catch (...) { // no memory even for the message: the picture counts as failed without one
    }
}

int Work::run(VKWorkItems& batch) noexcept
{
    V_STATUSCALLBACK before = nullptr;
    void* data_before = nullptr;
    V_SetStatusCallback(&stop_when_interrupted, nullptr, &before, &data_before);
    while (batch.IsCanceled() == 0 && !interrupted()) {
        const size_t index = next_++;
        if (index >= jobs_.size()) {
            break;
        }
        run_job(jobs_[index]);
    }
    V_SetStatusCallback(before, data_before, nullptr, nullptr);
    return interrupted() ? VKRESULT_TIMEOUT : V_SUCCESS;
}

std::string text_of(const std::filesystem::path& path)
{
    const std::u8string text = path.u8string();
    return {text.begin(), text.end()};
}

/** What is in the folder that gets the results is none of them. */
std::vector<std::filesystem::path> pictures_in(const std::string& folder, bool recursive, const std::string& to)
{
    std::vector<std::filesystem::path> pictures;
    std::error_code error;
    for (std::filesystem::recursive_directory_iterator entry(path_of(folder), error), end; !error && entry != end;
         entry.increment(error)) {
        std::error_code unknown; // what cannot be looked at is no picture
        if (!recursive || std::filesystem::equivalent(entry->path(), path_of(to), unknown)) {
            entry.disable_recursion_pending();
        }
        if (entry->is_regular_file(unknown) && has_readable_name(text_of(entry->path()))) {
            pictures.push_back(entry->path());
        }
    }
    if (error) {
        throw FileError(folder, error.message());
    }
    std::sort(pictures.begin(), pictures.end());
    return pictures;
}

/** Which picture becomes which file. */
std::vector<Job> plan_jobs(const Arguments& arguments, const std::string& to)
{
    const std::optional<std::string> format = arguments.value("--format");
    if (format && !has_writable_name("x." + *format)) {
        throw UsageError("--format does not know " + *format);
    }
    std::vector<Job> jobs;
    std::map<std::filesystem::path, std::string> taken;
    for (const std::filesystem::path& source : pictures_in(arguments.files[0], arguments.has("--recursive"), to)) {
        std::filesystem::path target = path_of(to) / source.lexically_relative(path_of(arguments.files[0]));
        if (format) {
            target.replace_extension("." + *format);
        } else if (!has_writable_name(text_of(target))) {
            target.replace_extension(default_extension());
        }
        Job job{text_of(source), text_of(target), {}};
        if (const auto [other, is_new] = taken.emplace(target, job.source); !is_new) {
            throw UsageError(other->second + " and " + job.source + " would both become " + job.target);
        }
        jobs.push_back(std::move(job));
    }
    return jobs;
}

/** Results appear complete or not at all, so one that is there needs no second look. */
bool is_done(const Job& job)
{
    std::error_code error;
    const auto made = std::filesystem::last_write_time(path_of(job.target), error);
    const auto changed = error ? made : std::filesystem::last_write_time(path_of(job.source), error);
    return !error && made >= changed;
}

/** Queues the workers and waits for them. */
void run_workers(const std::vector<Step>& chain, const FileOptions& options, std::vector<Job>& jobs, int32_t workers)
{
    constexpr auto kRun = [](VKWorkItems* batch, void* work) { return static_cast<Work*>(work)->run(*batch); };
    Work work(chain, options, jobs);
    VKWorkItems batch;
    const uint32_t threading = workers == 1 ? VKWORKITEMS_NEVERTHREAD : VKWORKITEMS_LOCKCANCEL;
    int result = batch.Create(static_cast<uint32_t>(workers), threading, VKPOOL_LONGRUNNING);
    check(result, "starting the workers");
    for (int32_t i = 0; i < workers; ++i) {
        if (const int queued = batch.QueueItem(kRun, &work); queued != V_SUCCESS) {
            result = queued;
            batch.Cancel();
            batch.QueueItem(kRun, &work); // on a cancelled batch this only counts
        }
    }
    batch.Wait();
    check(result, "starting the workers");
}

void make_folder(const std::filesystem::path& folder)
{
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error) {
        throw FileError(text_of(folder), "cannot be made: " + error.message());
    }
}

void report_failures(const std::vector<Job>& jobs, int64_t done)
{
    for (const Job& job : jobs) {
        if (!job.failure.empty()) {
            std::fprintf(stderr, "vk: %s\n", job.failure.c_str());
        }
    }
    const auto total = static_cast<int64_t>(jobs.size());
    const std::string of = std::to_string(total) + (total == 1 ? " picture" : " pictures");
    if (interrupted()) {
        throw OperationError("stopped: " + std::to_string(done) + " of " + of + " done; --resume does the rest");
    }
    if (done != total) {
        throw OperationError(std::to_string(total - done) + " of " + of + " failed");
    }
}

void run_batch(const Arguments& arguments)
{
    const std::optional<std::string> to = arguments.value("-o");
    if (!to) {
        throw UsageError("-o needs to be given");
    }
    const std::vector<Step> chain = read_chain(arguments.chain);
    const FileOptions options(arguments);
    const auto cores = static_cast<int32_t>(VKThreadToolsManaged::GetCoreCount());
    const int32_t asked = std::min(count_option(arguments, "--jobs", cores), kMostJobs);
    std::vector<Job> jobs = plan_jobs(arguments, *to);
    const size_t left_out = arguments.has("--resume") ? std::erase_if(jobs, &is_done) : 0;
    const int32_t workers = std::clamp(static_cast<int32_t>(jobs.size()), 1, asked);
    make_folder(path_of(*to));
    for (const Job& job : jobs) {
        make_folder(path_of(job.target).parent_path());
    }

    const auto start = std::chrono::steady_clock::now();
    run_workers(chain, options, jobs, workers);
    const std::chrono::duration<double> spent = std::chrono::steady_clock::now() - start;
    const auto done = std::count_if(jobs.begin(), jobs.end(), [](const Job& job) { return job.done; });

    Report report;
    report.text("folder", "written to", *to);
    report.number("pictures", "pictures", static_cast<int64_t>(jobs.size()));
    report.number("written", "written", done);
    report.number("left_out", "left out", static_cast<int64_t>(left_out));
    report.number("workers", "at once", workers);
    report.measure("batch_ms", "time", spent.count() * 1e3, " ms");
    report.print(arguments.has("--json"));
    report_failures(jobs, done);
}

} // namespace

extern const Command kBatchCommand;
const Command kBatchCommand = {
    "batch",  "DIR -o DIR [OPERATION [OPTION]...] [--then OPERATION...]",
    1,        "Does the same to all pictures of a folder, several at once.",
    kOptions, &run_batch,
    true,     false,
    true,
};

} // namespace vk::tool
