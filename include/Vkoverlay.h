/**
 * @file Vkoverlay.h
 * Overlays: sixteen 1-bit pictures over a bitmap, such as marks and notes on medical images. Vkkrnx.h includes it.
 *
 * An overlay has the size and the view perspective of its bitmap, a pixel over each of the bitmap's; 1 is drawn, 0 is
 * not. It follows the bitmap's pixels through every flip, turn, resize and cut, is copied with the bitmap
 * (DUPFLAG_OVERLAYS) and freed with it. What is said of an overlay belongs to its slot, 0 to 15: it can be said before
 * there is a picture, and goes along with it.
 */
#ifndef VKOVERLAY_H
#define VKOVERLAY_H

#include "Vkrecord.h"

#define OVERLAY_SLOTS 16

/** What becomes of the picture passed, or of the slot's. */
#define OVERLAY_COPY 0u /**< it stays where it is */
#define OVERLAY_MOVE 1u /**< it is taken away: the record there is empty afterwards */

#define OVERLAYFLAG_VISIBLE 0x01u /**< V_FlattenBitmapOverlays and displays show it */
#define OVERLAY_NOBIT (-1)        /**< nBit of an overlay that has no place in the samples */

/** What is said of an overlay. At first it is visible, white, at 0, 0, in no bit, with an empty label. 88 bytes. */
typedef struct V_OVERLAYATTRIBUTES {
    uint32_t StructSize; /**< size of this record */
    uint32_t Flags;      /**< OVERLAYFLAG_ bits */
    COLORREF Color;      /**< what its pixels are drawn in: a colour, not an index */
    int32_t nOriginCol;  /**< where V_SetBitmapOverlay lays a picture: the bitmap's stored column */
    int32_t nOriginRow;  /**< and stored row under the picture's first pixel */
    int32_t nBit;        /**< the bit of gray samples in which it is kept, 0 the lowest, or OVERLAY_NOBIT */
    char Label[64];      /**< text in UTF-8, ended by a zero */
} V_OVERLAYATTRIBUTES;

V_EXTERN_C_BEGIN

/**
 * Puts a picture into a slot, in place of the one there.
 * @param pBitmap an allocated bitmap. @param nIndex the slot. @param pOverlay an allocated 1-bit bitmap of any size and
 * storage, which the overlay's is like. It is laid at the slot's origin, the way up that both are displayed; what lies
 * outside of the bitmap is cut off, and what it leaves free is clear.
 * @param uFlags OVERLAY_COPY, or OVERLAY_MOVE: the record is empty but for StructSize afterwards.
 * @return SUCCESS; ERROR_INVALID_PARAMETER: null or the same record, another slot or flag, or different perspectives of
 * which one is none; ERROR_INVALID_STRUCT_SIZE; ERROR_INVALID_IMAGE: not allocated; ERROR_INVALID_BITS_PER_PIXEL: an
 * overlay of more than 1 bit; ERROR_INVALID_WIDTH_HEIGHT: no pixels; ERROR_NO_MEMORY; a failed access or transfer. On
 * failure nothing has changed.
 * @remark One thread per bitmap at a time, for both bitmaps.
 */
V_API int V_SetBitmapOverlay(BITMAPHANDLE* pBitmap, int32_t nIndex, BITMAPHANDLE* pOverlay, uint32_t uFlags) V_NOEXCEPT;
/**
 * Takes the picture out of a slot, with the bitmap's size and perspective.
 * @param pOverlay receives it; what the record held is forgotten. @param uStructSize size of that record.
 * @param uFlags OVERLAY_COPY, or OVERLAY_MOVE: the slot is as at first afterwards.
 * @return as V_SetBitmapOverlay; ERROR_INVALID_PARAMETER: also a slot without a picture. On failure pOverlay is empty
 * but for StructSize, unless the pointers or uStructSize are to blame.
 * @remark One thread per bitmap at a time, for both bitmaps.
 */
