#include <orn/scene/TOrnObject.h>
#include <orn/state/TOrnAttributes.h>
#include <orn/state/TOrnMaterial.h>

#include "support/GLRecorder.h"
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

TEST(TOrnMaterial, PartColoursByIndexAndObjectsForgetADestroyedMaterialOrAttributes) {
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
    auto* attributes = new TOrnAttributes(&form);
    object->SetMaterial(m);
    object->SetAttributes(attributes);
    delete m;
    EXPECT_EQ(object->Material(), nullptr);
    EXPECT_EQ(object->Attributes(), attributes);
    delete attributes;
    EXPECT_EQ(object->Attributes(), nullptr);
}

namespace {

class MaterialGL : public orn::test::ViewGLTest {
protected:
    TOrnMaterial* material = new TOrnMaterial(&form);
};

} // namespace

TEST_F(MaterialGL, RenderSendsFourColoursThenShininessToTheFacesChosen) {
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
    for (auto [face, name] : {std::pair{mfFront, "GL_FRONT"}, {mfBack, "GL_BACK"}}) {
        material->SetFace(face);
        rec.Clear();
        material->Render(view);
        EXPECT_EQ(rec.Filter({"glMateriali"}),
                  (Calls{"glMateriali(" + std::string(name) + ", GL_SHININESS, 64)"}));
    }
}
