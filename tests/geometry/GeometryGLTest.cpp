#include <orn/geometry/TOrnDisc.h>
#include <orn/geometry/TOrnLine.h>
#include <orn/geometry/TOrnPoint.h>
#include <orn/geometry/TOrnPolygon.h>
#include <orn/geometry/TOrnSphere.h>
#include <orn/scene/TOrnRegistry.h>

#include "support/GLRecorder.h"
#include "support/GLTestContext.h"
#include "support/TestView.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

using namespace orn;
using orn::test::GLRecorder;
using orn::test::TestView;
using Calls = std::vector<std::string>;

namespace {

/// A primitive object filled by the test: three points and the lists it is given.
class Lists : public TOrnPrimitiveObj {
public:
    using TOrnPrimitiveObj::SetTextureRef;
    using TOrnPrimitiveObj::TOrnPrimitiveObj;
    std::vector<GLenum> types;

protected:
    void InitPoints() override {
        for (int i = 0; i < 3; ++i)
            fPoints->Add({double(i), 0, 0}, {0, 0, 1}, {});
    }
    void InitPrimitives() override {
        for (GLenum t : types) {
            const int l = AddPrimitiveArray(t);
            for (std::uint32_t i = 0; i < 3; ++i)
                AddIndex(i, l);
        }
    }
};

/// Stands for a texture: binding it shows up as one recognisable call.
class FakeTexture : public TOrnRender {
public:
    using TOrnRender::TOrnRender;

protected:
    void BeforeRender(TOrnCustomView*) override {}
    void AfterRender(TOrnCustomView*) override {}
    void DoRender(TOrnCustomView*) override { glBindTexture(GL_TEXTURE_2D, 77); }
};

class GeometryDrawing : public orn::test::GLTest {
protected:
    TComponent form{nullptr};
    TestView* view = new TestView(&form);
    Lists* obj = new Lists(&form);
};

} // namespace

TEST_F(GeometryDrawing, OneDrawElementsPerEnabledListBetweenBalancedClientArraysNamedInTheNamingModes) {
    obj->types = {GL_TRIANGLES, GL_LINES, GL_POINTS};
    obj->Points()->SetDefineArrays({daVertex, daNormal, daTexture, daColor, daEdgeFlag, daFlag});
    obj->Points()->SetEnabledArrays({daVertex, daNormal, daTexture, daColor, daEdgeFlag});
    obj->Init();
    obj->Primitive(1)->SetEnabled(false);
    for (TOrnDrawMode mode : {dmWindow, dmBitmap, dmSelection, dmPick, dmNothing}) {
        view->mode = mode;
        view->names.clear();
        GLRecorder rec;
        obj->Render(view);
        rec.Stop();
        EXPECT_EQ(rec.Filter({"glDrawElements"}),
                  (Calls{"glDrawElements(GL_TRIANGLES, 3, GL_UNSIGNED_INT, ptr)",
                         "glDrawElements(GL_POINTS, 3, GL_UNSIGNED_INT, ptr)"}));
        if (mode == dmWindow || mode == dmBitmap) {
            EXPECT_EQ(rec.Count("glPushName"), 0u) << mode;
            continue;
        }
        // The object's own name, then one per enabled list around its draw call.
        EXPECT_EQ(rec.Filter({"glPushName", "glPopName"}),
                  (Calls{"glPushName(1)", "glPushName(2)", "glPopName()", "glPushName(3)", "glPopName()",
                         "glPopName()"}))
            << mode;
        EXPECT_EQ(view->names, (std::vector<std::pair<TObject*, int>>{{obj, -1}, {obj, 0}, {obj, 2}}))
            << mode;
    }
    view->mode = dmWindow;
    GLRecorder rec;
    obj->Render(view);
    rec.Stop();
    EXPECT_EQ(rec.Filter({"glEnableClientState"}),
              (Calls{"glEnableClientState(GL_NORMAL_ARRAY)", "glEnableClientState(GL_TEXTURE_COORD_ARRAY)",
                     "glEnableClientState(GL_COLOR_ARRAY)", "glEnableClientState(GL_EDGE_FLAG_ARRAY)",
                     "glEnableClientState(GL_VERTEX_ARRAY)"}));
    EXPECT_EQ(rec.Filter({"glVertexPointer", "glNormalPointer", "glTexCoordPointer", "glColorPointer"}),
              (Calls{"glNormalPointer(GL_DOUBLE, 0, ptr)", "glTexCoordPointer(3, GL_DOUBLE, 0, ptr)",
                     "glColorPointer(4, GL_FLOAT, 0, ptr)", "glVertexPointer(3, GL_DOUBLE, 0, ptr)"}));
    EXPECT_EQ(rec.Filter({"glEdgeFlag"}), (Calls{"glEdgeFlag(GL_TRUE)"})); // reset, and every array off
    for (GLenum array :
         {GL_VERTEX_ARRAY, GL_NORMAL_ARRAY, GL_TEXTURE_COORD_ARRAY, GL_COLOR_ARRAY, GL_EDGE_FLAG_ARRAY})
        EXPECT_FALSE(glIsEnabled(array)) << array;
}

