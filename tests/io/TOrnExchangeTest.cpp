// The scene file itself: value forms, escapes, nesting, references, limits and damaged input.
// What each class writes is checked over every class in PropertyContractTest.
#include <orn/geometry/TOrnPolygon.h>
#include <orn/geometry/TOrnSphere.h>
#include <orn/host/EOrnError.h>
#include <orn/io/TOrnExchange.h>
#include <orn/math/TOrnPropList.h>
#include <orn/objects/TOrnTube.h>
#include <orn/scene/TOrnNode.h>
#include <orn/scene/TOrnObject.h>
#include <orn/scene/TOrnRegistry.h>
#include <orn/state/TOrnMaterial.h>
#include <orn/view/TOrnCamera.h>

#include "io/detail/ExchangeText.h"
#include "support/ErrorText.h"

#include <gtest/gtest.h>
#include <pugixml.hpp>

#include <cstring>
#include <filesystem>
#include <locale>
#include <sstream>
#include <unistd.h>

using namespace orn;
namespace fs = std::filesystem;

namespace {

/// One key of every value form, a reference, and what its load looked like from inside.
class TExchangeProbe : public TOrnRender {
    ORN_CLASS(TExchangeProbe)
public:
    using TOrnRender::TOrnRender;
    bool B = false, LoadingWhileRead = false;
    std::int64_t I = 7;
    double D = 0.5;
    std::string S = "text";
    TColor C = clRed;
    TOrnMathVector V{1, 2, 3};
    int E = 1, LoadedCalls = 0;
    TComponent *Ref = nullptr, *RefAtLoaded = nullptr;
    static constexpr const char* kEnumNames[] = {"peFirst", "peSecond", "peThird"};
    void WriteValues(TOrnCustomExchange& ex) override {
        TOrnRender::WriteValues(ex);
        ex.WriteBool("B", B, false);
        ex.WriteInt("I", I, 7);
        ex.WriteFloat("D", D, 0.5);
        ex.WriteString("S", S, "text");
        ex.WriteColor("C", C, clRed);
        ex.WriteVector("V", V, {1, 2, 3});
        ex.WriteEnum("E", E, 1, kEnumNames);
        ex.WriteReference("Ref", Ref);
    }
    void ReadValues(TOrnCustomExchange& ex) override {
        TOrnRender::ReadValues(ex);
        LoadingWhileRead = ComponentState().Contains(csLoading);
        B = ex.ReadBool("B", B);
        I = ex.ReadInt("I", I);
        D = ex.ReadFloat("D", D);
        S = ex.ReadString("S", S);
        C = ex.ReadColor("C", C);
        V = ex.ReadVector("V", V);
        E = ex.ReadEnum("E", E, kEnumNames);
        ex.ReadReference("Ref", [this](TComponent* c) { Ref = c; });
    }
    void Loaded() override {
        TOrnRender::Loaded();
        ++LoadedCalls;
        RefAtLoaded = Ref;
    }
};

ORN_REGISTER_RENDER_CLASS(TExchangeProbe, "Orn Test")

::testing::AssertionResult WellFormed(const std::string& text) {
    pugi::xml_document doc;
    const pugi::xml_parse_result r =
        doc.load_string(text.c_str(), pugi::parse_default | pugi::parse_declaration);
    if (!r) return ::testing::AssertionFailure() << r.description() << " at offset " << r.offset;
    return doc.child("ORNGL") ? ::testing::AssertionSuccess() : ::testing::AssertionFailure() << "no ORNGL";
}

::testing::AssertionResult Holds(const std::string& text, std::initializer_list<std::string> parts) {
    for (const std::string& part : parts)
        if (text.find(part) == std::string::npos)
            return ::testing::AssertionFailure() << "no " << part << " in\n" << text;
    return ::testing::AssertionSuccess();
}

std::string Scene(const std::string& items) {
    return "<?xml version=\"1.0\"?>\n<ORNGL version=\"1.0\" program=\"t\" description=\"\"><Objects>" +
           items + "</Objects></ORNGL>\n";
}

struct ExchangeFixture : ::testing::Test {
    TComponent form{nullptr};
    TOrnNode* scene = new TOrnNode(&form);
    TComponent loadForm{nullptr};
    TOrnNode* loaded = new TOrnNode(&loadForm);
    TOrnExchange exchange{nullptr};
    TExchangeProbe* AddProbe(const std::string& name, TOrnNode* to = nullptr) {
        to = to ? to : scene;
        auto* p = new TExchangeProbe(to);
        p->SetName(name);
        to->Add(p);
        return p;
    }
    std::string RoundTrip() {
        const std::string text = exchange.SaveToString(*scene);
        EXPECT_TRUE(WellFormed(text));
        exchange.LoadFromString(*loaded, text);
        return text;
    }
    /// The probe at index (by default in loaded); a failure and a stand-in where there is none.
    TExchangeProbe* Probe(int index, TOrnNode* in = nullptr) {
        in = in ? in : loaded;
        auto* p = index < in->Count() ? dynamic_cast<TExchangeProbe*>(in->Items(index)) : nullptr;
        if (!p) ADD_FAILURE() << "no probe at " << index;
        return p ? p : &missing;
    }
    TExchangeProbe missing{nullptr};
    TOrnNode* Load(const std::string& text) {
        auto* node = new TOrnNode(&loadForm);
        exchange.LoadFromString(*node, text);
        return node;
    }
    bool Warned(const std::string& part) const {
        for (const std::string& w : exchange.Warnings())
            if (w.find(part) != std::string::npos) return true;
        return false;
    }
};

} // namespace

