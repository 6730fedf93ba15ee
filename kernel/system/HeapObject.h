// Objects behind handles: made on the platform's heap, which may refuse, and ended there.
#pragma once

#include "platform/platform.h"

#include <new>
#include <utility>

namespace vk {

/// Null without memory.
template <class Object, class... Arguments> Object* make_object(Arguments&&... arguments) noexcept
{
    void* const block = platform::heap_alloc(sizeof(Object));
    return block ? new (block) Object(std::forward<Arguments>(arguments)...) : nullptr;
}

template <class Object> void end_object(Object* object) noexcept
{
    object->~Object();
    platform::heap_free(object);
}

} // namespace vk
