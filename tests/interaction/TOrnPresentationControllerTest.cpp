#include "ControlledFixture.h"

#include <orn/interaction/TOrnPresentationController.h>

#include <gtest/gtest.h>

using namespace orn;

namespace {

class PresentationControllerTest : public test::ControlledFixture<TOrnPresentationController> {
protected:
    PresentationControllerTest() { ctl->SetControlled(target); }
};

} // namespace

TEST_F(PresentationControllerTest, SetControlledPutsRotationBeforeTranslation) {
    auto* other = new TOrnTransformed(form.get());
    other->Transformation()->SetOrder(toRotScaTra);
    ctl->SetControlled(other);
    EXPECT_EQ(other->Transformation()->Order(), toRotTraSca);
}

TEST_F(PresentationControllerTest, KeysChooseTheTurnAndPresentApplies) {
    ctl->SetTurnAngle(5);
    ctl->Present();
    EXPECT_EQ(R()->Y(), 0.0f);
    EXPECT_TRUE(ctl->HandleKey(VK_RIGHT, {}));
    EXPECT_EQ(ctl->Mode(), pmRight);
    EXPECT_EQ(R()->Y(), 0.0f); // the key only chooses
    ctl->Present();
    ctl->Present();
    EXPECT_EQ(R()->Y(), 10.0f);
    EXPECT_TRUE(ctl->HandleKey(VK_LEFT, {}));
    ctl->Present();
    ctl->Present();
    ctl->Present();
    EXPECT_EQ(R()->Y(), 355.0f);
    EXPECT_TRUE(ctl->HandleKey(VK_END, {}));
    EXPECT_EQ(ctl->Mode(), pmStop);
    ctl->Present();
    EXPECT_EQ(R()->Y(), 355.0f);
}

TEST_F(PresentationControllerTest, UpAndDownChangeTheDistance) {
    Place({0, 0, 5}, {});
    EXPECT_TRUE(ctl->HandleKey(VK_UP, {}));
    EXPECT_FLOAT_EQ(ctl->Distance(), 5.1f);
    EXPECT_TRUE(ctl->HandleKey(VK_DOWN, {}));
    EXPECT_TRUE(ctl->HandleKey(VK_DOWN, {}));
    EXPECT_FLOAT_EQ(T()->Z(), 4.9f);
    EXPECT_EQ(seen.size(), 3u);
}

TEST_F(PresentationControllerTest, HomeAndOtherKeysAreNotHandled) {
    for (int key : std::initializer_list<int>{VK_HOME, VK_PRIOR, VK_NEXT, VK_RETURN, 1000})
        EXPECT_FALSE(ctl->HandleKey(static_cast<std::uint16_t>(key), {})) << key;
    EXPECT_EQ(ctl->Mode(), pmStop);
    EXPECT_TRUE(seen.empty());
}

TEST_F(PresentationControllerTest, SettersIgnoreBadValues) {
    ctl->SetTurnAngle(-1);
    ctl->SetDistanceStep(-1);
    EXPECT_EQ(ctl->TurnAngle(), 1.0f);
    EXPECT_EQ(ctl->DistanceStep(), 0.1f);
}

TEST_F(PresentationControllerTest, DerivedValuesAreTheTranslation) {
    ctl->SetDistance(7);
    ctl->SetEyeHeight(1.5f);
    EXPECT_EQ(T()->AsMathVector(), (TOrnMathVector{0, 1.5, 7}));
    T()->SetZ(3);
    EXPECT_EQ(ctl->Distance(), 3.0f);
}

TEST_F(PresentationControllerTest, RemovingTheControlledComponentClearsControlled) {
    ctl->SetMode(pmLeft);
    delete target;
    EXPECT_EQ(ctl->Controlled(), nullptr);
    ctl->Present();
    ctl->SetDistance(2);
    EXPECT_EQ(ctl->Distance(), 0.0f);
    EXPECT_FALSE(ctl->HandleKey(VK_RIGHT, {}));
}
