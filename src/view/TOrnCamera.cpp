#include <orn/view/TOrnCamera.h>

#include <orn/host/TComponentClass.h>

#include <GL/gl.h>
#include <GL/glu.h>

#include <algorithm>
#include <cmath>

namespace orn {

ORN_REGISTER_COMPONENT(TOrnPerspectiveCamera, "Orn")
ORN_REGISTER_COMPONENT(TOrnOrthographicCamera, "Orn")

namespace {

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

// The planes are copied as described; the pair the projection falls back on goes with them.
void TOrnCamera::Assign(const TPersistent* source) {
    TOrnTransformed::Assign(source);
    if (auto* c = dynamic_cast<const TOrnCamera*>(source)) {
        fValidNear = c->fValidNear;
        fValidFar = c->fValidFar;
    }
}

void TOrnPerspectiveCamera::SetViewAngle(float value) {
    if (!(value > 0.0f && value < 180.0f)) return;
    if (assignIfChanged(fViewAngle, value)) Changed();
}

void TOrnPerspectiveCamera::Adjust(int width, int height) {
    gluPerspective(fViewAngle, Aspect(width, height), ProjectionNear(), ProjectionFar());
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

ORN_DESCRIBE_PROPERTIES(TOrnCamera, &TOrnTransformed::ClassProperties()) {
    ORN_PROP(b, TOrnCamera, ViewNear, 0.1f);
    ORN_PROP(b, TOrnCamera, ViewFar, 10.0f);
}

ORN_DESCRIBE_PROPERTIES(TOrnPerspectiveCamera, &TOrnCamera::ClassProperties()) {
    ORN_PROP(b, TOrnPerspectiveCamera, ViewAngle, 45.0f);
}

ORN_DESCRIBE_PROPERTIES(TOrnOrthographicCamera, &TOrnCamera::ClassProperties()) {
    ORN_PROP(b, TOrnOrthographicCamera, ViewWidth, 2.0f);
    ORN_PROP(b, TOrnOrthographicCamera, ViewHeight, 2.0f);
}

} // namespace orn
