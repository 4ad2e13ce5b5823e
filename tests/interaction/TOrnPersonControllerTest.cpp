#include "ControlledFixture.h"

#include <orn/interaction/TOrnPersonController.h>

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

using namespace orn;

namespace {

class PersonControllerTest : public test::ControlledFixture<TOrnPersonController> {
protected:
    PersonControllerTest() { ctl->SetControlled(target); }
};

} // namespace

TEST_F(PersonControllerTest, SetControlledPutsRotationBeforeTranslation) {
    auto* other = new TOrnTransformed(form.get());
    other->Transformation()->SetOrder(toScaRotTra);
    ctl->SetControlled(other);
    EXPECT_EQ(other->Transformation()->Order(), toRotTraSca);
}

TEST_F(PersonControllerTest, StepAtHeadingZeroGoesAlongZ) {
    EXPECT_TRUE(ctl->HandleKey(VK_UP, {}));
    EXPECT_NEAR(T()->X(), -std::cos(std::numbers::pi / 2) * 0.1, 1e-12);
    EXPECT_FLOAT_EQ(T()->Z(), 0.1f);
    EXPECT_TRUE(ctl->HandleKey(VK_DOWN, {}));
    EXPECT_NEAR(T()->Z(), 0.0, 1e-7);
    EXPECT_EQ(T()->Y(), 0.0f);
}

TEST_F(PersonControllerTest, StepFollowsTheHeading) {
    Place({0, 1.8, 0}, {0, 270, 0});
    ctl->Move(2);
    EXPECT_NEAR(T()->X(), 2.0, 1e-6); // a = −180°: x − cos(a) × 2
    EXPECT_EQ(T()->Y(), 1.8f);
    EXPECT_NEAR(T()->Z(), 0.0, 1e-6);
}

TEST_F(PersonControllerTest, KeysTurnNodAndLookAhead) {
    ctl->SetTurnAngle(10);
    EXPECT_TRUE(ctl->HandleKey(VK_RIGHT, {}));
    EXPECT_EQ(R()->Y(), 10.0f);
    EXPECT_TRUE(ctl->HandleKey(VK_LEFT, {}));
    EXPECT_TRUE(ctl->HandleKey(VK_LEFT, {}));
    EXPECT_EQ(R()->Y(), 350.0f);
    EXPECT_TRUE(ctl->HandleKey(VK_NEXT, {}));
    EXPECT_EQ(R()->X(), 10.0f);
    EXPECT_TRUE(ctl->HandleKey(VK_PRIOR, {ssCtrl}));
    EXPECT_TRUE(ctl->HandleKey(VK_PRIOR, {}));
    EXPECT_EQ(R()->X(), 350.0f);
    EXPECT_TRUE(ctl->HandleKey(VK_HOME, {}));
    EXPECT_EQ(R()->X(), 0.0f);
    EXPECT_EQ(R()->Y(), 350.0f); // the heading stays
    EXPECT_FALSE(ctl->HandleKey(VK_END, {}));
    EXPECT_FALSE(ctl->HandleKey(VK_ESCAPE, {}));
}

TEST_F(PersonControllerTest, NegativeValuesAreIgnored) {
    ctl->SetStepLength(-0.5f);
    ctl->SetTurnAngle(-3);
    EXPECT_EQ(ctl->StepLength(), 0.1f);
    EXPECT_EQ(ctl->TurnAngle(), 1.0f);
    ctl->SetStepLength(0.5f);
    EXPECT_EQ(ctl->StepLength(), 0.5f);
}

TEST_F(PersonControllerTest, EyeHeightIsTheTranslationY) {
    ctl->SetEyeHeight(1.6f);
    EXPECT_EQ(T()->Y(), 1.6f);
    EXPECT_EQ(ctl->EyeHeight(), 1.6f);
}

TEST_F(PersonControllerTest, RemovingTheControlledComponentClearsControlled) {
    delete target;
    EXPECT_EQ(ctl->Controlled(), nullptr);
    EXPECT_FALSE(ctl->HandleKey(VK_UP, {}));
    ctl->Move(1);
    ctl->Turn(1);
    ctl->NodHead(1);
    ctl->HeadForward();
    ctl->SetEyeHeight(1);
    EXPECT_EQ(ctl->EyeHeight(), 0.0f);
}
