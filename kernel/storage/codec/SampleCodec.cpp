// The codec for 8 and 24 bits: each channel is a plane that is predicted and coded by itself. Of three channels the
// middle one stands as it is, the outer two as their difference from it, which takes out what channels share.
//
// A block of bytes is the planes one after another, one byte that tells whether the bytes behind the pixels of the rows
// follow (they are usually clear), those, and padding.
#include "kernel/storage/codec/Codec.h"
#include "kernel/storage/codec/Prefix.h"
#include "kernel/storage/codec/Samples.h"
#include "kernel/storage/codec/Split.h"
#include "kernel/storage/codec/Tails.h"

#include <cstring>

namespace vk::codec {

namespace {

uint32_t channels_of(const Shape& shape) noexcept
{
    return shape.bits == 24 ? 3 : 1;
}

/// Where things are in the working memory: a plane for each channel, one more, and what coding a plane needs.
struct Workspace {
    Plane channels[3];
    Plane residuals;
    uint8_t* coding;

    Workspace(const Shape& shape, uint8_t* workspace) noexcept
    {
        const size_t bytes = Plane::bytes_of(shape.width, shape.rows);
        const auto next = [&]() noexcept {
            const Plane plane = Plane::at(workspace, shape.width, shape.rows);
            workspace += bytes;
            return plane;
        };
        for (uint32_t c = 0; c < channels_of(shape); ++c)
            channels[c] = next();
        residuals = next();
        coding = workspace;
    }
};

size_t workspace_bytes(const Shape& shape) noexcept
{
    return (channels_of(shape) + size_t{1}) * Plane::bytes_of(shape.width, shape.rows) +
           plane_workspace(shape.width, shape.rows);
}

/// Makes the room clear that prediction looks at.
void clear_room(const Plane& plane) noexcept
{
    std::memset(plane.memory, 0, plane.stride);
    for (uint32_t y = 0; y < plane.rows; ++y) {
        std::memset(plane.row(y) - kPadLeft, 0, kPadLeft);
        std::memset(plane.row(y) + plane.width, 0, kPadRight);
    }
}

void split(const Shape& shape, const uint8_t* rows, const Workspace& space) noexcept
{
    for (uint32_t c = 0; c < channels_of(shape); ++c)
        clear_room(space.channels[c]);
    for (uint32_t y = 0; y < shape.rows; ++y, rows += shape.bytes_per_line) {
        if (shape.bits == 24)
            split_row(rows, space.channels[0].row(y), space.channels[1].row(y), space.channels[2].row(y), shape.width);
        else
            std::memcpy(space.channels[0].row(y), rows, shape.width);
    }
}

void join(const Shape& shape, const Workspace& space, uint8_t* rows) noexcept
{
    for (uint32_t y = 0; y < shape.rows; ++y, rows += shape.bytes_per_line) {
        if (shape.bits == 24)
            join_row(space.channels[0].row(y), space.channels[1].row(y), space.channels[2].row(y), rows, shape.width);
        else
            std::memcpy(rows, space.channels[0].row(y), shape.width);
    }
}

void predict(const Plane& samples, const Plane& residuals) noexcept
{
    clear_room(residuals);
    for (uint32_t y = 0; y < samples.rows; ++y) {
        predict_row(samples.row(y), samples.row(int64_t{y} - 1), residuals.row(y), samples.width);
        std::memset(residuals.row(y) + samples.width, 0, kPadRight);
    }
}

size_t encode(const Shape& shape, const uint8_t* rows, uint8_t* out, size_t room, uint8_t* workspace) noexcept
{
    if (room < kStreamPadding)
        return 0;
    room -= kStreamPadding;
    const Workspace space(shape, workspace);
    split(shape, rows, space);
    size_t used = 0;
    for (uint32_t c = 0; c < channels_of(shape); ++c) {
        predict(space.channels[c], space.residuals);
        const size_t bytes = encode_plane(space.residuals, out + used, room - used, space.coding);
        if (bytes == 0)
            return 0;
        used += bytes;
    }
    const size_t tails = encode_tails(shape, rows, out + used, room - used);
    if (tails == 0)
        return 0;
    used += tails;
    std::memset(out + used, 0, kStreamPadding);
    return used + kStreamPadding;
}

bool decode(const Shape& shape, const uint8_t* packed, size_t bytes, uint8_t* rows, uint8_t* workspace) noexcept
{
    if (bytes < kStreamPadding)
        return false;
    const size_t room = bytes - kStreamPadding;
    const Workspace space(shape, workspace);
    size_t used = 0;
    for (uint32_t c = 0; c < channels_of(shape); ++c) {
        const Plane& plane = space.channels[c];
        std::memset(plane.memory, 0, Plane::bytes_of(shape.width, shape.rows));
        const size_t read = decode_plane(plane, packed + used, room - used, space.coding);
        if (read == 0)
            return false;
        used += read;
        restore_plane(plane);
    }
    join(shape, space, rows);
    return decode_tails(shape, packed + used, room - used, rows);
}

bool load() noexcept
{
    return true; // nothing to fetch: the codec is part of the library
}

void unload() noexcept {}

} // namespace

const Codec kSampleCodec = {
    .name = "samples",
    .load = load,
    .unload = unload,
    .workspace_bytes = workspace_bytes,
    .encode = encode,
    .decode = decode,
};

} // namespace vk::codec
