#pragma once

#include <orn/host/TComponent.h>

#include <cstring>

namespace orn::detail {

/// The state classes are only declared in the layers below them: a component whose class is
/// exactly the one named is reached through its complete object.
template <class T> T* exactly(TComponent* component, const char* className) {
    if (!component || std::strcmp(component->ClassName(), className) != 0) return nullptr;
    return static_cast<T*>(dynamic_cast<void*>(component));
}

} // namespace orn::detail