TEST_F(ExchangeFixture, ValueFormsAreWrittenAsDocumented) {
    TExchangeProbe* p = AddProbe("P1");
    std::tie(p->B, p->I, p->D, p->C, p->V, p->E) =
        std::tuple(true, -42, 0.1, static_cast<TColor>(0x00FF8000), TOrnMathVector{1, -2, 0.25}, 2);
    std::string text = exchange.SaveToString(*scene);
    EXPECT_TRUE(text.starts_with("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<ORNGL version=\"1.0\" "
                                 "program=\"Orn "))
        << text;
    EXPECT_TRUE(
        Holds(text, {"<TEXCHANGEPROBE name=\"P1\" ", " B=\"true\"", " I=\"-42\"", " D=\"0.1\"", " S=\"text\"",
                     " C=\"FF8000\"", " V=\"1,-2,0.25\"", " E=\"peThird\"", " Ref=\"\""}));
    // Single precision, alone and in vectors, in its shortest form: 0.4, not 0.4000000059604645.
    auto* material = new TOrnMaterial(&form);
    material->ColorDiffuse()->SetAlpha(0.45f);
    scene->Add(material);
    auto* sphere = new TOrnSphere(&form);
    sphere->SetRadius(0.4f);
    sphere->Transformation()->Translation()->SetValues(0.1f, -0.45f, 3.3f);
    scene->Add(sphere);
    text = exchange.SaveToString(*scene);
    EXPECT_TRUE(Holds(text, {" Alpha=\"0.45\"", " Radius=\"0.4\"", " P=\"0.1,-0.45,3.3\""}));
    scene->Remove(material);
    scene->Remove(sphere);
    // What the reader needs: no space before '>', and no element self-closed.
    EXPECT_TRUE(text.find(" >") == std::string::npos && text.find("/>") == std::string::npos) << text;
    EXPECT_TRUE(WellFormed(text));
    exchange.SetCompact(true);
    text = exchange.SaveToString(*scene);
    EXPECT_EQ(text.find(" S=\""), std::string::npos) << "a default is left out";
    // V has the default's x: a vector equal in one component is still written.
    EXPECT_TRUE(Holds(
        text, {" I=\"-42\"", " V=\"1,-2,0.25\"", " version=\"1.0\" program=\"Orn ", " description=\"\""}));
    EXPECT_EQ((std::array{int2hex(0xFF8000, 6), int2hex(0x12, 6), int2hex(-1, 6), int2hex(clBtnFace, 6)}),
              (std::array<std::string, 4>{"FF8000", "000012", "FFFFFFFF", "8000000F"}));
    for (const char* hex : {"ff8000", "$FF8000", "#ff8000", "0xFF8000"})
        EXPECT_EQ(hex2int(hex, -7), 0xFF8000) << hex;
    EXPECT_EQ(hex2int("8000000F", -7), clBtnFace);
    for (const char* bad : {"", "$", "G1", "123456789", " FF", "FF "})
        EXPECT_EQ(hex2int(bad, -7), -7) << bad;
}

