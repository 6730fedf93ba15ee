#include "tests/endurance/Tasks.h"

#include "Vkkrnx.h"

#include <array>
#include <cstring>
#include <iterator>
#include <vector>

namespace vk::endurance {

namespace {

using testing::TestRandom;
using Bytes = std::vector<uint8_t>;

class Bitmap {
public:
    ~Bitmap() { V_FreeBitmap(&record_); }
    Bitmap() { record_.StructSize = BITMAPHANDLE_SIZE; }
    Bitmap(const Bitmap&) = delete;
    Bitmap& operator=(const Bitmap&) = delete;
    operator BITMAPHANDLE*() { return &record_; }
    BITMAPHANDLE* operator->() { return &record_; }

    bool make(uint32_t memory, int32_t width, int32_t height, int32_t bits, int32_t order)
    {
        V_SetMemoryThresholds(0, 0, 1000, 2, 2, THRESHOLD_TILESIZE | THRESHOLD_CONVTILES | THRESHOLD_CONVBUFFERS);
        return V_CreateBitmap(&record_, BITMAPHANDLE_SIZE, memory, width, height, bits, order, nullptr, TOP_LEFT,
                              nullptr, 0) == V_SUCCESS;
    }
    bool paint(TestRandom& random)
    {
        Bytes row(record_.BytesPerLine);
        bool is_right = V_AccessBitmap(&record_) == V_SUCCESS;
        const size_t bits = static_cast<size_t>(record_.Width) * static_cast<size_t>(record_.BitsPerPixel);
        for (int32_t y = 0; y < record_.Height; ++y) {
            if (y % 3 != 2)
                random.fill(row.data(), row.size());
            if (bits % 8 != 0)
                row[bits / 8] &= static_cast<uint8_t>(record_.BitsPerPixel == 12 ? 0x0F : 0xFF00 >> bits % 8);
            std::fill(row.begin() + static_cast<std::ptrdiff_t>((bits + 7) / 8), row.end(), uint8_t{0});
            is_right &= V_PutBitmapRow(&record_, row.data(), y, row.size()) > 0;
        }
        return V_ReleaseBitmap(&record_) == V_SUCCESS && is_right;
    }
    /// FNV-1a over form and stored pixels; 0 when they cannot be read.
    uint64_t checksum()
    {
        uint64_t sum = 14695981039346656037u;
        const auto add = [&](uint64_t value) { sum = (sum ^ value) * 1099511628211u; };
        for (const int32_t number : {record_.Width, record_.Height, record_.BitsPerPixel, record_.Order})
            add(static_cast<uint32_t>(number));
        Bytes row(record_.BytesPerLine);
        if (V_AccessBitmap(&record_) != V_SUCCESS)
            return 0;
        for (int32_t y = 0; y < record_.Height; ++y) {
            if (V_GetBitmapRow(&record_, row.data(), y, row.size()) <= 0)
                sum = 0;
            for (const uint8_t byte : row)
                add(byte);
        }
        V_ReleaseBitmap(&record_);
        return sum;
    }

private:
    BITMAPHANDLE record_{};
};

constexpr int32_t kDepths[] = {1, 4, 8, 12, 16, 24, 32, 48, 64};
constexpr uint32_t kMemory[] = {TYPE_CONV, TYPE_TILED, TYPE_DISK, TYPE_COMPRESSED, TYPE_SUPERCOMPRESSED};

template <class Value, size_t count> Value one_of(const Value (&values)[count], TestRandom& random)
{
    return values[random.below(count)];
}

/// The same picture twice, in memory and in storage of any kind.
struct Pair {
    Bitmap plain, other;
    int32_t workers = 1; ///< on the other one

