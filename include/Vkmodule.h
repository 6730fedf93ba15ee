/**
 * @file Vkmodule.h
 * Modules loaded at run time, as plain functions: shared libraries with functions to call by name. They are for C, and
 * for C++ compilers that cannot link Vkdllloader.h. Vkkrnx.h includes it.
 *
 * A handle is a pointer to an object as Vkdllloader.h declares it; V_GetDllFunction takes the address of one that a
 * program made by itself, too.
 */
#ifndef VKMODULE_H
#define VKMODULE_H

#include "Vktypes.h"

/** Where a module is looked for; one of these. */
#define DLLLOADER_BESIDE 0u /**< beside this library, and nowhere else */
#define DLLLOADER_RESOURCES                                                                                            \
    1u                      /**< in the directory that V_SetResourceDirectory set, if any; then beside this library */
#define DLLLOADER_PATH 2u   /**< the name is an absolute path, suffix included */
#define DLLLOADER_SYSTEM 3u /**< the name is one that the system's own search finds, suffix included */

#if defined(__cplusplus)
class V_DllLoader;
/** A module in use. */
typedef V_DllLoader* HDLLLOADER;
#else
typedef struct V_DllLoader* HDLLLOADER;
#endif

V_EXTERN_C_BEGIN

/**
 * Loads a module. Its own dependencies are the system's affair.
 * @param phLoader receives it, or null. @param pszName its name: without directory and suffix (".dll" on Windows, ".so"
 * elsewhere) for DLLLOADER_BESIDE and DLLLOADER_RESOURCES. @param uFlags a DLLLOADER_ value.
 * @return SUCCESS; ERROR_INVALID_PARAMETER: null pointer, null or empty name, one that does not go with the flag, no
 * text, or another flag; ERROR_FILE_NOT_FOUND: there is no such module, or the system does not load it;
 * ERROR_NO_MEMORY.
 * @remark Thread-safe.
 */
V_API int V_LoadDll(HDLLLOADER* phLoader, const wchar_t* pszName, uint32_t uFlags) V_NOEXCEPT;
/** V_LoadDll in UTF-8; a name of more than 1023 characters is ERROR_INVALID_PARAMETER. @remark Thread-safe. */
V_API int V_LoadDllA(HDLLLOADER* phLoader, const char* pszName, uint32_t uFlags) V_NOEXCEPT;
/** Makes a second handle for a module, which stays until both are unloaded. @param phCopy receives it, or null.
 *  @param hLoader the module. @return SUCCESS; ERROR_INVALID_PARAMETER: null module or pointer; ERROR_NO_MEMORY.
 *  @remark Thread-safe. */
V_API int V_CopyDll(HDLLLOADER* phCopy, HDLLLOADER hLoader) V_NOEXCEPT;
/** Lets go of a module that one of these functions gave. @return SUCCESS; ERROR_INVALID_PARAMETER: null.
 *  @remark No other thread may be using the handle. */
V_API int V_UnloadDll(HDLLLOADER hLoader) V_NOEXCEPT;
/** @return the address of a function or object of the module, good until the module goes; null for null, and where
 *  there is none of that name. @remark Thread-safe. */
V_API void* V_GetDllFunction(HDLLLOADER hLoader, const char* pszName) V_NOEXCEPT;

V_EXTERN_C_END

#endif /* VKMODULE_H */
