/**
 * @file Pipe.cpp
 * The buffer of Pipe.h: a locked block of global memory that the library makes and hands over when the redirection
 * ends.
 */
#include "tools/Pipe.h"

#include "tools/Failure.h"
#include "tools/Platform.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <vector>

namespace vk::tool {

namespace {

constexpr size_t kFirstPiece = size_t{1} << 16;
constexpr size_t kLargestPiece = size_t{1} << 26;

} // namespace

BufferRedirection::BufferRedirection()
{
    check(V_StartRedirectToBuffer(&redirection_, &file_, REDIRECTBUFFER_GROW | REDIRECTBUFFER_WRITE, nullptr, 0),
          "starting the redirection");
}

BufferRedirection::~BufferRedirection()
{
    stop();
    if (data_ != nullptr) {
        const HGLOBAL block = GlobalHandle(data_);
        GlobalUnlock(block);
        GlobalFree(block);
    }
}

void BufferRedirection::stop() noexcept
{
    if (redirection_ != nullptr) {
        V_RedirectedClose(file_);
        V_StopRedirectToBuffer(redirection_, &data_, &bytes_);
        redirection_ = nullptr;
    }
}

void BufferRedirection::fill_from_input()
{
    // Pieces grow with what there is, so that the buffer is not made bigger too often.
    std::vector<char> piece(kFirstPiece);
    uint64_t total = 0;
    for (bool more = true; more; piece.resize(std::min(piece.size() * 2, kLargestPiece))) {
        errno = 0;
        const size_t got = std::fread(piece.data(), 1, piece.size(), stdin);
        if (std::ferror(stdin) != 0) {
            throw FileError("standard input", "cannot be read: " + error_text(errno));
        }
        if (got != 0 && V_RedirectedWriteBig(file_, piece.data(), got) != static_cast<int64_t>(got)) {
            throw_library_error(V_ERROR_NO_MEMORY, "keeping standard input");
        }
        total += got;
        more = got == piece.size();
    }
    if (total == 0) {
        throw FileError("standard input", "there is nothing in it");
    }
}

void BufferRedirection::send_to_output()
{
    stop();
    errno = 0;
    if (std::fwrite(data_, 1, bytes_, stdout) != bytes_ || std::fflush(stdout) != 0) {
        throw FileError("standard output", "cannot be written: " + error_text(errno));
    }
}

} // namespace vk::tool
