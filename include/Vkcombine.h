/**
 * @file Vkcombine.h
 * The combine part of the Vkkrnx interface: parts of bitmaps, and bitmaps put into bitmaps. Vkkrnx.h includes it.
 *
 * Rows, columns and rectangles are stored pixels; V_RectToBitmap brings displayed ones there. A rectangle counts as far
 * as all bitmaps concerned have it: sizes of 0 and below, and places outside, leave nothing to do, which is SUCCESS.
 *
 * A source may differ from its destination in depth, colour order, palette and view perspective unless said otherwise,
 * and be the same bitmap, whose pixels are then all read before any is written. It is laid down the way up that it is
 * displayed; a rectangle of a source whose perspective differs begins at its smallest stored column and row all the
 * same, and is as high as the destination's is wide where one of the two is turned by a quarter.
 *
 * Where the destination has a region, only pixels inside of it are written. MinVal and MaxVal stay as they are.
 * Progress is reported, and what was written is put back when the status callback refuses or a transfer fails.
 */
#ifndef VKCOMBINE_H
#define VKCOMBINE_H

#include "Vkrecord.h"

/** What V_ExtendBitmap puts around a bitmap. */
#define EXTEND_FILL 0u   /**< the colour that is passed */
#define EXTEND_EDGE 1u   /**< the pixel at the edge, again and again */
#define EXTEND_MIRROR 2u /**< the picture mirrored at its edge, the pixel at the edge included */
#define EXTEND_WRAP 3u   /**< the picture again from its other side */

/** Operations of V_CombineBitmap: one of these, and flags. The first sixteen work on the bits of pixel values, s being
 *  the source's and d the destination's, the others on channels. */
#define COMBINE_COPY 0u          /**< s: the source's pixels, converted */
#define COMBINE_AND 1u           /**< s & d */
#define COMBINE_OR 2u            /**< s | d */
#define COMBINE_XOR 3u           /**< s ^ d */
#define COMBINE_AND_NOT_SRC 4u   /**< ~s & d: what the source has set is cleared */
#define COMBINE_AND_NOT_DST 5u   /**< s & ~d */
#define COMBINE_OR_NOT_SRC 6u    /**< ~s | d */
#define COMBINE_OR_NOT_DST 7u    /**< s | ~d */
#define COMBINE_NAND 8u          /**< ~(s & d) */
#define COMBINE_NOR 9u           /**< ~(s | d) */
#define COMBINE_XNOR 10u         /**< ~(s ^ d) */
#define COMBINE_COPY_NOT 11u     /**< ~s */
#define COMBINE_INVERT 12u       /**< ~d */
#define COMBINE_CLEAR 13u        /**< all bits clear */
#define COMBINE_SET 14u          /**< all bits set */
#define COMBINE_KEEP 15u         /**< d: nothing changes */
#define COMBINE_ADD 16u          /**< s + d, at most the channel's largest value */
#define COMBINE_SUBTRACT 17u     /**< d - s, at least 0 */
#define COMBINE_MIN 18u          /**< the smaller of s and d */
#define COMBINE_MAX 19u          /**< the larger of s and d */
#define COMBINE_AVERAGE 20u      /**< (s + d + 1) / 2 */
#define COMBINE_DIFFERENCE 21u   /**< |s - d| */
#define COMBINE_MULTIPLY 22u     /**< s * d / the channel's largest value, rounded to the nearest */
#define COMBINE_OPERATIONS 0xFFu /**< the bits that hold the operation */
/** Flags of V_CombineBitmap. */
#define COMBINE_NOT_SRC 0x0100u /**< the source's bits, or channels, are inverted first */
#define COMBINE_NOT_DST 0x0200u /**< the destination's bits, or channels, are inverted first */
#define COMBINE_KEYED 0x0400u   /**< pixels of the source's transparent colour are left out, where it has one */
#define COMBINE_RAW 0x0800u     /**< source pixels are taken as numbers: no conversion; depths must be equal */

/** Modes of V_BlendBitmap: one of these, and flags. First the operators of Porter and Duff, then blend modes, which are
 *  composited source over. */
