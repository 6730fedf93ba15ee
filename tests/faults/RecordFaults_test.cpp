// Every exported function that takes a record, with every call to the system in it failing by turns: once, and from
// there on for good. A failure has a code of its own, leaves the bitmap as its description says, loses nothing, and the
// same call goes well afterwards. The functions are those of the table in tests/abi, so a new one is tried by being
// there; tests/faults/OtherFaults_test.cpp does the same with all others.
#include "tests/abi/RecordOperations.h"
#include "tests/faults/Failures.h"
#include "tests/support/FaultLoop.h"
#include "tests/support/TestBitmap.h"

#include <array>

namespace vk::testing {

/// An operation, and those before it in the bitmap's life.
struct Step {
    Family family;
    size_t index = 0;

    const RecordOperation& operation() const { return family[index]; }
};

void PrintTo(const Step& step, std::ostream* out)
{
    *out << step.operation().name;
}

namespace {

struct Origin {
    Kind kind;
    int32_t bits;
    int32_t order;
};

const Origin kOrigins[] = {
    {Kind::conv, 24, COLORORDER_BGR},        {Kind::conv, 8, COLORORDER_GRAY},       {Kind::global, 4, COLORORDER_BGR},
    {Kind::tiled_file, 16, COLORORDER_GRAY}, {Kind::tiled_mixed, 1, COLORORDER_BGR}, {Kind::disk, 32, COLORORDER_BGR},
    {Kind::compressed, 1, COLORORDER_BGR},   {Kind::super, 8, COLORORDER_BGR},       {Kind::user, 32, COLORORDER_BGR},
};

constexpr bool is_in_file(Kind kind)
{
    return kind == Kind::disk || kind == Kind::tiled_file || kind == Kind::tiled_mixed;
}

/// What there is to see of a bitmap: its form, its stored rows, its palette, its region and its overlays.
struct Sight {
    std::array<int32_t, 5> form{};
    std::vector<Bytes> rows;
    std::vector<int64_t> region;

    bool operator==(const Sight&) const = default;
};

Bytes bytes_of(const void* first, size_t count)
{
    const auto* const bytes = static_cast<const uint8_t*>(first);
    return bytes ? Bytes(bytes, bytes + count) : Bytes();
}

void look_at_region(B bitmap, Sight& sight)
{
    std::array<V_REGIONRUN, kRow> runs{};
    for (int32_t row = 0; V_BitmapHasRegion(bitmap) == 1 && row < bitmap->Height; ++row) {
        auto count = static_cast<int32_t>(runs.size());
        sight.region.push_back(V_GetBitmapRegionRow(bitmap, row, &count, runs.data()));
        for (int32_t i = 0; i < count; ++i)
            sight.region.insert(sight.region.end(),
                                {runs[static_cast<size_t>(i)].nFirst, runs[static_cast<size_t>(i)].nEnd});
    }
}

Sight look_at(B bitmap, bool with_overlays = true)
{
    Sight sight;
    sight.form = {bitmap->Width, bitmap->Height, bitmap->BitsPerPixel, bitmap->Order, bitmap->ViewPerspective};
    EXPECT_EQ(SUCCESS, V_AccessBitmap(bitmap));
    for (int32_t row = 0; row < bitmap->Height; ++row) {
        Bytes bytes(bitmap->BytesPerLine);
        bytes.push_back(V_GetBitmapRow(bitmap, bytes.data(), row, bitmap->BytesPerLine) > 0);
        sight.rows.push_back(bytes);
    }
    EXPECT_EQ(SUCCESS, V_ReleaseBitmap(bitmap));
    sight.rows.push_back(bytes_of(bitmap->Palette, sizeof(RGBQUAD) * bitmap->Colors));
    sight.rows.push_back(bytes_of(bitmap->LUT, sizeof(RGBQUAD) * bitmap->LUTLength));
    look_at_region(bitmap, sight);
    for (int32_t slot = 0; with_overlays && bitmap->Overlays && slot < OVERLAY_SLOTS; ++slot) {
        TestBitmap overlay;
        if (V_GetBitmapOverlay(bitmap, slot, overlay, BITMAPHANDLE_SIZE, OVERLAY_COPY) == SUCCESS)
            for (const Bytes& row : look_at(overlay, false).rows)
                sight.rows.push_back(row);
    }
    return sight;
}

/// A bitmap that has come as far as its next operation.
class Life {
public:
    Life(const Origin& origin, const Step& step)
    {
        TestRandom random(7);
        bitmap_.make(origin.kind, kWidth, kHeight, origin.bits);
        bitmap_->Order = origin.order;
        bitmap_.paint(random);
        std::fill(g_row.begin(), g_row.end(), uint8_t{0});
        for (size_t i = 0; i < step.index; ++i)
            step.family[i].run(bitmap_);
        before_ = look();
        image_ = bitmap_.image();
    }

