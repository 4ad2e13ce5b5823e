#include <orn/host/EOrnError.h>
#include <orn/objects/TOrn3DText.h>

#include "geometry/GeometryTestSupport.h"
#include "host/detail/FontEngine.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <numeric>
#include <span>
#include <tuple>

using namespace orn;

namespace {

struct Built {
    TComponent form{nullptr};
    TOrn3DText* text = new TOrn3DText(&form);
    explicit Built(const std::string& caption, double depth = 0.2) {
        text->SetCaption(caption);
        text->SetDepth(depth);
        text->Init();
    }
    TOrnMathVector P(std::uint32_t i, TOrnArray k = daVertex) const { return test::At(*text, int(i), k); }
    TOrnMathVector N(std::uint32_t i) const { return P(i, daNormal); }
    TOrnMathVector T(std::uint32_t i) const { return P(i, daTexture); }
    /// The signed area of a cap's triangles seen from +z.
    double CapArea(int list) const {
        double area = 0;
        for (const auto& t : test::Triangles(*text->Primitive(list))) {
            TOrnMathVector n;
            OrnMathNormalVector(P(t[0]), P(t[1]), P(t[2]), false, n);
            area += n.z / 2;
        }
        return area;
    }
};

detail::TextOutline Outline(const std::string& text) {
    return detail::OutlineText({TFont::kDefaultName}, text, 0.01);
}

} // namespace

TEST(TOrn3DTextMesh, HolaIsClosedOutwardAndAsVoluminousAsItsCapTimesItsDepth) {
    Built b("HOLA", 0.25);
    ASSERT_EQ(b.text->PrimitiveCount(), 3);
    // Welded by place (caps and walls keep their own vertices), every edge is run once each way.
    std::map<std::tuple<double, double, double>, int> places;
    auto place = [&](std::uint32_t i) {
        const TOrnMathVector p = b.P(i);
        return places.emplace(std::make_tuple(p.x, p.y, p.z), static_cast<int>(places.size())).first->second;
    };
    std::map<std::pair<int, int>, int> directed;
    double volume = 0;
    for (int l = 0; l < 3; ++l) { // how faces wind: ShapesTest, for every class
        const auto triangles = test::Triangles(*b.text->Primitive(l));
        ASSERT_GT(triangles.size(), 30u) << l;
        for (const auto& t : triangles) {
            for (std::size_t k = 0; k < 3; ++k)
                if (place(t[k]) != place(t[(k + 1) % 3])) ++directed[{place(t[k]), place(t[(k + 1) % 3])}];
            TOrnMathVector cd;
            OrnMathCrossProduct(b.P(t[1]), b.P(t[2]), cd);
            volume += OrnMathDotProduct(b.P(t[0]), cd) / 6;
        }
    }
    for (const auto& [edge, count] : directed) {
        const auto back = directed.find({edge.second, edge.first});
        EXPECT_TRUE(count == 1 && back != directed.end() && back->second == 1)
            << edge.first << "-" << edge.second;
    }
    const double area = b.CapArea(0);
    EXPECT_GT(area, 0.5);
    EXPECT_NEAR(volume, area * 0.25, 1e-9);
    EXPECT_NEAR(b.CapArea(1), -area, 1e-9);
    for (std::uint32_t i : {b.text->Primitive(0)->Data()[0], b.text->Primitive(1)->Data()[0]})
        EXPECT_NEAR(std::abs(b.N(i).z), 1, 1e-12);
}

TEST(TOrn3DTextMesh, TheOddRuleLeavesTheCountersOfOAndBOpen) {
    for (const std::string letter : {"O", "B"}) {
        const detail::TextOutline outline = Outline(letter);
        ASSERT_EQ(outline.Contours.size(), letter == "O" ? 2u : 3u);
        std::vector<double> areas; // the outline less its counters, which lie inside it
        for (const auto& c : outline.Contours) {
            double sum = 0;
            for (std::size_t i = 0, j = c.size() - 1; i < c.size(); j = i++)
                sum += c[j].X * c[i].Y - c[i].X * c[j].Y;
            areas.push_back(std::abs(sum / 2));
        }
        std::sort(areas.begin(), areas.end());
        const double counters = std::accumulate(areas.begin(), areas.end() - 1, 0.0);
        EXPECT_NEAR(Built(letter).CapArea(0), areas.back() - counters, 1e-9) << letter;
    }
}

namespace {

// Wall normals at the front cap grouped by place, how many wall quads bend along their length, and
// (textured) how far s runs along the walls.
struct Walls {
    std::map<std::pair<double, double>, std::vector<TOrnMathVector>> normalsAt;
    int bent = 0, quads = 0;
    double perimeter = 0;
};

Walls WallsOf(const Built& b) {
    Walls w;
    const bool textured = b.text->Textured();
    const TOrnPrimitiveArray* walls = b.text->Primitive(2);
    for (int i = 0; i + 4 <= walls->Count(); i += 4, ++w.quads) {
        std::vector<std::uint32_t> front;
        for (const std::uint32_t v : std::span(walls->Data() + i, 4)) {
            EXPECT_TRUE(!textured || b.T(v).y == (b.P(v).z == 0 ? 1.0 : 0.0))
                << "t: 0 at the back, 1 at the front";
            if (b.P(v).z != 0) continue;
            front.push_back(v);
            w.normalsAt[{b.P(v).x, b.P(v).y}].push_back(b.N(v));
        }
        EXPECT_EQ(front.size(), 2u) << "corners of a wall quad at the front";
        if (front.size() != 2) continue;
        if (OrnMathDotProduct(b.N(front[0]), b.N(front[1])) < 1 - 1e-9) ++w.bent;
        const double ds = std::abs(b.T(front[0]).x - b.T(front[1]).x); // s: along the outline, in ems
        EXPECT_TRUE(!textured || std::abs(ds - OrnMathVectorDist(b.P(front[0]), b.P(front[1]))) < 1e-12)
            << ds;
        w.perimeter += ds;
    }
    return w;
}

} // namespace

