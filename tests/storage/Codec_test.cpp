// The codecs of super-compressed storage: every shape comes back byte for byte, packed to what it should take; blocks
// that no encoder wrote end in a refusal, with guard pages around all that a decoder may touch.
#include "kernel/storage/codec/Changes.h"
#include "kernel/storage/codec/Codec.h"
#include "kernel/storage/codec/Predict.h"
#include "kernel/storage/codec/Prefix.h"
#include "tests/support/GuardedBuffer.h"
#include "tests/support/TestBitmap.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

using namespace vk::codec;
using namespace vk::testing;

namespace {

enum class Look { clear, full, noise, smooth, runs, tails, lines };
constexpr Look kLooks[] = {Look::clear, Look::full, Look::noise, Look::smooth, Look::runs, Look::tails, Look::lines};

/// Rows that look like something; only `tails` has anything behind the pixels.
Bytes rows_of(const Shape& shape, Look look, TestRandom& random)
{
    Bytes rows(shape.bytes());
    const size_t used = packed_bytes_of(shape.width, shape.bits);
    uint8_t now = 0;
    const auto byte_at = [&](size_t y, size_t i, const uint8_t* above) -> uint64_t {
        if (i >= used)
            return look == Look::tails ? random.next() : 0;
        switch (look) {
        case Look::clear:
        case Look::tails:
            break;
        case Look::full:
            return 0xFF;
        case Look::noise:
            return random.next();
        case Look::smooth:
            return y + i / 3 + random.below(3);
        case Look::runs:
            now = random.one_in(9) ? static_cast<uint8_t>(random.next()) : now;
            return random.one_in(3) && y != 0 ? *above : now;
        case Look::lines:
            return i % 40 == 7 ? 0x3C : y % 29 == 3 ? 0xFF : 0;
        }
        return 0;
    };
    for (size_t at = 0; at < rows.size(); ++at) {
        const size_t y = at / shape.bytes_per_line;
        rows[at] = static_cast<uint8_t>(
            byte_at(y, at % shape.bytes_per_line, y != 0 ? &rows[at - shape.bytes_per_line] : nullptr));
    }
    return rows;
}

const Codec& codec_for(int32_t bits)
{
    return bits == 1 ? kPageCodec : kSampleCodec;
}

/// A packed block, or none when it would take more than the rows and what the tables of codes may.
Bytes packed(const Shape& shape, const Bytes& rows)
{
    const Codec& codec = codec_for(shape.bits);
    Bytes workspace(codec.workspace_bytes(shape), 0xA5);
    Bytes out(rows.size() + 2000);
    out.resize(codec.encode(shape, rows.data(), out.data(), out.size(), workspace.data()));
    return out;
}

/// Unpacks with guard pages at one end of everything; the rows, or nothing when the block was refused.
Bytes unpacked(const Shape& shape, const Bytes& block, GuardedBuffer::Edge edge)
{
    const Codec& codec = codec_for(shape.bits);
    GuardedBuffer from(block.size(), edge);
    GuardedBuffer rows(shape.bytes(), edge);
    GuardedBuffer workspace((codec.workspace_bytes(shape) + 15) & ~size_t{15}, edge);
    std::copy(block.begin(), block.end(), from.data());
    std::memset(workspace.data(), 0x5A, workspace.size());
    if (!codec.decode(shape, from.data(), block.size(), rows.data(), workspace.data()))
        return {};
    return Bytes(rows.data(), rows.data() + rows.size());
}

Shape shape_of(uint32_t width, uint32_t rows, int32_t bits, uint32_t extra = 0)
{
    const uint32_t line = (width * static_cast<uint32_t>(bits) + 31) / 32 * 4 + extra;
    return Shape{width, line, rows, bits};
}

} // namespace

TEST(Codec, EveryShapeComesBack)
{
    TestRandom random(301);
    SCOPED_TRACE(random);
    for (const int32_t bits : {1, 8, 24})
        for (const uint32_t width : {1u, 3u, 15u, 16u, 17u, 31u, 33u, 64u, 100u, 257u, 1000u})
            for (const uint32_t rows : {1u, 2u, 15u, 16u, 17u, 40u})
                for (const Look look : kLooks) {
                    const Shape shape = shape_of(width, rows, bits, random.one_in(4) ? 8 : 0);
                    SCOPED_TRACE(say(bits, "bits,", width, rows, "look", static_cast<int>(look)));
                    const Bytes from = rows_of(shape, look, random);
                    const Bytes block = packed(shape, from);
                    if (block.empty()) {
                        EXPECT_TRUE(look != Look::clear && look != Look::full);
                        continue;
                    }
                    const auto edge = random.one_in(2) ? GuardedBuffer::Edge::front : GuardedBuffer::Edge::back;
                    ASSERT_EQ(from, unpacked(shape, block, edge));
                    // One byte less does not do, and nothing is written behind it.
                    Bytes workspace(codec_for(bits).workspace_bytes(shape));
                    GuardedBuffer tight(block.size(), GuardedBuffer::Edge::back);
                    const auto encode = [&](uint8_t* out, size_t room) {
                        return codec_for(bits).encode(shape, from.data(), out, room, workspace.data());
                    };
                    if (bits != 1) { // the other codec asks for some bytes more than it takes in the end
                        ASSERT_EQ(block.size(), encode(tight.data(), block.size()));
                    }
                    ASSERT_EQ(0u, encode(tight.data() + 1, block.size() - 1));
                }
}

