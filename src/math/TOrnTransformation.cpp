#include <orn/math/TOrnTransformation.h>

#include <GL/gl.h>

#include <cmath>
#include <cstdint>
#include <strings.h>

namespace orn {

// --- TOrnRotation ---

void TOrnRotation::SetOrder(TOrnRotationOrder value) {
    if (assignIfChanged(fOrder, value)) Changed();
}

void TOrnRotation::SetAngle(float& field, float value) {
    if (field == value) return;
    field = ModAngle(value);
    Changed();
}

void TOrnRotation::SetX(float value) {
    SetAngle(fX, value);
}
void TOrnRotation::SetY(float value) {
    SetAngle(fY, value);
}
void TOrnRotation::SetZ(float value) {
    SetAngle(fZ, value);
}

float TOrnRotation::ModAngle(float a) const {
    // Beyond the 64-bit range (a scene file may hold such angles) the rounding below would overflow;
    // there every float is whole and fmod gives the same truncated remainder exactly.
    if (!(std::fabs(a) < 9.0e18f)) {
        if (!std::isfinite(a)) return 0.0f;
        const double m = std::fmod(double(a), 360.0);
        return static_cast<float>(m >= 0 ? m : m + 360);
    }
    // n is a − 0.5 rounded half to even; the remainder then uses truncating division.
    const auto n = static_cast<std::int64_t>(std::nearbyint(double(a) - 0.5));
    const double r = double(a) - double((n / 360) * 360);
    return static_cast<float>(r >= 0 ? r : r + 360);
}

bool TOrnRotation::GetEmpty() const {
    return fX == 0 && fY == 0 && fZ == 0;
}

void TOrnRotation::Execute() const {
    if (GetEmpty()) return;
    static constexpr char kAxes[6][4] = {"xyz", "xzy", "yxz", "yzx", "zxy", "zyx"};
    if (fOrder < roXYZ || fOrder > roZYX) return;
    for (const char* axis = kAxes[fOrder]; *axis; ++axis)
        switch (*axis) {
        case 'x':
            glRotatef(fX, 1, 0, 0);
            break;
        case 'y':
            glRotatef(fY, 0, 1, 0);
            break;
        default:
            glRotatef(fZ, 0, 0, 1);
            break;
        }
}

void TOrnRotation::Assign(const TPersistent* source) {
    TOrnVector::Assign(source);
    if (auto* r = dynamic_cast<const TOrnRotation*>(source)) SetOrder(r->fOrder);
}

// --- TOrnScale, TOrnTranslation ---

bool TOrnScale::GetEmpty() const {
    return fX == 1 && fY == 1 && fZ == 1;
}

void TOrnScale::Execute() const {
    if (!GetEmpty()) glScalef(fX, fY, fZ);
}

bool TOrnTranslation::GetEmpty() const {
    return fX == 0 && fY == 0 && fZ == 0;
}

void TOrnTranslation::Execute() const {
    if (!GetEmpty()) glTranslatef(fX, fY, fZ);
}

// --- TOrnTransformation ---

TOrnTransformation::TOrnTransformation()
    : fRotation(std::make_unique<TOrnRotation>()), fScale(std::make_unique<TOrnScale>()),
      fTranslation(std::make_unique<TOrnTranslation>()) {
    auto handler = [this](TObject* sender) { SubChange(sender); };
    fRotation->OnChange = handler;
    fScale->OnChange = handler;
    fTranslation->OnChange = handler;
}

void TOrnTransformation::SubChange(TObject*) {
    Changed();
}

void TOrnTransformation::SetRotation(const TOrnRotation* value) {
    if (!value) return;
    fRotation->Assign(value);
    Changed();
}

void TOrnTransformation::SetScale(const TOrnScale* value) {
    if (!value) return;
    fScale->Assign(value);
    Changed();
}

void TOrnTransformation::SetTranslation(const TOrnTranslation* value) {
    if (!value) return;
    fTranslation->Assign(value);
    Changed();
}

void TOrnTransformation::SetOrder(TOrnTransformationOrder value) {
    if (assignIfChanged(fOrder, value)) Changed();
}

bool TOrnTransformation::GetEmpty() const {
    return fRotation->GetEmpty() && fScale->GetEmpty() && fTranslation->GetEmpty();
}

void TOrnTransformation::Execute() const {
    if (GetEmpty() || fOrder < toRotTraSca || fOrder > toScaTraRot) return;
    // R = rotation, T = translation, S = scale, in the order the name gives.
    static constexpr char kSteps[6][4] = {"RTS", "RST", "TRS", "TSR", "SRT", "STR"};
    for (const char* step = kSteps[fOrder]; *step; ++step)
        switch (*step) {
        case 'R':
            fRotation->Execute();
            break;
        case 'T':
            fTranslation->Execute();
            break;
        default:
            fScale->Execute();
            break;
        }
}

void TOrnTransformation::Assign(const TPersistent* source) {
    auto* t = dynamic_cast<const TOrnTransformation*>(source);
    if (!t) return;
    fRotation->Assign(t->fRotation.get());
    fScale->Assign(t->fScale.get());
    fTranslation->Assign(t->fTranslation.get());
}

ORN_DESCRIBE_PROPERTIES(TOrnRotation, &TOrnVector::ClassProperties()) {
    b.Enum("Order", &TOrnRotation::fOrder, &TOrnRotation::SetOrder, roXYZ, kRotationOrderNames);
}

ORN_DESCRIBE_PROPERTIES(TOrnTransformation, nullptr) {
    // Assign leaves the order on purpose.
    b.Enum("Order", &TOrnTransformation::fOrder, &TOrnTransformation::SetOrder, toRotTraSca,
           kTransformationOrderNames)
        .flags = pfNoAssign;
    b.Object("Translation", &TOrnTransformation::fTranslation);
    b.Object("Rotation", &TOrnTransformation::fRotation);
    b.Object("Scale", &TOrnTransformation::fScale);
}

} // namespace orn