TEST_F(ExchangeFixture, NumbersReadBackExactly) {
    struct Case {
        double d;
        std::int64_t i;
        TColor c;
    } cases[] = {{0.1, 0, clBlack},
                 {1.0 / 3.0, INT64_MAX, clWhite},
                 {-0.0, INT64_MIN, clBtnFace},
                 {static_cast<double>(0.3f), -1, static_cast<TColor>(0x80000005)},
                 {1e-300, 123456789012345LL, 0x123456},
                 {3.4e38, 1, clNone}};
    for (const Case& c : cases) {
        TExchangeProbe* p = AddProbe("");
        std::tie(p->D, p->I, p->C, p->V) = std::tuple(c.d, c.i, c.c, TOrnMathVector{c.d, -c.d, 1e10});
    }
    RoundTrip();
    ASSERT_EQ(loaded->Count(), static_cast<int>(std::size(cases)));
    for (int k = 0; k < loaded->Count(); ++k) {
        SCOPED_TRACE(k);
        EXPECT_EQ(std::memcmp(&Probe(k)->D, &cases[k].d, sizeof(double)), 0); // -0.0 keeps its sign
        EXPECT_EQ(std::tuple(Probe(k)->I, Probe(k)->C, Probe(k)->V),
                  std::tuple(cases[k].i, cases[k].c, TOrnMathVector{cases[k].d, -cases[k].d, 1e10}));
    }
}

TEST_F(ExchangeFixture, CharactersTheReaderCannotCarryAreReferencesAndComeBack) {
    // A value that holds other keys' names must not hide them.
    const std::string nasty = "a \"q\" <b>/c & d\nline\r\ttab\x7F end C=0 V=\"1\" E= é€ &#65; z";
    TExchangeProbe* p = AddProbe("P1");
    std::tie(p->S, p->C, p->E) = std::tuple(nasty, clBlue, 2);
    exchange.SetDescription("scene / \"demo\" <1>");
    const std::string text = RoundTrip();
    const std::size_t at = text.find(" S=\"") + 4;
    const std::string value = text.substr(at, text.find('"', at) - at);
    for (char bad : {'<', '>', '/', '\n', '\r', '\t', '\x7F'})
        EXPECT_EQ(value.find(bad), std::string::npos) << int(bad);
    EXPECT_TRUE(value.find("&#47;") != std::string::npos && value.find("&#38;#65;") != std::string::npos)
        << value;
    EXPECT_EQ(std::tuple(Probe(0)->S, Probe(0)->C, Probe(0)->E, exchange.Description()),
              std::tuple(nasty, clBlue, 2, "scene / \"demo\" <1>"));
    // Control characters up to 0x1F (not even as references), stray and overlong bytes, a surrogate, U+FFFE.
    p->S = std::string("a\x1F") + "b" + '\0' +
           "c\xFF d\xC0\xAF e\xED\xA0\x80 f\xEF\xBF\xBE g\xE2\x82 h\xF0\x81\x80\x80";
    const std::string replaced = exchange.SaveToString(*scene);
    for (std::size_t i = 0; i < replaced.size();) {
        const std::size_t n = orn::detail::Utf8Length(std::string_view(replaced).substr(i));
        ASSERT_GT(n, 0u) << "not UTF-8 an XML document may hold at " << i;
        ASSERT_TRUE(static_cast<unsigned char>(replaced[i]) >= 0x20 || replaced[i] == '\n') << i;
        i += n;
    }
    EXPECT_EQ(replaced.find("&#31;"), std::string::npos);
    EXPECT_EQ(Probe(0, Load(replaced))->S,
              "a\uFFFDb\uFFFDc\uFFFD d\uFFFD\uFFFD e\uFFFD\uFFFD\uFFFD f\uFFFD\uFFFD\uFFFD g\uFFFD\uFFFD "
              "h\uFFFD\uFFFD\uFFFD\uFFFD");
    TOrnNode* refs = Load(Scene("<TEXCHANGEPROBE S=\"&lt;&amp;&gt;&quot;&apos;&#x41;&#x20AC;&bogus;&#xZZ;&\">"
                                "</TEXCHANGEPROBE>"));
    EXPECT_EQ(Probe(0, refs)->S, "<&>\"'A\xE2\x82\xAC&bogus;&#xZZ;&");
}

