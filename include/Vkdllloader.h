/**
 * @file Vkdllloader.h
 * Modules loaded at run time, for C++: shared libraries with functions to call by name. Vkloader.h includes it for C++.
 * Vkmodule.h has the same as plain functions, and the DLLLOADER_ values.
 */
#ifndef VKDLLLOADER_H
#define VKDLLLOADER_H

#include "Vkmodule.h"

/**
 * A module in use. A copy shares it; the module goes when the last of them lets go of it.
 * @remark GetFunction and IsLoaded are thread-safe; the other members are for one thread at a time. Copies may be used
 * by different threads at once.
 */
class V_API V_DllLoader {
public:
    /** Without a module. */
    V_DllLoader() noexcept;
    /** Shares the other's module, if it has one. */
    V_DllLoader(const V_DllLoader& other) noexcept;
    /** Lets go of the present module and shares the other's. */
    V_DllLoader& operator=(const V_DllLoader& other) noexcept;
    virtual ~V_DllLoader();

    /**
     * Loads a module and lets go of an earlier one. The module's own dependencies are the system's affair.
     * @param pszName its name: without directory and suffix (".dll" on Windows, ".so" elsewhere) for DLLLOADER_BESIDE
     * and DLLLOADER_RESOURCES. @param uFlags a DLLLOADER_ value.
     * @return SUCCESS; ERROR_INVALID_PARAMETER: null or empty name, one that does not go with the flag, no text, or
     * another flag; ERROR_FILE_NOT_FOUND: there is no such module, or the system does not load it; ERROR_NO_MEMORY.
     * After a failure the earlier module is still there.
     */
    int Load(const wchar_t* pszName, uint32_t uFlags) noexcept;
    /** Lets go of the module, if there is one. */
    void Unload() noexcept;
    /** @return 1 with a module, else 0. */
    int IsLoaded() const noexcept;
    /** @return the address of a function or object of the module; null without module, or where it has none of that
     * name. Good until the module goes. */
    void* GetFunction(const char* pszName) const noexcept;

private:
    struct Module;

    Module* module_;
};

#endif /* VKDLLLOADER_H */
