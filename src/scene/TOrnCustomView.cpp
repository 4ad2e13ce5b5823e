#include <orn/scene/TOrnCustomView.h>

#include <vector>

namespace orn {

namespace {

std::vector<std::function<void(bool)>>& frameStartHandlers() {
    static std::vector<std::function<void(bool)>> handlers;
    return handlers;
}

} // namespace

void AddFrameStartHandler(std::function<void(bool forBitmap)> handler) {
    frameStartHandlers().push_back(std::move(handler));
}

void NotifyFrameStart(bool forBitmap) {
    for (auto& h : frameStartHandlers()) h(forBitmap);
}

} // namespace orn
