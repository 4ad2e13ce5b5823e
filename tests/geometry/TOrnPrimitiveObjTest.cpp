#include "geometry/GeometryTestSupport.h"
#include "geometry/detail/PointGrid.h"

#include <orn/geometry/TOrnPrimitiveObj.h>
#include <orn/host/EOrnError.h>
#include <orn/scene/TOrnRegistry.h>
#include <orn/scene/TOrnRender.h>

#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <random>

using namespace orn;
using orn::test::Entries;

namespace {

/// A primitive object whose build steps are given by the test and recorded.
class Probe : public TOrnPrimitiveObj {
public:
    using TOrnPrimitiveObj::SetTextureRef;
    using TOrnPrimitiveObj::TextureRender;
    using TOrnPrimitiveObj::TOrnPrimitiveObj;
    std::vector<std::string> calls;
    std::function<void(Probe&)> points, primitives;

protected:
    void ClearAll() override {
        calls.push_back("ClearAll");
        TOrnPrimitiveObj::ClearAll();
    }
    void InitPoints() override {
        calls.push_back("InitPoints");
        if (points) points(*this);
    }
    void InitPrimitives() override {
        calls.push_back(Points()->DefineArrays().Contains(daTexture) ? "InitPrimitives+texture"
                                                                     : "InitPrimitives");
        if (primitives) primitives(*this);
    }
};

/// A stand-in for a texture component: something the object refers to and hears removed.
class FakeTexture : public TOrnRender {
public:
    using TOrnRender::TOrnRender;
};

TOrnTexture* asTexture(TOrnRender* r) {
    return reinterpret_cast<TOrnTexture*>(r);
}

struct PrimitiveObjFixture : ::testing::Test {
    TComponent form{nullptr};
    Probe* obj = new Probe(&form);

    /// n points along x, each list given as indices.
    void Fill(int n, std::vector<std::pair<GLenum, std::vector<std::uint32_t>>> lists) {
        for (int i = 0; i < n; ++i)
            obj->Points()->Add({double(i), 0, 0}, {0, 0, 1}, {});
        for (auto& [type, idx] : lists) {
            const int l = obj->AddPrimitiveArray(type);
            for (auto i : idx)
                obj->AddIndex(i, l);
        }
    }
};

} // namespace

TEST_F(PrimitiveObjFixture, InitRunsItsStepsInOrderAndCallsOnAfterInit) {
    obj->OnAfterInit = [this](TObject* sender) {
        EXPECT_EQ(sender, obj);
        obj->calls.push_back("OnAfterInit");
    };
    obj->Points()->SetDefineArrays({daVertex});
    obj->SetTextured(true);
    EXPECT_FALSE(obj->Initialized());
    obj->Init();
    EXPECT_TRUE(obj->Initialized());
    EXPECT_EQ(obj->calls,
              (std::vector<std::string>{"ClearAll", "InitPoints", "InitPrimitives+texture", "OnAfterInit"}));
}

// An untextured build carries no texture coordinates; texturing it asks for a build that does.
TEST_F(PrimitiveObjFixture, OnlyTexturedBuildsCarryTextureCoordinates) {
    obj->points = [](Probe& p) { p.Points()->SetCount(1000); };
    obj->Init();
    EXPECT_FALSE(obj->Points()->HasArray(daTexture));
    EXPECT_EQ(obj->Points()->AllocatedBytes(), 1000u * (24 + 24 + 1)); // position, normal, flags
    obj->SetTextured(true);
    EXPECT_FALSE(obj->Initialized());
    obj->Init();
    EXPECT_TRUE(obj->Points()->HasArray(daTexture));
    EXPECT_EQ(obj->Points()->AllocatedBytes(), 1000u * (24 + 24 + 24 + 1));
    obj->SetTextured(false);
    EXPECT_TRUE(obj->Initialized()); // the coordinates stay until the next build
    obj->Init();
    EXPECT_FALSE(obj->Points()->HasArray(daTexture));
}

