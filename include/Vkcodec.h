/**
 * @file Vkcodec.h
 * The interface between Vkkrnx and a codec module: what the module exports and what it is called with.
 *
 * A codec module is a shared library that Vkkrnx loads when a DIB's pixels are in a code of its own, and lets go again.
 * It is looked for in the directory that V_SetResourceDirectory set, if any, then in the one that Vkkrnx itself was
 * loaded from, and nowhere else. The module for the JPEG codes
 * ("dmb1", "MJPG", "JPEG") is `Vellkit.Codecs.Cmp.CmpCodec.dll` on Windows, `Vellkit.Codecs.Cmp.CmpCodec.so` elsewhere.
 * It exports two C functions, `fltLoadBuffer` (V_FLTLOADBUFFER) and `fltSaveBuffer` (V_FLTSAVEBUFFER), and needs
 * nothing of Vkkrnx but this header. Both may be called by several threads at once; neither may throw or jump out of a
 * callback.
 */
#ifndef VKCODEC_H
#define VKCODEC_H

#include "Vktypes.h"

V_EXTERN_C_BEGIN

/** What a compressed picture is. */
typedef struct V_CODECPICTURE {
    uint32_t StructSize;  /**< size of this record */
    int32_t Width;        /**< pixels */
    int32_t Height;       /**< rows */
    int32_t BitsPerPixel; /**< 8: gray levels; 24: blue, green and red bytes */
    int32_t XResolution;  /**< dots per inch; 0: unknown */
    int32_t YResolution;  /**< dots per inch; 0: unknown */
} V_CODECPICTURE;

/** Is told what the picture is before the first row comes. Any result other than SUCCESS (1) stops the module. */
typedef int (*V_CODECBEGIN)(const V_CODECPICTURE* pPicture, void* pUserData);
/** Takes a row of the picture, the top one first, (Width * BitsPerPixel + 7) / 8 bytes. Any result other than SUCCESS
 *  stops the module. */
typedef int (*V_CODECPUTROW)(const uint8_t* pRow, int32_t nRow, void* pUserData);
/** Gives a row of the picture, the top one first. Any result other than SUCCESS stops the module. */
typedef int (*V_CODECGETROW)(uint8_t* pRow, int32_t nRow, void* pUserData);
/** Takes the next bytes of the compressed picture. Any result other than SUCCESS stops the module. */
typedef int (*V_CODECWRITE)(const void* pBytes, size_t uBytes, void* pUserData);

/**
 * `fltLoadBuffer`: decodes a picture of uBytes bytes at pData as rows of nBitsPerPixel bits (8 or 24).
 * The result is SUCCESS (1) when all rows were taken, what a callback answered, or a negative result code of Vkkrnx:
 * ERROR_INTERNAL for corrupt data, ERROR_NO_MEMORY, ERROR_FEATURE_NOT_SUPPORTED for pictures or depths the module
 * cannot decode.
 */
typedef int (*V_FLTLOADBUFFER)(const void* pData, size_t uBytes, int32_t nBitsPerPixel, V_CODECBEGIN pfnBegin,
                               V_CODECPUTROW pfnPutRow, void* pUserData);
/** `fltSaveBuffer`: encodes a picture with a quality of 1 to 100; results as fltLoadBuffer's. */
typedef int (*V_FLTSAVEBUFFER)(const V_CODECPICTURE* pPicture, int32_t nQuality, V_CODECGETROW pfnGetRow,
                               V_CODECWRITE pfnWrite, void* pUserData);

V_EXTERN_C_END

#endif /* VKCODEC_H */
