#include <orn/scene/TOrnRegistry.h>

#include <orn/host/EOrnError.h>

#include <strings.h>

namespace orn {

namespace {

std::vector<TComponentClass>& registry() {
    static std::vector<TComponentClass> classes;
    return classes;
}

} // namespace

void RegisterRenderClass(TComponentClass cls) {
    if (!cls) return;
    if (GetRenderClass(cls->Name)) throw EOrnError("This class was already registered.");
    registry().push_back(cls);
}

TComponentClass GetRenderClass(const std::string& name) {
    for (TComponentClass c : registry())
        if (strcasecmp(c->Name, name.c_str()) == 0) return c;
    return nullptr;
}

std::vector<TComponentClass> GetRenderClassList() { return registry(); }

} // namespace orn
