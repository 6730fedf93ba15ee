/**
 * @file Component.h
 * The system's imaging component on Windows, as far as the readers and writers of this folder share it: its objects,
 * its errors, and its streams over our files.
 */
#ifndef VK_TOOLS_COMPONENT_H
#define VK_TOOLS_COMPONENT_H

#include "tools/picture/InputFile.h"
#include "tools/picture/OutputFile.h"
#include "tools/picture/Picture.h"

#include <utility>
#include <wincodec.h>

namespace vk::tool {

/** One reference to a COM object. */
template <typename T> class Com {
public:
    Com() = default;
    explicit Com(T* object) : object_(object) {}
    Com(Com&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
    Com& operator=(Com&& other) noexcept
    {
        std::swap(object_, other.object_);
        return *this;
    }
    ~Com() { reset(); }

    void reset()
    {
        if (object_ != nullptr) {
            std::exchange(object_, nullptr)->Release();
        }
    }
    /** For functions that give an object. */
    T** out()
    {
        reset();
        return &object_;
    }
    T* get() const { return object_; }
    T* operator->() const { return object_; }
    explicit operator bool() const { return object_ != nullptr; }

private:
    T* object_ = nullptr;
};

/** Has the calling thread use COM for the life of this object. */
class ComThread {
public:
    ComThread() : result_(CoInitializeEx(nullptr, COINIT_MULTITHREADED)) {}
    ~ComThread()
    {
        if (SUCCEEDED(result_)) {
            CoUninitialize();
        }
    }
    ComThread(const ComThread&) = delete;
    ComThread& operator=(const ComThread&) = delete;

private:
    HRESULT result_;
};

/** The component's factory; FileError for `name` where the system has none. */
Com<IWICImagingFactory> imaging_factory(const std::string& name);

/** FileError for a result that is a failure. */
void require(HRESULT result, const std::string& name, const char* format);

/** A stream over a file that is read; the file has to outlive it. */
Com<IStream> stream_of(InputFile& file);

/** A stream over a file that is written, into which `notes` are put after its first `cut` bytes; whoever writes knows
 * nothing of them. The file has to outlive it. */
Com<IStream> stream_of(OutputFile& file, std::vector<uint8_t> notes, size_t cut);

/** How one of the component's formats of pixels is taken: as which of our rows, and what its channels' order is. */
struct PixelForm {
    const GUID* guid;
    int32_t bits;
    int32_t order;
    bool is_indexed;
    bool is_red_first;
};

/** The form of a format; null where rows of ours do not have it. */
const PixelForm* form_of(const GUID& guid);

/** Exchanges red and blue of a row. */
void swap_channels(uint8_t* row, int32_t width, int32_t bits);

} // namespace vk::tool

#endif