#define BLEND_SRC_OVER 0u     /**< the source over the destination */
#define BLEND_NORMAL 0u       /**< the same by its other name */
#define BLEND_CLEAR 1u        /**< nothing */
#define BLEND_SRC 2u          /**< the source alone */
#define BLEND_DST 3u          /**< the destination alone */
#define BLEND_DST_OVER 4u     /**< the destination over the source */
#define BLEND_SRC_IN 5u       /**< the source where the destination is */
#define BLEND_DST_IN 6u       /**< the destination where the source is */
#define BLEND_SRC_OUT 7u      /**< the source where the destination is not */
#define BLEND_DST_OUT 8u      /**< the destination where the source is not */
#define BLEND_SRC_ATOP 9u     /**< the source on top of the destination, and only there */
#define BLEND_DST_ATOP 10u    /**< the destination on top of the source, and only there */
#define BLEND_XOR 11u         /**< each where the other is not */
#define BLEND_PLUS 12u        /**< the sum of both, also called lighter */
#define BLEND_MULTIPLY 13u    /**< colours multiplied */
#define BLEND_SCREEN 14u      /**< complements multiplied */
#define BLEND_OVERLAY 15u     /**< multiply or screen, by the destination */
#define BLEND_DARKEN 16u      /**< the darker of both */
#define BLEND_LIGHTEN 17u     /**< the lighter of both */
#define BLEND_COLOR_DODGE 18u /**< the destination brightened by the source */
#define BLEND_COLOR_BURN 19u  /**< the destination darkened by the source */
#define BLEND_HARD_LIGHT 20u  /**< multiply or screen, by the source */
#define BLEND_SOFT_LIGHT 21u  /**< darken or lighten, by the source */
#define BLEND_DIFFERENCE 22u  /**< what lies between both */
#define BLEND_EXCLUSION 23u   /**< the same with less contrast */
#define BLEND_MODES 0xFFu     /**< the bits that hold the mode */
/** Flags of V_BlendBitmap. */
#define BLEND_PREMULTIPLIED_SRC 0x0100u /**< the source's colours are multiplied by their alpha already */
#define BLEND_PREMULTIPLIED_DST 0x0200u /**< the destination's are, and stay so */
#define BLEND_PREMULTIPLIED 0x0300u     /**< both */
#define BLEND_OPAQUE_SRC 0x0400u        /**< the source's alpha is none: it is opaque */
#define BLEND_OPAQUE_DST 0x0800u        /**< the destination's alpha is none, and stays as it is */

V_EXTERN_C_BEGIN

/**
 * Makes a bitmap of a part of another, in storage of its kind, with copies of its palette, tables, extra data and other
 * fields. Overlays and the region are cut like the picture.
 * @param pDst receives the bitmap, empty but for StructSize when the rectangle leaves nothing. @param pSrc an allocated
 * bitmap, not pDst. @param uStructSize size of pDst's record. @param nCol,nRow first column and row.
 * @param nWidth,nHeight size in pixels.
 * @return SUCCESS; ERROR_INVALID_PARAMETER: null record, or the same one; ERROR_INVALID_STRUCT_SIZE;
 * ERROR_INVALID_IMAGE: not allocated; ERROR_INVALID_WIDTH_HEIGHT: BytesPerLine cannot hold Width; ERROR_NO_MEMORY; a
 * failed transfer; the status callback's refusal. After a failure behind the size's check pDst is empty but for
 * StructSize.
 * @remark One thread per bitmap at a time, for both bitmaps.
 */
V_API int V_CopyBitmapRect(BITMAPHANDLE* pDst, BITMAPHANDLE* pSrc, uint32_t uStructSize, int32_t nCol, int32_t nRow,
                           int32_t nWidth, int32_t nHeight) V_NOEXCEPT;
/**
 * Cuts a bitmap to a part of it. The record is replaced when all is done. Overlays are cut like the picture; one that
 * has nothing there goes. The region is cut too.
 * @param pBitmap the bitmap. @param nCol,nRow first column and row to keep. @param nWidth,nHeight size in pixels.
 * @return SUCCESS, with nothing changed where nothing, or everything, would be left; ERROR_INVALID_PARAMETER: null;
 * ERROR_INVALID_STRUCT_SIZE; ERROR_INVALID_IMAGE: not allocated; ERROR_INVALID_WIDTH_HEIGHT: BytesPerLine cannot hold
 * Width; ERROR_NO_MEMORY; a failed transfer; the status callback's refusal. On failure the bitmap is as it was.
 * @remark One thread per bitmap at a time.
 */
