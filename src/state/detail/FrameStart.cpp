// Resets the shared render state at the start of every frame the views draw.

#include <orn/scene/TOrnCustomView.h>
#include <orn/state/TOrnAttributes.h>
#include <orn/state/TOrnMaterial.h>

namespace orn {

namespace {

[[maybe_unused]] const bool kFrameStartRegistered = [] {
    AddFrameStartHandler([](bool) {
        SetLastRenderedAttributes(nullptr);
        SetLastRenderedMaterial(nullptr);
    });
    return true;
}();

} // namespace

} // namespace orn
