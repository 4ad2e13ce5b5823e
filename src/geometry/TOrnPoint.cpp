#include <orn/geometry/TOrnPoint.h>
#include <orn/scene/TOrnRegistry.h>

namespace orn {

ORN_REGISTER_RENDER_CLASS(TOrnPoint, "Orn Obj")

void TOrnPoint::InitPoints() {
    fPoints->Add({0, 0, 0}, {0, 0, 1}, {0, 0, 0});
}

void TOrnPoint::InitPrimitives() {
    AddIndex(0, AddPrimitiveArray(GL_POINTS));
}

} // namespace orn
