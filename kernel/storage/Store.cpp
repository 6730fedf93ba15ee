#include "kernel/storage/Store.h"

namespace vk {

const Store* store_of(uint32_t flags) noexcept
{
    if (flags & BITMAPFLAG_COMPRESSED)
        return &kCompressedStore;
    if (flags & BITMAPFLAG_TILED)
        return &kTiledStore;
    if (flags & BITMAPFLAG_SUPERCOMPRESSED)
        return &kSuperCompressedStore;
    if (flags & BITMAPFLAG_CONVENTIONALMEMORY)
        return &kConventionalStore;
    if (flags & BITMAPFLAG_DISKMEMORY)
        return &kDiskStore;
    return nullptr;
}

} // namespace vk
