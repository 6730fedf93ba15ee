// DIBs for tests: built field by field, as other programs would build them, and blocks that free themselves.
#pragma once

#include "Vkdib.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace vk::testing {

using Bytes = std::vector<uint8_t>;

constexpr uint32_t code_of(const char* text)
{
    return static_cast<uint32_t>(static_cast<unsigned char>(text[0])) | static_cast<uint32_t>(text[1]) << 8 |
           static_cast<uint32_t>(text[2]) << 16 | static_cast<uint32_t>(text[3]) << 24;
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
    if (bytes.size() < at + sizeof value)
        bytes.resize(at + sizeof value);
    std::memcpy(bytes.data() + at, &value, sizeof value);
}

inline void append(Bytes& bytes, const Bytes& more)
{
    bytes.insert(bytes.end(), more.begin(), more.end());
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
        put(bytes, 4, width);
        put(bytes, 8, height);
        put(bytes, 12, planes);
        put(bytes, 14, bits);
        put(bytes, 16, compression);
        put(bytes, 20, image_bytes);
        put(bytes, 24, x_per_metre);
        put(bytes, 28, y_per_metre);
        put(bytes, 32, colors_used);
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
    HGLOBAL let_go()
    {
        HGLOBAL const handle = handle_;
        handle_ = nullptr;
        return handle;
    }

private:
    HGLOBAL handle_;
};

/// V_ConvertFromDIB of bytes.
inline int convert_dib(BITMAPHANDLE* bitmap, uint32_t size, const Bytes& head, const Bytes& pixels)
{
    return V_ConvertFromDIB(bitmap, size, reinterpret_cast<const BITMAPINFO*>(head.data()), pixels.data());
}

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
    static_cast<void>(vertical);
    return 96;
#endif
}

} // namespace vk::testing
