#include <orn/host/EOrnError.h>
#include <orn/host/TComponentClass.h>
#include <orn/objects/TOrn3DText.h>

#include "geometry/GeometryTestSupport.h"
#include "host/detail/FontEngine.h"
#include "support/GLTestContext.h"
#include "support/TestView.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <numbers>
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
    TOrnMathVector P(std::uint32_t i) const {
        return text->Points()->GetVector(static_cast<int>(i), daVertex);
    }
    TOrnMathVector N(std::uint32_t i) const {
        return text->Points()->GetVector(static_cast<int>(i), daNormal);
    }
};

// Every face of the object as its corner indices (triangles and quads).
std::vector<std::vector<std::uint32_t>> Faces(const TOrn3DText& text) {
    std::vector<std::vector<std::uint32_t>> faces;
    for (int l = 0; l < text.PrimitiveCount(); ++l) {
        const TOrnPrimitiveArray* list = text.Primitive(l);
        const int corners = list->Type() == GL_QUADS ? 4 : 3;
        for (int i = 0; i + corners <= list->Count(); i += corners)
            faces.emplace_back(list->Data() + i, list->Data() + i + corners);
    }
    return faces;
}

TOrnMathVector Cross(const TOrnMathVector& a, const TOrnMathVector& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
TOrnMathVector Sub(const TOrnMathVector& a, const TOrnMathVector& b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
double Dot(const TOrnMathVector& a, const TOrnMathVector& b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

double CapArea(const Built& b, int list) {
    double area = 0;
    const TOrnPrimitiveArray* tris = b.text->Primitive(list);
    for (int i = 0; i + 3 <= tris->Count(); i += 3)
        area += Cross(Sub(b.P(tris->Data()[i + 1]), b.P(tris->Data()[i])),
                      Sub(b.P(tris->Data()[i + 2]), b.P(tris->Data()[i])))
                    .z /
                2;
    return area;
}

double PolygonArea(const std::vector<detail::OutlinePoint>& c) {
    double sum = 0;
    for (std::size_t i = 0; i < c.size(); ++i)
        sum += c[i].X * c[(i + 1) % c.size()].Y - c[(i + 1) % c.size()].X * c[i].Y;
    return sum / 2;
}

bool InsidePolygon(const std::vector<detail::OutlinePoint>& c, double x, double y) {
    bool inside = false;
    for (std::size_t i = 0, j = c.size() - 1; i < c.size(); j = i++)
        if ((c[i].Y > y) != (c[j].Y > y) && x < (c[j].X - c[i].X) * (y - c[i].Y) / (c[j].Y - c[i].Y) + c[i].X)
            inside = !inside;
    return inside;
}

detail::TextOutline Outline(const std::string& text) {
    return detail::OutlineText({TFont::kDefaultName}, text, 0.01);
}

} // namespace

// ---------------------------------------------------------------------------------------------
// The solid

TEST(TOrn3DTextMesh, HolaIsClosedWithEveryEdgeRunBothWaysOnce) {
    Built b("HOLA");
    ASSERT_EQ(b.text->PrimitiveCount(), 3);
    // Weld positions: the caps and the walls keep separate vertices at the same place.
    std::map<std::tuple<double, double, double>, int> places;
    auto place = [&](std::uint32_t i) {
        const TOrnMathVector p = b.P(i);
        return places.emplace(std::make_tuple(p.x, p.y, p.z), static_cast<int>(places.size())).first->second;
    };
    std::map<std::pair<int, int>, int> directed;
    const auto faces = Faces(*b.text);
    ASSERT_GT(faces.size(), 100u);
    for (const auto& f : faces)
        for (std::size_t k = 0; k < f.size(); ++k) {
            const int from = place(f[k]), to = place(f[(k + 1) % f.size()]);
            if (from != to) ++directed[{from, to}];
        }
    int open = 0;
    for (const auto& [edge, count] : directed) {
        const auto back = directed.find({edge.second, edge.first});
        if (count != 1 || back == directed.end() || back->second != 1) ++open;
    }
    EXPECT_EQ(open, 0);
    std::vector<T2DIntPoint> edges;
    int count = -1;
    b.text->GetOpenEdges(edges, count, true);
    EXPECT_EQ(count, 0);
}

TEST(TOrn3DTextMesh, NormalsPointOutwardsAndTheVolumeIsCapAreaTimesDepth) {
    Built b("HOLA", 0.25);
    double volume = 0;
    for (const auto& f : Faces(*b.text)) {
        // Faces wind counter-clockwise seen from outside, their vertex normals agree.
        for (std::size_t k = 1; k + 1 < f.size(); ++k) {
            const TOrnMathVector a = b.P(f[0]), c = b.P(f[k]), d = b.P(f[k + 1]);
            const TOrnMathVector geometric = Cross(Sub(c, a), Sub(d, a));
            volume += Dot(a, Cross(c, d)) / 6;
            if (Dot(geometric, geometric) < 1e-18) continue;
            for (std::uint32_t v : {f[0], f[k], f[k + 1]})
                ASSERT_GT(Dot(geometric, b.N(v)), 0) << "face at " << a.x;
        }
    }
    const double area = CapArea(b, 0);
    EXPECT_GT(area, 0.5);
    EXPECT_NEAR(volume, area * 0.25, 1e-9);
    EXPECT_NEAR(CapArea(b, 1), -area, 1e-9);
    for (std::uint32_t i : {b.text->Primitive(0)->Data()[0], b.text->Primitive(1)->Data()[0]})
        EXPECT_NEAR(std::abs(b.N(i).z), 1, 1e-12);
}

TEST(TOrn3DTextMesh, TheOddRuleLeavesTheCountersOfOAndBOpen) {
    for (const std::string letter : {"O", "B"}) {
        Built b(letter);
        const detail::TextOutline outline = Outline(letter);
        ASSERT_GE(outline.Contours.size(), 2u) << letter;
        double expected = 0; // the outer area less the counters
        for (const auto& c : outline.Contours) {
            bool hole = false;
            for (const auto& other : outline.Contours)
                hole |= &other != &c && InsidePolygon(other, c[0].X, c[0].Y);
            expected += hole ? -std::abs(PolygonArea(c)) : std::abs(PolygonArea(c));
        }
        EXPECT_NEAR(CapArea(b, 0), expected, 1e-9) << letter;
    }
}

namespace {

// Wall vertices on the front cap grouped by place, and whether each wall quad bends along its length.
struct Walls {
    std::map<std::pair<double, double>, std::vector<TOrnMathVector>> normalsAt;
    int bent = 0, quads = 0;
};

Walls WallsOf(const Built& b) {
    Walls w;
    const TOrnPrimitiveArray* walls = b.text->Primitive(2);
    for (int i = 0; i + 4 <= walls->Count(); i += 4) {
        std::vector<TOrnMathVector> front;
        for (const std::uint32_t v : std::span(walls->Data() + i, 4))
            if (b.P(v).z == 0) {
                front.push_back(b.N(v));
                w.normalsAt[{b.P(v).x, b.P(v).y}].push_back(b.N(v));
            }
        EXPECT_EQ(front.size(), 2u);
        ++w.quads;
        if (front.size() == 2 && Dot(front[0], front[1]) < 1 - 1e-9) ++w.bent;
    }
    return w;
}

} // namespace

TEST(TOrn3DTextMesh, WallsAreSmoothOnCurvesAndSharpAtCorners) {
    // Round: the normals turn along every wall quad and agree where two quads meet.
    const Walls o = WallsOf(Built("O"));
    ASSERT_GT(o.quads, 16);
    EXPECT_GT(o.bent, o.quads * 9 / 10);
    for (const auto& [place, normals] : o.normalsAt)
        for (const TOrnMathVector& n : normals) {
            EXPECT_NEAR(n.z, 0, 1e-12);
            EXPECT_GT(Dot(n, normals[0]), 1 - 1e-9) << "seam at " << place.first << ", " << place.second;
        }
    // Straight: every quad is flat, and the two quads at each corner keep their own normals.
    const Walls h = WallsOf(Built("H"));
    EXPECT_EQ(h.quads, 12);
    EXPECT_EQ(h.bent, 0);
    EXPECT_EQ(h.normalsAt.size(), 12u);
    for (const auto& [place, normals] : h.normalsAt) {
        ASSERT_EQ(normals.size(), 2u) << place.first << ", " << place.second;
        EXPECT_NEAR(Dot(normals[0], normals[1]), 0, 1e-9) << "a right angle at " << place.first;
    }
}

TEST(TOrn3DTextMesh, TextureCoordinatesSpanTheCapsAndRunAlongTheWalls) {
    Built b("L");
    b.text->SetTextured(true); // coordinates come with texturing
    b.text->Init();
    const TOrnPrimitivePoints& pts = *b.text->Points();
    double smin = 1e9, smax = -1e9;
    for (int i = 0; i < b.text->Primitive(0)->Count(); ++i) {
        const int v = static_cast<int>(b.text->Primitive(0)->Data()[i]);
        smin = std::min(smin, pts.GetVector(v, daTexture).x);
        smax = std::max(smax, pts.GetVector(v, daTexture).x);
    }
    EXPECT_GE(smin, 0);
    EXPECT_LE(smax, 1);
    const TOrnPrimitiveArray* walls = b.text->Primitive(2);
    double perimeter = 0;
    for (int i = 0; i + 4 <= walls->Count(); i += 4) {
        std::vector<int> front;
        for (const std::uint32_t v : std::span(walls->Data() + i, 4)) {
            const double t = pts.GetVector(static_cast<int>(v), daTexture).y;
            EXPECT_DOUBLE_EQ(t, b.P(v).z == 0 ? 1.0 : 0.0);
            if (b.P(v).z == 0) front.push_back(static_cast<int>(v));
        }
        ASSERT_EQ(front.size(), 2u);
        const double ds =
            std::abs(pts.GetVector(front[0], daTexture).x - pts.GetVector(front[1], daTexture).x);
        EXPECT_NEAR(ds, orn::test::Length(Sub(b.P(front[0]), b.P(front[1]))), 1e-12);
        perimeter += ds;
    }
    EXPECT_GT(perimeter, 1.0); // an L of about 0.56 × 0.73 em
}

TEST(TOrn3DTextMesh, ZeroDepthLeavesTheFrontCapAlone) {
    Built b("A", 0);
    ASSERT_EQ(b.text->PrimitiveCount(), 1);
    EXPECT_EQ(b.text->Primitive(0)->Type(), static_cast<GLenum>(GL_TRIANGLES));
    for (int i = 0; i < b.text->Points()->Count(); ++i)
        EXPECT_EQ(b.P(static_cast<std::uint32_t>(i)).z, 0);
    EXPECT_GT(CapArea(b, 0), 0.1);
}

TEST(TOrn3DTextMesh, AlignmentPlacesTheCaptionAroundXZero) {
    auto bounds = [](TOrnAlignment alignment) {
        Built b("Hi");
        b.text->SetAlignment(alignment);
        b.text->Init();
        double lo = 1e9, hi = -1e9;
        for (int i = 0; i < b.text->Points()->Count(); ++i) {
            lo = std::min(lo, b.P(static_cast<std::uint32_t>(i)).x);
            hi = std::max(hi, b.P(static_cast<std::uint32_t>(i)).x);
        }
        return std::pair{lo, hi};
    };
    const double width = Outline("Hi").Width;
    const auto [leftLo, leftHi] = bounds(taLeftJustify);
    const auto [rightLo, rightHi] = bounds(taRightJustify);
    const auto [centreLo, centreHi] = bounds(taCenter);
    EXPECT_GT(leftLo, 0);
    EXPECT_LT(leftHi, width);
    EXPECT_NEAR(rightLo, leftLo - width, 1e-12);
    EXPECT_LT(rightHi, 0);
    EXPECT_NEAR(centreLo, leftLo - width / 2, 1e-12);
    EXPECT_NEAR(centreHi, leftHi - width / 2, 1e-12);
}

TEST(TOrn3DTextMesh, FinerDetailGivesMorePointsOnCurvesOnly) {
    auto count = [](const std::string& caption, double detail) {
        Built b(caption);
        b.text->SetDetail(detail);
        b.text->Init();
        return b.text->Points()->Count();
    };
    EXPECT_GT(count("O", 0.001), 2 * count("O", 0.05));
    EXPECT_EQ(count("H", 0.001), count("H", 0.05));
}

TEST(TOrn3DTextMesh, EmptyCaptionAndMissingGlyphs) {
    Built empty("");
    EXPECT_EQ(empty.text->Points()->Count(), 0);
    EXPECT_TRUE(empty.text->Initialized());
    // A private-use character is in no font: the missing-glyph box stands in.
    Built missing("\xee\x80\x80");
    EXPECT_GT(CapArea(missing, 0), 0.05);
    Built broken("\xff\xfe");
    EXPECT_GT(broken.text->Points()->Count(), 0);
}

TEST(TOrn3DTextMesh, ARunawayCaptionIsRefusedBeforeAnyOutline) {
    TComponent form(nullptr);
    auto* text = new TOrn3DText(&form);
    text->SetCaption(std::string(3u << 20, 'x'));
    EXPECT_THROW(text->Init(), EOrnError);
}

// ---------------------------------------------------------------------------------------------
// Properties

TEST(TOrn3DTextProperties, DefaultsAndIgnoredValues) {
    TComponent form(nullptr);
    auto* text = new TOrn3DText(&form);
    EXPECT_EQ(text->Caption(), "TOrn3DText");
    EXPECT_EQ(text->Font()->Name(), "DejaVu Sans");
    EXPECT_DOUBLE_EQ(text->Depth(), 0.2);
    EXPECT_DOUBLE_EQ(text->Detail(), 0.01);
    EXPECT_EQ(text->Alignment(), taLeftJustify);
    text->SetDepth(-1);
    text->SetDepth(NAN);
    text->SetDetail(0);
    text->SetDetail(1.5);
    text->SetDetail(NAN);
    text->SetAlignment(static_cast<TOrnAlignment>(7));
    EXPECT_DOUBLE_EQ(text->Depth(), 0.2);
    EXPECT_DOUBLE_EQ(text->Detail(), 0.01);
    EXPECT_EQ(text->Alignment(), taLeftJustify);
}

TEST(TOrn3DTextProperties, EveryGeometryChangeRebuildsAtTheNextInit) {
    TComponent form(nullptr);
    auto* text = new TOrn3DText(&form);
    const std::vector<std::function<void()>> changes = {[&] { text->SetCaption("x"); },
                                                        [&] { text->SetDepth(1); },
                                                        [&] { text->SetDetail(0.5); },
                                                        [&] { text->SetAlignment(taCenter); },
                                                        [&] { text->Font()->SetName("DejaVu Serif"); },
                                                        [&] { text->Font()->SetStyle({fsBold}); }};
    for (std::size_t i = 0; i < changes.size(); ++i) {
        text->Init();
        changes[i]();
        EXPECT_FALSE(text->Initialized()) << i;
        text->Init();
        changes[i](); // the same value again
        EXPECT_TRUE(text->Initialized()) << i;
    }
}

TEST(TOrn3DTextProperties, BoldIsWiderThanRegular) {
    auto width = [](TFontStyles style) {
        Built b("m");
        b.text->Font()->SetStyle(style);
        b.text->Init();
        return CapArea(b, 0);
    };
    EXPECT_GT(width({fsBold}), width({}) * 1.1);
}

// ---------------------------------------------------------------------------------------------
// Drawn

namespace {

// 80 pixels per em: x from −0.1 to 3.1 em, y from −0.3 to 0.9 em.
class TOrn3DTextPixels : public orn::test::GLTest {
protected:
    TOrn3DTextPixels() : GLTest(256, 96) {}
    static int PixelX(double x) { return static_cast<int>(std::lround((x + 0.1) * 80 - 0.5)); }
    static int PixelY(double y) { return static_cast<int>(std::lround((y + 0.3) * 80 - 0.5)); }
    void Draw(TOrn3DText* text) {
        glMatrixMode(GL_PROJECTION);
        glLoadIdentity();
        glOrtho(-0.1, 3.1, -0.3, 0.9, -10, 10);
        glMatrixMode(GL_MODELVIEW);
        glLoadIdentity();
        ClearTo(0, 0, 1);
        text->Render(view);
    }
    TComponent form{nullptr};
    orn::test::TestView* view = new orn::test::TestView(&form);
};

} // namespace

TEST_F(TOrn3DTextPixels, LitFrontFacesTheLightAndTheStackStaysBalanced) {
    auto* text = new TOrn3DText(&form);
    text->SetCaption("H");
    text->Color()->SetColor(clWhite);
    GLint before = 0, after = 0;
    glGetIntegerv(GL_MODELVIEW_STACK_DEPTH, &before);
    glEnable(GL_LIGHTING);
    glEnable(GL_LIGHT0); // from +z towards −z: the front cap gets the full diffuse light
    glEnable(GL_COLOR_MATERIAL);
    glEnable(GL_DEPTH_TEST);
    Draw(text);
    glGetIntegerv(GL_MODELVIEW_STACK_DEPTH, &after);
    EXPECT_EQ(before, after);
    const detail::TextOutline outline = Outline("H");
    // The middle of the H's bar, in the front cap.
    const auto pixel = ReadPixel(PixelX(outline.Width / 2), PixelY(0.36));
    EXPECT_GT(pixel[0], 200);
    EXPECT_EQ(pixel[0], pixel[1]);
}
