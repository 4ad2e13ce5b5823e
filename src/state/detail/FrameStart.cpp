// Resets the shared render state at the start of every frame the views draw.

#include <orn/scene/TOrnCustomView.h>
#include <orn/state/TOrnAttributes.h>
#include <orn/state/TOrnMaterial.h>
#include <orn/state/TOrnTexture.h>

namespace orn {

namespace {

[[maybe_unused]] const bool kFrameStartRegistered = [] {
    AddFrameStartHandler([](bool forBitmap) {
        SetLastRenderedAttributes(nullptr);
        SetLastRenderedMaterial(nullptr);
        RedrawTextures();
        // A bitmap's context holds none of the uploaded images.
        if (forBitmap) InvalidateTextures();
    });
    return true;
}();

} // namespace

} // namespace orn
