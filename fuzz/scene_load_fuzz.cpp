// Loads a scene file from arbitrary bytes: it must load what it can or throw EOrnError.
#include <orn/host/EOrnError.h>
#include <orn/io/TOrnExchange.h>
#include <orn/scene/TOrnNode.h>
#include <orn/scene/TOrnObject.h>
#include <orn/scene/TOrnRegistry.h>

#include <cstddef>
#include <cstdint>
#include <string>

using namespace orn;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool registered = [] {
        if (!GetRenderClass("TOrnObject")) RegisterRenderClass(ClassOf<TOrnObject>());
        return true;
    }();
    (void)registered;
    TComponent form(nullptr);
    auto* node = new TOrnNode(&form);
    TOrnExchange exchange(&form);
    exchange.SetFileName("/fuzz/scene.orngl");
    try {
        exchange.LoadFromString(*node, std::string(reinterpret_cast<const char*>(data), size));
    } catch (const EOrnError&) {
        return 0;
    }
    // Whatever was loaded saves as a file that loads back to the same scene, or is refused with
    // a reason (an item loaded at the deepest level keeps children that would nest deeper).
    std::string text;
    try {
        text = exchange.SaveToString(*node);
    } catch (const EOrnError&) {
        return 0;
    }
    TComponent again(nullptr);
    auto* copy = new TOrnNode(&again);
    exchange.LoadFromString(*copy, text);
    if (exchange.SaveToString(*copy) != text) __builtin_trap();
    return 0;
}
