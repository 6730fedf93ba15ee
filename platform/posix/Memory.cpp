// Fixed memory, sections, and the figures of memory and handles, from malloc, anonymous mappings and /proc.
//
// A small section is a block of the heap, which its handle points to; its view is aligned within. Any other is a
// mapping of the stock's (Stock.h) and has no handle.
#include "platform/Stock.h"
#include "platform/posix/Limits.h"
#include "platform/posix/Posix.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <dirent.h>
#include <mutex>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

namespace vk::backend {

namespace {

/// Size and alignment of a huge page.
constexpr size_t kHugePage = size_t{2} << 20;
/// Most handles the library counts on, whatever the process's limit.
constexpr uint32_t kMaxHandles = 20000;

size_t page_size() noexcept
{
    return static_cast<size_t>(sysconf(_SC_PAGESIZE));
}

/// Sections from this size on are mappings, which cost a call of the system and a fault for each page.
constexpr size_t kLeastMapping = size_t{64} << 10;
constexpr size_t kCacheLine = 64;

void* map_anonymous(size_t size) noexcept
{
    void* view = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return view == MAP_FAILED ? nullptr : view;
}

/// Maps a big block on a huge-page boundary, which saves most page faults of a first pass over it. Only an
/// optimisation: where the address space is short, any place will do, and a system without huge pages says so to
/// madvise, which changes nothing.
void* map_huge(size_t size) noexcept
{
    if (size > PTRDIFF_MAX - kHugePage)
        return nullptr;
    auto* wide = static_cast<uint8_t*>(map_anonymous(size + kHugePage));
    if (wide == nullptr)
        return map_anonymous(size);
    const size_t over = reinterpret_cast<uintptr_t>(wide) % kHugePage;
    const size_t head = over == 0 ? 0 : kHugePage - over;
    if (head != 0)
        munmap(wide, head);
    munmap(wide + head + size, kHugePage - head);
    static_cast<void>(madvise(wide + head, size, MADV_HUGEPAGE));
    return wide + head;
}

int64_t milliseconds_now() noexcept
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
    return int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1'000'000 + 1;
}

Status create_small(size_t bytes, Contents contents, Section* section) noexcept
{
    void* const block = heap_alloc(bytes + kCacheLine - 1);
    if (block == nullptr)
        return Status::no_memory;
    void* const view = static_cast<uint8_t*>(block) + (0 - reinterpret_cast<uintptr_t>(block)) % kCacheLine;
    if (contents == Contents::zeroed)
        std::memset(view, 0, bytes);
    *section = Section{block, view, bytes};
    return Status::ok;
}

/// Changes the size of a section that is small, before or after.
Status resize_elsewhere(Section* section, size_t bytes) noexcept
{
    Section resized;
    if (const Status status = section_create(bytes, Contents::unspecified, &resized); status != Status::ok)
        return status;
    const size_t kept = std::min(bytes, section->bytes);
    std::memcpy(resized.view, section->view, kept);
    std::memset(static_cast<uint8_t*>(resized.view) + kept, 0, bytes - kept);
    section_free(section);
    *section = resized;
    return Status::ok;
}

/// The value in kB of a line "Name:   123 kB" of /proc/meminfo, as bytes; false when there is no such line.
bool meminfo_value(const char* text, const char* name, uint64_t* bytes) noexcept
{
    const size_t length = std::strlen(name);
    for (const char* line = text; line != nullptr; line = std::strchr(line, '\n')) {
        line += *line == '\n' ? 1 : 0;
        if (std::strncmp(line, name, length) == 0 && line[length] == ':') {
            *bytes = std::strtoull(line + length + 1, nullptr, 10) * 1024;
            return true;
        }
    }
    return false;
}

bool read_meminfo(char* text, size_t room) noexcept
{
    std::FILE* file = std::fopen("/proc/meminfo", "re");
    if (file == nullptr)
        return false;
    const size_t moved = std::fread(text, 1, room - 1, file);
    std::fclose(file);
    text[moved] = 0;
    return moved != 0;
}

} // namespace

void* heap_alloc(size_t bytes) noexcept
{
    return heap_realloc(nullptr, bytes);
}

void* heap_realloc(void* block, size_t bytes) noexcept
{
    const size_t size = std::max<size_t>(bytes, 1);
    void* const made = std::realloc(block, size);
    return made == nullptr && stock_empty() ? std::realloc(block, size) : made;
}

void heap_free(void* block) noexcept
{
    std::free(block);
}

Status stock::map(size_t capacity, Section* section) noexcept
{
    void* const view = capacity >= kHugePage ? map_huge(capacity) : map_anonymous(capacity);
    if (view == nullptr)
        return Status::no_memory;
    *section = Section{nullptr, view, capacity};
    return Status::ok;
}

void stock::unmap(const Section& section, size_t capacity) noexcept
{
    munmap(section.view, capacity);
}

/// Large pages are cleared one by one when they are first touched, and still in the cache when they are filled.
bool stock::is_cleared_well(size_t capacity) noexcept
{
    return capacity >= kHugePage;
}

uint32_t stock::milliseconds() noexcept
{
    return static_cast<uint32_t>(milliseconds_now());
}

Status section_create(size_t bytes, Contents contents, Section* section) noexcept
{
    return bytes < kLeastMapping ? create_small(bytes, contents, section) : stock::create(bytes, contents, section);
}

