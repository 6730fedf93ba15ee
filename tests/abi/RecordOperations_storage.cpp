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

const Family storage_operations = {
    {"V_UpdateBitmapSize", plain<V_UpdateBitmapSize>},
    {"V_GetBitmapMemoryInfo", memory_info},
    {"V_ChangeBitmapHeight", [](B b) -> intptr_t { return V_ChangeBitmapHeight(b, kHeight + 3); }},
    {"V_GrowBitmapHeap", [](B b) -> intptr_t { return V_GrowBitmapHeap(b, 100); }},
    {"V_TrimBitmapHeap", plain<V_TrimBitmapHeap>},
    {"V_SetBitmapDataCallbacks", set_callbacks},
    {"V_GetBitmapDataCallbacks", get_callbacks},
    {"V_AllocateBitmapExtraData", [](B b) -> intptr_t { return V_AllocateBitmapExtraData(b, 77); }},
    {"V_FreeBitmapExtraData", plain<V_FreeBitmapExtraData>},
    {"V_ChangeBitmapCompression", [](B b) -> intptr_t { return V_ChangeBitmapCompression(b, 1); }},
    {"V_ToggleBitmapCompression", plain<V_ToggleBitmapCompression>},
    {"V_SetBitmapMemoryInfo (tiles)", move_to<TYPE_TILED>},
    {"V_SetBitmapMemoryInfo (disk)", move_to<TYPE_DISK>},
    {"V_SetBitmapMemoryInfo (memory)", move_to<TYPE_CONV>},
    {"V_SetBitmapDataPointer", [](B b) -> intptr_t { return V_SetBitmapDataPointer(b, nullptr, 0); }},
};

} // namespace vk::testing
