// What every processor of a kind has, where that is not among the sets that kernels are compiled for.
#include "simd/Set.h"
#if VK_SIMD_X86
#include "tests/simd/Operations_vector.cpp"
#include "tests/simd/Steps_vector.cpp"
#endif
