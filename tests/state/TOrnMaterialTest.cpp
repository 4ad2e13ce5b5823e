#include <orn/scene/TOrnObject.h>
#include <orn/state/TOrnAttributes.h>
#include <orn/state/TOrnMaterial.h>

#include "support/TestView.h"

#include <gtest/gtest.h>

#include <GL/gl.h>

#include <cmath>
#include <tuple>
#include <vector>

using namespace orn;

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

using MaterialGL = orn::test::ViewGLTest;

TEST_F(MaterialGL, RenderSetsFourColoursAndShininessOfTheFacesChosen) {
    auto* material = new TOrnMaterial(&form);
    material->ColorDiffuse()->SetAlpha(0.5f); // passed on unchanged, for blending
    material->ColorSpecular()->SetColor(clRed);
    material->ColorEmission()->SetColor(clBlue);
    material->SetShininess(64);
    material->Render(view);
    for (GLenum face : {GL_FRONT, GL_BACK}) {
        float v[17] = {};
        glGetMaterialfv(face, GL_AMBIENT, &v[0]);
        glGetMaterialfv(face, GL_DIFFUSE, &v[4]);
        glGetMaterialfv(face, GL_SPECULAR, &v[8]);
        glGetMaterialfv(face, GL_EMISSION, &v[12]);
        glGetMaterialfv(face, GL_SHININESS, &v[16]);
        for (float& f : v)
            f = std::round(f * 100) / 100;
        EXPECT_EQ(std::vector<float>(v, v + 17), (std::vector<float>{0.2f, 0.2f, 0.2f, 1, 0.8f, 0.8f, 0.8f,
                                                                     0.5f, 1, 0, 0, 1, 0, 0, 1, 1, 64}))
            << (face == GL_FRONT ? "front" : "back");
    }
    for (auto [face, front, back] : {std::tuple{mfFront, 64, 1}, {mfBack, 1, 64}, {mfFrontBack, 64, 64}}) {
        material->SetFace(face);
        glMaterialf(GL_FRONT_AND_BACK, GL_SHININESS, 1);
        material->Render(view);
        float got[2] = {};
        glGetMaterialfv(GL_FRONT, GL_SHININESS, &got[0]);
        glGetMaterialfv(GL_BACK, GL_SHININESS, &got[1]);
        EXPECT_EQ(got[0], front) << int(face);
        EXPECT_EQ(got[1], back) << int(face);
    }
}
