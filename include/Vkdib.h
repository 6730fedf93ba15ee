/**
 * @file Vkdib.h
 * The DIB part of the Vkkrnx interface: device-independent bitmaps in and out. Vkkrnx.h includes it.
 */
#ifndef VKDIB_H
#define VKDIB_H

#include "Vkkrnx.h"

V_EXTERN_C_BEGIN

V_EXTERN_C_END

#endif /* VKDIB_H */