TEST_F(ExchangeFixture, ReadingIgnoresLetterCaseUnknownElementsAndValuesOfTheWrongForm) {
    TOrnNode* node = Load("<orngl version=\"1.0\"><objects><texchangeprobe NAME=\"Low\" b=\"YES\" i=\"5\" "
                          "s=\"x\" e=\"PETHIRD\" enabled=\"0\"><transformation><translation p=\"1,2,3\">"
                          "</translation></transformation></texchangeprobe></objects></orngl>");
    TExchangeProbe* low = Probe(0, node);
    EXPECT_EQ(std::tuple(low->Name(), low->B, low->I, low->S, low->E, low->Enabled(), exchange.FileVersion()),
              std::tuple("Low", true, 5, "x", 2, false, "1.0"));
    EXPECT_EQ(low->Transformation()->Translation()->AsMathVector(), (TOrnMathVector{1, 2, 3}));
    node = Load(
        Scene("<TNOSUCHCLASS name=\"Gone\"><TEXCHANGEPROBE></TEXCHANGEPROBE></TNOSUCHCLASS>"
              "<TEXCHANGEPROBE name=\"Kept\" Unknown=\"1\" I=\"3\"><Gadget x=\"1\"><TEXCHANGEPROBE>"
              "</TEXCHANGEPROBE></Gadget></TEXCHANGEPROBE><TEXCHANGEPROBE name=\"Next\"></TEXCHANGEPROBE>"
              "<TEXCHANGEPROBE I=\"-9223372036854775808\"><Transformation><Rotation P=\"-1e30,3e38,-3.4e38\">"
              "</Rotation></Transformation></TEXCHANGEPROBE>"));
    ASSERT_EQ(node->Count(), 3);
    EXPECT_EQ(node->ComponentCount(), 3); // nothing made for the skipped elements
    EXPECT_EQ(
        std::tuple(Probe(0, node)->Name(), Probe(1, node)->Name(), Probe(0, node)->I, Probe(2, node)->I),
        std::tuple("Kept", "Next", 3, INT64_MIN));
    const TOrnMathVector r = Probe(2, node)->Transformation()->Rotation()->AsMathVector();
    for (double angle : {r.x, r.y, r.z})
        EXPECT_TRUE(angle >= 0 && angle < 360) << angle;
    node = Load(Scene("<TEXCHANGEPROBE B=\"maybe\" I=\"12abc\" D=\"1e999\" C=\"XYZ\" V=\"1,2\" E=\"peNone\" "
                      "Enabled=\"\"></TEXCHANGEPROBE><TEXCHANGEPROBE B=\"No\" I=\"99999999999999999999999\" "
                      "D=\"nan\" V=\"1,2,3,4\"></TEXCHANGEPROBE><TEXCHANGEPROBE B=\"2\" I=\" 4\" D=\"inf\" "
                      "V=\"1,,3\" C=\"123456789\"></TEXCHANGEPROBE><TEXCHANGEPROBE D=\"-3.5e38\">"
                      "</TEXCHANGEPROBE>"));
    ASSERT_EQ(node->Count(), 4);
    TExchangeProbe fresh(nullptr);
    for (int k = 0; k < 4; ++k) {
        TExchangeProbe* p = Probe(k, node);
        EXPECT_TRUE(std::tie(p->B, p->I, p->D, p->C, p->V, p->E) ==
                        std::tie(fresh.B, fresh.I, fresh.D, fresh.C, fresh.V, fresh.E) &&
                    p->Enabled())
            << k;
    }
}

