#include <orn/geometry/TOrnBox.h>
#include <orn/geometry/TOrnCylinder.h>
#include <orn/geometry/TOrnDisc.h>
#include <orn/geometry/TOrnLine.h>
#include <orn/geometry/TOrnPoint.h>
#include <orn/geometry/TOrnPolygon.h>
#include <orn/geometry/TOrnRectangle.h>
#include <orn/geometry/TOrnSphere.h>
#include <orn/geometry/TOrnTorus.h>
#include <orn/geometry/TOrnTriangle.h>

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
    int builds = 0;

protected:
    void InitPoints() override {
        ++builds;
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

Calls geometryCalls(const GLRecorder& rec) {
    return rec.Filter({"glEnableClientState", "glDisableClientState", "glVertexPointer", "glNormalPointer",
                       "glTexCoordPointer", "glColorPointer", "glEdgeFlagPointer", "glEdgeFlag",
                       "glDrawElements", "glPushName", "glPopName", "glEnable", "glDisable",
                       "glBindTexture"});
}

} // namespace

TEST_F(GeometryDrawing, OneDrawElementsPerEnabledListBetweenTheClientArrays) {
    obj->types = {GL_TRIANGLES, GL_LINES, GL_POINTS};
    obj->Init();
    obj->Primitive(1)->SetEnabled(false);
    GLRecorder rec;
    obj->Render(view);
    rec.Stop();
    EXPECT_EQ(
        geometryCalls(rec),
        (Calls{"glEnableClientState(GL_NORMAL_ARRAY)", "glNormalPointer(GL_DOUBLE, 0, ptr)",
               "glDisable(GL_TEXTURE_2D)", "glEnableClientState(GL_VERTEX_ARRAY)",
               "glVertexPointer(3, GL_DOUBLE, 0, ptr)", "glDisable(GL_TEXTURE_2D)",
               "glDrawElements(GL_TRIANGLES, 3, GL_UNSIGNED_INT, ptr)", "glDisable(GL_TEXTURE_2D)",
               "glDrawElements(GL_POINTS, 3, GL_UNSIGNED_INT, ptr)", "glDisableClientState(GL_NORMAL_ARRAY)",
               "glDisableClientState(GL_COLOR_ARRAY)", "glDisableClientState(GL_TEXTURE_COORD_ARRAY)",
               "glDisableClientState(GL_EDGE_FLAG_ARRAY)", "glDisableClientState(GL_VERTEX_ARRAY)",
               "glEdgeFlag(GL_TRUE)"}));
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
}

TEST_F(GeometryDrawing, ClientArraysAreEnabledNormalTextureColourEdgeFlagVertex) {
    obj->types = {GL_TRIANGLES};
    obj->Points()->SetDefineArrays({daVertex, daNormal, daTexture, daColor, daEdgeFlag, daFlag});
    obj->Points()->SetEnabledArrays({daVertex, daNormal, daTexture, daColor, daEdgeFlag});
    obj->Init();
    GLRecorder rec;
    obj->Render(view);
    rec.Stop();
    EXPECT_EQ(rec.Filter({"glEnableClientState"}),
              (Calls{"glEnableClientState(GL_NORMAL_ARRAY)", "glEnableClientState(GL_TEXTURE_COORD_ARRAY)",
                     "glEnableClientState(GL_COLOR_ARRAY)", "glEnableClientState(GL_EDGE_FLAG_ARRAY)",
                     "glEnableClientState(GL_VERTEX_ARRAY)"}));
    EXPECT_EQ(rec.Filter({"glTexCoordPointer", "glColorPointer", "glEdgeFlagPointer"}),
              (Calls{"glTexCoordPointer(3, GL_DOUBLE, 0, ptr)", "glColorPointer(4, GL_FLOAT, 0, ptr)",
                     "glEdgeFlagPointer(0, ptr)"}));
}

TEST_F(GeometryDrawing, NamesPerListOnlyInTheNamingModes) {
    obj->types = {GL_TRIANGLES, GL_LINES, GL_POINTS};
    obj->Init();
    obj->Primitive(1)->SetEnabled(false);
    for (TOrnDrawMode mode : {dmWindow, dmBitmap}) {
        view->mode = mode;
        GLRecorder rec;
        obj->Render(view);
        EXPECT_EQ(rec.Count("glPushName"), 0u) << mode;
    }
    for (TOrnDrawMode mode : {dmSelection, dmPick, dmNothing}) {
        view->mode = mode;
        view->names.clear();
        GLRecorder rec;
        obj->Render(view);
        rec.Stop();
        // The object's own name, then one per enabled list around its draw call.
        EXPECT_EQ(
            rec.Filter({"glPushName", "glPopName", "glDrawElements"}),
            (Calls{"glPushName(1)", "glPushName(2)", "glDrawElements(GL_TRIANGLES, 3, GL_UNSIGNED_INT, ptr)",
                   "glPopName()", "glPushName(3)", "glDrawElements(GL_POINTS, 3, GL_UNSIGNED_INT, ptr)",
                   "glPopName()", "glPopName()"}))
            << mode;
        EXPECT_EQ(view->names, (std::vector<std::pair<TObject*, int>>{{obj, -1}, {obj, 0}, {obj, 2}}))
            << mode;
    }
}

