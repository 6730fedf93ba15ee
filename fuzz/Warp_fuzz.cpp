// Warps by matrices, corners and grids of any numbers: the canvas is as asked for, the storage and the number of
// workers make no difference, and by the nearest pixel every pixel is one of the picture's, or the fill colour.
#include "fuzz/Subject.h"

#include "Vkloader.h"
#include "Vkrotate.h"
#include "Vkwarp.h"

#include <set>

namespace vk::fuzz {

namespace {

constexpr int32_t kGridSide = 5;

struct Request {
    int kind = 0;
    V_MATRIX matrix{};
    V_POINTD points[kGridSide * kGridSide] = {};
    int32_t columns = 2, rows = 2, width = 0, height = 0, angle = 0;
    uint32_t flags = 0;

    explicit Request(ByteSource& source)
    {
        kind = source.below(5);
        flags = source.byte();
        width = source.below(70);
        height = source.below(70);
        columns = source.between(1, kGridSide);
        rows = source.between(1, kGridSide);
        angle = source.take<int16_t>();
        for (auto& row : matrix.m)
            for (double& number : row)
                number = source.number();
        if (source.byte() % 2 == 0) { // mostly affine
            matrix.m[0][2] = matrix.m[1][2] = 0;
            matrix.m[2][2] = 1;
        }
        for (V_POINTD& point : points)
            point = {source.number(), source.number()};
    }

    int run(BITMAPHANDLE* bitmap) const
    {
        switch (kind) {
        case 0:
            return V_WarpBitmap(bitmap, &matrix, width, height, flags, 0);
        case 1:
            return V_WarpBitmapCorners(bitmap, points, width, height, flags, 0);
        case 2:
            return V_WarpBitmapGrid(bitmap, points, columns, rows, width, height, flags, 0);
        case 3:
            return V_ShearBitmap(bitmap, angle % 6000, flags, 0);
        default:
            return V_RotateBitmap(bitmap, angle, flags, 0);
        }
    }
};

/// A canvas of the library's choice may be as large as the numbers are.
int refuse_large(BITMAPHANDLE*, ALLOCATEBITMAPCALLBACKDATA* data, void*)
{
    return data->Size > 1 << 20 ? Refusals::kRefused : V_SUCCESS;
}

void same(Subject& to, BITMAPHANDLE* from, uint32_t memory)
{
    to.make(memory, from->Width, from->Height, from->BitsPerPixel, from->Order, from->ViewPerspective);
    require(V_CopyBitmapData(to, from) == V_SUCCESS);
}

} // namespace

} // namespace vk::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    using namespace vk::fuzz;
    const NothingStays nothing;
    ByteSource source(data, size);
    const Request request(source);
    Subject plain, other;
    const int32_t bits = source.one_of(kDepths);
    plain.make(TYPE_CONV, source.between(1, 64), source.between(1, 64), bits, order_for(source, bits),
               source.below(8) + 1);
    plain.paint(source);
    same(other, plain, source.one_of(kMemory));
    const Model before = read(plain);
    V_SetAllocateBitmapCallback(refuse_large, nullptr, nullptr, nullptr);
    const int code = request.run(plain);
    V_SetWorkers(2);
    const int again = request.run(other);
    V_SetWorkers(1);
    V_SetAllocateBitmapCallback(nullptr, nullptr, nullptr, nullptr);
    require_known(code);
    require(code == again);
    require_sound(plain);
    require_sound(other);
    const Model after = read(plain);
    require(after == read(other));
    require(code == V_SUCCESS || after == before);
    if (code == V_SUCCESS && request.kind < 3 && (request.flags & (WARP_LINEAR | WARP_CUBIC | WARP_AREA)) == 0) {
        const std::set<uint64_t> values(before.pixels.begin(), before.pixels.end());
        std::set<uint64_t> others;
        for (const uint64_t pixel : after.pixels)
            if (!values.contains(pixel))
                others.insert(pixel);
        require(others.size() <= 1);
    }
    return 0;
}
