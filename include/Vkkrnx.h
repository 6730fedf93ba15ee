/**
 * @file Vkkrnx.h
 * The C interface of Vkkrnx, the kernel library of an imaging toolkit: raster images of 1 to 64 bits per pixel, held in
 * memory, tiles, compressed or on disk, and lent out row by row.
 *
 * Conventions that hold for every function:
 *  - `int` results are result codes: SUCCESS (1) or a negative code; nothing is thrown and nothing is printed.
 *  - Row functions return the number of bytes moved, or a negative code.
 *  - Sizes in pixels, rows, columns and depths are `int32_t`; flags, counts and record sizes `uint32_t`; byte counts
 *    `size_t`; sizes of pixel data `uint64_t`.
 *  - The caller owns every record it passes. The blocks a bitmap record points to belong to the record and are freed by
 *    V_FreeBitmap alone.
 *  - Wide strings are the platform's wchar_t; functions whose names end in A take or give UTF-8.
 *  - Different bitmaps may be used by different threads at once; one bitmap belongs to one thread at a time. Each
 *    function's remark says what holds for it: a thread-safe one may be called by any threads at any time, and settings
 *    of the calling thread are those that it made itself, or was started with (V_VellThreadCreateAndRun).
 */
#ifndef VKKRNX_H
#define VKKRNX_H

#include "Vktypes.h"

#define VKKRNX_VERSION_MAJOR 1
#define VKKRNX_VERSION_MINOR 0
#define VKKRNX_VERSION_PATCH 0

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

/** Which values V_SetMemoryThresholds sets. */
#define THRESHOLD_RESERVEDMEMORY 1u
#define THRESHOLD_MAXCONVSIZE 2u
#define THRESHOLD_TILESIZE 4u
#define THRESHOLD_CONVTILES 8u
#define THRESHOLD_CONVBUFFERS 16u

/** Which values V_SetBitmapMemoryInfo takes from its arguments; the others keep the thread's thresholds. */
#define MEMORYINFO_MEMORY 1u       /**< uMemory; without it the storage stays of its present kind */
#define MEMORYINFO_TILESIZE 2u     /**< nTileSize */
#define MEMORYINFO_TILES 4u        /**< nTiles; ignored when MEMORYINFO_TILESIZE is given */
#define MEMORYINFO_CONVTILES 8u    /**< nConvTiles */
#define MEMORYINFO_TILESLEFT 16u   /**< nTilesLeft; ignored when MEMORYINFO_CONVTILES is given */
#define MEMORYINFO_CONVBUFFERS 32u /**< nConvBuffers */

/** Modes of V_OsCreat; they combine. */
#define OSCREAT_READONLY 1
#define OSCREAT_HIDDEN 2
#define OSCREAT_SYSTEM 4
#define OSCREAT_DELETEONCLOSE 8

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
/** Supplies a scratch buffer of uBytes bytes. */
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

/** The process-wide disk threshold. 16 bytes. */
typedef struct GLOBALMEMORYTHRESHOLDS {
    uint32_t StructSize;   /**< size of this record */
    int64_t DiskThreshold; /**< bytes; larger bitmaps go to disk. 0: none; -1: half of the physical memory */
} GLOBALMEMORYTHRESHOLDS;

/** Options of temporary files. 24 bytes. */
typedef struct TEMPFILEOPTIONS {
    uint32_t StructSize; /**< size of this record */
    uint32_t Mode;       /**< 3: no physical temporary files may be made */
    uint32_t Setting1;   /**< kept for compatibility, no effect */
    uint32_t Setting2;   /**< kept for compatibility, no effect */
    uint32_t Setting3;   /**< kept for compatibility, no effect */
    uint32_t Setting4;   /**< kept for compatibility, no effect */
} TEMPFILEOPTIONS;

/** A run of pixels within a row. */
typedef struct ROWSEGMENT {
    int32_t nCol;   /**< first pixel */
    int32_t nWidth; /**< pixels; 0 is an empty segment */
} ROWSEGMENT;

/** Callbacks of the module that implements regions (RgnInfo). Each may be null and returns a result code. */
typedef struct REGIONHOOKS {
    uint32_t StructSize; /**< size of this record */
    void* UserData;      /**< passed back to every hook */
    int (*FlipRegion)(BITMAPHANDLE* pBitmap, void* pUserData);
    int (*ReverseRegion)(BITMAPHANDLE* pBitmap, void* pUserData);
    int (*ScaleRegion)(BITMAPHANDLE* pBitmap, int32_t nWidth, int32_t nHeight, void* pUserData);
    int (*FreeRegion)(BITMAPHANDLE* pBitmap, void* pUserData);
} REGIONHOOKS;

/** Progress of the calling thread's operations: 0, then each new percentage. Any result other than SUCCESS stops the
 *  operation and becomes its result. */
typedef int (*V_STATUSCALLBACK)(int nPercent, void* pUserData);

V_EXTERN_C_BEGIN

/* ------------------------------------------------------------------------------------------------------------------
 * Bitmap record and messages
 * --------------------------------------------------------------------------------------------------------------- */

