/**
 * @file Vkredirect.h
 * The redirection part of the Vkkrnx interface: the file operations, which an application can replace. Vkkrnx.h
 * includes it.
 *
 * Every file that the library opens goes through a table of seven operations. There is one table for the whole library
 * and one for each thread; an operation that a thread has set takes the place of the library's on that thread. An open
 * file keeps a copy of the operations that opened it: whatever is replaced later, and whichever thread uses the file,
 * they serve it until it is closed. The library holds no lock while an operation runs, and operations may call back
 * into it.
 *
 * In tables and function arguments, 0 stands for an operation that is not set, V_REDIRECT_NONE for none on purpose and
 * V_REDIRECT_DEFAULT, in V_SetRedirectFunctions, for the library's own.
 */
#ifndef VKREDIRECT_H
#define VKREDIRECT_H

#include "Vkrecord.h"

V_EXTERN_C_BEGIN

/** In place of an operation: none, on purpose. Cast it to the operation's type. */
#define V_REDIRECT_NONE ((intptr_t)-1)
/** In place of an operation in a table given to V_SetRedirectFunctions: the library's own. */
#define V_REDIRECT_DEFAULT ((intptr_t)-2)

/** Open flags that the library passes, added up: their values are those of the C run-time library's `_open`. */
#define V_OPENFLAG_READ 0x000
#define V_OPENFLAG_READWRITE 0x002
#define V_OPENFLAG_TEMPORARY 0x040 /**< a temporary file: gone once it is closed */
#define V_OPENFLAG_CREATE 0x100    /**< made when it does not exist */
#define V_OPENFLAG_TRUNCATE 0x200  /**< emptied */
/** Permission modes that the library passes. */
#define V_OPENMODE_READ 0x100
#define V_OPENMODE_READWRITE 0x180

/** Flags of a copy operation: one source, one destination, and COPYREDIRECT_NOREPLACE or not. */
#define COPYREDIRECT_NOREPLACE 0x01u /**< fail when the destination exists */
#define COPYREDIRECT_SRC_FILE 0x02u  /**< a file of the operating system */
#define COPYREDIRECT_SRC_OPEN 0x04u  /**< opened with V_RedirectedOpen */
#define COPYREDIRECT_SRC_TEMP 0x08u  /**< opened with V_RedirectedTempFileOpen */
#define COPYREDIRECT_DST_FILE 0x10u  /**< a file of the operating system */
#define COPYREDIRECT_DST_OPEN 0x20u  /**< opened with V_RedirectedOpen */
#define COPYREDIRECT_DST_TEMP 0x40u  /**< opened with V_RedirectedTempFileOpen */

/** Options of V_StartRedirectToBuffer. */
#define REDIRECTBUFFER_GROW 0x1u   /**< the library may allocate the buffer and make it bigger */
#define REDIRECTBUFFER_SHRINK 0x2u /**< with REDIRECTBUFFER_GROW: closing cuts the block down to the data */
#define REDIRECTBUFFER_DATA 0x4u   /**< the buffer holds data already, and is never cut down */
#define REDIRECTBUFFER_WRITE 0x8u  /**< writing is allowed */

/** How names of registered redirections begin. */
#define V_REDIRECT_NAME_PREFIX L"VELLRedirect://"
/** Room that V_GetUniqueRedirectFileName asks for, in characters. */
#define V_REDIRECT_NAME_LENGTH 50u

/** An open redirected file. `(void*)-1` says that there is none. */
typedef void* V_REDIRECTHANDLE;

/** Opens a file. @return a handle of the operation's choice, or -1. Only -1 means failure. */
typedef int64_t (*V_REDIRECTOPEN)(const wchar_t* pszName, int nFlags, int nMode, void* pUserData);
/** Reads at the position and moves it. @return the bytes read, fewer when the file ends there, or -1. */
typedef int64_t (*V_REDIRECTREAD)(int64_t hFile, void* pBuffer, size_t uCount, void* pUserData);
/** Writes at the position and moves it; a count of 0 ends the file there. What lies between the old end and a position
 *  behind it reads as zeros. @return the bytes written, or -1. */
