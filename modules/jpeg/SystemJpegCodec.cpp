// The codec module for JPEG on Windows: include/Vkcodec.h on top of the system's imaging component.
//
// Data may be hostile: pictures larger than a bitmap can be are refused by whoever takes them, cut ones here, since the
// system shows what there is of them.
#include "Vkcodec.h"
#include "Vkkrnx.h"

#define INITGUID // the component's names are defined in this file
#include <cstdlib>
#include <cstring>
#include <wincodec.h>

namespace {

constexpr UINT kMostPixels = 65535; ///< in a row or a column of a JPEG file

/// One reference to a COM object.
template <typename T> class Com {
public:
    Com() = default;
    Com(const Com&) = delete;
    Com& operator=(const Com&) = delete;
    ~Com()
    {
        if (object_)
            object_->Release();
    }
    T** out() { return &object_; }
    T* get() const { return object_; }
    T* operator->() const { return object_; }

private:
    T* object_ = nullptr;
};

/// Has the calling thread use COM for the life of this object.
class ComThread {
public:
    ComThread() : result_(CoInitializeEx(nullptr, COINIT_MULTITHREADED)) {}
    ~ComThread()
    {
        if (SUCCEEDED(result_))
            CoUninitialize();
    }
    ComThread(const ComThread&) = delete;
    ComThread& operator=(const ComThread&) = delete;

private:
    HRESULT result_;
};

/// A row that is freed with this object.
class Row {
public:
    explicit Row(size_t bytes) : bytes_(static_cast<uint8_t*>(std::malloc(bytes))) {}
    ~Row() { std::free(bytes_); }
    Row(const Row&) = delete;
    Row& operator=(const Row&) = delete;
    uint8_t* get() const { return bytes_; }

private:
    uint8_t* bytes_;
};

int code_of(HRESULT result)
{
    if (result == E_OUTOFMEMORY)
        return V_ERROR_NO_MEMORY;
    const bool is_refused =
        result == WINCODEC_ERR_UNSUPPORTEDPIXELFORMAT || result == WINCODEC_ERR_UNSUPPORTEDOPERATION;
    return SUCCEEDED(result) ? V_SUCCESS : is_refused ? V_ERROR_FEATURE_NOT_SUPPORTED : V_ERROR_INTERNAL;
}

HRESULT make_factory(Com<IWICImagingFactory>& factory)
{
    return CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER, IID_IWICImagingFactory,
                            reinterpret_cast<void**>(factory.out()));
}

const GUID& format_of(int32_t bits)
{
    return bits == 8 ? GUID_WICPixelFormat8bppGray : GUID_WICPixelFormat24bppBGR;
}

bool is_whole(const uint8_t* data, size_t bytes)
{
    for (size_t i = 2; i + 1 < bytes; ++i)
        if (data[i] == 0xFF && data[i + 1] == 0xD9)
            return true;
    return false;
}

/// Takes the resolution from the segment that files begin with, where they do.
void take_density(const uint8_t* data, size_t bytes, V_CODECPICTURE& picture)
{
    constexpr uint8_t kJfif[] = {0xFF, 0xD8, 0xFF, 0xE0};
    if (bytes < 18 || std::memcmp(data, kJfif, sizeof kJfif) != 0 || std::memcmp(data + 6, "JFIF", 5) != 0)
        return;
    const auto dots_per_inch = [unit = data[13]](int32_t density) {
        return unit == 2 ? (density * 254 + 50) / 100 : unit == 1 ? density : 0;
    };
    picture.XResolution = dots_per_inch(data[14] << 8 | data[15]);
    picture.YResolution = dots_per_inch(data[16] << 8 | data[17]);
}

