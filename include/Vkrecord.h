/**
 * @file Vkrecord.h
 * The bitmap record, its flags and callbacks, result codes and constants: what every part of the interface builds on.
 * Vkkrnx.h includes it.
 */
#ifndef VKRECORD_H
#define VKRECORD_H

#include "Vktypes.h"

/* ------------------------------------------------------------------------------------------------------------------
 * Result codes
 * --------------------------------------------------------------------------------------------------------------- */

#define V_SUCCESS 1
#define V_FAILURE 0
#define V_SUCCESS_ABORT 2
#define V_SUCCESS_DELETE_FILE 3
#define V_SUCCESS_RETRY 4
#define V_SUCCESS_IGNORE_MARKER 5
#define V_ERROR_NO_MEMORY (-1)
#define V_ERROR_INVALID_IMAGE (-2)
#define V_ERROR_MEMORY_TOO_LARGE (-3)
#define V_ERROR_FILE_SEEK (-4)
#define V_ERROR_FILE_WRITE (-5)
#define V_ERROR_FILE_GONE (-6)
#define V_ERROR_FILE_READ (-7)
#define V_ERROR_INVALID_FILENAME (-8)
#define V_ERROR_FILE_NOT_FOUND (-10)
#define V_ERROR_INVALID_WIDTH_HEIGHT (-11)
#define V_ERROR_INVALID_PARAMETER (-13)
#define V_ERROR_FILE_OPEN (-14)
#define V_ERROR_FEATURE_NOT_SUPPORTED (-16)
#define V_ERROR_INVALID_BITS_PER_PIXEL (-27)
#define V_ERROR_USER_ABORT (-29)
#define V_ERROR_INTERNAL (-74)
#define V_ERROR_INVALID_TILE (-129)
#define V_ERROR_INVALID_HANDLE (-261)
#define V_ERROR_BUFFER_TOO_SMALL (-290)
#define V_ERROR_NO_DISK_SPACE (-295)
#define V_ERROR_INVALID_STRUCT_SIZE (-789)
#define V_ERROR_NULL_PTR (-814)
#define V_ERROR_INVALID_LUT_LENGTH (-1486)
#define V_ERROR_INVALID_REDIRECTHANDLE (-1852)

#define SUCCESS V_SUCCESS
#define FAILURE V_FAILURE
#define SUCCESS_ABORT V_SUCCESS_ABORT
#define SUCCESS_DELETE_FILE V_SUCCESS_DELETE_FILE
#define SUCCESS_RETRY V_SUCCESS_RETRY
#define SUCCESS_IGNORE_MARKER V_SUCCESS_IGNORE_MARKER
#define ERROR_NO_MEMORY V_ERROR_NO_MEMORY
#define ERROR_INVALID_IMAGE V_ERROR_INVALID_IMAGE
#define ERROR_MEMORY_TOO_LARGE V_ERROR_MEMORY_TOO_LARGE
#define ERROR_FILE_SEEK V_ERROR_FILE_SEEK
#define ERROR_FILE_WRITE V_ERROR_FILE_WRITE
#define ERROR_FILE_GONE V_ERROR_FILE_GONE
#define ERROR_FILE_READ V_ERROR_FILE_READ
#define ERROR_INVALID_FILENAME V_ERROR_INVALID_FILENAME
#define ERROR_INVALID_WIDTH_HEIGHT V_ERROR_INVALID_WIDTH_HEIGHT
#define ERROR_FILE_OPEN V_ERROR_FILE_OPEN
#define ERROR_FEATURE_NOT_SUPPORTED V_ERROR_FEATURE_NOT_SUPPORTED
#define ERROR_INVALID_BITS_PER_PIXEL V_ERROR_INVALID_BITS_PER_PIXEL
#define ERROR_USER_ABORT V_ERROR_USER_ABORT
#define ERROR_INTERNAL V_ERROR_INTERNAL
#define ERROR_INVALID_TILE V_ERROR_INVALID_TILE
#define ERROR_BUFFER_TOO_SMALL V_ERROR_BUFFER_TOO_SMALL
#define ERROR_NO_DISK_SPACE V_ERROR_NO_DISK_SPACE
#define ERROR_INVALID_STRUCT_SIZE V_ERROR_INVALID_STRUCT_SIZE
#define ERROR_NULL_PTR V_ERROR_NULL_PTR
#define ERROR_INVALID_LUT_LENGTH V_ERROR_INVALID_LUT_LENGTH
#define ERROR_INVALID_REDIRECTHANDLE V_ERROR_INVALID_REDIRECTHANDLE

