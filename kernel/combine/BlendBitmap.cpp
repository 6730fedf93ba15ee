// Blending one bitmap with another under a mask.
#include "kernel/combine/Aside.h"
#include "kernel/combine/BlendRun.h"
#include "kernel/combine/Combine.h"
#include "kernel/combine/LogicRun.h"
#include "kernel/resize/Access.h"
#include "kernel/system/RoomyObject.h"

#include <optional>

namespace vk::combine {

namespace {

constexpr uint32_t kMostOpacity = 65535;
constexpr uint32_t kKnownBits = BLEND_MODES | BLEND_PREMULTIPLIED | BLEND_OPAQUE_SRC | BLEND_OPAQUE_DST;

/// The mask as a walk takes it, accessed for as long.
class MaskSource {
public:
    explicit MaskSource(const MaskPlace& place) noexcept : place_(place)
    {
        if (place.bitmap)
            access_.emplace(*place.bitmap);
    }

    int open(BITMAPHANDLE& to, const Overlap& overlap, Layout layout) noexcept
    {
        if (!access_)
            return V_SUCCESS;
        const int result = access_->result();
        return result == V_SUCCESS ? aside_.open(to, *place_.bitmap, overlap.area(place_.corner, layout), layout, false)
                                   : result;
    }
    const Source& source() const noexcept { return aside_.source(); }
    int release() noexcept { return access_ ? access_->release() : V_SUCCESS; }

private:
    const MaskPlace& place_;
    std::optional<BitmapAccess> access_;
    Aside aside_;
};

} // namespace

int check_blend(uint32_t mode, uint32_t opacity) noexcept
{
    const bool is_known = !(mode & ~kKnownBits) && (mode & BLEND_MODES) <= BLEND_EXCLUSION;
    return is_known && opacity <= kMostOpacity ? V_SUCCESS : V_ERROR_INVALID_PARAMETER;
}

int blend_bitmap(BITMAPHANDLE& to, BITMAPHANDLE& from, const Placement& placement, const MaskPlace& mask, uint32_t mode,
                 uint32_t opacity) noexcept
{
    Layout layout;
    Layout mask_layout;
    int result = find_layout(to, from, layout);
    if (result == V_SUCCESS && mask.bitmap)
        result = find_layout(to, *mask.bitmap, mask_layout);
    if (result != V_SUCCESS)
        return result;
    Overlap overlap(placement.width, placement.height);
    overlap.cut(to, placement.to);
    overlap.cut(from, placement.from, layout);
    if (mask.bitmap)
        overlap.cut(*mask.bitmap, mask.corner, mask_layout);
    if (overlap.empty())
        return V_SUCCESS;
    const Area area = overlap.area(placement.to);
    return with_access(from, to, [&](BITMAPHANDLE&, BITMAPHANDLE&) noexcept {
        Progress progress(area.height());
        Aside aside;
        MaskSource masked(mask);
        const RoomyObject<BlendRun> operation(BlendRequest{mode & BLEND_MODES, mode & ~BLEND_MODES, opacity});
        int done = operation ? operation->open(to, from, mask.bitmap, area_bytes(area, 8)) : V_ERROR_NO_MEMORY;
        if (done == V_SUCCESS)
            done = progress.begin();
        if (done == V_SUCCESS)
            done = aside.open(to, from, overlap.area(placement.from, layout), layout, true);
        if (done == V_SUCCESS)
            done = masked.open(to, overlap, mask_layout);
        if (done == V_SUCCESS)
            done = walk(to, area, aside.source(), masked.source(), *operation, progress, OnFailure::put_back);
        const int released = masked.release();
        return done == V_SUCCESS ? released : done;
    });
}

} // namespace vk::combine
