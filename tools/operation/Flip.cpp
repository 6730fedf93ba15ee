/**
 * @file Flip.cpp
 * flip, mirror and orient: the picture upside down, left to right, or as another view perspective has it.
 */
#include "tools/Operation.h"
#include "tools/Values.h"

namespace vk::tool {

namespace {

Action prepare_flip(const Arguments&)
{
    return [](Bitmap& bitmap) { check(V_FlipBitmap(&bitmap.record()), "flipping"); };
}

Action prepare_mirror(const Arguments&)
{
    return [](Bitmap& bitmap) { check(V_ReverseBitmap(&bitmap.record()), "mirroring"); };
}

RowStage prepare_mirror_rows(const Arguments& arguments)
{
    return in_bands(prepare_mirror(arguments));
}

const Option kOrientOptions[] = {
    {"--from", "N", "view perspective of the file's rows, 1 to 8 as cameras count them (default: as the file says)"},
    {"--to", "N", "view perspective of the rows written (default 1, top left)"},
};

Action prepare_orient(const Arguments& arguments)
{
    const int32_t from = arguments.has("--from") ? count_option(arguments, "--from", TOP_LEFT) : 0;
    const int32_t to = count_option(arguments, "--to", TOP_LEFT);
    if (from > 8 || to > 8) {
        throw UsageError("view perspectives are 1 to 8");
    }
    return [from, to](Bitmap& bitmap) {
        if (from != 0) {
            bitmap.record().ViewPerspective = from;
        }
        bitmap.rows_as_they_are = true;
        check(V_ChangeBitmapViewPerspective(nullptr, &bitmap.record(), BITMAPHANDLE_SIZE, to),
              "changing the perspective");
    };
}

} // namespace

extern const Operation kFlip;
const Operation kFlip = {"flip", "flipping", "Turns a picture upside down.", {}, &prepare_flip};

extern const Operation kMirror;
const Operation kMirror = {"mirror",        "mirroring", "Exchanges left and right.", {},
                           &prepare_mirror, false,       &prepare_mirror_rows};

extern const Operation kOrient;
const Operation kOrient = {"orient",       "turning",       "Brings a picture from one view perspective to another.",
                           kOrientOptions, &prepare_orient, true};

} // namespace vk::tool