typedef int64_t (*V_REDIRECTWRITE)(int64_t hFile, const void* pBuffer, size_t uCount, void* pUserData);
/** Moves the position: from the start (0), the current position (1) or the end (2). @return the new position, or -1. */
typedef int64_t (*V_REDIRECTSEEK)(int64_t hFile, int64_t nOffset, int nOrigin, void* pUserData);
/** Closes a file. @return 0 or above, or a negative code: the file is then still open. */
typedef int (*V_REDIRECTCLOSE)(int64_t hFile, void* pUserData);
/** Copies a file. @param uFlags COPYREDIRECT_ flags. @return SUCCESS, FAILURE or a negative code. */
typedef int (*V_REDIRECTCOPY)(const wchar_t* pszSource, const wchar_t* pszDestination, uint32_t uFlags);
/** Deletes a file. @return 0 on failure. */
typedef int (*V_REDIRECTDELETE)(const wchar_t* pszName);

/** A table of operations, 120 bytes. The user data of copy and delete are kept but passed to nobody. */
typedef struct REDIRECTFUNCTIONS {
    uint32_t StructSize; /**< 120 */
    V_REDIRECTOPEN Open;
    void* OpenUserData;
    V_REDIRECTREAD Read;
    void* ReadUserData;
    V_REDIRECTWRITE Write;
    void* WriteUserData;
    V_REDIRECTSEEK Seek;
    void* SeekUserData;
    V_REDIRECTCLOSE Close;
    void* CloseUserData;
    V_REDIRECTCOPY Copy;
    void* CopyUserData;
    V_REDIRECTDELETE Delete;
    void* DeleteUserData;
} REDIRECTFUNCTIONS;

/** Values of uType of V_GetRedirectFunctions. */
#define REDIRECTTYPE_FILES 0u           /**< what files are opened with */
#define REDIRECTTYPE_TEMP_PLAIN 1u      /**< temporary files of the operating system, whatever is redirected */
#define REDIRECTTYPE_TEMP_REDIRECTED 2u /**< what temporary files are opened with */
#define REDIRECTTYPE_DEFAULT 3u         /**< the library's own operations */

/* ------------------------------------------------------------------------------------------------------------------
 * Tables
 * --------------------------------------------------------------------------------------------------------------- */

/**
 * Sets the calling thread's five file operations. For each, null sets the library's own and V_REDIRECT_NONE none, which
 * lets the library-wide operation apply.
 * @param pfnOpen,pfnRead,pfnWrite,pfnSeek,pfnClose the operations. @param pUserData goes to all five.
 * @remark Affects the calling thread only.
 */
V_API void V_RedirectIO(V_REDIRECTOPEN pfnOpen, V_REDIRECTREAD pfnRead, V_REDIRECTWRITE pfnWrite,
                        V_REDIRECTSEEK pfnSeek, V_REDIRECTCLOSE pfnClose, void* pUserData) V_NOEXCEPT;
/**
 * Exchanges the calling thread's five file operations, so that a filter can go in front of what is there and be taken
 * out again by a second call with the same variables.
 * @param ppfnOpen,ppfnRead,ppfnWrite,ppfnSeek,ppfnClose for each that is not null: an operation, or V_REDIRECT_NONE, is
 * set; a null operation sets nothing. In its place comes what the thread had: V_REDIRECT_NONE when nothing, so that the
 * library-wide operation applied.
 * @param ppOpenUserData,ppReadUserData,ppWriteUserData,ppSeekUserData,ppCloseUserData each that is not null is
 * exchanged with the thread's.
 * @return SUCCESS.
 * @remark Affects the calling thread only.
 */
V_API int V_FilterIO(V_REDIRECTOPEN* ppfnOpen, V_REDIRECTREAD* ppfnRead, V_REDIRECTWRITE* ppfnWrite,
                     V_REDIRECTSEEK* ppfnSeek, V_REDIRECTCLOSE* ppfnClose, void** ppOpenUserData, void** ppReadUserData,
                     void** ppWriteUserData, void** ppSeekUserData, void** ppCloseUserData) V_NOEXCEPT;
/** Reads the user data of the five file operations in force; each pointer may be null. @return SUCCESS.
 *  @remark Thread-safe; reads what is in force on the calling thread. */
