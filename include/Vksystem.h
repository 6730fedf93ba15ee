/**
 * @file Vksystem.h
 * Texts of result codes, progress, and the settings that decide where pixels go. Vkkrnx.h includes it.
 */
#ifndef VKSYSTEM_H
#define VKSYSTEM_H

#include "Vkrecord.h"

/** Which values V_SetMemoryThresholds sets. */
#define THRESHOLD_RESERVEDMEMORY 1u
#define THRESHOLD_MAXCONVSIZE 2u
#define THRESHOLD_TILESIZE 4u
#define THRESHOLD_CONVTILES 8u
#define THRESHOLD_CONVBUFFERS 16u

/** The process-wide disk threshold. 16 bytes. */
typedef struct GLOBALMEMORYTHRESHOLDS {
    uint32_t StructSize;   /**< size of this record */
    int64_t DiskThreshold; /**< bytes; larger bitmaps go to disk. 0: none; -1: half of the physical memory */
} GLOBALMEMORYTHRESHOLDS;

/** Progress of the calling thread's operations: 0, then each new percentage once, 100 last; of several passes each has
 * its share. Any result other than SUCCESS stops the operation and becomes its result. */
typedef int (*V_STATUSCALLBACK)(int nPercent, void* pUserData);

V_EXTERN_C_BEGIN

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

/** Frees a block that the library handed out and whose description names this function. Null is ignored.
 *  @remark Thread-safe; no other thread may be using the block. */
V_API void V_FreeMemory(void* pBlock) V_NOEXCEPT;

V_EXTERN_C_END

#endif /* VKSYSTEM_H */
