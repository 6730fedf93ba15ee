#include "kernel/dib/Codecs.h"

#include "Vkdib.h"

namespace vk {

namespace {

constexpr const wchar_t* kNames[kCodecs] = {L"Vellkit.Codecs.Cmp.CmpCodec"};

} // namespace

CodecUse::CodecUse(Codec codec) noexcept
{
    static_assert(kMissing == V_ERROR_CODEC_MISSING);
    if (module_.Load(kNames[static_cast<size_t>(codec)], DLLLOADER_RESOURCES) == V_SUCCESS &&
        module_.GetFunction("fltSaveBuffer"))
        load_ = reinterpret_cast<V_FLTLOADBUFFER>(module_.GetFunction("fltLoadBuffer"));
}

} // namespace vk
