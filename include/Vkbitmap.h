/**
 * @file Vkbitmap.h
 * Whole bitmaps: described, given storage, moved, duplicated, copied and freed. Vkkrnx.h includes it.
 *
 * Operations on pixels take bitmaps of every storage kind, report progress through the calling thread's status callback
 * and stop when it asks to. One that fails leaves the caller's bitmap as it was.
 */
#ifndef VKBITMAP_H
#define VKBITMAP_H

#include "Vkrecord.h"

/** What V_DupBitmapNewDim copies. */
#define DUPFLAG_PALETTE 0x01u
#define DUPFLAG_OVERLAYS 0x02u
#define DUPFLAG_REGION                                                                                                 \
    0x04u /**< the region: the library's as far as the new size has it, others by REGIONCOPYHOOKS                      \
           */
#define DUPFLAG_EXTRADATA 0x08u     /**< ExtraData */
#define DUPFLAG_GRAYTABLES 0x10u    /**< LUT, LUT16, PaintLUT and PaintLUT16, where the pixel format stays */
#define DUPFLAG_DATACALLBACKS 0x20u /**< the duplicate's storage is then the callbacks' matter */
#define DUPFLAG_TAKEOVER 0x40u      /**< what is not copied is handed over */
#define DUPFLAG_ANIMATION 0x80u     /**< resolution, frame fields and transparency */
#define DUPFLAG_COPY 0xBFu          /**< everything but DUPFLAG_TAKEOVER */

/** Which values V_SetBitmapMemoryInfo takes from its arguments; the others keep the thread's thresholds. */
#define MEMORYINFO_MEMORY 1u       /**< uMemory; without it the storage stays of its present kind */
#define MEMORYINFO_TILESIZE 2u     /**< nTileSize */
#define MEMORYINFO_TILES 4u        /**< nTiles; ignored when MEMORYINFO_TILESIZE is given */
#define MEMORYINFO_CONVTILES 8u    /**< nConvTiles */
#define MEMORYINFO_TILESLEFT 16u   /**< nTilesLeft; ignored when MEMORYINFO_CONVTILES is given */
#define MEMORYINFO_CONVBUFFERS 32u /**< nConvBuffers */

/** Callbacks of a module that keeps regions of its own in RgnInfo (Vkregion.h has the library's). Each may be null, is
 * called for a bitmap that has a region only, before the library lets a region of its own follow, and returns a result
 * code. 48 bytes. */
typedef struct REGIONHOOKS {
    uint32_t StructSize; /**< size of this record, or of one that begins with it */
    void* UserData;      /**< passed back to every hook */
    int (*FlipRegion)(BITMAPHANDLE* pBitmap, void* pUserData);
    int (*ReverseRegion)(BITMAPHANDLE* pBitmap, void* pUserData);
    int (*ScaleRegion)(BITMAPHANDLE* pBitmap, int32_t nWidth, int32_t nHeight, void* pUserData);
    int (*FreeRegion)(BITMAPHANDLE* pBitmap, void* pUserData);
} REGIONHOOKS;

/** The region hooks of a module that can copy regions, installed by the address of Hooks. CopyRegion makes pDst's
 *  RgnInfo a copy of pSrc's. Without it a copy of a bitmap has no region, except where there is no FreeRegion either:
 *  regions are then the application's own, and the copy refers to the same one. 56 bytes. */
typedef struct REGIONCOPYHOOKS {
    REGIONHOOKS Hooks; /**< StructSize is the size of the whole record */
    int (*CopyRegion)(BITMAPHANDLE* pDst, BITMAPHANDLE* pSrc, void* pUserData);
} REGIONCOPYHOOKS;

V_EXTERN_C_BEGIN

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
 * Allocates zeroed storage for an initialised record.
 *
 * The kinds are tried in the order conventional, tiled, disk; the request and the thresholds rule steps out.
 * @param pBitmap an initialised record; what storage it had is forgotten, not freed.
 * @param uMemory 1, 2, 4, 8, 9, 128, 256, 257, 260, 264, 265, 768, 769, 1024, 1025, 1280 or 1281 as a sum of TYPE_
 * bits. TYPE_COMPRESSED counts at 1 bit per pixel only and TYPE_SUPERCOMPRESSED at 1, 8 and 24; elsewhere they are
 * dropped, and a request they leave empty is TYPE_CONV.
 *
 * A TYPE_TILED request keeps the limit for memory at 0, so its tiles are in a file but for as many as the ConvTiles
 * threshold keeps in memory; with TYPE_NODISK there are those or none. With TYPE_USER the caller's block is believed to
 * hold all rows: nothing can tell its size.
 * @return SUCCESS; ERROR_INVALID_PARAMETER: null record or another request; ERROR_INVALID_STRUCT_SIZE;
 * ERROR_INVALID_WIDTH_HEIGHT: no data; ERROR_NO_MEMORY: no kind could be had; ERROR_INVALID_FILENAME: a file was asked
 * for, or was the last resort, and the directory of temporary files cannot be used (V_GetTempDirectory); the result of
 * a callback that refused. On failure the record is as it was.
 * @remark One thread per bitmap at a time.
 */