    bool make(TestRandom& random, int32_t bits = 0)
    {
        workers = random.one_in(8) ? 2 : 1;
        const int32_t depth = bits != 0 ? bits : one_of(kDepths, random);
        const int32_t order = depth == 12 ? COLORORDER_GRAY : COLORORDER_BGR;
        const int32_t width = random.between(1, 90), height = random.between(1, 60);
        return plain.make(TYPE_CONV, width, height, depth, order) && plain.paint(random) &&
               other.make(one_of(kMemory, random), width, height, depth, order) &&
               V_CopyBitmapData(other, plain) == V_SUCCESS;
    }
    bool agree() { return plain.checksum() != 0 && plain.checksum() == other.checksum(); }
    /// Does the same to both, to the second one now and then with two workers, for whom waiting takes longest.
    template <class Call> bool both(Call&& call)
    {
        const auto first = call(plain);
        V_SetWorkers(workers);
        const auto second = call(other);
        V_SetWorkers(1);
        return first == second && agree();
    }
};

/// What undoes itself when it is done so often.
template <auto call, int times> bool undoes_itself(TestRandom& random)
{
    Pair pair;
    if (!pair.make(random))
        return false;
    const uint64_t before = pair.plain.checksum();
    for (int i = 0; i < times; ++i)
        if (!pair.both(call))
            return false;
    return pair.plain.checksum() == before;
}

int flip(BITMAPHANDLE* bitmap)
{
    return V_FlipBitmap(bitmap);
}
int mirror(BITMAPHANDLE* bitmap)
{
    return V_ReverseBitmap(bitmap);
}
int quarter(BITMAPHANDLE* bitmap)
{
    return V_RotateBitmap90(bitmap, 1);
}

bool size(TestRandom& random)
{
    Pair pair;
    const int32_t width = random.between(1, 120), height = random.between(1, 120);
    const auto flags = static_cast<uint32_t>(random.below(64));
    return pair.make(random) && pair.both([&](BITMAPHANDLE* b) { return V_SizeBitmap(b, width, height, flags); });
}

bool rotate(TestRandom& random)
{
    Pair pair;
    const int32_t angle = random.between(-36000, 36000);
    const auto flags = static_cast<uint32_t>(random.below(8));
    return pair.make(random) && pair.both([&](BITMAPHANDLE* b) { return V_RotateBitmap(b, angle, flags, 0xFF8000); });
}

bool warp(TestRandom& random)
{
    Pair pair;
    const V_MATRIX matrix{{{1.1, 0.2, 0.0005}, {-0.3, 0.9, 0}, {random.between(-9, 9) / 2.0, 3, 1}}};
    const auto flags = static_cast<uint32_t>(random.below(32));
    return pair.make(random) && pair.both([&](BITMAPHANDLE* b) { return V_WarpBitmap(b, &matrix, 70, 50, flags, 0); });
}

bool change_colors(TestRandom& random)
{
    Pair pair;
    const int32_t bits = one_of(kDepths, random);
    const uint32_t flags = random.one_in(3) && bits <= 8 ? COLORRES_PALETTE_OPTIMIZED : COLORRES_PALETTE_DEFAULT;
    return pair.make(random) && pair.both([&](BITMAPHANDLE* b) {
        return V_ColorResBitmap(b, nullptr, 0, bits, flags, nullptr, nullptr, 0);
    });
}

bool combine(TestRandom& random)
{
    Pair to, from;
    const auto operation = static_cast<uint32_t>(random.below(23));
    const int32_t col = random.between(-20, 60), row = random.between(-20, 40);
    if (!to.make(random) || !from.make(random, to.plain->BitsPerPixel))
        return false;
    bool first = true; // the sources take turns, too
    return to.both([&](BITMAPHANDLE* b) {
        Bitmap& source = first ? from.other : from.plain;
        first = false;
        return V_CombineBitmap(b, col, row, 60, 40, source, 2, 3, operation);
    });
}

bool blend(TestRandom& random)
{
    Pair to, from;
    const auto mode = static_cast<uint32_t>(random.below(24));
    return to.make(random, 32) && from.make(random, 32) && to.both([&](BITMAPHANDLE* b) {
        return V_BlendBitmap(b, 3, 3, 60, 40, from.other, 0, 0, nullptr, 0, 0, mode, 40000);
    });
}

bool fill(TestRandom& random)
{
    Pair pair;
    const RECT ellipse{5, 5, 60, 40};
    const auto color = static_cast<COLORREF>(random.below(0x1000000));
    return pair.make(random) && pair.both([&](BITMAPHANDLE* b) {
        int code = V_SetBitmapRegionEllipse(b, &ellipse, REGION_SET);
        if (code == V_SUCCESS)
            code = V_FillBitmap(b, color);
        V_FreeBitmapRegion(b);
        return code == V_SUCCESS ? V_FloodFillBitmap(b, 0, 0, color ^ 0xFFFFFF, 0, 20, FLOOD_EIGHT) : code;
    });
}

bool scramble(TestRandom& random)
{
    Pair pair;
    if (!pair.make(random))
        return false;
    const uint64_t before = pair.plain.checksum();
    const auto toggle = [](BITMAPHANDLE* b) { return V_ScrambleBitmap(b, b, 0, 2, 2, 50, 30, 42, SCRAMBLE_HIDE); };
    return pair.both(toggle) && pair.both(toggle) && pair.plain.checksum() == before;
}

bool move_storage(TestRandom& random)
{
    Pair pair;
    if (!pair.make(random))
        return false;
    for (int i = 0; i < 3; ++i) {
        const uint32_t memory = one_of(kMemory, random);
        V_SetBitmapMemoryInfo(pair.other, memory, 700, 0, 1, 0, 1,
                              MEMORYINFO_MEMORY | MEMORYINFO_TILESIZE | MEMORYINFO_CONVTILES);
        if (!pair.agree())
            return false;
    }
    return true;
}

bool exchange(TestRandom& random)
{
    Bitmap from, back;
    const int32_t width = random.between(1, 90), height = random.between(1, 60);
    if (!from.make(one_of(kMemory, random), width, height, 24, COLORORDER_BGR) || !from.paint(random))
        return false;
    const HGLOBAL dib = V_ConvertToDIB(from, DIB_V5HEADER);
    if (!dib || V_ChangeFromDIB(back, BITMAPHANDLE_SIZE, dib) != V_SUCCESS)
        return false;
    return V_ChangeBitmapViewPerspective(nullptr, back, 0, TOP_LEFT) == V_SUCCESS && back.checksum() == from.checksum();
}

bool yuv(TestRandom& random)
{
    Pair pair;
    if (!pair.make(random, 24))
        return false;
    std::array<Bytes, 2> samples;
    size_t which = 0;
    return pair.both([&](BITMAPHANDLE* b) {
        V_YUVPICTURE picture{sizeof picture, 0x3231564E, b->Width, b->Height, 0, 0, 0, 0, {}, {}, {}}; // NV12
        samples[which].resize(static_cast<size_t>(V_GetYuvSize(&picture)));
        picture.Planes[0] = samples[which++].data();
        return V_BitmapToYuv(b, &picture);
    }) && samples[0] == samples[1];
}

bool list(TestRandom& random)
{
    Bitmap bitmap;
    HBITMAPLIST items = nullptr, copies = nullptr;
    if (!bitmap.make(one_of(kMemory, random), 40, 30, 8, COLORORDER_BGR) || !bitmap.paint(random))
        return false;
    const uint64_t before = bitmap.checksum();
    bool is_right = V_CreateBitmapList(&items) == V_SUCCESS && V_InsertBitmapListItem(items, 0, bitmap) == V_SUCCESS &&
                    V_CopyBitmapListItems(&copies, items, 0, 1) == V_SUCCESS &&
                    V_RemoveBitmapListItem(items, 0, bitmap) == V_SUCCESS;
    Bitmap copy;
    is_right = is_right && V_RemoveBitmapListItem(copies, 0, copy) == V_SUCCESS && copy.checksum() == before;
    V_DestroyBitmapList(copies);
    V_DestroyBitmapList(items);
    return is_right;
}

bool overlays(TestRandom& random)
{
    Pair pair, mark;
    if (!pair.make(random, 24) || !mark.make(random, 1))
        return false;
    return pair.both([&](BITMAPHANDLE* b) {
        const int code = V_SetBitmapOverlay(b, 2, mark.other, OVERLAY_COPY);
        return code == V_SUCCESS ? V_FlattenBitmapOverlays(nullptr, b, 0) : code;
    });
}

bool huge_memory(TestRandom& random)
{
    HHUGEMEMORY block = nullptr;
    void* data = nullptr;
    const uint64_t place = random.below(150000);
    std::array<uint8_t, 1000> bytes;
    random.fill(bytes.data(), bytes.size());
    if (V_AllocHugeMemory(&block, 200000, random.one_in(2) ? TYPE_DISK : TYPE_CONV) != V_SUCCESS)
        return false;
    bool is_right = V_AccessHugeMemory(block, place, bytes.size(), &data) == V_SUCCESS;
    if (is_right)
        std::memcpy(data, bytes.data(), bytes.size());
    is_right = is_right && V_AccessHugeMemory(block, 0, 10, &data) == V_SUCCESS &&
               V_AccessHugeMemory(block, place, bytes.size(), &data) == V_SUCCESS &&
               std::memcmp(data, bytes.data(), bytes.size()) == 0;
    return V_FreeHugeMemory(block) == V_SUCCESS && is_right;
}

bool buffer(TestRandom& random)
{
    void* redirection = nullptr;
    V_REDIRECTHANDLE file = nullptr;
    Bytes bytes(static_cast<size_t>(random.between(1, 20000)));
    random.fill(bytes.data(), bytes.size());
    if (V_StartRedirectToBuffer(&redirection, &file, REDIRECTBUFFER_GROW | REDIRECTBUFFER_WRITE, nullptr, 0) !=
        V_SUCCESS)
        return false;
    const auto count = static_cast<int64_t>(bytes.size());
    bool is_right = V_RedirectedWriteBig(file, bytes.data(), bytes.size()) == count;
    is_right &= V_RedirectedClose(file) >= 0;
    void* data = nullptr;
    size_t size_of_data = 0;
    is_right &= V_StopRedirectToBuffer(redirection, &data, &size_of_data) == V_SUCCESS && size_of_data == bytes.size();
    is_right = is_right && std::memcmp(data, bytes.data(), bytes.size()) == 0;
    if (const HGLOBAL block = data ? GlobalHandle(data) : nullptr) {
        GlobalUnlock(block);
        GlobalFree(block);
    }
    return is_right;
}

/// A callback that stops an operation: the picture is as it was.
bool cancel(TestRandom& random)
{
    Pair pair;
    if (!pair.make(random))
        return false;
    auto left = random.between(0, 40);
    const auto stop = [](int, void* count) { return --*static_cast<int32_t*>(count) > 0 ? V_SUCCESS : -4711; };
    V_SetStatusCallback(stop, &left, nullptr, nullptr);
    const int code = V_SizeBitmap(pair.other, 50, 120, SIZEFLAG_RESAMPLE);
    V_SetStatusCallback(nullptr, nullptr, nullptr, nullptr);
    return code == V_SUCCESS ? pair.other->Height == 120 : code == -4711 && pair.agree();
}

} // namespace

const NamedTask kTasks[] = {
    {"flip", undoes_itself<flip, 2>},
    {"mirror", undoes_itself<mirror, 2>},
    {"quarter turns", undoes_itself<quarter, 4>},
    {"size", size},
    {"rotate", rotate},
    {"warp", warp},
    {"colours", change_colors},
    {"combine", combine},
    {"blend", blend},
    {"fill", fill},
    {"scramble", scramble},
    {"storage", move_storage},
    {"DIB", exchange},
    {"YUV", yuv},
    {"list", list},
    {"overlays", overlays},
    {"huge memory", huge_memory},
    {"buffer", buffer},
    {"cancel", cancel},
};
const int kTaskCount = static_cast<int>(std::size(kTasks));

} // namespace vk::endurance
