/**
 * @file Vkrotate.h
 * The rotation part of the Vkkrnx interface: turning bitmaps by any angle. Vkkrnx.h includes it.
 */
#ifndef VKROTATE_H
#define VKROTATE_H

#include "Vkkrnx.h"

V_EXTERN_C_BEGIN

V_EXTERN_C_END

#endif /* VKROTATE_H */
