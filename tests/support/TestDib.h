// DIBs for tests: built field by field, as other programs would build them, and blocks that free themselves.
#pragma once

#include "Vkdib.h"
#include "tests/support/TestBitmap.h"

namespace vk::testing {

constexpr uint32_t code_of(const char* text)
{
    uint32_t code = 0;
    for (int i = 3; i >= 0; --i)
        code = code << 8 | static_cast<unsigned char>(text[i]);
    return code;
}

constexpr size_t stride_of(int32_t width, int32_t bits)
{
    return static_cast<size_t>((int64_t{width} * bits + 31) / 32 * 4);
}

template <class Value> Value value_at(const Bytes& bytes, size_t at)
{
    Value value{};
    EXPECT_LE(at + sizeof value, bytes.size());
    if (at + sizeof value <= bytes.size())
        std::memcpy(&value, bytes.data() + at, sizeof value);
    return value;
}

template <class Value> void put(Bytes& bytes, size_t at, Value value)
{
    bytes.resize(std::max(bytes.size(), at + sizeof value));
    std::memcpy(bytes.data() + at, &value, sizeof value);
}

inline void append(Bytes& bytes, const Bytes& more)
{
    bytes.insert(bytes.end(), more.begin(), more.end());
}

inline Bytes random_bytes(TestRandom& random, size_t count)
{
    Bytes bytes(count);
    random.fill(bytes.data(), count);
    return bytes;
}

/// What a DIB is made of; the defaults make a plain one of 24 bits.
struct DibParts {
    uint32_t size = 40;
    int32_t width = 3;
    int32_t height = 2;
    uint16_t planes = 1;
    uint16_t bits = 24;
    uint32_t compression = BI_RGB;
    uint32_t image_bytes = 0;
    int32_t x_per_metre = 3937;
    int32_t y_per_metre = 7874;
    uint32_t colors_used = 0;
    std::vector<uint32_t> masks = {}; ///< written behind the header
    Bytes table = {};
    Bytes pixels = {};

    /// A plain one with random pixels and colours.
    static DibParts random(TestRandom& random, uint32_t size, uint16_t bits, int32_t width, int32_t height)
    {
        DibParts dib{size, width, height, 1, bits};
        dib.table = random_bytes(random, bits <= 8 ? (size_t{1} << bits) * (size == 12 ? 3 : 4) : 0);
        dib.pixels = random_bytes(random, dib.image());
        return dib;
    }
    /// One of 8 or 4 bits in run lengths.
    static DibParts runs(uint16_t bits, int32_t width, int32_t height, const Bytes& data)
    {
        DibParts dib{40,
                     width,
                     height,
                     1,
                     bits,
                     static_cast<uint32_t>(bits == 8 ? BI_RLE8 : BI_RLE4),
                     static_cast<uint32_t>(data.size())};
        dib.table = Bytes((size_t{1} << bits) * 4, 7);
        dib.pixels = data;
        return dib;
    }

    Bytes header() const
    {
        Bytes bytes(size);
        put(bytes, 0, size);
        if (size == 12) {
            put(bytes, 4, static_cast<uint16_t>(width));
            put(bytes, 6, static_cast<uint16_t>(height));
            put(bytes, 8, planes);
            put(bytes, 10, bits);
            return bytes;
        }
        const uint32_t fields[] = {static_cast<uint32_t>(width),
                                   static_cast<uint32_t>(height),
                                   planes | uint32_t{bits} << 16,
                                   compression,
                                   image_bytes,
                                   static_cast<uint32_t>(x_per_metre),
                                   static_cast<uint32_t>(y_per_metre),
                                   colors_used};
        std::memcpy(bytes.data() + 4, fields, sizeof fields);
        return bytes;
    }
    /// Header, masks and colour table.
    Bytes head() const
    {
        Bytes bytes = header();
        for (const uint32_t mask : masks)
            put(bytes, bytes.size(), mask);
        append(bytes, table);
        return bytes;
    }
    Bytes packed() const
    {
        Bytes bytes = head();
        append(bytes, pixels);
        return bytes;
    }
    size_t image() const { return stride_of(width, bits) * static_cast<size_t>(height < 0 ? -height : height); }
    /// V_ConvertFromDIB of it.
    int convert(BITMAPHANDLE* bitmap) const
    {
        const Bytes bytes = head();
        return V_ConvertFromDIB(bitmap, bitmap->StructSize, reinterpret_cast<const BITMAPINFO*>(bytes.data()),
                                pixels.data());
    }
};

/// The contents of a block.
inline Bytes contents(HGLOBAL handle)
{
    const auto* data = static_cast<const uint8_t*>(GlobalLock(handle));
    EXPECT_NE(nullptr, data);
    const Bytes bytes = data ? Bytes(data, data + GlobalSize(handle)) : Bytes();
    GlobalUnlock(handle);
    return bytes;
}

/// A movable block, freed at the end unless it was let go.
class DibBlock {
public:
    explicit DibBlock(const Bytes& bytes) : handle_(GlobalAlloc(GMEM_MOVEABLE, bytes.size()))
    {
        if (void* const data = handle_ ? GlobalLock(handle_) : nullptr) {
            std::memcpy(data, bytes.data(), bytes.size());
            GlobalUnlock(handle_);
        }
    }
    explicit DibBlock(HGLOBAL handle) : handle_(handle) {}
    ~DibBlock()
    {
        if (handle_)
            GlobalFree(handle_);
    }
    DibBlock(const DibBlock&) = delete;
    DibBlock& operator=(const DibBlock&) = delete;

    HGLOBAL get() const { return handle_; }
    HGLOBAL let_go() { return std::exchange(handle_, nullptr); }
    int change(BITMAPHANDLE* bitmap) const { return V_ChangeFromDIB(bitmap, bitmap->StructSize, handle_); }

private:
    HGLOBAL handle_;
};

/// The display's resolution, as the library should see it.
inline int32_t display_dpi(bool vertical)
{
#if defined(_WIN32)
    HDC const screen = GetDC(nullptr);
    const int metre = MulDiv(GetDeviceCaps(screen, vertical ? VERTRES : HORZRES), 1000,
                             GetDeviceCaps(screen, vertical ? VERTSIZE : HORZSIZE));
    ReleaseDC(nullptr, screen);
    return (metre * 254 + 5000) / 10000;
#else
    return vertical ? 96 : 96;
#endif
}

} // namespace vk::testing