/**
 * Clears a record and describes an image in it, without storage. V_InitBitmapWithCallbacks with no callbacks.
 * @param pBitmap the record. @param uStructSize BITMAPHANDLE_SIZE or BITMAPHANDLE_SIZE_EARLIER.
 * @param nWidth,nHeight size in pixels; 0 x 0 at 0 bits gives an empty record. @param nBitsPerPixel the depth.
 * @return SUCCESS; ERROR_INVALID_PARAMETER: null record; ERROR_INVALID_STRUCT_SIZE; ERROR_INVALID_WIDTH_HEIGHT:
 * negative size; ERROR_INVALID_BITS_PER_PIXEL; ERROR_MEMORY_TOO_LARGE: more than 0xFFFF0000 bytes in an earlier record.
 * After a failure past the structure size the record is empty but for StructSize.
 * @remark One thread per bitmap at a time.
 */
V_API int V_InitBitmap(BITMAPHANDLE* pBitmap, uint32_t uStructSize, int32_t nWidth, int32_t nHeight,
                       int32_t nBitsPerPixel) V_NOEXCEPT;

/** As V_InitBitmap, and gives the record a copy of a table of data callbacks (null: none). A table that cannot be
 *  installed (V_SetBitmapDataCallbacks) is left out without a word. @remark One thread per bitmap at a time. */
V_API int V_InitBitmapWithCallbacks(BITMAPHANDLE* pBitmap, uint32_t uStructSize, int32_t nWidth, int32_t nHeight,
                                    int32_t nBitsPerPixel, const BITMAPDATACALLBACKS* pCallbacks) V_NOEXCEPT;

/**
 * Writes the English text of a result code.
 * @param nCode the code; one without a text of its own gives "Internal or Unrecognized Error!".
 * @param pszBuffer receives the text with a final zero. @param uLength room in it, in characters. Further arguments are
 * accepted and not used: no text has places for them.
 * @return SUCCESS; ERROR_INVALID_PARAMETER: null buffer; ERROR_BUFFER_TOO_SMALL: the text was cut (it still ends with a
 * zero when uLength is not 0).
 * @remark Thread-safe.
 */
V_API int V_GetFriendlyErrorMessage(int nCode, wchar_t* pszBuffer, uint32_t uLength, ...) V_NOEXCEPT;
/** V_GetFriendlyErrorMessage in 8-bit characters. @remark Thread-safe. */
V_API int V_GetFriendlyErrorMessageA(int nCode, char* pszBuffer, uint32_t uLength, ...) V_NOEXCEPT;

/* ------------------------------------------------------------------------------------------------------------------
 * Status callback
 * --------------------------------------------------------------------------------------------------------------- */

/**
 * Sets the calling thread's status callback.
 * @param pfnCallback the callback, or null for none. @param pUserData passed back to it.
 * @param ppfnOld,ppOldUserData receive the previous ones; may be null.
 * @return SUCCESS.
 * @remark Affects the calling thread only.
 */
V_API int V_SetStatusCallback(V_STATUSCALLBACK pfnCallback, void* pUserData, V_STATUSCALLBACK* ppfnOld,
                              void** ppOldUserData) V_NOEXCEPT;
/** Reads the calling thread's status callback; either out pointer may be null. @return SUCCESS.
 *  @remark Reads the calling thread's own setting. */
V_API int V_GetStatusCallback(V_STATUSCALLBACK* ppfnCallback, void** ppUserData) V_NOEXCEPT;

/* ------------------------------------------------------------------------------------------------------------------
 * Allocation, locking, thresholds
 * --------------------------------------------------------------------------------------------------------------- */

/**
 * Allocates zeroed storage for an initialised record.
 *
 * The kinds are tried in the order conventional, tiled, disk; the request and the thresholds rule steps out.
 * @param pBitmap an initialised record; what storage it had is forgotten, not freed.
 * @param uMemory 1, 2, 4, 8, 9, 128, 256, 257, 260, 264, 265, 768, 769, 1024, 1025, 1280 or 1281 as a sum of TYPE_
 * bits. TYPE_COMPRESSED counts at 1 bit per pixel only and TYPE_SUPERCOMPRESSED at 1, 8 and 24; elsewhere they are
 * dropped, and a request they leave empty is TYPE_CONV.
 * @return SUCCESS; ERROR_INVALID_PARAMETER: null record or another request; ERROR_INVALID_STRUCT_SIZE;
 * ERROR_INVALID_WIDTH_HEIGHT: no data; ERROR_NO_MEMORY: no kind could be had; the result of a callback that refused.
 * On failure the record is as it was.
 * @remark One thread per bitmap at a time.
 */
V_API int V_AllocateBitmap(BITMAPHANDLE* pBitmap, uint32_t uMemory) V_NOEXCEPT;

/**
 * Initialises a record and allocates its storage.
 * @param pBitmap the record. @param uStructSize BITMAPHANDLE_SIZE or BITMAPHANDLE_SIZE_EARLIER.
 * @param uMemory as for V_AllocateBitmap. @param nWidth,nHeight size in pixels.
 * @param nBitsPerPixel the depth; 0 means 8 bits with a gray palette. @param nOrder COLORORDER_ value.
 * @param pPalette 1 << nBitsPerPixel entries, copied, or null for the fixed palette (gray for COLORORDER_GRAY).
 * @param nViewPerspective 1 to 8, 0 for TOP_LEFT. @param pData with TYPE_USER: the caller's pixels, or null.
 * @param uDataSize bytes at pData.
 * @return as V_InitBitmap and V_AllocateBitmap; ERROR_INVALID_BITS_PER_PIXEL: wide gamut at other than 24 or 48 bits;
 * ERROR_INVALID_PARAMETER: perspective outside 0 to 8. On failure the record is empty but for StructSize.
 * @remark One thread per bitmap at a time.
 */