V_API int V_AllocateBitmap(BITMAPHANDLE* pBitmap, uint32_t uMemory) V_NOEXCEPT;

/**
 * Initialises a record and allocates its storage.
 * @param pBitmap the record. @param uStructSize BITMAPHANDLE_SIZE or BITMAPHANDLE_SIZE_EARLIER.
 * @param uMemory as for V_AllocateBitmap. @param nWidth,nHeight size in pixels.
 * @param nBitsPerPixel the depth; 0 means 8 bits with a gray palette. @param nOrder COLORORDER_ value.
 * @param pPalette 1 << nBitsPerPixel entries, copied, or null for the fixed palette (gray for COLORORDER_GRAY).
 * @param nViewPerspective 1 to 8, 0 for TOP_LEFT. @param pData with TYPE_USER: the caller's pixels, BytesPerLine *
 * Height bytes of them, which is not checked; or null. @param uDataSize bytes at pData.
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

/** Frees a bitmap's storage and every block the record owns, and forgets its locks: LockCount is 0 then. Ignores a null
 *  record or one of wrong size; memory the caller lent (Mirror) stays the caller's. Of a record that was never
 * allocated the extra data stay: V_FreeBitmapExtraData frees those. @remark One thread per bitmap at a time. */
V_API void V_FreeBitmap(BITMAPHANDLE* pBitmap) V_NOEXCEPT;

/**
 * Points a bitmap at other pixel memory, which stays the caller's. The storage the bitmap was allocated with is still
 * the one that V_FreeBitmap frees.
 * @param pData the pixels or null; they are believed to be BytesPerLine * Height bytes. @param uDataSize bytes at
 * pData.
 * @return SUCCESS; ERROR_INVALID_STRUCT_SIZE; ERROR_INVALID_PARAMETER: null record, or neither a user-memory bitmap,
 * nor a null pointer, nor exactly the bitmap's data size.
 * @remark One thread per bitmap at a time.
 */
V_API int V_SetBitmapDataPointer(BITMAPHANDLE* pBitmap, void* pData, uint64_t uDataSize) V_NOEXCEPT;

/**
 * Changes the number of rows; those that fit stay, new ones are clear.
 * @return SUCCESS; ERROR_INVALID_PARAMETER: null record, lent memory or a locked block; ERROR_INVALID_STRUCT_SIZE;
 * ERROR_INVALID_IMAGE: not allocated; ERROR_INVALID_WIDTH_HEIGHT: height below 1; ERROR_NO_MEMORY;
 * ERROR_INVALID_FILENAME: tiles that go to a file now, as for V_AllocateBitmap. On failure the
 * bitmap is as it was.
 * @remark One thread per bitmap at a time.
 */
V_API int V_ChangeBitmapHeight(BITMAPHANDLE* pBitmap, int32_t nHeight) V_NOEXCEPT;

/** Brings `Size` up to date: the stored bytes of compressed bitmaps, else BytesPerLine * Height, also where a callback
 *  holds the pixels.
 *  @return SUCCESS; ERROR_INVALID_PARAMETER; ERROR_INVALID_STRUCT_SIZE; ERROR_INVALID_IMAGE: not allocated.
 *  @remark One thread per bitmap at a time. */
V_API int V_UpdateBitmapSize(BITMAPHANDLE* pBitmap) V_NOEXCEPT;

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
 * ERROR_INVALID_WIDTH_HEIGHT: BytesPerLine cannot hold Width; ERROR_NO_MEMORY; ERROR_INVALID_FILENAME as for
 * V_AllocateBitmap; ERROR_FILE_SEEK, ERROR_FILE_READ, ERROR_FILE_WRITE; the status callback's refusal. On failure the
 * bitmap is as it was.
 * @remark One thread per bitmap at a time.
 */
V_API int V_SetBitmapMemoryInfo(BITMAPHANDLE* pBitmap, uint32_t uMemory, int64_t nTileSize, int32_t nTiles,
                                int32_t nConvTiles, int32_t nTilesLeft, int32_t nConvBuffers,
                                uint32_t uFlags) V_NOEXCEPT;

/** Gives the record a zeroed block of uSize bytes in ExtraData, in place of any earlier one. The block goes with an
 *  allocated bitmap; one of a record that is never allocated is the caller's to free with V_FreeBitmapExtraData.
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

/** Installs the callbacks of a module that keeps regions of its own, process-wide; null removes them.
 *  @param pHooks the record, or the one that a REGIONCOPYHOOKS begins with.
 *  @return SUCCESS; ERROR_INVALID_STRUCT_SIZE. @remark Not while other threads use the library. */
