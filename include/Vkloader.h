/**
 * @file Vkloader.h
 * The library-state part of the Vkkrnx interface: settings for the threads of the whole process, and giving a thread's
 * own up; clean-up and shutting down; the stock of freed memory and workers. Vkkrnx.h includes it.
 *
 * The settings that each thread keeps for itself are the default memory type, the memory thresholds, the default
 * dithering method, the default resolution, the user match table, the status callback, the number of workers and the
 * thread's file operations.
 * A thread that has set none of them follows those of the process; from the first one it sets on, it has its own, which
 * begin as a copy.
 */
#ifndef VKLOADER_H
#define VKLOADER_H

#include "Vktypes.h"

#if defined(__cplusplus)
#include "Vkdllloader.h"
#endif

V_EXTERN_C_BEGIN

/**
 * Has a function called when the library is shut down (V_Shutdown) or unloaded, once, the latest registered first. A
 * function that is in a module must be unregistered before the module goes.
 * @param pfn the function; it may call the library, V_Shutdown apart. @param pData what it gets; the same function may
 * be registered for several, and a pair that is registered already stays where it is.
 * @return SUCCESS; ERROR_INVALID_PARAMETER: null function; ERROR_NO_MEMORY.
 * @remark Thread-safe.
 */
V_API int V_RegisterCleanup(void (*pfn)(void*), void* pData) V_NOEXCEPT;
/**
 * Takes a pair of V_RegisterCleanup back.
 * @return SUCCESS: it will not be called; ERROR_INVALID_PARAMETER: it is not registered, or was called already, or is
 * being called by another thread.
 * @remark Thread-safe.
 */
V_API int V_UnregisterCleanup(void (*pfn)(void*), void* pData) V_NOEXCEPT;
/**
 * Brings the library's own activity to rest: the thread pool's items that wait are dropped, those that run are waited
 * for and its threads ended (where the pool is the system's, as on Windows, all items are waited for); then what
 * V_RegisterCleanup registered is called; then caches are freed. Bitmaps, lists, events and all that callers hold stay
 * as they are, settings too, and the library may be used again at once: the pool begins anew with the next item.
 * Threads with a routine of their own (VKPOOL_NEWTHREAD, V_VellThreadCreateAndRun) are left running.
 * @return SUCCESS; FAILURE: called from an item of the pool or a function that it calls itself, or while another thread
 * is doing it; nothing is done then.
 * @remark Thread-safe. Items queued by others meanwhile may be refused.
 */
V_API int V_Shutdown(void) V_NOEXCEPT;
/**
 * Sets the directory that modules are taken from before the library's own: those of V_DllLoader with
 * DLLLOADER_RESOURCES, and codec modules (Vkcodec.h). There is none at first.
 * @param pszDirectory an absolute path, with or without its last separator; it need not exist. Null or empty: none.
 * @return SUCCESS; ERROR_INVALID_PARAMETER: not absolute, too long (1023 characters), or no text.
 * @remark Thread-safe; for all threads. Modules that are loaded stay.
 */
V_API int V_SetResourceDirectory(const wchar_t* pszDirectory) V_NOEXCEPT;
/** V_SetResourceDirectory in UTF-8. @remark Thread-safe; for all threads. */
V_API int V_SetResourceDirectoryA(const char* pszDirectory) V_NOEXCEPT;
/**
 * Gives the directory that V_SetResourceDirectory set, with its last separator; an empty text without one.
 * @param pszDirectory receives it. @param uLength its room in characters, the final zero included.
 * @return SUCCESS; ERROR_INVALID_PARAMETER: null buffer; ERROR_BUFFER_TOO_SMALL: nothing is written.
 * @remark Thread-safe.
 */
V_API int V_GetResourceDirectory(wchar_t* pszDirectory, uint32_t uLength) V_NOEXCEPT;
/** V_GetResourceDirectory in UTF-8. @remark Thread-safe. */
V_API int V_GetResourceDirectoryA(char* pszDirectory, uint32_t uLength) V_NOEXCEPT;

