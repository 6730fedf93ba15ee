/**
 * @file Component.cpp
 * The streams and the table of Component.h.
 */
#define INITGUID // the component's names are defined in this file
#include "tools/picture/system/Component.h"

#include "tools/Failure.h"
#include "tools/picture/Formats.h"

#include <atomic>
#include <cstdio>

namespace vk::tool {

namespace {

/** What streams over files have in common: being counted, and refusing what codecs do not ask for. */
class FileStream : public IStream {
public:
    virtual ~FileStream() = default;

    HRESULT __stdcall QueryInterface(REFIID id, void** object) override
    {
        const bool is_ours = id == IID_IUnknown || id == IID_ISequentialStream || id == IID_IStream;
        *object = is_ours ? static_cast<IStream*>(this) : nullptr;
        if (is_ours) {
            AddRef();
        }
        return is_ours ? S_OK : E_NOINTERFACE;
    }
    ULONG __stdcall AddRef() override { return ++count_; }
    ULONG __stdcall Release() override
    {
        const ULONG left = --count_;
        if (left == 0) {
            delete this;
        }
        return left;
    }
    HRESULT __stdcall SetSize(ULARGE_INTEGER) override { return S_OK; }
    HRESULT __stdcall CopyTo(IStream*, ULARGE_INTEGER, ULARGE_INTEGER*, ULARGE_INTEGER*) override { return E_NOTIMPL; }
    HRESULT __stdcall Commit(DWORD) override { return S_OK; }
    HRESULT __stdcall Revert() override { return E_NOTIMPL; }
    HRESULT __stdcall LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return E_NOTIMPL; }
    HRESULT __stdcall UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return E_NOTIMPL; }
    HRESULT __stdcall Clone(IStream**) override { return E_NOTIMPL; }

protected:
    static HRESULT give_position(int64_t position, ULARGE_INTEGER* place)
    {
        if (place != nullptr && position >= 0) {
            place->QuadPart = static_cast<ULONGLONG>(position);
        }
        return position < 0 ? STG_E_INVALIDFUNCTION : S_OK;
    }
    static HRESULT give_size(std::optional<uint64_t> size, STATSTG* about)
    {
        if (about == nullptr) {
            return E_INVALIDARG;
        }
        *about = {};
        about->type = STGTY_STREAM;
        about->cbSize.QuadPart = size.value_or(0);
        return size ? S_OK : E_FAIL;
    }
    static void give_count(size_t count, ULONG* place)
    {
        if (place != nullptr) {
            *place = static_cast<ULONG>(count);
        }
    }

private:
    std::atomic<ULONG> count_{1};
};

class InputStream final : public FileStream {
public:
    explicit InputStream(InputFile& file) : file_(file) {}

    HRESULT __stdcall Read(void* bytes, ULONG count, ULONG* read) override
    {
        const size_t moved = file_.read(bytes, count);
        give_count(moved, read);
        return moved == count ? S_OK : S_FALSE;
    }
    HRESULT __stdcall Write(const void*, ULONG, ULONG*) override { return STG_E_ACCESSDENIED; }
    HRESULT __stdcall Seek(LARGE_INTEGER offset, DWORD origin, ULARGE_INTEGER* position) override
    {
        return give_position(file_.seek(offset.QuadPart, static_cast<int>(origin)), position);
    }
    HRESULT __stdcall Stat(STATSTG* about, DWORD) override { return give_size(file_.size(), about); }

private:
    InputFile& file_;
};

class OutputStream final : public FileStream {
public:
    OutputStream(OutputFile& file, std::vector<uint8_t> notes, size_t cut)
        : file_(file), notes_(std::move(notes)), cut_(static_cast<int64_t>(cut))
    {}

    HRESULT __stdcall Read(void* bytes, ULONG count, ULONG* read) override
    {
        const bool is_placed = file_.seek(moved(position_), SEEK_SET) >= 0;
        const size_t got = is_placed ? file_.get(bytes, count) : 0;
        file_.seek(0, SEEK_CUR);
        position_ += static_cast<int64_t>(got);
        give_count(got, read);
        return got == count ? S_OK : S_FALSE;
    }
    HRESULT __stdcall Write(const void* bytes, ULONG count, ULONG* written) override
    {
        const auto* at = static_cast<const uint8_t*>(bytes);
        const size_t before =
            position_ < cut_ ? std::min<size_t>(count, static_cast<size_t>(cut_ - position_)) : size_t{0};
        const bool is_done = put(at, before) && put_notes() && put(at + before, count - before);
        give_count(is_done ? count : 0, written);
        return is_done ? S_OK : STG_E_MEDIUMFULL;
    }
    HRESULT __stdcall Seek(LARGE_INTEGER offset, DWORD origin, ULARGE_INTEGER* position) override
    {
        const int64_t base = origin == STREAM_SEEK_SET ? 0 : origin == STREAM_SEEK_CUR ? position_ : end_;
        if (base + offset.QuadPart < 0) {
            return STG_E_INVALIDFUNCTION;
        }
        position_ = base + offset.QuadPart;
        return give_position(position_, position);
    }
    HRESULT __stdcall Stat(STATSTG* about, DWORD) override { return give_size(static_cast<uint64_t>(end_), about); }

private:
    /** Where a position of the codec's is in the file. */
    int64_t moved(int64_t position) const
    {
        return position < cut_ ? position : position + static_cast<int64_t>(notes_.size());
    }
    bool put(const uint8_t* bytes, size_t count)
    {
        if (count == 0) {
            return true;
        }
        const bool is_placed = place_ == moved(position_) || file_.seek(moved(position_), SEEK_SET) >= 0;
        const bool is_done = is_placed && file_.put(bytes, count);
        position_ += static_cast<int64_t>(count);
        place_ = moved(position_ - 1) + 1;
        end_ = std::max(end_, position_);
        return is_done;
    }
    bool put_notes()
    {
        if (have_notes_ || position_ < cut_) {
            return true;
        }
        have_notes_ = true;
        place_ = -1;
        return notes_.empty() || (file_.seek(cut_, SEEK_SET) >= 0 && file_.put(notes_.data(), notes_.size()));
    }

