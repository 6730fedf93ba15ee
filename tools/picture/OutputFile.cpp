/**
 * @file OutputFile.cpp
 * The writing under a temporary name of OutputFile.h.
 */
#include "tools/picture/OutputFile.h"

#include "tools/Failure.h"

#include <cerrno>
#include <system_error>

namespace vk::tool {

OutputFile::OutputFile(const std::string& name) : name_(name), target_(path_of(name))
{
    if (V_UsesRedirectIO(nullptr, nullptr) == 0) {
        make_temporary();
        return;
    }
    constexpr int kFlags = V_OPENFLAG_READWRITE | V_OPENFLAG_CREATE | V_OPENFLAG_TRUNCATE;
    redirected_ = V_RedirectedOpenUTF8(name.c_str(), kFlags, V_OPENMODE_READWRITE);
    if (reinterpret_cast<intptr_t>(redirected_) == -1) {
        throw FileError(name_, "cannot be created");
    }
}

void OutputFile::make_temporary()
{
    std::error_code error;
    if (std::filesystem::is_symlink(target_, error)) {
        const std::filesystem::path real = std::filesystem::weakly_canonical(target_, error);
        target_ = error ? target_ : real;
    }
    // Devices and pipes must not be replaced by a file.
    if (std::filesystem::exists(target_, error) && !std::filesystem::is_regular_file(target_, error)) {
        throw FileError(name_, "not a regular file");
    }
    constexpr int kTries = 100;
    for (int i = 0; i < kTries && file_ == nullptr; ++i) {
        temporary_ = target_;
        temporary_ += ".part" + std::to_string(i);
        file_ = create_new(temporary_);
        if (file_ == nullptr && errno != EEXIST) {
            break;
        }
    }
    if (file_ == nullptr) {
        throw FileError(name_, "cannot be created: " + error_text(errno));
    }
}

OutputFile::~OutputFile()
{
    if (redirected_ != nullptr) {
        V_RedirectedClose(redirected_);
    }
    if (!temporary_.empty()) {
        file_.reset();
        std::error_code ignored;
        std::filesystem::remove(temporary_, ignored);
    }
}

bool OutputFile::put(const void* data, size_t bytes) noexcept
{
    if (redirected_ != nullptr) {
        errno = ENOMEM; // what a buffer cannot take
        return V_RedirectedWriteBig(redirected_, data, bytes) == static_cast<int64_t>(bytes);
    }
    return std::fwrite(data, 1, bytes, file_.get()) == bytes;
}

void OutputFile::write(const void* data, size_t bytes)
{
    if (!put(data, bytes)) {
        throw FileError(name_, "cannot be written: " + error_text(errno));
    }
}

void OutputFile::commit()
{
    if (redirected_ != nullptr) {
        if (V_RedirectedClose(redirected_) < 0) {
            throw FileError(name_, "cannot be written");
        }
        redirected_ = nullptr;
        return;
    }
    if (std::ferror(file_.get()) != 0 || std::fclose(file_.release()) != 0) {
        throw FileError(name_, "cannot be written: " + error_text(errno));
    }
    std::error_code error;
    std::filesystem::rename(temporary_, target_, error);
    if (error) {
        throw FileError(name_, "cannot be put in place: " + error.message());
    }
    temporary_.clear();
}

} // namespace vk::tool
