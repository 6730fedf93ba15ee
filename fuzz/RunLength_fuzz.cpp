// Run-length rows from anyone: whatever the words, readers stay within bounds and the fast forms give what the plain
// ones give; what a bitmap makes of a row it was handed can be read back as the pixels the row stands for.
//
// An input is a bit offset, a width, a start and a count of rows (8 bytes), then bytes that serve as pixels, as the
// words of a row, and as a row with a count of its own.
#include "Vkkrnx.h"
#include "kernel/runs/RunLength.h"
#include "simd/Level.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace rl = vk::runlength;

namespace {

using Bytes = std::vector<uint8_t>;

struct Input {
    uint32_t offset = 0;
    uint32_t width = 0;
    uint32_t start = 0;
    uint32_t rows = 0;
    Bytes bytes;
};

void require(bool holds)
{
    if (!holds)
        std::abort();
}

Bytes row_from(const uint8_t* words, size_t count)
{
    Bytes row(4 + 2 * count);
    const auto n = static_cast<uint32_t>(count);
    std::memcpy(row.data(), &n, sizeof n);
    if (count != 0)
        std::memcpy(row.data() + 4, words, 2 * count);
    return row;
}

size_t pixel_bytes(uint32_t pixels)
{
    return (size_t{pixels} + 7) / 8;
}

Bytes expanded(const Bytes& row, uint32_t start, uint32_t pixels)
{
    Bytes out(pixel_bytes(pixels) + 1, 0xA5);
    rl::expand_plain(row.data(), out.data(), start, pixels);
    require(out.back() == 0xA5);
    out.pop_back();
    Bytes fast(out.size(), 0xA5);
    rl::expand(row.data(), fast.data(), start, pixels);
    require(fast == out);
    return out;
}

Bytes compressed(const Bytes& pixels, uint32_t offset, uint32_t count)
{
    Bytes plain(rl::max_row_bytes(count));
    plain.resize(rl::compress_plain(plain.data(), pixels.data(), offset, count));
    Bytes fast(plain.size());
    for (const vk::simd::Level level : {vk::simd::Level::base, vk::simd::Level::avx2, vk::simd::Level::avx512}) {
        vk::simd::limit_level(level);
        require(rl::compress(fast.data(), pixels.data(), offset, count) == plain.size() && fast == plain);
    }
    require(rl::measure(pixels.data(), offset, count) == plain.size());
    require(rl::covered(plain.data(), UINT32_MAX) == count);
    return plain;
}

void try_pixels(const Input& input)
{
    const auto available = static_cast<uint32_t>(8 * input.bytes.size());
    if (available <= input.offset)
        return;
    const uint32_t count = std::min(input.width, available - input.offset);
    const Bytes pixels(input.bytes.begin(),
                       input.bytes.begin() + static_cast<std::ptrdiff_t>(pixel_bytes(input.offset + count)));
    const Bytes row = compressed(pixels, input.offset, count);
    Bytes back = pixels;
    require(rl::overlay(row.data(), back.data(), input.offset, count) == count && back == pixels);
}

void try_mirror(const Bytes& row, uint32_t width)
{
    Bytes mirrored = row;
    mirrored.resize(row.size() + 2);
    if (!rl::mirror(mirrored.data(), width)) {
        require(std::equal(row.begin(), row.end(), mirrored.begin()));
        return;
    }
    const Bytes before = expanded(row, 0, width);
    mirrored.resize(rl::row_bytes(rl::word_count(mirrored.data())));
    const Bytes after = expanded(mirrored, 0, width);
    for (uint32_t i = 0; i < width; ++i) {
        const uint32_t k = width - 1 - i;
        require((before[i / 8] >> (7 - i % 8) & 1) == (after[k / 8] >> (7 - k % 8) & 1));
    }
}

void try_row(const Input& input)
{
    const Bytes row = row_from(input.bytes.data(), input.bytes.size() / 2);
    expanded(row, input.start, input.width);
    const Bytes pixels = expanded(row, 0, input.width);
    const uint32_t covered = rl::covered(row.data(), input.width);
    Bytes over(pixel_bytes(input.offset + covered), 0xFF);
    require(rl::overlay(row.data(), over.data(), input.offset, input.width) == covered);
    if (rl::is_canonical(row.data(), input.width))
        require(compressed(pixels, 0, input.width) == row);
    try_mirror(row, input.width);
}

/// Rows of the input's bytes back to back, flipped twice.
void try_flip(const Input& input)
{
    Bytes rows;
    const size_t share = input.bytes.size() / 2 / (input.rows + 1);
    for (uint32_t i = 0; i <= input.rows; ++i) {
        const Bytes row = row_from(input.bytes.data() + 2 * i * share, share / (1 + i % 3));
        rows.insert(rows.end(), row.begin(), row.end());
    }
    const Bytes before = rows;
    for (int twice = 0; twice < 2; ++twice)
        require(V_FlipCompressedBuffer(rows.data(), static_cast<int32_t>(input.rows + 1)) == SUCCESS);
    require(rows == before);
}

/// The input's bytes as a row with a count of their own, put into a bitmap.
void try_bitmap(const Input& input, uint32_t memory)
{
    BITMAPHANDLE bitmap = {};
    const int32_t width = 1 + static_cast<int32_t>(input.width % 5000);
    const int32_t column = static_cast<int32_t>(input.start) % width;
    if (V_CreateBitmap(&bitmap, BITMAPHANDLE_SIZE, memory, width, 3, 1, COLORORDER_RGB, nullptr, TOP_LEFT, nullptr,
                       0) != SUCCESS)
        return;
    V_AccessBitmap(&bitmap);
    const Bytes& row = input.bytes;
    const size_t needed = row.size() < 4 ? SIZE_MAX : rl::row_bytes(rl::word_count(row.data()));
    const intptr_t wanted = needed > row.size() ? V_ERROR_BUFFER_TOO_SMALL : static_cast<intptr_t>(needed);
    const uint8_t none = 0;
    const uint8_t* const data = row.empty() ? &none : row.data();
    require(V_PutBitmapRowCompressed(&bitmap, data, 1, row.size()) == wanted);
    require(V_PutBitmapRowColCompressed(&bitmap, data, 2, column, row.size()) == wanted);
    Bytes out(rl::max_row_bytes(static_cast<uint32_t>(width)));
    const intptr_t got = V_GetBitmapRowCompressed(&bitmap, out.data(), 1, out.size());
    require(got >= 4);
    out.resize(static_cast<size_t>(got));
    if (wanted > 0)
        require(out == compressed(expanded(row, 0, static_cast<uint32_t>(width)), 0, static_cast<uint32_t>(width)));
    V_ReleaseBitmap(&bitmap);
    V_FreeBitmap(&bitmap);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    constexpr size_t kHeader = 8;
    if (size < kHeader)
        return 0;
    Input input;
    uint16_t width = 0;
    uint16_t start = 0;
    std::memcpy(&width, data + 2, sizeof width);
    std::memcpy(&start, data + 4, sizeof start);
    input.offset = data[0] % 8;
    const uint32_t scale = data[1] % 8u; // mostly short rows, which are quick, but also some past one and two run words
    input.width = scale < 5 ? width % 2048u : width * (scale - 4);
    input.start = start;
    input.rows = data[6] % 16;
    input.bytes.assign(data + kHeader, data + size);
    try_pixels(input);
    try_row(input);
    try_flip(input);
    try_bitmap(input, TYPE_COMPRESSED);
    try_bitmap(input, TYPE_CONV);
    return 0;
}
