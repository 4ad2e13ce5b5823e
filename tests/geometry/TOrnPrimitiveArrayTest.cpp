#include <orn/geometry/TOrnPrimitiveArray.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <memory>
#include <set>
#include <vector>

using namespace orn;

namespace {

std::unique_ptr<TOrnPrimitiveArray> make(GLenum type, std::vector<std::uint32_t> indices) {
    auto list = std::make_unique<TOrnPrimitiveArray>(type);
    for (auto i : indices)
        list->AddIndex(i);
    return list;
}

std::vector<std::uint32_t> entries(const TOrnPrimitiveArray& list) {
    return {list.Data(), list.Data() + list.Count()};
}

/// Triangles of a list, each as its three corners turned so the smallest comes first (the same
/// triangle in the same winding compares equal); degenerate ones left out.
std::multiset<std::array<std::uint32_t, 3>> triangles(const TOrnPrimitiveArray& list) {
    std::multiset<std::array<std::uint32_t, 3>> out;
    auto put = [&](std::uint32_t a, std::uint32_t b, std::uint32_t c) {
        if (a == b || b == c || a == c) return;
        std::array<std::uint32_t, 3> t{a, b, c};
        std::rotate(t.begin(), std::min_element(t.begin(), t.end()), t.end());
        out.insert(t);
    };
    const auto* i = list.Data();
    const int n = list.Count();
    if (list.Type() == GL_TRIANGLE_STRIP)
        for (int k = 0; k + 2 < n; ++k)
            k % 2 ? put(i[k + 1], i[k], i[k + 2]) : put(i[k], i[k + 1], i[k + 2]);
    if (list.Type() == GL_TRIANGLE_FAN)
        for (int k = 1; k + 1 < n; ++k)
            put(i[0], i[k], i[k + 1]);
    if (list.Type() == GL_TRIANGLES)
        for (int k = 0; k + 2 < n; k += 3)
            put(i[k], i[k + 1], i[k + 2]);
    return out;
}

std::multiset<std::array<std::uint32_t, 3>> flipped(const std::multiset<std::array<std::uint32_t, 3>>& ts) {
    std::multiset<std::array<std::uint32_t, 3>> out;
    for (auto t : ts) {
        std::swap(t[1], t[2]);
        out.insert(t);
    }
    return out;
}

} // namespace

TEST(TOrnPrimitiveArray, AddIndexGrowsByTwelve) {
    auto list = make(GL_POINTS, {});
    EXPECT_EQ(list->AddIndex(7), 0);
    EXPECT_EQ(list->Size(), 12);
    for (int i = 0; i < 12; ++i)
        list->AddIndex(i);
    EXPECT_EQ(list->Size(), 24);
    EXPECT_EQ(list->Count(), 13);
    EXPECT_EQ(list->Indices(0), 7u);
}

TEST(TOrnPrimitiveArray, IndicesReachSizeNotCount) {
    auto list = make(GL_POINTS, {4});
    EXPECT_EQ(list->Indices(11), 0u);
    list->SetIndices(11, 9);
    EXPECT_EQ(list->Indices(11), 9u);
    EXPECT_EQ(list->Count(), 1);
    list->SetIndices(12, 9);
    EXPECT_EQ(list->Indices(12), 0u);
    EXPECT_EQ(list->Indices(-1), 0u);
}

TEST(TOrnPrimitiveArray, InsertClampsPosition) {
    auto list = make(GL_POINTS, {1, 2});
    list->Insert(-5, 0);
    list->Insert(99, 3);
    list->Insert(2, 9);
    EXPECT_EQ(entries(*list), (std::vector<std::uint32_t>{0, 1, 9, 2, 3}));
}

TEST(TOrnPrimitiveArray, DeleteWithNegativeFirstEatsIntoCount) {
    auto list = make(GL_POINTS, {0, 1, 2, 3, 4, 5});
    list->Delete(-2, 5);
    EXPECT_EQ(entries(*list), (std::vector<std::uint32_t>{3, 4, 5}));
    list->Delete(1, 99);
    EXPECT_EQ(entries(*list), (std::vector<std::uint32_t>{3}));
    list->Delete(-3, 2);
    list->Delete(0, 0);
    EXPECT_EQ(entries(*list), (std::vector<std::uint32_t>{3}));
}

TEST(TOrnPrimitiveArray, AddNeedsTheSameTypeAndShifts) {
    auto a = make(GL_TRIANGLES, {0, 1, 2});
    auto b = make(GL_TRIANGLES, {0, 2, 1});
    auto c = make(GL_QUADS, {0, 1, 2, 3});
    a->Add(*b, 10);
    a->Add(*c, 10);
    EXPECT_EQ(entries(*a), (std::vector<std::uint32_t>{0, 1, 2, 10, 12, 11}));
}

