#include <orn/geometry/TOrnTextureFlags.h>

#include <strings.h>

namespace orn {

const char* const kTextureModeNames[8] = {"txStandard", "txLinearX",  "txLinearY",  "txLinearZ",
                                          "txLinearXY", "txLinearYZ", "txLinearZX", "txSphereZ"};

TOrnTextureFlags::TOrnTextureFlags() : fParamVector(std::make_unique<TOrnVector>()) {
    fParamVector->OnChange = [this](TObject*) { Changed(); };
}

void TOrnTextureFlags::SetMode(TOrnTextureMode value) {
    if (value < txStandard || value > txSphereZ) return;
    if (assignIfChanged(fMode, value)) Changed();
}

void TOrnTextureFlags::SetShiftY(double value) {
    if (assignIfChanged(fShiftY, value)) Changed();
}

void TOrnTextureFlags::SetShiftX(double value) {
    if (assignIfChanged(fShiftX, value)) Changed();
}

void TOrnTextureFlags::SetScaleX(double value) {
    if (assignIfChanged(fScaleX, value)) Changed();
}

void TOrnTextureFlags::SetScaleY(double value) {
    if (assignIfChanged(fScaleY, value)) Changed();
}

void TOrnTextureFlags::SetParamVec(const TOrnVector* value) {
    if (value) fParamVector->Assign(value);
}

TOrnMathVector TOrnTextureFlags::Apply(const TOrnMathVector& p, const TOrnMathVector& current) const {
    auto s = [this](double v) { return v * fScaleX + fShiftX; };
    auto t = [this](double v) { return v * fScaleY + fShiftY; };
    switch (fMode) {
    case txLinearX:
        return {s(p.x), 0, 0};
    case txLinearY:
        return {s(p.y), 0, 0};
    case txLinearZ:
        return {s(p.z), 0, 0};
    case txLinearXY:
        return {s(p.x), t(p.y), 0};
    case txLinearYZ:
        return {s(p.y), t(p.z), 0};
    case txLinearZX:
        return {s(p.z), t(p.x), 0};
    case txSphereZ:
        return {s(OrnMathVectorDist(p, fParamVector->AsMathVector())), 0, 0};
    case txStandard:
        break;
    }
    return current;
}

void TOrnTextureFlags::Assign(const TPersistent* source) {
    if (AssignProperties(source)) Changed();
}

ORN_DESCRIBE_PROPERTIES(TOrnTextureFlags, nullptr) {
    ORN_PROP(b, TOrnTextureFlags, ShiftY, 0.0);
    ORN_PROP(b, TOrnTextureFlags, ScaleY, 1.0);
    ORN_PROP(b, TOrnTextureFlags, ShiftX, 0.0);
    ORN_PROP(b, TOrnTextureFlags, ScaleX, 1.0);
    b.Enum("Mode", &TOrnTextureFlags::fMode, &TOrnTextureFlags::SetMode, txStandard, kTextureModeNames);
    b.Object("ParamVector", &TOrnTextureFlags::fParamVector);
}

} // namespace orn
