#include "kernel/dib/Codecs.h"

#include "Vkcodec.h"
#include "Vkdib.h"
#include "kernel/system/LibraryLock.h"
#include "platform/platform.h"

#include <mutex>

namespace vk {

namespace {

constexpr const char* kNames[kCodecs] = {"Vellkit.Codecs.Cmp.CmpCodec"};

/// A module and those who use it.
struct Loaded {
    void* module = nullptr;
    uint32_t users = 0;
    V_FLTLOADBUFFER load = nullptr;
    V_FLTSAVEBUFFER save = nullptr;
};

constinit LibraryLock table_mutex;
Loaded table[kCodecs];

/// Loads a module that nobody uses yet; false leaves it as it was.
bool open(Loaded& entry, const char* name) noexcept
{
    void* module = nullptr;
    if (platform::module_open(name, &module) != Status::ok)
        return false;
    entry.load = reinterpret_cast<V_FLTLOADBUFFER>(platform::module_symbol(module, "fltLoadBuffer"));
    entry.save = reinterpret_cast<V_FLTSAVEBUFFER>(platform::module_symbol(module, "fltSaveBuffer"));
    if (!entry.load || !entry.save) {
        platform::module_close(module);
        entry = Loaded{};
        return false;
    }
    entry.module = module;
    return true;
}

} // namespace

CodecUse::CodecUse(Codec codec) noexcept : codec_(codec)
{
    static_assert(kMissing == V_ERROR_CODEC_MISSING);
    const std::lock_guard guard(table_mutex);
    Loaded& entry = table[static_cast<size_t>(codec)];
    if (entry.users == 0 && !open(entry, kNames[static_cast<size_t>(codec)]))
        return;
    ++entry.users;
    load_ = entry.load;
}

CodecUse::~CodecUse()
{
    if (!load_)
        return;
    const std::lock_guard guard(table_mutex);
    Loaded& entry = table[static_cast<size_t>(codec_)];
    if (--entry.users == 0) {
        platform::module_close(entry.module);
        entry = Loaded{};
    }
}

} // namespace vk
