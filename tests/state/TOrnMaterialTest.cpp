#include <orn/scene/TOrnObject.h>
#include <orn/state/TOrnMaterial.h>

#include "support/GLRecorder.h"
#include "support/GLTestContext.h"
#include "support/TestView.h"

#include <gtest/gtest.h>

#include <GL/gl.h>

using namespace orn;
using orn::test::GLRecorder;
using orn::test::TestView;
using Calls = std::vector<std::string>;

TEST(TOrnMaterial, ShininessOutsideZeroTo128IsIgnored) {
    TOrnMaterial m(nullptr);
    for (auto [set, kept] : {std::pair{50, 50}, {129, 50}, {-1, 50}, {128, 128}, {0, 0}}) {
        m.SetShininess(set);
        EXPECT_EQ(m.Shininess(), kept) << set;
    }
}

TEST(TOrnMaterial, PartColoursByIndexAndObjectsForgetADestroyedMaterial) {
    TComponent form(nullptr);
    auto* m = new TOrnMaterial(&form);
    TOrnColor red;
    red.SetColor(clRed);
    m->SetPartColor(4, &red);
    EXPECT_EQ(m->ColorEmission()->Color(), clRed);
    for (int bad : {0, 5})
        m->SetPartColor(bad, &red);
    m->SetPartColor(2, nullptr);
    for (TOrnColor* c : {m->ColorAmbient(), m->ColorDiffuse(), m->ColorSpecular()})
        EXPECT_NE(c->Color(), clRed);
    auto* object = new TOrnObject(&form);
    object->SetMaterial(m);
    delete m;
    EXPECT_EQ(object->Material(), nullptr);
}

namespace {

class MaterialGL : public orn::test::GLTest {
protected:
    void SetUp() override {
        GLTest::SetUp();
        view->RenderState()->BeginFrame();
    }
    TComponent form{nullptr};
    TestView* view = new TestView(&form);
    TOrnMaterial* material = new TOrnMaterial(&form);
};

} // namespace

TEST_F(MaterialGL, RenderSendsFourColoursThenShininess) {
    material->ColorDiffuse()->SetAlpha(0.5f); // passed on unchanged, for blending
    material->SetShininess(64);
    GLRecorder rec;
    material->Render(view);
    EXPECT_EQ(rec.Calls(),
              (Calls{"glPushMatrix()", "glMaterialfv(GL_FRONT_AND_BACK, GL_AMBIENT, {0.2, 0.2, 0.2, 1})",
                     "glMaterialfv(GL_FRONT_AND_BACK, GL_DIFFUSE, {0.8, 0.8, 0.8, 0.5})",
                     "glMaterialfv(GL_FRONT_AND_BACK, GL_SPECULAR, {0, 0, 0, 1})",
                     "glMaterialfv(GL_FRONT_AND_BACK, GL_EMISSION, {0, 0, 0, 1})",
                     "glMateriali(GL_FRONT_AND_BACK, GL_SHININESS, 64)", "glPopMatrix()"}));
}

TEST_F(MaterialGL, FaceChoosesTheEnumerant) {
    const std::pair<TMaterialFace, std::string> faces[] = {
        {mfFront, "glMateriali(GL_FRONT, GL_SHININESS, 0)"},
        {mfBack, "glMateriali(GL_BACK, GL_SHININESS, 0)"},
        {mfFrontBack, "glMateriali(GL_FRONT_AND_BACK, GL_SHININESS, 0)"},
    };
    for (const auto& [face, call] : faces) {
        material->SetFace(face);
        view->RenderState()->BeginFrame();
        GLRecorder rec;
        material->Render(view);
        EXPECT_EQ(rec.Filter({"glMateriali"}), (Calls{call}));
    }
}

TEST_F(MaterialGL, SentOncePerFrameAgainAfterAChangeOrAnotherMaterialInBetween) {
    auto* other = new TOrnMaterial(&form);
    other->SetShininess(5);
    GLRecorder rec;
    material->Render(view);
    material->Render(view);
    other->Render(view);
    material->Render(view);
    material->SetShininess(20);
    material->Render(view);
    material->Render(view);
    EXPECT_EQ(rec.Filter({"glMateriali"}), (Calls{"glMateriali(GL_FRONT_AND_BACK, GL_SHININESS, 0)",
                                                  "glMateriali(GL_FRONT_AND_BACK, GL_SHININESS, 5)",
                                                  "glMateriali(GL_FRONT_AND_BACK, GL_SHININESS, 0)",
                                                  "glMateriali(GL_FRONT_AND_BACK, GL_SHININESS, 20)"}));
}