    OutputFile& file_;
    std::vector<uint8_t> notes_;
    int64_t cut_;
    bool have_notes_ = false;
    int64_t position_ = 0; ///< the codec's
    int64_t end_ = 0;
    int64_t place_ = 0; ///< of the next byte in the file; -1: not known
};

const PixelForm kForms[] = {
    {&GUID_WICPixelFormatBlackWhite, 1, COLORORDER_BGR, false, false},
    {&GUID_WICPixelFormat2bppGray, 2, COLORORDER_BGR, false, false},
    {&GUID_WICPixelFormat4bppGray, 4, COLORORDER_BGR, false, false},
    {&GUID_WICPixelFormat8bppGray, 8, COLORORDER_BGR, false, false},
    {&GUID_WICPixelFormat1bppIndexed, 1, COLORORDER_BGR, true, false},
    {&GUID_WICPixelFormat2bppIndexed, 2, COLORORDER_BGR, true, false},
    {&GUID_WICPixelFormat4bppIndexed, 4, COLORORDER_BGR, true, false},
    {&GUID_WICPixelFormat8bppIndexed, 8, COLORORDER_BGR, true, false},
    {&GUID_WICPixelFormat16bppGray, 16, COLORORDER_GRAY, false, false},
    {&GUID_WICPixelFormat24bppBGR, 24, COLORORDER_BGR, false, false},
    {&GUID_WICPixelFormat24bppRGB, 24, COLORORDER_BGR, false, true},
    {&GUID_WICPixelFormat32bppBGRA, 32, COLORORDER_BGR, false, false},
    {&GUID_WICPixelFormat32bppRGBA, 32, COLORORDER_BGR, false, true},
    {&GUID_WICPixelFormat48bppRGB, 48, COLORORDER_BGR, false, true},
    {&GUID_WICPixelFormat64bppRGBA, 64, COLORORDER_BGR, false, true},
};

} // namespace

Com<IWICImagingFactory> imaging_factory(const std::string& name)
{
    Com<IWICImagingFactory> factory;
    const HRESULT result = CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER,
                                            IID_IWICImagingFactory, reinterpret_cast<void**>(factory.out()));
    if (FAILED(result)) {
        throw FileError(name, "the system's imaging component does not start");
    }
    return factory;
}

void require(HRESULT result, const std::string& name, const char* format)
{
    if (SUCCEEDED(result)) {
        return;
    }
    char number[16];
    std::snprintf(number, sizeof number, "0x%08lX", static_cast<unsigned long>(result));
    const char* why = "the system's codec fails with ";
    if (result == WINCODEC_ERR_UNSUPPORTEDPIXELFORMAT || result == WINCODEC_ERR_UNSUPPORTEDOPERATION) {
        why = "the system's codec does not do this: ";
    } else if (result == WINCODEC_ERR_BADIMAGE || result == WINCODEC_ERR_BADHEADER ||
               result == WINCODEC_ERR_STREAMREAD || result == WINCODEC_ERR_BADSTREAMDATA) {
        why = "the file is damaged or cut: ";
    }
    throw FileError(name, std::string(format) + ": " + why + number);
}

Com<IStream> stream_of(InputFile& file)
{
    return Com<IStream>(new InputStream(file));
}

Com<IStream> stream_of(OutputFile& file, std::vector<uint8_t> notes, size_t cut)
{
    return Com<IStream>(new OutputStream(file, std::move(notes), cut));
}

const PixelForm* form_of(const GUID& guid)
{
    for (const PixelForm& form : kForms) {
        if (*form.guid == guid) {
            return &form;
        }
    }
    return nullptr;
}

void swap_channels(uint8_t* row, int32_t width, int32_t bits)
{
    const auto pixels = static_cast<size_t>(width);
    const size_t channels = bits % 32 == 0 ? 4 : 3;
    if (bits >= 48) {
        swap_red_blue(reinterpret_cast<uint16_t*>(row), pixels, channels);
    } else {
        swap_red_blue(row, pixels, channels);
    }
}

} // namespace vk::tool
