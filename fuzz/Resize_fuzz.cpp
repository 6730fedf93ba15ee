// Resizing whole pictures, rows as they come, rows on demand and parts of rows: all ways to the same size agree.
#include "fuzz/Subject.h"

#include "Vkresample.h"
#include "Vkresize.h"

namespace vk::fuzz {

namespace {

constexpr int32_t kMostSide = 64;

/// Row by row, with V_Resize, as a writer of files does it.
Model row_by_row(BITMAPHANDLE* bitmap, int32_t width, int32_t height)
{
    const int32_t bits = bitmap->BitsPerPixel;
    void* state = nullptr;
    Model made{width, height, bits};
    require(V_StartResize(bitmap->Width, bitmap->Height, width, height, &state) == V_SUCCESS);
    require(V_AccessBitmap(bitmap) == V_SUCCESS);
    for (int32_t y = 0; y < bitmap->Height; ++y) {
        Bytes row(std::max<size_t>(bitmap->BytesPerLine, 8 * kMostSide));
        require(V_GetBitmapRow(bitmap, row.data(), y, bitmap->BytesPerLine) > 0);
        int32_t new_width = 0, copies = 0;
        require(V_Resize(row.data(), y, bits, &new_width, &copies, state) == copies && new_width == width);
        for (; copies > 0; --copies)
            for (int32_t x = 0; x < width; ++x)
                made.pixels.push_back(pixel_of(row.data(), bits, x));
    }
    require(V_ReleaseBitmap(bitmap) == V_SUCCESS);
    require(V_StopResize(state) == V_SUCCESS);
    return made;
}

/// What comes of that: row n so many times as whole rows of the result end in it.
Model emitted(const Model& from, int32_t width, int32_t height)
{
    Model made{width, height, from.bits};
    for (int64_t y = 0; y < from.height; ++y)
        for (auto copies = (y + 1) * height / from.height - y * height / from.height; copies > 0; --copies)
            for (int64_t x = 0; x < width; ++x)
                made.pixels.push_back(from.at(x * from.width / width, y));
    return made;
}

/// On demand, in pieces.
Model on_demand(BITMAPHANDLE* bitmap, int32_t width, int32_t height, uint32_t flags, ByteSource& source)
{
    void* state = nullptr;
    const int32_t bits = bitmap->BitsPerPixel;
    const int code = V_StartResizeBitmap2(bitmap, width, height, bits, nullptr, bitmap->Order, flags, nullptr, nullptr,
                                          &state, 0, 0);
    if (code != V_SUCCESS) {
        require_known(code);
        return {};
    }
    Model made{width, height, bits};
    for (int32_t y = 0; y < height; ++y)
        for (int32_t x = 0; x < width;) {
            const int32_t count = std::min(width - x, source.is_empty() ? width : source.between(1, 20));
            Bytes row((static_cast<size_t>(count) * static_cast<size_t>(bits) + 7) / 8);
            require(V_GetResizedRowCol(state, row.data(), y, x, static_cast<uint32_t>(count)) == V_SUCCESS);
            for (int32_t i = 0; i < count; ++i)
                made.pixels.push_back(pixel_of(row.data(), bits, i));
            x += count;
        }
    require(V_StopResizeBitmap(state) == V_SUCCESS);
    return made;
}

/// The top bit of 5-5-5 is nobody's.
Model without_spare(Model model, int32_t order)
{
    for (uint64_t& pixel : model.pixels)
        pixel &= model.bits == 16 && order != COLORORDER_GRAY ? 0x7FFF : ~0ull;
    return model;
}

/// Both directions of the scan line functions give the same.
void scan_lines(ByteSource& source)
{
    const int32_t bits = source.one_of(kDepths), from = source.between(1, kMostSide), to = source.between(1, kMostSide);
    const bool enlarges = to >= from;
    const int32_t quotient = from == to ? 0 : from / to, remainder = from == to ? to : from % to;
    const auto bytes = [&](int32_t pixels) { return static_cast<size_t>((pixels * bits + 7) / 8); };
    Bytes row(bytes(from)), forth(bytes(to)), back(bytes(to));
    for (uint8_t& byte : row)
        byte = source.byte();
    V_GetResizedScanLine(bits, static_cast<uint32_t>(forth.size()), 0, quotient, 0, remainder, row.data(), forth.data(),
                         to, to, enlarges);
    V_ReverseGetResizedScanLine(bits, static_cast<uint32_t>(back.size()), 0, quotient, 0, remainder, row.data(),
                                back.data(), to, to, enlarges);
    for (int32_t x = 0; x < to; ++x) {
        const uint64_t pixel = pixel_of(forth.data(), bits, x);
        require(pixel == pixel_of(back.data(), bits, x));
        require(pixel == pixel_of(row.data(), bits, static_cast<int32_t>(int64_t{x} * from / to)));
    }
}

} // namespace

} // namespace vk::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    using namespace vk::fuzz;
    const NothingStays nothing;
    ByteSource source(data, size);
    scan_lines(source);
    Subject bitmap;
    bitmap.make(source);
    const int32_t width = source.between(1, kMostSide), height = source.between(1, kMostSide);
    const uint32_t flags = source.byte() & (STREAMFLAG_AREA | STREAMFLAG_BICUBIC | STREAMFLAG_LINEAR);
    const Model before = read(bitmap);
    on_demand(bitmap, width, height, flags, source);
    const Model streamed = on_demand(bitmap, width, height, STREAMFLAG_NEAREST, source);
    const Model rows = row_by_row(bitmap, width, height);
    require(read(bitmap) == before);
    const uint32_t way = source.byte() % 64u;
    Refusals refusals(source);
    const int code = V_SizeBitmap(bitmap, width, height, way);
    refusals.stop();
    require_known(code);
    require_sound(bitmap);
    const Model after = read(bitmap);
    require(code == V_SUCCESS ? after.width == width && after.height == height : after == before);
    const Model sized = before.sized(width, height);
    require(rows == emitted(before, width, height));
    require(streamed.pixels.empty() || without_spare(streamed, bitmap->Order) == without_spare(sized, bitmap->Order));
    require(code != V_SUCCESS || way != SIZEFLAG_NORMAL || after == sized);
    return 0;
}