/* Three names are macros of the Windows headers with other values. Ours replace them, unless the including file asks to
 * keep the system's by defining VKKRNX_KEEP_SYSTEM_ERRORS; the V_ names are always ours. */
#if !defined(VKKRNX_KEEP_SYSTEM_ERRORS)
#undef ERROR_FILE_NOT_FOUND
#undef ERROR_INVALID_HANDLE
#undef ERROR_INVALID_PARAMETER
#define ERROR_FILE_NOT_FOUND V_ERROR_FILE_NOT_FOUND
#define ERROR_INVALID_HANDLE V_ERROR_INVALID_HANDLE
#define ERROR_INVALID_PARAMETER V_ERROR_INVALID_PARAMETER
#endif

/* ------------------------------------------------------------------------------------------------------------------
 * Constants
 * --------------------------------------------------------------------------------------------------------------- */

/** Bits of BITMAPHANDLE::Flags. The storage bits are exclusive and tested in the order Compressed, Tiled,
 *  SuperCompressed, ConventionalMemory, DiskMemory. */
#define BITMAPFLAG_ALLOCATED 0x00001u            /**< pixel storage exists and belongs to the record */
#define BITMAPFLAG_CONVENTIONALMEMORY 0x00002u   /**< pixels are in memory, one contiguous block */
#define BITMAPFLAG_DISKMEMORY 0x00004u           /**< pixels are in a temporary file */
#define BITMAPFLAG_PROGRESSIVEAVAILABLE 0x00008u /**< a multi-pass rendition is available */
#define BITMAPFLAG_LOCKED 0x00010u               /**< a Global block is locked and Data is valid */
#define BITMAPFLAG_INTERLACED 0x00020u           /**< rows arrive interlaced */
#define BITMAPFLAG_WAITUSERINPUT 0x00040u        /**< the frame waits for user input before the next */
#define BITMAPFLAG_TRANSPARENCY 0x00080u         /**< Transparency holds a valid colour */
#define BITMAPFLAG_COMPRESSED 0x00100u           /**< 1-bit rows are stored run-length compressed */
#define BITMAPFLAG_SIGNED 0x00200u               /**< gray samples are signed */
#define BITMAPFLAG_MIRROR 0x00400u               /**< the pixel memory is the caller's and never freed */
#define BITMAPFLAG_USELUT 0x00800u               /**< LUT applies */
#define BITMAPFLAG_GLOBAL 0x01000u               /**< pixels are in a movable global block */
#define BITMAPFLAG_USEPAINTLUT 0x02000u          /**< PaintLUT applies */
#define BITMAPFLAG_TILED 0x04000u                /**< pixels are in tiles, in memory or in a file */
#define BITMAPFLAG_SUPERCOMPRESSED 0x08000u      /**< pixels are stored compressed by a codec */
#define BITMAPFLAG_NOCLIP 0x10000u               /**< painting does not clip to the bitmap */

/** Values of BITMAPHANDLE::ViewPerspective: 1 to 8, the corner and direction the stored rows start from. */
#define TOP_LEFT 1
#define BOTTOM_LEFT 4

/** Values of BITMAPHANDLE::Order. */
#define COLORORDER_RGB 0
#define COLORORDER_BGR 1
#define COLORORDER_GRAY 2
#define COLORORDER_ROMM 5   /**< wide gamut; 24 and 48 bits per pixel only */
#define COLORORDER_RGB565 7 /**< 16-bit pixels with six bits of green */

