// A mouse controller driven through a view: the view's input reaches it, its changes move the
// camera and make the view repaint.
#include <orn/interaction/TOrnMouseController.h>
#include <orn/view/TOrnView.h>

#include "view/ViewTestSupport.h"

#include <gtest/gtest.h>

namespace orn {
namespace {

using ViewMouseDrag = test::ViewTest;

TEST_F(ViewMouseDrag, DragMovesTheCameraAndRepaints) {
    TComponent form(nullptr);
    auto* camera = new TOrnPerspectiveCamera(&form);
    auto* controller = new TOrnMouseController(&form);
    auto* view = new TOrnView(&form);
    controller->SetControlled(camera);
    view->SetCamera(camera);
    view->SetController(controller);
    view->OpenGLConnect();
    view->RenderScene();
    ASSERT_FALSE(view->PaintPending());

    view->MouseDown(mbLeft, {ssLeft}, 10, 10);
    EXPECT_FALSE(view->PaintPending()); // pressing changes nothing yet
    view->MouseMove({ssLeft}, 10, 110);
    EXPECT_NEAR(camera->Transformation()->Translation()->Y(), 100.0 / 50000 * 133, 1e-5);
    EXPECT_TRUE(view->PaintPending());
    view->RenderScene();
    const float y = camera->Matrix()->GetValue(1, 3);
    EXPECT_NEAR(y, 0.266, 1e-5); // the next repaint places the camera there

    view->MouseUp(mbLeft, {}, 10, 110);
    view->MouseMove({}, 50, 50);
    EXPECT_FALSE(view->PaintPending());
}

} // namespace
} // namespace orn