// Every render class, drawn fresh, leaves the stacks as it found them, every client array off and no
// GL error; a shape builds on its first draw.
TEST_F(GeometryDrawing, EveryRenderClassLeavesTheStacksAndClientArraysAsItFoundThem) {
    const GLenum stacks[] = {GL_ATTRIB_STACK_DEPTH, GL_CLIENT_ATTRIB_STACK_DEPTH, GL_MODELVIEW_STACK_DEPTH,
                             GL_PROJECTION_STACK_DEPTH, GL_TEXTURE_STACK_DEPTH};
    auto depths = [&] {
        std::vector<GLint> d;
        for (GLenum s : stacks)
            glGetIntegerv(s, &d.emplace_back());
        return d;
    };
    int drawn = 0;
    for (TComponentClass cls : GetRenderClassList()) {
        auto* item = dynamic_cast<TOrnRender*>(cls->Create(&form));
        for (TOrnDrawMode mode : {dmWindow, dmSelection}) {
            if (!item) break;
            view->mode = mode;
            const std::vector<GLint> before = depths();
            item->Render(view);
            EXPECT_EQ(depths(), before) << cls->Name << " in mode " << mode;
            // Attributes hand their default line width of 0 to GL as it is, which GL refuses: intended.
            const GLenum error = glGetError();
            EXPECT_TRUE(error == GL_NO_ERROR || std::string(cls->Name) == "TOrnAttributes") << cls->Name;
            for (GLenum array : {GL_VERTEX_ARRAY, GL_NORMAL_ARRAY, GL_TEXTURE_COORD_ARRAY, GL_COLOR_ARRAY,
                                 GL_EDGE_FLAG_ARRAY})
                EXPECT_FALSE(glIsEnabled(array)) << cls->Name << " leaves " << array << " on";
            ++drawn;
        }
        const auto* shape = dynamic_cast<TOrnPrimitiveObj*>(item);
        EXPECT_TRUE(!shape || shape->Initialized()) << cls->Name;
    }
    EXPECT_GE(drawn, 2 * 20);
}

TEST_F(GeometryDrawing, TexturedListsBindTheirTextureAndEnableTexturing) {
    auto* texture = new FakeTexture(&form);
    obj->types = {GL_TRIANGLES, GL_POINTS};
    obj->SetTextureRef(reinterpret_cast<TOrnTexture*>(texture), texture);
    obj->SetTextured(true);
    obj->Init();
    obj->Primitive(1)->SetTextured(false);
    GLRecorder rec;
    obj->Render(view);
    rec.Stop();
    EXPECT_EQ(rec.Filter({"glBindTexture", "glEnable", "glDisable", "glDrawElements"}),
              (Calls{"glEnable(GL_TEXTURE_2D)", "glBindTexture(GL_TEXTURE_2D, 77)", "glEnable(GL_TEXTURE_2D)",
                     "glDrawElements(GL_TRIANGLES, 3, GL_UNSIGNED_INT, ptr)", "glDisable(GL_TEXTURE_2D)",
                     "glDrawElements(GL_POINTS, 3, GL_UNSIGNED_INT, ptr)"}));
}