/**
 * Makes the calling thread's settings those of the process: of every thread that has set nothing itself, whether it
 * exists already or starts later, the library's own among them. Threads with settings of their own keep them.
 *
 * Pointers among the settings (match table, callback data, file operations' data) stay their owners', who keep them for
 * as long as any thread may follow; what they lead to is then used by several threads at once. A buffer redirection
 * belongs to the thread that started it and is left out: the others get the operations that were there before it.
 * @return SUCCESS.
 * @remark Thread-safe. Other threads see the settings from their next call on; an operation that runs keeps its own.
 */
V_API int V_SetProcessDefaults(void) V_NOEXCEPT;

/**
 * Forgets what the calling thread has set: it follows the process again.
 * @return SUCCESS, also for a thread that has set nothing; FAILURE: a buffer redirection of this thread is running
 * (V_StartRedirectToBuffer), and nothing has changed.
 * @remark Affects the calling thread only. A thread's settings are gone with it in any case.
 */
V_API int V_FreeThreadState(void) V_NOEXCEPT;

/*
 * The stock of freed memory. Pages that the system hands out anew are what operations on whole bitmaps pay most for.
 * Memory that conventional bitmaps and tiles give back, and off Windows big movable blocks too, therefore stays for a
 * while and serves what is made next. It is cleared before anybody can see what it held. A block goes back to the
 * system when nobody has wanted it for a second (noticed by the next call that makes or frees such memory, whichever
 * thread's), when memory runs short, and by V_TrimMemory. What the stock holds counts as available.
 */

/** For V_SetMemoryStock: the bound that the library works out, an eighth of the memory the process may use, at most
 * 256 MiB. It is in force from the start. */
#define MEMORYSTOCK_DEFAULT (~(uint64_t)0)

/**
 * Gives the whole stock of freed memory back to the system, at once. Bitmaps are not touched.
 * @return SUCCESS, also when there is nothing in stock.
 * @remark Thread-safe.
 */
V_API int V_TrimMemory(void) V_NOEXCEPT;

/**
 * Bounds the stock of freed memory, for the whole process.
 * @param uBytes the most that it may hold; 0 turns it off, MEMORYSTOCK_DEFAULT stands for the library's own figure. A
 * stock that holds more is given back.
 * @return SUCCESS.
 * @remark Thread-safe.
 */
V_API int V_SetMemoryStock(uint64_t uBytes) V_NOEXCEPT;

/**
 * The bound on the stock of freed memory.
 * @return The bound in force, in bytes; for MEMORYSTOCK_DEFAULT the figure that it stands for at this moment.
 * @remark Thread-safe.
 */
V_API uint64_t V_GetMemoryStock(void) V_NOEXCEPT;

/*
 * Workers. An operation on a whole bitmap may be done by several threads: the calling one, and others of the pool that
 * take a part when they have nothing else to do. The bits do not depend on their number.
 *
 * Workers are used by changes of depth, order and palette (V_ColorResBitmap with all ways of dithering and palettes
 * made for the picture, V_GrayScaleBitmap, V_CreateGrayScaleBitmap, V_CreateBitmapListOptPal for counting), resampling
 * (all functions of Vkresample.h, and resizing that filters), V_RotateBitmap by other than right angles, and warps and
 * shears (V_WarpBitmap, V_WarpBitmapCorners, V_WarpBitmapGrid, V_ShearBitmap with SHEAR_LINEAR); with every storage:
 * where pixels are no plain memory, the calling thread alone reads and writes them, and what is held at a time grows
 * with the number of workers. Everything else is done by the calling thread alone.
 */

/**
 * Sets how many threads one operation of the calling thread may use, itself counted. Status callbacks, and what they
 * refuse, stay with the calling thread; what else it has set holds in the workers, too. Items of the pool may set it.
 * @param nWorkers 1: the calling thread alone, as it is from the start; 0: as many as there are processors.
 * @return SUCCESS; ERROR_INVALID_PARAMETER: a negative number, and nothing has changed.
 * @remark Affects the calling thread only.
 */
V_API int V_SetWorkers(int32_t nWorkers) V_NOEXCEPT;

/**
 * How many threads one operation of the calling thread may use.
 * @return The number as it was set, 0 included.
 * @remark Thread-safe.
 */
V_API int32_t V_GetWorkers(void) V_NOEXCEPT;

V_EXTERN_C_END

#endif /* VKLOADER_H */
