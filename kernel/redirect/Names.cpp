// The registry of named redirections: a list under a lock, from which tables are copied out.
#include "kernel/redirect/Names.h"

#include "kernel/system/LibraryLock.h"
#include "platform/platform.h"

#include <atomic>
#include <cwchar>
#include <mutex>
#include <new>
#include <string>

namespace vk::redirect {

namespace {

constexpr size_t kPrefixLength = std::char_traits<wchar_t>::length(V_REDIRECT_NAME_PREFIX);
static_assert(kPrefixLength == 15);

struct Entry {
    Entry* next;
    Table table;

    wchar_t* name() noexcept { return reinterpret_cast<wchar_t*>(this + 1); }
};

class Registry {
public:
    Registry() noexcept = default;
    Registry(const Registry&) = delete;
    Registry& operator=(const Registry&) = delete;
    /// Frees the entries when the library goes.
    ~Registry()
    {
        const std::lock_guard lock(mutex_);
        while (first_)
            remove(&first_);
    }

    int find(const wchar_t* name, Table& table) noexcept
    {
        const std::lock_guard lock(mutex_);
        Entry** const link = link_of(name);
        if (!*link)
            return V_ERROR_FILE_NOT_FOUND;
        table = (*link)->table;
        return V_SUCCESS;
    }

    int put(const wchar_t* name, const Table& table) noexcept
    {
        const std::lock_guard lock(mutex_);
        Entry** const link = link_of(name);
        if (!*link) {
            const size_t length = std::wcslen(name) + 1;
            void* const memory = platform::heap_alloc(sizeof(Entry) + length * sizeof(wchar_t));
            if (!memory)
                return V_ERROR_NO_MEMORY;
            *link = new (memory) Entry{};
            std::wmemcpy((*link)->name(), name, length);
        }
        (*link)->table = table;
        return V_SUCCESS;
    }

    int take_out(const wchar_t* name) noexcept
    {
        const std::lock_guard lock(mutex_);
        Entry** const link = link_of(name);
        if (!*link)
            return V_ERROR_FILE_NOT_FOUND;
        remove(link);
        return V_SUCCESS;
    }

private:
    /// What points to the entry of the name, or to the end of the list.
    Entry** link_of(const wchar_t* name) noexcept
    {
        Entry** link = &first_;
        while (*link && std::wcscmp((*link)->name(), name) != 0)
            link = &(*link)->next;
        return link;
    }

    static void remove(Entry** link) noexcept
    {
        Entry* const gone = *link;
        *link = gone->next;
        platform::heap_free(gone);
    }

    LibraryLock mutex_;
    Entry* first_ = nullptr;
};

Registry g_registry;
std::atomic<uint64_t> g_made_up{0};

/// Writes eight upper-case hexadecimal digits.
wchar_t* put_digits(wchar_t* out, uint32_t value) noexcept
{
    for (int shift = 28; shift >= 0; shift -= 4)
        *out++ = L"0123456789ABCDEF"[value >> shift & 15];
    return out;
}

} // namespace

bool is_registered_form(const wchar_t* name) noexcept
{
    return std::wcsncmp(name, V_REDIRECT_NAME_PREFIX, kPrefixLength) == 0;
}

int find_name(const wchar_t* name, Table& table) noexcept
{
    return g_registry.find(name, table);
}

void make_up_name(wchar_t* name) noexcept
{
    const uint64_t number = g_made_up.fetch_add(1) + 1;
    std::wmemcpy(name, V_REDIRECT_NAME_PREFIX, kPrefixLength);
    wchar_t* end = put_digits(name + kPrefixLength, static_cast<uint32_t>(number >> 32));
    *end++ = L'-';
    end = put_digits(end, static_cast<uint32_t>(number));
    *end = 0;
}

int register_name(const wchar_t* name, const Table& table) noexcept
{
    if (!is_registered_form(name) || name[kPrefixLength] == 0)
        return V_ERROR_INVALID_PARAMETER;
    return g_registry.put(name, table);
}

int unregister_name(const wchar_t* name) noexcept
{
    return g_registry.take_out(name);
}

} // namespace vk::redirect

using namespace vk;
using namespace vk::redirect;