V_API int V_CreateBitmap(BITMAPHANDLE* pBitmap, uint32_t uStructSize, uint32_t uMemory, int32_t nWidth, int32_t nHeight,
                         int32_t nBitsPerPixel, int32_t nOrder, const RGBQUAD* pPalette, int32_t nViewPerspective,
                         void* pData, uint64_t uDataSize) V_NOEXCEPT;
/** As V_CreateBitmap, with a table of data callbacks for the record to copy (null: none).
 *  @remark One thread per bitmap at a time. */
V_API int V_CreateBitmapWithCallbacks(BITMAPHANDLE* pBitmap, uint32_t uStructSize, uint32_t uMemory, int32_t nWidth,
                                      int32_t nHeight, int32_t nBitsPerPixel, int32_t nOrder, const RGBQUAD* pPalette,
                                      int32_t nViewPerspective, void* pData, uint64_t uDataSize,
                                      const BITMAPDATACALLBACKS* pCallbacks) V_NOEXCEPT;

/** Frees a bitmap's storage and every block the record owns. Ignores a null record or one of wrong size; memory the
 *  caller lent (Mirror) stays the caller's. @remark One thread per bitmap at a time. */
V_API void V_FreeBitmap(BITMAPHANDLE* pBitmap) V_NOEXCEPT;

/**
 * Locks a bitmap for row access; calls nest. The first lock makes `Data` of a Global bitmap valid.
 * @return SUCCESS; ERROR_NULL_PTR: null record; ERROR_NO_MEMORY: the block cannot be locked; the result of an
 * AccessBitmapCallback that refused. On failure the lock count is as it was.
 * @remark One thread per bitmap at a time.
 */
V_API int V_AccessBitmap(BITMAPHANDLE* pBitmap) V_NOEXCEPT;
/**
 * Takes one lock off a bitmap. @return SUCCESS; ERROR_NULL_PTR; ERROR_INVALID_STRUCT_SIZE; the result of a failing
 * ReleaseBitmapCallback (the lock is off all the same).
 * @remark One thread per bitmap at a time.
 */
V_API int V_ReleaseBitmap(BITMAPHANDLE* pBitmap) V_NOEXCEPT;

/**
 * Points a bitmap at other pixel memory, which stays the caller's. The storage the bitmap was allocated with is still
 * the one that V_FreeBitmap frees.
 * @param pData the pixels or null. @param uDataSize bytes at pData.
 * @return SUCCESS; ERROR_INVALID_STRUCT_SIZE; ERROR_INVALID_PARAMETER: null record, or neither a user-memory bitmap,
 * nor a null pointer, nor exactly the bitmap's data size.
 * @remark One thread per bitmap at a time.
 */
V_API int V_SetBitmapDataPointer(BITMAPHANDLE* pBitmap, void* pData, uint64_t uDataSize) V_NOEXCEPT;

/**
 * Changes the number of rows; those that fit stay, new ones are clear.
 * @return SUCCESS; ERROR_INVALID_PARAMETER: null record, lent memory or a locked block; ERROR_INVALID_STRUCT_SIZE;
 * ERROR_INVALID_IMAGE: not allocated; ERROR_INVALID_WIDTH_HEIGHT: height below 1; ERROR_NO_MEMORY. On failure the
 * bitmap is as it was.
 * @remark One thread per bitmap at a time.
 */
V_API int V_ChangeBitmapHeight(BITMAPHANDLE* pBitmap, int32_t nHeight) V_NOEXCEPT;
/** Brings `Size` up to date: the stored bytes of compressed bitmaps, else BytesPerLine * Height.
 *  @return SUCCESS; ERROR_INVALID_PARAMETER; ERROR_INVALID_STRUCT_SIZE; ERROR_INVALID_IMAGE: not allocated.
 *  @remark One thread per bitmap at a time. */
V_API int V_UpdateBitmapSize(BITMAPHANDLE* pBitmap) V_NOEXCEPT;

/** Sets the calling thread's default memory type. @return SUCCESS; ERROR_INVALID_PARAMETER: neither TYPE_CONV nor
 *  TYPE_DISK. @remark Affects the calling thread only. */
V_API int V_SetDefaultMemoryType(uint32_t uMemory) V_NOEXCEPT;
/** Reads the default memory type. @return SUCCESS; ERROR_INVALID_PARAMETER: null pointer.
 *  @remark Reads the calling thread's own setting. */
V_API int V_GetDefaultMemoryType(uint32_t* puMemory) V_NOEXCEPT;

/**
 * Sets the calling thread's memory thresholds.
 * @param nReservedMemory memory to leave free: bytes, or -p for p percent of memory and page file together.
 * @param nMaxConvSize largest conventional block: bytes (the low 32 bits count), or -p for p percent of what is
 * available at the time of a request. @param nTileSize bytes per tile; 0 means 16 MiB.
 * @param nConvTiles tiles that are kept in memory even beyond the conventional limit: a number, or -p for p percent.
 * @param nConvBuffers tiles in files that stay mapped: a number, -p for p percent, 0 for the library's choice.
 * @param uFlags THRESHOLD_ bits: which of the five to set.
 * @return SUCCESS; ERROR_INVALID_PARAMETER: a value below -100, or a tile size below 0; values before it stay set.
 * @remark Affects the calling thread only.
 */
V_API int V_SetMemoryThresholds(int32_t nReservedMemory, int64_t nMaxConvSize, int64_t nTileSize, int32_t nConvTiles,
                                int32_t nConvBuffers, uint32_t uFlags) V_NOEXCEPT;
