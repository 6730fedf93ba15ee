/**
 * @file Vkredirect.h
 * The redirection part of the Vkkrnx interface: the replaceable file operations. Vkkrnx.h includes it.
 */
#ifndef VKREDIRECT_H
#define VKREDIRECT_H

#include "Vkkrnx.h"

V_EXTERN_C_BEGIN

V_EXTERN_C_END

#endif /* VKREDIRECT_H */
