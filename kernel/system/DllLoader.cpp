// V_DllLoader: a module, counted over the objects that share it. The system counts too, over all who load it.
#include "Vkdllloader.h"

#include "Vkrecord.h"
#include "kernel/system/ResourceDirectory.h"
#include "platform/platform.h"

#include <atomic>
#include <new>

using namespace vk;

struct V_DllLoader::Module {
    std::atomic<uint32_t> users;
    void* handle;
};

namespace {

/// A name that cannot lead out of the directory it is looked for in.
bool is_bare(const wchar_t* name) noexcept
{
    for (; *name != 0; ++name)
        if (*name == L'/' || *name == L'\\' || *name == L':')
            return false;
    return true;
}

bool goes_with(const wchar_t* name, uint32_t flags) noexcept
{
    if (!name || *name == 0 || flags > DLLLOADER_SYSTEM)
        return false;
    return flags == DLLLOADER_PATH ? platform::is_absolute_path(name) : is_bare(name);
}

Status open_module(const wchar_t* name, uint32_t flags, void** handle) noexcept
{
    if (flags == DLLLOADER_PATH || flags == DLLLOADER_SYSTEM)
        return platform::module_open_as(name, handle);
    wchar_t directory[kResourceRoom] = {};
    if (flags == DLLLOADER_RESOURCES)
        copy_resource_directory(directory);
    if (*directory != 0 && platform::module_open(directory, name, handle) == Status::ok)
        return Status::ok;
    return platform::module_open(nullptr, name, handle);
}

int code_of(Status status) noexcept
{
    switch (status) {
    case Status::ok:
        return V_SUCCESS;
    case Status::no_memory:
        return V_ERROR_NO_MEMORY;
    case Status::bad_name:
    case Status::too_long:
        return V_ERROR_INVALID_PARAMETER;
    default:
        return V_ERROR_FILE_NOT_FOUND;
    }
}

} // namespace

V_DllLoader::V_DllLoader() noexcept : module_(nullptr) {}

V_DllLoader::V_DllLoader(const V_DllLoader& other) noexcept : module_(other.module_)
{
    if (module_)
        module_->users.fetch_add(1, std::memory_order_relaxed);
}

V_DllLoader& V_DllLoader::operator=(const V_DllLoader& other) noexcept
{
    Module* const shared = other.module_;
    if (shared)
        shared->users.fetch_add(1, std::memory_order_relaxed); // first: it may be our own
    Unload();
    module_ = shared;
    return *this;
}

V_DllLoader::~V_DllLoader()
{
    Unload();
}

int V_DllLoader::Load(const wchar_t* pszName, uint32_t uFlags) noexcept
{
    if (!goes_with(pszName, uFlags))
        return V_ERROR_INVALID_PARAMETER;
    void* const block = platform::heap_alloc(sizeof(Module));
    if (!block)
        return V_ERROR_NO_MEMORY;
    void* handle = nullptr;
    const Status status = open_module(pszName, uFlags, &handle);
    if (status != Status::ok) {
        platform::heap_free(block);
        return code_of(status);
    }
    Unload();
    module_ = new (block) Module{{1}, handle};
    return V_SUCCESS;
}

void V_DllLoader::Unload() noexcept
{
    Module* const module = module_;
    module_ = nullptr;
    if (!module || module->users.fetch_sub(1, std::memory_order_acq_rel) != 1)
        return;
    platform::module_close(module->handle);
    platform::heap_free(module);
}

int V_DllLoader::IsLoaded() const noexcept
{
    return module_ ? 1 : 0;
}

void* V_DllLoader::GetFunction(const char* pszName) const noexcept
{
    return module_ && pszName ? platform::module_symbol(module_->handle, pszName) : nullptr;
}