/** Reads the thresholds as they were set; each out pointer may be null. @return SUCCESS.
 *  @remark Reads the calling thread's own setting. */
V_API int V_GetMemoryThresholds(int32_t* pnReservedMemory, int64_t* pnMaxConvSize, int64_t* pnTileSize,
                                int32_t* pnConvTiles, int32_t* pnConvBuffers) V_NOEXCEPT;
/** Sets the process-wide disk threshold; null clears it. @return SUCCESS; ERROR_INVALID_STRUCT_SIZE;
 *  ERROR_INVALID_PARAMETER: a threshold below -1. @remark Thread-safe; the value holds for all threads. */
V_API int V_SetGlobalMemoryThresholds(const GLOBALMEMORYTHRESHOLDS* pThresholds) V_NOEXCEPT;
/** Reads the disk threshold (after -1, the computed one). @return SUCCESS; ERROR_NULL_PTR; ERROR_INVALID_STRUCT_SIZE.
 * @remark Thread-safe; the value holds for all threads.
 */
V_API int V_GetGlobalMemoryThresholds(GLOBALMEMORYTHRESHOLDS* pThresholds, uint32_t uStructSize) V_NOEXCEPT;

/**
 * Tells where a bitmap's pixels live. Each out pointer but the first may be null; figures that do not apply are 0.
 * @param puMemory TYPE_CONV, TYPE_TILED, TYPE_DISK, TYPE_COMPRESSED or TYPE_SUPERCOMPRESSED.
 * @param pnTileSize bytes per tile. @param pnTiles tiles. @param pnConvTiles tiles in memory.
 * @param pnTilesLeft tiles in the file. @param pnConvBuffers tiles of the file that may be mapped at once.
 * @return SUCCESS; ERROR_INVALID_PARAMETER: null record or type pointer; ERROR_INVALID_STRUCT_SIZE;
 * ERROR_INVALID_IMAGE: not allocated.
 * @remark One thread per bitmap at a time.
 */
V_API int V_GetBitmapMemoryInfo(BITMAPHANDLE* pBitmap, uint32_t* puMemory, int64_t* pnTileSize, int32_t* pnTiles,
                                int32_t* pnConvTiles, int32_t* pnTilesLeft, int32_t* pnConvBuffers) V_NOEXCEPT;
/**
 * Moves an allocated bitmap's pixels to storage of another kind, or re-tiles it. Reports progress.
 * @param uMemory TYPE_CONV, TYPE_TILED, TYPE_DISK, at 1 bit per pixel TYPE_COMPRESSED, at 1, 8 and 24 bits
 * TYPE_SUPERCOMPRESSED. The remaining arguments shape tiles. @param uFlags MEMORYINFO_ bits: which arguments count.
 * @return SUCCESS; ERROR_INVALID_PARAMETER: null record, other kind, bad figure or a bitmap that is locked;
 * ERROR_INVALID_STRUCT_SIZE; ERROR_INVALID_IMAGE: not allocated or without data; ERROR_INVALID_BITS_PER_PIXEL: a
 * depth that the kind does not hold; ERROR_FEATURE_NOT_SUPPORTED: pixels held by data callbacks;
 * ERROR_INVALID_WIDTH_HEIGHT: BytesPerLine cannot hold Width; ERROR_NO_MEMORY; ERROR_FILE_SEEK, ERROR_FILE_READ,
 * ERROR_FILE_WRITE; the status callback's refusal. On failure the bitmap is as it was.
 * @remark One thread per bitmap at a time.
 */
V_API int V_SetBitmapMemoryInfo(BITMAPHANDLE* pBitmap, uint32_t uMemory, int64_t nTileSize, int32_t nTiles,
                                int32_t nConvTiles, int32_t nTilesLeft, int32_t nConvBuffers,
                                uint32_t uFlags) V_NOEXCEPT;

/** Gives the record a zeroed block of uSize bytes in ExtraData, in place of any earlier one.
 *  @return SUCCESS; ERROR_INVALID_IMAGE: null record; ERROR_INVALID_STRUCT_SIZE; ERROR_INVALID_PARAMETER: size 0;
 *  ERROR_NO_MEMORY: the earlier block stays. @remark One thread per bitmap at a time. */
V_API int V_AllocateBitmapExtraData(BITMAPHANDLE* pBitmap, uint64_t uSize) V_NOEXCEPT;
/** Frees the record's extra data, if any. @return SUCCESS; ERROR_INVALID_IMAGE: null record;
 *  ERROR_INVALID_STRUCT_SIZE. @remark One thread per bitmap at a time. */
V_API int V_FreeBitmapExtraData(BITMAPHANDLE* pBitmap) V_NOEXCEPT;

/** Sets the process-wide allocation callback (null: none). The out pointers receive the previous one; they may be null.
 *  Set it before other threads allocate. @return SUCCESS. @remark Not while other threads use the library. */
V_API int V_SetAllocateBitmapCallback(V_ALLOCATEBITMAPCALLBACK pfnCallback, void* pUserData,
                                      V_ALLOCATEBITMAPCALLBACK* ppfnOld, void** ppOldUserData) V_NOEXCEPT;
/** Gives a record a copy of a table of data callbacks in place of any earlier one; null removes it.
 *  @return SUCCESS; ERROR_INVALID_PARAMETER: null record; ERROR_INVALID_STRUCT_SIZE: of the record or table, or an
 *  earlier record, which cannot hold callbacks; ERROR_INVALID_WIDTH_HEIGHT: no data; ERROR_NO_MEMORY.
 *  @remark One thread per bitmap at a time. */