V_API int V_GetFilterIOData(void** ppOpenUserData, void** ppReadUserData, void** ppWriteUserData, void** ppSeekUserData,
                            void** ppCloseUserData) V_NOEXCEPT;
/**
 * Reads a table of operations.
 * @param pFunctions receives the table. @param uSize its size, 120. @param uType a REDIRECTTYPE_ value.
 * @param bGlobalOnly for REDIRECTTYPE_FILES: not 0 gives the library-wide table, 0 the one in force on the calling
 * thread: the library-wide one with the file operations that the thread has set in place of its own.
 * @return SUCCESS; ERROR_NULL_PTR; ERROR_INVALID_STRUCT_SIZE; ERROR_INVALID_PARAMETER: another type.
 * @remark Thread-safe; a thread's own operations are seen by itself alone.
 */
V_API int V_GetRedirectFunctions(REDIRECTFUNCTIONS* pFunctions, uint32_t uSize, uint32_t uType,
                                 int bGlobalOnly) V_NOEXCEPT;
/**
 * Reads the table that a file of this name is opened with.
 * @param pszName a name that begins with V_REDIRECT_NAME_PREFIX: the table registered for it; any other, or null: as
 * V_GetRedirectFunctions. @param pFunctions,uSize,uType,bGlobalOnly as there.
 * @return also ERROR_FILE_NOT_FOUND: no table is registered for the name.
 * @remark Thread-safe; a thread's own operations are seen by itself alone.
 */
V_API int V_GetRedirectFunctions2(const wchar_t* pszName, REDIRECTFUNCTIONS* pFunctions, uint32_t uSize, uint32_t uType,
                                  int bGlobalOnly) V_NOEXCEPT;
/**
 * Sets operations. Those that are 0 in the table stay as they are; V_REDIRECT_DEFAULT sets the library's own.
 * @param pFunctions the operations; receives those that were replaced, with V_REDIRECT_NONE where the thread had none.
 * @param uType REDIRECTTYPE_FILES. @param bGlobal not 0: the library-wide table, where V_REDIRECT_NONE leaves an
 * operation as it is; 0: the calling thread's, where it takes the thread's own away.
 * @return SUCCESS; ERROR_NULL_PTR; ERROR_INVALID_STRUCT_SIZE; ERROR_FEATURE_NOT_SUPPORTED: one of the two types for
 * temporary files; ERROR_INVALID_PARAMETER: another type.
 * @remark Thread-safe: the library-wide table is exchanged as a whole, and a thread only changes its own.
 */
V_API int V_SetRedirectFunctions(REDIRECTFUNCTIONS* pFunctions, uint32_t uType, int bGlobal) V_NOEXCEPT;
/**
 * Sets operations of one open file. Those that are 0 in the table stay as they are.
 * @param hFile the file. @param pFunctions the operations; receives those that were replaced.
 * @return SUCCESS; ERROR_NULL_PTR: null table; ERROR_INVALID_STRUCT_SIZE; ERROR_INVALID_REDIRECTHANDLE.
 * @remark One thread per file at a time.
 */
V_API int V_UpdateRedirectFunctions(V_REDIRECTHANDLE hFile, REDIRECTFUNCTIONS* pFunctions) V_NOEXCEPT;
/**
 * Tells whether files are redirected.
 * @param pszName a name, or null. @param hFile an open file, or null.
 * @return 1 when a file operation in force on the calling thread is not the library's own, the name begins with
 * V_REDIRECT_NAME_PREFIX, or a file operation of the open file is not the library's own; else 0.
 * @remark One thread per file at a time.
 */
V_API int V_UsesRedirectIO(const wchar_t* pszName, V_REDIRECTHANDLE hFile) V_NOEXCEPT;

/* ------------------------------------------------------------------------------------------------------------------
 * Files
 * --------------------------------------------------------------------------------------------------------------- */

/**
 * Opens a file with the operations in force on the calling thread, or with those registered for its name.
 * @param pszName the name. @param nFlags V_OPENFLAG_ values, passed to the open operation. @param nMode a V_OPENMODE_
 * value, passed likewise.
 * @return the file, to be closed with V_RedirectedClose; `(void*)-1` on any failure.
 * @remark Thread-safe; follows the redirection in force on the calling thread.
 */