/** Memory-type requests; see V_AllocateBitmap for the combinations. */
#define TYPE_CONV 1u               /**< conventional memory */
#define TYPE_USER 2u               /**< the caller supplies the pixel memory */
#define TYPE_TILED 4u              /**< tiles */
#define TYPE_NOTILED 8u            /**< never tiles */
#define TYPE_DISK 128u             /**< a temporary file */
#define TYPE_NODISK 256u           /**< never a file */
#define TYPE_COMPRESSED 512u       /**< run-length compressed 1-bit rows */
#define TYPE_SUPERCOMPRESSED 1024u /**< rows compressed by a storage codec */

/* ------------------------------------------------------------------------------------------------------------------
 * Records
 * --------------------------------------------------------------------------------------------------------------- */

/** A palette entry with 16-bit channels. */
typedef struct V_RGBQUAD16 {
    uint16_t rgbBlue;
    uint16_t rgbGreen;
    uint16_t rgbRed;
    uint16_t rgbReserved;
} V_RGBQUAD16;

struct BITMAPDATACALLBACKS;

/**
 * The bitmap record: what an image looks like and where its pixels live. The caller owns it; the library fills it in.
 *
 * It is byte-packed. The current record has 284 bytes; the earlier one, its first 228, ends after `LUTLength16`.
 * `StructSize` says which one a record is, and nothing past byte 228 of an earlier record is ever touched.
 *
 * Stored rows are `BytesPerLine` bytes apart, with
 * `BytesPerLine` = ((`Width` * `BitsPerPixel` + 31) / 32) * 4 in 32-bit unsigned arithmetic, masked with 0x1FFFFFFC.
 */
#pragma pack(push, 1)
typedef struct BITMAPHANDLE {
    uint32_t StructSize;     /**< size of the record as the caller declared it */
    void* Handle;            /**< the storage's handle: global block, file or allocation block */
    uint8_t* Data;           /**< pixel data, band table or tile table; null while a Global bitmap is not locked */
    int32_t Width;           /**< pixels */
    int32_t Height;          /**< rows */
    int32_t BitsPerPixel;    /**< 1, 2, 3, 4, 5, 6, 7, 8, 12, 16, 24, 32, 48 or 64 */
    uint32_t BytesPerLine;   /**< bytes in one stored row */
    int64_t CurrentPos;      /**< for callers that load or save row by row */
    int32_t CurrentRow;      /**< for the same callers */
    uint32_t Flags;          /**< BITMAPFLAG_ bits */
    uint32_t Colors;         /**< palette entries in use; 0 above 8 bits per pixel */
    RGBQUAD* Palette;        /**< locked global block owned by the record, or null */
    int32_t ViewPerspective; /**< 1 to 8 */
    int32_t Order;           /**< COLORORDER_ value */
    uint64_t Size;           /**< bytes of pixel data */
    void* DitherData;        /**< state of a dithering run in progress, or null */
    int32_t DitheringMethod; /**< method for colour reductions of this bitmap */
    void* RgnInfo;           /**< the bitmap's region, freed with it */
    int32_t XResolution;     /**< dots per inch */
    int32_t YResolution;     /**< dots per inch */
    int32_t Left;            /**< placement as a frame of an animation */
    int32_t Top;             /**< placement as a frame */
    int32_t Delay;           /**< display time of the frame */
    COLORREF Background;     /**< background colour of the animation */
    COLORREF Transparency;   /**< transparent colour, with BITMAPFLAG_TRANSPARENCY */
    int32_t DisposalMethod;  /**< what happens to the frame after its delay */
    int32_t LowBit;          /**< lowest significant bit of a gray sample */
    int32_t HighBit;         /**< highest significant bit of a gray sample; -1 at 32 bits */
    RGBQUAD* LUT;            /**< look-up table for gray samples, owned by the record */
    uint32_t LUTLength;      /**< entries in LUT: 1 << (HighBit - LowBit + 1) */
    int64_t DataOffset;      /**< offset of the first row inside the storage block */
    int32_t MinVal;          /**< smallest gray sample present */
    int32_t MaxVal;          /**< largest gray sample present */
    int32_t PaintLowBit;     /**< low bit used when painting */
    int32_t PaintHighBit;    /**< high bit used when painting */
    int32_t PaintGamma;      /**< display gamma times 100 */
    int32_t PaintContrast;   /**< display contrast */
    int32_t PaintIntensity;  /**< display intensity */
    uint8_t* PaintLUT;       /**< 256-byte display table, owned by the record */
    void* Overlays;          /**< table of the 16 overlay slots, freed with the bitmap */
    int32_t OriginalFormat;  /**< file format the image came from, 0 for none */
    void* ExtraData;         /**< block asked for by the caller, owned by the record, or null */
    uint64_t ExtraDataSize;  /**< bytes in ExtraData */
    uint32_t LUTLength16;    /**< entries in LUT16 */
    V_RGBQUAD16* LUT16;      /**< look-up table for deep gray samples, owned by the record */
    uint16_t* PaintLUT16;    /**< display table of 65536 entries, owned by the record */
    uint64_t Unused1;        /**< zero */
    uint64_t Size64;         /**< bytes of pixel data, without the earlier record's limit */
    uint64_t Unused2;        /**< zero */
    int32_t LockCount;       /**< outstanding V_AccessBitmap calls */
    struct BITMAPDATACALLBACKS* DataCallbacks; /**< the record's copy of the caller's table, or null */
    uint32_t Reserved;                         /**< the caller's own, never interpreted */
} BITMAPHANDLE;
#pragma pack(pop)

