/**
 * @file InputFile.cpp
 * The two ways to a file's bytes of InputFile.h.
 */
#include "tools/picture/InputFile.h"

#include "tools/Failure.h"

#include <algorithm>
#include <cerrno>
#include <system_error>

namespace vk::tool {

InputFile::InputFile(const std::string& name) : name_(name)
{
    errno = 0;
    if (V_UsesRedirectIO(nullptr, nullptr) == 0) {
        file_ = open_for_reading(name);
    } else {
        redirected_ = V_RedirectedOpenUTF8(name.c_str(), V_OPENFLAG_READ, V_OPENMODE_READ);
        redirected_ = reinterpret_cast<intptr_t>(redirected_) == -1 ? nullptr : redirected_;
    }
    if (file_ == nullptr && redirected_ == nullptr) {
        throw FileError(name_, error_text(errno != 0 ? errno : EIO));
    }
}

InputFile::~InputFile()
{
    if (redirected_ != nullptr) {
        V_RedirectedClose(redirected_);
    }
}

size_t InputFile::read(void* bytes, size_t count) noexcept
{
    if (redirected_ != nullptr) {
        const int64_t moved = V_RedirectedReadBig(redirected_, bytes, count);
        error_ = moved < 0 ? EIO : error_;
        return moved < 0 ? 0 : static_cast<size_t>(moved);
    }
    errno = 0;
    const size_t moved = std::fread(bytes, 1, count, file_.get());
    if (error_ == 0 && std::ferror(file_.get()) != 0) {
        error_ = errno != 0 ? errno : EIO;
    }
    return moved;
}

void InputFile::check() const
{
    if (error_ != 0) {
        throw FileError(name_, error_text(error_));
    }
}

int64_t InputFile::seek(int64_t offset, int whence) noexcept
{
    return redirected_ != nullptr ? V_RedirectedSeekBig(redirected_, offset, whence)
                                  : seek_file(file_.get(), offset, whence);
}

void InputFile::rewind()
{
    if (seek(0, SEEK_SET) != 0) {
        throw FileError(name_, error_text(redirected_ != nullptr ? EIO : errno));
    }
}

std::optional<uint64_t> InputFile::size()
{
    if (redirected_ == nullptr) {
        std::error_code error;
        const uint64_t size = std::filesystem::file_size(path_of(name_), error);
        return error ? std::nullopt : std::optional(size);
    }
    const int64_t position = V_RedirectedSeekBig(redirected_, 0, 1);
    const int64_t end = V_RedirectedSeekBig(redirected_, 0, 2);
    if (position < 0 || end < 0 || V_RedirectedSeekBig(redirected_, position, 0) != position) {
        return std::nullopt;
    }
    return static_cast<uint64_t>(end);
}

bool InputFile::may_hold(uint64_t bytes)
{
    constexpr uint64_t kLookAhead = uint64_t{1} << 17;
    if (redirected_ == nullptr) {
        return bytes <= size().value_or(bytes);
    }
    const int64_t position = seek(0, SEEK_CUR);
    if (position < 0 || bytes <= static_cast<uint64_t>(position)) {
        return true;
    }
    std::vector<uint8_t> ahead(static_cast<size_t>(std::min(bytes - static_cast<uint64_t>(position), kLookAhead)));
    const size_t got = read(ahead.data(), ahead.size());
    return got == ahead.size() ? seek(position, SEEK_SET) == position : false;
}

} // namespace vk::tool