V_API int V_SetBitmapDataCallbacks(BITMAPHANDLE* pBitmap, const BITMAPDATACALLBACKS* pCallbacks) V_NOEXCEPT;
/** Copies a record's data callbacks out; all null when it has none.
 *  @return SUCCESS; ERROR_INVALID_PARAMETER: null record or table; ERROR_INVALID_STRUCT_SIZE.
 *  @remark One thread per bitmap at a time. */
V_API int V_GetBitmapDataCallbacks(BITMAPHANDLE* pBitmap, BITMAPDATACALLBACKS* pCallbacks,
                                   uint32_t uStructSize) V_NOEXCEPT;

/** Gives back unused memory of a run-length compressed bitmap, band by band from the last.
 *  @return SUCCESS; FAILURE: a band could not be trimmed; ERROR_INVALID_PARAMETER: null, or not an allocated compressed
 *  bitmap; ERROR_INVALID_STRUCT_SIZE. @remark One thread per bitmap at a time. */
V_API int V_TrimBitmapHeap(BITMAPHANDLE* pBitmap) V_NOEXCEPT;
/** Makes room for uBytes more bytes of run words, divided evenly among the bands, so that puts need not allocate.
 *  @return SUCCESS; ERROR_INVALID_PARAMETER; ERROR_INVALID_STRUCT_SIZE; ERROR_NO_MEMORY.
 *  @remark One thread per bitmap at a time. */
V_API int V_GrowBitmapHeap(BITMAPHANDLE* pBitmap, uint64_t uBytes) V_NOEXCEPT;

/** Frees a block that the library handed out and whose description names this function. Null is ignored.
 *  @remark Thread-safe; no other thread may be using the block. */
V_API void V_FreeMemory(void* pBlock) V_NOEXCEPT;

/** Installs the callbacks of the module that implements regions, process-wide; null removes them.
 *  @return SUCCESS; ERROR_INVALID_STRUCT_SIZE. @remark Not while other threads use the library. */
V_API int V_SetRegionHooks(const REGIONHOOKS* pHooks) V_NOEXCEPT;

/* ------------------------------------------------------------------------------------------------------------------
 * Rows and pixels
 * --------------------------------------------------------------------------------------------------------------- */

/**
 * Copies bytes of stored rows into a buffer.
 *
 * Row 0 is the first stored row, whatever the view perspective. Bytes may run on into the following rows. The caller
 * holds the bitmap accessed (V_AccessBitmap).
 * @param pBuffer receives uBytes bytes. @param nRow first row. @param uBytes bytes to move.
 * @return uBytes; ERROR_INVALID_PARAMETER: null pointer, or bytes outside the storage; ERROR_INVALID_STRUCT_SIZE;
 * ERROR_INVALID_IMAGE: no data; ERROR_NO_MEMORY: no storage; ERROR_FILE_SEEK, ERROR_FILE_READ: disk storage; -1: tiles
 * that cannot be read; a non-zero result of GetBitmapRowColCallback.
 * @remark One thread per bitmap at a time.
 */
V_API intptr_t V_GetBitmapRow(BITMAPHANDLE* pBitmap, void* pBuffer, int32_t nRow, size_t uBytes) V_NOEXCEPT;
/** Copies a buffer into stored rows; as V_GetBitmapRow, with ERROR_FILE_WRITE for disk storage. Compressed storage
 *  keeps no padding bits, and recounts `Size`. @remark One thread per bitmap at a time. */
V_API intptr_t V_PutBitmapRow(BITMAPHANDLE* pBitmap, const void* pBuffer, int32_t nRow, size_t uBytes) V_NOEXCEPT;
/** As V_GetBitmapRow, starting at the byte that holds the first bit of pixel nCol.
 *  @remark One thread per bitmap at a time. */
V_API intptr_t V_GetBitmapRowCol(BITMAPHANDLE* pBitmap, void* pBuffer, int32_t nRow, int32_t nCol,
                                 size_t uBytes) V_NOEXCEPT;
/** As V_PutBitmapRow, starting at the byte that holds the first bit of pixel nCol.
 *  @remark One thread per bitmap at a time. */
V_API intptr_t V_PutBitmapRowCol(BITMAPHANDLE* pBitmap, const void* pBuffer, int32_t nRow, int32_t nCol,
                                 size_t uBytes) V_NOEXCEPT;
/**
 * Puts chosen pixels of a row and leaves the others as they are, to the bit at every depth.
 * @param pRow a whole row in the bitmap's format, BytesPerLine bytes. @param nRow the row.
 * @param pSegments the runs of pixels to take from it, each within 0 to Width. @param uSegments their number.
 * @return the number of pixels put; ERROR_INVALID_PARAMETER: null pointer, row outside the bitmap or segment outside
 * the row (nothing is then moved); otherwise as V_PutBitmapRow.
 * @remark One thread per bitmap at a time.
 */
V_API intptr_t V_PutBitmapRowSegments(BITMAPHANDLE* pBitmap, const void* pRow, int32_t nRow,
                                      const ROWSEGMENT* pSegments, uint32_t uSegments) V_NOEXCEPT;
/**
 * Reads the bytes that hold one pixel: ((c + 1) * bits + 7) / 8 - (c * bits) / 8 of them. Below 8 bits they hold
 * neighbouring pixels too.
 * @return SUCCESS; ERROR_INVALID_IMAGE: null or unallocated bitmap, or null buffer; ERROR_INVALID_STRUCT_SIZE;
 * ERROR_INVALID_PARAMETER: uBufferSize is too small; ERROR_NO_MEMORY: the bytes could not be moved.
 * @remark One thread per bitmap at a time.
 */
