/**
 * @file Vkyuv.h
 * YUV pictures in memory of the caller's, from bitmaps and to bitmaps. Vkkrnx.h includes it.
 *
 * A picture is told by a four-character code. Rows are given from the top one on, for every code:
 *  - packed, one plane: "YUY2", "UYVY" (also "cyuv", "Y42T"), "YVYU": two pixels in four bytes; "Y41P" (also "Y41T"):
 *    eight pixels in the bytes U0 Y0 V0 Y1 U4 Y2 V4 Y3 Y4 Y5 Y6 Y7; "Y211": four pixels in the bytes Y0 U0 Y2 V0;
 *    "AYUV": the bytes V U Y A. A row has whole groups of these;
 *  - planes of luma, blue and red difference: "I420" (also "IYUV"), "I422", "I444"; the last two exchanged: "YV12",
 *    "YV16", "YVU9" (also "IF09"). Chroma has a sample for each 2 x 2 pixels ("I420", "YV12"), 2 x 1 ("I422", "YV16"),
 *    1 x 1 ("I444") or 4 x 4 ("YVU9"), those at the right and lower edges included;
 *  - a plane of luma and one of pairs, chroma for 2 x 2 pixels: "NV12" (blue difference first), "NV21" (red first),
 *    "P010" and "P016" (words, the lower byte first; P010 in the upper 10 bits of them);
 *  - words of 32 bits "Y410" (U in bits 0 to 9, then Y, V, and 2 bits of alpha) and of 16 bits "Y416" (U Y V A);
 *  - gray, one plane: "Y800" (8 bits), "Y16 " (words of 16 bits).
 *
 * Formulas. A sample has n bits (8, 10 or 16), M = 2^n. With the video range black is 16 M/256, luma spans L = 219
 * M/256 and chroma C = 224 M/256; with the full range black is 0 and both span M - 1. Chroma is neutral at N = M/2. The
 * weights of red and blue are 0.299, 0.114 (601), 0.2126, 0.0722 (709) or 0.2627, 0.0593 (2020): kr, kb, and kg = 1 -
 * kr - kb. ITU-R BT.601, BT.709, BT.2020. Below, round() is to the nearest, >> rounds down, and results are cut to what
 * a sample holds.
 *
 * To colours of 8 bits (n = 8), where h(a, b) = (a b + 2^14) >> 15, and u, v are chroma times 256, less 32768:
 *     y = h((Y - black) 128, round(2^14 255 / L))
 *     B = (y + h(u, round(2^14 (1 - kb) 255 / C)) + 32) >> 6
 *     R = (y + h(v, round(2^14 (1 - kr) 255 / C)) + 32) >> 6
 *     G = (y - h(u, round(2^14 kb (1 - kb) / kg 255 / C)) - h(v, round(2^14 kr (1 - kr) / kg 255 / C)) + 32) >> 6
 * To colours of 16 bits (n = 10, 16), with u, v chroma times 16, less 16 N:
 *     y = (Y - black) round(2^28 65535 / L)
 *     B = (y + u round(2^25 (1 - kb) 65535 / C) + 2^27) >> 28;  R, G accordingly
 * From colours of m bits (8 for n = 8, else 16), S = 2^m - 1, f = 15 bits of fraction (30 for 16), and chroma from sums
 * of colours over the pixels of a filter whose weights add up to 2^w: Y = black + ((r R + g G + b B + 2^(f-1)) >> f),
 * r = round(2^f kr L / S), b likewise, r + g + b = round(2^f L / S) U = N + ((p R + q G + s B + 2^(f+w-1)) >> (f + w)),
 * s = round(2^(f-1) C / S), p = -round(2^(f-1) C / S kr / (1 - kb)), p + q + s = 0;  V with red and blue exchanged So
 * grays have neutral chroma. Results differ from real arithmetic, rounded, by no more than 1.
 *
 * Chroma between its samples is interpolated between the two next to it, both ways, without rounding before the
 * formula; beyond the edges it is that at the edge. Samples stand in the middle of the rows they are for, and, as the
 * siting says, with the leftmost pixel or in the middle of the pixels they are for. On the way out a sample is the mean
 * over its pixels where it stands in the middle, else the mean with weights that fall evenly to both sides (1 2 1; for
 * four pixels 1 2 3 4 3 2 1). Luma that two pixels share ("Y211") is repeated, and on the way out their mean, halves
 * up.
 */
#ifndef VKYUV_H
#define VKYUV_H

#include "Vkrecord.h"

/** What the weights of the colours are. */
#define YUVMATRIX_601 0u  /**< ITU-R BT.601: standard definition, JPEG */
#define YUVMATRIX_709 1u  /**< ITU-R BT.709: high definition */
#define YUVMATRIX_2020 2u /**< ITU-R BT.2020, non-constant luminance */

