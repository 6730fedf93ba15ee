/**
 * @file Vkresample.h
 * The resample part of the Vkkrnx interface: area, bicubic and streaming resamplers. Vkkrnx.h includes it.
 */
#ifndef VKRESAMPLE_H
#define VKRESAMPLE_H

#include "Vkkrnx.h"

V_EXTERN_C_BEGIN

V_EXTERN_C_END

#endif /* VKRESAMPLE_H */
