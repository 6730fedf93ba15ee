/**
 * @file Vklist.h
 * The list part of the Vkkrnx interface: ordered lists of bitmaps. Vkkrnx.h includes it.
 */
#ifndef VKLIST_H
#define VKLIST_H

#include "Vkkrnx.h"

V_EXTERN_C_BEGIN

V_EXTERN_C_END

#endif /* VKLIST_H */
