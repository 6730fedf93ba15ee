/**
 * @file Spool.cpp
 * The move from memory to a file of Spool.h.
 */
#include "tools/Spool.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>
#include <utility>

namespace vk::tool {

namespace {

constexpr int64_t kMostInMemory = int64_t{8} << 20;

} // namespace

size_t Spool::read(int64_t at, void* bytes, size_t count) noexcept
{
    if (at >= size_) {
        return 0;
    }
    count = static_cast<size_t>(std::min<uint64_t>(count, static_cast<uint64_t>(size_ - at)));
    if (file_ == nullptr) {
        std::memcpy(bytes, &bytes_[static_cast<size_t>(at)], count);
        return count;
    }
    if ((!reads_ || place_ != at) && seek_file(file_.get(), at, SEEK_SET) != at) {
        place_ = -1;
        return 0;
    }
    const size_t got = std::fread(bytes, 1, count, file_.get());
    reads_ = true;
    place_ = got == count ? at + static_cast<int64_t>(got) : -1;
    return got;
}

bool Spool::write(int64_t at, const void* bytes, size_t count) noexcept
{
    const int64_t end = at + static_cast<int64_t>(count);
    try {
        if (count != 0 && (!make_room(end) || !write_at(at, bytes, count))) {
            return false;
        }
    } catch (const std::bad_alloc&) {
        errno = ENOMEM;
        return false;
    }
    size_ = count != 0 ? std::max(size_, end) : size_;
    return true;
}

bool Spool::make_room(int64_t end)
{
    if (file_ != nullptr) {
        return true;
    }
    if (end <= kMostInMemory) {
        bytes_.resize(static_cast<size_t>(std::max(size_, end)));
        return true;
    }
    file_ = temporary_file();
    if (file_ == nullptr) {
        return false;
    }
    const std::vector<uint8_t> held = std::exchange(bytes_, {});
    return write_at(0, held.data(), held.size());
}

bool Spool::write_at(int64_t at, const void* bytes, size_t count)
{
    if (file_ == nullptr) {
        std::memcpy(&bytes_[static_cast<size_t>(at)], bytes, count);
        return true;
    }
    if ((reads_ || place_ != at) && seek_file(file_.get(), at, SEEK_SET) != at) {
        place_ = -1;
        return false;
    }
    reads_ = false;
    const bool is_done = std::fwrite(bytes, 1, count, file_.get()) == count;
    place_ = is_done ? at + static_cast<int64_t>(count) : -1;
    return is_done;
}

} // namespace vk::tool