TEST(TOrnPrimitiveArray, SetTypeConvertsOnlyTheAllowedPairs) {
    auto strip = make(GL_LINE_STRIP, {0, 1, 2, 3});
    strip->SetType(GL_TRIANGLES);
    EXPECT_EQ(strip->Type(), static_cast<GLenum>(GL_LINE_STRIP));
    strip->SetType(GL_POLYGON);
    EXPECT_EQ(strip->Type(), static_cast<GLenum>(GL_POLYGON));
    strip->SetType(GL_LINE_LOOP);
    EXPECT_EQ(strip->Type(), static_cast<GLenum>(GL_LINE_LOOP));
    EXPECT_EQ(entries(*strip), (std::vector<std::uint32_t>{0, 1, 2, 3}));

    auto tri = make(GL_TRIANGLE_STRIP, {0, 1, 2, 3});
    tri->SetType(GL_QUAD_STRIP);
    EXPECT_EQ(tri->Type(), static_cast<GLenum>(GL_QUAD_STRIP));
    tri->SetType(GL_POINTS);
    EXPECT_EQ(tri->Type(), static_cast<GLenum>(GL_QUAD_STRIP));
    auto fan = make(GL_TRIANGLE_FAN, {0, 1, 2, 3});
    fan->SetType(GL_QUADS);
    EXPECT_EQ(fan->Type(), static_cast<GLenum>(GL_TRIANGLE_FAN));

    TOrnPrimitiveArray empty(GL_LINE_STRIP);
    empty.SetType(GL_TRIANGLES);
    EXPECT_EQ(empty.Type(), static_cast<GLenum>(GL_TRIANGLES));
}

TEST(TOrnPrimitiveArray, SwitchToTrianglesKeepsEveryTriangleAndItsWinding) {
    auto strip = make(GL_TRIANGLE_STRIP, {0, 1, 2, 3, 4});
    const auto before = triangles(*strip);
    strip->SetType(GL_TRIANGLES);
    EXPECT_EQ(entries(*strip), (std::vector<std::uint32_t>{0, 1, 2, 2, 1, 3, 2, 3, 4}));
    EXPECT_EQ(triangles(*strip), before);

    auto quads = make(GL_QUADS, {0, 1, 2, 3, 4, 5, 6, 7});
    quads->SetType(GL_TRIANGLES);
    EXPECT_EQ(entries(*quads), (std::vector<std::uint32_t>{0, 1, 2, 0, 2, 3, 4, 5, 6, 4, 6, 7}));

    auto fan = make(GL_TRIANGLE_FAN, {0, 1, 2, 3});
    fan->SetType(GL_TRIANGLES);
    EXPECT_EQ(entries(*fan), (std::vector<std::uint32_t>{1, 2, 0, 2, 3, 0}));

    auto quadStrip = make(GL_QUAD_STRIP, {0, 1, 2, 3, 4}); // odd: the last index is dropped
    quadStrip->SetType(GL_TRIANGLES);
    EXPECT_EQ(entries(*quadStrip), (std::vector<std::uint32_t>{0, 1, 2, 2, 1, 3}));
}

TEST(TOrnPrimitiveArray, SwitchToQuadsTurnsPairStepsIntoQuads) {
    auto strip = make(GL_QUAD_STRIP, {0, 1, 2, 3, 4, 5});
    strip->SetType(GL_QUADS);
    EXPECT_EQ(strip->Type(), static_cast<GLenum>(GL_QUADS));
    EXPECT_EQ(entries(*strip), (std::vector<std::uint32_t>{0, 1, 3, 2, 2, 3, 5, 4}));
    auto odd = make(GL_QUAD_STRIP, {0, 1, 2, 3, 4});
    odd->SwitchToQuads();
    EXPECT_EQ(entries(*odd), (std::vector<std::uint32_t>{0, 1, 3, 2, 2, 3, 4, 4}));
}

TEST(TOrnPrimitiveArray, InvertFlipsEveryTriangleOfEveryType) {
    for (GLenum type : {GL_TRIANGLES, GL_TRIANGLE_STRIP, GL_TRIANGLE_FAN}) {
        for (int n : {3, 4, 5, 6, 9}) {
            std::vector<std::uint32_t> idx;
            for (int i = 0; i < n; ++i)
                idx.push_back(static_cast<std::uint32_t>(i));
            auto list = make(type, idx);
            const auto before = triangles(*list);
            list->Invert();
            EXPECT_EQ(triangles(*list), flipped(before)) << "type " << type << " n " << n;
            list->Invert();
            EXPECT_EQ(triangles(*list), before) << "type " << type << " n " << n;
        }
    }
}

TEST(TOrnPrimitiveArray, InvertOfQuadsStripsPolygonsAndLines) {
    auto quads = make(GL_QUADS, {0, 1, 2, 3});
    quads->Invert();
    EXPECT_EQ(entries(*quads), (std::vector<std::uint32_t>{0, 3, 2, 1}));
    auto strip = make(GL_QUAD_STRIP, {0, 1, 2, 3});
    strip->Invert();
    EXPECT_EQ(entries(*strip), (std::vector<std::uint32_t>{1, 0, 3, 2}));
    auto polygon = make(GL_POLYGON, {0, 1, 2, 3});
    polygon->Invert();
    EXPECT_EQ(entries(*polygon), (std::vector<std::uint32_t>{3, 2, 1, 0}));
    auto lines = make(GL_LINE_STRIP, {0, 1, 2});
    lines->Invert();
    EXPECT_EQ(entries(*lines), (std::vector<std::uint32_t>{0, 1, 2}));
}
