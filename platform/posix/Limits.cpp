// Memory limits of control groups. What a group may use is the least of its own limit and of those above it, up to the
// root of what is mounted here; what it uses counts without file pages that the system can drop.
//
// Version 2 has one tree for all controllers, version 1 one for memory; both may be there, one of them in charge.
// Groups that cannot be found, and files that cannot be read, limit nothing. The stack may be small: there is one path
// at a time.
#include "platform/posix/Limits.h"

#include "platform/posix/Posix.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <cstring>

namespace vk::backend::posix {

namespace {

constexpr uint64_t kNoLimit = UINT64_MAX;

/// The names of a version's files; their values are bytes.
struct Names {
    const char* limit;
    const char* usage;
    const char* swap_limit;
    const char* swap_usage;
    bool swap_includes_memory;
    const char* droppable; ///< in memory.stat
};
constexpr Names kVersion2 = {"memory.max", "memory.current", "memory.swap.max", "memory.swap.current",
                             false,        "inactive_file "};
constexpr Names kVersion1 = {"memory.limit_in_bytes",
                             "memory.usage_in_bytes",
                             "memory.memsw.limit_in_bytes",
                             "memory.memsw.usage_in_bytes",
                             true,
                             "total_inactive_file "};

/// A text file, line by line, of which so much is kept.
template <size_t kRoom> class Lines {
public:
    explicit Lines(const char* path) noexcept : file_(std::fopen(path, "re")) {}
    ~Lines()
    {
        if (file_ != nullptr)
            std::fclose(file_);
    }
    Lines(const Lines&) = delete;
    Lines& operator=(const Lines&) = delete;

    /// The next line without its end; null behind the last. What a line has beyond the room for one is left out.
    char* next() noexcept
    {
        if (file_ == nullptr || std::fgets(line_, sizeof line_, file_) == nullptr)
            return nullptr;
        const size_t length = std::strcspn(line_, "\n");
        for (int c = line_[length]; c != '\n' && c != EOF;)
            c = std::fgetc(file_);
        line_[length] = 0;
        return line_;
    }

private:
    std::FILE* file_;
    char line_[kRoom];
};
using LongLines = Lines<2 * kMaxPath>; ///< with two paths
using ShortLines = Lines<256>;         ///< with a name and a number

/// Whether a word stands in a list with commas.
bool has_word(const char* list, const char* word) noexcept
{
    const size_t length = std::strlen(word);
    while (true) {
        const size_t item = std::strcspn(list, ",");
        if (item == length && std::memcmp(list, word, length) == 0)
            return true;
        if (list[item] == 0)
            return false;
        list += item + 1;
    }
}

/// A directory that grows shorter, with room for a file's name.
struct Path {
    char text[2 * kMaxPath] = "";

