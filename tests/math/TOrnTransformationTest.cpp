#include <orn/math/TOrnTransformation.h>

#include <gtest/gtest.h>

using namespace orn;

TEST(TOrnRotation, ModAngleReducesIntoZeroTo360) {
    TOrnRotation r;
    const std::pair<float, float> cases[] = {{-90, 270}, {720, 0}, {359.9f, 359.9f}, {360, 0},
                                             {370, 10},  {-370, 350}, {-360, 0},    {45, 45}};
    for (auto [in, out] : cases) EXPECT_FLOAT_EQ(r.ModAngle(in), out) << in;
}

TEST(TOrnRotation, CompareBeforeReducing) {
    TOrnRotation r;
    int changes = 0;
    r.OnChange = [&](TObject*) { ++changes; };
    r.SetY(10);
    r.SetY(370); // differs from 10 before the reduction, so it notifies
    EXPECT_EQ(r.Y(), 10);
    EXPECT_EQ(changes, 2);
    r.SetY(10);
    EXPECT_EQ(changes, 2);
}

TEST(TOrnTransformation, EmptinessOfEachPart) {
    TOrnTransformation t;
    EXPECT_TRUE(t.GetEmpty());
    t.Scale()->SetZ(2);
    EXPECT_FALSE(t.Scale()->GetEmpty());
    EXPECT_FALSE(t.GetEmpty());
    t.Scale()->SetZ(1);
    t.Rotation()->SetX(360); // reduces to 0
    EXPECT_TRUE(t.GetEmpty());
}

TEST(TOrnTransformation, AnyPartChangeNotifiesTheOwner) {
    TOrnTransformation t;
    std::vector<TObject*> senders;
    t.OnChange = [&](TObject* s) { senders.push_back(s); };
    t.Translation()->SetX(1);
    t.Rotation()->SetOrder(roZYX);
    t.Scale()->SetY(3);
    t.SetOrder(toScaTraRot);
    ASSERT_EQ(senders.size(), 4u);
    for (TObject* s : senders) EXPECT_EQ(s, &t);
}

TEST(TOrnTransformation, AssignCopiesPartsButNotOrder) {
    TOrnTransformation a, b;
    a.SetOrder(toScaTraRot);
    a.Rotation()->SetValues(10, 20, 30);
    a.Rotation()->SetOrder(roYZX);
    a.Translation()->SetValues(1, 2, 3);
    a.Scale()->SetValues(2, 2, 2);
    int changes = 0;
    b.OnChange = [&](TObject*) { ++changes; };
    b.Assign(&a);
    EXPECT_EQ(b.Order(), toRotTraSca);
    EXPECT_EQ(b.Rotation()->Order(), roYZX);
    EXPECT_EQ(b.Rotation()->AsMathVector(), ToVec(10, 20, 30));
    EXPECT_EQ(b.Translation()->AsMathVector(), ToVec(1, 2, 3));
    EXPECT_EQ(b.Scale()->AsMathVector(), ToVec(2, 2, 2));
    EXPECT_EQ(changes, 4); // rotation values, rotation order, scale, translation
    b.SetRotation(nullptr);
    EXPECT_EQ(changes, 4);
}
