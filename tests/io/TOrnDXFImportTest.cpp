#include <orn/geometry/TOrnCustomObj.h>
#include <orn/io/TOrnDXFImport.h>
#include <orn/io/TOrnExchange.h>
#include <orn/math/TOrnBounds.h>
#include <orn/objects/TOrn3DText.h>
#include <orn/scene/TOrnNode.h>

#include "support/Corpora.h"
#include "support/VectorNear.h"
#include <GL/gl.h>
#include <algorithm>
#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <numbers>

namespace fs = std::filesystem;
using namespace orn;

namespace {
using Vec = TOrnMathVector;
using Mat = std::array<double, 16>; // column-major, as GL keeps it
const Mat kOne{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
Mat Mul(const Mat& a, const Mat& b) {
    Mat r{};
    for (int c = 0; c < 16; ++c)
        for (int k = 0; k < 4; ++k)
            r[c] += a[k * 4 + c % 4] * b[c / 4 * 4 + k];
    return r;
}
Vec Apply(const Mat& m, const Vec& v) {
    return {m[0] * v.x + m[4] * v.y + m[8] * v.z + m[12], m[1] * v.x + m[5] * v.y + m[9] * v.z + m[13],
            m[2] * v.x + m[6] * v.y + m[10] * v.z + m[14]};
}
/// What the drawing puts into the world, every insert followed to its block: the edge flag of each
/// triangle corner (255 where its object draws none), a colour per object, each text's world matrix.
struct World {
    std::vector<Vec> points, lines, triangles;
    std::vector<int> edges;
    std::vector<TColor> colors;
    std::vector<const TOrn3DText*> texts;
    std::vector<Mat> textPlaces;
};
void Walk(TOrnRender& item, World& w, const Mat& parent = kOne) {
    if (!item.Enabled()) return;
    Mat local; // checked against what GL makes of it in the transformation's tests
    OrnTransformationMatrix(*item.Transformation(), local.data());
    const Mat m = Mul(parent, local);
    if (auto* node = dynamic_cast<TOrnNode*>(&item))
        for (int i = 0; i < node->Count(); ++i)
            Walk(*node->Items(i), w, m);
    if (auto* text = dynamic_cast<TOrn3DText*>(&item)) w.texts.push_back(text), w.textPlaces.push_back(m);
    auto* obj = dynamic_cast<TOrnCustomObj*>(&item);
    if (!obj) return;
    obj->Init();
    w.colors.push_back(obj->Color()->Color());
    const bool edges = obj->Points()->EnabledArrays().Contains(daEdgeFlag);
    for (int l = 0; l < obj->PrimitiveCount(); ++l) {
        const TOrnPrimitiveArray& list = *obj->Primitive(l);
        auto& out = list.Type() == GL_LINES ? w.lines : list.Type() == GL_POINTS ? w.points : w.triangles;
        for (int i = 0; i < list.Count(); ++i) {
            const int p = static_cast<int>(list.Indices(i));
            out.push_back(Apply(m, obj->Points()->GetVector(p, daVertex)));
            if (&out == &w.triangles) w.edges.push_back(edges ? obj->Points()->GetEdgeFlag(p) : 255);
        }
    }
}
struct Imported {
    TComponent form{nullptr};
    TOrnNode* node = new TOrnNode(&form);
    TOrnDXFImport importer{nullptr};
    World world;
    const TOrnDXFReport& report = importer.Report();
    explicit Imported(const std::string& text, bool file = false,
                      const std::function<void(TOrnDXFImport&)>& options = {}) {
        if (options) options(importer);
        importer.SetNode(node);
        importer.SetFileName(file ? text : "");
        file ? importer.Execute() : importer.LoadFromBuffer(text.data(), text.size());
        Walk(*node, world);
    }
    bool Says(const std::string& part) const {
        return std::any_of(report.messages.begin(), report.messages.end(),
                           [&](const std::string& m) { return m.find(part) != std::string::npos; });
    }
};
using orn::test::VectorNear;
bool Contains(const std::vector<Vec>& v, const Vec& p, double tol = 1e-3) {
    return std::any_of(v.begin(), v.end(),
                       [&](const Vec& q) { return static_cast<bool>(VectorNear(p, q, tol)); });
}
double TriangleArea(const std::vector<Vec>& t) {
    double area = 0;
    for (std::size_t i = 0; i + 2 < t.size(); i += 3) {
        const Vec a{t[i + 1].x - t[i].x, t[i + 1].y - t[i].y, t[i + 1].z - t[i].z};
        const Vec b{t[i + 2].x - t[i].x, t[i + 2].y - t[i].y, t[i + 2].z - t[i].z};
        area += std::hypot(a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x) / 2;
    }
    return area;
}
/// A drawing of entities given as "code\nvalue\n" text, in an ENTITIES section (and BLOCKS if any).
std::string Dxf(const std::string& entities, const std::string& blocks = "", const std::string& tables = "") {
    std::string s;
    if (!tables.empty()) s += "0\nSECTION\n2\nTABLES\n" + tables + "0\nENDSEC\n";
    if (!blocks.empty()) s += "0\nSECTION\n2\nBLOCKS\n" + blocks + "0\nENDSEC\n";
    return s + "0\nSECTION\n2\nENTITIES\n" + entities + "0\nENDSEC\n0\nEOF\n";
}
/// Groups written as "code value code value …" (values without spaces), as the lines of a file.
std::string G(std::string groups) {
    std::replace(groups.begin(), groups.end(), ' ', '\n');
    return groups + '\n';
}
// A slot 40 long and 20 wide whose ends are half circles drawn by bulges of 1.
const std::string kSlot =
    G("0 LWPOLYLINE 8 Cut 90 4 70 1 10 0 20 0 10 40 20 0 42 1 10 40 20 20 10 0 20 20 42 1");
const fs::path kCorpus = orn::test::CorpusPath("dxf");
} // namespace

TEST(TOrnDXFImport, BulgesFacesSplinesAndInsertsLandWhereComputedByHandAndTheSceneFileKeepsThem) {
    Imported d(Dxf(kSlot));
    for (const Vec& p : d.world.lines) // on an end's half circle, or on a side
        EXPECT_NEAR(std::hypot(p.x - std::clamp(p.x, 0.0, 40.0), p.y - 10), 10, 1e-9);
    EXPECT_TRUE(VectorNear(d.report.extMin, {-10, 0, 0}, 1e-9) &&
                VectorNear(d.report.extMax, {50, 20, 0}, 1e-9));
    // A quarter circle (bulge tan 22.5°) up the y axis bends to the right, about (-5, 5).
    Imported arc(Dxf(G("0 LWPOLYLINE 90 2 10 0 20 0 42 0.41421356237 10 0 20 10")));
    for (const Vec& p : arc.world.lines)
        EXPECT_NEAR(std::hypot(p.x + 5, p.y - 5), std::sqrt(50.0), 1e-6);
    EXPECT_TRUE(Contains(arc.world.lines, {std::sqrt(50.0) - 5, 5, 0}));
    // Widths: 4 narrowing to 0 over 10 units, then the constant 1 over 5 and back over 5 √5.
    Imported wide(Dxf(G("0 LWPOLYLINE 90 3 70 1 43 1 10 0 20 0 40 4 41 0 10 10 20 0 10 10 20 5")));
    EXPECT_NEAR(TriangleArea(wide.world.triangles), 10 * 4 / 2 + 5 * 1 + std::sqrt(125.0) * 1, 1e-9);
    // Fit points alone make a smooth curve: its inner spans stay within 0.05 of the circle (chords: 0.76).
    Imported fit(Dxf(G("0 SPLINE 71 3 11 10 21 0 11 7.0710678 21 7.0710678 11 0 21 10 "
                       "11 -7.0710678 21 7.0710678 11 -10 21 0")));
    ASSERT_TRUE(Contains(fit.world.lines, {0, 10, 0}, 1e-6));
    int inner = 0;
    for (const Vec& p : fit.world.lines)
        if (p.y > 7.08 && std::fabs(std::hypot(p.x, p.y) - 10) < 0.05) ++inner;
    EXPECT_EQ(inner, 2 * 16 * 2 - 2); // both ends of the 16 segments a span, less the outer two
    // A whole ellipse by default, and the upper half of one; the minor axis is the major times 0.5.
    Imported ell(
        Dxf(G("0 ELLIPSE 10 1 20 2 11 4 21 0 40 0.5 0 ELLIPSE 11 2 21 0 40 0.5 41 0 42 3.14159265359")));
    int above = 0, below = 0;
    for (const Vec& p : ell.world.lines) {
        const bool whole = std::fabs(std::hypot((p.x - 1) / 4, (p.y - 2) / 2) - 1) < 1e-9;
        EXPECT_TRUE(whole || (std::fabs(std::hypot(p.x / 2, p.y) - 1) < 1e-9 && p.y > -1e-9))
            << p.x << ',' << p.y;
        above += whole && p.y > 3.9;
        below += whole && p.y < 0.1;
    }
    EXPECT_TRUE(above > 0 && below > 0 && Contains(ell.world.lines, {-2, 0, 0}) &&
                Contains(ell.world.lines, {2, 0, 0}));
    // A quad 3DFACE with its first edge invisible, a triangle with its closing edge invisible, a
    // SOLID; and a polyface quad whose negative second index hides the edge from that corner.
    Imported faces(Dxf(G("0 3DFACE 70 1 10 0 20 0 11 1 21 0 12 1 22 1 13 0 23 1 "
                         "0 3DFACE 70 8 10 5 20 0 11 6 21 0 12 5 22 1 "
                         "0 SOLID 10 0 20 5 11 1 21 5 12 0 22 6 13 1 23 6 "
                         "0 POLYLINE 70 64 0 VERTEX 70 192 0 VERTEX 70 192 10 1 0 VERTEX 70 192 10 1 20 1 "
                         "0 VERTEX 70 192 20 1 0 VERTEX 70 128 71 1 72 -2 73 3 74 4 0 SEQEND")));
    ASSERT_EQ(faces.world.triangles.size(), 21u);
    EXPECT_TRUE(VectorNear(faces.world.triangles[0], {0, 0, 0}) &&
                VectorNear(faces.world.triangles[2], {1, 1, 0}) &&
                VectorNear(faces.world.triangles[5], {0, 1, 0}));
    EXPECT_EQ(faces.world.edges, std::vector<int>({0, 1, 0, 0, 1, 1, /**/ 1, 1, 0, /**/ 1, 1, 0, 0, 1, 1, /**/
                                                   1, 0, 0, 0, 1, 1}));
    // A polygon mesh of 2 × 3 vertices over two unit squares, and a third square when closed along rows.
    for (auto [flags, area] : {std::pair{"16", 2.0}, {"48", 4.0}}) {
        Imported mesh(Dxf(
            G(std::string("0 POLYLINE 70 ") + flags +
              " 71 2 72 3 0 VERTEX 70 64 0 VERTEX 70 64 10 1 0 VERTEX 70 64 10 2 0 VERTEX 70 64 10 0 20 1 "
              "0 VERTEX 70 64 10 1 20 1 0 VERTEX 70 64 10 2 20 1 0 SEQEND")));
        EXPECT_NEAR(TriangleArea(mesh.world.triangles), area, 1e-9) << flags;
    }
    // Inches to metres, twice over; a line 3 thick stands as a wall its length long.
    Imported inches(G("0 SECTION 2 HEADER 9 $INSUNITS 70 1 0 ENDSEC") +
                        Dxf(G("0 LINE 11 100 0 LINE 11 10 39 3")),
                    false, [](TOrnDXFImport& i) { i.SetUnitsToMetres(true), i.SetScale(2); });
    EXPECT_TRUE(Contains(inches.world.lines, {5.08, 0, 0}, 1e-6) && inches.report.unitScale == 0.0254 * 2);
    EXPECT_NEAR(TriangleArea(inches.world.triangles), 10 * 3 * 0.0508 * 0.0508, 1e-7);
    TOrnDXFImport options(nullptr);
    for (auto [circle, spline, scale, kept] :
         {std::tuple{7, 0, -2.0, std::tuple(8, 1, 1.0)}, {5000, 300, 0.5, std::tuple(4096, 256, 0.5)}}) {
        options.SetCircleSegments(circle);
        options.SetSplineSegments(spline);
        options.SetScale(scale);
        EXPECT_EQ(std::tuple(options.CircleSegments(), options.SplineSegments(), options.Scale()), kept);
    }
    // Where nothing is hidden, faces carry no edge flags at all.
    Imported plain(Dxf(G("0 3DFACE 10 0 20 0 11 1 21 0 12 1 22 1")));
    EXPECT_EQ(plain.world.edges, std::vector<int>({255, 255, 255}));
    // With a face and a point, saved as a scene and loaded into a fresh node.
    Imported f(
        Dxf(kSlot + G("0 3DFACE 70 8 10 0 20 0 30 1 11 4 21 0 31 1 12 0 22 3 32 1 0 POINT 10 7 20 8")));
    TOrnExchange exchange(nullptr);
    const std::string scene = exchange.SaveToString(*f.node);
    auto* loaded = new TOrnNode(&f.form);
    exchange.LoadFromString(*loaded, scene);
    World w;
    Walk(*loaded, w);
    // Exactly: numbers are written as the shortest text that reads back.
    EXPECT_TRUE(exchange.Warnings().empty() && !w.lines.empty() && w.lines == f.world.lines &&
                w.points == f.world.points && w.triangles == f.world.triangles &&
                w.colors == f.world.colors && w.edges == f.world.edges &&
                w.edges == std::vector<int>({1, 1, 0}));
    // A mesh whose numbers do not read is left out with a warning; the rest of the scene loads.
    const std::size_t at = scene.find("Positions=\"") + 11;
    exchange.LoadFromString(*new TOrnNode(&f.form), scene.substr(0, at) + "x" + scene.substr(at));
    EXPECT_EQ(exchange.Warnings().size(), 1u);
    ORN_REQUIRE_CORPUS("dxf"); // the rest reads drawings of the outside corpus
    // Block "a": a square of ±30 and a circle of radius 20, inserted at 45° and at 15° scaled 2 × 1.
    Imported blocks((kCorpus / "blocks1.dxf").string(), true);
    EXPECT_TRUE(blocks.report.inserts == 2 && blocks.report.imported.at("INSERT") == 2);
    const double c45 = std::sqrt(0.5), c15 = std::cos(std::numbers::pi / 12),
                 s15 = std::sin(std::numbers::pi / 12);
    EXPECT_TRUE(Contains(blocks.world.lines, {31.21320343559643 + 60 * c45, 75.35533905932738, 0}));
    EXPECT_TRUE(Contains(blocks.world.lines, {66.92130429902463 + 60 * c15 + 30 * s15,
                                              59.34255665976439 + 60 * s15 - 30 * c15, 0}));
    // The two insert nodes link to one block node: its geometry is stored once.
    std::vector<TOrnRender*> linked;
    const auto* drawing = dynamic_cast<TOrnNode*>(blocks.node->Items(0));
    for (int i = 0; i < drawing->Count(); ++i)
        if (auto* layer = dynamic_cast<TOrnNode*>(drawing->Items(i)))
            for (int k = 0; k < layer->Count(); ++k)
                if (auto* insert = dynamic_cast<TOrnNode*>(layer->Items(k)); insert && insert->Count() == 1)
                    if (insert->Indirect(0)) linked.push_back(insert->Items(0));
    EXPECT_TRUE(linked.size() == 2u && linked[0] == linked[1]);
    // A closed NURBS of degree 2 with weights √½ on the corners: exactly a circle of radius 0.756.
    Imported spline((kCorpus / "squircle2.dxf").string(), true);
    ASSERT_EQ(spline.world.lines.size(), 2u * 4 * 16); // four knot spans, sixteen segments each
    for (const Vec& p : spline.world.lines)
        EXPECT_NEAR(std::hypot(p.x, p.y), 0.756, 1e-9);
    EXPECT_TRUE(VectorNear(spline.world.lines.front(),
                           {0.756, 0, 0}) && // and the end of its first quarter (clockwise)
                Contains(spline.world.lines, {0, -0.756, 0}));
    Imported cube((kCorpus / "threeDFaces.dxf").string(), true);
    const std::vector<Vec>& t = cube.world.triangles;
    ASSERT_EQ(t.size(), 12u * 3); // a cube of 20
    EXPECT_NEAR(TriangleArea(t), 6 * 20 * 20, 1e-9);
    EXPECT_TRUE(VectorNear(cube.report.extMin, {-10, -10, -10}) &&
                VectorNear(cube.report.extMax, {10, 10, 10}));
}

TEST(TOrnDXFImport, EveryDrawingOfTheCorpusImportsAndAccountsForWhatItDraws) {
    ORN_REQUIRE_CORPUS("dxf");
    int files = 0;
    for (const auto& entry : fs::directory_iterator(kCorpus)) {
        if (entry.path().extension() != ".dxf") continue;
        SCOPED_TRACE(entry.path().string());
        Imported d(entry.path().string(), true);
        EXPECT_TRUE(!d.report.imported.empty() || d.world.lines.size() + d.world.triangles.size() == 0);
        ++files;
    }
    EXPECT_GT(files, 50);
}

TEST(TOrnDXFImport, ColoursHatchesExtrusionsFarDrawingsAndTextsLandAsTheDrawingSays) {
    // BYLAYER blue, true colour over ACI, and a block's BYBLOCK line in its inserts' red and green.
    Imported d(Dxf(G("0 LINE 8 Blue 11 1 21 1 0 LINE 8 Blue 62 1 420 16744448 11 1 21 2 "
                     "0 INSERT 2 B 62 1 10 5 0 INSERT 2 B 62 3 10 9"),
                   G("0 BLOCK 2 B 0 LINE 8 0 62 0 11 1 0 ENDBLK"),
                   G("0 TABLE 2 LAYER 0 LAYER 2 Blue 70 0 62 5 0 ENDTAB")));
    std::vector<TColor> c = d.world.colors;
    std::sort(c.begin(), c.end());
    EXPECT_EQ(c, (std::vector<TColor>{0x0000FF, 0x0080FF, 0x00FF00, 0xFF0000})); // TColor is 0xBBGGRR
    EXPECT_TRUE(Contains(d.world.lines, {10, 0, 0}));
    // A 10 × 10 square (polyline path) with a circular island of radius 2 (an arc edge).
    Imported fill(Dxf(G(
        "0 HATCH 8 0 10 0 20 0 30 0 2 SOLID 70 1 71 0 91 2 92 2 72 0 73 1 93 4 10 0 20 0 10 10 20 0 "
        "10 10 20 10 10 0 20 10 97 0 92 16 93 1 72 2 10 5 20 5 40 2 50 0 51 360 73 1 97 0 75 0 76 1 98 0")));
    const double hole = 0.5 * 72 * 4 * std::sin(2 * std::numbers::pi / 72); // the 72-gon drawn
    EXPECT_NEAR(TriangleArea(fill.world.triangles), 100 - hole, 1e-6);
    // A circle in the plane x = 3 (extrusion +X: its object x axis is world Y, its y axis world Z).
    Imported e(Dxf(G("0 CIRCLE 10 0 20 0 30 3 40 1 210 1 220 0 230 0 0 INSERT 2 B 10 2 210 0 220 0 230 -1"),
                   G("0 BLOCK 2 B 0 POINT 10 1 20 1 0 ENDBLK")));
    for (std::size_t i = 0; i < 72 * 2; ++i)
        EXPECT_NEAR(e.world.lines[i].x, 3, 1e-12);
    EXPECT_TRUE(Contains(e.world.lines, {3, 1, 0}) && Contains(e.world.lines, {3, 0, 1}));
    // Extrusion −Z mirrors x: the insert point (2, 0) and the block's (1, 1) land at x = −3.
    EXPECT_TRUE(e.world.points.size() == 1 && VectorNear(e.world.points[0], {-3, 1, 0}));
    // A survey drawing far from the origin is moved near it, and the top node moves it back.
    Imported far(Dxf(G("0 LINE 10 5000000.25 20 6000000 11 5000001.25 21 6000000")));
    ASSERT_TRUE(far.report.shifted && far.report.Text().find("local origin") != std::string::npos);
    // Stored near the origin: the quarter unit survives the trip through single precision.
    const auto* layer = dynamic_cast<TOrnNode*>(dynamic_cast<TOrnNode*>(far.node->Items(0))->Items(0));
    const Vec p = dynamic_cast<TOrnCustomObj*>(layer->Items(0))->Points()->GetVector(0, daVertex);
    EXPECT_TRUE(std::fabs(p.x + 0.5) < 1e-9 && static_cast<float>(p.x) == -0.5f);
    const auto header = [](std::string v) {
        return G("0 SECTION 2 HEADER 9 $ACADVER 1 " + v + " 9 $DWGCODEPAGE 3 ANSI_1252 0 ENDSEC");
    };
    // Centred TEXT at its alignment point (5, 6), 2.5 high, turned 90°; € is byte 0x80 in 1252.
    const std::string text = "0\nTEXT\n8\nNotes\n1\n%%c20 %%d%%p%%u \x80\x9F \\U+2205\n" +
                             G("40 2.5 50 90 72 1 10 1 20 2 11 5 21 6");
    const std::string mtext = G("0 MTEXT 8 Notes 71 3 40 3 50 180") +
                              "3\n{\\fArial|b1|i0;Bold} and \\H2x;big\\P\n1\nnext\\~line \\S1^2; \\{x\\}\n";
    Imported old(header("AC1015") + Dxf(text + mtext + "0\nATTRIB\n1\nhidden\n70\n1\n"));
    EXPECT_TRUE(old.report.imported.at("TEXT") == 1 && old.report.imported.at("MTEXT") == 1);
    ASSERT_EQ(old.world.texts.size(), 3u); // MTEXT's two lines; the invisible ATTRIB shows nothing
    EXPECT_EQ(old.world.texts[0]->Caption(), "\u00D820 \u00B0\u00B1 \u20AC\u0178 \u2205");
    EXPECT_TRUE(old.world.texts[0]->Alignment() == taCenter &&
                old.world.texts[2]->Alignment() == taRightJustify);
    // Capitals (0.72 em) 2.5 high, along +y, from the alignment point.
    const auto at = [&](int i, double x, double y) { return Apply(old.world.textPlaces[i], {x, y, 0}); };
    EXPECT_TRUE(VectorNear(at(0, 0, 0), {5, 6, 0}) && VectorNear(at(0, 0.72, 0), {5, 8.5, 0}) &&
                VectorNear(at(0, 0, 0.72), {2.5, 6, 0}));
    EXPECT_EQ(old.world.texts[1]->Caption(), "Bold and big");
    EXPECT_EQ(old.world.texts[2]->Caption(), "next\u00A0line 1/2 {x}");
    // Turned 180° (50 in degrees), 3 high, hanging from its top-right anchor; lines 5/3 of a height apart.
    EXPECT_TRUE(VectorNear(at(1, 0, 0), {0, 3, 0}) && VectorNear(at(1, 0.72, 0), {-3, 3, 0}) &&
                VectorNear(at(2, 0, 0), {0, 8, 0}));
    // From AC1021 on, strings are UTF-8 whatever the code page says.
    Imported utf8(header("AC1021") + Dxf(G("0 TEXT 1 \xC3\x9C 40 1")));
    EXPECT_EQ(utf8.world.texts.at(0)->Caption(), "\u00DC");
    EXPECT_TRUE(utf8.report.hasExtents); // a drawing of text alone still has somewhere to look
    // The same caption 2 high: plain, half as wide (41), fit from (1, 2) to (11, 2), and aligned
    // from (0, 0) to (0, 8), which turns it by its points whatever its angle says.
    Imported sized(Dxf(G("0 TEXT 1 Wide 40 2 0 TEXT 1 Wide 40 2 41 0.5 "
                         "0 TEXT 1 Wide 40 2 72 5 10 1 20 2 11 11 21 2 "
                         "0 TEXT 1 Wide 40 2 72 3 10 0 20 0 11 0 21 8 50 45")));
    ASSERT_EQ(sized.world.texts.size(), 4u);
    std::vector<TOrnBounds> box(4);
    for (std::size_t i = 0; i < 4; ++i) {
        auto* text = const_cast<TOrn3DText*>(sized.world.texts[i]);
        text->Init();
        ASSERT_GT(text->Points()->Count(), 0) << "no glyphs for caption " << i;
        for (int p = 0; p < text->Points()->Count(); ++p)
            box[i].Add(Apply(sized.world.textPlaces[i], text->Points()->GetVector(p, daVertex)));
    }
    const auto size = [&](int i) { return Vec{box[i].Hi.x - box[i].Lo.x, box[i].Hi.y - box[i].Lo.y, 0}; };
    EXPECT_TRUE(VectorNear(size(1), {size(0).x / 2, size(0).y, 0})) << "half as wide";
    // Fit: stretched to the second point, its height kept.
    EXPECT_TRUE(box[2].Lo.x >= 1 && box[2].Lo.x < 1.5 && std::fabs(box[2].Hi.x - 11) < 1e-4) << box[2].Lo.x;
    EXPECT_NEAR(size(2).y, size(0).y, 1e-4);
    // Aligned: along +y, its proportions kept, standing on the baseline left of it.
    EXPECT_TRUE(std::fabs(box[3].Hi.y - 8) < 1e-4 && box[3].Hi.x < 0.1);
    EXPECT_NEAR(size(3).x / size(3).y, size(0).y / size(0).x, 1e-3);
}

/// The drawing inserts N0, each block Ni inserts the next, and the last holds a point.
std::string Nested(int levels, const std::string& more = "") {
    std::string blocks;
    for (int i = 0; i < levels; ++i)
        blocks +=
            G("0 BLOCK 2 N" + std::to_string(i) + " 0 INSERT 2 N" + std::to_string(i + 1) + " 10 1 0 ENDBLK");
    return Dxf(G("0 INSERT 2 N0") + more,
               blocks + G("0 BLOCK 2 N" + std::to_string(levels) + " 0 POINT 0 ENDBLK"));
}

TEST(TOrnDXFImport, BadInputIsReportedTheRestImportedAndBinaryFilesReadLikeText) {
    // Each case: a drawing with one fault and a good LINE, and what the report must say.
    const std::string line = G("0 LINE 10 0 20 0 11 1 21 1");
    // A line too long for one caption's geometry, in UTF-8 with a Ü on bytes 3999 and 4000.
    std::string chunk =
        G("0 SECTION 2 HEADER 9 $ACADVER 1 AC1021 0 ENDSEC") + "0\nSECTION\n2\nENTITIES\n0\nMTEXT\n3\nW";
    for (int i = 0; i < 40; ++i)
        chunk += std::string(248, 'W') + "\xC3\x9C";
    chunk += "\n";
    const std::pair<std::string, const char*> cases[] = {
        {Dxf(G("0 POINT xx 1 10 1 20 1") + line), "group code 'xx' is not a number"},
        {Dxf(G("0 CIRCLE 10 abc 20 0 40 1") + line), "line 8: CIRCLE left out"},
        {Dxf(G("0 LINE 10 nan 20 0 11 1 21 1") + line), "not a finite number"},
        {Dxf(G("0 LWPOLYLINE 90 5 10 0 10 1 10 2") + line), "LWPOLYLINE with 3 vertices declared 5"},
        {Dxf(G("0 SPLINE 71 3 72 99 73 4 40 0 40 1 10 0 10 1 10 2 10 3") + line), "does not fit together"},
        {G("0 SECTION 2 ENTITIES") + line + "0\nLINE\n10", "no value"},
        {Dxf(line + G("0 INSERT 2 A"),
             G("0 BLOCK 2 A 0 INSERT 2 B 0 ENDBLK 0 BLOCK 2 B 0 INSERT 2 A 0 ENDBLK")),
         "inserts itself"},
        {Dxf(line + G("0 INSERT 2 NOPE")), "lacks"},
        {Dxf(line + G("0 INSERT 2 A 70 30000 71 30000"), G("0 BLOCK 2 A 0 ENDBLK")), "first 10000 cells"},
        {Dxf(G("0 POLYLINE 70 64 0 VERTEX 70 192 0 VERTEX 70 128 71 1 72 2 73 9 0 SEQEND") + line),
         "faces naming missing vertices"},
        {Nested(16, line), "nested deeper than 16 levels"}, // 17 inserts deep
        {chunk + line, "cut to its first 4000"},
    };
    for (const auto& [text, says] : cases) {
        Imported d(text);
        EXPECT_TRUE(d.Says(says)) << d.report.Text();
        EXPECT_TRUE(Contains(d.world.lines, {1, 1, 0}));
    }
    const Imported deepest(Nested(15)); // as deep as may be: drawn, without a word
    EXPECT_TRUE(deepest.report.messages.empty() && deepest.world.points.size() == 1u &&
                Imported(Nested(16)).world.points.empty());
    EXPECT_EQ(Imported(chunk).world.texts.at(0)->Caption().size(), 3999u); // not inside the Ü
    // A binary file reads like text; cut anywhere, it still reads what is whole and says what is not.
    std::string b("AutoCAD Binary DXF\r\n\x1a\0", 22);
    auto code = [&](int c) { b.append(reinterpret_cast<const char*>(&c), 2); };
    auto str = [&](int c, const std::string& s) { code(c), b += s, b += '\0'; };
    auto num = [&](int c, double v) { code(c), b.append(reinterpret_cast<const char*>(&v), 8); };
    str(0, "SECTION"), str(2, "ENTITIES"), str(0, "LINE"), str(8, "0");
    num(10, 1), num(20, 2), num(30, 0), num(11, 3), num(21, 4), num(31, 0), str(0, "ENDSEC"), str(0, "EOF");
    Imported binary(b);
    EXPECT_TRUE(binary.report.binary && Contains(binary.world.lines, {1, 2, 0}) &&
                Contains(binary.world.lines, {3, 4, 0}));
    for (std::size_t n = 22; n < b.size(); n += 5)
        Imported(b.substr(0, n));
    TOrnNode unowned(nullptr); // owns what is imported into it: nothing is left without an owner
    TOrnDXFImport importer(nullptr);
    importer.SetNode(&unowned);
    importer.LoadFromBuffer(b.data(), b.size());
    EXPECT_GT(unowned.ComponentCount(), 0);
}
