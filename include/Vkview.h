/**
 * @file Vkview.h
 * The view part of the Vkkrnx interface: flip, mirror and view perspective: how stored rows relate to the displayed image. Vkkrnx.h includes it.
 */
#ifndef VKVIEW_H
#define VKVIEW_H

#include "Vkkrnx.h"

V_EXTERN_C_BEGIN

V_EXTERN_C_END

#endif /* VKVIEW_H */