/** Size of the current bitmap record. */
#define BITMAPHANDLE_SIZE ((uint32_t)sizeof(BITMAPHANDLE))
/** Size of the earlier, shorter bitmap record: the current one up to and including LUTLength16. */
#define BITMAPHANDLE_SIZE_EARLIER ((uint32_t)offsetof(BITMAPHANDLE, LUT16))

/** One accessor per flag: V_BitmapIsAllocated(p) and so on; p is a pointer to a record, the result 0 or 1. */
#define V_BITMAPFLAG_ACCESSOR(name, mask)                                                                              \
    static inline int V_BitmapIs##name(const BITMAPHANDLE* pBitmap)                                                    \
    {                                                                                                                  \
        return (pBitmap->Flags & (mask)) != 0u;                                                                        \
    }
V_BITMAPFLAG_ACCESSOR(Allocated, BITMAPFLAG_ALLOCATED)
V_BITMAPFLAG_ACCESSOR(ConventionalMemory, BITMAPFLAG_CONVENTIONALMEMORY)
V_BITMAPFLAG_ACCESSOR(DiskMemory, BITMAPFLAG_DISKMEMORY)
V_BITMAPFLAG_ACCESSOR(ProgressiveAvailable, BITMAPFLAG_PROGRESSIVEAVAILABLE)
V_BITMAPFLAG_ACCESSOR(Locked, BITMAPFLAG_LOCKED)
V_BITMAPFLAG_ACCESSOR(Interlaced, BITMAPFLAG_INTERLACED)
V_BITMAPFLAG_ACCESSOR(WaitUserInput, BITMAPFLAG_WAITUSERINPUT)
V_BITMAPFLAG_ACCESSOR(Transparency, BITMAPFLAG_TRANSPARENCY)
V_BITMAPFLAG_ACCESSOR(Compressed, BITMAPFLAG_COMPRESSED)
V_BITMAPFLAG_ACCESSOR(Signed, BITMAPFLAG_SIGNED)
V_BITMAPFLAG_ACCESSOR(Mirror, BITMAPFLAG_MIRROR)
V_BITMAPFLAG_ACCESSOR(UseLUT, BITMAPFLAG_USELUT)
V_BITMAPFLAG_ACCESSOR(Global, BITMAPFLAG_GLOBAL)
V_BITMAPFLAG_ACCESSOR(UsePaintLUT, BITMAPFLAG_USEPAINTLUT)
V_BITMAPFLAG_ACCESSOR(Tiled, BITMAPFLAG_TILED)
V_BITMAPFLAG_ACCESSOR(SuperCompressed, BITMAPFLAG_SUPERCOMPRESSED)
V_BITMAPFLAG_ACCESSOR(NoClip, BITMAPFLAG_NOCLIP)
#undef V_BITMAPFLAG_ACCESSOR

