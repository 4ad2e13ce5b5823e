#pragma once

#include <orn/scene/TOrnCustomView.h>
#include <orn/scene/TOrnRenderState.h>

#include "support/GLTestContext.h"

namespace orn::test {

/// The smallest view the render chain can work with: a context flag, a draw mode, a name counter
/// that records what it handed out, and an optional camera matrix.
class TestView : public TOrnCustomView {
public:
    explicit TestView(TComponent* owner = nullptr) : TOrnCustomView(owner) {}
    ~TestView() override { SendRemoveNotifications(); }

    bool GetCurrent() const override { return current; }
    void SetCurrent(bool value) override {
        ++setCurrentCalls;
        if (!value || canBeCurrent) current = value;
    }
    TOrnDrawMode DrawMode() const override { return mode; }
    int GetNextID(TObject* object, int index) override {
        names.emplace_back(object, index);
        return static_cast<int>(names.size());
    }
    const TOrnMatrix* CameraMatrix() const override { return hasCamera ? &camera : nullptr; }

    bool current = true, canBeCurrent = true, hasCamera = false;
    int setCurrentCalls = 0;
    TOrnDrawMode mode = dmWindow;
    std::vector<std::pair<TObject*, int>> names;
    TOrnMatrix camera;
};

/// A GL test whose components live on form and render into view, a frame begun.
class ViewGLTest : public GLTest {
protected:
    void SetUp() override {
        GLTest::SetUp();
        if (!IsSkipped()) view->RenderState()->BeginFrame();
    }

    TComponent form{nullptr};
    TestView* view = new TestView(&form);
};

} // namespace orn::test
