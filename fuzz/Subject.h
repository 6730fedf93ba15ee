// What the fuzz targets of the interface share: bitmaps of every kind made from the input, calls that meet refusals on
// the way, and what holds after any of them. Targets that include this link the breakable platform layer
// (cmake/FuzzTargets.cmake), so that the input also chooses which system call fails.
#pragma once

#include "fuzz/ByteSource.h"
#include "fuzz/Model.h"
#include "platform/fault/fault.h"

#include "Vkbitmap.h"
#include "Vkloader.h"
#include "Vkregion.h"
#include "Vksystem.h"

#include <cstring>
#include <string_view>
#include <utility>

namespace vk::fuzz {

constexpr int32_t kDepths[] = {24, 8, 1, 32, 16, 4, 12, 48, 64, 2, 3, 5, 6, 7};
constexpr uint32_t kMemory[] = {TYPE_CONV, TYPE_DISK, TYPE_TILED, TYPE_COMPRESSED, TYPE_SUPERCOMPRESSED};

inline int32_t order_for(ByteSource& source, int32_t bits)
{
    constexpr int32_t kOrders[] = {COLORORDER_BGR, COLORORDER_RGB, COLORORDER_GRAY};
    if (bits == 12)
        return COLORORDER_GRAY;
    return kOrders[source.below(bits == 8 || bits == 16 || bits == 32 ? 3 : 2)];
}

/// Refusals that the input chooses, for as long as this lives: of the status callback, of the allocation callback, or
/// of the system.
class Refusals {
public:
    static constexpr int kRefused = -4711;

    explicit Refusals(ByteSource& source)
    {
        const uint8_t kind = source.byte();
        if (kind < 0xC0)
            return;
        count_ = source.below(64);
        is_armed_ = true;
        if (kind < 0xD0)
            V_SetStatusCallback(status, this, nullptr, nullptr);
        else if (kind < 0xE0)
            V_SetAllocateBitmapCallback(allocate, this, nullptr, nullptr);
        else
            fault::arm(static_cast<uint64_t>(count_) + 1, is_persistent_ = kind >= 0xF0);
    }
    ~Refusals() { stop(); }
    Refusals(const Refusals&) = delete;
    Refusals& operator=(const Refusals&) = delete;

    void stop()
    {
        if (!is_armed_)
            return;
        fault::disarm();
        V_SetStatusCallback(nullptr, nullptr, nullptr, nullptr);
        V_SetAllocateBitmapCallback(nullptr, nullptr, nullptr, nullptr);
    }
    /// Whether something may have been refused that cannot be put right.
    bool is_persistent() const { return is_persistent_; }

private:
    static int status(int percent, void* self)
    {
        require(percent >= 0 && percent <= 100);
        return static_cast<Refusals*>(self)->count_-- > 0 ? V_SUCCESS : kRefused;
    }
    static int allocate(BITMAPHANDLE*, ALLOCATEBITMAPCALLBACKDATA*, void* self)
    {
        return static_cast<Refusals*>(self)->count_-- > 0 ? V_SUCCESS : kRefused;
    }

    int32_t count_ = 0;
    bool is_armed_ = false, is_persistent_ = false;
};

/// A code that there is: one with a text, or that of a callback.
inline void require_known(int64_t code)
{
    if (code >= 0 || code == Refusals::kRefused)
        return;
    char text[200];
    V_GetFriendlyErrorMessageA(static_cast<int>(code), text, sizeof text);
    require(code != V_ERROR_INTERNAL && std::string_view(text).find("Unrecognized") == std::string_view::npos);
}

/// What holds for the record of an allocated bitmap that nobody has locked.
inline void require_sound(BITMAPHANDLE* bitmap)
{
    const uint32_t width = static_cast<uint32_t>(bitmap->Width), bits = static_cast<uint32_t>(bitmap->BitsPerPixel);
    require(bitmap->StructSize == BITMAPHANDLE_SIZE && V_BitmapIsAllocated(bitmap));
    require(bitmap->Width > 0 && bitmap->Height > 0 && bitmap->BytesPerLine == (width * bits + 31) / 32 * 4);
    require(bitmap->ViewPerspective >= 1 && bitmap->ViewPerspective <= 8 && bitmap->LockCount == 0);
    require(bitmap->Palette == nullptr || (bitmap->Colors >= 1 && bitmap->Colors <= 256));
}

inline bool is_empty(const BITMAPHANDLE& bitmap)
{
    BITMAPHANDLE none{};
    none.StructSize = bitmap.StructSize;
    return std::memcmp(&none, &bitmap, sizeof none) == 0;
}

/// A bitmap that frees itself.
class Subject {
public:
    Subject() { record_.StructSize = BITMAPHANDLE_SIZE; }
    ~Subject() { V_FreeBitmap(&record_); }
    Subject(const Subject&) = delete;
    Subject& operator=(const Subject&) = delete;

