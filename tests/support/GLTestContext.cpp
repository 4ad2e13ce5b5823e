#include "support/GLTestContext.h"

#include <GL/gl.h>

#include <memory>

namespace orn::test {

namespace {

void PopToDepth(GLenum mode, GLenum depthQuery) {
    glMatrixMode(mode);
    GLint depth = 1;
    while ((glGetIntegerv(depthQuery, &depth), depth) > 1)
        glPopMatrix();
    glLoadIdentity();
}

} // namespace

void GLTest::SetUp() {
    // One context for the whole process, created on first use; none where EGL is unavailable.
    static std::string failure;
    static const std::unique_ptr<detail::EglContext> context = [] {
        auto created = std::make_unique<detail::EglContext>();
        try {
            created->Create(64, 64);
        } catch (const std::exception& e) {
            failure = e.what();
            created.reset();
        }
        return created;
    }();
    fContext = context.get();
    if (!fContext) GTEST_SKIP() << "no headless OpenGL context: " << failure;
    fContext->Resize(fWidth, fHeight);
    fContext->MakeCurrent();
    // Each test opens an attribute group on the default state, so popping everything open restores it.
    GLint value = 0;
    while ((glGetIntegerv(GL_ATTRIB_STACK_DEPTH, &value), value) > 0)
        glPopAttrib();
    while ((glGetIntegerv(GL_CLIENT_ATTRIB_STACK_DEPTH, &value), value) > 0)
        glPopClientAttrib();
    if ((glGetIntegerv(GL_LIST_INDEX, &value), value) != 0) glEndList();
    if ((glGetIntegerv(GL_RENDER_MODE, &value), value) != GL_RENDER) glRenderMode(GL_RENDER);
    PopToDepth(GL_TEXTURE, GL_TEXTURE_STACK_DEPTH);
    PopToDepth(GL_PROJECTION, GL_PROJECTION_STACK_DEPTH);
    PopToDepth(GL_MODELVIEW, GL_MODELVIEW_STACK_DEPTH);
    while (glGetError() != GL_NO_ERROR) {
    }
    glPushAttrib(GL_ALL_ATTRIB_BITS);
    glPushClientAttrib(GL_CLIENT_ALL_ATTRIB_BITS);
    glViewport(0, 0, fWidth, fHeight);
}

Rgba GLTest::ReadPixel(int x, int y) const {
    Rgba pixel{};
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glReadPixels(x, y, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, pixel.data());
    return pixel;
}

Image GLTest::ReadImage() const {
    Image image{fWidth, fHeight, std::vector<std::uint8_t>(static_cast<std::size_t>(fWidth) * fHeight * 4)};
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glReadPixels(0, 0, fWidth, fHeight, GL_RGBA, GL_UNSIGNED_BYTE, image.pixels.data());
    return image;
}

void GLTest::ClearTo(float r, float g, float b) {
    glClearColor(r, g, b, 1.0f);
    glClearDepth(1.0);
    glClearStencil(0);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT);
}

} // namespace orn::test
