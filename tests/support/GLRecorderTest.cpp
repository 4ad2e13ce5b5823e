#include "support/GLRecorder.h"
#include "diag/detail/GLSelfCheck.h"
#include "support/GLTestContext.h"

#include <GL/gl.h>
#include <GL/glu.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

using orn::test::GLRecorder;
using orn::test::Rgba;
using testing::ElementsAre;

namespace {

using Calls = std::vector<std::string>;

class GLRecorderTest : public orn::test::GLTest {};

TEST_F(GLRecorderTest, SeesCallsMadeInsideTheLibrary) {
    GLRecorder rec;
    orn::detail::GLSelfCheck();
    EXPECT_EQ(rec.Calls(), (Calls{"glPushMatrix()", "glPopMatrix()"}));
}

TEST_F(GLRecorderTest, HidesTheGLCallsThatGLUMakes) {
    glMatrixMode(GL_PROJECTION);
    GLRecorder rec;
    gluPerspective(45, 2, 1, 10);
    gluLookAt(0, 0, 5, 0, 0, 0, 0, 1, 0);
    rec.Stop();
    EXPECT_EQ(rec.Calls(), (Calls{"gluPerspective(45, 2, 1, 10)", "gluLookAt(0, 0, 5, 0, 0, 0, 0, 1, 0)"}));
    GLdouble m[16];
    glGetDoublev(GL_PROJECTION_MATRIX, m);
    EXPECT_NE(m[0], 1.0) << "gluPerspective must still reach GL";
}

TEST_F(GLRecorderTest, HidesTessellatorCallbacksIntoGL) {
    GLUtesselator* tess = gluNewTess();
    GLRecorder rec;
    gluTessCallback(tess, GLU_TESS_BEGIN, reinterpret_cast<_GLUfuncptr>(&glBegin));
    gluTessCallback(tess, GLU_TESS_VERTEX, reinterpret_cast<_GLUfuncptr>(&glVertex3dv));
    gluTessCallback(tess, GLU_TESS_END, reinterpret_cast<_GLUfuncptr>(&glEnd));
    gluTessProperty(tess, GLU_TESS_WINDING_RULE, GLU_TESS_WINDING_ODD);
    GLdouble square[4][3] = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}};
    gluTessBeginPolygon(tess, nullptr);
    gluTessBeginContour(tess);
    for (auto& v : square)
        gluTessVertex(tess, v, v);
    gluTessEndContour(tess);
    gluTessEndPolygon(tess);
    rec.Stop();
    gluDeleteTess(tess);
    EXPECT_EQ(rec.Count("glBegin"), 0u);
    EXPECT_EQ(rec.Count("glVertex3dv"), 0u);
    EXPECT_EQ(rec.Count("gluTessVertex"), 4u);
    EXPECT_EQ(rec.Calls()[3], "gluTessProperty(ptr, GLU_TESS_WINDING_RULE, GLU_TESS_WINDING_ODD)");
    EXPECT_EQ(rec.Calls()[6], "gluTessVertex(ptr, {0, 0, 0}, ptr)");
    EXPECT_EQ(rec.Calls().back(), "gluTessEndPolygon(ptr)");
}

TEST_F(GLRecorderTest, NamesEnumerationsMasksAndFlags) {
    const GLfloat diffuse[] = {1, 0.5f, 0, 1};
    const GLfloat spot[] = {0, 0, -1};
    const GLuint list = glGenLists(1);
    GLRecorder rec;
    glMatrixMode(GL_MODELVIEW);
    glEnable(GL_LIGHTING);
    glDisable(GL_DEPTH_TEST);
    glNewList(list, GL_COMPILE_AND_EXECUTE);
    glBegin(GL_TRIANGLES);
    glEnd();
    glEndList();
    glBlendFunc(GL_SRC_ALPHA, GL_ONE);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glPushAttrib(GL_ALL_ATTRIB_BITS);
    glPopAttrib();
    glDepthMask(GL_FALSE);
    glMaterialfv(GL_FRONT_AND_BACK, GL_DIFFUSE, diffuse);
    glLightfv(GL_LIGHT1, GL_SPOT_DIRECTION, spot);
    glLightModeli(GL_LIGHT_MODEL_TWO_SIDE, 1);
    glFogi(GL_FOG_MODE, GL_EXP2);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    glHint(0x7777, GL_NICEST);
    rec.Stop();
    glGetError(); // the unknown hint target raised GL_INVALID_ENUM
    EXPECT_THAT(rec.Calls(),
                ElementsAre("glMatrixMode(GL_MODELVIEW)", "glEnable(GL_LIGHTING)", "glDisable(GL_DEPTH_TEST)",
                            "glNewList(" + std::to_string(list) + ", GL_COMPILE_AND_EXECUTE)",
                            "glBegin(GL_TRIANGLES)", "glEnd()", "glEndList()",
                            "glBlendFunc(GL_SRC_ALPHA, GL_ONE)",
                            "glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT)",
                            "glPushAttrib(GL_ALL_ATTRIB_BITS)", "glPopAttrib()", "glDepthMask(GL_FALSE)",
                            "glMaterialfv(GL_FRONT_AND_BACK, GL_DIFFUSE, {1, 0.5, 0, 1})",
                            "glLightfv(GL_LIGHT1, GL_SPOT_DIRECTION, {0, 0, -1})",
                            "glLightModeli(GL_LIGHT_MODEL_TWO_SIDE, 1)", "glFogi(GL_FOG_MODE, GL_EXP2)",
                            "glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR)",
                            "glHint(0x7777, GL_NICEST)"));
}