TEST_F(GeometryDrawing, BuildsLazilyOnceUntilAShapeChanges) {
    obj->types = {GL_TRIANGLES};
    obj->Render(view);
    obj->Render(view);
    EXPECT_EQ(obj->builds, 1);
    EXPECT_TRUE(obj->Initialized());
    obj->TextureFlags()->SetMode(txLinearX);
    obj->Render(view);
    EXPECT_EQ(obj->builds, 2);
}

TEST_F(GeometryDrawing, AnObjectWithoutListsStillSwitchesTheArrays) {
    obj->types = {};
    GLRecorder rec;
    obj->Render(view);
    rec.Stop();
    EXPECT_EQ(rec.Count("glDrawElements"), 0u);
    EXPECT_EQ(rec.Count("glEnableClientState"), 2u); // normals and positions
    EXPECT_EQ(rec.Count("glDisableClientState"), 5u);
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
    const Calls calls = rec.Filter({"glBindTexture", "glEnable", "glDisable", "glDrawElements"});
    EXPECT_EQ(calls,
              (Calls{"glEnable(GL_TEXTURE_2D)", "glBindTexture(GL_TEXTURE_2D, 77)", "glEnable(GL_TEXTURE_2D)",
                     "glDrawElements(GL_TRIANGLES, 3, GL_UNSIGNED_INT, ptr)", "glDisable(GL_TEXTURE_2D)",
                     "glDrawElements(GL_POINTS, 3, GL_UNSIGNED_INT, ptr)"}));
}

// ---------------------------------------------------------------------------------------------
// Pixels: each shape drawn white on black in an orthographic view of 4 × 4 units.

namespace {

class ShapePixels : public orn::test::GLTest {
protected:
    ShapePixels() : GLTest(200, 200) {}
    static constexpr double kPixelsPerUnit = 50;
    TComponent form{nullptr};
    TestView* view = new TestView(&form);

    /// Renders obj after the given rotation and counts the white pixels.
    std::size_t Area(TOrnPrimitiveObj& obj, double angle = 0, double ax = 0, double ay = 1, double az = 0) {
        ClearTo(0, 0, 0);
        glMatrixMode(GL_PROJECTION);
        glLoadIdentity();
        glOrtho(-2, 2, -2, 2, -10, 10);
        glMatrixMode(GL_MODELVIEW);
        glLoadIdentity();
        if (angle != 0) glRotated(angle, ax, ay, az);
        glDisable(GL_LIGHTING);
        glDisable(GL_CULL_FACE);
        obj.Render(view);
        glFinish();
        return orn::test::CountPixels(ReadImage(), {255, 255, 255, 255}, 8);
    }
    static double Units(double area) { return area * kPixelsPerUnit * kPixelsPerUnit; }
    void ExpectArea(std::size_t pixels, double units, double tolerance, const std::string& what) {
        EXPECT_NEAR(static_cast<double>(pixels), Units(units), Units(units) * tolerance) << what;
    }
};

} // namespace

TEST_F(ShapePixels, SphereSilhouetteIsItsDisc) {
    TOrnSphere s(&form);
    s.SetRadius(1.5f);
    s.SetSlices(96);
    s.SetStacks(64);
    ExpectArea(Area(s), std::numbers::pi * 1.5 * 1.5, 0.02, "front");
    ExpectArea(Area(s, 90, 1, 0, 0), std::numbers::pi * 1.5 * 1.5, 0.02, "from a pole");
    EXPECT_TRUE(orn::test::ColorNear(ReadPixel(100, 100), {255, 255, 255, 255}, 8));
    EXPECT_TRUE(orn::test::ColorNear(ReadPixel(5, 5), {0, 0, 0, 255}, 8));
}

