#pragma once

#include <orn/math/TOrnBounds.h>
#include <orn/math/TOrnPropList.h>
#include <orn/scene/TOrnComponent.h>
#include <orn/scene/TOrnCustomView.h>

#include <GL/gl.h>

namespace orn {

class TOrnCustomNode;

/// A component that renders: enabled or not, a member of a node, optionally cached in a display
/// list, with events before and after, and optionally capturing its model-view matrix.
///
/// A cached component keeps one display list, in the share group of the context it was compiled
/// in: a render in a context of that group calls it, a render in another group draws directly,
/// and when the group's last context is gone the list is forgotten and the next render compiles
/// anew. Any change of the component drops the list, except a change of its transformation,
/// which the list does not hold.
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
    /// The display list's name, 0 while there is none (or its contexts are gone).
    GLuint ListId() const;
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
    /// Deletes the display list, making the view's context current for it if need be; when no
    /// context of the list's group can be had, it goes at the group's next frame.
    void ClearCache();
    /// Drops the display list, then notifies the owner.
    void Changed() override;
    /// A change of an owned value object; one of the transformation keeps the list.
    void SubChange(TObject* sender) override;
    /// For state components that send their block once per frame: the stamp of their present
    /// values (see TOrnRenderState); 0 for components that hold no such state.
    virtual std::uint64_t Stamp() const { return 0; }

    /// Adds to bounds the box that holds what this component draws, in its own coordinates (its
    /// transformation not applied), without drawing or making display lists; false when it draws
    /// nothing that has a place. Linear in the items below a node.
    virtual bool GetBounds(TOrnBounds& bounds);

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

    /// What the list depends on besides the component's own values (the stamps of the state
    /// components it renders): a list compiled under another value is compiled again.
    virtual std::uint64_t ContentStamp() const { return 0; }

private:
    /// Calls, compiles or bypasses the display list for a render in state.
    void RenderCached(TOrnCustomView* view, TOrnRenderState& state);
    void CompileList(TOrnCustomView* view, TOrnRenderState& state);
    /// Forgets a list whose group is gone.
    bool HasLiveList() const;

    bool fEnabled = true;
    TOrnCustomView* fView = nullptr;
    GLuint fListId = 0;
    std::weak_ptr<TOrnShareGroup> fListGroup;
    const TOrnShareGroup* fListGroupAddress = nullptr; // compared before the group is locked
    TOrnAppliedStamps fListLeaves{};
    std::uint64_t fListContent = 0;
    bool fCompiling = false;
    bool fChangedWhileCompiling = false;
    bool fKeepList = false; // while the transformation reports a change
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