/// Opens the picture, with pixels of `bits` bits.
HRESULT open(IWICImagingFactory* factory, const void* data, size_t bytes, int32_t bits, Com<IWICStream>& stream,
             Com<IWICBitmapDecoder>& decoder, Com<IWICFormatConverter>& pixels)
{
    Com<IWICBitmapFrameDecode> frame;
    HRESULT result = factory->CreateStream(stream.out());
    if (SUCCEEDED(result))
        result = stream->InitializeFromMemory(static_cast<BYTE*>(const_cast<void*>(data)), static_cast<DWORD>(bytes));
    if (SUCCEEDED(result))
        result = factory->CreateDecoderFromStream(stream.get(), nullptr, WICDecodeMetadataCacheOnDemand, decoder.out());
    if (SUCCEEDED(result))
        result = decoder->GetFrame(0, frame.out());
    if (SUCCEEDED(result))
        result = factory->CreateFormatConverter(pixels.out());
    if (SUCCEEDED(result))
        result = pixels->Initialize(frame.get(), format_of(bits), WICBitmapDitherTypeNone, nullptr, 0,
                                    WICBitmapPaletteTypeCustom);
    return result;
}

int give_rows(IWICBitmapSource* pixels, const V_CODECPICTURE& picture, V_CODECPUTROW put, void* user)
{
    const size_t bytes = static_cast<size_t>(picture.Width) * static_cast<size_t>(picture.BitsPerPixel / 8);
    const Row row(bytes);
    int result = row.get() ? V_SUCCESS : V_ERROR_NO_MEMORY;
    for (INT y = 0; y < picture.Height && result == V_SUCCESS; ++y) {
        const WICRect line{0, y, picture.Width, 1};
        const auto size = static_cast<UINT>(bytes);
        result = code_of(pixels->CopyPixels(&line, size, size, row.get()));
        if (result == V_SUCCESS)
            result = put(row.get(), y, user);
    }
    return result;
}

/// An encoder into memory, and the frame whose rows it takes.
struct Encoder {
    Com<IStream> stream;
    Com<IWICBitmapEncoder> encoder;
    Com<IWICBitmapFrameEncode> frame;
};

HRESULT set_quality(IPropertyBag2* bag, int32_t quality)
{
    wchar_t name[] = L"ImageQuality";
    PROPBAG2 option{};
    option.pstrName = name;
    VARIANT value;
    VariantInit(&value);
    value.vt = VT_R4;
    value.fltVal = static_cast<float>(quality) / 100;
    return bag->Write(1, &option, &value);
}

HRESULT start(IWICImagingFactory* factory, Encoder& to, const V_CODECPICTURE& picture, int32_t quality)
{
    Com<IPropertyBag2> bag;
    HRESULT result = CreateStreamOnHGlobal(nullptr, TRUE, to.stream.out());
    if (SUCCEEDED(result))
        result = factory->CreateEncoder(GUID_ContainerFormatJpeg, nullptr, to.encoder.out());
    if (SUCCEEDED(result))
        result = to.encoder->Initialize(to.stream.get(), WICBitmapEncoderNoCache);
    if (SUCCEEDED(result))
        result = to.encoder->CreateNewFrame(to.frame.out(), bag.out());
    if (SUCCEEDED(result))
        result = set_quality(bag.get(), quality);
    if (SUCCEEDED(result))
        result = to.frame->Initialize(bag.get());
    if (SUCCEEDED(result))
        result = to.frame->SetSize(static_cast<UINT>(picture.Width), static_cast<UINT>(picture.Height));
    if (SUCCEEDED(result) && picture.XResolution > 0 && picture.YResolution > 0)
        result = to.frame->SetResolution(picture.XResolution, picture.YResolution);
    GUID format = format_of(picture.BitsPerPixel);
    if (SUCCEEDED(result))
        result = to.frame->SetPixelFormat(&format);
    const bool is_kept = format == format_of(picture.BitsPerPixel);
    return SUCCEEDED(result) && !is_kept ? WINCODEC_ERR_UNSUPPORTEDPIXELFORMAT : result;
}

