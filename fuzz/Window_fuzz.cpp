// Windows of any numbers: tables rise with the samples, an inverted one is the other's complement, colours go as far as
// levels do; and a bitmap shown through a window shows what the table says.
#include "fuzz/Subject.h"

#include "Vkwindow.h"

namespace vk::fuzz {

namespace {

constexpr uint32_t kMostEntries = 1024;

/// The entries in the order of the samples that they stand for.
template <class Entries> Entries in_order(const Entries& table, bool is_signed)
{
    Entries sorted = table;
    if (is_signed)
        std::rotate(sorted.begin(), sorted.begin() + static_cast<std::ptrdiff_t>((table.size() + 1) / 2), sorted.end());
    return sorted;
}

void tables(V_WINDOW window, uint32_t entries)
{
    Bytes table(entries, 0xA5), inverted(entries);
    std::vector<RGBQUAD> colors(entries);
    window.Flags &= ~WINDOWFLAG_INVERTED;
    const int code = V_FillWindowTable(table.data(), entries, &window);
    const int colored = V_FillWindowColors(colors.data(), entries, &window, {0, 255, 7, 0}, {255, 0, 7, 0});
    window.Flags |= WINDOWFLAG_INVERTED;
    require(code == V_FillWindowTable(inverted.data(), entries, &window) && code == colored);
    require_known(code);
    if (code != V_SUCCESS) {
        require(std::all_of(table.begin(), table.end(), [](uint8_t byte) { return byte == 0xA5; }));
        return;
    }
    const Bytes sorted = in_order(table, (window.Flags & WINDOWFLAG_SIGNED) != 0);
    require(std::is_sorted(sorted.begin(), sorted.end()));
    for (uint32_t i = 0; i < entries; ++i) {
        require(table[i] + inverted[i] == 255);
        require(colors[i].rgbBlue == table[i] && colors[i].rgbRed == 7 && colors[i].rgbReserved == 0);
    }
}

void picture(const V_WINDOW& window, ByteSource& source)
{
    constexpr int32_t kGrayDepths[] = {8, 12, 16, 32};
    Subject bitmap, shown;
    bitmap.make(source.one_of(kMemory), source.between(1, 24), source.between(1, 24), source.one_of(kGrayDepths),
                COLORORDER_GRAY);
    bitmap.paint(source);
    bitmap->LowBit = source.below(12);
    bitmap->HighBit = source.between(-1, 15);
    if (source.one_in(2))
        bitmap->Flags |= BITMAPFLAG_SIGNED;
    const Model before = read(bitmap);
    const bool is_colored = source.one_in(2);
    Refusals refusals(source);
    const int code = V_WindowBitmap(shown, bitmap, BITMAPHANDLE_SIZE, &window, is_colored ? 24 : 8);
    const int limits = V_GetBitmapMinMax(bitmap);
    const int set = V_SetBitmapWindow(bitmap, &window);
    refusals.stop();
    require_known(code);
    require_known(limits);
    require_known(set);
    require(read(bitmap) == before);
    require(code == V_SUCCESS ? shown.is_there() : is_empty(*shown));
    if (code != V_SUCCESS || is_colored || limits != V_SUCCESS)
        return;
    V_WINDOW counted = window;
    if (V_BitmapIsSigned(bitmap))
        counted.Flags |= WINDOWFLAG_SIGNED;
    const int32_t high = bitmap->HighBit < 0 || bitmap->HighBit >= before.bits ? before.bits - 1 : bitmap->HighBit;
    const int32_t low = std::clamp(bitmap->LowBit, 0, before.bits - 1);
    if (high < low || high - low >= 16)
        return;
    Bytes table(size_t{1} << (high - low + 1));
    require(V_FillWindowTable(table.data(), static_cast<uint32_t>(table.size()), &counted) == V_SUCCESS);
    const Model after = read(shown);
    for (size_t i = 0; i < before.pixels.size(); ++i)
        require(after.pixels[i] == table[(before.pixels[i] >> low) & (table.size() - 1)]);
}

} // namespace

} // namespace vk::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    using namespace vk::fuzz;
    const NothingStays nothing;
    ByteSource source(data, size);
    const V_WINDOW window{
        sizeof window, static_cast<uint32_t>(source.below(4)), source.byte() % 5u, 0, source.number(), source.number()};
    tables(window, static_cast<uint32_t>(source.below(kMostEntries + 1)));
    picture(window, source);
    return 0;
}