V_API int V_GetPixelData(BITMAPHANDLE* pBitmap, void* pBuffer, int32_t nRow, int32_t nCol,
                         size_t uBufferSize) V_NOEXCEPT;
/** Writes the bytes that hold one pixel; as V_GetPixelData. @remark One thread per bitmap at a time. */
V_API int V_PutPixelData(BITMAPHANDLE* pBitmap, const void* pBuffer, int32_t nRow, int32_t nCol,
                         size_t uBufferSize) V_NOEXCEPT;
/**
 * Reads one pixel as a colour value; accesses and releases the bitmap itself. An index without a palette is given in
 * all three channels, gray samples deeper than 8 bits as the top 8 bits of their significant range.
 * @return the colour, or 0x80000000: null or unallocated bitmap, wrong record size, position outside the bitmap, 32-bit
 * gray, failed access.
 * @remark One thread per bitmap at a time.
 */
V_API COLORREF V_GetPixelColor(BITMAPHANDLE* pBitmap, int32_t nRow, int32_t nCol) V_NOEXCEPT;
/**
 * Writes one pixel from a colour value (0x01 in the top byte: a palette index; 0x04: a gray level in bits 8-15); the
 * nearest palette entry at up to 8 bits. Accesses and releases the bitmap itself.
 * @return SUCCESS; ERROR_INVALID_IMAGE: null or unallocated bitmap; ERROR_INVALID_STRUCT_SIZE; ERROR_INVALID_PARAMETER:
 * position outside the bitmap, index the depth cannot hold, index for a bitmap deeper than 8 bits, or 32-bit gray; a
 * failed access or transfer.
 * @remark One thread per bitmap at a time.
 */
V_API int V_PutPixelColor(BITMAPHANDLE* pBitmap, int32_t nRow, int32_t nCol, COLORREF crColor) V_NOEXCEPT;

/* ------------------------------------------------------------------------------------------------------------------
 * Compressed rows
 *
 * A compressed row is a 32-bit count N and N 16-bit run lengths, little-endian: clear pixels, set pixels, clear pixels
 * and so on, 4 + 2N bytes. A run that would pass 65535 is closed and continued behind a run of length 0.
 * --------------------------------------------------------------------------------------------------------------- */

/**
 * Compresses a run of 1-bit pixels.
 * @param pDst receives the row; 4 + 2 * (nPixels + 1 + 2 * (nPixels / 65528)) bytes always suffice.
 * @param pSrc 1-bit pixels, most significant bit first; only read. @param nBitOffset the first pixel's bit, modulo 8.
 * @param nPixels pixels. @return nPixels; ERROR_INVALID_PARAMETER: null pointer or negative number.
 * @remark Thread-safe; a buffer belongs to one thread at a time.
 */
V_API int V_CompressRow(void* pDst, const void* pSrc, int32_t nBitOffset, int32_t nPixels) V_NOEXCEPT;
/**
 * Expands part of a compressed row; what the run words do not cover is clear.
 * @param pSrc the row; no more than its 4 + 2N bytes are read. @param pDst receives (nPixels + 7) / 8 bytes.
 * @param nStart first pixel. @param nPixels pixels.
 * @return SUCCESS; ERROR_INVALID_PARAMETER: null pointer or negative number.
 * @remark Thread-safe; a buffer belongs to one thread at a time.
 */
V_API int V_ExpandRow(const void* pSrc, void* pDst, int32_t nStart, int32_t nPixels) V_NOEXCEPT;
/** Compresses nRows rows that lie uSrcStride bytes apart into compressed rows that lie back to back.
 *  @return nPixels; ERROR_INVALID_PARAMETER: null pointer or negative number.
 *  @remark Thread-safe; a buffer belongs to one thread at a time. */
V_API int V_CompressRows(void* pDst, const void* pSrc, int32_t nBitOffset, int32_t nPixels, int32_t nRows,
                         size_t uSrcStride) V_NOEXCEPT;
/** Expands nRows compressed rows that lie back to back into rows that lie uDstStride bytes apart.
 *  @return SUCCESS; ERROR_INVALID_PARAMETER: null pointer or negative number.
 *  @remark Thread-safe; a buffer belongs to one thread at a time. */
V_API int V_ExpandRows(const void* pSrc, void* pDst, int32_t nStart, int32_t nPixels, int32_t nRows,
                       size_t uDstStride) V_NOEXCEPT;
/**
 * Reads a row of a 1-bit bitmap of any storage kind as a compressed row.
 * @param pBuffer receives the row. @param uBytes room in it.
 * @return the bytes used; ERROR_INVALID_PARAMETER: null pointer or row outside the bitmap; ERROR_INVALID_STRUCT_SIZE;
 * ERROR_INVALID_BITS_PER_PIXEL; ERROR_BUFFER_TOO_SMALL; ERROR_NO_MEMORY; or as V_GetBitmapRow.
 * @remark One thread per bitmap at a time.
 */
V_API intptr_t V_GetBitmapRowCompressed(BITMAPHANDLE* pBitmap, void* pBuffer, int32_t nRow, size_t uBytes) V_NOEXCEPT;
/** Writes a compressed row into a 1-bit bitmap of any storage kind; pixels its runs do not cover become clear.
 *  @return the bytes used; ERROR_BUFFER_TOO_SMALL: uBytes is less than the row's 4 + 2N; else as
 *  V_GetBitmapRowCompressed and V_PutBitmapRow. @remark One thread per bitmap at a time. */
