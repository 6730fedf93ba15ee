// Foreign blocks for the codec of 1 bit, and foreign pixels that must come back. An input is a width, a number of rows
// and a form (5 bytes), then bytes that serve as a block and as pixels.
#include "fuzz/CodecFuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    constexpr size_t kHeader = 5;
    if (size < kHeader)
        return 0;
    vk::codec::Shape shape;
    shape.width = 1u + (uint32_t{data[0]} | uint32_t{data[1]} << 8) % 3000u;
    shape.rows = 1u + data[2] % 20u;
    shape.bits = 1;
    vk::fuzz::try_codec(vk::codec::kPageCodec, shape, data[4] % 9u, data + kHeader, size - kHeader);
    return 0;
}
