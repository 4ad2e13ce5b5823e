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

void TOrnLine::Assign(const TPersistent* source) {
    if (auto* line = dynamic_cast<const TOrnLine*>(source)) fLength = line->fLength;
    TOrnPrimitiveObj::Assign(source);
}

void TOrnLine::WriteValues(TOrnCustomExchange& exchange) {
    exchange.WriteFloat("Length", fLength, 1.0);
    TOrnPrimitiveObj::WriteValues(exchange);
}

void TOrnLine::ReadValues(TOrnCustomExchange& exchange) {
    TOrnPrimitiveObj::ReadValues(exchange);
    SetLength(static_cast<float>(exchange.ReadFloat("Length", fLength)));
}

} // namespace orn
