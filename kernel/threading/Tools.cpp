// The processor count, the look-up of the system's locks, atomic counters, and the entry to the thread pool.
//
// What is found out once stays for the life of the process.
#include "kernel/threading/Tools.h"

#include "Vkrecord.h"
#include "Vkthreading.h"
#include "kernel/threading/Once.h"
#include "platform/platform.h"

#include <algorithm>

namespace vk {

namespace {

constinit Once g_locks_once;
constinit Once g_processors_once;
constinit uint32_t g_processors = 0;

} // namespace

void prepare_locks() noexcept
{
    g_locks_once.run([]() noexcept { platform::lock_look_up(); });
}

uint32_t count_processors() noexcept
{
    return std::max(platform::processor_count(), 1u);
}

} // namespace vk

using namespace vk;

VKThreadPool::VKThreadPool() noexcept = default;
VKThreadPool::VKThreadPool(const VKThreadPool&) noexcept = default;
VKThreadPool& VKThreadPool::operator=(const VKThreadPool&) noexcept = default;
VKThreadPool::~VKThreadPool() = default;

int VKThreadPool::QueueUserWorkItem(VKTHREADROUTINE routine, void* parameter, uint32_t flags) noexcept
{
    if (routine == nullptr)
        return -1;
    const Status status = (flags & VKPOOL_NEWTHREAD) != 0
                              ? platform::thread_start(routine, parameter)
                              : platform::pool_queue(routine, parameter, (flags & VKPOOL_LONGRUNNING) != 0, nullptr);
    return status == Status::ok ? 1 : -1;
}

VKThreadToolsManaged::VKThreadToolsManaged() noexcept = default;
VKThreadToolsManaged::VKThreadToolsManaged(const VKThreadToolsManaged&) noexcept = default;
VKThreadToolsManaged& VKThreadToolsManaged::operator=(const VKThreadToolsManaged&) noexcept = default;
VKThreadToolsManaged::~VKThreadToolsManaged() = default;

uint32_t VKThreadToolsManaged::GetCoreCount() noexcept
{
    g_processors_once.run([]() noexcept { g_processors = count_processors(); });
    return g_processors;
}

VKThreadToolsUnmanaged::VKThreadToolsUnmanaged() noexcept
{
    prepare_locks();
}

VKThreadToolsUnmanaged::VKThreadToolsUnmanaged(const VKThreadToolsUnmanaged&) noexcept = default;
VKThreadToolsUnmanaged& VKThreadToolsUnmanaged::operator=(const VKThreadToolsUnmanaged&) noexcept = default;
VKThreadToolsUnmanaged::~VKThreadToolsUnmanaged() = default;

int32_t VKThreadToolsUnmanaged::_InterlockedIncrement(volatile int32_t* pValue) noexcept
{
    return __atomic_add_fetch(pValue, 1, __ATOMIC_SEQ_CST);
}

int32_t VKThreadToolsUnmanaged::_InterlockedDecrement(volatile int32_t* pValue) noexcept
{
    return __atomic_sub_fetch(pValue, 1, __ATOMIC_SEQ_CST);
}
