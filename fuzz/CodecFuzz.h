// What both codec fuzzers do: the bytes as a block, the bytes as pixels, and the packed pixels with a byte changed.
// Every buffer is of the exact size, so that sanitizers see what is touched beyond it.
#pragma once

#include "kernel/storage/codec/Codec.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <vector>

namespace vk::fuzz {

using Bytes = std::vector<uint8_t>;

inline void require(bool holds)
{
    if (!holds)
        std::abort();
}

inline bool decode(const codec::Codec& codec, const codec::Shape& shape, const Bytes& block, Bytes& rows)
{
    Bytes workspace(codec.workspace_bytes(shape), 0xA5);
    const std::unique_ptr<uint8_t[]> exact(new uint8_t[block.size()]);
    std::copy(block.begin(), block.end(), exact.get());
    rows.assign(shape.bytes(), 0x5A);
    return codec.decode(shape, exact.get(), block.size(), rows.data(), workspace.data());
}

inline void try_codec(const codec::Codec& codec, codec::Shape shape, uint32_t extra, const uint8_t* data, size_t size)
{
    shape.bytes_per_line = (shape.width * static_cast<uint32_t>(shape.bits) + 7) / 8 + extra;
    const Bytes input(data, data + size);
    Bytes rows;
    decode(codec, shape, input, rows);

    Bytes pixels(shape.bytes());
    for (size_t i = 0; i < pixels.size() && !input.empty(); ++i)
        pixels[i] = input[i % input.size()];
    Bytes workspace(codec.workspace_bytes(shape), 0xA5);
    Bytes block(pixels.size() + 2000);
    block.resize(codec.encode(shape, pixels.data(), block.data(), block.size(), workspace.data()));
    if (block.empty())
        return;
    require(decode(codec, shape, block, rows) && rows == pixels);
    if (size >= 3) {
        block[(data[0] | size_t{data[1]} << 8) % block.size()] = data[2];
        decode(codec, shape, block, rows);
    }
}

} // namespace vk::fuzz