int take_rows(IWICBitmapFrameEncode* frame, const V_CODECPICTURE& picture, V_CODECGETROW get, void* user)
{
    const size_t bytes = static_cast<size_t>(picture.Width) * static_cast<size_t>(picture.BitsPerPixel / 8);
    const Row row(bytes);
    int result = row.get() ? V_SUCCESS : V_ERROR_NO_MEMORY;
    for (int32_t y = 0; y < picture.Height && result == V_SUCCESS; ++y) {
        result = get(row.get(), y, user);
        const auto size = static_cast<UINT>(bytes);
        if (result == V_SUCCESS)
            result = code_of(frame->WritePixels(1, size, size, row.get()));
    }
    return result;
}

int give_bytes(IStream* stream, V_CODECWRITE write, void* user)
{
    HGLOBAL memory = nullptr;
    STATSTG about{};
    HRESULT result = GetHGlobalFromStream(stream, &memory);
    if (SUCCEEDED(result))
        result = stream->Stat(&about, STATFLAG_NONAME);
    if (FAILED(result))
        return code_of(result);
    const void* const bytes = GlobalLock(memory);
    const int answer = bytes ? write(bytes, static_cast<size_t>(about.cbSize.QuadPart), user) : V_ERROR_NO_MEMORY;
    GlobalUnlock(memory);
    return answer;
}

} // namespace

extern "C" __declspec(dllexport) int fltLoadBuffer(const void* data, size_t bytes, int32_t bits, V_CODECBEGIN begin,
                                                   V_CODECPUTROW put, void* user)
{
    if (!data || !begin || !put || bytes > 0xFFFFFFFF)
        return V_ERROR_INVALID_PARAMETER;
    if (bits != 8 && bits != 24)
        return V_ERROR_FEATURE_NOT_SUPPORTED;
    if (!is_whole(static_cast<const uint8_t*>(data), bytes))
        return V_ERROR_INTERNAL;
    const ComThread thread;
    Com<IWICImagingFactory> factory;
    Com<IWICStream> stream;
    Com<IWICBitmapDecoder> decoder;
    Com<IWICFormatConverter> pixels;
    HRESULT result = make_factory(factory);
    if (SUCCEEDED(result))
        result = open(factory.get(), data, bytes, bits, stream, decoder, pixels);
    UINT width = 0;
    UINT height = 0;
    if (SUCCEEDED(result))
        result = pixels->GetSize(&width, &height);
    if (FAILED(result) || width > kMostPixels || height > kMostPixels)
        return FAILED(result) ? code_of(result) : V_ERROR_INTERNAL;
    V_CODECPICTURE picture{};
    picture.StructSize = sizeof picture;
    picture.Width = static_cast<int32_t>(width);
    picture.Height = static_cast<int32_t>(height);
    picture.BitsPerPixel = bits;
    take_density(static_cast<const uint8_t*>(data), bytes, picture);
    const int answer = begin(&picture, user);
    return answer == V_SUCCESS ? give_rows(pixels.get(), picture, put, user) : answer;
}

extern "C" __declspec(dllexport) int fltSaveBuffer(const V_CODECPICTURE* picture, int32_t quality, V_CODECGETROW get,
                                                   V_CODECWRITE write, void* user)
{
    if (!picture || picture->StructSize != sizeof *picture || !get || !write || quality < 1 || quality > 100 ||
        picture->Width < 1 || picture->Height < 1)
        return V_ERROR_INVALID_PARAMETER;
    constexpr auto kMost = static_cast<int32_t>(kMostPixels);
    if ((picture->BitsPerPixel != 8 && picture->BitsPerPixel != 24) || picture->Width > kMost ||
        picture->Height > kMost)
        return V_ERROR_FEATURE_NOT_SUPPORTED;
    const ComThread thread;
    Com<IWICImagingFactory> factory;
    Encoder encoder;
    HRESULT result = make_factory(factory);
    if (SUCCEEDED(result))
        result = start(factory.get(), encoder, *picture, quality);
    if (FAILED(result))
        return code_of(result);
    const int answer = take_rows(encoder.frame.get(), *picture, get, user);
    if (answer != V_SUCCESS)
        return answer;
    result = encoder.frame->Commit();
    if (SUCCEEDED(result))
        result = encoder.encoder->Commit();
    return SUCCEEDED(result) ? give_bytes(encoder.stream.get(), write, user) : code_of(result);
}