namespace {

class ShapePixels : public orn::test::GLTest {
protected:
    ShapePixels() : GLTest(200, 200) {}
    TComponent form{nullptr};
    TestView* view = new TestView(&form);

    /// Renders obj white on black, orthographic over −2 … 2 (50 pixels a unit), after turning it
    /// by angle about (ax, ay, az); the white pixels in square units.
    double Area(TOrnPrimitiveObj& obj, double angle, double ax, double ay, double az) {
        ClearTo(0, 0, 0);
        glMatrixMode(GL_PROJECTION);
        glLoadIdentity();
        glOrtho(-2, 2, -2, 2, -10, 10);
        glMatrixMode(GL_MODELVIEW);
        glLoadIdentity();
        glRotated(angle, ax, ay, az);
        glDisable(GL_LIGHTING);
        obj.Render(view);
        glFinish();
        return static_cast<double>(orn::test::CountPixels(ReadImage(), {255, 255, 255, 255}, 8)) / 2500;
    }
    /// Whether the pixel at (x, y) units from the centre is white.
    bool White(double x, double y) const {
        return orn::test::SameColor(ReadPixel(100 + static_cast<int>(x * 50), 100 + static_cast<int>(y * 50)),
                                    {255, 255, 255, 255}, 8);
    }
};

} // namespace

TEST_F(ShapePixels, ShapesCoverTheirAreaAndOutlinesLinesAndPointsOnlyTheirPixels) {
    TOrnSphere sphere(&form);
    sphere.SetRadius(1.5f);
    sphere.SetSlices(96);
    sphere.SetStacks(64);
    const double pi = std::numbers::pi;
    EXPECT_NEAR(Area(sphere, 0, 0, 1, 0), pi * 1.5 * 1.5, 0.1);
    EXPECT_TRUE(White(0, 1.4) && !White(1.6, 0));
    TOrnDisc disc(&form);
    disc.SetSlices(64);
    disc.SetInnerRadius(0.5f);
    disc.SetOuterRadius(1.5f);
    EXPECT_NEAR(Area(disc, 90, 1, 0, 0), pi * (1.5 * 1.5 - 0.5 * 0.5), 0.1); // seen from above
    EXPECT_TRUE(White(1, 0) && !White(0, 0) && !White(1.6, 0));
    TOrnPolygon polygon(&form);
    for (auto [x, y] : {std::pair{0, 0}, {1, 0}, {1, 1}, {0, 1}})
        polygon.AddValues(x, y, 0, 0, 0);
    EXPECT_NEAR(Area(polygon, 0, 0, 1, 0), 1, 0.03);
    polygon.SetFilled(false);
    EXPECT_LT(Area(polygon, 0, 0, 1, 0), 0.25); // the outline only
    EXPECT_FALSE(White(0.5, 0.5));
    TOrnLine line(&form);
    line.SetLength(1.5f);
    EXPECT_NEAR(Area(line, 90, 0, 1, 0) * 2500, 1.5 * 50, 3); // +z turned to +x: one row of pixels
    // y = 0 lies between two pixel rows; the line takes one of them, and nothing along −x.
    EXPECT_TRUE(White(0.8, 0) || White(0.8, -0.02));
    EXPECT_FALSE(White(-0.8, 0) || White(-0.8, -0.02));
    TOrnPoint point(&form);
    EXPECT_EQ(Area(point, 0, 0, 1, 0) * 2500, 1);
}
