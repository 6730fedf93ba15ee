/**
 * @file Vkthread.h
 * The thread part of the Vkkrnx interface that C can read: starting a thread with library state of its own. Vkkrnx.h
 * includes it; the classes for work in parallel are in Vkthreading.h.
 */
#ifndef VKTHREAD_H
#define VKTHREAD_H

#include "Vkrecord.h"

V_EXTERN_C_BEGIN

/** What a thread's routine returns: 32 bits without sign. */
#if defined(_WIN32)
typedef DWORD V_THREADRESULT;
#else
typedef uint32_t V_THREADRESULT;
#endif

/** What a thread runs: one argument in, one 32-bit result out. */
#if defined(_WIN32)
typedef LPTHREAD_START_ROUTINE V_THREADROUTINE;
#else
typedef V_THREADRESULT (*V_THREADROUTINE)(void*);
#endif

/** Options of V_VellThreadCreateAndRun; they combine. */
#define VELLTHREAD_WAIT 1u    /**< come back when the routine has ended */
#define VELLTHREAD_INHERIT 2u /**< the new thread starts with the calling thread's settings, not with the defaults */

/**
 * Creates a thread and runs a routine on it. The thread has library state of its own from its first instruction on:
 * default memory type, memory thresholds, default dithering, user match table and status callback. What it sets there
 * touches no other thread and is gone when it ends.
 * @param pfnRoutine what to run. @param pParameter passed to it; the caller keeps what it points to until the routine
 * has ended. @param uFlags VELLTHREAD_ options. VELLTHREAD_INHERIT copies the settings during the call; pointers among
 * them (match table, callback data) stay their owners', who keep them while the thread runs. A buffer redirection
 * belongs to the calling thread: the new one gets the file operations that were there before it. Without the option the
 * thread follows the process's settings (V_SetProcessDefaults) until it sets something.
 * @param puResult receives the routine's result when VELLTHREAD_WAIT is given; may be null. Untouched otherwise.
 * @return SUCCESS: the routine runs, or with VELLTHREAD_WAIT has run; ERROR_INVALID_PARAMETER: null routine or unknown
 * options; ERROR_NO_MEMORY: no thread or no memory could be had, and the routine does not run.
 * @remark Thread-safe; the new thread shares no settings with any other.
 */
V_API int V_VellThreadCreateAndRun(V_THREADROUTINE pfnRoutine, void* pParameter, uint32_t uFlags,
                                   uint32_t* puResult) V_NOEXCEPT;

V_EXTERN_C_END

#endif /* VKTHREAD_H */
