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

ORN_REGISTER_RENDER_CLASS(TOrnClip, "Orn")

// Assign copies none of these.
ORN_DESCRIBE_PROPERTIES(TOrnClip, &TOrnRender::ClassProperties()) {
    b.Enum("ID", &TOrnClip::fID, &TOrnClip::SetID, idClipPlane0, kClipIdNames).flags = pfNoAssign;
    b.Access<double>(
         "x", [](const TOrnClip& c) { return c.x(); }, [](TOrnClip& c, double v) { c.Setx(v); }, 1.0)
        .flags = pfNoAssign;
    b.Access<double>(
         "y", [](const TOrnClip& c) { return c.y(); }, [](TOrnClip& c, double v) { c.Sety(v); }, 0.0)
        .flags = pfNoAssign;
    b.Access<double>(
         "z", [](const TOrnClip& c) { return c.z(); }, [](TOrnClip& c, double v) { c.Setz(v); }, 0.0)
        .flags = pfNoAssign;
    b.Access<double>(
         "w", [](const TOrnClip& c) { return c.w(); }, [](TOrnClip& c, double v) { c.Setw(v); }, 1.0)
        .flags = pfNoAssign;
}

} // namespace orn
