#pragma once

#include <orn/host/TComponent.h>

#include <string>
#include <vector>

namespace orn {

/// A class reference: the run-time name of a component class and how to make one.
struct TComponentClassInfo {
    const char* Name;
    TComponent* (*Create)(TComponent* owner);
    /// Whether an instance of this class is (or derives from) the class of other.
    bool (*IsA)(const TObject* instance);
};
using TComponentClass = const TComponentClassInfo*;

/// The class reference of T.
template <class T> TComponentClass ClassOf() {
    static const TComponentClassInfo info{
        T::StaticClassName(), [](TComponent* owner) -> TComponent* { return new T(owner); },
        [](const TObject* o) { return dynamic_cast<const T*>(o) != nullptr; }};
    return &info;
}

/// Puts classes on a page of the component palette (e.g. "Orn", "Orn Obj"). A class already on
/// the page is not added twice.
void RegisterComponents(const std::string& page, std::initializer_list<TComponentClass> classes);
/// The palette's pages in order of first registration.
std::vector<std::string> GetPaletteNames();
/// The classes on one page, in order of registration; empty for an unknown page.
std::vector<TComponentClass> GetPaletteClasses(const std::string& page);
/// The class registered under name on any page (letter case ignored), or nullptr.
TComponentClass FindComponentClass(const std::string& name);

} // namespace orn

/// Puts Class on a palette page when the library loads (at namespace scope, once per class).
#define ORN_REGISTER_COMPONENT(Class, Page)                                                                  \
    namespace {                                                                                              \
    [[maybe_unused]] const bool kOnPalette##Class = [] {                                                     \
        ::orn::RegisterComponents(Page, {::orn::ClassOf<Class>()});                                          \
        return true;                                                                                         \
    }();                                                                                                     \
    }
