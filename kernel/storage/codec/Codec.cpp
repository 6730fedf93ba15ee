// The codecs in use, counted under one lock. A codec that comes from a loaded module takes a built-in one's place in
// `slot_of`; nothing else knows where it came from.
#include "kernel/storage/codec/Codec.h"

#include "kernel/system/LibraryLock.h"

#include <mutex>

namespace vk::codec {

namespace {

struct Slot {
    const Codec* codec;
    uint32_t users = 0;
};

Slot g_samples{&kSampleCodec};
Slot g_pages{&kPageCodec};
constinit LibraryLock g_lock;

Slot* slot_of(int32_t bits) noexcept
{
    if (bits == 1)
        return &g_pages;
    return bits == 8 || bits == 24 ? &g_samples : nullptr;
}

} // namespace

bool has_codec(int32_t bits) noexcept
{
    return slot_of(bits) != nullptr;
}

const Codec* acquire(int32_t bits) noexcept
{
    Slot* const slot = slot_of(bits);
    if (!slot)
        return nullptr;
    const std::lock_guard guard(g_lock); // for a few instructions, and for a load or unload
    if (slot->users == 0 && !slot->codec->load())
        return nullptr;
    ++slot->users;
    return slot->codec;
}

void release(int32_t bits) noexcept
{
    Slot* const slot = slot_of(bits);
    const std::lock_guard guard(g_lock);
    if (--slot->users == 0)
        slot->codec->unload();
}

uint32_t users(int32_t bits) noexcept
{
    const Slot* const slot = slot_of(bits);
    const std::lock_guard guard(g_lock);
    return slot ? slot->users : 0;
}

} // namespace vk::codec