V_API int V_GetBitmapOverlay(BITMAPHANDLE* pBitmap, int32_t nIndex, BITMAPHANDLE* pOverlay, uint32_t uStructSize,
                             uint32_t uFlags) V_NOEXCEPT;
/** Frees the picture of a slot, if it has one, and forgets what was said of it. @return SUCCESS;
 *  ERROR_INVALID_PARAMETER: null record or another slot; ERROR_INVALID_STRUCT_SIZE.
 *  @remark One thread per bitmap at a time. */
V_API int V_RemoveBitmapOverlay(BITMAPHANDLE* pBitmap, int32_t nIndex) V_NOEXCEPT;
/** Gives what is said of a slot. @param pAttributes receives it. @param uStructSize size of that record.
 *  @return SUCCESS; ERROR_INVALID_PARAMETER: null pointer or another slot; ERROR_INVALID_STRUCT_SIZE.
 *  @remark One thread per bitmap at a time. */
V_API int V_GetBitmapOverlayAttributes(BITMAPHANDLE* pBitmap, int32_t nIndex, V_OVERLAYATTRIBUTES* pAttributes,
                                       uint32_t uStructSize) V_NOEXCEPT;
/** Says something of a slot. A picture that is there stays where it is.
 *  @return as V_GetBitmapOverlayAttributes; ERROR_INVALID_PARAMETER: also unknown flags, a colour in any other form, a
 *  bit below -1 or above 31, or a label without end; ERROR_NO_MEMORY. On failure nothing has changed.
 *  @remark One thread per bitmap at a time. */
V_API int V_SetBitmapOverlayAttributes(BITMAPHANDLE* pBitmap, int32_t nIndex,
                                       const V_OVERLAYATTRIBUTES* pAttributes) V_NOEXCEPT;
/**
 * Makes the picture of a slot from its bit of the gray samples, in place of the one there. The samples stay as they
 * are; bits outside of LowBit to HighBit do not count in them.
 * @param pBitmap an allocated gray bitmap: samples of 12, 16 or 32 bits, or 8 bits in gray order or with a gray ramp.
 * @return SUCCESS; ERROR_INVALID_PARAMETER: null record, another slot, or a bit that the samples do not have;
 * ERROR_INVALID_STRUCT_SIZE; ERROR_INVALID_IMAGE: not allocated; ERROR_INVALID_BITS_PER_PIXEL: not gray;
 * ERROR_INVALID_WIDTH_HEIGHT: no pixels; ERROR_NO_MEMORY; a failed access or transfer. On failure nothing has changed.
 * @remark One thread per bitmap at a time.
 */
V_API int V_LoadBitmapOverlayBits(BITMAPHANDLE* pBitmap, int32_t nIndex) V_NOEXCEPT;
/** Writes the picture of a slot into its bit of the gray samples, in and outside of a region. The picture stays.
 *  @return as V_LoadBitmapOverlayBits; ERROR_INVALID_PARAMETER: also a slot without a picture.
 *  @remark One thread per bitmap at a time. */
V_API int V_StoreBitmapOverlayBits(BITMAPHANDLE* pBitmap, int32_t nIndex) V_NOEXCEPT;
/**
 * Makes a bitmap with the visible overlays drawn into its pixels, the highest slot last.
 * @param pDst receives the bitmap, with all parts of the source but the overlays; what the record held is forgotten.
 * Colours of 16 bits and more keep their form, everything else becomes 24 bits, through the look-up table in use as
 * V_ColorResBitmap does it. Null or pSrc: the source is replaced. @param pSrc an allocated bitmap.
 * @param uStructSize size of pDst's record, not used without one.
 * @return as V_ColorResBitmap. On failure the source is as it was, and a second record empty but for StructSize.
 * @remark One thread per bitmap at a time, for both bitmaps.
 */
V_API int V_FlattenBitmapOverlays(BITMAPHANDLE* pDst, BITMAPHANDLE* pSrc, uint32_t uStructSize) V_NOEXCEPT;

V_EXTERN_C_END

#endif /* VKOVERLAY_H */
