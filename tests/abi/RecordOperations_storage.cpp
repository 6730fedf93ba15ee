// Storage, locks and what else hangs on a record.
#include "tests/abi/RecordOperations.h"

namespace vk::testing {

namespace {

intptr_t memory_info(BITMAPHANDLE* bitmap)
{
    uint32_t memory = 0;
    int64_t tile_size = 0;
    int32_t tiles = 0;
    int32_t in_memory = 0;
    const int code = V_GetBitmapMemoryInfo(bitmap, &memory, &tile_size, &tiles, &in_memory, nullptr, nullptr);
    return code == SUCCESS ? static_cast<intptr_t>(memory + tile_size * 65536 + tiles * 16 + in_memory) : code;
}

intptr_t set_callbacks(BITMAPHANDLE* bitmap)
{
    BITMAPDATACALLBACKS none{};
    none.StructSize = sizeof none;
    return V_SetBitmapDataCallbacks(bitmap, &none);
}

intptr_t get_callbacks(BITMAPHANDLE* bitmap)
{
    BITMAPDATACALLBACKS seen{};
    const int code = V_GetBitmapDataCallbacks(bitmap, &seen, sizeof seen);
    return code == SUCCESS && seen.UserData != nullptr ? 0 : code;
}

template <uint32_t memory> intptr_t move_to(BITMAPHANDLE* bitmap)
{
    return V_SetBitmapMemoryInfo(bitmap, memory, 200, 0, 0, 0, 0, MEMORYINFO_MEMORY | MEMORYINFO_TILESIZE);
}

} // namespace

std::span<const Operation> storage_operations()
{
    static const Operation operations[] = {
        {"V_UpdateBitmapSize", plain<V_UpdateBitmapSize>, true},
        {"V_GetBitmapMemoryInfo", memory_info, true},
        {"V_ChangeBitmapHeight", [](B b) -> intptr_t { return V_ChangeBitmapHeight(b, kHeight + 3); }, true},
        {"V_GrowBitmapHeap", [](B b) -> intptr_t { return V_GrowBitmapHeap(b, 100); }, true},
        {"V_TrimBitmapHeap", plain<V_TrimBitmapHeap>, true},
        {"V_SetBitmapDataCallbacks", set_callbacks, true},
        {"V_GetBitmapDataCallbacks", get_callbacks, true},
        {"V_AllocateBitmapExtraData", [](B b) -> intptr_t { return V_AllocateBitmapExtraData(b, 77); }, true},
        {"V_FreeBitmapExtraData", plain<V_FreeBitmapExtraData>, true},
        {"V_ChangeBitmapCompression", [](B b) -> intptr_t { return V_ChangeBitmapCompression(b, 1); }, true},
        {"V_ToggleBitmapCompression", plain<V_ToggleBitmapCompression>, true},
        {"V_SetBitmapMemoryInfo (tiles)", move_to<TYPE_TILED>, true},
        {"V_SetBitmapMemoryInfo (disk)", move_to<TYPE_DISK>, true},
        {"V_SetBitmapMemoryInfo (memory)", move_to<TYPE_CONV>, true},
        {"V_SetBitmapDataPointer", [](B b) -> intptr_t { return V_SetBitmapDataPointer(b, nullptr, 0); }, true},
    };
    return operations;
}

} // namespace vk::testing