V_API intptr_t V_PutBitmapRowCompressed(BITMAPHANDLE* pBitmap, const void* pBuffer, int32_t nRow,
                                        size_t uBytes) V_NOEXCEPT;
/** As V_GetBitmapRowCompressed, for the pixels from nCol to the row's end. @remark One thread per bitmap at a time. */
V_API intptr_t V_GetBitmapRowColCompressed(BITMAPHANDLE* pBitmap, void* pBuffer, int32_t nRow, int32_t nCol,
                                           size_t uBytes) V_NOEXCEPT;
/** As V_PutBitmapRowCompressed, for the pixels from nCol on that the runs cover; the others stay as they are.
 *  @remark One thread per bitmap at a time. */
V_API intptr_t V_PutBitmapRowColCompressed(BITMAPHANDLE* pBitmap, const void* pBuffer, int32_t nRow, int32_t nCol,
                                           size_t uBytes) V_NOEXCEPT;
/** Mirrors a compressed row of nPixels pixels in place. A row that ends with set pixels grows by one run word (2
 * bytes), for which the buffer has room. Pixels its runs do not cover count as clear. @return SUCCESS;
 * ERROR_INVALID_PARAMETER: null, negative, or so many pixels not covered that the row would need more room.
 * @remark Thread-safe; a buffer belongs to one thread at a time. */
V_API int V_MirrorCompressedBuffer(void* pBuffer, int32_t nPixels) V_NOEXCEPT;
/** Reverses the order of nRows compressed rows that lie back to back, in place.
 *  @return SUCCESS; ERROR_INVALID_PARAMETER: null or negative.
 *  @remark Thread-safe; a buffer belongs to one thread at a time. */
V_API int V_FlipCompressedBuffer(void* pBuffer, int32_t nRows) V_NOEXCEPT;
/**
 * Changes the way a bitmap's rows are stored. Reports progress.
 * @param nCompression 0 none, 1 run-length (1 bit per pixel), 2 super-compressed (1, 8 and 24 bits). The record's
 * size is that of what is stored afterwards.
 * @return SUCCESS (also when nothing changes); ERROR_INVALID_PARAMETER: null record, other value, lent or locked
 * memory; ERROR_INVALID_IMAGE: not allocated; otherwise as V_SetBitmapMemoryInfo. On failure the bitmap is as it was.
 * @remark One thread per bitmap at a time.
 */
V_API int V_ChangeBitmapCompression(BITMAPHANDLE* pBitmap, int32_t nCompression) V_NOEXCEPT;
/** V_ChangeBitmapCompression to 0 for a compressed bitmap, to 1 for any other 1-bit bitmap, to 2 for deeper ones.
 *  @remark One thread per bitmap at a time. */
V_API int V_ToggleBitmapCompression(BITMAPHANDLE* pBitmap) V_NOEXCEPT;

/* ------------------------------------------------------------------------------------------------------------------
 * File layer and temporary files
 * --------------------------------------------------------------------------------------------------------------- */

/** Creates a file anew, or empties it. @param nMode OSCREAT_ bits. @return the handle, or -1. @remark Thread-safe. */
V_API int64_t V_OsCreat(const wchar_t* pszName, int nMode) V_NOEXCEPT;
/**
 * Opens a file.
 * @param nAccess bits 0-1: 0 read, 1 write, 2 or 3 both; 0x40 delete on close; 0x100 create always, else 0x200 empty an
 * existing file, else open an existing one. @param nShare bits 0x80 and 0x100: share reading and writing; 0x100: share
 * reading; else none. @param pUserData not used. @return the handle, or -1.
 * @remark Thread-safe.
 */
V_API int64_t V_OsOpen(const wchar_t* pszName, int nAccess, int nShare, void* pUserData) V_NOEXCEPT;
/** Reads uCount bytes at the current position. @return bytes read (less at the end of the file), or -1.
 *  @remark One thread per file at a time. */
V_API int64_t V_OsRead(int64_t hFile, void* pBuffer, size_t uCount, void* pUserData) V_NOEXCEPT;
/** Writes uCount bytes at the current position; 0 ends the file there. @return bytes written, or -1.
 *  @remark One thread per file at a time. */
V_API int64_t V_OsWrite(int64_t hFile, const void* pBuffer, size_t uCount, void* pUserData) V_NOEXCEPT;
/** Moves the position. @param nOrigin 0 from the start, 1 from the current position, else from the end.
 *  @return the new position, or -1. @remark One thread per file at a time. */
V_API int64_t V_OsSeek(int64_t hFile, int64_t nOffset, int nOrigin, void* pUserData) V_NOEXCEPT;
/** Closes a file. @return 0, or -1. @remark One thread per file at a time. */
V_API int V_OsClose(int64_t hFile, void* pUserData) V_NOEXCEPT;
/** Reads exactly uCount bytes in pieces of at most 0x7FFFFFF. @return uCount, or -1 on any failure or short read.
 *  @remark One thread per file at a time. */
V_API int64_t V_OsReadBig(int64_t hFile, void* pBuffer, uint64_t uCount) V_NOEXCEPT;
/** Writes exactly uCount bytes in pieces of at most 0x7FFFFFF; 0 ends the file at the position. @return uCount, or -1.
 * @remark One thread per file at a time.
 */