    operator BITMAPHANDLE*() { return &record_; }
    BITMAPHANDLE* operator->() { return &record_; }
    BITMAPHANDLE& operator*() { return record_; }
    bool is_there() const { return V_BitmapIsAllocated(&record_) != 0; }

    /// A bitmap of any kind; the storage's tiles hold a few rows.
    void make(ByteSource& source, int32_t most_side = 64)
    {
        const uint32_t memory = source.one_of(kMemory);
        const int32_t bits = source.one_of(kDepths), order = order_for(source, bits);
        make(memory, source.between(1, most_side), source.between(1, most_side), bits, order, source.below(8) + 1);
        paint(source);
    }
    void make(uint32_t memory, int32_t width, int32_t height, int32_t bits, int32_t order,
              int32_t perspective = TOP_LEFT)
    {
        V_FreeBitmap(&record_);
        V_SetMemoryThresholds(0, 0, 256, 2, 2, THRESHOLD_TILESIZE | THRESHOLD_CONVTILES | THRESHOLD_CONVBUFFERS);
        require(V_CreateBitmap(&record_, BITMAPHANDLE_SIZE, memory, width, height, bits, order, nullptr, perspective,
                               nullptr, 0) == V_SUCCESS);
    }
    /// Pixels from few bytes: rows that are alike, noisy, or mixed.
    void paint(ByteSource& source)
    {
        const uint8_t kind = source.byte();
        uint64_t state = source.take<uint16_t>() + uint64_t{1};
        Bytes row(record_.BytesPerLine);
        require(V_AccessBitmap(&record_) == V_SUCCESS);
        for (int32_t y = 0; y < record_.Height; ++y) {
            for (uint8_t& byte : row) {
                state = state * 6364136223846793005u + 1442695040888963407u;
                byte = static_cast<uint8_t>(kind % 3 == 0 ? state >> 56 : kind % 3 == 1 ? kind : (state >> 60) * 17);
            }
            clear_padding(row);
            require(V_PutBitmapRow(&record_, row.data(), y, row.size()) == static_cast<intptr_t>(row.size()));
        }
        require(V_ReleaseBitmap(&record_) == V_SUCCESS);
    }

private:
    void clear_padding(Bytes& row) const
    {
        const size_t bits = static_cast<size_t>(record_.Width) * static_cast<size_t>(record_.BitsPerPixel);
        if (bits % 8 != 0 && record_.BitsPerPixel < 8)
            row[bits / 8] &= static_cast<uint8_t>(0xFF00 >> bits % 8);
        else if (bits % 8 != 0)
            row[bits / 8] &= 0x0F;
        std::fill(row.begin() + static_cast<std::ptrdiff_t>((bits + 7) / 8), row.end(), uint8_t{0});
    }

    BITMAPHANDLE record_{};
};

/// Nothing that was acquired for an input stays behind it, but for caches, which a shutdown frees.
class NothingStays {
public:
    NothingStays() { at_rest(); }
    ~NothingStays()
    {
        const fault::Live before = at_rest();
        if (before != fault::live())
            V_Shutdown();
        require(before == fault::live());
    }
    NothingStays(const NothingStays&) = delete;
    NothingStays& operator=(const NothingStays&) = delete;

private:
    static const fault::Live& at_rest()
    {
        static const fault::Live live = (V_Shutdown(), fault::live());
        return live;
    }
};

} // namespace vk::fuzz
