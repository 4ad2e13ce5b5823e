#include <orn/host/TComponentClass.h>

#include <algorithm>
#include <strings.h>
#include <utility>

namespace orn {

namespace {

using Palette = std::vector<std::pair<std::string, std::vector<TComponentClass>>>;

Palette& palette() {
    static Palette p;
    return p;
}

} // namespace

void RegisterComponents(const std::string& page, std::initializer_list<TComponentClass> classes) {
    Palette& p = palette();
    auto it = std::find_if(p.begin(), p.end(), [&](const auto& e) { return e.first == page; });
    if (it == p.end()) it = p.insert(p.end(), {page, {}});
    for (TComponentClass c : classes)
        if (std::find(it->second.begin(), it->second.end(), c) == it->second.end()) it->second.push_back(c);
}

std::vector<std::string> GetPaletteNames() {
    std::vector<std::string> names;
    for (const auto& e : palette()) names.push_back(e.first);
    return names;
}

std::vector<TComponentClass> GetPaletteClasses(const std::string& page) {
    for (const auto& e : palette())
        if (e.first == page) return e.second;
    return {};
}

TComponentClass FindComponentClass(const std::string& name) {
    for (const auto& e : palette())
        for (TComponentClass c : e.second)
            if (strcasecmp(c->Name, name.c_str()) == 0) return c;
    return nullptr;
}

} // namespace orn
