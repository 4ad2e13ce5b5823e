#include "ControlledFixture.h"

#include "support/MemoryExchange.h"

#include <orn/interaction/TOrnCarController.h>

#include <gtest/gtest.h>

#include <cmath>

using namespace orn;

namespace {

class CarControllerTest : public test::ControlledFixture<TOrnCarController> {
protected:
    CarControllerTest() { ctl->SetControlled(target); }
    void Press(std::uint16_t key, int times = 1) {
        for (int i = 0; i < times; ++i)
            ASSERT_TRUE(ctl->HandleKey(key, {}));
    }
};

} // namespace

TEST_F(CarControllerTest, SetControlledPutsRotationBeforeTranslation) {
    auto* other = new TOrnTransformed(form.get());
    other->Transformation()->SetOrder(toTraScaRot);
    ctl->SetControlled(other);
    EXPECT_EQ(other->Transformation()->Order(), toRotTraSca);
}

TEST_F(CarControllerTest, UpReachesMaxSpeedAfterTwentyPressesAndStays) {
    Press(VK_UP, 19);
    EXPECT_LT(ctl->CurrentSpeed(), 1.0f);
    Press(VK_UP);
    EXPECT_EQ(ctl->CurrentSpeed(), 1.0f);
    Press(VK_UP, 5);
    EXPECT_EQ(ctl->CurrentSpeed(), 1.0f);
}

TEST_F(CarControllerTest, DownBrakesToStandstillWithoutReverse) {
    ctl->SetCurrentSpeed(0.25f);
    Press(VK_DOWN);
    EXPECT_FLOAT_EQ(ctl->CurrentSpeed(), 0.15f);
    Press(VK_DOWN, 3);
    EXPECT_EQ(ctl->CurrentSpeed(), 0.0f);
}

TEST_F(CarControllerTest, NegativeReverseSpeedLetsTheCarReverse) {
    ctl->SetReverseSpeed(-0.15f);
    Press(VK_DOWN);
    EXPECT_FLOAT_EQ(ctl->CurrentSpeed(), -0.1f);
    Press(VK_DOWN);
    EXPECT_EQ(ctl->CurrentSpeed(), -0.15f);
    ctl->Move();
    EXPECT_NEAR(T()->Z(), -0.15, 1e-6); // backwards at heading 0
}

TEST_F(CarControllerTest, AccelerateAndBrakeUseTheMagnitude) {
    ctl->Accelerate(-0.3f);
    EXPECT_FLOAT_EQ(ctl->CurrentSpeed(), 0.3f);
    ctl->Brake(-0.1f);
    EXPECT_FLOAT_EQ(ctl->CurrentSpeed(), 0.2f);
    ctl->Stop();
    EXPECT_EQ(ctl->CurrentSpeed(), 0.0f);
}

TEST_F(CarControllerTest, SpeedLimitsClampTheCurrentSpeed) {
    ctl->SetCurrentSpeed(5);
    EXPECT_EQ(ctl->CurrentSpeed(), 1.0f);
    ctl->SetCurrentSpeed(-5);
    EXPECT_EQ(ctl->CurrentSpeed(), 0.0f);
    ctl->SetCurrentSpeed(0.8f);
    ctl->SetMaxSpeed(0.5f); // lowers the current speed at once
    EXPECT_EQ(ctl->CurrentSpeed(), 0.5f);
    ctl->SetMaxSpeed(-1); // ignored
    EXPECT_EQ(ctl->MaxSpeed(), 0.5f);
    ctl->SetReverseSpeed(0.5f); // must not be positive: ignored
    EXPECT_EQ(ctl->ReverseSpeed(), 0.0f);
    ctl->SetReverseSpeed(-2);
    ctl->SetCurrentSpeed(-3);
    EXPECT_EQ(ctl->CurrentSpeed(), -2.0f);
    ctl->SetReverseSpeed(-1); // raises the current speed at once
    EXPECT_EQ(ctl->CurrentSpeed(), -1.0f);
    ctl->SetCurrentSpeed(NAN);
    EXPECT_EQ(ctl->CurrentSpeed(), -1.0f);
}

TEST_F(CarControllerTest, NegativeStepsAreIgnored) {
    ctl->SetAcceleration(-1);
    ctl->SetBraking(-1);
    ctl->SetTurnAngle(-1);
    ctl->SetMaxSpeed(NAN);
    EXPECT_EQ(ctl->Acceleration(), 0.05f);
    EXPECT_EQ(ctl->Braking(), 0.1f);
    EXPECT_EQ(ctl->TurnAngle(), 1.0f);
    EXPECT_EQ(ctl->MaxSpeed(), 1.0f);
    ctl->SetTurnAngle(0);
    EXPECT_EQ(ctl->TurnAngle(), 0.0f);
}

