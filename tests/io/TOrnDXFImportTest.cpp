#include <orn/geometry/TOrnCustomObj.h>
#include <orn/io/TOrnDXFImport.h>
#include <orn/objects/TOrn3DText.h>
#include <orn/scene/TOrnNode.h>

#include <gtest/gtest.h>

#include <GL/gl.h>

#include <array>
#include <cmath>
#include <filesystem>
#include <memory>
#include <numbers>
#include <string>
#include <vector>

namespace fs = std::filesystem;
using namespace orn;

namespace {

using Vec = TOrnMathVector;
using Mat = std::array<double, 16>; // column-major, as GL keeps it

Mat Mul(const Mat& a, const Mat& b) {
    Mat r{};
    for (int c = 0; c < 4; ++c)
        for (int k = 0; k < 4; ++k)
            for (int i = 0; i < 4; ++i)
                r[c * 4 + i] += a[k * 4 + i] * b[c * 4 + k];
    return r;
}

Mat Rot(double deg, int axis) {
    const double a = deg * std::numbers::pi / 180, c = std::cos(a), s = std::sin(a);
    Mat m{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    const int i = (axis + 1) % 3, j = (axis + 2) % 3;
    m[i * 4 + i] = c, m[i * 4 + j] = s, m[j * 4 + i] = -s, m[j * 4 + j] = c;
    return m;
}

/// The item's own matrix, as GL would compose it for the translation-rotation-scale order.
Mat Local(const TOrnRender& item) {
    const TOrnTransformation& t = *item.Transformation();
    EXPECT_TRUE(t.GetEmpty() || t.Order() == toTraRotSca);
    const Vec p = t.Translation()->AsMathVector(), r = t.Rotation()->AsMathVector(),
              s = t.Scale()->AsMathVector();
    Mat m{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, p.x, p.y, p.z, 1};
    m = Mul(Mul(Mul(m, Rot(r.x, 0)), Rot(r.y, 1)), Rot(r.z, 2));
    return Mul(m, Mat{s.x, 0, 0, 0, 0, s.y, 0, 0, 0, 0, s.z, 0, 0, 0, 0, 1});
}

Vec Apply(const Mat& m, const Vec& v) {
    return {m[0] * v.x + m[4] * v.y + m[8] * v.z + m[12], m[1] * v.x + m[5] * v.y + m[9] * v.z + m[13],
            m[2] * v.x + m[6] * v.y + m[10] * v.z + m[14]};
}

/// What the drawing puts into the world, every insert followed to its block.
struct World {
    std::vector<Vec> points, lines, triangles;
    std::vector<TColor> colors; // one per object met
    std::vector<const TOrn3DText*> texts;
    std::vector<Mat> textPlaces; // the world matrix of each text
};

void Walk(TOrnRender& item, const Mat& parent, World& w) {
    if (!item.Enabled()) return;
    const Mat m = Mul(parent, Local(item));
    if (auto* node = dynamic_cast<TOrnNode*>(&item)) {
        for (int i = 0; i < node->Count(); ++i)
            Walk(*node->Items(i), m, w);
        return;
    }
    if (auto* text = dynamic_cast<TOrn3DText*>(&item)) {
        w.texts.push_back(text);
        w.textPlaces.push_back(m);
        return;
    }
    auto* obj = dynamic_cast<TOrnCustomObj*>(&item);
    if (!obj) return;
    obj->Init();
    w.colors.push_back(obj->Color()->Color());
    for (int l = 0; l < obj->PrimitiveCount(); ++l) {
        const TOrnPrimitiveArray& list = *obj->Primitive(l);
        auto& out = list.Type() == GL_LINES ? w.lines : list.Type() == GL_POINTS ? w.points : w.triangles;
        for (int i = 0; i < list.Count(); ++i)
            out.push_back(Apply(m, obj->Points()->GetVector(static_cast<int>(list.Indices(i)), daVertex)));
    }
}

struct Imported {
    TComponent form{nullptr};
    TOrnNode* node = new TOrnNode(&form);
    TOrnDXFImport importer{nullptr};
    World world;
    const TOrnDXFReport& report = importer.Report();

    explicit Imported(const std::string& text, bool file = false) {
        importer.SetNode(node);
        if (file) {
            importer.SetFileName(text);
            importer.Execute();
        } else {
            importer.LoadFromBuffer(text.data(), text.size());
        }
        Walk(*node, Mat{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}, world);
    }
    bool Says(const std::string& part) const {
        for (const std::string& m : report.messages)
            if (m.find(part) != std::string::npos) return true;
        return false;
    }
};

bool Near(const Vec& a, const Vec& b, double tol = 1e-4) {
    return std::fabs(a.x - b.x) < tol && std::fabs(a.y - b.y) < tol && std::fabs(a.z - b.z) < tol;
}

bool Contains(const std::vector<Vec>& v, const Vec& p, double tol = 1e-3) {
    for (const Vec& q : v)
        if (Near(p, q, tol)) return true;
    return false;
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

// A slot 40 long and 20 wide whose ends are half circles drawn by bulges of 1.
const std::string kSlot = "0\nLWPOLYLINE\n8\nCut\n90\n4\n70\n1\n10\n0\n20\n0\n42\n0\n10\n40\n20\n0\n42\n1\n"
                          "10\n40\n20\n20\n42\n0\n10\n0\n20\n20\n42\n1\n";

fs::path Corpus() {
    return fs::path(ORN_CORPORA_DIR) / "dxf";
}

#define ORN_NEED_CORPUS()                                                                                    \
    do {                                                                                                     \
        if (!fs::is_directory(Corpus())) GTEST_SKIP() << "no DXF corpus at " << Corpus();                    \
    } while (false)

} // namespace

TEST(TOrnDXFImportCorpus, EveryFileImportsAndAccountsForItsEntities) {
    ORN_NEED_CORPUS();
    int files = 0;
    for (const auto& entry : fs::directory_iterator(Corpus())) {
        if (entry.path().extension() != ".dxf") continue;
        SCOPED_TRACE(entry.path().string());
        Imported d(entry.path().string(), true);
        ++files;
        const auto geometry = d.world.lines.size() + d.world.triangles.size() + d.world.points.size();
        if (d.report.imported.empty()) {
            EXPECT_EQ(geometry, 0u);
        }
        EXPECT_NE(d.report.Text().find("format: ASCII DXF"), std::string::npos);
    }
    EXPECT_GT(files, 50);
}

TEST(TOrnDXFImportCorpus, InsertsPlaceTheSharedBlockRotatedAndScaled) {
    ORN_NEED_CORPUS();
    // Block "a": a square of ±30 and a circle of radius 20, inserted at 45° and at 15° scaled 2 × 1.
    Imported d((Corpus() / "blocks1.dxf").string(), true);
    EXPECT_EQ(d.report.inserts, 2);
    EXPECT_EQ(d.report.imported.at("INSERT"), 2);
    const double c45 = std::sqrt(0.5), c15 = std::cos(std::numbers::pi / 12),
                 s15 = std::sin(std::numbers::pi / 12);
    EXPECT_TRUE(Contains(d.world.lines, {31.21320343559643 + 60 * c45, 75.35533905932738, 0}));
    EXPECT_TRUE(Contains(d.world.lines, {66.92130429902463 + 60 * c15 + 30 * s15,
                                         59.34255665976439 + 60 * s15 - 30 * c15, 0}));
    // The two insert nodes link to one block node: its geometry is stored once.
    std::vector<TOrnRender*> linked;
    TOrnNode* drawing = dynamic_cast<TOrnNode*>(d.node->Items(0));
    ASSERT_NE(drawing, nullptr);
    for (int i = 0; i < drawing->Count(); ++i)
        if (auto* layer = dynamic_cast<TOrnNode*>(drawing->Items(i)))
            for (int k = 0; k < layer->Count(); ++k)
                if (auto* insert = dynamic_cast<TOrnNode*>(layer->Items(k)); insert && insert->Count() == 1)
                    if (insert->Indirect(0)) linked.push_back(insert->Items(0));
    ASSERT_EQ(linked.size(), 2u);
    EXPECT_EQ(linked[0], linked[1]);
}

TEST(TOrnDXFImportCorpus, RationalSplineOfACircleStaysOnIt) {
    ORN_NEED_CORPUS();
    // A closed NURBS of degree 2 with weights √½ on the corners: exactly a circle of radius 0.756.
    Imported d((Corpus() / "squircle2.dxf").string(), true);
    ASSERT_EQ(d.world.lines.size(), 2u * 4 * 16); // four knot spans, sixteen segments each
    for (const Vec& p : d.world.lines)
        EXPECT_NEAR(std::hypot(p.x, p.y), 0.756, 1e-9);
    EXPECT_TRUE(Near(d.world.lines.front(), {0.756, 0, 0}));
    EXPECT_TRUE(Contains(d.world.lines, {0, -0.756, 0})); // the end of the first quarter (clockwise)
}

TEST(TOrnDXFImportCorpus, ThreeDFacesCloseACube) {
    ORN_NEED_CORPUS();
    Imported d((Corpus() / "threeDFaces.dxf").string(), true);
    ASSERT_EQ(d.world.triangles.size(), 12u * 3);
    EXPECT_NEAR(TriangleArea(d.world.triangles), 6 * 20 * 20, 1e-9);
    for (std::size_t i = 0; i < d.world.triangles.size(); i += 3) {
        const Vec &a = d.world.triangles[i], &b = d.world.triangles[i + 1], &c = d.world.triangles[i + 2];
        EXPECT_TRUE((a.x == b.x && b.x == c.x) || (a.y == b.y && b.y == c.y) || (a.z == b.z && b.z == c.z));
    }
    EXPECT_TRUE(Near(d.report.extMin, {-10, -10, -10}) && Near(d.report.extMax, {10, 10, 10}));
}

TEST(TOrnDXFImport, BulgesDrawHalfCirclesOnTheRightSide) {
    Imported d(Dxf(kSlot));
    ASSERT_FALSE(d.world.lines.empty());
    double maxX = -1e9, minX = 1e9;
    for (const Vec& p : d.world.lines) {
        maxX = std::max(maxX, p.x), minX = std::min(minX, p.x);
        if (p.x > 40 + 1e-9) {
            EXPECT_NEAR(std::hypot(p.x - 40, p.y - 10), 10, 1e-9);
        }
        if (p.x < -1e-9) {
            EXPECT_NEAR(std::hypot(p.x, p.y - 10), 10, 1e-9);
        }
    }
    EXPECT_NEAR(maxX, 50, 1e-9);
    EXPECT_NEAR(minX, -10, 1e-9);
    EXPECT_TRUE(Near(d.report.extMax, {50, 20, 0}));
}

TEST(TOrnDXFImport, SolidHatchFillsAroundItsIsland) {
    // A 10 × 10 square (polyline path) with a circular island of radius 2 (an arc edge).
    const std::string hatch =
        "0\nHATCH\n8\n0\n10\n0\n20\n0\n30\n0\n2\nSOLID\n70\n1\n71\n0\n91\n2\n"
        "92\n2\n72\n0\n73\n1\n93\n4\n10\n0\n20\n0\n10\n10\n20\n0\n10\n10\n20\n10\n10\n0\n20\n10\n97\n0\n"
        "92\n16\n93\n1\n72\n2\n10\n5\n20\n5\n40\n2\n50\n0\n51\n360\n73\n1\n97\n0\n75\n0\n76\n1\n98\n0\n";
    Imported d(Dxf(hatch));
    const double hole = 0.5 * 72 * 4 * std::sin(2 * std::numbers::pi / 72); // the 72-gon drawn
    EXPECT_NEAR(TriangleArea(d.world.triangles), 100 - hole, 1e-6);
    EXPECT_EQ(d.report.imported.at("HATCH"), 1);
}

TEST(TOrnDXFImport, ColoursResolveByLayerByBlockAndTrueColour) {
    const std::string tables = "0\nTABLE\n2\nLAYER\n0\nLAYER\n2\nBlue\n70\n0\n62\n5\n0\nENDTAB\n";
    const std::string block =
        "0\nBLOCK\n2\nB\n10\n0\n20\n0\n0\nLINE\n8\n0\n62\n0\n10\n0\n20\n0\n11\n1\n21\n0\n0\nENDBLK\n";
    const std::string ents =
        "0\nLINE\n8\nBlue\n10\n0\n20\n0\n11\n1\n21\n1\n"                       // BYLAYER: blue
        "0\nLINE\n8\nBlue\n62\n1\n420\n16744448\n10\n0\n20\n0\n11\n1\n21\n2\n" // true colour wins
        "0\nINSERT\n2\nB\n62\n1\n10\n5\n20\n0\n"                               // BYBLOCK: red
        "0\nINSERT\n2\nB\n62\n3\n10\n9\n20\n0\n";                              // BYBLOCK: green
    Imported d(Dxf(ents, block, tables));
    std::vector<TColor> c = d.world.colors;
    std::sort(c.begin(), c.end());
    EXPECT_EQ(c, (std::vector<TColor>{0x0000FF, 0x0080FF, 0x00FF00, 0xFF0000})); // TColor is 0xBBGGRR
    EXPECT_TRUE(Contains(d.world.lines, {10, 0, 0}));
}

TEST(TOrnDXFImport, ExtrusionDirectionPlacesCirclesAndMirrorsInserts) {
    // A circle in the plane x = 3 (extrusion +X: its object x axis is world Y, its y axis world Z).
    Imported d(Dxf("0\nCIRCLE\n10\n0\n20\n0\n30\n3\n40\n1\n210\n1\n220\n0\n230\n0\n"
                   "0\nINSERT\n2\nB\n10\n2\n20\n0\n30\n0\n210\n0\n220\n0\n230\n-1\n",
                   "0\nBLOCK\n2\nB\n10\n0\n20\n0\n0\nPOINT\n10\n1\n20\n1\n30\n0\n0\nENDBLK\n"));
    for (std::size_t i = 0; i < 72 * 2; ++i)
        EXPECT_NEAR(d.world.lines[i].x, 3, 1e-12);
    EXPECT_TRUE(Contains(d.world.lines, {3, 1, 0}));
    EXPECT_TRUE(Contains(d.world.lines, {3, 0, 1}));
    // Extrusion −Z mirrors x: the insert point (2, 0) and the block's (1, 1) land at x = −3.
    ASSERT_EQ(d.world.points.size(), 1u);
    EXPECT_TRUE(Near(d.world.points[0], {-3, 1, 0}));
}

TEST(TOrnDXFImport, FarCoordinatesMoveToALocalOrigin) {
    Imported d(Dxf("0\nLINE\n10\n5000000.25\n20\n6000000\n11\n5000001.25\n21\n6000000\n"));
    ASSERT_TRUE(d.report.shifted);
    EXPECT_NE(d.report.Text().find("local origin"), std::string::npos);
    auto* drawing = dynamic_cast<TOrnNode*>(d.node->Items(0));
    auto* layer = dynamic_cast<TOrnNode*>(drawing->Items(0));
    auto* obj = dynamic_cast<TOrnCustomObj*>(layer->Items(0));
    obj->Init();
    // Stored near the origin: the quarter unit survives the trip through single precision.
    const Vec p = obj->Points()->GetVector(0, daVertex);
    EXPECT_NEAR(p.x, -0.5, 1e-9);
    EXPECT_NEAR(static_cast<float>(p.x), -0.5f, 0);
}

TEST(TOrnDXFImport, TextsAreDecodedStrippedAndPlaced) {
    const auto header = [](const std::string& version) {
        return "0\nSECTION\n2\nHEADER\n9\n$ACADVER\n1\n" + version +
               "\n9\n$DWGCODEPAGE\n3\nANSI_1252\n0\nENDSEC\n";
    };
    // Centred TEXT at its alignment point (5, 6), 2.5 high, turned 90°; € is byte 0x80 in 1252.
    const std::string text = "0\nTEXT\n8\nNotes\n1\n%%c20 %%d%%p \x80 \\U+2205\n40\n2.5\n50\n90\n"
                             "72\n1\n10\n1\n20\n2\n11\n5\n21\n6\n";
    const std::string mtext = "0\nMTEXT\n8\nNotes\n71\n3\n40\n3\n50\n180\n10\n0\n20\n0\n"
                              "3\n{\\fArial|b1|i0;Bold} and \\H2x;big\\P\n"
                              "1\nnext\\~line \\S1^2; \\{x\\}\n";
    Imported old(header("AC1015") + Dxf(text + mtext + "0\nATTRIB\n1\nhidden\n70\n1\n"));
    EXPECT_EQ(old.report.imported.at("TEXT"), 1);
    EXPECT_EQ(old.report.imported.at("MTEXT"), 1);
    EXPECT_FALSE(old.report.skipped.contains("TEXT"));
    ASSERT_EQ(old.world.texts.size(), 3u); // MTEXT's two lines; the invisible ATTRIB shows nothing
    EXPECT_EQ(old.world.texts[0]->Caption(), "\u00D820 \u00B0\u00B1 \u20AC \u2205");
    EXPECT_EQ(old.world.texts[0]->Alignment(), taCenter);
    EXPECT_EQ(old.world.texts[0]->Depth(), 0);
    // Capitals (0.72 em) 2.5 high, along +y, from the alignment point.
    const Mat& m = old.world.textPlaces[0];
    EXPECT_TRUE(Near(Apply(m, {0, 0, 0}), {5, 6, 0}));
    EXPECT_TRUE(Near(Apply(m, {0.72, 0, 0}), {5, 8.5, 0}));
    EXPECT_TRUE(Near(Apply(m, {0, 0.72, 0}), {2.5, 6, 0}));
    EXPECT_EQ(old.world.texts[1]->Caption(), "Bold and big");
    EXPECT_EQ(old.world.texts[2]->Caption(), "next\u00A0line 1/2 {x}");
    EXPECT_EQ(old.world.texts[2]->Alignment(), taRightJustify);
    // Turned 180° (50 is in degrees), 3 high, hanging from its top-right anchor: the first baseline one
    // letter height below it, the next 5/3 of a height further.
    EXPECT_TRUE(Near(Apply(old.world.textPlaces[1], {0, 0, 0}), {0, 3, 0}));
    EXPECT_TRUE(Near(Apply(old.world.textPlaces[1], {0.72, 0, 0}), {-3, 3, 0}));
    EXPECT_TRUE(Near(Apply(old.world.textPlaces[2], {0, 0, 0}), {0, 8, 0}));
    // From AC1021 on, strings are UTF-8 whatever the code page says.
    Imported utf8(header("AC1021") + Dxf("0\nTEXT\n1\n\xC3\x9C\n40\n1\n"));
    ASSERT_EQ(utf8.world.texts.size(), 1u);
    EXPECT_EQ(utf8.world.texts[0]->Caption(), "\u00DC");
    EXPECT_TRUE(utf8.report.hasExtents); // a drawing of text alone still has somewhere to look
    // A line too long for one caption's geometry is cut, so that the drawing still renders.
    std::string chunks = "3\nW";
    for (int i = 0; i < 40; ++i)
        chunks += std::string(248, 'W') + "\xC3\x9C"; // a Ü on bytes 3999 and 4000
    chunks += "\n";
    Imported longText(header("AC1021") + Dxf("0\nMTEXT\n40\n1\n" + chunks + "1\nend\n"));
    ASSERT_EQ(longText.world.texts.size(), 1u);
    EXPECT_EQ(longText.world.texts[0]->Caption().size(), 3999u); // not inside the Ü at 4000
    EXPECT_TRUE(longText.Says("cut to its first 4000"));
}

TEST(TOrnDXFImport, BadInputIsReportedAndTheRestImported) {
    // Each case: a drawing with one fault and a good LINE after it, and what the report must say.
    struct Case {
        const char* name;
        std::string text;
        const char* says;
    };
    const std::string line = "0\nLINE\n10\n0\n20\n0\n11\n1\n21\n1\n";
    const Case cases[] = {
        {"code not a number", Dxf("0\nPOINT\nxx\n1\n10\n1\n20\n1\n" + line),
         "group code 'xx' is not a number"},
        {"value not a number", Dxf("0\nCIRCLE\n10\nabc\n20\n0\n40\n1\n" + line), "line 8: CIRCLE left out"},
        {"NaN coordinate", Dxf("0\nLINE\n10\nnan\n20\n0\n11\n1\n21\n1\n" + line), "not a finite number"},
        {"vertex count lies", Dxf("0\nLWPOLYLINE\n90\n5\n10\n0\n20\n0\n10\n1\n20\n0\n10\n1\n20\n1\n" + line),
         "LWPOLYLINE with 3 vertices declared 5"},
        {"knot count lies",
         Dxf("0\nSPLINE\n71\n3\n72\n99\n73\n4\n40\n0\n40\n1\n10\n0\n20\n0\n10\n1\n20\n0\n10\n2\n20\n0\n10\n3"
             "\n20\n0\n" +
             line),
         "does not fit together"},
        {"truncated", "0\nSECTION\n2\nENTITIES\n" + line + "0\nLINE\n10", "no value"},
        {"self insert",
         Dxf(line + "0\nINSERT\n2\nA\n", "0\nBLOCK\n2\nA\n0\nINSERT\n2\nB\n0\nENDBLK\n"
                                         "0\nBLOCK\n2\nB\n0\nINSERT\n2\nA\n0\nENDBLK\n"),
         "inserts itself"},
        {"missing block", Dxf(line + "0\nINSERT\n2\nNOPE\n"), "lacks"},
        {"huge array", Dxf(line + "0\nINSERT\n2\nA\n70\n30000\n71\n30000\n", "0\nBLOCK\n2\nA\n0\nENDBLK\n"),
         "cut to its first 10000 cells"},
        {"polyface index out of range",
         Dxf("0\nPOLYLINE\n70\n64\n0\nVERTEX\n70\n192\n10\n0\n20\n0\n0\nVERTEX\n70\n128\n71\n1\n72\n2\n73\n9"
             "\n"
             "0\nSEQEND\n" +
             line),
         "faces naming missing vertices"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Imported d(c.text);
        EXPECT_TRUE(d.Says(c.says)) << d.report.Text();
        EXPECT_TRUE(Contains(d.world.lines, {1, 1, 0}));
    }
}

TEST(TOrnDXFImport, DeepNestingIsCut) {
    // The drawing inserts N0, each block Ni inserts the next, and the last holds a point: levels + 1
    // inserts deep.
    auto nested = [](int levels) {
        std::string blocks;
        for (int i = 0; i < levels; ++i)
            blocks += "0\nBLOCK\n2\nN" + std::to_string(i) + "\n0\nINSERT\n2\nN" + std::to_string(i + 1) +
                      "\n10\n1\n0\nENDBLK\n";
        blocks += "0\nBLOCK\n2\nN" + std::to_string(levels) + "\n0\nPOINT\n10\n0\n20\n0\n0\nENDBLK\n";
        return std::make_unique<Imported>(Dxf("0\nINSERT\n2\nN0\n", blocks));
    };
    const auto deepest = nested(15);
    EXPECT_FALSE(deepest->Says("nested deeper"));
    EXPECT_EQ(deepest->world.points.size(), 1u);
    const auto tooDeep = nested(16);
    EXPECT_TRUE(tooDeep->Says("nested deeper than 16 levels"));
    EXPECT_TRUE(tooDeep->world.points.empty());
}

TEST(TOrnDXFImport, BinaryFileReadsLikeText) {
    std::string b("AutoCAD Binary DXF\r\n\x1a\0", 22);
    auto code = [&](int c) { b.append(reinterpret_cast<const char*>(&c), 2); };
    auto str = [&](int c, const std::string& s) { code(c), b += s, b += '\0'; };
    auto num = [&](int c, double v) { code(c), b.append(reinterpret_cast<const char*>(&v), 8); };
    str(0, "SECTION"), str(2, "ENTITIES"), str(0, "LINE"), str(8, "0");
    num(10, 1), num(20, 2), num(30, 0), num(11, 3), num(21, 4), num(31, 0);
    str(0, "ENDSEC"), str(0, "EOF");
    Imported d(b);
    EXPECT_TRUE(d.report.binary);
    EXPECT_TRUE(Contains(d.world.lines, {1, 2, 0}) && Contains(d.world.lines, {3, 4, 0}));
    // Cut anywhere, it still reads what is whole and says what is not.
    for (std::size_t n = 22; n < b.size(); n += 5)
        Imported(b.substr(0, n));
}
