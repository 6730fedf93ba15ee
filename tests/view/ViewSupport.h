// Flips, mirrors and turns on stored data, and what they make of a picture.
#pragma once

#include "kernel/view/Relayout.h"
#include "tests/support/FaultLoop.h"
#include "tests/support/TestTurn.h"

#include "Vkview.h"

#include <optional>

namespace vk::testing {

struct Operation {
    const char* name;
    int (*run)(BITMAPHANDLE*);
    Picture (*make)(const Picture&);
    bool quarter = false;
};

inline const Operation kOperations[] = {
    {"flip", V_FlipBitmap, [](const Picture& p) { return p.flipped(); }},
    {"reverse", V_ReverseBitmap, [](const Picture& p) { return p.mirrored(); }},
    {"half turn",
     [](BITMAPHANDLE* b) {
         Progress progress(b->Height);
         const int result = progress.begin();
         return result == SUCCESS ? change_layout(*b, {{kHalfTurned, b->ViewPerspective}}, progress) : result;
     },
     [](const Picture& p) { return p.turned_by(180); }},
    {"clockwise", [](BITMAPHANDLE* b) { return V_RotateBitmap90(b, 1); }, [](const Picture& p) { return p.turned(); },
     true},
    {"back", [](BITMAPHANDLE* b) { return V_RotateBitmap90(b, 0); }, [](const Picture& p) { return p.turned_by(270); },
     true},
};

} // namespace vk::testing
