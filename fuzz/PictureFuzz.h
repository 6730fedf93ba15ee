// What the fuzz targets of picture files share: an input is a file, whose pages are read to their last row. Refusals
// are the reader's way to say no; everything else is a fault.
#pragma once

#include "tools/Failure.h"
#include "tools/picture/Formats.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace vk::fuzz {

using Read = std::unique_ptr<tool::PictureReader>(tool::Input file, const std::string& name);

/// Redirects the thread's files into a buffer that holds the input.
class InputBuffer {
public:
    InputBuffer(const uint8_t* data, size_t size)
    {
        const uint32_t flags = REDIRECTBUFFER_GROW | REDIRECTBUFFER_WRITE;
        if (V_StartRedirectToBuffer(&redirection_, &file_, flags, nullptr, 0) != V_SUCCESS)
            std::abort();
        if (V_RedirectedWriteBig(file_, data, size) != static_cast<int64_t>(size))
            std::abort();
    }
    ~InputBuffer()
    {
        void* bytes = nullptr;
        size_t count = 0;
        V_RedirectedClose(file_);
        V_StopRedirectToBuffer(redirection_, &bytes, &count);
        const HGLOBAL block = GlobalHandle(bytes);
        GlobalUnlock(block);
        GlobalFree(block);
    }
    InputBuffer(const InputBuffer&) = delete;
    InputBuffer& operator=(const InputBuffer&) = delete;

private:
    void* redirection_ = nullptr;
    V_REDIRECTHANDLE file_ = nullptr;
};

inline void read_page(tool::PictureReader& reader)
{
    const tool::PictureInfo& info = reader.info();
    if (info.width < 1 || info.height < 1 || (info.bits <= 8 && info.palette.size() != size_t{1} << info.bits))
        std::abort();
    std::vector<uint8_t> row(info.row_bytes());
    for (int32_t y = 0; y < info.height; ++y)
        reader.read_row(row.data());
}

/// Pictures are small and pages few, so that inputs are tried often.
inline int read_pictures(const uint8_t* data, size_t size, Read* read)
{
    constexpr uint64_t kMostPixels = 1 << 16;
    constexpr int kMostPages = 8;
    if (size == 0)
        return 0;
    tool::set_most_pixels(kMostPixels);
    const InputBuffer buffer(data, size);
    try {
        const std::unique_ptr<tool::PictureReader> reader = read(std::make_unique<tool::InputFile>("input"), "input");
        for (int page = 0; page < kMostPages; ++page) {
            if (page % 2 == 0) // others are left out
                read_page(*reader);
            if (!reader->next_page())
                break;
        }
    } catch (const tool::Failure&) {
    }
    return 0;
}

} // namespace vk::fuzz
