#include <orn/scene/TOrnRender.h>

namespace orn {

TOrnRender::TOrnRender(TComponent* owner) : TOrnTransformed(owner) {}

TOrnRender::~TOrnRender() {
    ClearCache();
    SetNode(nullptr);
    if (fView) RemoveFreeNotification(fView);
}

void TOrnRender::SetEnabled(bool value) {
    if (assignIfChanged(fEnabled, value)) Changed();
}

void TOrnRender::SetCached(bool value) {
    if (value == fCached) return;
    fCached = value;
    if (!value) ClearCache();
}

void TOrnRender::SetNode(TOrnCustomNode* value) {
    if (fNode && fNode != value) fNode->Remove(this);
    fNode = nullptr;
    if (value) value->Add(this);
}

void TOrnRender::SetNodeDirect(TOrnCustomNode* value) {
    if (fNode) fNode->Remove(this);
    fNode = value;
}

void TOrnRender::SetView(TOrnCustomView* value) {
    if (fView) {
        ClearCache();
        RemoveFreeNotification(fView);
    }
    fView = value;
    if (fView) FreeNotification(fView);
}

void TOrnRender::SetProjectionEnabled(bool value) {
    if (!ComponentState().Contains(csDesigning) && value != fProjectionEnabled) {
        if (value)
            fProjectionMatrix = std::make_unique<TOrnMatrix>();
        else
            fProjectionMatrix.reset();
    }
    fProjectionEnabled = value;
}

void TOrnRender::Render(TOrnCustomView* view) {
    if (!fEnabled) {
        DoDisable(view);
        return;
    }
    BeforeRender(view);
    if (!fView && fCached) {
        SetView(view); // the first view that renders a cached component owns its list
        fListId = 0;
    }
    if (IsMyView(view)) {
        if (fListId != 0) {
            CallCache();
        } else {
            if (fCached) OpenCache();
            DoRender(view);
            if (fCached) CloseCache();
        }
    } else {
        DoRender(view);
    }
    AfterRender(view);
}

void TOrnRender::Disable(TOrnCustomView* view) {
    DoDisable(view);
}

void TOrnRender::BeforeRender(TOrnCustomView* view) {
    glPushMatrix();
    if (OnTransform)
        OnTransform(this);
    else
        Transformation()->Execute();
    if (fProjectionMatrix) fProjectionMatrix->PickGLModelviewMatrix();
    if (OnBeforeRender) OnBeforeRender(view);
}

void TOrnRender::DoRender(TOrnCustomView*) {}

void TOrnRender::AfterRender(TOrnCustomView* view) {
    if (OnAfterRender) OnAfterRender(view);
    glPopMatrix();
}

void TOrnRender::DoDisable(TOrnCustomView*) {}

void TOrnRender::OpenCache() {
    if (!fView) return;
    ClearCache();
    fListId = glGenLists(1);
    glNewList(fListId, GL_COMPILE_AND_EXECUTE);
    if (!glIsList(fListId)) fListId = 0; // no list: render uncached, CloseCache ends nothing
}

void TOrnRender::CloseCache() {
    if (fView && fListId != 0) glEndList();
}

void TOrnRender::CallCache() {
    if (fView) glCallList(fListId);
}

void TOrnRender::ClearCache() {
    if (!fView || fListId == 0) return;
    const bool wasCurrent = fView->GetCurrent();
    if (!wasCurrent) fView->SetCurrent(true);
    if (!fView->GetCurrent()) return; // the list is kept when the context cannot be had
    glDeleteLists(fListId, 1);
    fListId = 0;
    if (!wasCurrent) fView->SetCurrent(false);
}

TOrnMathVector TOrnRender::ProjectVector(const TOrnRender* render, const TOrnMathVector& v) const {
    if (!fProjectionMatrix || !render || !render->fProjectionMatrix) return {};
    TOrnMathVector r;
    fProjectionMatrix->ProjectMatrix(*render->fProjectionMatrix, v, r);
    return r;
}

TOrnMathVector TOrnRender::ProjectVector(const TOrnCustomView* view, const TOrnMathVector& v) const {
    const TOrnMatrix* camera = view ? view->CameraMatrix() : nullptr;
    if (!fProjectionMatrix || !camera) return {};
    TOrnMathVector r;
    fProjectionMatrix->ProjectMatrix(*camera, v, r);
    return r;
}

void TOrnRender::Notification(TComponent* component, TOperation operation) {
    TOrnTransformed::Notification(component, operation);
    if (operation != opRemove || !component) return;
    if (component == fView) SetView(nullptr);
    // A node being destroyed has let go of its items already; only forget it.
    if (component == fNode) fNode = nullptr;
}

void TOrnRender::Assign(const TPersistent* source) {
    if (auto* r = dynamic_cast<const TOrnRender*>(source)) {
        fEnabled = r->fEnabled;
        OnTransform = r->OnTransform;
    }
    TOrnTransformed::Assign(source);
}

ORN_DESCRIBE_PROPERTIES(TOrnRender, &TOrnTransformed::ClassProperties()) {
    ORN_PROP(b, TOrnRender, Enabled, true);
    ORN_PROP(b, TOrnRender, Cached, false).flags = pfNoAssign;
}

} // namespace orn
