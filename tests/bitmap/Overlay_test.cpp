// What hangs on a bitmap and goes with it: overlays, the region, and the caller's own data.
#include "kernel/bitmap/Overlay.h"
#include "tests/support/FaultLoop.h"
#include "tests/support/TestTurn.h"

#include "Vkbitmap.h"
#include "Vkrotate.h"
#include "Vkview.h"

#include <tuple>

using namespace vk::testing;

namespace {

TEST(Overlay, TableAndItsBitmapsGoWithTheBitmap)
{
    for (const uint32_t size : kRecordSizes)
        for (const bool allocated : {true, false}) // also with a record that has no storage
            for_each_fault([&] {
                TestBitmap bitmap(size);
                if (allocated && bitmap.create(TYPE_CONV, 10, 10, 8) != SUCCESS)
                    return;
                vk::OverlayTable* const table = vk::require_overlays(*bitmap);
                EXPECT_TRUE(bitmap->Overlays == table);
                if (table == nullptr)
                    return;
                EXPECT_EQ(table, vk::require_overlays(*bitmap)) << "one table per bitmap";
                constexpr uint32_t kinds[] = {TYPE_CONV, TYPE_DISK, TYPE_COMPRESSED};
                for (int slot = 0; slot < vk::kOverlaySlots; slot += 5)
                    V_CreateBitmap(table->bitmaps + slot, BITMAPHANDLE_SIZE, kinds[slot % 3], 30, 3, 1, COLORORDER_RGB,
                                   nullptr, TOP_LEFT, nullptr, 0);
                V_FreeBitmap(bitmap);
                EXPECT_TRUE(bitmap->Overlays == nullptr);
            });
}

TEST(Region, IsFreedThroughItsHook)
{
    int frees = 0;
    REGIONHOOKS hooks{};
    hooks.StructSize = sizeof hooks;
    hooks.UserData = &frees;
    hooks.FreeRegion = [](BITMAPHANDLE* bitmap, void* count) {
        EXPECT_TRUE(bitmap->RgnInfo != nullptr);
        ++*static_cast<int*>(count);
        return -1; // too late to matter
    };
    EXPECT_EQ(SUCCESS, V_SetRegionHooks(&hooks));
    hooks.StructSize = 1;
    EXPECT_EQ(ERROR_INVALID_STRUCT_SIZE, V_SetRegionHooks(&hooks));
    for (const auto& [allocated, hooked, then] : {std::tuple{true, true, 1}, {false, true, 2}, {false, false, 2}}) {
        TestBitmap bitmap;
        EXPECT_TRUE(!allocated || bitmap.create(TYPE_CONV, 10, 10, 8) == SUCCESS);
        EXPECT_TRUE(hooked || V_SetRegionHooks(nullptr) == SUCCESS);
        V_FreeBitmap(bitmap);
        bitmap->RgnInfo = &frees;
        V_FreeBitmap(bitmap);
        V_FreeBitmap(bitmap);
        EXPECT_TRUE(bitmap->RgnInfo == nullptr && frees == then) << frees;
    }
}

TEST(ExtraData, IsTheCallersUntilTheBitmapGoes)
{
    for (const uint32_t size : kRecordSizes) {
        TestBitmap bitmap(size);
        ASSERT_EQ(SUCCESS, bitmap.create(TYPE_CONV, 3, 3, 8));
        ASSERT_EQ(SUCCESS, V_AllocateBitmapExtraData(bitmap, 1000));
        auto* const block = static_cast<uint8_t*>(bitmap->ExtraData);
        EXPECT_EQ(1000, std::count(block, block + 1000, 0));
        std::memset(block, 1, 1000);
        EXPECT_EQ(ERROR_NO_MEMORY, V_AllocateBitmapExtraData(bitmap, UINT64_MAX));
        EXPECT_EQ(ERROR_INVALID_PARAMETER, V_AllocateBitmapExtraData(bitmap, 0));
        EXPECT_TRUE(bitmap->ExtraData == block && bitmap->ExtraDataSize == 1000);
        ASSERT_EQ(SUCCESS, V_AllocateBitmapExtraData(bitmap, 10));
        EXPECT_EQ(10u, +bitmap->ExtraDataSize);
        expect_each(SUCCESS, {V_FreeBitmapExtraData(bitmap), V_FreeBitmapExtraData(bitmap)});
        EXPECT_TRUE(bitmap->ExtraData == nullptr && bitmap->ExtraDataSize == 0);
    }
}

/// Changes of a bitmap, and of what it shows, that take overlays along.
const struct {
    const char* name;
    int (*run)(BITMAPHANDLE* bitmap);
    bool relabels = false;
} kChanges[] = {
    {"flip", V_FlipBitmap},
    {"reverse", V_ReverseBitmap},
    {"stored flip", V_IntFlipBitmap},
    {"stored reverse", V_IntReverseBitmap},
    {"relabelled flip", V_FlipBitmapViewPerspective, true},
    {"relabelled reverse", V_ReverseBitmapViewPerspective, true},
    {"quarter turn", [](BITMAPHANDLE* b) { return V_RotateBitmap90(b, 1); }},
    {"quarter turn back", [](BITMAPHANDLE* b) { return V_RotateBitmap90(b, 0); }},
    {"rotation by nothing", [](BITMAPHANDLE* b) { return V_RotateBitmap(b, 0, ROTATEFLAG_GROW, 0); }},
    {"rotation by a quarter", [](BITMAPHANDLE* b) { return V_RotateBitmap(b, 9000, ROTATEFLAG_GROW, 0); }},
    {"rotation by a half", [](BITMAPHANDLE* b) { return V_RotateBitmap(b, 18000, ROTATEFLAG_GROW, 0); }},
    {"rotation back", [](BITMAPHANDLE* b) { return V_RotateBitmap(b, -9000, ROTATEFLAG_GROW, 0); }},
    {"perspective 2", [](BITMAPHANDLE* b) { return V_ChangeBitmapViewPerspective(nullptr, b, 0, 2); }},
    {"perspective 5", [](BITMAPHANDLE* b) { return V_ChangeBitmapViewPerspective(nullptr, b, 0, 5); }},
    {"perspective 8", [](BITMAPHANDLE* b) { return V_ChangeBitmapViewPerspective(nullptr, b, 0, 8); }},
    {"copy in perspective 7",
     [](BITMAPHANDLE* b) {
         BITMAPHANDLE copy;
         const int result = V_ChangeBitmapViewPerspective(&copy, b, BITMAPHANDLE_SIZE, 7);
         V_FreeBitmap(b);
         *b = copy;
         return result;
     }},
};

TEST(Overlay, LiesOverTheSamePixelsWhateverThePerspectives)
{
    constexpr int32_t kInverse[] = {0, 1, 2, 3, 4, 5, 8, 7, 6};
    const Picture shown = Picture::noise(14, 9, 8, 3);
    for (const auto& change : kChanges)
        for (int32_t perspective = 1; perspective <= 8; ++perspective) {
            SCOPED_TRACE(std::string(change.name) + " in perspective " + std::to_string(perspective));
            TestBitmap bitmap;
            ASSERT_NO_FATAL_FAILURE(
                make_stored(bitmap, Kind::conv, shown.shown(kInverse[perspective]), 8, perspective));
            ASSERT_EQ(shown, read(bitmap.get()).shown(perspective));
            vk::OverlayTable* const table = vk::require_overlays(*bitmap.get());
            ASSERT_NE(nullptr, table);
            for (int32_t own = 1; own <= 8; ++own) { // each shows the same
                TestBitmap overlay;
                ASSERT_NO_FATAL_FAILURE(
                    make_stored(overlay, own == 3 ? Kind::disk : Kind::conv, shown.shown(kInverse[own]), 8, own));
                ASSERT_EQ(SUCCESS, V_CopyBitmap(table->bitmaps + own, overlay.get(), BITMAPHANDLE_SIZE));
            }
            ASSERT_EQ(SUCCESS, change.run(bitmap.get()));
            const Picture now = read(bitmap.get()).shown(bitmap->ViewPerspective);
            auto* const after = static_cast<vk::OverlayTable*>(bitmap->Overlays);
            ASSERT_NE(nullptr, after);
            for (int32_t own = 1; own <= 8; ++own) {
                BITMAPHANDLE* const overlay = after->bitmaps + own;
                EXPECT_EQ(now, read(overlay).shown(overlay->ViewPerspective)) << "of perspective " << own;
                if (change.relabels)
                    continue;
                EXPECT_EQ(own == perspective ? +bitmap->ViewPerspective : own, +overlay->ViewPerspective);
            }
        }
}

/// A region is a number here, whose sign a flip changes and which a reversal doubles.
struct Regions {
    int live = 0;
    int flips = 0;
    int result = SUCCESS;

