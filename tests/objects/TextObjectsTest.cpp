#include <orn/host/EOrnError.h>
#include <orn/host/TBitmap.h>
#include <orn/objects/TOrn3DText.h>
#include <orn/objects/TOrnLabel.h>
#include <orn/state/TOrnTexture.h>
#include <orn/view/TOrnCamera.h>
#include <orn/view/TOrnCanvasView.h>

#include "geometry/GeometryTestSupport.h"
#include "host/detail/FontEngine.h"
#include "view/ViewTestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <map>
#include <numeric>
#include <span>
#include <tuple>

using namespace orn;
using orn::test::Image;
using orn::test::Rgba;

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

TSize Extent(const std::string& text, const TFont& font) {
    TBitmap bitmap(1, 1);
    bitmap.Canvas().Font().Assign(&font);
    return bitmap.Canvas().TextExtent(text);
}

constexpr Rgba kBlue{0, 0, 255, 255};

// The pixels that are not the clear colour: their box, window pixels with y downwards, and how many.
struct Ink {
    int Left = 1 << 20, Top = 1 << 20, Right = -1, Bottom = -1, Count = 0;
};

class TOrnLabelPixels : public orn::test::ViewTest {
protected:
    void SetUp() override {
        ViewTest::SetUp();
        if (IsSkipped()) return;
        view.SetBounds(256, 120);
        view.SetBackgroundColor(clBlue);
        view.Coordinates()->SetVisible(false);
        view.SetCamera(&camera);
        view.OpenGLConnect();
        view.OnRender = [this](TOrnView* v) {
            glGetIntegerv(GL_MODELVIEW_STACK_DEPTH, &stackBefore);
            label->Render(v);
            glGetIntegerv(GL_MODELVIEW_STACK_DEPTH, &stackAfter);
        };
    }
    void TearDown() override {
        view.SetCamera(nullptr);
        ViewTest::TearDown();
    }
    Image Draw() {
        view.RenderScene();
        return ViewImage(view);
    }
    static Rgba Top(const Image& image, int x, int y) { return image.At(x, image.height - 1 - y); }
    static Ink FindInk(const Image& image) {
        Ink ink;
        for (int y = 0; y < image.height; ++y)
            for (int x = 0; x < image.width; ++x)
                if (Top(image, x, y) != kBlue)
                    ink = {std::min(ink.Left, x), std::min(ink.Top, y), std::max(ink.Right, x),
                           std::max(ink.Bottom, y), ink.Count + 1};
        return ink;
    }
    // The cell at the projected origin against the bitmap: glyph pixels drawn as drawn, the rest the
    // clear colour; how many glyph pixels.
    int ExpectCell(const Image& image, TColor glyph, Rgba drawn) {
        const TPoint at = Projected({0, 0, 0});
        TCanvas& canvas = label->LabelTexture()->Bitmap()->Canvas();
        int text = 0;
        for (int j = 0; j < label->Height(); ++j)
            for (int i = 0; i < label->Width(); ++i) {
                const bool isText = canvas.Pixels(i, j) == glyph;
                text += isText;
                EXPECT_EQ(Top(image, at.X + i, at.Y + j), isText ? drawn : kBlue) << i << ", " << j;
            }
        return text;
    }
    // Where the view puts a scene point now, rounded as the label rounds it.
    TPoint Projected(const TOrnMathVector& point) {
        const TOrnMathVector w = view.WinFrom3D(point);
        return Point(static_cast<int>(std::nearbyint(w.x)), static_cast<int>(std::nearbyint(w.y)));
    }
    TComponent form{nullptr};
    TOrnPerspectiveCamera camera{nullptr};
    TOrnCanvasView view{nullptr};
    TOrnLabel* label = new TOrnLabel(&form);
    GLint stackBefore = -1, stackAfter = -2;
};

} // namespace