TEST_F(CarControllerTest, KeysChangeOnlySpeedAndHeading) {
    ctl->SetTurnAngle(15);
    Press(VK_RIGHT);
    EXPECT_EQ(R()->Y(), 15.0f);
    Press(VK_LEFT, 2);
    EXPECT_EQ(R()->Y(), 345.0f);
    Press(VK_UP);
    EXPECT_EQ(T()->AsMathVector(), (TOrnMathVector{}));
    for (int key : std::initializer_list<int>{VK_PRIOR, VK_NEXT, VK_END, VK_HOME, VK_SPACE, 0, 65535})
        EXPECT_FALSE(ctl->HandleKey(static_cast<std::uint16_t>(key), {})) << key;
}

TEST_F(CarControllerTest, MoveGoesCurrentSpeedAlongTheHeading) {
    Place({1, 2, 3}, {0, 90, 0});
    ctl->SetCurrentSpeed(0.5f);
    ctl->Move();
    EXPECT_NEAR(T()->X(), 0.5, 1e-6); // heading 90: a = 0, x − cos(0) × 0.5
    EXPECT_EQ(T()->Y(), 2.0f);
    EXPECT_NEAR(T()->Z(), 3.0, 1e-6);
    Place({}, {0, 30, 0});
    ctl->Move();
    EXPECT_NEAR(T()->X(), -std::cos(60 * M_PI / 180) * 0.5, 1e-6);
    EXPECT_NEAR(T()->Z(), std::sin(60 * M_PI / 180) * 0.5, 1e-6);
    EXPECT_EQ(seen.size(), 2u); // X, then Z, each through its own setter
}

TEST_F(CarControllerTest, EyeHeightIsTheTranslationY) {
    ctl->SetEyeHeight(1.7f);
    EXPECT_EQ(T()->Y(), 1.7f);
    T()->SetY(2.5f);
    EXPECT_EQ(ctl->EyeHeight(), 2.5f);
}

TEST_F(CarControllerTest, WithoutControlledNothingHappens) {
    ctl->SetControlled(nullptr);
    ctl->SetCurrentSpeed(0.5f);
    EXPECT_FALSE(ctl->HandleKey(VK_UP, {}));
    ctl->Accelerate(1);
    ctl->Brake(1);
    ctl->Stop();
    ctl->Move();
    ctl->Turn(10);
    ctl->SetEyeHeight(3);
    EXPECT_EQ(ctl->CurrentSpeed(), 0.5f);
    EXPECT_EQ(ctl->EyeHeight(), 0.0f);
    EXPECT_TRUE(seen.empty());
}

TEST_F(CarControllerTest, RemovingTheControlledComponentClearsControlled) {
    delete target;
    EXPECT_EQ(ctl->Controlled(), nullptr);
    EXPECT_FALSE(ctl->HandleKey(VK_LEFT, {}));
    ctl->Move();
}

TEST_F(CarControllerTest, ExchangeReadsTheLimitsFirstAndClampsOnRead) {
    ctl->SetMaxSpeed(2);
    ctl->SetReverseSpeed(-0.5f);
    ctl->SetCurrentSpeed(1.5f);
    ctl->SetBraking(0.75f);
    test::MemoryExchange file;
    file.Save(*ctl);
    EXPECT_EQ(file.root.Find("EyeHeight"), nullptr); // derived, not stored

    TOrnCarController back(nullptr);
    file.Load(back); // the limits come first, so 1.5 survives a default MaxSpeed of 1
    EXPECT_EQ(back.MaxSpeed(), 2.0f);
    EXPECT_EQ(back.CurrentSpeed(), 1.5f);

    file.Set("MaxSpeed", "-3");
    file.Set("ReverseSpeed", "1e300");
    file.Set("CurrentSpeed", "1e300");
    file.Set("Braking", "nan");
    file.Load(back);
    EXPECT_EQ(back.MaxSpeed(), 2.0f);
    EXPECT_EQ(back.ReverseSpeed(), -0.5f);
    EXPECT_EQ(back.CurrentSpeed(), 2.0f);
    EXPECT_EQ(back.Braking(), 0.75f);
}