    static int& of(BITMAPHANDLE* bitmap)
    {
        EXPECT_TRUE(bitmap->RgnInfo != nullptr);
        return *static_cast<int*>(bitmap->RgnInfo);
    }

    REGIONCOPYHOOKS hooks()
    {
        REGIONCOPYHOOKS hooks{};
        hooks.Hooks.StructSize = sizeof hooks;
        hooks.Hooks.UserData = this;
        hooks.Hooks.FlipRegion = [](BITMAPHANDLE* bitmap, void* self) {
            ++static_cast<Regions*>(self)->flips;
            of(bitmap) *= -1;
            return SUCCESS;
        };
        hooks.Hooks.ReverseRegion = [](BITMAPHANDLE* bitmap, void* self) {
            if (static_cast<Regions*>(self)->result == SUCCESS)
                of(bitmap) *= 2;
            return static_cast<Regions*>(self)->result;
        };
        hooks.Hooks.FreeRegion = [](BITMAPHANDLE* bitmap, void* self) {
            --static_cast<Regions*>(self)->live;
            delete &of(bitmap);
            return SUCCESS;
        };
        hooks.CopyRegion = [](BITMAPHANDLE* to, BITMAPHANDLE* from, void* self) {
            ++static_cast<Regions*>(self)->live;
            to->RgnInfo = new int(of(from));
            return SUCCESS;
        };
        return hooks;
    }
};

TEST(Region, GoesAlongWithACopyInAnotherPerspective)
{
    struct {
        int32_t to;
        uint32_t flags;
        int region; ///< of the copy; 0: none
        bool stays; ///< with the source
    } const cases[] = {
        {4, DUPFLAG_COPY, -1, true},
        {2, DUPFLAG_COPY, 2, true},
        {3, DUPFLAG_COPY, -2, true},
        {6, DUPFLAG_REGION, 1, true},
        {4, DUPFLAG_PALETTE, 0, true},
        {1, DUPFLAG_COPY, 1, true},
        {4, DUPFLAG_TAKEOVER, -1, false},
        {2, DUPFLAG_TAKEOVER, 2, false},
        {3, DUPFLAG_TAKEOVER | DUPFLAG_REGION, -2, true},
    };
    for (const bool with_callbacks : {false, true})
        for (const auto& c : cases) {
            SCOPED_TRACE("to " + std::to_string(c.to) + ", flags " + std::to_string(c.flags));
            Regions regions;
            const REGIONCOPYHOOKS hooks = regions.hooks();
            ASSERT_EQ(SUCCESS, V_SetRegionHooks(&hooks.Hooks));
            {
                TestBitmap bitmap;
                ASSERT_EQ(SUCCESS, bitmap.create(TYPE_CONV, 9, 5, 8));
                BITMAPDATACALLBACKS calls{};
                calls.StructSize = sizeof calls;
                calls.EndCopyBitmapDataCallback = [](BITMAPHANDLE*, BITMAPHANDLE*, void*) { return SUCCESS; };
                if (with_callbacks) { // the copy is made first and changed then
                    ASSERT_EQ(SUCCESS, V_SetBitmapDataCallbacks(bitmap.get(), &calls));
                }
                bitmap->RgnInfo = new int(1);
                ++regions.live;
                TestBitmap made;
                ASSERT_EQ(SUCCESS,
                          V_IntChangeBitmapViewPerspective(made.get(), bitmap.get(), BITMAPHANDLE_SIZE, c.to, c.flags));
                EXPECT_EQ(c.region, made->RgnInfo ? Regions::of(made.get()) : 0);
                EXPECT_EQ(c.stays, bitmap->RgnInfo != nullptr);
                EXPECT_TRUE(!c.stays || Regions::of(bitmap.get()) == 1);
            }
            EXPECT_EQ(0, regions.live);
            V_SetRegionHooks(nullptr);
        }
}

TEST(Region, HalfATurnIsAllOrNothing)
{
    Regions regions;
    regions.result = ERROR_INVALID_HANDLE;
    const REGIONCOPYHOOKS hooks = regions.hooks();
    for (const Kind kind : {Kind::conv, Kind::disk, Kind::super}) {
        TestBitmap bitmap;
        const Picture picture = Picture::noise(9, 5, 8, 1);
        ASSERT_NO_FATAL_FAILURE(make_stored(bitmap, kind, picture, 8));
        int region = 5;
        bitmap->RgnInfo = &region;
        ASSERT_EQ(SUCCESS, V_SetRegionHooks(&hooks.Hooks));
        EXPECT_EQ(ERROR_INVALID_HANDLE, V_RotateBitmap(bitmap.get(), 18000, 0, 0));
        V_SetRegionHooks(nullptr);
        EXPECT_EQ(5, region) << "flipped back";
        EXPECT_EQ(picture, read(bitmap.get()));
    }
}

TEST(Region, IsTheSameForACopyWhereNobodyFreesIt)
{
    int region = 0;
    TestBitmap bitmap;
    ASSERT_EQ(SUCCESS, bitmap.create(TYPE_CONV, 9, 5, 8));
    bitmap->RgnInfo = &region;
    TestBitmap made;
    ASSERT_EQ(SUCCESS, V_ChangeBitmapViewPerspective(made.get(), bitmap.get(), BITMAPHANDLE_SIZE, 4));
    EXPECT_EQ(static_cast<void*>(&region), +made->RgnInfo);
    Regions regions;
    REGIONCOPYHOOKS hooks = regions.hooks();
    hooks.Hooks.StructSize = sizeof hooks.Hooks; // nobody to copy it
    ASSERT_EQ(SUCCESS, V_SetRegionHooks(&hooks.Hooks));
    TestBitmap other;
    EXPECT_EQ(SUCCESS, V_ChangeBitmapViewPerspective(other.get(), bitmap.get(), BITMAPHANDLE_SIZE, 4));
    EXPECT_EQ(nullptr, +other->RgnInfo);
    EXPECT_EQ(0, regions.flips);
    V_SetRegionHooks(nullptr);
}

} // namespace
