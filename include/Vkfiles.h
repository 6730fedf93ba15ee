/**
 * @file Vkfiles.h
 * The library's own file operations. Vkkrnx.h includes it.
 */
#ifndef VKFILES_H
#define VKFILES_H

#include "Vktypes.h"

/** Modes of V_OsCreat; they combine. */
#define OSCREAT_READONLY 1
#define OSCREAT_HIDDEN 2
#define OSCREAT_SYSTEM 4
#define OSCREAT_DELETEONCLOSE 8

V_EXTERN_C_BEGIN

/** Creates a file anew, or empties it. @param nMode OSCREAT_ bits. @return the handle, or -1. @remark Thread-safe. */
V_API int64_t V_OsCreat(const wchar_t* pszName, int nMode) V_NOEXCEPT;

/**
 * Opens a file.
 * @param nAccess bits 0-1: 0 read, 1 write, 2 or 3 both; 0x40 delete on close; 0x100 create always, else 0x200 empty an
 * existing file, else open an existing one. @param nShare bits 0x80 and 0x100: share reading and writing; 0x100: share
 * reading; else none. @param pUserData not used. @return the handle, or -1.
 *
 * A file that is shared with nobody is opened only where this library has it open nowhere, and no second time
 * meanwhile, in this process or another; on Windows no other program opens it either. Elsewhere other programs are not
 * kept out, nor are the three ways of sharing told apart, and file systems without such locks keep nobody out.
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

V_EXTERN_C_END

#endif /* VKFILES_H */