V_API V_REDIRECTHANDLE V_RedirectedOpen(const wchar_t* pszName, int nFlags, int nMode) V_NOEXCEPT;
/** V_RedirectedOpen with a name in UTF-8.
 *  @remark Thread-safe; follows the redirection in force on the calling thread. */
V_API V_REDIRECTHANDLE V_RedirectedOpenA(const char* pszName, int nFlags, int nMode) V_NOEXCEPT;
/** V_RedirectedOpen with a name in UTF-8.
 *  @remark Thread-safe; follows the redirection in force on the calling thread. */
V_API V_REDIRECTHANDLE V_RedirectedOpenUTF8(const char* pszName, int nFlags, int nMode) V_NOEXCEPT;
/** V_RedirectedOpen with the operations for temporary files (REDIRECTTYPE_TEMP_REDIRECTED). Whether the file goes when
 *  it is closed is up to V_OPENFLAG_TEMPORARY.
 *  @remark Thread-safe; follows the redirection in force on the calling thread. */
V_API V_REDIRECTHANDLE V_RedirectedTempFileOpen(const wchar_t* pszName, int nFlags, int nMode) V_NOEXCEPT;
/** Reads at the position, at most 0x7FFFFFFF bytes. @return the bytes read, or -1, also when the operation claims to
 *  have read more than asked for. @remark One thread per file at a time. */
V_API int32_t V_RedirectedRead(V_REDIRECTHANDLE hFile, void* pBuffer, uint32_t uCount) V_NOEXCEPT;
/** V_RedirectedRead without its limit. @remark One thread per file at a time. */
V_API int64_t V_RedirectedReadBig(V_REDIRECTHANDLE hFile, void* pBuffer, uint64_t uCount) V_NOEXCEPT;
/** Writes at the position, at most 0x7FFFFFFF bytes; 0 ends the file there. @return the bytes written, or -1, also when
 *  the operation claims to have written more than asked for. @remark One thread per file at a time. */
V_API int32_t V_RedirectedWrite(V_REDIRECTHANDLE hFile, const void* pBuffer, uint32_t uCount) V_NOEXCEPT;
/** V_RedirectedWrite without its limit. @remark One thread per file at a time. */
V_API int64_t V_RedirectedWriteBig(V_REDIRECTHANDLE hFile, const void* pBuffer, uint64_t uCount) V_NOEXCEPT;
/** Moves the position. @param hFile the file. @param nOffset how far. @param nOrigin from the start (0), the position
 *  (1) or the end (2). @return the new position, or -1, also when 32 bits cannot hold it.
 *  @remark One thread per file at a time. */
V_API int32_t V_RedirectedSeek(V_REDIRECTHANDLE hFile, int32_t nOffset, int nOrigin) V_NOEXCEPT;
/** V_RedirectedSeek in 64 bits. @remark One thread per file at a time. */
V_API int64_t V_RedirectedSeekBig(V_REDIRECTHANDLE hFile, int64_t nOffset, int nOrigin) V_NOEXCEPT;
/** Closes a file. @return the close operation's result: when it is negative the file stays open and the handle valid,
 *  except with the library's own operation, after which both are gone, whatever the system says of the file's end;
 *  ERROR_NULL_PTR: null; ERROR_INVALID_HANDLE: not an open file. @remark One thread per file at a time. */
V_API int V_RedirectedClose(V_REDIRECTHANDLE hFile) V_NOEXCEPT;
/**
 * Makes a redirected file of a handle that the operations in force have opened. Closing it leaves that handle open.
 * @param hFile the handle. @param phFile receives the file.
 * @return SUCCESS; ERROR_INVALID_PARAMETER: -1; ERROR_NULL_PTR; ERROR_NO_MEMORY.
 * @remark Thread-safe; follows the redirection in force on the calling thread.
 */
V_API int V_CreateRedirectedFileHandle(int64_t hFile, V_REDIRECTHANDLE* phFile) V_NOEXCEPT;
/** @return the handle that the open operation returned for a redirected file; -1: not such a file.
 *  @remark One thread per file at a time. */