TEST_F(ExchangeFixture, ReferencesResolveByNameBeforeLoadedWhichIsCalledOnce) {
    TExchangeProbe* a = AddProbe("A");
    TExchangeProbe* b = AddProbe("B");
    auto* inner = new TOrnNode(scene);
    scene->Add(inner);
    TExchangeProbe* c = AddProbe("C", inner);
    a->Ref = c;        // forward, into another node
    c->Ref = b;        // backward, out of it
    loaded->Loading(); // a node its caller put into the loading state stays so for the caller
    RoundTrip();
    EXPECT_TRUE(loaded->ComponentState().Contains(csLoading));
    ASSERT_EQ(loaded->Count(), 3);
    auto* innerLoaded = dynamic_cast<TOrnNode*>(loaded->Items(2));
    ASSERT_NE(innerLoaded, nullptr);
    TExchangeProbe* lc = Probe(0, innerLoaded);
    EXPECT_EQ(std::tuple(lc->Owner(), Probe(0)->Ref, Probe(0)->RefAtLoaded, lc->Ref, Probe(1)->Ref),
              std::tuple(innerLoaded, lc, lc, Probe(1), nullptr));
    for (TExchangeProbe* p : {Probe(0), Probe(1), lc})
        EXPECT_EQ(std::tuple(p->LoadingWhileRead, p->LoadedCalls, p->ComponentState().Contains(csLoading)),
                  std::tuple(true, 1, false));
    EXPECT_FALSE(innerLoaded->ComponentState().Contains(csLoading));
    EXPECT_FALSE(Load(exchange.SaveToString(*scene))->ComponentState().Contains(csLoading));
    TOrnNode* node = Load(Scene("<TEXCHANGEPROBE name=\"A\" Ref=\"Nobody\"></TEXCHANGEPROBE>"
                                "<TEXCHANGEPROBE name=\"B\" Ref=\"a\"></TEXCHANGEPROBE>"));
    EXPECT_EQ(std::tuple(Probe(0, node)->Ref, Probe(1, node)->Ref),
              (std::tuple<TComponent*, TComponent*>(nullptr, Probe(0, node)))); // names ignore letter case
    // A name found on a component of another class than the slot takes leaves the slot empty.
    auto* object = new TOrnObject(&loadForm);
    auto* material = new TOrnMaterial(&loadForm);
    for (const TOrnPropInfo* p : object->Properties()->All())
        if (p->kind == pkReference) p->setRef(*object, material);
    EXPECT_TRUE(object->Attributes() == nullptr && object->Material() == material);
}

TEST_F(ExchangeFixture, ACameraTravelsWithTheScene) {
    AddProbe("A");
    TOrnPerspectiveCamera camera(nullptr);
    camera.SetViewAngle(30);
    camera.Transformation()->Translation()->SetValues(1, 2, -12);
    exchange.SetCamera(&camera);
    const std::string text = exchange.SaveToString(*scene);
    EXPECT_NE(text.find("</Objects>\n  <Camera class=\"TOrnPerspectiveCamera\""), std::string::npos) << text;
    TOrnExchange reader(nullptr);
    reader.LoadFromString(*loaded, text); // no camera assigned: the element is skipped
    EXPECT_EQ(std::tuple(reader.FileCameraClass(), loaded->Count()), std::tuple("TOrnPerspectiveCamera", 1));
    {
        TOrnPerspectiveCamera back(nullptr);
        reader.SetCamera(&back);
        reader.LoadFromString(*new TOrnNode(&loadForm), text);
        EXPECT_TRUE(back.ViewAngle() == 30 &&
                    back.Transformation()->Translation()->AsMathVector() == (TOrnMathVector{1, 2, -12}));
    }
    EXPECT_EQ(reader.Camera(), nullptr); // a destroyed camera is forgotten
}

TEST_F(ExchangeFixture, DamagedFilesLoadWhatTheyHoldAndSaySo) {
    for (int k = 0; k < 6; ++k)
        AddProbe("P" + std::to_string(k))->I = k;
    const std::string text = exchange.SaveToString(*scene);
    int lastCount = 0;
    for (std::size_t cut = 0; cut <= text.size(); cut += 7) {
        TOrnNode* node = nullptr;
        try {
            node = Load(text.substr(0, cut));
        } catch (const EOrnError& e) {
            EXPECT_LT(cut, text.find("<Objects")) << "a file with its ORNGL element must load: " << e.what();
            continue;
        }
        EXPECT_GE(node->Count(), lastCount);
        lastCount = node->Count();
        for (int i = 0; i < node->Count(); ++i) // an element is taken only once its start tag is complete
            EXPECT_EQ(std::tuple(Probe(i, node)->Name(), Probe(i, node)->I),
                      std::tuple("P" + std::to_string(i), i));
    }
    EXPECT_EQ(lastCount, 6);
    const std::pair<std::string, const char*> warnings[] = {
        {text.substr(0, text.find(" I=\"3\"")), "ends early, inside the start tag of 'TEXCHANGEPROBE'"},
        {text.substr(0, text.find("</Objects>")), "ends early: the element 'Objects' and 1 around it"},
        {Scene("<TEXCHANGEPROBE I=3 S='x'></TEXCHANGEPROBE>"),
         "line 2: the start tag of 'TEXCHANGEPROBE' is malformed"},
        {text, ""}};
    for (const auto& [damaged, says] : warnings) {
        SCOPED_TRACE(says);
        Load(damaged);
        EXPECT_TRUE(*says ? Warned(says) : exchange.Warnings().empty())
            << ::testing::PrintToString(exchange.Warnings());
    }
    std::string many; // a hostile file is told about in its first hundred problems
    for (int k = 0; k < 150; ++k)
        many += "<TEXCHANGEPROBE I=3></TEXCHANGEPROBE>";
    Load(Scene(many) + '\0');
    ASSERT_EQ(exchange.Warnings().size(), 101u);
    EXPECT_EQ(exchange.Warnings().back(), "more problems were not listed");
    const std::pair<std::string, std::string> noScenes[] = {
        {"", "empty"},
        {"just words, no tags", "no element found in 19 bytes"},
        {"<?xml version=\"1.0\"?>\n\n  <html><body></body></html>", "'html' at line 3, column 3"},
        {std::string("\0<ORNGL>", 8), "a zero byte at line 1, column 1 ends the input"}};
    exchange.SetFileName("/scenes/bad.orngl");
    for (const auto& [noScene, says] : noScenes) {
        const std::string error = test::ErrorText([&] { exchange.LoadFromString(*loaded, noScene); });
        EXPECT_TRUE(error.find("/scenes/bad.orngl") != std::string::npos &&
                    error.find(says) != std::string::npos)
            << error;
    }
    EXPECT_EQ(std::tuple(loaded->Count(), loaded->ComponentState().Contains(csLoading)),
              std::tuple(0, false));
}

