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

void TOrnRender::Changed() {
    if (!fKeepList) ClearCache();
    TOrnTransformed::Changed();
}

void TOrnRender::SubChange(TObject* sender) {
    // The transformation runs outside the list, so the list stays.
    fKeepList = sender == Transformation();
    TOrnTransformed::SubChange(sender);
    fKeepList = false;
}

void TOrnRender::Render(TOrnCustomView* view) {
    if (!fEnabled) {
        DoDisable(view);
        return;
    }
    BeforeRender(view);
    TOrnRenderState* state = fCached && view ? view->RenderState() : nullptr;
    // Inside another component's list this one is recorded there: a list cannot open in a list.
    // Picking draws directly, since the names pushed inside a render are the render's own.
    if (state && !state->Compiling() && !IsNamingDrawMode(view->DrawMode()))
        RenderCached(view, *state);
    else
        DoRender(view);
    AfterRender(view);
}

bool TOrnRender::HasLiveList() const {
    return fListId != 0 && !fListGroup.expired();
}

GLuint TOrnRender::ListId() const {
    return HasLiveList() ? fListId : 0;
}

void TOrnRender::RenderCached(TOrnCustomView* view, TOrnRenderState& state) {
    if (HasLiveList()) {
        if (fListGroupAddress != state.Group().get()) {
            DoRender(view); // the list lives in another share group
            return;
        }
        if (fListContent == ContentStamp()) {
            glCallList(fListId);
            state.ListCalled(fListLeaves);
            return;
        }
        ClearCache(); // a state component it holds has changed
    }
    CompileList(view, state);
}

void TOrnRender::CompileList(TOrnCustomView* view, TOrnRenderState& state) {
    if (fView != view) SetView(view); // the view whose context compiles the list owns it
    fListId = 0;
    const std::uint64_t content = ContentStamp();
    const GLuint list = glGenLists(1);
    glNewList(list, GL_COMPILE_AND_EXECUTE);
    if (!glIsList(list)) { // no list: render uncached
        DoRender(view);
        return;
    }
    state.BeginCompile();
    fCompiling = true;
    fChangedWhileCompiling = false;
    try {
        DoRender(view);
    } catch (...) {
        fCompiling = false;
        state.EndCompile();
        glEndList();
        glDeleteLists(list, 1);
        throw;
    }
    fCompiling = false;
    fListLeaves = state.EndCompile();
    glEndList();
    fListId = list;
    fListGroup = state.Group();
    fListGroupAddress = state.Group().get();
    fListContent = content;
    if (fChangedWhileCompiling) ClearCache();
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

bool TOrnRender::GetBounds(TOrnBounds&) { return false; }

void TOrnRender::AfterRender(TOrnCustomView* view) {
    if (OnAfterRender) OnAfterRender(view);
    glPopMatrix();
}

void TOrnRender::DoDisable(TOrnCustomView*) {}

void TOrnRender::ClearCache() {
    if (fCompiling) {
        fChangedWhileCompiling = true;
        return;
    }
    if (fListId == 0) return;
    const GLuint list = fListId;
    fListId = 0;
    std::shared_ptr<TOrnShareGroup> group = fListGroup.lock();
    fListGroup.reset();
    fListGroupAddress = nullptr;
    if (!group) return; // its contexts are gone, and the list with them
    // Deleted now in the context of the view that compiled it, when that context can be had and
    // belongs to the list's group; otherwise at the group's next frame.
    if (fView && fView->RenderState()->Group() == group) {
        const bool wasCurrent = fView->GetCurrent();
        if (!wasCurrent) fView->SetCurrent(true);
        if (fView->GetCurrent()) {
            glDeleteLists(list, 1);
            if (!wasCurrent) fView->SetCurrent(false);
            return;
        }
    }
    group->DeleteListLater(list);
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
    if (auto* r = dynamic_cast<const TOrnRender*>(source)) OnTransform = r->OnTransform;
    TOrnTransformed::Assign(source);
}

ORN_DESCRIBE_PROPERTIES(TOrnRender, &TOrnTransformed::ClassProperties()) {
    ORN_PROP(b, TOrnRender, Enabled, true);
    ORN_PROP(b, TOrnRender, Cached, false).flags = pfNoAssign;
}

} // namespace orn