TEST_F(ShapePixels, BoxSilhouetteIsItsProjectedRectangle) {
    TOrnBox b(&form);
    b.SetWidth(2);
    b.SetHeight(1);
    b.SetDepth(1.5f);
    ExpectArea(Area(b), 2 * 1, 0.02, "front");
    const double a = 30 * std::numbers::pi / 180;
    ExpectArea(Area(b, 30), 1 * (2 * std::cos(a) + 1.5 * std::sin(a)), 0.02, "turned 30 degrees about y");
    b.SetDetailX(3);
    b.SetDetailZ(2);
    ExpectArea(Area(b, 90, 1, 0, 0), 2 * 1.5, 0.02, "from above, finer grid");
}

TEST_F(ShapePixels, CylinderFromTheSideAndDiscAndTorusFromAbove) {
    TOrnCylinder c(&form);
    c.SetSlices(64);
    c.SetBaseRadius(1);
    c.SetTopRadius(1);
    c.SetHeight(1.5f);
    ExpectArea(Area(c), 2 * 1.5, 0.03, "cylinder side");
    EXPECT_TRUE(orn::test::ColorNear(ReadPixel(100, 100 + 50), {255, 255, 255, 255}, 8)); // above the origin
    EXPECT_TRUE(orn::test::ColorNear(ReadPixel(100, 100 - 10), {0, 0, 0, 255}, 8));       // below y = 0

    TOrnDisc d(&form);
    d.SetSlices(64);
    d.SetInnerRadius(0.5f);
    d.SetOuterRadius(1.5f);
    ExpectArea(Area(d, 90, 1, 0, 0), std::numbers::pi * (1.5 * 1.5 - 0.5 * 0.5), 0.03, "disc");
    EXPECT_TRUE(orn::test::ColorNear(ReadPixel(100, 100), {0, 0, 0, 255}, 8)); // the hole

    TOrnTorus t(&form);
    t.SetRingRadius(1.2f);
    t.SetTubeRadius(0.4f);
    t.SetRings(64);
    t.SetSides(24);
    ExpectArea(Area(t, 90, 1, 0, 0), std::numbers::pi * (1.6 * 1.6 - 0.8 * 0.8), 0.03, "torus");
    EXPECT_TRUE(orn::test::ColorNear(ReadPixel(100, 100), {0, 0, 0, 255}, 8));
    EXPECT_TRUE(orn::test::ColorNear(ReadPixel(100 + 60, 100), {255, 255, 255, 255}, 8)); // on the tube
}

TEST_F(ShapePixels, FlatFiguresSitWhereTheirCoordinatesSay) {
    TOrnRectangle r(&form);
    r.SetWidth(2);
    r.SetHeight(1);
    r.SetDetX(3);
    r.SetDetY(2);
    // Seen from above (+y), +z points down the screen: the rectangle spans z = 0 … 1, below the centre.
    ExpectArea(Area(r, 90, 1, 0, 0), 2, 0.02, "rectangle");
    EXPECT_TRUE(orn::test::ColorNear(ReadPixel(100, 100 - 25), {255, 255, 255, 255}, 8));
    EXPECT_TRUE(orn::test::ColorNear(ReadPixel(100, 100 + 25), {0, 0, 0, 255}, 8));

    TOrnTriangle t(&form);
    t.SetBase(2);
    t.SetHeight(1.5f);
    ExpectArea(Area(t, 90, 1, 0, 0), 0.5 * 2 * 1.5, 0.03, "triangle");

    TOrnPolygon p(&form);
    p.AddValues(0, 0, 0, 0, 0);
    p.AddValues(1, 0, 0, 0, 0);
    p.AddValues(1, 1, 0, 0, 0);
    p.AddValues(0, 1, 0, 0, 0);
    ExpectArea(Area(p), 1, 0.03, "filled polygon");
    p.SetFilled(false);
    EXPECT_LT(Area(p), static_cast<std::size_t>(Units(1) / 4)); // an outline only

    TOrnLine l(&form);
    l.SetLength(1.5f);
    const std::size_t line = Area(l, 90, 0, 1, 0); // +z turned to +x: a horizontal line
    EXPECT_NEAR(static_cast<double>(line), 1.5 * kPixelsPerUnit, 3);
    // y = 0 lies between two pixel rows; the line takes one of them.
    EXPECT_TRUE(orn::test::SameColor(ReadPixel(140, 100), {255, 255, 255, 255}, 8) ||
                orn::test::SameColor(ReadPixel(140, 99), {255, 255, 255, 255}, 8));
    EXPECT_TRUE(orn::test::ColorNear(ReadPixel(60, 100), {0, 0, 0, 255}, 8)); // nothing along −x

    TOrnPoint pt(&form);
    EXPECT_EQ(Area(pt), 1u);
}