TEST(Codec, PacksAsItShould)
{
    TestRandom random(302);
    SCOPED_TRACE(random);
    const struct {
        int32_t bits;
        Look look;
        double most; ///< of the rows; above 1: refused
    } cases[] = {
        {1, Look::clear, 0.005}, {8, Look::clear, 0.001}, {24, Look::clear, 0.001}, {1, Look::lines, 0.05},
        {8, Look::lines, 0.1},   {8, Look::smooth, 0.35}, {24, Look::smooth, 0.45}, {1, Look::noise, 2},
        {8, Look::noise, 2},     {24, Look::noise, 2},
    };
    for (const auto& test : cases) {
        const Shape shape = shape_of(test.bits == 1 ? 8192 : test.bits == 8 ? 1024 : 512, 64, test.bits);
        const Bytes rows = rows_of(shape, test.look, random);
        Bytes workspace(codec_for(test.bits).workspace_bytes(shape));
        Bytes out(rows.size());
        const size_t bytes =
            codec_for(test.bits).encode(shape, rows.data(), out.data(), rows.size() - 1, workspace.data());
        const double share = static_cast<double>(bytes) / static_cast<double>(rows.size());
        EXPECT_EQ(test.most > 1, bytes == 0) << test.bits << ' ' << static_cast<int>(test.look);
        EXPECT_GE(test.most, share) << test.bits << ' ' << static_cast<int>(test.look);
    }
}

TEST(Codec, ForeignBytesAreRefusedOrHarmless)
{
    TestRandom random(303);
    SCOPED_TRACE(random);
    for (const int32_t bits : {1, 8, 24})
        for (const Look look : {Look::clear, Look::smooth, Look::runs, Look::lines, Look::tails}) {
            const Shape shape = shape_of(90, 18, bits);
            const Bytes rows = rows_of(shape, look, random);
            const Bytes block = packed(shape, rows);
            for (size_t size = 0; size < block.size(); size += 1 + block.size() / 97) // cut off: never taken for whole
                EXPECT_TRUE(unpacked(shape, Bytes(block.begin(), block.begin() + static_cast<std::ptrdiff_t>(size)),
                                     GuardedBuffer::Edge::back)
                                .empty());
            for (int i = 0; i < 300 && !block.empty(); ++i) {
                Bytes changed = block;
                for (uint64_t n = 1 + random.below(3); n != 0; --n)
                    changed[random.one_in(3) ? random.below(changed.size())
                                             : random.below(std::min<size_t>(changed.size(), 400))] =
                        static_cast<uint8_t>(random.next());
                unpacked(shape, changed, random.one_in(2) ? GuardedBuffer::Edge::front : GuardedBuffer::Edge::back);
            }
            for (int i = 0; i < 100; ++i) {
                Bytes noise(1 + random.below(3000));
                random.fill(noise.data(), noise.size());
                unpacked(shape, noise, GuardedBuffer::Edge::back);
            }
        }
    EXPECT_TRUE(packed(shape_of(1u << 20, 1, 1), Bytes(shape_of(1u << 20, 1, 1).bytes())).empty()) << "too wide";
}

