#include "fuzz/PictureFuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    return vk::fuzz::read_pictures(data, size, &vk::tool::read_pnm);
}
