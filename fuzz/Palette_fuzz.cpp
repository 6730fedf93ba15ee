// Palettes of any colours: what is found is nearest, tables say what the search says, and a bitmap reduced to a palette
// has each pixel's nearest entry.
#include "fuzz/Subject.h"

#include "Vkcolorres.h"
#include "Vkpalette.h"
#include "Vkpixel.h"

#include <array>

namespace vk::fuzz {

namespace {

int distance(const RGBQUAD& a, int red, int green, int blue)
{
    const int r = a.rgbRed - red, g = a.rgbGreen - green, b = a.rgbBlue - blue;
    return r * r + g * g + b * b;
}

int nearest(const std::vector<RGBQUAD>& palette, int red, int green, int blue)
{
    int least = INT32_MAX;
    for (const RGBQUAD& entry : palette)
        least = std::min(least, distance(entry, red, green, blue));
    return least;
}

void search(const std::vector<RGBQUAD>& palette, ByteSource& source)
{
    const auto count = static_cast<uint32_t>(palette.size());
    const uint8_t red = source.byte(), green = source.byte(), blue = source.byte();
    const int32_t found = V_FindPaletteIndex(palette.data(), count, red, green, blue);
    require(found >= 0 && found < static_cast<int32_t>(count));
    require(distance(palette[static_cast<size_t>(found)], red, green, blue) == nearest(palette, red, green, blue));
}

void table(const std::vector<RGBQUAD>& palette, ByteSource& source)
{
    const auto count = static_cast<uint32_t>(palette.size());
    Refusals refusals(source);
    uint32_t* const made = V_CreateUserMatchTable(palette.data(), count);
    refusals.stop();
    for (int i = 0; made && i < 8; ++i) {
        const uint32_t color = source.take<uint16_t>() % 32768u;
        const auto channel = [&](uint32_t shift) { return static_cast<uint8_t>(color >> shift << 3); };
        require(made[color] == 1u + static_cast<uint32_t>(V_FindPaletteIndex(palette.data(), count, channel(10),
                                                                             channel(5), channel(0))));
    }
    require(V_FreeUserMatchTable(made) == V_SUCCESS);
}

int delete_object(HPALETTE palette)
{
#if defined(_WIN32)
    return DeleteObject(palette);
#else
    return V_DeletePalette(palette);
#endif
}

void objects(const std::vector<RGBQUAD>& palette, ByteSource& source)
{
    Refusals refusals(source);
    const HPALETTE object = V_CreatePalette(palette.data(), static_cast<uint32_t>(palette.size()));
    const HPALETTE copy = object ? V_DupPalette(object) : nullptr;
    refusals.stop();
    std::array<RGBQUAD, 256> entries{};
    require(!copy || V_GetPaletteEntries(copy, 0, 256, entries.data()) == palette.size());
    require(!copy || std::memcmp(entries.data(), palette.data(), sizeof(RGBQUAD) * palette.size()) == 0);
    if (copy)
        delete_object(copy);
    if (object)
        delete_object(object);
}

void reduce(std::vector<RGBQUAD> palette, ByteSource& source)
{
    Subject bitmap, made;
    bitmap.make(source.one_of(kMemory), source.between(1, 32), source.between(1, 32), 24, COLORORDER_BGR);
    bitmap.paint(source);
    for (RGBQUAD& entry : palette)
        entry.rgbReserved = 0;
    Refusals refusals(source);
    const int code = V_ColorResBitmap(bitmap, made, BITMAPHANDLE_SIZE, 8, COLORRES_NODITHER, palette.data(), nullptr,
                                      static_cast<uint32_t>(palette.size()));
    refusals.stop();
    require_known(code);
    require(code == V_SUCCESS ? made.is_there() : is_empty(*made));
    if (code != V_SUCCESS)
        return;
    const Model from = read(bitmap), to = read(made);
    for (size_t i = 0; i < from.pixels.size(); ++i) {
        const auto channel = [&](int shift) { return static_cast<int>(from.pixels[i] >> shift & 0xFF); };
        require(to.pixels[i] < palette.size());
        require(distance(palette[to.pixels[i]], channel(16), channel(8), channel(0)) ==
                nearest(palette, channel(16), channel(8), channel(0)));
    }
}

} // namespace

} // namespace vk::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    using namespace vk::fuzz;
    const NothingStays nothing;
    ByteSource source(data, size);
    std::vector<RGBQUAD> palette(static_cast<size_t>(source.one_in(64) ? 256 : source.between(1, 20)));
    const bool has_few = source.one_in(2);
    for (size_t i = 0; i < palette.size(); ++i)
        palette[i] = has_few && i > 7 ? palette[i % 8] : source.take<RGBQUAD>();
    for (int i = 0; i < 16; ++i)
        search(palette, source);
    if (source.one_in(16)) // which takes its time
        table(palette, source);
    objects(palette, source);
    reduce(palette, source);
    return 0;
}
