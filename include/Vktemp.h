/**
 * @file Vktemp.h
 * Temporary files: names, directory and options. Vkkrnx.h includes it.
 */
#ifndef VKTEMP_H
#define VKTEMP_H

#include "Vktypes.h"

/** Options of temporary files. 24 bytes. */
typedef struct TEMPFILEOPTIONS {
    uint32_t StructSize; /**< size of this record */
    uint32_t Mode;       /**< 3: no physical temporary files may be made */
    uint32_t Setting1;   /**< kept for compatibility, no effect */
    uint32_t Setting2;   /**< kept for compatibility, no effect */
    uint32_t Setting3;   /**< kept for compatibility, no effect */
    uint32_t Setting4;   /**< kept for compatibility, no effect */
} TEMPFILEOPTIONS;

V_EXTERN_C_BEGIN

/**
 * Makes a new empty temporary file with a unique name, readable by its owner alone.
 * While the thread's open operation is redirected it makes up a unique name alone; the file comes with its opening.
 * @param pszName receives the name; room for 260 characters. @param pszPrefix start of the file's name, null for "V_".
 * @return SUCCESS; ERROR_INVALID_PARAMETER: null name; ERROR_INVALID_FILENAME: the directory cannot be
 * used, as its name is no text or leaves no room for a file's; ERROR_NO_MEMORY: no directory, or no file could be made.
 * @remark Thread-safe; follows the redirection in force on the calling thread.
 */
V_API int V_GetTempFileName(wchar_t* pszName, const wchar_t* pszPrefix) V_NOEXCEPT;

/** V_GetTempFileName in UTF-8, with room for 780 bytes. @return also ERROR_NO_DISK_SPACE: the prefix is not UTF-8;
 *  ERROR_FILE_READ: the name cannot be given in UTF-8 (the file is deleted).
 *  @remark Thread-safe; follows the redirection in force on the calling thread. */
V_API int V_GetTempFileNameA(char* pszName, const char* pszPrefix) V_NOEXCEPT;

/** Gives the directory of temporary files with its final separator. @param uLength room in characters.
 *  @return SUCCESS; ERROR_NULL_PTR; ERROR_BUFFER_TOO_SMALL; ERROR_INVALID_FILENAME: its name is no text, which bitmaps
 * on disk report, too; ERROR_NO_MEMORY: the system has none.
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

V_EXTERN_C_END

#endif /* VKTEMP_H */