TEST(Codec, WavesRestoreAsRowsDo)
{
    TestRandom random(304);
    SCOPED_TRACE(random);
    for (int i = 0; i < 200; ++i) {
        const auto width = static_cast<uint32_t>(random.between(1, 150));
        const auto rows = static_cast<uint32_t>(random.between(1, 50));
        Bytes memory[3];
        for (Bytes& bytes : memory)
            bytes.assign(Plane::bytes_of(width, rows), 0);
        const Plane samples = Plane::at(memory[0].data(), width, rows);
        const Plane residuals = Plane::at(memory[1].data(), width, rows);
        for (uint32_t y = 0; y < rows; ++y)
            random.fill(samples.row(y), width);
        for (uint32_t y = 0; y < rows; ++y) {
            predict_row(samples.row(y), samples.row(int64_t{y} - 1), residuals.row(y), width);
            std::fill_n(residuals.row(y) + width, kPadRight, uint8_t{0});
        }
        memory[2] = memory[1];
        const Plane plain = Plane::at(memory[2].data(), width, rows);
        restore_plane(residuals);
        restore_plane_plain(plain);
        for (uint32_t y = 0; y < rows; ++y) {
            ASSERT_TRUE(std::equal(samples.row(y), samples.row(y) + width, plain.row(y))) << width << " row " << y;
            ASSERT_TRUE(std::equal(samples.row(y), samples.row(y) + width, residuals.row(y))) << width << " row " << y;
        }
    }
}

TEST(Codec, ChangesDrawTheRowTheyWereFoundIn)
{
    TestRandom random(305);
    SCOPED_TRACE(random);
    for (uint32_t width = 1; width < 300; ++width) {
        const Shape shape = shape_of(width, 1, 1);
        const Bytes row = rows_of(shape, width % 2 ? Look::runs : Look::noise, random);
        std::vector<int32_t> changes(change_room(width));
        const size_t count = find_changes(row.data(), width, changes.data());
        Bytes drawn((width + 7) / 8);
        draw_changes(changes.data(), width, drawn.data());
        size_t at = 0;
        for (uint32_t x = 0; x < width; ++x) {
            const auto pixel = [&](const Bytes& bytes, uint32_t i) { return bytes[i / 8] >> (7 - i % 8) & 1; };
            EXPECT_EQ(pixel(row, x), pixel(drawn, x)) << width << ' ' << x;
            if (pixel(row, x) != (x == 0 ? 0 : pixel(row, x - 1))) {
                EXPECT_EQ(static_cast<int32_t>(x), changes[at++]);
            }
        }
        EXPECT_EQ(count, at);
    }
}

TEST(Codec, PrefixCodesAreCompleteAndReadable)
{
    TestRandom random(306);
    SCOPED_TRACE(random);
    for (int i = 0; i < 500; ++i) {
        const auto symbols = static_cast<uint32_t>(random.between(1, kMostSymbols));
        std::vector<uint32_t> counts(symbols);
        uint64_t bits = 0;
        for (uint32_t& count : counts) // steep ones meet the limit
            count = random.one_in(3) ? 0 : static_cast<uint32_t>(random.next() >> (33 + random.below(31)));
        Bytes lengths(symbols);
        code_lengths(counts.data(), symbols, lengths.data());
        std::vector<uint32_t> encoder(symbols);
        make_encoder(lengths.data(), symbols, encoder.data());
        std::vector<uint16_t> decoder(kDecoderEntries);
        ASSERT_TRUE(make_decoder(lengths.data(), symbols, decoder.data()));
        for (uint32_t s = 0; s < symbols; ++s) {
            EXPECT_EQ(counts[s] != 0, lengths[s] != 0);
            bits += lengths[s];
            if (lengths[s] != 0) {
                EXPECT_EQ(s | uint32_t{lengths[s]} << 8, decoder[encoder[s] & 0xFFFF]);
            }
        }
        Bytes written(kMostLengthBytes);
        const size_t bytes = write_lengths(lengths.data(), symbols, written.data());
        Bytes read(symbols, 99);
        ASSERT_EQ(bytes, read_lengths(written.data(), bytes, symbols, read.data()));
        EXPECT_EQ(lengths, read);
        EXPECT_EQ(0u, read_lengths(written.data(), bytes - 1, symbols, read.data()));
        if (bits > 4) { // one length changed is no code any more, but for codes of one symbol
            const auto at = static_cast<size_t>(std::max_element(lengths.begin(), lengths.end()) - lengths.begin());
            lengths[at] = static_cast<uint8_t>(lengths[at] - 1);
            EXPECT_FALSE(make_decoder(lengths.data(), symbols, decoder.data()));
        }
    }
}

TEST(Codec, UsersAreCountedByKind)
{
    const auto counts = [] { return std::array{users(1), users(8)}; };
    const auto [pages, samples] = counts();
    EXPECT_EQ((std::array<const Codec*, 4>{&kPageCodec, &kSampleCodec, &kSampleCodec, nullptr}),
              (std::array<const Codec*, 4>{acquire(1), acquire(8), acquire(24), acquire(16)}));
    EXPECT_EQ((std::array{pages + 1, samples + 2}), counts());
    EXPECT_EQ(samples + 2, users(24));
    for (const int32_t bits : {1, 8, 24})
        release(bits);
    EXPECT_EQ((std::array{pages, samples}), counts());
}
