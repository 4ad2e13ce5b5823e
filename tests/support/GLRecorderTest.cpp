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

} // namespace
