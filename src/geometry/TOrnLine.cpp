#include <orn/geometry/TOrnLine.h>
#include <orn/scene/TOrnRegistry.h>

namespace orn {

ORN_REGISTER_RENDER_CLASS(TOrnLine, "Orn Obj")

void TOrnLine::SetLength(float value) {
    if (assignIfChanged(fLength, value)) Invalidate();
}

void TOrnLine::InitPoints() {
    fPoints->Add({0, 0, 0}, {0, 0, 1}, {0, 0, 0});
    fPoints->Add({0, 0, fLength}, {0, 0, 1}, {0, 1, 0});
}

void TOrnLine::InitPrimitives() {
    const int list = AddPrimitiveArray(GL_LINES);
    AddIndex(0, list);
    AddIndex(1, list);
}

ORN_DESCRIBE_PROPERTIES(TOrnLine, &TOrnPrimitiveObj::ClassProperties()) {
    ORN_PROP(b, TOrnLine, Length, 1.0);
}

} // namespace orn