TEST_F(PrimitiveObjFixture, AddIndexBeyondTheListsChangesNothing) {
    Fill(3, {{GL_TRIANGLES, {0, 1}}});
    EXPECT_EQ(obj->AddIndex(2, 0), 2);
    EXPECT_EQ(obj->AddIndex(2, 1), -1);
    EXPECT_EQ(obj->AddIndex(2, -1), -1);
    EXPECT_EQ(obj->PrimitiveCount(), 1);
    EXPECT_EQ(obj->Primitive(1), nullptr);
}

TEST_F(PrimitiveObjFixture, DeletePrimitiveArraySkipsPositionsThatDoNotExist) {
    Fill(1, {{GL_POINTS, {0}}, {GL_LINES, {0}}, {GL_TRIANGLES, {0}}, {GL_QUADS, {0}}});
    obj->DeletePrimitiveArray(3, 5);
    ASSERT_EQ(obj->PrimitiveCount(), 3);
    EXPECT_EQ(obj->Primitive(2)->Type(), static_cast<GLenum>(GL_TRIANGLES));
    obj->DeletePrimitiveArray(0, 0);
    obj->DeletePrimitiveArray(-2, 3); // only position 0 exists of -2 … 0
    ASSERT_EQ(obj->PrimitiveCount(), 2);
    EXPECT_EQ(obj->Primitive(0)->Type(), static_cast<GLenum>(GL_LINES));
}

TEST_F(PrimitiveObjFixture, FreePointsRenumbersAndDisablesListsThatUsedThem) {
    Fill(6, {{GL_TRIANGLES, {0, 1, 5}}, {GL_TRIANGLES, {0, 4, 5}}});
    obj->FreePoints(1, 2);
    EXPECT_EQ(obj->Points()->Count(), 4);
    EXPECT_FALSE(obj->Primitive(0)->Enabled());
    EXPECT_EQ(Entries(obj->Primitive(0)), (std::vector<std::uint32_t>{0, 1, 3})); // dangling 1 kept
    EXPECT_TRUE(obj->Primitive(1)->Enabled());
    EXPECT_EQ(Entries(obj->Primitive(1)), (std::vector<std::uint32_t>{0, 2, 3}));
    EXPECT_EQ(obj->Points()->GetVector(2, daVertex).x, 4);
    obj->FreePoints(4, 1); // first beyond Count
    obj->FreePoints(0, 0);
    EXPECT_EQ(obj->Points()->Count(), 4);
}

TEST_F(PrimitiveObjFixture, FreeUnusedPointsKeepsWhatEnabledListsUseAndRenumbers) {
    Fill(6, {{GL_TRIANGLES, {4, 0, 2}}, {GL_LINES, {1, 5}}});
    obj->Primitive(1)->SetEnabled(false); // its points count as unused
    obj->FreeUnusedPoints();
    ASSERT_EQ(obj->Points()->Count(), 3);
    EXPECT_EQ(obj->Points()->GetVector(0, daVertex).x, 0);
    EXPECT_EQ(obj->Points()->GetVector(1, daVertex).x, 2);
    EXPECT_EQ(obj->Points()->GetVector(2, daVertex).x, 4);
    EXPECT_EQ(Entries(obj->Primitive(0)), (std::vector<std::uint32_t>{2, 0, 1}));
    EXPECT_TRUE(obj->Primitive(0)->Enabled());
}

TEST_F(PrimitiveObjFixture, TexturedLivesInThePoolAndReachesEveryList) {
    Fill(1, {{GL_POINTS, {0}}});
    obj->SetTextured(true);
    EXPECT_TRUE(obj->Points()->EnabledArrays().Contains(daTexture));
    EXPECT_TRUE(obj->Primitive(0)->Textured());
    EXPECT_TRUE(obj->Primitive(obj->AddPrimitiveArray(GL_LINES))->Textured());
    obj->SetTextured(false);
    EXPECT_FALSE(obj->Textured());
    EXPECT_FALSE(obj->Primitive(1)->Textured());
}