V_API int64_t V_OsWriteBig(int64_t hFile, const void* pBuffer, uint64_t uCount) V_NOEXCEPT;
/** Deletes a file. @return 0, or -1. @remark Thread-safe. */
V_API int V_OsDelete(const wchar_t* pszName) V_NOEXCEPT;
/** Cuts or extends a file to nSize bytes and leaves the position there. @return 0, or -1.
 *  @remark One thread per file at a time. */
V_API int V_OsSetFileSize(int64_t hFile, int64_t nSize) V_NOEXCEPT;

/**
 * Makes a new empty temporary file with a unique name, readable by its owner alone.
 * While the thread's open operation is redirected it makes up a unique name alone; the file comes with its opening.
 * @param pszName receives the name; room for 260 characters. @param pszPrefix start of the file's name, null for "V_".
 * @return SUCCESS; ERROR_INVALID_PARAMETER: null name; ERROR_NO_MEMORY: no directory, or no file could be made.
 * @remark Thread-safe; follows the redirection in force on the calling thread.
 */
V_API int V_GetTempFileName(wchar_t* pszName, const wchar_t* pszPrefix) V_NOEXCEPT;
/** V_GetTempFileName in UTF-8, with room for 780 bytes. @return also ERROR_NO_DISK_SPACE: the prefix is not UTF-8;
 *  ERROR_FILE_READ: the name cannot be given in UTF-8 (the file is deleted).
 *  @remark Thread-safe; follows the redirection in force on the calling thread. */
V_API int V_GetTempFileNameA(char* pszName, const char* pszPrefix) V_NOEXCEPT;
/** Gives the directory of temporary files with its final separator. @param uLength room in characters.
 *  @return SUCCESS; ERROR_NULL_PTR; ERROR_BUFFER_TOO_SMALL; ERROR_NO_MEMORY: the system has none.
 *  @remark Thread-safe. */
V_API int V_GetTempDirectory(wchar_t* pszDirectory, uint32_t uLength) V_NOEXCEPT;
/** Disabled. @return ERROR_NULL_PTR: null; else ERROR_FEATURE_NOT_SUPPORTED. @remark Thread-safe. */
V_API int V_SetTempDirectory(const wchar_t* pszDirectory) V_NOEXCEPT;
/** Reads the options of temporary files. @return SUCCESS; ERROR_NULL_PTR; ERROR_INVALID_STRUCT_SIZE.
 *  @remark Thread-safe. */
V_API int V_GetTempFileOptions(TEMPFILEOPTIONS* pOptions, uint32_t uStructSize) V_NOEXCEPT;
/** Disabled. @return ERROR_FEATURE_NOT_SUPPORTED. @remark Thread-safe. */
V_API int V_SetTempFileOptions(const TEMPFILEOPTIONS* pOptions) V_NOEXCEPT;
/** @return the mode of temporary files: 1, or 3 when no physical ones may be made. @remark Thread-safe. */
V_API int V_GetTempFileMode(void) V_NOEXCEPT;

/* ------------------------------------------------------------------------------------------------------------------
 * Palettes
 * --------------------------------------------------------------------------------------------------------------- */

/** Fills the fixed palette of a width. @param pPalette room for 1 << nBits entries (256 for 0).
 *  @param nBits 1 to 8, or 0 for the 256 grays. @return SUCCESS; ERROR_INVALID_PARAMETER: null array or other width.
 *  @remark Thread-safe. */
V_API int V_GetFixedPalette(RGBQUAD* pPalette, int32_t nBits) V_NOEXCEPT;
/** @return the read-only fixed palette of 1 to 8 bits, null for other widths.
 *  @remark Thread-safe; the entries never change. */
V_API const RGBQUAD* V_IntGetFixedPalette(int32_t nBits) V_NOEXCEPT;
/** @return the read-only 216-colour cube, index = 36 r + 6 g + b; 256 entries, the last 40 black.
 *  @remark Thread-safe; the entries never change. */
V_API const RGBQUAD* V_IntGetNetscapePalette(void) V_NOEXCEPT;
/** @return a new fixed palette of nBits (0 and 1: two entries), to be freed with V_FreePalette; null above 8 bits or
 *  without memory. @remark Thread-safe. */
V_API RGBQUAD* V_CreateFixedPalette(int32_t nBits) V_NOEXCEPT;
/** @return a new gray ramp of 1 << nBits entries (0: 256), to be freed with V_FreePalette; null for a width outside 0
 * to 8 or without memory. @remark Thread-safe. */
V_API RGBQUAD* V_CreateGrayPalette(int32_t nBits) V_NOEXCEPT;
/** @return a copy of uCount entries (1 to 256), to be freed with V_FreePalette; null for other arguments or without
 *  memory. @remark Thread-safe. */
V_API RGBQUAD* V_CreateNewPalette(const RGBQUAD* pPalette, uint32_t uCount) V_NOEXCEPT;
/** Frees a palette that the library made. @return SUCCESS; ERROR_INVALID_PARAMETER: null, or not such a palette.
 *  @remark Thread-safe; no other thread may be using the block. */
V_API int V_FreePalette(RGBQUAD* pPalette) V_NOEXCEPT;

V_EXTERN_C_END

#include "Vkbitmap.h"
#include "Vkcolor.h"
#include "Vkdib.h"
#include "Vkdither.h"
#include "Vkhuge.h"
#include "Vklist.h"
#include "Vkredirect.h"
#include "Vkresample.h"
#include "Vkresize.h"
#include "Vkrotate.h"
#include "Vkthread.h"
#include "Vkview.h"

#endif /* VKKRNX_H */
