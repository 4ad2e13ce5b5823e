#pragma once

#include <orn/math/TOrnPropList.h>
#include <orn/scene/TOrnComponent.h>
#include <orn/scene/TOrnCustomView.h>

#include <GL/gl.h>

namespace orn {

class TOrnCustomNode;

/// A component that renders: enabled or not, a member of a node, optionally cached in a display
/// list of the first view that renders it, with events before and after, and optionally
/// capturing its model-view matrix.
class TOrnRender : public TOrnTransformed {
    ORN_CLASS(TOrnRender)
public:
    explicit TOrnRender(TComponent* owner);
    ~TOrnRender() override;

    bool Enabled() const { return fEnabled; }
    void SetEnabled(bool value);
    bool Cached() const { return fCached; }
    /// false deletes the list now; true compiles one at the next render.
    virtual void SetCached(bool value);
    TOrnCustomNode* Node() const { return fNode; }
    /// Leaves the present node (unless it is value) and joins value through its Add.
    void SetNode(TOrnCustomNode* value);
    /// Used by nodes only: leaves the present node and stores value.
    void SetNodeDirect(TOrnCustomNode* value);
    TOrnCustomView* View() const { return fView; }
    /// The view whose context holds the display list; a new view drops the old list.
    virtual void SetView(TOrnCustomView* value);
    GLuint ListId() const { return fListId; }
    bool ProjectionEnabled() const { return fProjectionEnabled; }
    /// Capture the model-view matrix (own transformation included) on every render.
    void SetProjectionEnabled(bool value);
    TOrnMatrix* ProjectionMatrix() const { return fProjectionMatrix.get(); }

    /// When assigned, runs instead of the transformation.
    TNotifyEvent OnTransform;
    TOrnRenderEvent OnBeforeRender;
    TOrnRenderEvent OnAfterRender;

    /// Renders into view: only DoDisable when disabled; else the transformation, the events and
    /// DoRender (or its display list) inside glPushMatrix/glPopMatrix.
    virtual void Render(TOrnCustomView* view);
    virtual void Disable(TOrnCustomView* view);
    bool IsMyView(const TOrnCustomView* view) const { return view && view == fView; }
    /// Deletes the display list, making the view's context current for it if need be.
    void ClearCache();

    /// v from render's local coordinates into this component's (both must capture their matrix);
    /// the zero vector otherwise.
    virtual TOrnMathVector ProjectVector(const TOrnRender* render, const TOrnMathVector& v) const;
    /// v from the camera coordinates of view into this component's; the zero vector without both
    /// matrices.
    virtual TOrnMathVector ProjectVector(const TOrnCustomView* view, const TOrnMathVector& v) const;

    void Notification(TComponent* component, TOperation operation) override;
    void Assign(const TPersistent* source) override;
    ORN_DECLARE_PROPERTIES(TOrnRender)

protected:
    virtual void BeforeRender(TOrnCustomView* view);
    /// The component's own GL calls; what a display list holds.
    virtual void DoRender(TOrnCustomView* view);
    virtual void AfterRender(TOrnCustomView* view);
    /// Switches off what the component switches on, when it is disabled.
    virtual void DoDisable(TOrnCustomView* view);

    void OpenCache();
    void CloseCache();
    void CallCache();

private:
    bool fEnabled = true;
    TOrnCustomView* fView = nullptr;
    GLuint fListId = 0;
    bool fCached = false;
    TOrnCustomNode* fNode = nullptr;
    std::unique_ptr<TOrnMatrix> fProjectionMatrix;
    bool fProjectionEnabled = false;
};

/// A render component that holds others.
class TOrnCustomNode : public TOrnRender {
    ORN_CLASS(TOrnCustomNode)
public:
    using TOrnRender::TOrnRender;
    /// Takes item out; its index, or −1 when it was not held.
    virtual int Remove(TOrnRender* item) = 0;
    /// Appends item; its index.
    virtual int Add(TOrnRender* item) = 0;
};

} // namespace orn
