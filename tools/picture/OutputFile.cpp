/**
 * @file OutputFile.cpp
 * The writing under a temporary name of OutputFile.h.
 */
#include "tools/picture/OutputFile.h"

#include "tools/Failure.h"

#include <cerrno>
#include <random>
#include <system_error>

namespace vk::tool {

namespace {

/** The file that a chain of symbolic links leads to, whether it exists or not. */
std::filesystem::path end_of_links(std::filesystem::path path)
{
    constexpr int kMostLinks = 40;
    std::error_code error;
    for (int i = 0; i < kMostLinks && std::filesystem::is_symlink(path, error); ++i) {
        const std::filesystem::path next = std::filesystem::read_symlink(path, error);
        if (error) {
            break;
        }
        path = path.parent_path() / next; // which is next alone when that is absolute
    }
    return path;
}

/** Short, whatever the target's name is, and hardly ever taken. */
std::string temporary_name()
{
    std::random_device random;
    char name[32];
    std::snprintf(name, sizeof name, ".vk-%08x%08x.part", random(), random());
    return name;
}

} // namespace

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
    target_ = end_of_links(target_);
    std::error_code error;
    if (std::filesystem::is_symlink(target_, error)) {
        throw FileError(name_, "the symbolic links lead nowhere");
    }
    // Devices and pipes must not be replaced by a file.
    if (std::filesystem::exists(target_, error) && !std::filesystem::is_regular_file(target_, error)) {
        throw FileError(name_, "not a regular file");
    }
    constexpr int kTries = 100;
    for (int i = 0; i < kTries && file_ == nullptr; ++i) {
        temporary_ = target_.parent_path() / temporary_name();
        file_ = create_new(temporary_, target_);
        if (file_ == nullptr && errno != EEXIST) {
            break;
        }
    }
    if (file_ == nullptr) {
        temporary_.clear();
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

int64_t OutputFile::seek(int64_t offset, int whence) noexcept
{
    return redirected_ != nullptr ? V_RedirectedSeekBig(redirected_, offset, whence)
                                  : seek_file(file_.get(), offset, whence);
}

size_t OutputFile::get(void* data, size_t bytes) noexcept
{
    if (redirected_ != nullptr) {
        const int64_t moved = V_RedirectedReadBig(redirected_, data, bytes);
        return moved < 0 ? 0 : static_cast<size_t>(moved);
    }
    return std::fread(data, 1, bytes, file_.get());
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
