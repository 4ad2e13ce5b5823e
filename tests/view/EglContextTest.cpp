#include "view/detail/EglContext.h"
#include "support/GLTestContext.h"

#include <orn/host/EOrnError.h>

#include <GL/gl.h>
#include <gtest/gtest.h>

#include <array>
#include <string>

using orn::EOrnError;
using orn::detail::EglContext;

namespace {

// Contexts of their own leave the shared test context unbound; rebinding is the next fixture's job.
class EglContextTest : public ::testing::Test {
protected:
    void SetUp() override {
        std::string reason;
        if (!EglContext::Available(&reason)) GTEST_SKIP() << "EGL unavailable: " << reason;
    }
    void TearDown() override { EglContext::DoneCurrent(); }

    // The pixel at (x, y) after clearing to red and drawing a green square over the left half.
    static std::array<unsigned char, 4> DrawAndRead(int x, int y) {
        glClearColor(1, 0, 0, 1);
        glClear(GL_COLOR_BUFFER_BIT);
        glColor3f(0, 1, 0);
        glRectf(-1, -1, 0, 1);
        std::array<unsigned char, 4> pixel{};
        glReadPixels(x, y, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, pixel.data());
        EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
        return pixel;
    }
};

TEST_F(EglContextTest, CreatesAnRgba8Depth24StencilContextThatRunsFixedFunctionGL) {
    EglContext context;
    context.Create(32, 16);
    EXPECT_EQ(context.Width(), 32);
    EXPECT_EQ(context.Height(), 16);
    const EglContext::Format& got = context.Obtained();
    EXPECT_EQ((std::array{got.redBits, got.greenBits, got.blueBits, got.alphaBits}),
              (std::array{8, 8, 8, 8}));
    EXPECT_GE(got.depthBits, 24);
    EXPECT_GE(got.stencilBits, 8);
    context.MakeCurrent();
    EXPECT_TRUE(context.IsCurrent());
    EXPECT_EQ(DrawAndRead(4, 4), (std::array<unsigned char, 4>{0, 255, 0, 255}));
    EXPECT_EQ(DrawAndRead(28, 12), (std::array<unsigned char, 4>{255, 0, 0, 255}));

    EglContext tiny;
    tiny.Create(0, -5); // clamped to one pixel
    EXPECT_EQ(tiny.Width(), 1);
    EXPECT_EQ(tiny.Height(), 1);
}

TEST_F(EglContextTest, SharedContextSeesListsAndTexturesAndResizingKeepsThem) {
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
    EXPECT_TRUE(glIsList(list));
    EXPECT_TRUE(glIsTexture(texture));
    second.Resize(40, 24);
    EXPECT_TRUE(second.IsCurrent());
    EXPECT_EQ(second.Width(), 40);
    EXPECT_EQ(second.Height(), 24);
    glViewport(0, 0, 40, 24);
    EXPECT_EQ(DrawAndRead(39, 23)[0], 255) << "the new drawable is the new size";
    EXPECT_TRUE(glIsList(list)) << "resizing keeps the context, only the drawable changes";
    second.Swap();

    EglContext unshared;
    unshared.Create(8, 8);
    unshared.MakeCurrent();
    EXPECT_FALSE(glIsList(list));
}

TEST_F(EglContextTest, MisuseThrowsWithAClearMessageAndMovingTransfersOwnership) {
    EglContext context;
    EXPECT_THROW(context.MakeCurrent(), EOrnError);
    EXPECT_THROW(context.Resize(4, 4), EOrnError);
    EglContext other;
    auto message = [&](EglContext::Format format, EglContext* share) -> std::string {
        try {
            context.Create(4, 4, share, format);
        } catch (const EOrnError& e) {
            return e.what();
        }
        return "no exception";
    };
    EXPECT_NE(message({}, &other).find("share"), std::string::npos);
    EglContext::Format impossible;
    impossible.redBits = 64;
    EXPECT_NE(message(impossible, nullptr).find("no pbuffer configuration"), std::string::npos);
    EXPECT_FALSE(context.IsCreated());
    EXPECT_STREQ(orn::detail::EglErrorName(EGL_BAD_MATCH), "EGL_BAD_MATCH");
    EXPECT_STREQ(orn::detail::EglErrorName(0x1234), "0x1234");

    context.Create(4, 4);
    EglContext moved(std::move(context));
    EXPECT_FALSE(context.IsCreated());
    EXPECT_TRUE(moved.IsCreated());
    moved.Release();
    EXPECT_FALSE(moved.IsCreated());
}

using GLTestFixture = orn::test::GLTest;

TEST_F(GLTestFixture, SetUpRestoresTheDefaultStateLeftDirty) {
    glEnable(GL_LIGHTING);
    glMatrixMode(GL_PROJECTION);
    glPushMatrix();
    glTranslatef(1, 2, 3);
    glPushAttrib(GL_ENABLE_BIT);
    glEnable(GL_FOG);
    glRenderMode(GL_SELECT);

    SetUp(); // what the next test would get

    EXPECT_FALSE(glIsEnabled(GL_LIGHTING));
    EXPECT_FALSE(glIsEnabled(GL_FOG));
    GLint mode = 0, depth = 0, renderMode = 0;
    glGetIntegerv(GL_MATRIX_MODE, &mode);
    glGetIntegerv(GL_PROJECTION_STACK_DEPTH, &depth);
    glGetIntegerv(GL_RENDER_MODE, &renderMode);
    EXPECT_EQ((std::array{mode, depth, renderMode}), (std::array<GLint, 3>{GL_MODELVIEW, 1, GL_RENDER}));
    GLdouble m[16];
    glGetDoublev(GL_PROJECTION_MATRIX, m);
    EXPECT_EQ(m[12], 0.0);
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
}

} // namespace