TEST(TOrn3DTextMesh, HolaIsClosedOutwardAsVoluminousAsItsCapTimesItsDepthAndCountersAreLeftOpen) {
    Built b("HOLA", 0.25);
    ASSERT_EQ(b.text->PrimitiveCount(), 3);
    // Welded by place (caps and walls keep their own vertices), no edge is left open; a face turned
    // round or doubled would change the volume.
    EXPECT_EQ(test::OpenEdges(*b.text), 0);
    double volume = 0;
    for (int l = 0; l < 3; ++l) { // how faces wind: ShapesTest, for every class
        const auto triangles = test::Triangles(*b.text->Primitive(l));
        ASSERT_GT(triangles.size(), 30u) << l;
        for (const auto& t : triangles) {
            TOrnMathVector cd;
            OrnMathCrossProduct(b.P(t[1]), b.P(t[2]), cd);
            volume += OrnMathDotProduct(b.P(t[0]), cd) / 6;
        }
    }
    const double area = b.CapArea(0);
    EXPECT_GT(area, 0.5);
    EXPECT_NEAR(volume, area * 0.25, 1e-9);
    EXPECT_NEAR(b.CapArea(1), -area, 1e-9);
    for (std::uint32_t i : {b.text->Primitive(0)->Data()[0], b.text->Primitive(1)->Data()[0]})
        EXPECT_NEAR(std::abs(b.N(i).z), 1, 1e-12);
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
    // Straight: every quad is flat, and the two quads at each corner keep their own normals.
    Built h("H");
    h.text->SetTextured(true); // coordinates come with texturing
    h.text->Init();
    const Walls hw = WallsOf(h);
    EXPECT_EQ(std::tuple(hw.quads, hw.bent, hw.normalsAt.size()), std::tuple(12, 0, 12u));
    for (auto [walls, dot] : {std::pair{&o, 1.0}, {&hw, 0.0}}) // smooth seams, square corners
        for (const auto& [place, normals] : walls->normalsAt) {
            ASSERT_EQ(normals.size(), 2u) << place.first << ", " << place.second;
            EXPECT_TRUE(std::abs(normals[0].z) < 1e-12 &&
                        std::abs(OrnMathDotProduct(normals[0], normals[1]) - dot) < 1e-9)
                << dot << " at " << place.first << ", " << place.second;
        }
    EXPECT_GT(hw.perimeter, 2.0); // an H of about 0.6 × 0.73 em
    for (int i = 0; i < h.text->Primitive(0)->Count(); ++i) {
        const double s = h.T(h.text->Primitive(0)->Data()[i]).x;
        EXPECT_TRUE(s >= 0 && s <= 1) << s;
    }
}

TEST(TOrn3DTextMesh, DepthAlignmentDetailAndStyleShapeTheSolidAndBadCaptionsAndValuesAreSafe) {
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

TEST(TOrnLabel, TheBitmapIsAPowerOfTwoAboveTheExtentAlphaFromFontOrColourRebuiltOnEveryChangeButNotInDesign) {
    TComponent form(nullptr);
    auto* label = new TOrnLabel(&form);
    EXPECT_EQ(label->LabelTexture()->Owner(), label);
    TBitmap& bitmap = *label->LabelTexture()->Bitmap();
    for (int height : {-11, 16, 32}) { // positive: cells of exactly a power of two
        label->Font()->SetHeight(height);
        label->SetCaption("Label " + std::to_string(height));
        const TSize extent = Extent(label->Caption(), *label->Font());
        EXPECT_EQ((TSize{label->Width(), label->Height()}), extent);
        label->Init();
        for (auto [side, text] : {std::pair{bitmap.Width(), extent.cx}, {bitmap.Height(), extent.cy}})
            EXPECT_TRUE((side & (side - 1)) == 0 && side > text && side <= 2 * text)
                << height << ": " << side;
        EXPECT_TRUE(label->LabelTexture()->Valid());
    }
    for (auto [caption, width] : {std::pair{std::string(), 2}, {std::string(5000, 'W'), 4096}}) {
        label->SetCaption(caption);
        label->Init();
        EXPECT_EQ(std::pair(bitmap.Width(), label->LabelTexture()->Valid()), std::pair(width, true));
    }
    label->SetSize(0, 300);
    label->SetSize(1, 40);
    label->SetSize(2, 99); // no third size; the bitmap follows
    EXPECT_EQ((std::vector<int>{label->Width(), label->Height(), bitmap.Width(), bitmap.Height()}),
              (std::vector<int>{300, 40, 300, 40}));
    label->SetCaption("TOrnLabel");
    label->Font()->SetHeight(-11);
    label->Font()->SetStyle({fsBold}); // a font change goes back to the text's extent
    const TSize extent = Extent("TOrnLabel", *label->Font());
    EXPECT_EQ((TSize{label->Width(), label->Height()}), extent);
    EXPECT_GT(extent.cx, Extent("TOrnLabel", TFont()).cx);
    label->SetFont(nullptr); // ignored
    EXPECT_EQ(label->Width(), extent.cx);
    // Text pixels take the font's alpha, the background the colour's.
    label->Font()->SetHeight(-40); // stems several pixels wide, so some pixels are wholly text
    label->Font()->SetColor(clRed);
    label->Font()->SetAlpha(0.5f);
    label->Color()->SetAlpha(0.25f);
    label->SetCaption("IIII");
    label->Init();
    const int w = bitmap.Width(), h = bitmap.Height();
    int text = 0;
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            const bool isText = bitmap.Canvas().Pixels(x, y) == clRed;
            text += isText;
            EXPECT_EQ(label->LabelTexture()->Pixels()[(static_cast<std::size_t>(h - 1 - y) * w + x) * 4 + 3],
                      isText ? 128 : 64)
                << "rows run bottom-up";
        }
    EXPECT_TRUE(text > 20 && text < w * h / 2) << text; // the stems of the I's
    // Outside the text cell the background is one step off the (white) label colour.
    EXPECT_EQ(bitmap.Canvas().Pixels(w - 1, h - 1), TColor(0xFFFFFE));
    int i = 0;
    for (const std::function<void()>& change : std::vector<std::function<void()>>{
             [&] { label->SetCaption("x"); }, [&] { label->Font()->SetColor(clBlue); },
             [&] { label->Color()->SetColor(clRed); }, [&] { label->Color()->SetAlpha(0.5f); },
             [&] { label->SetSize(0, 10); }, [&] { label->SetSize(1, 10); },
             [&] { label->Font()->SetAlpha(0.75f); }}) {
        label->Init();
        change();
        EXPECT_FALSE(label->Initialized()) << "change " << i++;
    }
    delete label->LabelTexture();
    EXPECT_EQ(label->LabelTexture(), nullptr);
    label->SetCaption("still here");
    label->SetSize(0, 20);
    label->Init();
    EXPECT_FALSE(label->Initialized());
    form.SetDesigning(true);
    auto* shown = new TOrnLabel(&form);
    shown->SetSize(0, 100);
    EXPECT_TRUE(shown->LabelTexture()->Bitmap()->Empty() && shown->Width() == 100);
    shown->Init();
    EXPECT_TRUE(!shown->Initialized() && shown->LabelTexture()->Pixels().empty());
}