TEST_F(PrimitiveObjFixture, RemovedTextureIsClearedOnTheObjectAndItsLists) {
    auto* texture = new FakeTexture(&form);
    Fill(1, {{GL_POINTS, {0}}});
    obj->SetTextureRef(asTexture(texture), texture);
    EXPECT_EQ(obj->Primitive(obj->AddPrimitiveArray(GL_LINES))->TextureRender(), texture);
    EXPECT_EQ(obj->Primitive(0)->TextureRender(), texture);
    delete texture;
    EXPECT_EQ(obj->Texture(), nullptr);
    EXPECT_EQ(obj->TextureRender(), nullptr);
    EXPECT_EQ(obj->Primitive(0)->TextureRender(), nullptr);
    EXPECT_EQ(obj->Primitive(1)->Texture(), nullptr);
}

TEST_F(PrimitiveObjFixture, TextureOnAnotherFormIsHeardRemovedToo) {
    TComponent other{nullptr};
    auto* texture = new FakeTexture(&other);
    obj->SetTextureRef(asTexture(texture), texture);
    delete texture;
    EXPECT_EQ(obj->TextureRender(), nullptr);
}

TEST_F(PrimitiveObjFixture, AddPrimitiveObjBuildsTheOtherAndShiftsItsIndices) {
    auto* other = new Probe(&form);
    other->points = [](Probe& p) {
        p.Points()->Add(5, 5, 5);
        p.Points()->Add(6, 6, 6);
    };
    other->primitives = [](Probe& p) {
        const int l = p.AddPrimitiveArray(GL_LINES);
        p.AddIndex(0, l);
        p.AddIndex(1, l);
    };
    Fill(3, {{GL_POINTS, {0, 1, 2}}});
    EXPECT_EQ(obj->AddPrimitiveObj(other), 3);
    EXPECT_TRUE(other->Initialized());
    ASSERT_EQ(obj->PrimitiveCount(), 2);
    EXPECT_EQ(obj->Primitive(1)->Type(), static_cast<GLenum>(GL_LINES));
    EXPECT_EQ(Entries(obj->Primitive(1)), (std::vector<std::uint32_t>{3, 4}));
    EXPECT_EQ(obj->Points()->GetVector(4, daVertex), (TOrnMathVector{6, 6, 6}));
}

// ---------------------------------------------------------------------------------------------
// Texture coordinates

TEST_F(PrimitiveObjFixture, EveryTextureModeMapsTheRightAxes) {
    struct Case {
        TOrnTextureMode mode;
        TOrnMathVector expect;
    };
    // p = (1, 2, 3), ScaleX 10, ShiftX 1, ScaleY 100, ShiftY 2
    const Case cases[] = {{txStandard, {0.25, 0.5, 0}}, {txLinearX, {11, 0, 0}},
                          {txLinearY, {21, 0, 0}},      {txLinearZ, {31, 0, 0}},
                          {txLinearXY, {11, 202, 0}},   {txLinearYZ, {21, 302, 0}},
                          {txLinearZX, {31, 102, 0}},   {txSphereZ, {1 + 10 * std::sqrt(1 + 4 + 9.0), 0, 0}}};
    for (const Case& c : cases) {
        obj->points = [](Probe& p) { p.Points()->Add({1, 2, 3}, {}, {0.25, 0.5, 0}); };
        obj->TextureFlags()->SetMode(c.mode);
        obj->TextureFlags()->SetScaleX(10);
        obj->TextureFlags()->SetShiftX(1);
        obj->TextureFlags()->SetScaleY(100);
        obj->TextureFlags()->SetShiftY(2);
        obj->SetTextured(true);
        obj->Init();
        const TOrnMathVector t = obj->Points()->GetVector(0, daTexture);
        EXPECT_NEAR(t.x, c.expect.x, 1e-12) << kTextureModeNames[c.mode];
        EXPECT_NEAR(t.y, c.expect.y, 1e-12) << kTextureModeNames[c.mode];
        EXPECT_EQ(t.z, 0) << kTextureModeNames[c.mode];
    }
}

