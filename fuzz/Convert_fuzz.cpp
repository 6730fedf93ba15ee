// Rows converted between all formats, in buffers of exactly the bytes that they need: what is refused stays as it was,
// what is widened comes back, and gray margins hold.
#include "fuzz/Subject.h"

#include "Vkconvert.h"
#include "Vkview.h"

#include <memory>

namespace vk::fuzz {

namespace {

constexpr int32_t kMostPixels = 300;

struct Format {
    int32_t bits;
    int32_t order;
};

Format format_from(ByteSource& source)
{
    constexpr int32_t kOrders[] = {COLORORDER_BGR,  COLORORDER_RGB,    COLORORDER_GRAY,
                                   COLORORDER_ROMM, COLORORDER_RGB565, 3};
    const int32_t bits = source.one_in(16) ? source.between(-1, 70) : source.one_of(kDepths);
    return {bits, source.one_of(kOrders)};
}

/// A row in a block of its own.
struct Row {
    std::unique_ptr<uint8_t[]> bytes;
    size_t count;

    explicit Row(size_t size) : bytes(std::make_unique<uint8_t[]>(size)), count(size) {}
    void fill(ByteSource& source)
    {
        for (size_t i = 0; i < count; ++i)
            bytes[i] = source.is_empty() ? static_cast<uint8_t>(i * 37) : source.byte();
    }
    Bytes copy() const { return {bytes.get(), bytes.get() + count}; }
};

void convert(ByteSource& source)
{
    const Format from = format_from(source), to = format_from(source);
    const int32_t width = source.between(1, kMostPixels);
    const int32_t size = V_CalcConvertSize(width, from.bits, width, to.bits);
    const uint32_t flags = source.byte();
    const int32_t low = source.between(-2, 34), high = source.between(-2, 34);
    const COLORREF transparent = source.take<uint32_t>();
    if (size < 0)
        return;
    Row row(static_cast<size_t>(size));
    row.fill(source);
    const Bytes before = row.copy();
    const int code = V_ConvertBufferExt3(row.bytes.get(), width, from.bits, to.bits, from.order, to.order, nullptr,
                                         nullptr, nullptr, nullptr, flags, low, high, transparent);
    require_known(code);
    require(code == V_SUCCESS || row.copy() == before);
}

/// Formats that hold all of another: there and back again changes nothing.
void widen(ByteSource& source)
{
    constexpr struct {
        Format narrow, wide;
    } kPairs[] = {
        {{24, COLORORDER_BGR}, {32, COLORORDER_BGR}},  {{24, COLORORDER_RGB}, {24, COLORORDER_BGR}},
        {{24, COLORORDER_BGR}, {48, COLORORDER_BGR}},  {{32, COLORORDER_BGR}, {64, COLORORDER_BGR}},
        {{16, COLORORDER_BGR}, {24, COLORORDER_BGR}},  {{8, COLORORDER_GRAY}, {24, COLORORDER_BGR}},
        {{8, COLORORDER_GRAY}, {16, COLORORDER_GRAY}}, {{12, COLORORDER_GRAY}, {16, COLORORDER_GRAY}},
    };
    const auto& pair = source.one_of(kPairs);
    const int32_t width = source.between(1, kMostPixels);
    Row row(static_cast<size_t>(V_CalcConvertSize(width, pair.narrow.bits, width, pair.wide.bits)));
    row.fill(source);
    std::vector<uint64_t> before;
    for (int32_t x = 0; x < width; ++x)
        before.push_back(pixel_of(row.bytes.get(), pair.narrow.bits, x));
    const auto go = [&](const Format& a, const Format& b) {
        require(V_ConvertBuffer(row.bytes.get(), width, a.bits, b.bits, a.order, b.order, nullptr, nullptr) ==
                V_SUCCESS);
    };
    go(pair.narrow, pair.wide);
    go(pair.wide, pair.narrow);
    const uint64_t mask = pair.narrow.bits == 16 ? 0x7FFF : ~0ull; // the top bit of 5-5-5 is nobody's
    for (int32_t x = 0; x < width; ++x)
        require(((pixel_of(row.bytes.get(), pair.narrow.bits, x) ^ before[static_cast<size_t>(x)]) & mask) == 0);
}

void mirror(ByteSource& source)
{
    const int32_t bits = source.one_of(kDepths), width = source.between(1, kMostPixels);
    Row row(static_cast<size_t>((width * bits + 7) / 8));
    row.fill(source);
    std::vector<uint64_t> before;
    for (int32_t x = 0; x < width; ++x)
        before.push_back(pixel_of(row.bytes.get(), bits, x));
    require(V_MirrorLine(row.bytes.get(), static_cast<uint32_t>(width), bits) == V_SUCCESS);
    for (int32_t x = 0; x < width; ++x)
        require(pixel_of(row.bytes.get(), bits, x) == before[static_cast<size_t>(width - 1 - x)]);
}

void pad(ByteSource& source)
{
    const auto count = static_cast<uint32_t>(source.below(64));
    Row row(2 * size_t{count});
    row.fill(source);
    const int32_t high = source.between(-1, 17), low = source.between(-1, 17), margin = source.between(-3, 900);
    require_known(V_PadPixelData(row.bytes.get(), 16, count, high, low, margin));
}

} // namespace

} // namespace vk::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    using namespace vk::fuzz;
    ByteSource source(data, size);
    switch (source.below(5)) {
    case 0:
        widen(source);
        break;
    case 1:
        mirror(source);
        break;
    case 2:
        pad(source);
        break;
    default:
        convert(source);
    }
    return 0;
}
