#pragma once

#include <orn/host/TComponent.h>
#include <orn/math/TOrnMatrix.h>
#include <orn/scene/TOrnRenderState.h>

#include <functional>
#include <memory>
#include <vector>

namespace orn {

class TOrnCustomNode;

/// What a view is drawing for: the window, a bitmap, picking (selection, pick), or names only.
enum TOrnDrawMode { dmWindow, dmBitmap, dmSelection, dmPick, dmNothing };

/// Whether objects push selection names in this draw mode.
constexpr bool IsNamingDrawMode(TOrnDrawMode mode) { return mode >= dmSelection && mode <= dmNothing; }

/// What the render chain needs of a view: its context made current and released, the draw mode,
/// the selection names it hands out, the camera matrix it captured and the render state of the
/// context it draws in. TOrnView implements it.
///
/// A view's destructor must call SendRemoveNotifications() first: components that cached display
/// lists in its context delete them in their Notification, through GetCurrent/SetCurrent.
class TOrnCustomView : public TComponent {
    ORN_CLASS(TOrnCustomView)
public:
    using TComponent::TComponent;

    /// Whether the view's context is the current one.
    virtual bool GetCurrent() const = 0;
    /// Makes the view's context current (true) or releases it (false); failures are silent.
    virtual void SetCurrent(bool value) = 0;
    virtual TOrnDrawMode DrawMode() const = 0;
    /// The next selection name of this render (1, 2, 3 … in render order); index is the index
    /// list of object, or −1 for the object as a whole.
    virtual int GetNextID(TObject* object, int index) = 0;
    /// The model-view matrix of the camera captured at the last render, or nullptr.
    virtual const TOrnMatrix* CameraMatrix() const = 0;
    /// The render state of the context the view draws in now. This one, a context of its own with
    /// a share group of its own, serves a view that has a single context.
    virtual TOrnRenderState* RenderState();

    /// The nodes whose items are being rendered now, outermost first; kept while names are
    /// pushed, so that a name can tell the way by which its object was reached.
    const std::vector<TOrnCustomNode*>& NodePath() const { return fNodePath; }
    /// A node starts (EnterNode) and ends (LeaveNode) the render of its items.
    void EnterNode(TOrnCustomNode* node) { fNodePath.push_back(node); }
    void LeaveNode() {
        if (!fNodePath.empty()) fNodePath.pop_back();
    }

protected:
    void ClearNodePath() { fNodePath.clear(); }

private:
    std::unique_ptr<TOrnRenderState> fRenderState;
    std::vector<TOrnCustomNode*> fNodePath;
};

/// The event of OnRender, OnBeforeRender, OnAfterRender: receives the view being rendered.
using TOrnRenderEvent = std::function<void(TOrnCustomView* view)>;

} // namespace orn