TEST_F(ExchangeFixture, WriterAndReaderKeepTheLimitsOfDepthAndValueSizeAndTellTheirProgress) {
    auto depthOf = [](TOrnNode* n) {
        int d = 0;
        for (; n->Count() > 0; n = dynamic_cast<TOrnNode*>(n->Items(0)))
            ++d;
        return d;
    };
    // The deepest chain a file holds saves and loads back whole; one more level is refused.
    TOrnNode* n = scene;
    for (int k = 0; k < 124; ++k) {
        auto* child = new TOrnNode(n);
        n->Add(child);
        n = child;
    }
    std::vector<double> seen;
    exchange.OnProgress = [&](double f) { seen.push_back(f); };
    const auto risesToOne = [&](const char* what) {
        EXPECT_TRUE(seen.size() > 10 && std::is_sorted(seen.begin(), seen.end()) && seen.back() == 1.0)
            << what;
        seen.clear();
    };
    const std::string chain = exchange.SaveToString(*scene);
    risesToOne("save");
    exchange.LoadFromString(*loaded, chain);
    risesToOne("load");
    EXPECT_EQ(std::tuple(depthOf(loaded), exchange.Warnings().size()), std::tuple(124, std::size_t{0}));
    exchange.OnProgress = nullptr;
    n->Add(new TOrnNode(n));
    EXPECT_NE(test::ErrorText([&] { exchange.SaveToString(*scene); }).find("would nest deeper than 128"),
              std::string::npos);
    std::string deep;
    for (int k = 0; k < 1000; ++k)
        deep += "<TORNNODE>";
    EXPECT_EQ(depthOf(Load(Scene(deep))), TOrnExchange::MaxDepth - 2); // below ORNGL and Objects
    EXPECT_TRUE(Warned("elements nested deeper than 128 are not read"));
    TOrnNode* flat = new TOrnNode(&form);
    TExchangeProbe* p = AddProbe("P1", flat);
    p->S = std::string(100, 'x');
    p->I = 5;
    const std::string text = exchange.SaveToString(*flat);
    exchange.SetMaxValueBytes(99);
    TExchangeProbe* cut = Probe(0, Load(text)); // the long value keeps its default
    EXPECT_EQ(std::tuple(cut->S, cut->I, exchange.Warnings().size()), std::tuple("text", 5, std::size_t{1}));
    EXPECT_TRUE(Warned("'S' in 'TEXCHANGEPROBE' has 100 bytes, more than the limit of 99"));
    exchange.SetMaxValueBytes(100);
    cut = Probe(0, Load(text));
    EXPECT_EQ(std::tuple(cut->S, exchange.Warnings().size()), std::tuple(p->S, std::size_t{0}));
}

