/**
 * @file Vkkrnx.h
 * The C interface of Vkkrnx, the kernel library of an imaging toolkit: raster images of 1 to 64 bits per pixel, held in
 * memory, tiles, compressed or on disk, and lent out row by row.
 *
 * Conventions that hold for every function:
 *  - `int` results are result codes: SUCCESS (1) or a negative code; nothing is thrown and nothing is printed.
 *  - Row functions return the number of bytes moved, or a negative code.
 *  - Sizes in pixels, rows, columns and depths are `int32_t`; flags, counts and record sizes `uint32_t`; byte counts
 *    `size_t`; sizes of pixel data `uint64_t`.
 *  - The caller owns every record it passes. The blocks a bitmap record points to belong to the record and are freed by
 *    V_FreeBitmap alone.
 *  - Wide strings are the platform's wchar_t; functions whose names end in A take or give UTF-8.
 *  - Different bitmaps may be used by different threads at once; one bitmap belongs to one thread at a time. Each
 *    function's remark says what holds for it: a thread-safe one may be called by any threads at any time, and settings
 *    of the calling thread are those that it made itself, or was started with (V_VellThreadCreateAndRun).
 */
#ifndef VKKRNX_H
#define VKKRNX_H

#define VKKRNX_VERSION_MAJOR 1
#define VKKRNX_VERSION_MINOR 0
#define VKKRNX_VERSION_PATCH 0

#include "Vkrecord.h"

#include "Vkbitmap.h"
#include "Vkcolorres.h"
#include "Vkcombine.h"
#include "Vkconvert.h"
#include "Vkdib.h"
#include "Vkdisplay.h"
#include "Vkdither.h"
#include "Vkfiles.h"
#include "Vkfill.h"
#include "Vkgeometry.h"
#include "Vkhuge.h"
#include "Vklist.h"
#include "Vkloader.h"
#include "Vkmodule.h"
#include "Vkoverlay.h"
#include "Vkpalette.h"
#include "Vkpixel.h"
#include "Vkredirect.h"
#include "Vkregion.h"
#include "Vkresample.h"
#include "Vkresize.h"
#include "Vkrotate.h"
#include "Vkrows.h"
#include "Vkruns.h"
#include "Vksystem.h"
#include "Vktemp.h"
#include "Vkthread.h"
#include "Vkthreadtools.h"
#include "Vkview.h"
#include "Vkwarp.h"
#include "Vkwindow.h"
#include "Vkyuv.h"

#endif /* VKKRNX_H */
