/* What calls.py measures Python's calls beside: the same calls from C, as nanoseconds per call. */
#include "Vkkrnx.h"

#include <time.h>

static double now(void)
{
    struct timespec time;
    clock_gettime(CLOCK_MONOTONIC, &time);
    return (double)time.tv_sec * 1e9 + (double)time.tv_nsec;
}

/** A call that does next to nothing. */
double time_workers(int count)
{
    volatile int32_t sum = 0;
    const double start = now();
    for (int i = 0; i < count; i++)
        sum += V_GetWorkers();
    return (now() - start) / count;
}

/** A row copied out of an accessed bitmap. */
double time_row(BITMAPHANDLE* bitmap, void* row, size_t bytes, int count)
{
    volatile intptr_t sum = 0;
    const double start = now();
    for (int i = 0; i < count; i++)
        sum += V_GetBitmapRowCol(bitmap, row, 3, 0, bytes);
    return (now() - start) / count;
}