Status section_resize(Section* section, size_t bytes) noexcept
{
    if (section->handle != nullptr || bytes < kLeastMapping)
        return resize_elsewhere(section, bytes);
    const size_t before = stock::capacity_of(section->bytes);
    const size_t after = stock::capacity_of(bytes);
    if (after == 0)
        return Status::no_memory;
    void* view = section->view;
    if (after != before) {
        view = mremap(view, before, after, MREMAP_MAYMOVE);
        if (view == MAP_FAILED && stock_empty())
            view = mremap(section->view, before, after, MREMAP_MAYMOVE);
        if (view == MAP_FAILED) // whatever it says of a size: there is no room for it
            return Status::no_memory;
        if (after >= kHugePage && before < kHugePage) // a hint only; see map_huge
            static_cast<void>(madvise(view, after, MADV_HUGEPAGE));
    }
    // What stands behind an earlier, smaller size would show when the section grows.
    const size_t stale_end = std::min(before, bytes);
    if (stale_end > section->bytes)
        std::memset(static_cast<uint8_t*>(view) + section->bytes, 0, stale_end - section->bytes);
    section->view = view;
    section->bytes = bytes;
    return Status::ok;
}

void section_free(Section* section) noexcept
{
    if (section->handle == nullptr)
        return stock::give_back(section);
    std::free(section->handle);
    *section = Section{};
}

namespace {

/// Pages that the process's address space has; 0 when they cannot be told.
uint64_t pages_in_use() noexcept
{
    std::FILE* file = std::fopen("/proc/self/statm", "re");
    unsigned long long pages = 0;
    if (file != nullptr) {
        if (std::fscanf(file, "%llu", &pages) != 1)
            pages = 0;
        std::fclose(file);
    }
    return pages;
}

/// The machine's memory, as far as this process may use it.
Status read_memory_status(MemoryStatus& found) noexcept
{
    char text[4096];
    if (read_meminfo(text, sizeof text) && meminfo_value(text, "MemTotal", &found.total_physical) &&
        meminfo_value(text, "MemAvailable", &found.available_physical)) {
        // Machines without swap space may have no such lines; the figures are then 0, as they should be.
        meminfo_value(text, "SwapTotal", &found.total_page_file);
        meminfo_value(text, "SwapFree", &found.available_page_file);
    } else {
        const long total = sysconf(_SC_PHYS_PAGES);
        const long available = sysconf(_SC_AVPHYS_PAGES);
        if (total <= 0 || available < 0)
            return Status::failed;
        found.total_physical = static_cast<uint64_t>(total) * page_size();
        found.available_physical = static_cast<uint64_t>(available) * page_size();
    }
    posix::apply_group_limits("", found);
    rlimit space{};
    if (getrlimit(RLIMIT_AS, &space) == 0 && space.rlim_cur != RLIM_INFINITY)
        posix::apply_space_limit(space.rlim_cur, pages_in_use() * page_size(), found);
    return Status::ok;
}

/// The figures of a moment ago: reading them takes a dozen files, which would be most of making a small bitmap. Looking
/// takes no lock. Two figures may be of different readings, both a moment ago.
struct Figures {
    posix::Mutex mutex; ///< of who reads the files
    std::atomic<uint64_t> total_physical{0};
    std::atomic<uint64_t> available_physical{0};
    std::atomic<uint64_t> total_page_file{0};
    std::atomic<uint64_t> available_page_file{0};
    std::atomic<int64_t> read_at{0}; ///< in milliseconds of the monotonic clock; 0: never
};
constinit Figures g_figures;
constexpr int64_t kFreshFor = 100;

bool are_fresh(int64_t now) noexcept
{
    const int64_t read_at = g_figures.read_at.load(std::memory_order_acquire);
    return read_at != 0 && now - read_at < kFreshFor;
}

/// Reads the figures anew, unless another thread is about to and there are older ones.
Status refresh_figures(int64_t now) noexcept
{
    std::unique_lock lock(g_figures.mutex, std::defer_lock);
    if (g_figures.read_at.load(std::memory_order_acquire) == 0)
        lock.lock();
    else if (!lock.try_lock())
        return Status::ok;
    if (are_fresh(now))
        return Status::ok;
    MemoryStatus found;
    if (const Status result = read_memory_status(found); result != Status::ok)
        return result;
    g_figures.total_physical.store(found.total_physical, std::memory_order_relaxed);
    g_figures.available_physical.store(found.available_physical, std::memory_order_relaxed);
    g_figures.total_page_file.store(found.total_page_file, std::memory_order_relaxed);
    g_figures.available_page_file.store(found.available_page_file, std::memory_order_relaxed);
    g_figures.read_at.store(now, std::memory_order_release);
    return Status::ok;
}

} // namespace

Status memory_status(MemoryStatus* status) noexcept
{
    const int64_t now = milliseconds_now();
    if (!are_fresh(now))
        if (const Status result = refresh_figures(now); result != Status::ok)
            return result;
    status->total_physical = g_figures.total_physical.load(std::memory_order_relaxed);
    status->available_physical =
        std::min(status->total_physical, g_figures.available_physical.load(std::memory_order_relaxed) + stock_held());
    status->total_page_file = g_figures.total_page_file.load(std::memory_order_relaxed);
    status->available_page_file = g_figures.available_page_file.load(std::memory_order_relaxed);
    return Status::ok;
}

Status handle_count(uint32_t* open, uint32_t* limit) noexcept
{
    rlimit allowed{};
    if (getrlimit(RLIMIT_NOFILE, &allowed) != 0)
        return posix::last_status();
    DIR* directory = opendir("/proc/self/fd");
    if (directory == nullptr)
        return posix::last_status();
    uint32_t count = 0;
    while (const dirent* entry = readdir(directory)) {
        if (entry->d_name[0] != '.')
            ++count;
    }
    closedir(directory);
    *open = count - 1; // not the descriptor that lists the others
    *limit = allowed.rlim_cur < kMaxHandles ? static_cast<uint32_t>(allowed.rlim_cur) : kMaxHandles;
    return Status::ok;
}

} // namespace vk::backend
