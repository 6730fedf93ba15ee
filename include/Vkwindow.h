/**
 * @file Vkwindow.h
 * Window level: which gray samples are shown from black to white. Vkkrnx.h includes it.
 *
 * The three functions of a window are those of DICOM PS3.3, C.11.2.1.2 and C.11.2.1.3, with a centre c, a width w and
 * results from a to b, in real numbers:
 *  - linear: a for x <= c - 1/2 - (w - 1) / 2, b for x > c - 1/2 + (w - 1) / 2,
 *    else ((x - (c - 1/2)) / (w - 1) + 1/2) (b - a) + a. The width is at least 1.
 *  - linear, exact: a for x <= c - w / 2, b for x > c + w / 2, else ((x - c) / w + 1/2) (b - a) + a. The width is more
 *    than 0.
 *  - sigmoid: (b - a) / (1 + exp(-4 (x - c) / w)) + a. The width is more than 0.
 *
 * Results are the nearest whole numbers to these values, halves up, worked out without rounding before that; the
 * same on every system. An inverted window gives 255 minus the result, or exchanges its two colours.
 */
#ifndef VKWINDOW_H
#define VKWINDOW_H

#include "Vkrecord.h"

/** The functions of a window. */
#define WINDOW_LINEAR 0u
#define WINDOW_LINEAREXACT 1u
#define WINDOW_SIGMOID 2u

/** Flags of a window. */
#define WINDOWFLAG_SIGNED 0x01u   /**< samples are signed; so are those of a bitmap with BITMAPFLAG_SIGNED anyway */
#define WINDOWFLAG_INVERTED 0x02u /**< the smallest samples are shown white */

/** A window on gray samples. 32 bytes. */
typedef struct V_WINDOW {
    uint32_t StructSize; /**< size of this record */
    uint32_t Function;   /**< WINDOW_ value */
    uint32_t Flags;      /**< WINDOWFLAG_ bits */
    uint32_t Reserved;   /**< zero */
    double Center;       /**< the sample in the middle, in units of samples */
    double Width;        /**< the samples from black to white */
} V_WINDOW;

V_EXTERN_C_BEGIN

/**
 * Finds the smallest and the largest gray sample of a bitmap, in its significant bits (LowBit to HighBit), as signed
 * numbers with BITMAPFLAG_SIGNED, and puts them into MinVal and MaxVal. Values past 31 bits count as the largest one.
 * @param pBitmap an allocated gray bitmap: samples of 12, 16 or 32 bits, or 8 bits in gray order or with a gray ramp.
 * @return SUCCESS; ERROR_INVALID_PARAMETER: null record; ERROR_INVALID_STRUCT_SIZE; ERROR_INVALID_IMAGE: not allocated;
 * ERROR_INVALID_BITS_PER_PIXEL: not gray, or of another depth; ERROR_INVALID_WIDTH_HEIGHT: no pixels; a failed access
 * or transfer; ERROR_NO_MEMORY. On failure the record is as it was.
 * @remark One thread per bitmap at a time.
 */
V_API int V_GetBitmapMinMax(BITMAPHANDLE* pBitmap) V_NOEXCEPT;
/**
 * Fills a table with a window's results, from 0 to 255.
 * @param pTable receives uEntries bytes. @param uEntries entry i is the result for sample i; with WINDOWFLAG_SIGNED the
 * upper half of the entries stands for negative samples, entry i for i - uEntries, as samples in two's complement are
 * stored. @param pWindow the window.
 * @return SUCCESS; ERROR_NULL_PTR: no window; ERROR_INVALID_STRUCT_SIZE: of the window; ERROR_INVALID_PARAMETER: null
 * table, no entries, a function or flags there are none of, a centre or width that is not finite or beyond 2^53, or a
 * width that the function does not have.
 * @remark Thread-safe.
 */
V_API int V_FillWindowTable(uint8_t* pTable, uint32_t uEntries, const V_WINDOW* pWindow) V_NOEXCEPT;
/** As V_FillWindowTable, each channel going from that of Start to that of End; the reserved bytes are 0. With the
 *  colours of a bitmap's LUT. @remark Thread-safe. */
V_API int V_FillWindowColors(RGBQUAD* pTable, uint32_t uEntries, const V_WINDOW* pWindow, RGBQUAD Start,
                             RGBQUAD End) V_NOEXCEPT;
/**
 * Sets how a gray bitmap is shown: gives it a LUT with an entry for each value of its significant bits, from black to
 * white through a window, and sets BITMAPFLAG_USELUT. Its pixels stay.
 * @param pBitmap an allocated bitmap as for V_GetBitmapMinMax, of up to 16 significant bits. @param pWindow the window;
 * null clears the flag, and leaves the LUT.
 * @return as V_FillWindowTable and V_GetBitmapMinMax; ERROR_INVALID_BITS_PER_PIXEL: also more than 16 significant bits;
 * ERROR_NO_MEMORY. On failure the record is as it was.
 * @remark One thread per bitmap at a time.
 */
V_API int V_SetBitmapWindow(BITMAPHANDLE* pBitmap, const V_WINDOW* pWindow) V_NOEXCEPT;
/**
 * Makes a bitmap as a gray bitmap is shown through a window. Pixels outside of the source's region are converted
 * without the window. Reports progress.
 * @param pDst receives the bitmap, in storage of the source's kind and with the parts its format can have; what the
 * record held is forgotten. Null or pSrc: the source is replaced. @param pSrc an allocated bitmap as for
 * V_GetBitmapMinMax. @param uStructSize size of pDst's record, not used without one. @param pWindow the window; null
 * takes the LUT in use (BITMAPFLAG_USELUT), and without one the whole range of the samples. @param nBitsPerPixel 8:
 * gray levels with a gray ramp; 24: colours.
 * @return as V_FillWindowTable, V_GetBitmapMinMax and V_DupBitmapNewDim; ERROR_INVALID_BITS_PER_PIXEL: also another
 * nBitsPerPixel; ERROR_INVALID_LUT_LENGTH: the LUT has not an entry for each value; the status callback's refusal. On
 * failure the source is as it was, and a second record empty but for StructSize.
 * @remark One thread per bitmap at a time, for both bitmaps.
 */
V_API int V_WindowBitmap(BITMAPHANDLE* pDst, BITMAPHANDLE* pSrc, uint32_t uStructSize, const V_WINDOW* pWindow,
                         int32_t nBitsPerPixel) V_NOEXCEPT;

V_EXTERN_C_END

#endif /* VKWINDOW_H */
