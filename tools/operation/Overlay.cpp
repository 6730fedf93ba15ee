/**
 * @file Overlay.cpp
 * overlay: pictures of two levels laid over a picture, drawn into it, or kept in a bit of its gray samples.
 */
#include "tools/Failure.h"
#include "tools/Forms.h"
#include "tools/Operation.h"
#include "tools/PictureFile.h"
#include "tools/Values.h"

namespace vk::tool {

namespace {

const Option kOptions[] = {
    {"--with", "PICTURE", "the picture to lay over; where it is white it is drawn"},
    {"--dark", nullptr, "with --with: where it is black instead"},
    {"--at", "X,Y", "with --with: where its top left corner goes (default 0,0)"},
    {"--load", "BIT", "instead of a picture: this bit of the gray samples, 0 the lowest"},
    {"--color", "RRGGBB", "what it is drawn in (default ff0000)"},
    {"--slot", "N", "which of sixteen overlays it becomes, 0 (default) to 15; the higher ones are drawn last"},
    {"--store", "BIT", "keep it in this bit of the gray samples instead of drawing it"},
    {"--take", nullptr, "make it the picture instead of drawing it"},
    {"--keep", nullptr, "draw nothing yet: what follows in a chain moves it along; a last overlay step draws it"},
};

struct Request {
    std::optional<std::string> picture;
    bool is_dark = false;
    std::array<int32_t, 2> at{};
    int32_t slot = 0;
    int32_t load = OVERLAY_NOBIT;
    int32_t store = OVERLAY_NOBIT;
    COLORREF color = 0x0000FF;
};

Request read_request(const Arguments& arguments)
{
    constexpr int32_t kLastBit = 31;
    Request request;
    request.picture = arguments.value("--with");
    request.is_dark = arguments.has("--dark");
    request.at = integers_option<2>(arguments, "--at").value_or(request.at);
    request.slot = number_option(arguments, "--slot", 0, 0, OVERLAY_SLOTS - 1);
    request.load = number_option(arguments, "--load", OVERLAY_NOBIT, 0, kLastBit);
    request.store = number_option(arguments, "--store", OVERLAY_NOBIT, 0, kLastBit);
    request.color = color_option(arguments, "--color").value_or(request.color);
    if (arguments.has("--with") + arguments.has("--load") > 1 ||
        arguments.has("--store") + arguments.has("--take") + arguments.has("--keep") > 1) {
        throw UsageError("overlay takes one of --with and --load, and one of --store, --take and --keep");
    }
    return request;
}

void set_attributes(BITMAPHANDLE& record, const Request& request, int32_t bit)
{
    V_OVERLAYATTRIBUTES said{};
    check(V_GetBitmapOverlayAttributes(&record, request.slot, &said, sizeof said), "describing the overlay");
    said.Color = request.color;
    said.nOriginCol = request.at[0];
    said.nOriginRow = request.at[1];
    said.nBit = bit;
    check(V_SetBitmapOverlayAttributes(&record, request.slot, &said), "describing the overlay");
}

/** Puts the picture, or the bit, into the slot. */
void lay(BITMAPHANDLE& record, const Request& request)
{
    set_attributes(record, request, request.load);
    if (!request.picture) {
        check(V_LoadBitmapOverlayBits(&record, request.slot), "loading the overlay");
        return;
    }
    const std::unique_ptr<Bitmap> picture = load_bitmap(*request.picture, unseen);
    BITMAPHANDLE& over = picture->record();
    make_two_levels(over);
    if (request.is_dark) {
        check(V_CombineBitmap(&over, 0, 0, over.Width, over.Height, &over, 0, 0, COMBINE_INVERT), "inverting");
    }
    check(V_SetBitmapOverlay(&record, request.slot, &over, OVERLAY_MOVE), "laying over");
}

void store(BITMAPHANDLE& record, const Request& request)
{
    set_attributes(record, request, request.store);
    check(V_StoreBitmapOverlayBits(&record, request.slot), "storing the overlay");
    check(V_RemoveBitmapOverlay(&record, request.slot), "storing the overlay");
}

void take(BITMAPHANDLE& record, const Request& request)
{
    BITMAPHANDLE over;
    check(V_GetBitmapOverlay(&record, request.slot, &over, BITMAPHANDLE_SIZE, OVERLAY_MOVE), "taking the overlay");
    V_FreeBitmap(&record);
    record = over;
}

void flatten(BITMAPHANDLE& record)
{
    check(V_FlattenBitmapOverlays(nullptr, &record, 0), "drawing overlays");
    for (int32_t slot = 0; slot < OVERLAY_SLOTS; ++slot) {
        check(V_RemoveBitmapOverlay(&record, slot), "drawing overlays");
    }
}

Action prepare(const Arguments& arguments)
{
    const Request request = read_request(arguments);
    const bool is_kept = arguments.has("--keep");
    const bool is_taken = arguments.has("--take");
    return [request, is_kept, is_taken](Bitmap& bitmap) {
        BITMAPHANDLE& record = bitmap.record();
        if (request.picture || request.load != OVERLAY_NOBIT) {
            lay(record, request);
        }
        if (request.store != OVERLAY_NOBIT) {
            store(record, request);
        } else if (is_taken) {
            take(record, request);
        } else if (!is_kept) {
            flatten(record);
        }
    };
}

} // namespace

extern const Operation kOverlay;
const Operation kOverlay = {"overlay", "overlays", "Lays a picture of two levels over a picture.", kOptions, &prepare};

} // namespace vk::tool