TEST_F(TOrnLabelPixels, ANewLabelShowsItsClassNameOneToOneOnATransparentBackgroundInBitmapsToo) {
    Image image = Draw();
    EXPECT_EQ(stackBefore, stackAfter);
    ASSERT_EQ(std::pair(label->LabelTexture()->Bitmap()->Width(), label->LabelTexture()->Bitmap()->Height()),
              std::pair(64, 16));
    const int text = ExpectCell(image, clBlack, {0, 0, 0, 255});
    EXPECT_EQ(std::pair(text > 20, FindInk(image).Count), std::pair(true, text))
        << "and no ink outside the cell";
    const auto bitmap = view.GetImage(256, 120);
    ASSERT_TRUE(bitmap && label->Initialized());
    int inBitmap = 0;
    for (int y = 0; y < 120; ++y)
        for (int x = 0; x < 256; ++x)
            inBitmap += bitmap->Canvas().Pixels(x, y) != clBlue;
    EXPECT_EQ(inBitmap, text);
    // A black background stays invisible (drawn one step off black); an opaque one shows its colour.
    label->Color()->SetColor(clBlack);
    label->Font()->SetColor(clWhite);
    image = Draw();
    ASSERT_EQ(label->LabelTexture()->Bitmap()->Canvas().Pixels(63, 15), TColor(1));
    EXPECT_GT(ExpectCell(image, clWhite, {255, 255, 255, 255}), 20);
    label->Color()->SetColor(clRed);
    label->Color()->SetAlpha(1);
    image = Draw();
    // The last row and column of the rectangle lie below and right of the glyphs: one step off red.
    const TPoint at = Projected({0, 0, 0});
    EXPECT_EQ(Top(image, at.X + label->Width() - 1, at.Y + label->Height() - 1), (Rgba{254, 0, 0, 255}));
    EXPECT_EQ(Top(image, at.X + label->Width() + 1, at.Y), kBlue);
}

TEST_F(TOrnLabelPixels, ALabelFollowsItsPointAndShiftsByPixelsWhateverTheCamera) {
    label->SetCaption("H");
    label->Font()->SetHeight(-20); // stems wider than a pixel
    const TOrnMathVector point{0.3, -0.2, 0.2};
    label->Transformation()->Translation()->SetAsMathVector(point);
    for (float turn : {0.0f, 15.0f}) {
        SCOPED_TRACE(turn);
        camera.Transformation()->Rotation()->SetY(turn);
        const Ink ink = FindInk(Draw());
        const TPoint at = Projected(point);
        ASSERT_GT(ink.Count, 0);
        // The H's ink sits in its cell, whose corner is the projected point.
        EXPECT_TRUE(ink.Left >= at.X && ink.Left <= at.X + 4 && ink.Top >= at.Y &&
                    ink.Bottom <= at.Y + label->Height());
        label->SetShiftX(10); // right and down by different amounts, so that swapped shifts show
        label->SetShiftY(6);
        const Ink shifted = FindInk(Draw());
        label->SetShiftX(0);
        label->SetShiftY(0);
        EXPECT_EQ(std::vector<int>({shifted.Left, shifted.Right, shifted.Top, shifted.Bottom, shifted.Count}),
                  std::vector<int>({ink.Left + 10, ink.Right + 10, ink.Top + 6, ink.Bottom + 6, ink.Count}));
    }
}
