/**
 * @file Vktypes.h
 * The platform types of the Vkkrnx interface.
 *
 * On Windows these are the system's own. Elsewhere this header declares the few of them that the interface uses,
 * with the same names, layouts and values, and maps the calls for movable global memory onto the library's `V_Global`
 * functions, so that code written for Windows compiles unchanged.
 */
#ifndef VKTYPES_H
#define VKTYPES_H

#include <stddef.h>
#include <stdint.h>
#include <wchar.h>

#if defined(_WIN32)
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
#endif

/** Marks a declaration as part of the binary interface. */
#if defined(_WIN32)
#if defined(VKKRNX_BUILD)
#define V_API __declspec(dllexport)
#else
#define V_API __declspec(dllimport)
#endif
#elif defined(__GNUC__)
#define V_API __attribute__((visibility("default")))
#else
#define V_API
#endif

#if defined(__cplusplus)
#define V_NOEXCEPT noexcept
#define V_EXTERN_C_BEGIN                                                                                               \
    extern "C"                                                                                                         \
    {
#define V_EXTERN_C_END }
#else
#define V_NOEXCEPT
#define V_EXTERN_C_BEGIN
#define V_EXTERN_C_END
#endif

#if !defined(_WIN32)

V_EXTERN_C_BEGIN

/** A colour value: red in bits 0-7, green in 8-15, blue in 16-23, the form in the top byte. */
typedef uint32_t COLORREF;

/** A palette entry. */
typedef struct tagRGBQUAD {
    uint8_t rgbBlue;
    uint8_t rgbGreen;
    uint8_t rgbRed;
    uint8_t rgbReserved;
} RGBQUAD;

/** A rectangle in pixels; right and bottom lie just outside it. */
typedef struct tagRECT {
    int32_t left;
    int32_t top;
    int32_t right;
    int32_t bottom;
} RECT;

/** The oldest header of a device-independent bitmap, 12 bytes. */
typedef struct tagBITMAPCOREHEADER {
    uint32_t bcSize;
    uint16_t bcWidth;
    uint16_t bcHeight;
    uint16_t bcPlanes;
    uint16_t bcBitCount;
} BITMAPCOREHEADER;

/** The usual header, 40 bytes. */
typedef struct tagBITMAPINFOHEADER {
    uint32_t biSize;
    int32_t biWidth;
    int32_t biHeight; /**< negative: the top row comes first */
    uint16_t biPlanes;
    uint16_t biBitCount;
    uint32_t biCompression; /**< BI_ value or a four-character code */
    uint32_t biSizeImage;
    int32_t biXPelsPerMeter;
    int32_t biYPelsPerMeter;
    uint32_t biClrUsed;
    uint32_t biClrImportant;
} BITMAPINFOHEADER;

/** A header and the start of its colour table. */
typedef struct tagBITMAPINFO {
    BITMAPINFOHEADER bmiHeader;
    RGBQUAD bmiColors[1];
} BITMAPINFO;

/** A point of a colour space, as numbers with 30 bits of fraction. */
typedef struct tagCIEXYZ {
    int32_t ciexyzX;
    int32_t ciexyzY;
    int32_t ciexyzZ;
} CIEXYZ;

/** The primaries of a colour space. */
typedef struct tagCIEXYZTRIPLE {
    CIEXYZ ciexyzRed;
    CIEXYZ ciexyzGreen;
    CIEXYZ ciexyzBlue;
} CIEXYZTRIPLE;

/** The header with a colour space, 108 bytes. */
typedef struct tagBITMAPV4HEADER {
    uint32_t bV4Size;
    int32_t bV4Width;
    int32_t bV4Height;
    uint16_t bV4Planes;
    uint16_t bV4BitCount;
    uint32_t bV4V4Compression;
    uint32_t bV4SizeImage;
    int32_t bV4XPelsPerMeter;
    int32_t bV4YPelsPerMeter;
    uint32_t bV4ClrUsed;
    uint32_t bV4ClrImportant;
    uint32_t bV4RedMask;
    uint32_t bV4GreenMask;
    uint32_t bV4BlueMask;
    uint32_t bV4AlphaMask;
    uint32_t bV4CSType;
    CIEXYZTRIPLE bV4Endpoints;
    uint32_t bV4GammaRed;
    uint32_t bV4GammaGreen;
    uint32_t bV4GammaBlue;
} BITMAPV4HEADER;

/** The header with a colour profile, 124 bytes. */
typedef struct tagBITMAPV5HEADER {
    uint32_t bV5Size;
    int32_t bV5Width;
    int32_t bV5Height;
    uint16_t bV5Planes;
    uint16_t bV5BitCount;
    uint32_t bV5Compression;
    uint32_t bV5SizeImage;
    int32_t bV5XPelsPerMeter;
    int32_t bV5YPelsPerMeter;
    uint32_t bV5ClrUsed;
    uint32_t bV5ClrImportant;
    uint32_t bV5RedMask;
    uint32_t bV5GreenMask;
    uint32_t bV5BlueMask;
    uint32_t bV5AlphaMask;
    uint32_t bV5CSType;
    CIEXYZTRIPLE bV5Endpoints;
    uint32_t bV5GammaRed;
    uint32_t bV5GammaGreen;
    uint32_t bV5GammaBlue;
    uint32_t bV5Intent;
    uint32_t bV5ProfileData;
    uint32_t bV5ProfileSize;
    uint32_t bV5Reserved;
} BITMAPV5HEADER;

#define BI_RGB 0u
#define BI_RLE8 1u
#define BI_RLE4 2u
#define BI_BITFIELDS 3u
#define LCS_sRGB 0x73524742u

/** A block of global memory: an opaque handle for movable blocks, the address itself for fixed ones. */
typedef void* HGLOBAL;

/** A logical palette. */
typedef struct V_PALETTE_OBJECT* HPALETTE;

#define GMEM_FIXED 0x0000u
#define GMEM_MOVEABLE 0x0002u
#define GMEM_ZEROINIT 0x0040u
#define GMEM_MODIFY 0x0080u
#define GMEM_LOCKCOUNT 0x00FFu
#define GMEM_INVALID_HANDLE 0x8000u
#define GHND (GMEM_MOVEABLE | GMEM_ZEROINIT)
#define GPTR (GMEM_FIXED | GMEM_ZEROINIT)

/**
 * Allocates a block of global memory.
 * @param uFlags GMEM_FIXED or GMEM_MOVEABLE, with GMEM_ZEROINIT to clear the block.
 * @param uBytes its size in bytes; 0 gives an empty block.
 * @return the block, owned by the caller until V_GlobalFree, or null when there is no memory.
 * @remark Thread-safe.
 */
V_API HGLOBAL V_GlobalAlloc(uint32_t uFlags, size_t uBytes) V_NOEXCEPT;

/**
 * Changes the size of a block. A locked movable block keeps its address or the call fails.
 * @param hMem the block; @param uBytes the new size; @param uFlags GMEM_ZEROINIT clears what is added, GMEM_MOVEABLE
 * lets a fixed block move.
 * @return the block (a fixed one may have a new handle), or null: the old block is then unchanged.
 * @remark Thread-safe; no other thread may be using the data.
 */
V_API HGLOBAL V_GlobalReAlloc(HGLOBAL hMem, size_t uBytes, uint32_t uFlags) V_NOEXCEPT;

/** Locks a block at its present address. @return the address, or null for a handle that is not a block.
 *  @remark Thread-safe; locks are counted over all threads. */
V_API void* V_GlobalLock(HGLOBAL hMem) V_NOEXCEPT;

/** Takes one lock off a movable block, which may then move. @return 1 while locks remain, else 0.
 *  @remark Thread-safe; locks are counted over all threads. */
V_API int V_GlobalUnlock(HGLOBAL hMem) V_NOEXCEPT;

/** Frees a block, locked or not. @return null on success, the handle itself when it is not a block.
 *  @remark Thread-safe; no other thread may be using the data. */
V_API HGLOBAL V_GlobalFree(HGLOBAL hMem) V_NOEXCEPT;

/** @return the size of a block in bytes, 0 for a handle that is not a block. @remark Thread-safe. */
V_API size_t V_GlobalSize(HGLOBAL hMem) V_NOEXCEPT;

/** @return the handle of the block whose data start at pMem, or null. @remark Thread-safe. */
V_API HGLOBAL V_GlobalHandle(const void* pMem) V_NOEXCEPT;

/** @return the lock count in the low byte, or GMEM_INVALID_HANDLE. @remark Thread-safe. */
V_API uint32_t V_GlobalFlags(HGLOBAL hMem) V_NOEXCEPT;

V_EXTERN_C_END

#define GlobalAlloc V_GlobalAlloc
#define GlobalReAlloc V_GlobalReAlloc
#define GlobalLock V_GlobalLock
#define GlobalUnlock V_GlobalUnlock
#define GlobalFree V_GlobalFree
#define GlobalSize V_GlobalSize
#define GlobalHandle V_GlobalHandle
#define GlobalFlags V_GlobalFlags

#endif /* !_WIN32 */

#endif /* VKTYPES_H */