V_API int V_TrimBitmap(BITMAPHANDLE* pBitmap, int32_t nCol, int32_t nRow, int32_t nWidth, int32_t nHeight) V_NOEXCEPT;
/**
 * Finds what is not border: the smallest rectangle that holds all pixels whose colour differs from the border's by more
 * than a tolerance in some channel. Alpha does not count. Channels of more than 8 bits count by their top 8.
 * @param pBitmap the bitmap. @param crBorder the border's colour: 0x01 in the top byte and a palette index, 0x04 and a
 * gray level in bits 8 to 15, or a colour. @param uTolerance levels of 8-bit channels, 0 for the very colour.
 * @param pRect receives stored columns and rows, right and bottom just outside; {0, 0, 0, 0} when all is border.
 * @return SUCCESS; ERROR_INVALID_PARAMETER: null pointer; ERROR_INVALID_STRUCT_SIZE; ERROR_INVALID_IMAGE: not
 * allocated; ERROR_INVALID_WIDTH_HEIGHT; ERROR_NO_MEMORY; a failed transfer.
 * @remark One thread per bitmap at a time.
 */
V_API int V_GetTrimRect(BITMAPHANDLE* pBitmap, COLORREF crBorder, uint32_t uTolerance, RECT* pRect) V_NOEXCEPT;
/**
 * Adds pixels around a bitmap. The record is replaced when all is done. Overlays get clear pixels around them, and
 * what is added is outside the region.
 * @param pBitmap the bitmap. @param nLeft,nTop,nRight,nBottom stored pixels to add on each side.
 * @param uFlags EXTEND_FILL, EXTEND_EDGE, EXTEND_MIRROR or EXTEND_WRAP. @param crFill the colour for EXTEND_FILL, as
 * for V_FillBitmap.
 * @return SUCCESS; ERROR_INVALID_PARAMETER: null, a negative number of pixels, or other flags;
 * ERROR_INVALID_STRUCT_SIZE; ERROR_INVALID_IMAGE: not allocated; ERROR_INVALID_WIDTH_HEIGHT: BytesPerLine cannot hold
 * Width, or the result is too large to describe; ERROR_NO_MEMORY; a failed transfer; the status callback's refusal. On
 * failure the bitmap is as it was.
 * @remark One thread per bitmap at a time.
 */
V_API int V_ExtendBitmap(BITMAPHANDLE* pBitmap, int32_t nLeft, int32_t nTop, int32_t nRight, int32_t nBottom,
                         uint32_t uFlags, COLORREF crFill) V_NOEXCEPT;
/**
 * Puts a rectangle of one bitmap into another.
 *
 * The source's pixels are converted to the destination's form first: depth, order, palette and gray range, by the rules
 * of V_ConvertBufferExt3, colours taking the nearest palette entry. A look-up table in use becomes part of the pixels,
 * and a transparent colour alpha where the destination has some. COMBINE_COPY writes them, and is the way to convert
 * into a bitmap that exists; where both forms are the same, pixels are copied bit by bit. The other fifteen operations
 * on bits work on what both have stored then, alpha and unused bits included, and want equal depths; palettes that mean
 * different colours are respected, and COMBINE_RAW is there for where they are not to be.
 *
 * The operations on channels work on the red, green and blue, or gray, of the destination's form, each in its own bits,
 * deep gray in its significant ones; alpha and other bits stay. Bitmaps of up to 8 bits are worked on by the colours of
 * their palettes, and take the nearest entry afterwards, a pixel whose colour does not change keeping its index.
 * @param pDst the destination. @param nCol,nRow first column and row there. @param nWidth,nHeight size in pixels.
 * @param pSrc the source; may be pDst. @param nSrcCol,nSrcRow first column and row there.
 * @param uFlags a COMBINE_ operation, with COMBINE_NOT_SRC, COMBINE_NOT_DST, COMBINE_KEYED or COMBINE_RAW.
 * @return SUCCESS; ERROR_INVALID_PARAMETER: null record, unknown operation or flags, COMBINE_RAW with an operation on
 * channels, perspectives that differ and are none, or a depth and order that do not go together;
 * ERROR_INVALID_STRUCT_SIZE; ERROR_INVALID_IMAGE: not allocated; ERROR_INVALID_BITS_PER_PIXEL: different depths with an
 * operation on bits but COMBINE_COPY, or with COMBINE_RAW; ERROR_INVALID_WIDTH_HEIGHT: BytesPerLine cannot hold Width;
 * ERROR_INVALID_LUT_LENGTH; ERROR_NO_MEMORY; a failed transfer; the status callback's refusal. On failure the
 * destination is as it was.
 * @remark One thread per bitmap at a time, for both bitmaps.
 */