V_API int64_t V_ExtractRedirectedFileHandle(V_REDIRECTHANDLE hFile) V_NOEXCEPT;
/** Reads the operations of an open file. @param hFile the file. @param pFunctions receives them. @param uSize the
 *  table's size, 120. @return SUCCESS; ERROR_INVALID_REDIRECTHANDLE; ERROR_NULL_PTR; ERROR_INVALID_STRUCT_SIZE.
 *  @remark One thread per file at a time. */
V_API int V_ExtractRedirectFunctions(V_REDIRECTHANDLE hFile, REDIRECTFUNCTIONS* pFunctions, uint32_t uSize) V_NOEXCEPT;

/* ------------------------------------------------------------------------------------------------------------------
 * Names
 * --------------------------------------------------------------------------------------------------------------- */

/** Makes up a name for V_RegisterRedirectName, another one each time. @param pszName receives it. @param uLength room
 * in characters, at least V_REDIRECT_NAME_LENGTH. @return SUCCESS; ERROR_NULL_PTR; ERROR_BUFFER_TOO_SMALL.
 * @remark Thread-safe. */
V_API int V_GetUniqueRedirectFileName(wchar_t* pszName, uint32_t uLength) V_NOEXCEPT;
/**
 * Registers operations for the files of one name, on all threads. A table registered before for it is replaced; files
 * that are open keep theirs.
 * @param pszName a name of V_REDIRECT_NAME_PREFIX and more, told apart exactly. @param pFunctions the operations; 0 and
 * V_REDIRECT_NONE mean none, V_REDIRECT_DEFAULT the library's own.
 * @return SUCCESS; ERROR_NULL_PTR; ERROR_INVALID_STRUCT_SIZE; ERROR_INVALID_PARAMETER: another name; ERROR_NO_MEMORY.
 * @remark Thread-safe; holds for all threads.
 */
V_API int V_RegisterRedirectName(const wchar_t* pszName, const REDIRECTFUNCTIONS* pFunctions) V_NOEXCEPT;
/** Takes a registration back; files that are open stay so. @return SUCCESS; ERROR_NULL_PTR; ERROR_FILE_NOT_FOUND: there
 *  is none of this name. @remark Thread-safe; holds for all threads. */
V_API int V_UnregisterRedirectName(const wchar_t* pszName) V_NOEXCEPT;

/* ------------------------------------------------------------------------------------------------------------------
 * Memory buffers
 * --------------------------------------------------------------------------------------------------------------- */

/**
 * Starts redirecting the calling thread's files into one memory buffer: whatever name is opened, the buffer is the
 * file. Temporary files are not redirected into it. Redirections nest; end them in reverse order.
 * @param ppObject receives the redirection, for V_StopRedirectToBuffer. @param phFile null, or receives a file that is
 * the buffer, already open; close it before the redirection ends. @param uOptions REDIRECTBUFFER_ flags.
 * @param pBuffer the buffer; with REDIRECTBUFFER_GROW a locked movable block of global memory, or null: one is then
 * allocated with the first byte. The library does not free it. @param uCapacity its size in bytes.
 * @return SUCCESS; ERROR_INVALID_PARAMETER: null ppObject; ERROR_NO_MEMORY: nothing is then redirected.
 * @remark Affects the calling thread only.
 */
V_API int V_StartRedirectToBuffer(void** ppObject, V_REDIRECTHANDLE* phFile, uint32_t uOptions, void* pBuffer,
                                  size_t uCapacity) V_NOEXCEPT;
/**
 * Ends a redirection, on the thread that started it, and puts back the operations that were there before.
 * @param pObject the redirection; it is gone afterwards. @param ppBuffer null, or receives the buffer, which is the
 * caller's: a locked movable block when the library allocated it. @param puSize null, or receives the bytes of data in
 * it.
 * @return SUCCESS; ERROR_INVALID_PARAMETER: null, or not a redirection.
 * @remark Affects the calling thread only.
 */
V_API int V_StopRedirectToBuffer(void* pObject, void** ppBuffer, size_t* puSize) V_NOEXCEPT;

V_EXTERN_C_END

#endif /* VKREDIRECT_H */
