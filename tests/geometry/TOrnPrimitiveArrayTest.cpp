#include <orn/geometry/TOrnPrimitiveArray.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <memory>
#include <set>
#include <tuple>
#include <vector>

using namespace orn;
using Idx = std::vector<std::uint32_t>;

namespace {

std::unique_ptr<TOrnPrimitiveArray> make(GLenum type, const Idx& indices) {
    auto list = std::make_unique<TOrnPrimitiveArray>(type);
    for (auto i : indices)
        list->AddIndex(i);
    return list;
}

Idx entries(const TOrnPrimitiveArray& list) {
    return {list.Data(), list.Data() + list.Count()};
}

/// The triangles a list draws, each turned so its smallest corner comes first (same triangle in the
/// same winding compares equal), degenerate ones left out; flip reverses every winding.
std::multiset<std::array<std::uint32_t, 3>> triangles(const TOrnPrimitiveArray& list, bool flip = false) {
    std::multiset<std::array<std::uint32_t, 3>> out;
    auto put = [&](std::uint32_t a, std::uint32_t b, std::uint32_t c) {
        if (a == b || b == c || a == c) return;
        std::array<std::uint32_t, 3> t = flip ? std::array{a, c, b} : std::array{a, b, c};
        std::rotate(t.begin(), std::min_element(t.begin(), t.end()), t.end());
        out.insert(t);
    };
    const auto* i = list.Data();
    const int n = list.Count();
    for (int k = 0; list.Type() == GL_TRIANGLE_STRIP && k + 2 < n; ++k)
        k % 2 ? put(i[k + 1], i[k], i[k + 2]) : put(i[k], i[k + 1], i[k + 2]);
    for (int k = 1; list.Type() == GL_TRIANGLE_FAN && k + 1 < n; ++k)
        put(i[0], i[k], i[k + 1]);
    for (int k = 0; list.Type() == GL_TRIANGLES && k + 2 < n; k += 3)
        put(i[k], i[k + 1], i[k + 2]);
    return out;
}

} // namespace

TEST(TOrnPrimitiveArray, GrowsByTwelveClampsEveryPositionAndAddsOnlyItsOwnType) {
    auto list = make(GL_TRIANGLES, {1, 2});
    EXPECT_EQ(list->Size(), 12);
    list->SetIndices(11, 9); // indices reach Size, not Count
    EXPECT_EQ(list->Indices(11), 9u);
    list->SetIndices(12, 9);
    EXPECT_EQ(list->Indices(12) + list->Indices(-1), 0u);
    list->Insert(-5, 0);
    list->Insert(99, 3);
    list->Insert(2, 9);
    EXPECT_EQ(entries(*list), (Idx{0, 1, 9, 2, 3}));
    list->Delete(-2, 4); // only positions 0 and 1 of −2 … 1 exist
    list->Delete(-3, 2);
    list->Delete(0, 0);
    EXPECT_EQ(entries(*list), (Idx{9, 2, 3}));
    list->Delete(1, 99);
    list->Add(*make(GL_TRIANGLES, {0, 2, 1}), 10);
    list->Add(*make(GL_QUADS, {0, 1, 2, 3}), 10);
    EXPECT_EQ(entries(*list), (Idx{9, 10, 12, 11}));
    for (std::uint32_t i = 0; i < 9; ++i)
        list->AddIndex(i);
    EXPECT_EQ(list->Count(), 13);
    EXPECT_EQ(list->Size(), 24);
}

TEST(TOrnPrimitiveArray, SetTypeConvertsOnlyTheAllowedPairs) {
    const std::tuple<GLenum, GLenum, GLenum> cases[] = {
        {GL_LINE_STRIP, GL_TRIANGLES, GL_LINE_STRIP}, {GL_LINE_STRIP, GL_POLYGON, GL_POLYGON},
        {GL_POLYGON, GL_LINE_LOOP, GL_LINE_LOOP},     {GL_TRIANGLE_STRIP, GL_QUAD_STRIP, GL_QUAD_STRIP},
        {GL_QUAD_STRIP, GL_POINTS, GL_QUAD_STRIP},    {GL_TRIANGLE_FAN, GL_QUADS, GL_TRIANGLE_FAN}};
    for (auto [from, to, result] : cases) {
        auto list = make(from, {0, 1, 2, 3});
        list->SetType(to);
        EXPECT_EQ(list->Type(), result) << from << " -> " << to;
        EXPECT_EQ(entries(*list), (Idx{0, 1, 2, 3}));
    }
    TOrnPrimitiveArray empty(GL_LINE_STRIP); // an empty list takes any type
    empty.SetType(GL_TRIANGLES);
    EXPECT_EQ(empty.Type(), static_cast<GLenum>(GL_TRIANGLES));
}

TEST(TOrnPrimitiveArray, SwitchingToTrianglesOrQuadsKeepsEveryFaceAndItsWinding) {
    const struct {
        GLenum from, to;
        Idx in, out;
    } cases[] = {
        {GL_TRIANGLE_STRIP, GL_TRIANGLES, {0, 1, 2, 3, 4}, {0, 1, 2, 2, 1, 3, 2, 3, 4}},
        {GL_QUADS, GL_TRIANGLES, {0, 1, 2, 3, 4, 5, 6, 7}, {0, 1, 2, 0, 2, 3, 4, 5, 6, 4, 6, 7}},
        {GL_TRIANGLE_FAN, GL_TRIANGLES, {0, 1, 2, 3}, {1, 2, 0, 2, 3, 0}},
        {GL_QUAD_STRIP, GL_TRIANGLES, {0, 1, 2, 3, 4}, {0, 1, 2, 2, 1, 3}}, // odd: the last is dropped
        {GL_QUAD_STRIP, GL_QUADS, {0, 1, 2, 3, 4, 5}, {0, 1, 3, 2, 2, 3, 5, 4}},
        {GL_QUAD_STRIP, GL_QUADS, {0, 1, 2, 3, 4}, {0, 1, 3, 2, 2, 3, 4, 4}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(::testing::Message() << c.from << " -> " << c.to << " of " << c.in.size());
        auto list = make(c.from, c.in);
        const auto before = triangles(*list);
        list->SetType(c.to);
        EXPECT_EQ(list->Type(), c.to);
        EXPECT_EQ(entries(*list), c.out);
        if (c.from == GL_TRIANGLE_STRIP) {
            EXPECT_EQ(triangles(*list), before);
        }
    }
}

TEST(TOrnPrimitiveArray, InvertFlipsEveryFaceOfEveryType) {
    for (GLenum type : {GL_TRIANGLES, GL_TRIANGLE_STRIP, GL_TRIANGLE_FAN})
        for (int n : {3, 4, 5, 6, 9}) {
            Idx idx;
            for (int i = 0; i < n; ++i)
                idx.push_back(static_cast<std::uint32_t>(i));
            auto list = make(type, idx);
            const auto before = triangles(*list);
            list->Invert();
            EXPECT_EQ(triangles(*list), triangles(*make(type, idx), true)) << type << " n " << n;
            list->Invert();
            EXPECT_EQ(triangles(*list), before) << type << " n " << n;
        }
    const std::pair<GLenum, Idx> others[] = {{GL_QUADS, {0, 3, 2, 1}},
                                             {GL_QUAD_STRIP, {1, 0, 3, 2}},
                                             {GL_POLYGON, {3, 2, 1, 0}},
                                             {GL_LINE_STRIP, {0, 1, 2, 3}}};
    for (const auto& [type, out] : others) {
        auto list = make(type, {0, 1, 2, 3});
        list->Invert();
        EXPECT_EQ(entries(*list), out) << type;
    }
}