TEST_F(PrimitiveObjFixture, TexturePointOutsideThePoolAndBetweenBuildsStaysPut) {
    obj->points = [](Probe& p) { p.Points()->Add({1, 0, 0}, {}, {}); };
    obj->TextureFlags()->SetMode(txLinearX);
    obj->SetTextured(true);
    obj->Init();
    obj->Points()->SetVector(0, daVertex, {5, 0, 0});
    EXPECT_EQ(obj->Points()->GetVector(0, daTexture).x, 1); // computed at the build only
    obj->CalcTexturePoint(1);
    obj->CalcTexturePoint(-1);
    obj->CalcTexturePoint(0);
    EXPECT_EQ(obj->Points()->GetVector(0, daTexture).x, 5);
    obj->TextureFlags()->SetScaleX(2);
    EXPECT_FALSE(obj->Initialized()); // a new rule asks for a build
}

// ---------------------------------------------------------------------------------------------
// Normals

TEST_F(PrimitiveObjFixture, NormalsOfEveryFaceTypeFollowTheWinding) {
    // A unit square in the x-y plane, counter-clockwise seen from +z, as every face type draws it.
    for (auto p : {TOrnMathVector{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}})
        obj->Points()->Add(p, {}, {});
    const std::pair<GLenum, std::vector<std::uint32_t>> cases[] = {
        {GL_TRIANGLES, {0, 1, 2, 0, 2, 3}}, {GL_TRIANGLE_STRIP, {0, 1, 3, 2}},
        {GL_TRIANGLE_FAN, {0, 1, 2, 3}},    {GL_QUADS, {0, 1, 2, 3}},
        {GL_QUAD_STRIP, {0, 1, 3, 2}},      {GL_POLYGON, {0, 1, 2, 3}}};
    for (const auto& [type, idx] : cases) {
        obj->DeletePrimitiveArray(0, obj->PrimitiveCount());
        const int l = obj->AddPrimitiveArray(type);
        for (auto i : idx)
            obj->AddIndex(i, l);
        for (int i = 0; i < 4; ++i)
            obj->Points()->SetVector(i, daNormal, {9, 9, 9});
        obj->CalcNormals();
        for (int i = 0; i < 4; ++i)
            EXPECT_EQ(obj->Points()->GetVector(i, daNormal), (TOrnMathVector{0, 0, 1}))
                << "type " << type << " point " << i;
        obj->Invert();
        obj->CalcNormals();
        EXPECT_EQ(obj->Points()->GetVector(2, daNormal), (TOrnMathVector{0, 0, -1})) << "type " << type;
    }
}

TEST_F(PrimitiveObjFixture, LinesAndUntouchedPointsAndCollapsedStrips) {
    for (int i = 0; i < 6; ++i)
        obj->Points()->Add({double(i), 0, 0}, {0, 1, 0}, {});
    obj->AddIndex(0, obj->AddPrimitiveArray(GL_LINES));
    const int strip = obj->AddPrimitiveArray(GL_TRIANGLE_STRIP); // all on the x axis: collapsed
    for (std::uint32_t i : {2, 3, 4})
        obj->AddIndex(i, strip);
    const int off = obj->AddPrimitiveArray(GL_TRIANGLES);
    for (std::uint32_t i : {5, 0, 1})
        obj->AddIndex(i, off);
    obj->Primitive(off)->SetEnabled(false);
    obj->CalcNormals();
    EXPECT_EQ(obj->Points()->GetVector(0, daNormal), (TOrnMathVector{0, 0, 1}));
    for (int i = 1; i < 6; ++i)
        EXPECT_EQ(obj->Points()->GetVector(i, daNormal), (TOrnMathVector{0, 1, 0})) << i;
}

