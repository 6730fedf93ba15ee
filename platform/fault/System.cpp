// The fault layer's modules, figures, names and stock; see fault.cpp.
#include "platform/fault/Gate.h"

#include <atomic>

namespace vk::fault {

namespace {

std::atomic<int64_t> live_modules{0};

} // namespace

int64_t count_modules() noexcept
{
    return live_modules;
}

} // namespace vk::fault

namespace vk::platform {

using fault::Call;
using fault::failure_of;
using fault::must_fail;

void stock_set_limit(uint64_t bytes) noexcept
{
    backend::stock_set_limit(bytes);
}

uint64_t stock_limit() noexcept
{
    return backend::stock_limit();
}

uint64_t stock_held() noexcept
{
    return backend::stock_held();
}

bool stock_empty() noexcept
{
    return backend::stock_empty();
}

Status memory_status(MemoryStatus* status) noexcept
{
    return must_fail(Call::memory_status) ? failure_of(Call::memory_status) : backend::memory_status(status);
}

Status handle_count(uint32_t* open, uint32_t* limit) noexcept
{
    return must_fail(Call::handle_count) ? failure_of(Call::handle_count) : backend::handle_count(open, limit);
}

void set_last_error(Status status) noexcept
{
    backend::set_last_error(status);
}

Status module_open(const wchar_t* directory, const wchar_t* name, void** module) noexcept
{
    if (must_fail(Call::module_open))
        return failure_of(Call::module_open);
    const Status status = backend::module_open(directory, name, module);
    if (status == Status::ok)
        ++fault::live_modules;
    return status;
}

Status module_open_as(const wchar_t* name, void** module) noexcept
{
    if (must_fail(Call::module_open))
        return failure_of(Call::module_open);
    const Status status = backend::module_open_as(name, module);
    if (status == Status::ok)
        ++fault::live_modules;
    return status;
}

bool is_absolute_path(const wchar_t* path) noexcept
{
    return backend::is_absolute_path(path);
}

void* module_symbol(void* module, const char* symbol) noexcept
{
    return must_fail(Call::module_symbol) ? nullptr : backend::module_symbol(module, symbol);
}

void module_close(void* module) noexcept
{
    --fault::live_modules;
    backend::module_close(module);
}

Status temp_directory(wchar_t* directory, size_t length) noexcept
{
    return must_fail(Call::temp_directory) ? failure_of(Call::temp_directory)
                                           : backend::temp_directory(directory, length);
}

Status temp_name(const wchar_t* directory, const wchar_t* prefix, wchar_t* name) noexcept
{
    return must_fail(Call::temp_name) ? failure_of(Call::temp_name) : backend::temp_name(directory, prefix, name);
}

} // namespace vk::platform
