#pragma once

#include <orn/host/TComponentClass.h>

#include <string>
#include <vector>

namespace orn {

/// Adds a render class to the process-wide registry by which the scene file turns element names
/// back into components. A name registered already (letter case ignored) throws
/// "This class was already registered." and leaves the registry unchanged.
void RegisterRenderClass(TComponentClass cls);
/// The class registered under name (letter case ignored), or nullptr.
TComponentClass GetRenderClass(const std::string& name);
/// Every registered class, in order of registration.
std::vector<TComponentClass> GetRenderClassList();

} // namespace orn

/// Registers Class as a render class and puts it on a palette page (ORN_REGISTER_COMPONENT), when
/// the library loads.
#define ORN_REGISTER_RENDER_CLASS(Class, Page)                                                               \
    namespace {                                                                                              \
    [[maybe_unused]] const bool kRegistered##Class = [] {                                                    \
        ::orn::RegisterRenderClass(::orn::ClassOf<Class>());                                                 \
        return true;                                                                                         \
    }();                                                                                                     \
    }                                                                                                        \
    ORN_REGISTER_COMPONENT(Class, Page)
