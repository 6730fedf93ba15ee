// The arithmetic of mixing real numbers, which the loops of Real.h and Real_vector.cpp follow to the bit: products and
// sums are rounded one by one, in the order that stands here.
//
// Colours and the levels of gray palettes are floats, grays and the indices of two colours doubles, which hold samples
// of 32 bits. Of a row of cells each is weighted, then the row; the first weights are 1 - f and f for two, cubic
// convolution with the parameter -1/2 for four. Colours with alpha are multiplied by it, so that transparent pixels do
// not bleed into others; no alpha is quite 0, so where all are transparent, and in pictures whose fourth byte means
// nothing, colours still count evenly. A constant picture comes back to the bit.
#pragma once

#include "kernel/sampling/Loops.h"

namespace vk::sampling {

/// What an alpha has in addition: too little to be seen beside the least alpha there is.
constexpr float kAlphaSpare = 1.0F / 1024;
/// The least sum of alphas that colours are divided by.
constexpr float kLeastAlpha = kAlphaSpare / 4;

constexpr uint32_t kLineOne = 1u << kLineBits;

/// The weights of the cells around a position, `f` behind the first, or the second of four. `Real` may be a vector, and
/// `number` makes one.
template <class Real, class Number> void real_weights(Real f, const Number& number, Real (&of)[2]) noexcept
{
    of[0] = number(1) - f;
    of[1] = f;
}
template <class Real, class Number> void real_weights(Real f, const Number& number, Real (&of)[4]) noexcept
{
    of[0] = ((number(2) - f) * f - number(1)) * f * number(0.5);
    of[1] = ((number(3) * f - number(5)) * f * f + number(2)) * number(0.5);
    of[2] = ((number(4) - number(3) * f) * f + number(1)) * f * number(0.5);
    of[3] = (f - number(1)) * f * f * number(0.5);
}

} // namespace vk::sampling
