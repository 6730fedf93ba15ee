// Codec modules: shared libraries beside this one, or in the resource directory, that are loaded when a picture needs
// them. A module is there once however many use it at a time, and goes when the last of them is done: the system
// counts.
#pragma once

#include "Vkcodec.h"
#include "Vkdllloader.h"
#include "Vkrecord.h"

#include <cstddef>
#include <cstdint>

namespace vk {

/// The modules there are, by what they decode.
enum class Codec : uint8_t { jpeg };
constexpr size_t kCodecs = 1;

/// A codec in use.
class CodecUse {
public:
    explicit CodecUse(Codec codec) noexcept;
    CodecUse(const CodecUse&) = delete;
    CodecUse& operator=(const CodecUse&) = delete;
    ~CodecUse() = default;

    /// SUCCESS, or V_ERROR_CODEC_MISSING: there is no such module, or it lacks an entry point.
    int result() const noexcept { return load_ ? V_SUCCESS : kMissing; }
    V_FLTLOADBUFFER load() const noexcept { return load_; }

private:
    static constexpr int kMissing = -356;

    V_DllLoader module_;
    V_FLTLOADBUFFER load_ = nullptr;
};

} // namespace vk