TEST_F(PrimitiveObjFixture, SeamPointsShareOneNormalOthersDoNot) {
    // Two triangles meeting at a crease, their shared corner stored twice.
    auto& pts = *obj->Points();
    pts.Add({0, 0, 0}, {}, {}); // 0: seam
    pts.Add({1, 0, 0}, {}, {});
    pts.Add({0, 1, 0}, {}, {});
    pts.Add({0.0005, 0, 0}, {}, {}); // 3: seam, within 0.001 of 0
    pts.Add({0, 1, 0}, {}, {});
    pts.Add({0, 0, 1}, {}, {});
    pts.SetFlag(0, 0, true);
    pts.SetFlag(3, 0, true);
    const int l = obj->AddPrimitiveArray(GL_TRIANGLES);
    for (std::uint32_t i : {0, 1, 2, 3, 4, 5})
        obj->AddIndex(i, l);
    obj->CalcNormals();
    const TOrnMathVector shared = pts.GetVector(0, daNormal);
    EXPECT_EQ(pts.GetVector(3, daNormal), shared);
    EXPECT_NEAR(test::Length(shared), 1, 1e-12);
    EXPECT_NEAR(shared.x, shared.z, 1e-3); // between +z and +x
    EXPECT_EQ(pts.GetVector(1, daNormal), (TOrnMathVector{0, 0, 1}));
    pts.SetFlag(3, 0, false);
    obj->CalcNormals();
    EXPECT_EQ(pts.GetVector(0, daNormal), (TOrnMathVector{0, 0, 1}));
}

// ---------------------------------------------------------------------------------------------
// The same-place search against a plain scan

namespace {

std::vector<int> scanFirstSamePlace(const std::vector<double>& pos, const std::vector<std::uint8_t>& flags,
                                    std::uint8_t mask) {
    const int n = static_cast<int>(flags.size());
    std::vector<int> out(n);
    for (int p = 0; p < n; ++p) {
        out[p] = p;
        if (mask && !(flags[p] & mask)) continue;
        for (int q = 0; q <= p; ++q) {
            if (mask && !(flags[q] & mask)) continue;
            if (std::fabs(pos[3 * q] - pos[3 * p]) < 0.001 &&
                std::fabs(pos[3 * q + 1] - pos[3 * p + 1]) < 0.001 &&
                std::fabs(pos[3 * q + 2] - pos[3 * p + 2]) < 0.001) {
                out[p] = q;
                break;
            }
        }
    }
    return out;
}

/// Coordinates that sit on, near and across the grid's cell borders and the tolerance.
double trickyCoordinate(std::mt19937& rng) {
    const double base = static_cast<double>(static_cast<int>(rng() % 7) - 3) * 0.001;
    const double offsets[] = {0,
                              1e-12,
                              -1e-12,
                              0.0005,
                              0.000999999,
                              0.001,
                              0.0010000001,
                              -0.000999999,
                              0.002,
                              -0.0010000001,
                              1e-4 * static_cast<double>(rng() % 10)};
    return base + offsets[rng() % (sizeof offsets / sizeof offsets[0])];
}

} // namespace

TEST(PointGrid, FirstSamePlaceEqualsAScanOnRandomAndBorderPoints) {
    std::mt19937 rng(11);
    for (int round = 0; round < 30; ++round) {
        const int n = 400 + static_cast<int>(rng() % 400);
        std::vector<double> pos;
        std::vector<std::uint8_t> flags;
        const double spread = round % 3 == 0 ? 1.0 : 0.01; // sparse or crowded
        for (int i = 0; i < n; ++i) {
            for (int a = 0; a < 3; ++a) {
                if (round % 2 == 0)
                    pos.push_back(trickyCoordinate(rng));
                else
                    pos.push_back(std::uniform_real_distribution<double>(-spread, spread)(rng));
            }
            if (i > 0 && rng() % 5 == 0) // exact repeats of earlier points
                for (int a = 0; a < 3; ++a)
                    pos[3 * i + a] = pos[3 * (rng() % i) + a];
            flags.push_back(static_cast<std::uint8_t>(rng() % 4));
        }
        for (std::uint8_t mask : {0, 1}) {
            EXPECT_EQ(detail::FirstSamePlace(pos.data(), n, flags.data(), mask),
                      scanFirstSamePlace(pos, flags, mask))
                << "round " << round << " mask " << int(mask);
        }
    }
}

