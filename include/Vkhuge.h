/**
 * @file Vkhuge.h
 * The huge-memory part of the Vkkrnx interface: blocks of any size that live in memory or in a temporary file, and that
 * are looked at through windows. Vkkrnx.h includes it.
 *
 * A block is used by one thread at a time; different blocks know nothing of each other.
 */
#ifndef VKHUGE_H
#define VKHUGE_H

#include "Vkrecord.h"

V_EXTERN_C_BEGIN

/** A block. */
typedef struct V_HUGEMEMORY_* HHUGEMEMORY;

/**
 * Makes a zeroed block. It lives in memory, or in a temporary file when that is asked for, when it is larger than the
 * disk threshold or than the memory that the thread's thresholds allow, or when there is no memory for it.
 * @param phMemory receives the block, or null on failure.
 * @param uSize size in bytes.
 * @param uMemory TYPE_CONV, TYPE_DISK, 0 for the thread's default memory type; TYPE_CONV and 0 with TYPE_NODISK for
 * memory and nothing else.
 * @return SUCCESS; ERROR_INVALID_PARAMETER: null pointer, size 0, another kind; ERROR_NO_MEMORY: neither memory nor a
 * file could be had, or is allowed; ERROR_INVALID_FILENAME: a file was asked for, or was the last resort, and the
 * directory of temporary files cannot be used (V_GetTempDirectory).
 * @remark Thread-safe.
 */
V_API int V_AllocHugeMemory(HHUGEMEMORY* phMemory, uint64_t uSize, uint32_t uMemory) V_NOEXCEPT;

/**
 * Makes a block of memory that the caller has: it can be handed to whatever takes blocks. The memory stays the caller's
 * and must outlive the block.
 * @param phMemory receives the block, or null on failure. @param pData the memory. @param uSize its size in bytes.
 * @return SUCCESS; ERROR_INVALID_PARAMETER: null pointer or size 0; ERROR_NO_MEMORY.
 * @remark Thread-safe.
 */
V_API int V_CreateHugeMemoryFromPtr(HHUGEMEMORY* phMemory, void* pData, uint64_t uSize) V_NOEXCEPT;

/**
 * Opens a window onto a block. What is written through it is in the block. A window is good until the next call for the
 * same block, which may close it; where temporary files are redirected, its bytes reach the file then.
 * @param hMemory the block. @param uOffset first byte. @param uBytes bytes that the window shows at least.
 * @param ppData receives the address of that byte, or null on failure.
 * @return SUCCESS; ERROR_INVALID_PARAMETER: null block or pointer, no bytes, or bytes outside the block;
 * ERROR_NO_DISK_SPACE: the disk has no room for that part of the file; ERROR_NO_MEMORY: the window cannot be mapped;
 * ERROR_FILE_SEEK, ERROR_FILE_READ, ERROR_FILE_WRITE: of a redirected file. The bytes of the block are untouched by a
 * failure.
 * @remark One thread per block at a time.
 */
V_API int V_AccessHugeMemory(HHUGEMEMORY hMemory, uint64_t uOffset, uint64_t uBytes, void** ppData) V_NOEXCEPT;

/**
 * Clears bytes of a block. Closes its window.
 * @param hMemory the block. @param uOffset first byte. @param uBytes number of bytes; 0 clears nothing.
 * @return SUCCESS; ERROR_INVALID_PARAMETER: null block, or bytes outside it; as V_AccessHugeMemory, bytes before those
 * that could not be had being clear.
 * @remark One thread per block at a time.
 */
V_API int V_ZeroHugeMemory(HHUGEMEMORY hMemory, uint64_t uOffset, uint64_t uBytes) V_NOEXCEPT;

/**
 * Frees a block, its window and its file; memory that was the caller's stays.
 * @param hMemory the block. @return SUCCESS; ERROR_INVALID_PARAMETER: null block.
 * @remark One thread per block at a time.
 */
V_API int V_FreeHugeMemory(HHUGEMEMORY hMemory) V_NOEXCEPT;

V_EXTERN_C_END

#endif /* VKHUGE_H */