/** What samples range over. */
#define YUVRANGE_VIDEO 0u /**< luma 16 to 235, chroma 16 to 240, of 8 bits */
#define YUVRANGE_FULL 1u  /**< all values, as in JPEG */

/** Where chroma samples stand in a row. */
#define YUVSITING_LEFT 0u   /**< with the leftmost of their pixels, as in MPEG-2 */
#define YUVSITING_CENTER 1u /**< in the middle of them, as in JPEG and MPEG-1 */

/** A YUV picture. 128 bytes. */
typedef struct V_YUVPICTURE {
    uint32_t StructSize; /**< size of this record */
    uint32_t Code;       /**< four-character code, the first character in the lowest byte */
    int32_t Width;       /**< pixels, at least 1; odd ones too */
    int32_t Height;      /**< rows, at least 1 */
    uint32_t Matrix;     /**< YUVMATRIX_ value */
    uint32_t Range;      /**< YUVRANGE_ value */
    uint32_t Siting;     /**< YUVSITING_ value */
    uint32_t Reserved;   /**< zero */
    void* Planes[4];    /**< top rows of the planes, in the order of the code. One behind the first may be null: it then
                             begins Offsets[i] bytes behind the first, an offset of 0 being none. The memory is the
                             caller's and holds all rows of the plane */
    int64_t Strides[4]; /**< bytes from a row of the plane to the one below; negative where that one lies before it. No
                             fewer than a row has */
    uint64_t Offsets[4]; /**< bytes from the first plane to each, as V_GetYuvSize lays them out */
} V_YUVPICTURE;

V_EXTERN_C_BEGIN

/**
 * Lays a picture out in one block: planes one behind the other, rows without gaps. Fills Strides and Offsets, zero for
 * planes there are none of, and makes Planes null but for the first, which is left.
 * @param pPicture StructSize, Code, Width and Height are looked at.
 * @return bytes of the block; 0 when there is no such picture, or none that large: the record is then left alone.
 * @remark Thread-safe.
 */
V_API uint64_t V_GetYuvSize(V_YUVPICTURE* pPicture) V_NOEXCEPT;
/**
 * Makes a bitmap from a picture: 24 bits in BGR order; 32 with alpha from "AYUV"; 48 from "P010" and "P016"; 64 with
 * alpha from "Y410" and "Y416"; 8-bit gray from "Y800"; 16-bit gray from "Y16 ". Its top row comes first (TOP_LEFT),
 * its storage is of the default memory type. Reports progress.
 * @param pBitmap receives the bitmap; what the record held is forgotten. @param uStructSize size of the record.
 * @param pPicture the picture, which is read only.
 * @return SUCCESS; ERROR_INVALID_PARAMETER: null record, a matrix, range or siting there is none of, or a stride
 * shorter than a row or larger than memory can be; ERROR_INVALID_STRUCT_SIZE: of either record; ERROR_NULL_PTR: no
 * picture or no plane; ERROR_FEATURE_NOT_SUPPORTED: another code; ERROR_INVALID_WIDTH_HEIGHT: below 1, or a row too
 * long for a bitmap; ERROR_NO_MEMORY; a failed allocation or transfer; the status callback's refusal. On failure the
 * record is empty but for StructSize, unless it is null or its size wrong.
 * @remark One thread per bitmap at a time.
 */
V_API int V_YuvToBitmap(BITMAPHANDLE* pBitmap, uint32_t uStructSize, const V_YUVPICTURE* pPicture) V_NOEXCEPT;
/**
 * Makes a picture from a bitmap, as it is shown, upright. Bitmaps of every format are taken; colours go through those
 * of the bitmap that V_YuvToBitmap makes from the code, as V_ColorResBitmap converts them, without a gray stage; alpha
 * is full where the bitmap has none. Reports progress.
 * @param pBitmap an allocated bitmap, of the picture's size as shown. @param pPicture says what to make; the memory
 * that its planes point at receives it. Bytes between rows are left alone.
 * @return SUCCESS; ERROR_INVALID_PARAMETER: null bitmap, also; ERROR_INVALID_STRUCT_SIZE; ERROR_INVALID_IMAGE: not
 * allocated; of the picture as V_YuvToBitmap; ERROR_INVALID_WIDTH_HEIGHT: also not the bitmap's size;
 * ERROR_INVALID_LUT_LENGTH; ERROR_NO_MEMORY; a failed access or transfer; the status callback's refusal. The bitmap is
 * left as it was, the planes may be written to in part.
 * @remark One thread per bitmap at a time.
 */
V_API int V_BitmapToYuv(BITMAPHANDLE* pBitmap, V_YUVPICTURE* pPicture) V_NOEXCEPT;

V_EXTERN_C_END

#endif /* VKYUV_H */