TEST_F(GLRecorderTest, FormatsNumbersAndPointers) {
    const GLfloat vertices[] = {0, 0, 0};
    GLRecorder rec;
    glRotatef(90, 0, 1, 0);
    glTranslated(0.25, -1e-7, 1e10);
    glColor4ub(255, 0, 128, 7);
    glVertexPointer(3, GL_FLOAT, 12, vertices);
    glDrawArrays(GL_QUAD_STRIP, 0, 0);
    glVertex3fv(vertices);
    rec.Stop();
    EXPECT_THAT(rec.Calls(),
                ElementsAre("glRotatef(90, 0, 1, 0)", "glTranslated(0.25, -1e-07, 1e+10)",
                            "glColor4ub(255, 0, 128, 7)", "glVertexPointer(3, GL_FLOAT, 12, ptr)",
                            "glDrawArrays(GL_QUAD_STRIP, 0, 0)", "glVertex3fv({0, 0, 0})"));
}

TEST_F(GLRecorderTest, ForwardsArgumentsAndReturnValues) {
    GLRecorder rec;
    ClearTo(0, 1, 0);
    const GLuint list = glGenLists(2);
    glNewList(list, GL_COMPILE);
    glEndList();
    const GLboolean isList = glIsList(list);
    const GLboolean isNoList = glIsList(0);
    glEnable(GL_CULL_FACE);
    const GLboolean enabled = glIsEnabled(GL_CULL_FACE);
    rec.Stop();
    EXPECT_EQ(ReadPixel(5, 5), (Rgba{0, 255, 0, 255}));
    EXPECT_NE(list, 0u);
    EXPECT_EQ(isList, GL_TRUE);
    EXPECT_EQ(isNoList, GL_FALSE);
    EXPECT_EQ(enabled, GL_TRUE);
    EXPECT_EQ(rec.Count("glGenLists"), 1u);
    glDeleteLists(list, 2);
}

TEST_F(GLRecorderTest, SelectionModeRecordsNamesAndReturnsHits) {
    GLuint buffer[64] = {};
    GLRecorder rec;
    glSelectBuffer(64, buffer);
    glRenderMode(GL_SELECT);
    glInitNames();
    glPushName(7);
    glBegin(GL_TRIANGLES);
    glVertex2f(-1, -1);
    glVertex2f(1, -1);
    glVertex2f(0, 1);
    glEnd();
    glPopName();
    const GLint hits = glRenderMode(GL_RENDER);
    rec.Stop();
    EXPECT_EQ(hits, 1);
    EXPECT_EQ(buffer[3], 7u);
    EXPECT_THAT(
        rec.Filter({"glRenderMode", "glPushName", "glPopName"}),
        ElementsAre("glRenderMode(GL_SELECT)", "glPushName(7)", "glPopName()", "glRenderMode(GL_RENDER)"));
}

TEST_F(GLRecorderTest, StopStartAndDestructionEndRecording) {
    GLRecorder rec(false);
    glPushMatrix();
    EXPECT_FALSE(rec.Recording());
    rec.Start();
    glPopMatrix();
    rec.Stop();
    glLoadIdentity();
    EXPECT_EQ(rec.Calls(), (Calls{"glPopMatrix()"}));
    {
        GLRecorder inner;
        rec.Start(); // the most recently started recorder records
        glFlush();
        EXPECT_TRUE(inner.Calls().empty());
        rec.Stop();
    }
    EXPECT_EQ(rec.Names(), (Calls{"glPopMatrix", "glFlush"}));
    GLRecorder gone(false);
    {
        GLRecorder scoped;
        glFinish();
        EXPECT_EQ(scoped.Calls(), (Calls{"glFinish()"}));
    }
    glFinish(); // must not touch the destroyed recorder
    EXPECT_TRUE(gone.Calls().empty());
}

TEST_F(GLRecorderTest, QueryHelpersSelectByName) {
    GLRecorder rec;
    glPushMatrix();
    glPushAttrib(GL_ENABLE_BIT);
    glPopAttrib();
    glPopMatrix();
    glPushMatrix();
    glPopMatrix();
    gluOrtho2D(0, 1, 0, 1);
    rec.Stop();
    EXPECT_EQ(rec.Count("glPushMatrix"), 2u);
    EXPECT_EQ(rec.Count("glPush"), 0u) << "Count matches whole names";
    EXPECT_THAT(rec.Filter("glPush"),
                ElementsAre("glPushMatrix()", "glPushAttrib(GL_ENABLE_BIT)", "glPushMatrix()"));
    EXPECT_THAT(rec.Filter("glu"), ElementsAre("gluOrtho2D(0, 1, 0, 1)"));
    EXPECT_THAT(rec.Filter({"glPopAttrib", "gluOrtho2D"}),
                ElementsAre("glPopAttrib()", "gluOrtho2D(0, 1, 0, 1)"));
    rec.Clear();
    EXPECT_TRUE(rec.Calls().empty());
    EXPECT_TRUE(rec.Names().empty());
}

} // namespace
