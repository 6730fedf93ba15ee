/**
 * @file Vkkrnx.hpp
 * Vkkrnx for C++20: classes over the C interface, in headers alone. They call exported C functions and nothing else, so
 * they work with any C++ compiler that takes the C headers, whatever the library was built with.
 *
 *     vk::Bitmap picture = vk::Bitmap::create(640, 480, 24);
 *     picture.edit_rows([](int32_t y, std::span<std::byte> row) { std::fill(row.begin(), row.end(), std::byte(y)); });
 *     picture.resize(320, 240, vk::SizeFlag::resample);
 *
 * - **Results.** A function that can fail takes a vk::Report as its last argument. Left out, failures are thrown as
 *   vk::Error; given a vk::Code, they are written there, and so is success: `vk::Code code; picture.flip(code);`.
 *   Where exceptions are turned off, a failure that nobody asks about ends the program. What a failed call returns is
 *   empty.
 * - **Owners.** vk::Bitmap owns a record and all that hangs on it; it moves and does not copy (`clone` does).
 *   vk::BitmapView stands for a record that somebody else owns. Both have all operations as members. Reading rows
 *   counts the access in the record, so a const bitmap only tells what the record says.
 * - **Constants** are enumerations with the values of the C interface; those that combine have operators.
 * - **Exceptions in callbacks** never cross the library: it stops, and the call that it was in throws them on.
 * - **Names.** Everything is in `vk`, inside an inline namespace, so that no symbol is one of the library's own `vk`
 *   whatever is linked with what, nor one of code that was compiled without exceptions.
 */
#ifndef VKKRNX_HPP
#define VKKRNX_HPP

#include "Vkkrnx/Bitmap.hpp"
#include "Vkkrnx/BitmapList.hpp"
#include "Vkkrnx/Constants.hpp"
#include "Vkkrnx/Core.hpp"
#include "Vkkrnx/Geometry.hpp"
#include "Vkkrnx/Palette.hpp"
#include "Vkkrnx/Settings.hpp"
#include "Vkkrnx/Threading.hpp"

#endif // VKKRNX_HPP