    B bitmap() { return bitmap_; }
    Sight look() { return look_at(bitmap_); }
    bool is_as_before() { return image_ == bitmap_.image() && before_ == look(); }

private:
    TestBitmap bitmap_;
    Sight before_;
    Bytes image_;
};

/// What an operation does when nothing fails.
struct Wanted {
    intptr_t result = 0;
    Sight sight;
    uint64_t calls = 0;
};

Wanted without_faults(const Origin& origin, const Step& step)
{
    Life life(origin, step);
    Wanted wanted;
    fault::arm(0, false);
    wanted.result = step.operation().run(life.bitmap());
    wanted.calls = fault::calls();
    fault::disarm();
    wanted.sight = life.look();
    return wanted;
}

void with_faults(const Origin& origin, const Step& step, const Wanted& wanted)
{
    for_each_fault_in([&](FaultRound& round) {
        Life life(origin, step);
        const intptr_t result = round([&] { return step.operation().run(life.bitmap()); });
        if (result == wanted.result) { // it found another way
            EXPECT_TRUE(wanted.sight == life.look());
            return;
        }
        EXPECT_TRUE(round.fired && is_failure(result)) << result << " in place of " << wanted.result;
        // What was written to a file cannot be put back when the file takes nothing any more.
        const bool is_stuck = round.persistent && is_in_file(origin.kind);
        if (step.operation().failed == Failed::leaves_it && !is_stuck) {
            EXPECT_TRUE(life.is_as_before()) << "after " << result;
            EXPECT_EQ(wanted.result, step.operation().run(life.bitmap())) << "when nothing fails any more";
            EXPECT_TRUE(wanted.sight == life.look());
        } else {
            step.operation().run(life.bitmap());
            life.look();
        }
    });
}

std::vector<Step> all_steps()
{
    std::vector<Step> steps;
    for (const Family& family : all_families())
        for (size_t i = 0; i < family.size(); ++i)
            steps.push_back({family, i});
    return steps;
}

class RecordFaults : public ::testing::TestWithParam<Step> {};

TEST_P(RecordFaults, EveryCall)
{
    bool goes_well = false, calls = false;
    for (const Origin& origin : kOrigins) {
        SCOPED_TRACE(say(GetParam().operation().name, "on", name_of(origin.kind), origin.bits));
        without_faults(origin, GetParam()); // what is made once per process is there now
        const Wanted wanted = without_faults(origin, GetParam());
        goes_well |= wanted.result >= 0;
        calls |= wanted.calls != 0;
        if (wanted.calls != 0)
            with_faults(origin, GetParam(), wanted);
    }
    EXPECT_TRUE(goes_well || !calls) << "no bitmap is of the kind that it wants";
}

INSTANTIATE_TEST_SUITE_P(Exports, RecordFaults, ::testing::ValuesIn(all_steps()));

} // namespace
} // namespace vk::testing
