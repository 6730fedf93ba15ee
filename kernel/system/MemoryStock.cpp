// The stock of freed memory as callers see it: its bound, and giving it back.
#include "kernel/system/MemoryStock.h"

#include "Vkloader.h"
#include "Vkrecord.h"
#include "platform/platform.h"

using namespace vk;

static_assert(MEMORYSTOCK_DEFAULT == kDefaultStock);

void vk::memory_stock_empty() noexcept
{
    platform::stock_empty();
}

int V_TrimMemory(void) noexcept
{
    memory_stock_empty();
    return V_SUCCESS;
}

int V_SetMemoryStock(uint64_t uBytes) noexcept
{
    platform::stock_set_limit(uBytes);
    return V_SUCCESS;
}

uint64_t V_GetMemoryStock(void) noexcept
{
    return platform::stock_limit();
}