/** An allocation request, as allocation callbacks see it. 56 bytes. */
typedef struct ALLOCATEBITMAPCALLBACKDATA {
    uint32_t StructSize;     /**< size of this record */
    uint32_t Flags;          /**< zero */
    uint32_t Memory;         /**< TYPE_ bits asked for; the callback may change them */
    int32_t Width;           /**< pixels */
    int32_t Height;          /**< rows */
    int32_t BitsPerPixel;    /**< depth */
    uint32_t BytesPerLine;   /**< bytes per stored row; filled for the data callback only, else 0 */
    int32_t Order;           /**< COLORORDER_ value */
    int32_t ViewPerspective; /**< 1 to 8 */
    uint64_t Size;           /**< bytes of pixel data */
    const RGBQUAD* Palette;  /**< the palette passed to creation, or null; the caller's */
} ALLOCATEBITMAPCALLBACKDATA;

/** Sees every allocation. Any result other than SUCCESS stops the allocation and becomes its result. */
typedef int (*V_ALLOCATEBITMAPCALLBACK)(BITMAPHANDLE* pBitmap, ALLOCATEBITMAPCALLBACKDATA* pData, void* pUserData);

/** SUCCESS: the library goes on. 2: the callback owns the pixels. Anything else fails the allocation. */
typedef int (*V_ALLOCATEBITMAPDATACALLBACK)(BITMAPHANDLE* pBitmap, ALLOCATEBITMAPCALLBACKDATA* pData, void* pUserData);
/** Free, access and release. 2: the callback did all there is to do. */
typedef int (*V_BITMAPDATACALLBACK)(BITMAPHANDLE* pBitmap, void* pUserData);
/** Before and after the pixels of one bitmap are copied to another. */
typedef int (*V_COPYBITMAPDATACALLBACK)(BITMAPHANDLE* pDst, BITMAPHANDLE* pSrc, void* pUserData);
/** Moves uBytes bytes from row nRow, pixel column nCol on. 0: not handled, the library does it. */
typedef intptr_t (*V_BITMAPROWCOLCALLBACK)(BITMAPHANDLE* pBitmap, void* pBuffer, int32_t nRow, int32_t nCol,
                                           size_t uBytes, void* pUserData);
/** Lends a buffer of uBytes bytes for the rows of the bitmap that an operation works on, until the operation is over.
 *  Asked before the library takes memory of its own, once for an operation. A null buffer: the library's own is used.
 *  Any result other than SUCCESS stops the operation and becomes its result. */
typedef int (*V_BITMAPSCRATCHBUFFERCALLBACK)(BITMAPHANDLE* pBitmap, void** ppBuffer, size_t uBytes, void* pUserData);

/** A bitmap's nine data callbacks; each may be null. 88 bytes. */
typedef struct BITMAPDATACALLBACKS {
    uint32_t StructSize; /**< size of this record */
    void* UserData;      /**< passed back to every callback */
    V_ALLOCATEBITMAPDATACALLBACK AllocateBitmapDataCallback;
    V_BITMAPDATACALLBACK FreeBitmapDataCallback;
    V_COPYBITMAPDATACALLBACK BeginCopyBitmapDataCallback;
    V_COPYBITMAPDATACALLBACK EndCopyBitmapDataCallback;
    V_BITMAPDATACALLBACK AccessBitmapCallback;
    V_BITMAPDATACALLBACK ReleaseBitmapCallback;
    V_BITMAPROWCOLCALLBACK GetBitmapRowColCallback;
    V_BITMAPROWCOLCALLBACK PutBitmapRowColCallback;
    V_BITMAPSCRATCHBUFFERCALLBACK GetBitmapScratchBufferCallback;
} BITMAPDATACALLBACKS;

#endif /* VKRECORD_H */
