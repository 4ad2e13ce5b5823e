#include "view/detail/EglContext.h"

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
};

TEST_F(EglContextTest, CreatesRgba8Depth24StencilContextsThatShareListsAndTexturesWhenAsked) {
    EglContext first;
    first.Create(32, 16);
    EXPECT_EQ(first.Width(), 32);
    EXPECT_EQ(first.Height(), 16);
    const EglContext::Format& got = first.Obtained();
    EXPECT_EQ((std::array{got.redBits, got.greenBits, got.blueBits, got.alphaBits}),
              (std::array{8, 8, 8, 8}));
    EXPECT_GE(got.depthBits, 24);
    EXPECT_GE(got.stencilBits, 8);
    first.MakeCurrent();
    EXPECT_TRUE(first.IsCurrent());
    const GLuint list = glGenLists(1);
    glNewList(list, GL_COMPILE);
    glEndList();
    GLuint texture = 0;
    glGenTextures(1, &texture);
    glBindTexture(GL_TEXTURE_2D, texture);

    EglContext second;
    second.Create(0, -5, &first); // clamped to one pixel
    EXPECT_EQ(second.Width(), 1);
    EXPECT_EQ(second.Height(), 1);
    second.MakeCurrent();
    EXPECT_TRUE(glIsList(list));
    EXPECT_TRUE(glIsTexture(texture));
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

} // namespace
