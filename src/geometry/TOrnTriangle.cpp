#include <orn/geometry/TOrnTriangle.h>
#include <orn/scene/TOrnRegistry.h>

namespace orn {

ORN_REGISTER_RENDER_CLASS(TOrnTriangle, "Orn Obj")

void TOrnTriangle::SetBase(float value) {
    if (assignIfChanged(fBase, value)) Invalidate();
}

void TOrnTriangle::SetHeight(float value) {
    if (assignIfChanged(fHeight, value)) Invalidate();
}

void TOrnTriangle::InitPoints() {
    const TOrnTextureFlags& f = *TextureFlags();
    const TOrnMathVector up{0, 1, 0};
    fPoints->Add({0, 0, 0}, up, {0.5 * f.ScaleX() + f.ShiftX(), f.ScaleY() + f.ShiftY(), 0});
    fPoints->Add({-fBase / 2.0, 0, fHeight}, up, {f.ShiftX(), f.ShiftY(), 0});
    fPoints->Add({fBase / 2.0, 0, fHeight}, up, {f.ShiftX() + f.ScaleX(), f.ShiftY(), 0});
}

void TOrnTriangle::InitPrimitives() {
    const int list = AddPrimitiveArray(GL_TRIANGLES);
    for (std::uint32_t i = 0; i < 3; ++i)
        AddIndex(i, list);
}

ORN_DESCRIBE_PROPERTIES(TOrnTriangle, &TOrnPrimitiveObj::ClassProperties()) {
    ORN_PROP(b, TOrnTriangle, Base, 1.0);
    ORN_PROP(b, TOrnTriangle, Height, 1.0);
}

} // namespace orn
