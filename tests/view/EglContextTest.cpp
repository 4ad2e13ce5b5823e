#include "view/detail/EglContext.h"
#include "support/GLTestContext.h"

#include <orn/host/EOrnError.h>

#include <GL/gl.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>

using orn::EOrnError;
using orn::detail::EglContext;
using orn::test::GLTest;

namespace {

// Contexts of their own leave the shared test context unbound; rebinding is the next fixture's job.
class EglContextTest : public ::testing::Test {
protected:
    void SetUp() override {
        std::string reason;
        if (!EglContext::Available(&reason)) GTEST_SKIP() << "EGL unavailable: " << reason;
    }
    void TearDown() override { EglContext::DoneCurrent(); }
};

TEST_F(EglContextTest, CreateObtainsRgba8Depth24Stencil) {
    EglContext context;
    context.Create(32, 16);
    EXPECT_TRUE(context.IsCreated());
    EXPECT_EQ(context.Width(), 32);
    EXPECT_EQ(context.Height(), 16);
    const EglContext::Format& got = context.Obtained();
    EXPECT_EQ(got.redBits, 8);
    EXPECT_EQ(got.greenBits, 8);
    EXPECT_EQ(got.blueBits, 8);
    EXPECT_EQ(got.alphaBits, 8);
    EXPECT_GE(got.depthBits, 24);
    EXPECT_GE(got.stencilBits, 8);
}

TEST_F(EglContextTest, CompatibilityContextRunsFixedFunctionGL) {
    EglContext context;
    context.Create(8, 8);
    context.MakeCurrent();
    EXPECT_TRUE(context.IsCurrent());
    const char* version = reinterpret_cast<const char*>(glGetString(GL_VERSION));
    ASSERT_NE(version, nullptr);
    glClearColor(0, 0, 0, 1);
    glClear(GL_COLOR_BUFFER_BIT);
    glBegin(GL_QUADS);
    glColor3f(0, 1, 0);
    glVertex2f(-1, -1);
    glVertex2f(1, -1);
    glVertex2f(1, 1);
    glVertex2f(-1, 1);
    glEnd();
    unsigned char pixel[4] = {};
    glReadPixels(4, 4, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, pixel);
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR)) << version;
    EXPECT_EQ(pixel[0], 0);
    EXPECT_EQ(pixel[1], 255);
    EXPECT_EQ(pixel[2], 0);
}

TEST_F(EglContextTest, SharedContextSeesDisplayListsAndTextures) {
    EglContext first;
    first.Create(8, 8);
    first.MakeCurrent();
    const GLuint list = glGenLists(1);
    glNewList(list, GL_COMPILE);
    glEndList();
    GLuint texture = 0;
    glGenTextures(1, &texture);
    glBindTexture(GL_TEXTURE_2D, texture);

    EglContext second;
    second.Create(8, 8, &first);
    second.MakeCurrent();
    EXPECT_EQ(glIsList(list), GL_TRUE);
    EXPECT_EQ(glIsTexture(texture), GL_TRUE);

    EglContext unshared;
    unshared.Create(8, 8);
    unshared.MakeCurrent();
    EXPECT_EQ(glIsList(list), GL_FALSE);
}

TEST_F(EglContextTest, ResizeKeepsTheContextCurrentAtTheNewSize) {
    EglContext context;
    context.Create(8, 8);
    context.MakeCurrent();
    const GLuint list = glGenLists(1);
    context.Resize(40, 24);
    EXPECT_TRUE(context.IsCurrent());
    EXPECT_EQ(context.Width(), 40);
    EXPECT_EQ(context.Height(), 24);
    glViewport(0, 0, 40, 24);
    glClearColor(1, 0, 0, 1);
    glClear(GL_COLOR_BUFFER_BIT);
    unsigned char pixel[4] = {};
    glReadPixels(39, 23, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, pixel);
    EXPECT_EQ(pixel[0], 255);
    EXPECT_EQ(glIsList(list), GL_TRUE) << "resizing must keep the context, only the surface changes";
    context.Swap();
}

TEST_F(EglContextTest, DegenerateSizesAreClampedToOnePixel) {
    EglContext context;
    context.Create(0, -5);
    EXPECT_EQ(context.Width(), 1);
    EXPECT_EQ(context.Height(), 1);
}

TEST_F(EglContextTest, MisuseThrowsWithAClearMessage) {
    EglContext context;
    EXPECT_THROW(context.MakeCurrent(), EOrnError);
    EXPECT_THROW(context.Resize(4, 4), EOrnError);
    EglContext other;
    try {
        context.Create(4, 4, &other);
        FAIL() << "sharing with an uncreated context must throw";
    } catch (const EOrnError& e) {
        EXPECT_NE(std::strstr(e.what(), "share"), nullptr) << e.what();
    }
    EglContext::Format impossible;
    impossible.redBits = 64;
    try {
        context.Create(4, 4, nullptr, impossible);
        FAIL() << "an impossible configuration must throw";
    } catch (const EOrnError& e) {
        EXPECT_NE(std::strstr(e.what(), "no pbuffer configuration"), nullptr) << e.what();
    }
    EXPECT_FALSE(context.IsCreated());
}

TEST_F(EglContextTest, MoveTransfersOwnership) {
    EglContext a;
    a.Create(4, 4);
    EglContext b(std::move(a));
    EXPECT_FALSE(a.IsCreated());
    EXPECT_TRUE(b.IsCreated());
    b.Release();
    EXPECT_FALSE(b.IsCreated());
}

TEST(EglErrorName, NamesKnownCodesAndHexesUnknownOnes) {
    EXPECT_STREQ(orn::detail::EglErrorName(EGL_BAD_MATCH), "EGL_BAD_MATCH");
    EXPECT_STREQ(orn::detail::EglErrorName(0x1234), "0x1234");
}

using GLTestFixture = GLTest;

TEST_F(GLTestFixture, SetUpRestoresTheDefaultStateLeftDirty) {
    glEnable(GL_LIGHTING);
    glMatrixMode(GL_PROJECTION);
    glPushMatrix();
    glTranslatef(1, 2, 3);
    glPushAttrib(GL_ENABLE_BIT);
    glEnable(GL_FOG);
    glRenderMode(GL_SELECT);

    SetUp(); // what the next test would get

    EXPECT_EQ(glIsEnabled(GL_LIGHTING), GL_FALSE);
    EXPECT_EQ(glIsEnabled(GL_FOG), GL_FALSE);
    GLint mode = 0, depth = 0, renderMode = 0;
    glGetIntegerv(GL_MATRIX_MODE, &mode);
    glGetIntegerv(GL_PROJECTION_STACK_DEPTH, &depth);
    glGetIntegerv(GL_RENDER_MODE, &renderMode);
    EXPECT_EQ(mode, GL_MODELVIEW);
    EXPECT_EQ(depth, 1);
    EXPECT_EQ(renderMode, GL_RENDER);
    GLdouble m[16];
    glGetDoublev(GL_PROJECTION_MATRIX, m);
    EXPECT_EQ(m[12], 0.0);
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
}

} // namespace
