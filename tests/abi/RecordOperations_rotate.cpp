// Rotation.
#include "tests/abi/RecordOperations.h"

#include "Vkrotate.h"

namespace vk::testing {

const Family rotate_operations = {
    {"V_RotateBitmap", [](B b) -> intptr_t { return V_RotateBitmap(b, 730, ROTATEFLAG_GROW, 0x00FF8040u); }},
    {"V_RotateBitmap (interpolated)",
     [](B b) -> intptr_t { return V_RotateBitmap(b, -730, ROTATEFLAG_BICUBIC, 0x01000001u); }},
    {"V_IntRotateBitmap",
     [](B b) -> intptr_t { return V_IntRotateBitmap(b, 4500, ROTATEFLAG_CENTER, 0, 0, 100, 3.5, 2.5); }},
    {"V_IntRotateBitmap (by nothing)", [](B b) -> intptr_t { return V_IntRotateBitmap(b, 36000, 0, 0, 0, 100, 0, 0); }},
};

} // namespace vk::testing