V_API int V_SetRegionHooks(const REGIONHOOKS* pHooks) V_NOEXCEPT;

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

/**
 * Makes a bitmap like another, with clear pixels.
 *
 * Geometry apart it has the other's perspective, order (its depth's usual one where that is impossible), dithering
 * method, original format and display settings; where the pixel format stays, its gray range too.
 * @param pDst receives the bitmap; what the record held is forgotten. @param pSrc an allocated bitmap.
 * @param uStructSize BITMAPHANDLE_SIZE or BITMAPHANDLE_SIZE_EARLIER; an earlier record takes over nothing that it has
 * no field for. @param nWidth,nHeight,nBitsPerPixel the new geometry.
 * @param uMemory as for V_AllocateBitmap; 0 means storage as the source's: tiles, file, run lengths (at 1 bit) or codec
 * (at its depths) where the source has that, else the calling thread's default memory type.
 * @param uDupFlags DUPFLAG_ bits: which parts are copied. A palette is cut or filled up with black at another depth.
 * With DUPFLAG_TAKEOVER the other parts, and a region that was not copied, move to the duplicate; gray tables where the
 * pixel format stays, the palette where the depth does. Data callbacks are copied all the same, the source still needs
 * its own to be freed; but not those that rows come from, which two bitmaps would share: without DUPFLAG_DATACALLBACKS
 * the duplicate has storage of the library's own then. V_FreeDuplicateBitmap then frees the rest of the source, and the
 * duplicate can be copied over it.
 * @return as V_CreateBitmap; ERROR_INVALID_PARAMETER: also pDst equal to pSrc, or unknown flags; ERROR_INVALID_IMAGE:
 * the source is not allocated; ERROR_INVALID_WIDTH_HEIGHT: also a width whose rows a record cannot state. On failure
 * the source is as it was and the duplicate empty but for StructSize.
 * @remark One thread per bitmap at a time, for both bitmaps.
 */
V_API int V_DupBitmapNewDim(BITMAPHANDLE* pDst, BITMAPHANDLE* pSrc, uint32_t uStructSize, int32_t nWidth,
                            int32_t nHeight, int32_t nBitsPerPixel, uint32_t uMemory, uint32_t uDupFlags) V_NOEXCEPT;

/**
 * Makes a full copy of a bitmap, pixels and all parts, in storage of the same kind. A region is copied where it can be
 * (REGIONCOPYHOOKS). Data callbacks that rows come from are not, and the copy has storage of the library's own.
 * @return as V_DupBitmapNewDim and V_CopyBitmapData. On failure the copy is empty but for StructSize.
 * @remark One thread per bitmap at a time, for both bitmaps.
 */
V_API int V_CopyBitmap(BITMAPHANDLE* pDst, BITMAPHANDLE* pSrc, uint32_t uStructSize) V_NOEXCEPT;

/**
 * Copies all pixels from one allocated bitmap to another of the same size and depth. Between top-left and bottom-left
 * bitmaps the order of rows is reversed.
 *
 * The source's data callbacks, or the destination's when the source has no such callback, are asked first
 * (BeginCopyBitmapDataCallback): SUCCESS goes on, 2 says that the pixels are copied, anything else is the result. After
 * SUCCESS EndCopyBitmapDataCallback follows in any case; its failure (not SUCCESS, not 2) fails a copy that went well.
 * @return SUCCESS, also for a bitmap and itself; ERROR_INVALID_PARAMETER: null record, or other perspectives;
 * ERROR_INVALID_STRUCT_SIZE; ERROR_INVALID_IMAGE: not allocated; ERROR_INVALID_WIDTH_HEIGHT: sizes differ, or
 * BytesPerLine cannot hold Width; ERROR_INVALID_BITS_PER_PIXEL: depths differ; ERROR_NO_MEMORY; a failed transfer; the
 * status callback's refusal; a failed release, after which all is copied. After another failure the destination's
 * pixels may be changed in part.
 * @remark One thread per bitmap at a time, for both bitmaps.
 */
V_API int V_CopyBitmapData(BITMAPHANDLE* pDst, BITMAPHANDLE* pSrc) V_NOEXCEPT;

/** Frees what is left of a bitmap whose place a duplicate took (DUPFLAG_TAKEOVER). Ignores a null record or one of
 *  wrong size. @remark One thread per bitmap at a time. */
V_API void V_FreeDuplicateBitmap(BITMAPHANDLE* pBitmap) V_NOEXCEPT;

V_EXTERN_C_END

#endif /* VKBITMAP_H */
