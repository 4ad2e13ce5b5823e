#pragma once

#include <orn/math/TOrnMatrix.h>
#include <orn/math/TOrnPropList.h>
#include <orn/scene/TOrnComponent.h>

#include <memory>

namespace orn {

/// The projection of a view: near and far clipping distances and the viewer's placement (its
/// Transformation). A new camera stands two units in front of the origin and sees depths 0.1 … 10.
/// The view it is assigned to applies it; the camera draws nothing.
class TOrnCamera : public TOrnTransformed {
    ORN_CLASS(TOrnCamera)
public:
    explicit TOrnCamera(TComponent* owner);

    float ViewNear() const { return fViewNear; }
    /// Ignored unless value > 0. The planes may be set in either order: while near ≥ far the
    /// projection keeps the last pair that was valid.
    void SetViewNear(float value);
    float ViewFar() const { return fViewFar; }
    /// Ignored unless value > 0 (see SetViewNear).
    void SetViewFar(float value);
    /// The planes the projection uses: ViewNear and ViewFar when near < far, else the last valid
    /// pair.
    float ProjectionNear() const { return fViewNear < fViewFar ? fViewNear : fValidNear; }
    float ProjectionFar() const { return fViewNear < fViewFar ? fViewFar : fValidFar; }
    /// The model-view matrix the view captures after applying the camera at each render.
    TOrnMatrix* Matrix() const { return fMatrix.get(); }

    /// Sets the projection for a width × height viewport on the current matrix; sizes below 1
    /// count as 1. The base camera sets none.
    virtual void Adjust(int width, int height);
    void Assign(const TPersistent* source) override;

    ORN_DECLARE_PROPERTIES(TOrnCamera)

private:
    /// Keeps the last valid pair and notifies.
    void PlanesChanged();
    float fViewNear = 0.1f;
    float fViewFar = 10.0f;
    float fValidNear = 0.1f;
    float fValidFar = 10.0f;
    std::unique_ptr<TOrnMatrix> fMatrix;
};

/// A perspective camera with a vertical field of view.
class TOrnPerspectiveCamera : public TOrnCamera {
    ORN_CLASS(TOrnPerspectiveCamera)
public:
    explicit TOrnPerspectiveCamera(TComponent* owner) : TOrnCamera(owner) {}

    /// Degrees, vertical; ignored unless 0 < value < 180.
    float ViewAngle() const { return fViewAngle; }
    void SetViewAngle(float value);

    /// gluPerspective(ViewAngle, width / height, ViewNear, ViewFar).
    void Adjust(int width, int height) override;
    ORN_DECLARE_PROPERTIES(TOrnPerspectiveCamera)

private:
    float fViewAngle = 45.0f;
};

/// An orthographic camera: the visible height is always ViewHeight; the width is ViewWidth
/// stretched by the window's aspect ratio, so resizing never changes the height.
class TOrnOrthographicCamera : public TOrnCamera {
    ORN_CLASS(TOrnOrthographicCamera)
public:
    explicit TOrnOrthographicCamera(TComponent* owner) : TOrnCamera(owner) {}

    /// Scene units; ignored unless positive.
    float ViewWidth() const { return fViewWidth; }
    void SetViewWidth(float value);
    float ViewHeight() const { return fViewHeight; }
    void SetViewHeight(float value);

    void Adjust(int width, int height) override;
    ORN_DECLARE_PROPERTIES(TOrnOrthographicCamera)

private:
    float fViewWidth = 2.0f;
    float fViewHeight = 2.0f;
};

} // namespace orn