TEST(TOrn3DTextMesh, WallsAreSmoothOnCurvesAndSharpAtCornersTheirTextureRunningAlong) {
    // Round: the normals turn along nearly every wall quad, and the two quads meeting at a place
    // share one horizontal normal there.
    const Walls o = WallsOf(Built("O"));
    ASSERT_GT(o.quads, 16);
    EXPECT_GT(o.bent, o.quads * 9 / 10);
    Built coarse("O"); // edges turning by some 30 degrees are a curve, by 45 degrees corners
    for (auto [detail, smooth] : {std::pair{0.02, true}, {0.04, false}}) {
        coarse.text->SetDetail(detail);
        coarse.text->Init();
        const Walls c = WallsOf(coarse);
        EXPECT_EQ(c.bent == c.quads, smooth) << detail << ": " << c.bent << " of " << c.quads;
    }
    for (const auto& [place, normals] : o.normalsAt) {
        ASSERT_EQ(normals.size(), 2u) << place.first << ", " << place.second;
        EXPECT_TRUE(std::abs(normals[0].z) < 1e-12 && OrnMathDotProduct(normals[0], normals[1]) > 1 - 1e-9)
            << "seam at " << place.first << ", " << place.second;
    }
    // Straight: every quad is flat, and the two quads at each corner keep their own normals.
    Built h("H");
    h.text->SetTextured(true); // coordinates come with texturing
    h.text->Init();
    const Walls hw = WallsOf(h);
    EXPECT_EQ(std::tuple(hw.quads, hw.bent, hw.normalsAt.size()), std::tuple(12, 0, 12u));
    for (const auto& [place, normals] : hw.normalsAt) {
        ASSERT_EQ(normals.size(), 2u) << place.first << ", " << place.second;
        EXPECT_NEAR(OrnMathDotProduct(normals[0], normals[1]), 0, 1e-9) << "a right angle at " << place.first;
    }
    EXPECT_GT(hw.perimeter, 2.0); // an H of about 0.6 × 0.73 em
    for (int i = 0; i < h.text->Primitive(0)->Count(); ++i) {
        const double s = h.T(h.text->Primitive(0)->Data()[i]).x;
        EXPECT_TRUE(s >= 0 && s <= 1) << s;
    }
}

TEST(TOrn3DTextMesh, DepthAlignmentDetailAndStyleShapeTheSolid) {
    Built flat("A", 0); // zero depth: the front cap alone
    ASSERT_EQ(flat.text->PrimitiveCount(), 1);
    for (int i = 0; i < flat.text->Points()->Count(); ++i)
        EXPECT_EQ(flat.P(static_cast<std::uint32_t>(i)).z, 0);
    EXPECT_GT(flat.CapArea(0), 0.1);
    const auto bounds = [](TOrnAlignment alignment) {
        Built b("Hi");
        b.text->SetAlignment(alignment);
        b.text->Init();
        std::vector<double> xs;
        for (int i = 0; i < b.text->Points()->Count(); ++i)
            xs.push_back(b.P(static_cast<std::uint32_t>(i)).x);
        return std::pair{*std::min_element(xs.begin(), xs.end()), *std::max_element(xs.begin(), xs.end())};
    };
    const double width = Outline("Hi").Width;
    const auto [leftLo, leftHi] = bounds(taLeftJustify);
    EXPECT_TRUE(leftLo > 0 && leftHi < width) << leftLo << " … " << leftHi;
    EXPECT_NEAR(bounds(taRightJustify).first, leftLo - width, 1e-12);
    EXPECT_NEAR(bounds(taCenter).second, leftHi - width / 2, 1e-12);
    const auto count = [](const std::string& caption, double detail) {
        Built b(caption);
        b.text->SetDetail(detail);
        b.text->Init();
        return b.text->Points()->Count();
    };
    EXPECT_GT(count("O", 0.001), 2 * count("O", 0.05)); // finer curves, same straight lines
    EXPECT_EQ(count("H", 0.001), count("H", 0.05));
    Built bold("m");
    const double regular = bold.CapArea(0);
    bold.text->Font()->SetStyle({fsBold});
    EXPECT_FALSE(bold.text->Initialized()); // a font change asks for a rebuild
    bold.text->Init();
    EXPECT_GT(bold.CapArea(0), regular * 1.1);
}

TEST(TOrn3DTextMesh, BadCaptionsAndValues) {
    Built empty("");
    EXPECT_TRUE(empty.text->Points()->Count() == 0 && empty.text->Initialized());
    EXPECT_GT(Built("\xee\x80\x80").CapArea(0), 0.05); // in no font: the missing-glyph box
    EXPECT_GT(Built("\xff\xfe").text->Points()->Count(), 0);
    TOrn3DText* runaway = empty.text;
    runaway->SetCaption(std::string(3u << 20, 'x'));
    EXPECT_THROW(runaway->Init(), EOrnError);             // refused before any outline
    runaway->SetAlignment(static_cast<TOrnAlignment>(7)); // depths and details: ShapesTest, every class
    EXPECT_EQ(runaway->Alignment(), taLeftJustify);
}