TEST(PointGrid, FarAndNonFinitePointsMatchAsAScanWould) {
    const double inf = std::numeric_limits<double>::infinity();
    const double nan = std::numeric_limits<double>::quiet_NaN();
    std::vector<double> pos = {3e6,  0, 0, 3e6 + 0.0005,  0, 0, 1999999.9996, 5, 5, 2000000.0004, 5, 5,
                               nan,  0, 0, nan,           0, 0, inf,          0, 0, inf,          0, 0,
                               -2e6, 1, 1, -2e6 + 0.0002, 1, 1};
    std::vector<std::uint8_t> flags(pos.size() / 3, 1);
    EXPECT_EQ(detail::FirstSamePlace(pos.data(), static_cast<int>(flags.size()), flags.data(), 1),
              scanFirstSamePlace(pos, flags, 1));
}

TEST_F(PrimitiveObjFixture, APointsNormalIsTheMeanOfItsFacesUnitNormals) {
    // Point 0 is a corner of two small faces facing +z and one three times larger facing +x:
    // unit normals averaged give (1, 0, 2)/sqrt 5; weighting by area would give (3, 0, 2).
    auto& pts = *obj->Points();
    for (TOrnMathVector p :
         {TOrnMathVector{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 1, 0}, {-1, 0, 0}, {0, 1, 0}, {0, 0, 3}})
        pts.Add(p, {}, {});
    const int l = obj->AddPrimitiveArray(GL_TRIANGLES);
    for (std::uint32_t i : {0, 1, 2, 0, 3, 4, 0, 5, 6})
        obj->AddIndex(i, l);
    obj->CalcNormals();
    const TOrnMathVector n = pts.GetVector(0, daNormal);
    EXPECT_NEAR(n.x, 1 / std::sqrt(5.0), 1e-12);
    EXPECT_NEAR(n.y, 0, 1e-12);
    EXPECT_NEAR(n.z, 2 / std::sqrt(5.0), 1e-12);
    EXPECT_EQ(pts.GetVector(6, daNormal), (TOrnMathVector{1, 0, 0}));
    EXPECT_EQ(pts.GetVector(4, daNormal), (TOrnMathVector{0, 0, 1}));
}

TEST(PrimitiveObjLimit, EveryShapeRefusesADetailBeyondTheLimitNamingIt) {
    // The default detail of every shape is a few hundred points at most: under a limit of 8 each
    // either fits or refuses to build, saying which limit and how to raise it.
    const std::int64_t old = TOrnPrimitiveObj::MaxBuildPoints();
    TOrnPrimitiveObj::SetMaxBuildPoints(8);
    int refused = 0;
    for (TComponentClass cls : GetRenderClassList()) {
        TComponent form(nullptr);
        auto* shape = dynamic_cast<TOrnPrimitiveObj*>(cls->Create(&form));
        if (!shape) continue;
        try {
            shape->Init();
            EXPECT_LE(shape->Points()->Count(), 8) << cls->Name;
        } catch (const EOrnError& e) {
            ++refused;
            const std::string what = e.what();
            EXPECT_NE(what.find("limit of 8 points"), std::string::npos) << what;
            EXPECT_NE(what.find("ORN_MAX_POINTS"), std::string::npos) << what;
        }
    }
    TOrnPrimitiveObj::SetMaxBuildPoints(old);
    EXPECT_GE(refused, 8); // sphere, cylinder, disc, torus, box, rectangle, function surfaces …
    EXPECT_EQ(TOrnPrimitiveObj::MaxBuildPoints(), old);
}
