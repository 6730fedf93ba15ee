// The operations on whole bitmaps, one table of them for the rules that hold for each (Operations_test.cpp), and for
// what callbacks see of them (OperationsCallbacks_test.cpp).
#pragma once

#include "tests/support/TestBitmap.h"

#include <initializer_list>
#include <memory>
#include <span>

namespace vk::testing {

using B = BITMAPHANDLE*;

constexpr int32_t kWidth = 50;
constexpr int32_t kHeight = 130;

/// What becomes of the bitmap.
enum class Does {
    keeps,    ///< its pixels change, its storage stays
    replaces, ///< it gets other storage
    copies,   ///< another bitmap is made from it, or anything else
    fills,    ///< another bitmap that exists gets its pixels
};

struct Operation {
    const char* name;
    int32_t bits;
    Does does;
    int (*run)(BITMAPHANDLE* bitmap, Bytes& made);
    bool is_silent = false; ///< reports no progress
};

/// What an operation gives: its result, and the pixels it is about.
struct Outcome {
    int result = 0;
    Bytes pixels = {};
    bool operator==(const Outcome&) const = default;
};

std::span<const Operation> operations();
/// Operations that move a bitmap's storage, which those whose rows callbacks hold have not.
std::span<const Operation> moves();

/// Pixels without what stands behind them in their rows.
Bytes read_accessed(BITMAPHANDLE* bitmap);
/// Noise, of which some pixels are transparent where there is alpha.
void fill_with_noise(BITMAPHANDLE* bitmap, uint64_t seed);
/// A bitmap of an operation's depth in a kind of storage.
std::unique_ptr<TestBitmap> make_bitmap(const Operation& operation, Kind kind, uint32_t size = BITMAPHANDLE_SIZE);
Outcome run(const Operation& operation, BITMAPHANDLE* bitmap);

constexpr std::initializer_list<Kind> kEachWay = {Kind::conv,         Kind::global,     Kind::disk,
                                                  Kind::tiled_memory, Kind::compressed, Kind::super};

/// Calls `check` with each operation and storage kind that go together.
template <class Check> void for_each_case(std::initializer_list<Kind> kinds, Check check)
{
    for (const auto table : {operations(), moves()})
        for (const Operation& operation : table)
            for (const Kind kind : kinds)
                if (can_make(kind, operation.bits)) {
                    SCOPED_TRACE(say(operation.name, "of", name_of(kind)));
                    check(operation, kind);
                    if (::testing::Test::HasFailure())
                        return;
                }
}

} // namespace vk::testing