TEST_F(ExchangeFixture, ReferencedFilesStayInTheScenesFolder) {
    const fs::path dir = fs::temp_directory_path() / "orn_no_such_folder";
    exchange.SetFileName((dir / "demo.orngl").string());
    EXPECT_EQ((std::array{exchange.GetFileName("bmp"), exchange.GetFileName(".dat"),
                          exchange.FilePath("demo_1.bmp"), exchange.FilePath("sub/x.bmp")}),
              (std::array{std::string("demo_1.bmp"), std::string("demo_2.dat"), (dir / "demo_1.bmp").string(),
                          (dir / "sub" / "x.bmp").string()}));
    for (const char* outside :
         {"", ".", "..", "sub/", "sub/..", "../x.bmp", "sub/../../x.bmp", "/etc/passwd", "..\\x.bmp", "a\\b"})
        EXPECT_EQ(exchange.FilePath(outside), "") << outside;
    exchange.SetFileName("");
    EXPECT_EQ(std::tuple(exchange.FilePath("x.bmp"), exchange.GetFileName("bmp")),
              std::tuple("", "scene_3.bmp"))
        << "text with no file: no folder either";
    const std::string missing = (dir / "absent.orngl").string();
    EXPECT_EQ(test::ErrorText([&] { exchange.LoadFromFile(*loaded, missing); }),
              "Cannot open file \"" + missing + "\": " + std::strerror(ENOENT));
    EXPECT_THROW(exchange.SaveToFile(*scene, missing), EOrnError);
}

TEST_F(ExchangeFixture, TheSameDocumentAsAnotherXmlWriterPutsItLoadsTheSame) {
    AddProbe("A")->S = "x";
    auto* inner = new TOrnNode(scene);
    scene->Add(inner);
    AddProbe("B", inner)->Ref = scene->Items(0);
    scene->Transformation()->Scale()->SetValues(2, 2, 2);
    const std::string first = exchange.SaveToString(*scene);
    // Each attribute on a line of its own, tab indents, single quotes, empty elements self-closed,
    // a comment and a document type.
    pugi::xml_document doc;
    ASSERT_TRUE(doc.load_string(first.c_str()));
    doc.prepend_child(pugi::node_doctype).set_value("ORNGL [ <!ENTITY e \"x>y\"> ]");
    doc.child("ORNGL").prepend_child(pugi::node_comment).set_value(" <Objects> in a comment ");
    std::ostringstream other;
    doc.save(other, "\t",
             pugi::format_indent | pugi::format_indent_attributes | pugi::format_attribute_single_quote);
    ASSERT_NE(other.str().find("'\n"), std::string::npos);
    ASSERT_NE(other.str().find("/>"), std::string::npos);
    TOrnNode* node = Load(other.str());
    EXPECT_TRUE(exchange.Warnings().empty());
    EXPECT_EQ(exchange.SaveToString(*node), first);
}

TEST_F(ExchangeFixture, NumbersAreWrittenAndReadTheSameUnderADecimalCommaLocale) {
    auto* polygon = new TOrnPolygon(scene);
    polygon->Add({0.5, 0.25, -1.5}, {0, 0, 1}, {0.75, 0.125, 0});
    scene->Add(polygon);
    auto* tube = new TOrnTube(scene);
    tube->Add({0.5, 1.25, 2}, 0.75);
    tube->Add({1.5, -0.25, 3}, 0.5);
    scene->Add(tube);
    AddProbe("P")->D = 0.125;
    const std::string inC = exchange.SaveToString(*scene);
    // A German locale, made for the test where none is installed (a few seconds).
    const fs::path made = fs::temp_directory_path() / ("orn_locale_" + std::to_string(::getpid()));
    std::locale old;
    try {
        old = std::locale::global(std::locale("de_DE.UTF-8"));
    } catch (const std::runtime_error&) {
        const std::string make =
            "localedef -i de_DE -f UTF-8 " + (made / "de_DE.UTF-8").string() + " >/dev/null 2>&1";
        fs::create_directories(made);
        ::setenv("LOCPATH", made.c_str(), 1);
        try {
            if (std::system(make.c_str()) == 0) old = std::locale::global(std::locale("de_DE.UTF-8"));
        } catch (const std::runtime_error&) {
        }
    }
    char comma[8];
    std::snprintf(comma, sizeof comma, "%.1f", 0.5);
    const std::string inGerman = exchange.SaveToString(*scene);
    const std::string again = exchange.SaveToString(*Load(inGerman));
    std::locale::global(old);
    ::unsetenv("LOCPATH");
    fs::remove_all(made);
    if (std::string(comma) != "0,5") GTEST_SKIP() << "no German locale can be made here";
    EXPECT_EQ(inGerman, inC);
    EXPECT_EQ(again, inC) << "read back as written";
}
