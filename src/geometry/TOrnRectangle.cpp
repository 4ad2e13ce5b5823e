#include <orn/geometry/TOrnRectangle.h>
#include <orn/scene/TOrnRegistry.h>

namespace orn {

ORN_REGISTER_RENDER_CLASS(TOrnRectangle, "Orn Obj")

void TOrnRectangle::SetWidth(float value) {
    if (assignIfChanged(fWidth, value)) Invalidate();
}

void TOrnRectangle::SetHeight(float value) {
    if (assignIfChanged(fHeight, value)) Invalidate();
}

void TOrnRectangle::SetDetX(int value) {
    if (IsValidDetail(value) && assignIfChanged(fDetailX, value)) Invalidate();
}

void TOrnRectangle::SetDetY(int value) {
    if (IsValidDetail(value) && assignIfChanged(fDetailY, value)) Invalidate();
}

void TOrnRectangle::InitPoints() {
    const TOrnTextureFlags& f = *TextureFlags();
    CheckBuildSize((std::int64_t{fDetailX} + 1) * (std::int64_t{fDetailY} + 1), "Rectangle");
    fPoints->SetSize((fDetailX + 1) * (fDetailY + 1));
    for (int j = 0; j <= fDetailY; ++j) {
        const double v = static_cast<double>(j) / fDetailY;
        for (int i = 0; i <= fDetailX; ++i) {
            const double u = static_cast<double>(i) / fDetailX;
            // Centred in x but running from z = Height down to 0: kept as the shape always was.
            fPoints->Add({u * fWidth - fWidth / 2.0, 0, fHeight - v * fHeight}, {0, 1, 0},
                         {u * f.ScaleX() + f.ShiftX(), v * f.ScaleY() + f.ShiftY(), 0});
        }
    }
}

void TOrnRectangle::InitPrimitives() {
    const auto row = static_cast<std::uint32_t>(fDetailX + 1);
    for (int j = 0; j < fDetailY; ++j) {
        const int list = AddPrimitiveArray(GL_QUAD_STRIP);
        for (int i = 0; i <= fDetailX; ++i) {
            AddIndex((j + 1) * row + i, list);
            AddIndex(j * row + i, list);
        }
    }
}

ORN_DESCRIBE_PROPERTIES(TOrnRectangle, &TOrnPrimitiveObj::ClassProperties()) {
    ORN_PROP(b, TOrnRectangle, Width, 1.0);
    ORN_PROP(b, TOrnRectangle, Height, 1.0);
    b.Value("DetailX", &TOrnRectangle::fDetailX, &TOrnRectangle::SetDetX, 1);
    b.Value("DetailY", &TOrnRectangle::fDetailY, &TOrnRectangle::SetDetY, 1);
}

} // namespace orn
