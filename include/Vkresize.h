/**
 * @file Vkresize.h
 * The resize part of the Vkkrnx interface: changing the pixel dimensions of bitmaps and rows. Vkkrnx.h includes it.
 */
#ifndef VKRESIZE_H
#define VKRESIZE_H

#include "Vkkrnx.h"

V_EXTERN_C_BEGIN

V_EXTERN_C_END

#endif /* VKRESIZE_H */
