// Pictures for the tests of Vkkrnx.hpp.
#pragma once

#include "Vkkrnx.hpp"

#include <cstdint>
#include <vector>

namespace testing_cpp {

/// A picture with bytes all over it.
inline vk::Bitmap painted(int32_t width, int32_t height, int32_t depth, const vk::CreateOptions& options = {})
{
    vk::Bitmap picture = vk::Bitmap::create(width, height, depth, options);
    uint32_t noise = 1;
    picture.edit_rows([&](int32_t, std::span<std::byte> row) {
        const auto used = static_cast<std::size_t>(width) * static_cast<std::size_t>(depth) / 8;
        for (std::byte& byte : row.first(used))
            byte = static_cast<std::byte>((noise = noise * 1664525u + 1013904223u) >> 24);
    });
    return picture;
}

/// All rows, one after the other.
inline std::vector<std::byte> bytes_of(vk::Operations& picture)
{
    std::vector<std::byte> bytes;
    for (const std::span<const std::byte> row : picture.rows())
        bytes.insert(bytes.end(), row.begin(), row.end());
    return bytes;
}

} // namespace testing_cpp
