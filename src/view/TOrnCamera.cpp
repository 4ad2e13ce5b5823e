#include <orn/view/TOrnCamera.h>

#include <orn/host/TComponentClass.h>

#include <GL/gl.h>
#include <GL/glu.h>

#include <algorithm>
#include <cmath>

namespace orn {

namespace {

[[maybe_unused]] const bool kRegistered = [] {
    RegisterComponents("Orn", {ClassOf<TOrnPerspectiveCamera>(), ClassOf<TOrnOrthographicCamera>()});
    return true;
}();

// A window that has collapsed to nothing still gets a projection, of one pixel.
double Aspect(int width, int height) {
    return static_cast<double>(std::max(width, 1)) / static_cast<double>(std::max(height, 1));
}

} // namespace

TOrnCamera::TOrnCamera(TComponent* owner) : TOrnTransformed(owner), fMatrix(std::make_unique<TOrnMatrix>()) {
    Transformation()->Translation()->SetValues(0.0f, 0.0f, -2.0f);
}

void TOrnCamera::SetViewNear(float value) {
    if (value > 0.0f && std::isfinite(value) && assignIfChanged(fViewNear, value)) PlanesChanged();
}

void TOrnCamera::SetViewFar(float value) {
    if (value > 0.0f && std::isfinite(value) && assignIfChanged(fViewFar, value)) PlanesChanged();
}

void TOrnCamera::PlanesChanged() {
    if (fViewNear < fViewFar) {
        fValidNear = fViewNear;
        fValidFar = fViewFar;
    }
    Changed();
}

void TOrnCamera::Adjust(int, int) {}

void TOrnCamera::Assign(const TPersistent* source) {
    if (auto* c = dynamic_cast<const TOrnCamera*>(source)) {
        fViewNear = c->fViewNear;
        fViewFar = c->fViewFar;
        fValidNear = c->fValidNear;
        fValidFar = c->fValidFar;
    }
    TOrnTransformed::Assign(source);
}

void TOrnCamera::ReadValues(TOrnCustomExchange& exchange) {
    TOrnTransformed::ReadValues(exchange);
    const auto nearValue = static_cast<float>(exchange.ReadFloat("ViewNear", fViewNear));
    const auto farValue = static_cast<float>(exchange.ReadFloat("ViewFar", fViewFar));
    // Each setter checks against the other plane, so move the one that makes room first.
    if (nearValue >= fViewFar) {
        SetViewFar(farValue);
        SetViewNear(nearValue);
    } else {
        SetViewNear(nearValue);
        SetViewFar(farValue);
    }
}

void TOrnPerspectiveCamera::SetViewAngle(float value) {
    if (!(value > 0.0f && value < 180.0f)) return;
    if (assignIfChanged(fViewAngle, value)) Changed();
}

void TOrnPerspectiveCamera::Adjust(int width, int height) {
    gluPerspective(fViewAngle, Aspect(width, height), ProjectionNear(), ProjectionFar());
}

void TOrnPerspectiveCamera::Assign(const TPersistent* source) {
    if (auto* c = dynamic_cast<const TOrnPerspectiveCamera*>(source)) fViewAngle = c->fViewAngle;
    TOrnCamera::Assign(source);
}

void TOrnOrthographicCamera::SetViewWidth(float value) {
    if (!(value > 0.0f)) return;
    if (assignIfChanged(fViewWidth, value)) Changed();
}

void TOrnOrthographicCamera::SetViewHeight(float value) {
    if (!(value > 0.0f)) return;
    if (assignIfChanged(fViewHeight, value)) Changed();
}

void TOrnOrthographicCamera::Adjust(int width, int height) {
    const double halfWidth = Aspect(width, height) * fViewWidth / 2.0;
    const double halfHeight = fViewHeight / 2.0;
    glOrtho(-halfWidth, halfWidth, -halfHeight, halfHeight, ProjectionNear(), ProjectionFar());
}

void TOrnOrthographicCamera::Assign(const TPersistent* source) {
    if (auto* c = dynamic_cast<const TOrnOrthographicCamera*>(source)) {
        fViewWidth = c->fViewWidth;
        fViewHeight = c->fViewHeight;
    }
    TOrnCamera::Assign(source);
}

ORN_DESCRIBE_PROPERTIES(TOrnCamera, &TOrnTransformed::ClassProperties()) {
    // Read by hand: each plane's setter checks against the other one.
    ORN_PROP(b, TOrnCamera, ViewNear, 0.1f).flags = pfNoRead;
    ORN_PROP(b, TOrnCamera, ViewFar, 10.0f).flags = pfNoRead;
}

ORN_DESCRIBE_PROPERTIES(TOrnPerspectiveCamera, &TOrnCamera::ClassProperties()) {
    ORN_PROP(b, TOrnPerspectiveCamera, ViewAngle, 45.0f);
}

ORN_DESCRIBE_PROPERTIES(TOrnOrthographicCamera, &TOrnCamera::ClassProperties()) {
    ORN_PROP(b, TOrnOrthographicCamera, ViewWidth, 2.0f);
    ORN_PROP(b, TOrnOrthographicCamera, ViewHeight, 2.0f);
}

} // namespace orn
