// Vkkrnx.hpp in a program that is compiled without exceptions; its symbols are others than those of a program with
// them, so both may be linked together. Returns 0, or the line of the first step that went wrong.
#include "tests/abi/CppPictures.h"

#if VKKRNX_EXCEPTIONS
#error "to be compiled without exceptions"
#endif

int vk_cpp_without_exceptions()
{
    vk::Code code = vk::Code::internal;
    vk::Bitmap picture = vk::Bitmap::create(20, 10, 24, {}, code);
    if (!vk::succeeded(code) || testing_cpp::bytes_of(picture).size() != 600)
        return __LINE__;
    picture.resize(-1, 5, {}, code);
    if (code != vk::Code::invalid_parameter || picture.width() != 20)
        return __LINE__;
    {
        vk::StatusCallback stop([](int) { return false; });
        picture.flip(code);
        if (code != vk::Code::user_abort || stop.threw())
            return __LINE__;
    }
    std::atomic<int> runs{0};
    vk::WorkItems items(3, {}, {}, code);
    for (int i = 0; i < 3; ++i)
        items.queue([&runs] { ++runs; });
    items.wait(code);
    if (!vk::succeeded(code) || runs != 3)
        return __LINE__;
    return vk::text(vk::Code::no_memory).empty() ? __LINE__ : 0;
}
