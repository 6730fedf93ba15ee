// Fixed memory, sections, and the figures of memory and handles, from malloc, anonymous mappings and /proc.
//
// A section has no system object here: its handle is null and its mapping is `bytes` rounded up to whole pages.
#include "platform/posix/Limits.h"
#include "platform/posix/Posix.h"

#include <algorithm>
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

/// The mapping's size for a section's; 0 when there is no such size. An empty section has a page too.
size_t mapped_size(size_t bytes) noexcept
{
    const size_t page = page_size();
    if (bytes > PTRDIFF_MAX - page)
        return 0;
    return (std::max<size_t>(bytes, 1) + page - 1) / page * page;
}

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
    return std::malloc(std::max<size_t>(bytes, 1));
}

void* heap_realloc(void* block, size_t bytes) noexcept
{
    return std::realloc(block, std::max<size_t>(bytes, 1));
}

void heap_free(void* block) noexcept
{
    std::free(block);
}

Status section_create(size_t bytes, Section* section) noexcept
{
    const size_t size = mapped_size(bytes);
    if (size == 0)
        return Status::no_memory;
    void* view = size >= kHugePage ? map_huge(size) : map_anonymous(size);
    if (view == nullptr)
        return Status::no_memory;
    *section = Section{nullptr, view, bytes};
    return Status::ok;
}

Status section_resize(Section* section, size_t bytes) noexcept
{
    const size_t before = mapped_size(section->bytes);
    const size_t after = mapped_size(bytes);
    if (after == 0)
        return Status::no_memory;
    void* view = section->view;
    if (after != before) {
        view = mremap(view, before, after, MREMAP_MAYMOVE);
        if (view == MAP_FAILED) // whatever it says of a size: there is no room for it
            return Status::no_memory;
        if (after >= kHugePage && before < kHugePage) // a hint only; see map_huge
            static_cast<void>(madvise(view, after, MADV_HUGEPAGE));
    }
    // What an earlier, larger size left in the last page shows again when the section grows.
    const size_t stale_end = std::min(before, bytes);
    if (stale_end > section->bytes)
        std::memset(static_cast<uint8_t*>(view) + section->bytes, 0, stale_end - section->bytes);
    section->view = view;
    section->bytes = bytes;
    return Status::ok;
}

void section_free(Section* section) noexcept
{
    if (section->view != nullptr)
        munmap(section->view, mapped_size(section->bytes));
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

/// The figures of a moment ago: reading them takes a dozen files, which would be most of making a small bitmap.
struct Figures {
    posix::Mutex mutex;
    MemoryStatus status;
    int64_t read_at = 0; ///< in milliseconds of the monotonic clock; 0: never
};
constinit Figures g_figures;
constexpr int64_t kFreshFor = 100;

int64_t milliseconds_now() noexcept
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
    return int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1'000'000 + 1;
}

} // namespace

Status memory_status(MemoryStatus* status) noexcept
{
    const std::lock_guard lock(g_figures.mutex);
    const int64_t now = milliseconds_now();
    if (g_figures.read_at == 0 || now - g_figures.read_at >= kFreshFor) {
        MemoryStatus found;
        if (const Status result = read_memory_status(found); result != Status::ok)
            return result;
        g_figures.status = found;
        g_figures.read_at = now;
    }
    *status = g_figures.status;
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