    bool set(const char* root, const char* first, const char* second) noexcept
    {
        const int length = std::snprintf(text, sizeof text, "%s%s%s", root, first, second);
        return length > 0 && static_cast<size_t>(length) < sizeof text;
    }
    /// Calls `read` with the path of a file in the directory; false when that is too long.
    template <class Read> bool with_file(const char* name, const Read& read) noexcept
    {
        const size_t length = std::strlen(text);
        const size_t more = std::strlen(name) + 2;
        if (more > sizeof text - length)
            return false;
        text[length] = '/';
        std::memcpy(text + length + 1, name, more - 1);
        read(text);
        text[length] = 0;
        return true;
    }
};

uint64_t read_bytes(Path& directory, const char* name) noexcept
{
    uint64_t value = kNoLimit;
    directory.with_file(name, [&](const char* file) noexcept {
        ShortLines lines(file);
        const char* const line = lines.next();
        uint64_t read = 0;
        value = line != nullptr && std::sscanf(line, "%" SCNu64, &read) == 1 ? read : kNoLimit; // "max" is none
    });
    return value;
}

uint64_t droppable_bytes(Path& directory, const Names& names) noexcept
{
    uint64_t value = 0;
    directory.with_file("memory.stat", [&](const char* file) noexcept {
        ShortLines lines(file);
        const size_t length = std::strlen(names.droppable);
        while (const char* const line = lines.next())
            if (std::strncmp(line, names.droppable, length) == 0 && std::sscanf(line + length, "%" SCNu64, &value) == 1)
                return;
    });
    return value;
}

uint64_t less(uint64_t from, uint64_t taken) noexcept
{
    return from > taken ? from - taken : 0;
}

void lower(uint64_t limit, uint64_t used, uint64_t& total, uint64_t& available) noexcept
{
    if (limit == kNoLimit)
        return;
    total = std::min(total, limit);
    available = std::min(available, less(limit, used == kNoLimit ? 0 : used));
}

void apply_group(Path& directory, const Names& names, MemoryStatus& status) noexcept
{
    const uint64_t limit = read_bytes(directory, names.limit);
    const uint64_t usage = read_bytes(directory, names.usage);
    uint64_t swap_limit = read_bytes(directory, names.swap_limit);
    uint64_t swap_usage = read_bytes(directory, names.swap_usage);
    if (names.swap_includes_memory && swap_limit != kNoLimit && swap_usage != kNoLimit) {
        swap_limit = less(swap_limit, std::min(limit, status.total_physical));
        swap_usage = less(swap_usage, usage);
    }
    if (limit != kNoLimit && usage != kNoLimit)
        lower(limit, less(usage, droppable_bytes(directory, names)), status.total_physical, status.available_physical);
    lower(swap_limit, swap_usage, status.total_page_file, status.available_page_file);
}

/// Where a version's tree is mounted, and which part of it.
struct Mount {
    char point[kMaxPath] = "";
    char root[kMaxPath] = "";
};

/// Finds a tree in the table of mounts: fields up to the mount point, options, " - ", type, source, options of the
/// tree.
bool find_mount(const char* root, bool version2, Path& table, Mount& mount) noexcept
{
    if (!table.set(root, "/proc/self/mountinfo", ""))
        return false;
    LongLines lines(table.text);
    while (const char* const line = lines.next()) {
        const char* const tail = std::strstr(line, " - ");
        char type[32];
        char options[256];
        static_assert(kMaxPath == 4096);
        if (tail == nullptr || std::sscanf(tail, " - %31s %*s %255s", type, options) != 2 ||
            std::strcmp(type, version2 ? "cgroup2" : "cgroup") != 0 || (!version2 && !has_word(options, "memory")))
            continue;
        if (std::sscanf(line, "%*s %*s %*s %4095s %4095s", mount.root, mount.point) == 2)
            return true;
    }
    return false;
}

/// The process's group in a version's tree: "number:controllers:path".
bool find_group(const char* root, bool version2, Path& list, char (&group)[kMaxPath]) noexcept
{
    if (!list.set(root, "/proc/self/cgroup", ""))
        return false;
    LongLines lines(list.text);
    while (char* const line = lines.next()) {
        char* const controllers = std::strchr(line, ':');
        char* const path = controllers == nullptr ? nullptr : std::strchr(controllers + 1, ':');
        if (path == nullptr)
            continue;
        *path = 0;
        const bool is_it = version2 ? controllers[1] == 0 : has_word(controllers + 1, "memory");
        const size_t length = std::strlen(path + 1);
        if (!is_it || length >= sizeof group)
            continue;
        std::memcpy(group, path + 1, length + 1);
        return true;
    }
    return false;
}

/// The group's path below what is mounted; "" for the mounted part itself, and where the group lies outside of it.
const char* path_below(const char* group, const char* root) noexcept
{
    const size_t length = std::strcmp(root, "/") == 0 ? 0 : std::strlen(root);
    const bool is_below = std::strncmp(group, root, length) == 0 && (group[length] == '/' || group[length] == 0);
    return is_below && std::strstr(group, "..") == nullptr && std::strcmp(group + length, "/") != 0 ? group + length
                                                                                                    : "";
}

void apply_tree(const char* root, bool version2, MemoryStatus& status) noexcept
{
    Mount mount;
    char group[kMaxPath];
    Path directory; // where else is looked first
    if (!find_mount(root, version2, directory, mount) || !find_group(root, version2, directory, group) ||
        !directory.set(root, mount.point, path_below(group, mount.root)))
        return;
    const size_t top = std::strlen(root) + std::strlen(mount.point);
    while (true) {
        apply_group(directory, version2 ? kVersion2 : kVersion1, status);
        char* const last = std::strrchr(directory.text, '/');
        if (std::strlen(directory.text) <= top || last == nullptr)
            return;
        *last = 0;
    }
}

} // namespace

void apply_group_limits(const char* root, MemoryStatus& status) noexcept
{
    apply_tree(root, true, status);
    apply_tree(root, false, status);
}

void apply_space_limit(uint64_t limit, uint64_t used, MemoryStatus& status) noexcept
{
    const uint64_t left = less(limit, used);
    status.total_physical = std::min(status.total_physical, limit);
    status.total_page_file = std::min(status.total_page_file, limit - status.total_physical);
    status.available_physical = std::min(status.available_physical, left);
    status.available_page_file = std::min(status.available_page_file, left - status.available_physical);
}

} // namespace vk::backend::posix
