// The layouts that others rely on without seeing our headers: every field of the record by its offset, and the sizes of
// the other records.
#include "Vksystem.h"
#include "Vktemp.h"

#include <cstddef>

namespace {

#define VK_FIELD_AT(field, offset) static_assert(offsetof(BITMAPHANDLE, field) == (offset))

VK_FIELD_AT(StructSize, 0);
VK_FIELD_AT(Handle, 4);
VK_FIELD_AT(Data, 12);
VK_FIELD_AT(Width, 20);
VK_FIELD_AT(Height, 24);
VK_FIELD_AT(BitsPerPixel, 28);
VK_FIELD_AT(BytesPerLine, 32);
VK_FIELD_AT(CurrentPos, 36);
VK_FIELD_AT(CurrentRow, 44);
VK_FIELD_AT(Flags, 48);
VK_FIELD_AT(Colors, 52);
VK_FIELD_AT(Palette, 56);
VK_FIELD_AT(ViewPerspective, 64);
VK_FIELD_AT(Order, 68);
VK_FIELD_AT(Size, 72);
VK_FIELD_AT(DitherData, 80);
VK_FIELD_AT(DitheringMethod, 88);
VK_FIELD_AT(RgnInfo, 92);
VK_FIELD_AT(XResolution, 100);
VK_FIELD_AT(YResolution, 104);
VK_FIELD_AT(Left, 108);
VK_FIELD_AT(Top, 112);
VK_FIELD_AT(Delay, 116);
VK_FIELD_AT(Background, 120);
VK_FIELD_AT(Transparency, 124);
VK_FIELD_AT(DisposalMethod, 128);
VK_FIELD_AT(LowBit, 132);
VK_FIELD_AT(HighBit, 136);
VK_FIELD_AT(LUT, 140);
VK_FIELD_AT(LUTLength, 148);
VK_FIELD_AT(DataOffset, 152);
VK_FIELD_AT(MinVal, 160);
VK_FIELD_AT(MaxVal, 164);
VK_FIELD_AT(PaintLowBit, 168);
VK_FIELD_AT(PaintHighBit, 172);
VK_FIELD_AT(PaintGamma, 176);
VK_FIELD_AT(PaintContrast, 180);
VK_FIELD_AT(PaintIntensity, 184);
VK_FIELD_AT(PaintLUT, 188);
VK_FIELD_AT(Overlays, 196);
VK_FIELD_AT(OriginalFormat, 204);
VK_FIELD_AT(ExtraData, 208);
VK_FIELD_AT(ExtraDataSize, 216);
VK_FIELD_AT(LUTLength16, 224);
VK_FIELD_AT(LUT16, 228);
VK_FIELD_AT(PaintLUT16, 236);
VK_FIELD_AT(Size64, 252);
VK_FIELD_AT(LockCount, 268);
VK_FIELD_AT(DataCallbacks, 272);
VK_FIELD_AT(Reserved, 280);
#undef VK_FIELD_AT

static_assert(sizeof(BITMAPHANDLE) == 284);
static_assert(BITMAPHANDLE_SIZE_EARLIER == 228);
static_assert(sizeof(ALLOCATEBITMAPCALLBACKDATA) == 56);
static_assert(sizeof(BITMAPDATACALLBACKS) == 88);
static_assert(sizeof(GLOBALMEMORYTHRESHOLDS) == 16);
static_assert(sizeof(TEMPFILEOPTIONS) == 24);
static_assert(sizeof(RGBQUAD) == 4 && sizeof(V_RGBQUAD16) == 8 && sizeof(RECT) == 16);

} // namespace