V_API int V_CombineBitmap(BITMAPHANDLE* pDst, int32_t nCol, int32_t nRow, int32_t nWidth, int32_t nHeight,
                          BITMAPHANDLE* pSrc, int32_t nSrcCol, int32_t nSrcRow, uint32_t uFlags) V_NOEXCEPT;

/**
 * Blends a rectangle of one bitmap with another, by the formulas of the recommendation "Compositing and Blending Level
 * 1" of the World Wide Web Consortium (chapters 9 and 10).
 *
 * The source is converted to the destination's form first, as by V_CombineBitmap. Its alpha, 1 where it has none and 0
 * for its transparent colour, is multiplied by the mask and by the opacity, and so is what it adds: an operator that
 * wants nothing of the destination leaves nothing where the mask is 0. Each channel is worked out in exact fractions
 * and rounded once, to the nearest, at the end, in the destination's own bits: 8, 16, the 5 and 6 of 16-bit colours, or
 * a gray sample's significant ones. (The square root in BLEND_SOFT_LIGHT is taken to 32 bits. Gray of more than 16
 * significant bits is compared by the top 16 where a mode divides or takes roots.)
 *
 * A destination with alpha has its alpha blended too; what is fully transparent then is 0 in all channels. One without
 * counts as opaque, and shows black through what is not. Bitmaps of up to 8 bits are blended by the colours of their
 * palettes and take the nearest entry, a pixel whose colour does not change keeping its index; gray levels, and ramps
 * of 256 grays under such a source, are blended as gray.
 * @param pDst the destination. @param nCol,nRow first column and row there. @param nWidth,nHeight size in pixels.
 * @param pSrc the source; may be pDst. @param nSrcCol,nSrcRow first column and row there.
 * @param pMask null, or a bitmap of 1, 8 or 16 bits whose pixel values are how much of the source counts, out of 1,
 * 255, or 65535 (in gray order the significant bits); a palette does not count. It may be pDst or pSrc. Where it ends,
 * so does the rectangle. @param nMaskCol,nMaskRow first column and row there.
 * @param uMode a BLEND_ mode with BLEND_ flags. @param uOpacity 0 to 65535.
 * @return SUCCESS; ERROR_INVALID_PARAMETER: null record, unknown mode or flags, more opacity than there is,
 * perspectives that differ and are none, or a depth and order that do not go together; ERROR_INVALID_STRUCT_SIZE;
 * ERROR_INVALID_IMAGE: not allocated; ERROR_INVALID_BITS_PER_PIXEL: a mask of another depth;
 * ERROR_INVALID_WIDTH_HEIGHT: BytesPerLine cannot hold Width; ERROR_INVALID_LUT_LENGTH; ERROR_NO_MEMORY; a failed
 * transfer; the status callback's refusal. On failure the destination is as it was.
 * @remark One thread per bitmap at a time, for all bitmaps.
 */
V_API int V_BlendBitmap(BITMAPHANDLE* pDst, int32_t nCol, int32_t nRow, int32_t nWidth, int32_t nHeight,
                        BITMAPHANDLE* pSrc, int32_t nSrcCol, int32_t nSrcRow, BITMAPHANDLE* pMask, int32_t nMaskCol,
                        int32_t nMaskRow, uint32_t uMode, uint32_t uOpacity) V_NOEXCEPT;

V_EXTERN_C_END

#endif /* VKCOMBINE_H */
