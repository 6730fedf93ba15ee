// An object for the length of a scope that is too large for a thread with little stack. It stands in a section, which
// is aligned for vectors; without memory for one it is empty.
#pragma once

#include "platform/platform.h"

#include <new>
#include <utility>

namespace vk {

template <class Object> class RoomyObject {
public:
    template <class... Arguments> explicit RoomyObject(Arguments&&... arguments) noexcept
    {
        static_assert(alignof(Object) <= 64);
        if (platform::section_create(sizeof(Object), Contents::unspecified, &section_) == Status::ok)
            object_ = new (section_.view) Object(std::forward<Arguments>(arguments)...);
    }
    ~RoomyObject()
    {
        if (!object_)
            return;
        object_->~Object();
        platform::section_free(&section_);
    }
    RoomyObject(const RoomyObject&) = delete;
    RoomyObject& operator=(const RoomyObject&) = delete;

    explicit operator bool() const noexcept { return object_; }
    Object& operator*() const noexcept { return *object_; }
    Object* operator->() const noexcept { return object_; }

private:
    Section section_;
    Object* object_ = nullptr;
};

} // namespace vk
