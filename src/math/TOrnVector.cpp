#include <orn/math/TOrnVector.h>

namespace orn {

void TOrnVector::SetX(float value) {
    if (assignIfChanged(fX, value)) Changed();
}

void TOrnVector::SetY(float value) {
    if (assignIfChanged(fY, value)) Changed();
}

void TOrnVector::SetZ(float value) {
    if (assignIfChanged(fZ, value)) Changed();
}

void TOrnVector::SetValues(float x, float y, float z) {
    SetX(x);
    SetY(y);
    SetZ(z);
}

TOrnMathVector TOrnVector::GetAsMathVector() const {
    return {fX, fY, fZ};
}

void TOrnVector::SetAsMathVector(const TOrnMathVector& v) {
    SetValues(static_cast<float>(v.x), static_cast<float>(v.y), static_cast<float>(v.z));
}

void TOrnVector::Assign(const TPersistent* source) {
    auto* v = dynamic_cast<const TOrnVector*>(source);
    if (!v) return;
    fX = v->fX;
    fY = v->fY;
    fZ = v->fZ;
    Changed();
}

namespace {

bool inUnitRange(float v) {
    return v >= -1.0f && v <= 1.0f;
}

} // namespace

void TOrnDirection::SetX(float value) {
    if (inUnitRange(value)) TOrnVector::SetX(value);
}

void TOrnDirection::SetY(float value) {
    if (inUnitRange(value)) TOrnVector::SetY(value);
}

void TOrnDirection::SetZ(float value) {
    if (inUnitRange(value)) TOrnVector::SetZ(value);
}

void TOrnNormal::Normalize() {
    TOrnMathVector v = AsMathVector();
    OrnMathNormalize(v);
    SetAsMathVector(v);
}

ORN_DESCRIBE_PROPERTIES(TOrnVector, nullptr) {
    TOrnPropInfo& p = b.Access<TOrnMathVector>(
        "P", [](const TOrnVector& v) { return v.AsMathVector(); },
        [](TOrnVector& v, TOrnMathVector value) { v.SetAsMathVector(value); }, {});
    p.flags |= pfSingle;
    p.defOf = [](const TOrnExchangeItem& i) {
        return TOrnPropValue(dynamic_cast<const TOrnVector&>(i).DefaultP());
    };
}

} // namespace orn
