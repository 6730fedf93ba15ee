// The codecs in use, counted under one lock. A codec that comes from a loaded module takes a built-in one's place in
// `slot_of`; nothing else knows where it came from.
#include "kernel/storage/codec/Codec.h"

#include "kernel/storage/codec/Busy.h"

namespace vk::codec {

namespace {

struct Slot {
    const Codec* codec;
    uint32_t users = 0;
};

Slot g_samples{&kSampleCodec};
Slot g_pages{&kPageCodec};
std::atomic_flag g_busy = ATOMIC_FLAG_INIT;

Slot* slot_of(int32_t bits) noexcept
{
    if (bits == 1)
        return &g_pages;
    return bits == 8 || bits == 24 ? &g_samples : nullptr;
}

} // namespace

const Codec* acquire(int32_t bits) noexcept
{
    Slot* const slot = slot_of(bits);
    if (!slot)
        return nullptr;
    const Busy busy(g_busy); // for a few instructions, and for a load or unload
    if (slot->users == 0 && !slot->codec->load())
        return nullptr;
    ++slot->users;
    return slot->codec;
}

void release(int32_t bits) noexcept
{
    Slot* const slot = slot_of(bits);
    const Busy busy(g_busy);
    if (--slot->users == 0)
        slot->codec->unload();
}

uint32_t users(int32_t bits) noexcept
{
    const Slot* const slot = slot_of(bits);
    const Busy busy(g_busy);
    return slot ? slot->users : 0;
}

} // namespace vk::codec
