#include <orn/state/TOrnClip.h>

#include <orn/scene/TOrnRegistry.h>

namespace orn {

double TOrnClip::GetPlane(int index) const {
    return index >= 0 && index < 4 ? fPlane[index] : -1.0;
}

void TOrnClip::SetPlane(int index, double value) {
    if (index >= 0 && index < 4) fPlane[index] = value;
}

// The inherited DoRender is not called: the plane needs nothing of it.
void TOrnClip::DoRender(TOrnCustomView*) {
    glClipPlane(GetPlaneID(), fPlane.data());
    glEnable(GetPlaneID());
}

void TOrnClip::DoDisable(TOrnCustomView*) {
    glDisable(GetPlaneID());
}

void TOrnClip::WriteValues(TOrnCustomExchange& exchange) {
    TOrnRender::WriteValues(exchange);
    exchange.WriteEnum("ID", fID, -1, kClipIdNames);
    exchange.WriteFloat("x", fPlane[0], 1.0);
    exchange.WriteFloat("y", fPlane[1], 0.0);
    exchange.WriteFloat("z", fPlane[2], 0.0);
    exchange.WriteFloat("w", fPlane[3], 1.0);
}

void TOrnClip::ReadValues(TOrnCustomExchange& exchange) {
    TOrnRender::ReadValues(exchange);
    SetID(static_cast<TOrnClipIds>(exchange.ReadEnum("ID", fID, kClipIdNames)));
    static constexpr const char* kKeys[4] = {"x", "y", "z", "w"};
    for (int i = 0; i < 4; ++i)
        SetPlane(i, exchange.ReadFloat(kKeys[i], fPlane[i]));
}

ORN_REGISTER_RENDER_CLASS(TOrnClip, "Orn")

} // namespace orn
