#include <orn/geometry/TOrnPolygon.h>
#include <orn/host/EOrnError.h>
#include <orn/io/TOrnExchange.h>
#include <orn/objects/TOrnTube.h>
#include <orn/scene/TOrnNode.h>
#include <orn/scene/TOrnObject.h>
#include <orn/scene/TOrnRegistry.h>
#include <orn/state/TOrnAttributes.h>
#include <orn/state/TOrnMaterial.h>
#include <orn/view/TOrnCamera.h>

#include "io/detail/ExchangeText.h"

#include <gtest/gtest.h>
#include <pugixml.hpp>

#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <locale>
#include <random>
#include <sstream>
#include <sys/resource.h>
#include <unistd.h>

using namespace orn;
namespace fs = std::filesystem;

namespace {

/// A render class with one key of every value form and a reference to another component.
class TExchangeProbe : public TOrnRender {
    ORN_CLASS(TExchangeProbe)
public:
    using TOrnRender::TOrnRender;

    bool B = false;
    std::int64_t I = 7;
    double D = 0.5;
    std::string S = "text";
    TColor C = clRed;
    TOrnMathVector V{1, 2, 3};
    int E = 1;
    TComponent* Ref = nullptr;
    // What the load looked like from inside.
    bool LoadingWhileRead = false;
    int LoadedCalls = 0;
    TComponent* RefAtLoaded = nullptr;

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

/// Asserts that a standard XML parser accepts text; returns its document.
::testing::AssertionResult WellFormed(const std::string& text) {
    pugi::xml_document doc;
    const pugi::xml_parse_result r =
        doc.load_buffer(text.data(), text.size(), pugi::parse_default | pugi::parse_declaration);
    if (!r) return ::testing::AssertionFailure() << r.description() << " at offset " << r.offset;
    if (!doc.child("ORNGL")) return ::testing::AssertionFailure() << "no ORNGL root";
    return ::testing::AssertionSuccess();
}

std::string ReadAll(const fs::path& p) {
    std::ifstream in(p, std::ios::binary);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}

struct ExchangeFixture : ::testing::Test {
    TComponent form{nullptr};
    TOrnNode* scene = new TOrnNode(&form);
    TComponent loadForm{nullptr};
    TOrnNode* loaded = new TOrnNode(&loadForm);
    TOrnExchange exchange{nullptr};
    fs::path dir;

    void SetUp() override {
        dir = fs::temp_directory_path() / ("orn_exchange_" + std::to_string(::getpid()) + "_" +
                                           ::testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::remove_all(dir);
        fs::create_directories(dir);
    }
    void TearDown() override { fs::remove_all(dir); }

    TExchangeProbe* AddProbe(const std::string& name) {
        auto* p = new TExchangeProbe(scene);
        p->SetName(name);
        scene->Add(p);
        return p;
    }
    /// Saves scene to text (checked with pugixml) and loads it into loaded.
    std::string RoundTrip() {
        const std::string text = exchange.SaveToString(*scene);
        EXPECT_TRUE(WellFormed(text));
        exchange.LoadFromString(*loaded, text);
        return text;
    }
    TExchangeProbe* LoadedProbe(int index) { return dynamic_cast<TExchangeProbe*>(loaded->Items(index)); }
    /// A scene file whose Objects element holds items.
    static std::string Scene(const std::string& items) {
        return "<?xml version=\"1.0\"?>\n<ORNGL version=\"1.0\" program=\"t\" description=\"\"><Objects>" +
               items + "</Objects></ORNGL>\n";
    }
};

} // namespace

// --- Value forms ----------------------------------------------------------------------------------

TEST_F(ExchangeFixture, ValueFormsAreWrittenAsDocumented) {
    TExchangeProbe* p = AddProbe("P1");
    p->B = true;
    p->I = -42;
    p->D = 0.1;
    p->S = "plain";
    p->C = static_cast<TColor>(0x00FF8000);
    p->V = {1.5, -2, 0.25};
    p->E = 2;
    const std::string text = exchange.SaveToString(*scene);
    EXPECT_NE(text.find("<TEXCHANGEPROBE name=\"P1\" "), std::string::npos) << text;
    for (const char* form : {" B=\"true\"", " I=\"-42\"", " D=\"0.1\"", " S=\"plain\"", " C=\"FF8000\"",
                             " V=\"1.5,-2,0.25\"", " E=\"peThird\"", " Ref=\"\""})
        EXPECT_NE(text.find(form), std::string::npos) << form;
    EXPECT_EQ(
        text.rfind("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<ORNGL version=\"1.0\" program=\"Orn ", 0),
        0u);
    // Reader contract: no space before '>', elements without keys are never self-closed.
    EXPECT_EQ(text.find(" >"), std::string::npos);
    EXPECT_EQ(text.find("/>"), std::string::npos);
    EXPECT_TRUE(WellFormed(text));
}

TEST_F(ExchangeFixture, ValueFormsReadBackExactly) {
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
        p->D = c.d;
        p->I = c.i;
        p->C = c.c;
        p->V = {c.d, -c.d, 1e10};
    }
    RoundTrip();
    ASSERT_EQ(loaded->Count(), static_cast<int>(std::size(cases)));
    for (int k = 0; k < loaded->Count(); ++k) {
        TExchangeProbe* p = LoadedProbe(k);
        ASSERT_NE(p, nullptr);
        EXPECT_EQ(std::memcmp(&p->D, &cases[k].d, sizeof(double)), 0) << k; // -0.0 keeps its sign
        EXPECT_EQ(p->I, cases[k].i) << k;
        EXPECT_EQ(p->C, cases[k].c) << k;
        EXPECT_EQ(p->V, (TOrnMathVector{cases[k].d, -cases[k].d, 1e10})) << k;
    }
}

TEST_F(ExchangeFixture, HexHelpers) {
    EXPECT_EQ(int2hex(0xFF8000, 6), "FF8000");
    EXPECT_EQ(int2hex(0x12, 6), "000012");
    EXPECT_EQ(int2hex(-1, 6), "FFFFFFFF");
    EXPECT_EQ(int2hex(clBtnFace, 6), "8000000F");
    EXPECT_EQ(hex2int("ff8000", -7), 0xFF8000);
    EXPECT_EQ(hex2int("$FF", -7), 255);
    EXPECT_EQ(hex2int("#0000ff", -7), 255);
    EXPECT_EQ(hex2int("0x10", -7), 16);
    EXPECT_EQ(hex2int("8000000F", -7), clBtnFace);
    for (const char* bad : {"", "$", "G1", "123456789", " FF", "FF "})
        EXPECT_EQ(hex2int(bad, -7), -7) << bad;
}

TEST_F(ExchangeFixture, CompactLeavesOutDefaultsAndLoadsTheSame) {
    TExchangeProbe* p = AddProbe("P1");
    p->I = 9;
    exchange.SetCompact(true);
    const std::string text = RoundTrip();
    EXPECT_EQ(text.find(" B=\""), std::string::npos);
    EXPECT_NE(text.find(" I=\"9\""), std::string::npos);
    EXPECT_NE(text.find(" version=\"1.0\""), std::string::npos); // the header always
    ASSERT_EQ(loaded->Count(), 1);
    EXPECT_EQ(LoadedProbe(0)->I, 9);
    EXPECT_EQ(LoadedProbe(0)->S, "text");
}

// --- Escaping -------------------------------------------------------------------------------------

TEST_F(ExchangeFixture, CharactersTheReaderCannotCarryAreReferencesAndComeBack) {
    const std::string nasty = "a \"q\" <b>/c & d\nline\r\ttab\x7F end=1 é€ &#65; z";
    TExchangeProbe* p = AddProbe("P1");
    p->S = nasty;
    exchange.SetDescription("scene / \"demo\" <1>");
    const std::string text = RoundTrip();
    const std::size_t at = text.find(" S=\"");
    ASSERT_NE(at, std::string::npos);
    const std::string value = text.substr(at + 4, text.find('"', at + 4) - at - 4);
    for (char bad : {'<', '>', '/', '\n', '\r', '\t', '\x7F'})
        EXPECT_EQ(value.find(bad), std::string::npos) << int(bad);
    EXPECT_NE(value.find("&#47;"), std::string::npos);
    EXPECT_NE(value.find("&#38;#65;"), std::string::npos);
    ASSERT_EQ(loaded->Count(), 1);
    EXPECT_EQ(LoadedProbe(0)->S, nasty);
    EXPECT_EQ(exchange.Description(), "scene / \"demo\" <1>");

    pugi::xml_document doc;
    ASSERT_TRUE(doc.load_string(text.c_str()));
    EXPECT_STREQ(doc.child("ORNGL").attribute("description").value(), "scene / \"demo\" <1>");
}

TEST_F(ExchangeFixture, WhatNoXmlDocumentHoldsIsWrittenAsTheReplacementCharacter) {
    // Control characters (not even as references), stray and overlong bytes, a surrogate, U+FFFE.
    const std::string bad = std::string("a\x01"
                                        "b") +
                            '\0' + "c\xFF d\xC0\xAF e\xED\xA0\x80 f\xEF\xBF\xBE g\xE2\x82";
    AddProbe("P1")->S = bad;
    const std::string text = RoundTrip();
    EXPECT_EQ(text.find("&#1;"), std::string::npos);
    EXPECT_EQ(text.find("&#0;"), std::string::npos);
    for (std::size_t i = 0; i < text.size();) {
        const std::size_t n = orn::detail::Utf8Length(std::string_view(text).substr(i));
        ASSERT_GT(n, 0u) << "not UTF-8 an XML document may hold at " << i;
        ASSERT_TRUE(static_cast<unsigned char>(text[i]) >= 0x20 || text[i] == '\n') << i;
        i += n;
    }
    ASSERT_EQ(loaded->Count(), 1);
    EXPECT_EQ(LoadedProbe(0)->S,
              "a\uFFFDb\uFFFDc\uFFFD d\uFFFD\uFFFD e\uFFFD\uFFFD\uFFFD f\uFFFD\uFFFD\uFFFD "
              "g\uFFFD\uFFFD");
}

TEST_F(ExchangeFixture, ReaderDecodesNamedAndHexadecimalReferences) {
    exchange.LoadFromString(
        *loaded, Scene("<TEXCHANGEPROBE S=\"&lt;&amp;&gt;&quot;&apos;&#x41;&#x20AC;&bogus;&#xZZ;&\">"
                       "</TEXCHANGEPROBE>"));
    ASSERT_EQ(loaded->Count(), 1);
    EXPECT_EQ(LoadedProbe(0)->S, "<&>\"'A\xE2\x82\xAC&bogus;&#xZZ;&");
}

// --- Reading --------------------------------------------------------------------------------------

TEST_F(ExchangeFixture, KeysAndElementsAreFoundWhateverTheirLetterCase) {
    exchange.LoadFromString(*loaded,
                            "<orngl version=\"1.0\"><objects><texchangeprobe NAME=\"Low\" b=\"TRUE\" "
                            "i=\"5\" s=\"x\" e=\"PESECOND\" enabled=\"False\"><transformation>"
                            "<translation p=\"1,2,3\"></translation></transformation>"
                            "</texchangeprobe></objects></orngl>");
    ASSERT_EQ(loaded->Count(), 1);
    TExchangeProbe* p = LoadedProbe(0);
    EXPECT_EQ(p->Name(), "Low");
    EXPECT_TRUE(p->B);
    EXPECT_EQ(p->I, 5);
    EXPECT_EQ(p->S, "x");
    EXPECT_EQ(p->E, 1);
    EXPECT_FALSE(p->Enabled());
    EXPECT_EQ(p->Transformation()->Translation()->AsMathVector(), (TOrnMathVector{1, 2, 3}));
    EXPECT_EQ(exchange.FileVersion(), "1.0");
}

TEST_F(ExchangeFixture, UnknownElementsAreSkippedWithTheirSubtrees) {
    exchange.LoadFromString(
        *loaded,
        Scene("<TNOSUCHCLASS name=\"Gone\"><TEXCHANGEPROBE name=\"Inside\"></TEXCHANGEPROBE></TNOSUCHCLASS>"
              "<TEXCHANGEPROBE name=\"Kept\" Unknown=\"1\" I=\"3\"><Gadget x=\"1\"><TEXCHANGEPROBE "
              "name=\"Deep\">"
              "</TEXCHANGEPROBE></Gadget></TEXCHANGEPROBE>"
              "<TEXCHANGEPROBE name=\"Next\"></TEXCHANGEPROBE>"));
    ASSERT_EQ(loaded->Count(), 2);
    EXPECT_EQ(loaded->Items(0)->Name(), "Kept");
    EXPECT_EQ(LoadedProbe(0)->I, 3);
    EXPECT_EQ(loaded->Items(1)->Name(), "Next");
    EXPECT_EQ(loadForm.ComponentCount(), 1); // nothing made for the skipped elements
    EXPECT_EQ(loaded->ComponentCount(), 2);
}

TEST_F(ExchangeFixture, ValuesOfTheWrongFormKeepThePresentValue) {
    exchange.LoadFromString(*loaded,
                            Scene("<TEXCHANGEPROBE B=\"maybe\" I=\"12abc\" D=\"1e999\" C=\"XYZ\" V=\"1,2\" "
                                  "E=\"peNone\" Enabled=\"\"></TEXCHANGEPROBE>"
                                  "<TEXCHANGEPROBE I=\"99999999999999999999999\" D=\"nan\" V=\"1,2,3,4\">"
                                  "</TEXCHANGEPROBE>"
                                  "<TEXCHANGEPROBE I=\" 4\" D=\"inf\" V=\"1,,3\" C=\"123456789\">"
                                  "</TEXCHANGEPROBE>"));
    ASSERT_EQ(loaded->Count(), 3);
    const TExchangeProbe fresh(nullptr);
    for (int k = 0; k < 3; ++k) {
        TExchangeProbe* p = LoadedProbe(k);
        EXPECT_EQ(p->B, fresh.B) << k;
        EXPECT_EQ(p->I, fresh.I) << k;
        EXPECT_EQ(p->D, fresh.D) << k;
        EXPECT_EQ(p->C, fresh.C) << k;
        EXPECT_EQ(p->V, fresh.V) << k;
        EXPECT_EQ(p->E, fresh.E) << k;
        EXPECT_TRUE(p->Enabled()) << k;
    }
}

TEST_F(ExchangeFixture, HugeNumbersDoNotOverflowTheirProperties) {
    exchange.LoadFromString(*loaded, Scene("<TEXCHANGEPROBE I=\"-9223372036854775808\"><Transformation>"
                                           "<Rotation P=\"-1e30,3e38,-3.4e38\"></Rotation></Transformation>"
                                           "</TEXCHANGEPROBE>"));
    ASSERT_EQ(loaded->Count(), 1);
    EXPECT_EQ(LoadedProbe(0)->I, INT64_MIN);
    const TOrnMathVector r = LoadedProbe(0)->Transformation()->Rotation()->AsMathVector();
    for (double angle : {r.x, r.y, r.z}) {
        EXPECT_GE(angle, 0.0);
        EXPECT_LT(angle, 360.0);
    }
}

TEST_F(ExchangeFixture, LoadSetsLoadingWhileReadingAndCallsLoadedOnce) {
    AddProbe("A");
    auto* inner = new TOrnNode(scene);
    inner->SetName("Inner");
    scene->Add(inner);
    auto* deep = new TExchangeProbe(inner);
    deep->SetName("Deep");
    inner->Add(deep);
    RoundTrip();
    ASSERT_EQ(loaded->Count(), 2);
    TExchangeProbe* a = LoadedProbe(0);
    auto* innerLoaded = dynamic_cast<TOrnNode*>(loaded->Items(1));
    ASSERT_NE(innerLoaded, nullptr);
    ASSERT_EQ(innerLoaded->Count(), 1);
    auto* deepLoaded = dynamic_cast<TExchangeProbe*>(innerLoaded->Items(0));
    ASSERT_NE(deepLoaded, nullptr);
    EXPECT_EQ(deepLoaded->Owner(), innerLoaded);
    for (TExchangeProbe* p : {a, deepLoaded}) {
        EXPECT_TRUE(p->LoadingWhileRead);
        EXPECT_EQ(p->LoadedCalls, 1);
        EXPECT_FALSE(p->ComponentState().Contains(csLoading));
    }
    EXPECT_FALSE(loaded->ComponentState().Contains(csLoading));
    EXPECT_FALSE(innerLoaded->ComponentState().Contains(csLoading));
}

TEST_F(ExchangeFixture, ANodeTheCallerLoadsStaysLoadingForTheCaller) {
    AddProbe("A");
    const std::string text = exchange.SaveToString(*scene);
    loaded->Loading();
    exchange.LoadFromString(*loaded, text);
    EXPECT_TRUE(loaded->ComponentState().Contains(csLoading));
    ASSERT_EQ(loaded->Count(), 1);
    EXPECT_EQ(LoadedProbe(0)->LoadedCalls, 1);
}

TEST_F(ExchangeFixture, ReferencesAreRestoredByNameBeforeLoaded) {
    TExchangeProbe* a = AddProbe("A");
    TExchangeProbe* b = AddProbe("B");
    auto* inner = new TOrnNode(scene);
    scene->Add(inner);
    auto* c = new TExchangeProbe(inner);
    c->SetName("C");
    inner->Add(c);
    a->Ref = c; // forward, into another node
    c->Ref = b; // backward, out of it
    b->Ref = nullptr;
    RoundTrip();
    ASSERT_EQ(loaded->Count(), 3);
    TExchangeProbe* la = LoadedProbe(0);
    TExchangeProbe* lb = LoadedProbe(1);
    auto* lc = dynamic_cast<TExchangeProbe*>(dynamic_cast<TOrnNode*>(loaded->Items(2))->Items(0));
    ASSERT_NE(lc, nullptr);
    EXPECT_EQ(la->Ref, lc);
    EXPECT_EQ(lc->Ref, lb);
    EXPECT_EQ(lb->Ref, nullptr);
    EXPECT_EQ(la->RefAtLoaded, lc);
}

TEST_F(ExchangeFixture, AnObjectsAttributesAndMaterialAreRestored) {
    if (!GetRenderClass("TOrnObject")) RegisterRenderClass(ClassOf<TOrnObject>());
    auto* material = new TOrnMaterial(scene);
    material->SetName("Shiny");
    scene->Add(material);
    auto* o = new TOrnObject(scene);
    o->SetName("Obj");
    scene->Add(o);
    auto* attributes = new TOrnAttributes(scene); // written after the object that uses it
    attributes->SetName("Wire");
    scene->Add(attributes);
    o->SetAttributes(attributes);
    o->SetMaterial(material);
    const std::string text = RoundTrip();
    EXPECT_NE(text.find(" Attributes=\"Wire\" Material=\"Shiny\""), std::string::npos);
    ASSERT_EQ(loaded->Count(), 3);
    auto* lo = dynamic_cast<TOrnObject*>(loaded->Items(1));
    ASSERT_NE(lo, nullptr);
    EXPECT_EQ(lo->Material(), dynamic_cast<TOrnMaterial*>(loaded->Items(0)));
    EXPECT_EQ(lo->Attributes(), dynamic_cast<TOrnAttributes*>(loaded->Items(2)));
    EXPECT_NE(lo->Attributes(), nullptr);
    EXPECT_NE(lo->Material(), nullptr);
    // A name that belongs to a component of another class leaves the slot empty.
    TComponent other(nullptr);
    auto* node = new TOrnNode(&other);
    exchange.LoadFromString(*node, Scene("<TORNMATERIAL name=\"M\"></TORNMATERIAL>"
                                         "<TORNOBJECT Attributes=\"M\" Material=\"M\"></TORNOBJECT>"));
    auto* wrong = dynamic_cast<TOrnObject*>(node->Items(1));
    ASSERT_NE(wrong, nullptr);
    EXPECT_EQ(wrong->Attributes(), nullptr);
    EXPECT_NE(wrong->Material(), nullptr);
}

TEST_F(ExchangeFixture, AReferenceToAMissingNameResolvesToNothing) {
    exchange.LoadFromString(*loaded, Scene("<TEXCHANGEPROBE name=\"A\" Ref=\"Nobody\"></TEXCHANGEPROBE>"
                                           "<TEXCHANGEPROBE name=\"B\" Ref=\"a\"></TEXCHANGEPROBE>"));
    ASSERT_EQ(loaded->Count(), 2);
    EXPECT_EQ(LoadedProbe(0)->Ref, nullptr);
    EXPECT_EQ(LoadedProbe(1)->Ref, LoadedProbe(0)); // names ignore letter case
}

TEST_F(ExchangeFixture, ACameraTravelsWithTheScene) {
    AddProbe("A");
    TOrnPerspectiveCamera camera(nullptr);
    camera.SetViewAngle(30);
    camera.SetViewFar(55);
    camera.Transformation()->Translation()->SetValues(1, 2, -12);
    exchange.SetCamera(&camera);
    const std::string text = exchange.SaveToString(*scene);
    EXPECT_NE(text.find("<Camera class=\"TOrnPerspectiveCamera\""), std::string::npos);
    EXPECT_TRUE(WellFormed(text));

    TOrnExchange reader(nullptr);
    reader.LoadFromString(*loaded, text); // no camera assigned: the element is skipped
    EXPECT_EQ(reader.FileCameraClass(), "TOrnPerspectiveCamera");
    EXPECT_EQ(loaded->Count(), 1);
    TOrnPerspectiveCamera back(nullptr);
    reader.SetCamera(&back);
    TComponent owner(nullptr);
    reader.LoadFromString(*new TOrnNode(&owner), text);
    EXPECT_EQ(back.ViewAngle(), 30.0f);
    EXPECT_EQ(back.ViewFar(), 55.0f);
    EXPECT_EQ(back.Transformation()->Translation()->AsMathVector(), (TOrnMathVector{1, 2, -12}));
    {
        TOrnPerspectiveCamera gone(nullptr);
        reader.SetCamera(&gone);
    }
    EXPECT_EQ(reader.Camera(), nullptr); // a destroyed camera is forgotten
}

// --- Bad input ------------------------------------------------------------------------------------

TEST_F(ExchangeFixture, TruncatedFilesLoadWhatTheyHold) {
    for (int k = 0; k < 6; ++k)
        AddProbe("P" + std::to_string(k))->I = k;
    const std::string text = exchange.SaveToString(*scene);
    const std::size_t objects = text.find("<Objects");
    int lastCount = 0;
    for (std::size_t cut = 0; cut <= text.size(); cut += 7) {
        TComponent owner(nullptr);
        auto* node = new TOrnNode(&owner);
        try {
            exchange.LoadFromString(*node, text.substr(0, cut));
        } catch (const EOrnError& e) {
            EXPECT_LT(cut, objects) << "a file with its ORNGL element must load: " << e.what();
            continue;
        }
        EXPECT_GE(node->Count(), lastCount);
        lastCount = node->Count();
        for (int i = 0; i < node->Count(); ++i) {
            auto* p = dynamic_cast<TExchangeProbe*>(node->Items(i));
            ASSERT_NE(p, nullptr);
            EXPECT_EQ(p->Name(), "P" + std::to_string(i));
            EXPECT_EQ(p->I, i); // an element is taken only once its start tag is complete
        }
    }
    EXPECT_EQ(lastCount, 6);
}

TEST_F(ExchangeFixture, WhatIsNoSceneThrowsNamingFileAndPosition) {
    struct Case {
        std::string text;
        std::string says;
    } cases[] = {{"", "empty"},
                 {"just words, no tags", "no element found in 19 bytes"},
                 {"<?xml version=\"1.0\"?>\n\n  <html><body></body></html>", "'html' at line 3, column 3"},
                 {std::string("\0<ORNGL>", 8), "a zero byte at line 1, column 1 ends the input"}};
    exchange.SetFileName((dir / "bad.orngl").string());
    for (const Case& c : cases) {
        try {
            exchange.LoadFromString(*loaded, c.text);
            ADD_FAILURE() << "no error for: " << c.text;
        } catch (const EOrnError& e) {
            const std::string what = e.what();
            EXPECT_NE(what.find("bad.orngl"), std::string::npos) << what;
            EXPECT_NE(what.find(c.says), std::string::npos) << what;
        }
    }
    EXPECT_EQ(loaded->Count(), 0);
    EXPECT_FALSE(loaded->ComponentState().Contains(csLoading));
}

TEST_F(ExchangeFixture, RandomBytesNeverCrash) {
    std::mt19937 rng(12345);
    const std::string valid = [&] {
        AddProbe("P")->S = "value";
        return exchange.SaveToString(*scene);
    }();
    for (int round = 0; round < 300; ++round) {
        std::string text = valid;
        if (round % 2 == 0) {
            text.resize(rng() % 600);
            for (char& c : text)
                c = static_cast<char>(rng());
        } else {
            for (int flips = 0; flips < 8; ++flips)
                text[rng() % text.size()] = "<>/\"= !?-\n\0x"[rng() % 12];
        }
        TComponent owner(nullptr);
        auto* node = new TOrnNode(&owner);
        try {
            exchange.LoadFromString(*node, text);
        } catch (const EOrnError&) {
        }
        EXPECT_LE(node->CountAllItems(), 4);
    }
}

TEST_F(ExchangeFixture, NestingBeyondTheLimitIsSkippedAndSaidSo) {
    std::string deep;
    for (int k = 0; k < 1000; ++k)
        deep += "<TORNNODE>";
    exchange.LoadFromString(*loaded, Scene(deep));
    int depth = 0;
    for (TOrnNode* n = loaded; n->Count() > 0; n = dynamic_cast<TOrnNode*>(n->Items(0)))
        ++depth;
    EXPECT_EQ(depth, TOrnExchange::MaxDepth - 2); // below ORNGL and Objects
    const auto& w = exchange.Warnings();
    EXPECT_NE(std::find_if(w.begin(), w.end(), [](auto& m) { return m.find("deeper than 128") != m.npos; }),
              w.end());
}

TEST_F(ExchangeFixture, WriterAndReaderAgreeOnTheDepthLimit) {
    // The deepest chain a file holds saves and loads back whole; one more level is refused.
    auto chain = [](TOrnNode& top, int levels) {
        TOrnNode* n = &top;
        for (int k = 0; k < levels; ++k) {
            auto* child = new TOrnNode(n);
            n->Add(child);
            n = child;
        }
        return n;
    };
    auto depthOf = [](TOrnNode* n) {
        int d = 0;
        for (; n->Count() > 0; n = dynamic_cast<TOrnNode*>(n->Items(0)))
            ++d;
        return d;
    };
    std::string text;
    int levels = 1;
    for (;; ++levels) {
        TComponent owner(nullptr);
        auto* top = new TOrnNode(&owner);
        chain(*top, levels);
        try {
            text = exchange.SaveToString(*top);
        } catch (const EOrnError& e) {
            EXPECT_NE(std::string(e.what()).find("deeper than 128"), std::string::npos) << e.what();
            break;
        }
    }
    --levels;
    ASSERT_GT(levels, 100);
    TComponent owner(nullptr);
    auto* top = new TOrnNode(&owner);
    chain(*top, levels);
    exchange.LoadFromString(*loaded, exchange.SaveToString(*top));
    EXPECT_TRUE(exchange.Warnings().empty());
    EXPECT_EQ(depthOf(loaded), levels);
}

TEST_F(ExchangeFixture, AValueHoldingAKeyNameDropsNoKey) {
    TExchangeProbe* p = AddProbe("P1");
    p->S = "see C=0 and V=\"1\" E=";
    p->C = clBlue;
    p->E = 2;
    RoundTrip();
    ASSERT_EQ(loaded->Count(), 1);
    EXPECT_EQ(LoadedProbe(0)->S, p->S);
    EXPECT_EQ(LoadedProbe(0)->C, clBlue);
    EXPECT_EQ(LoadedProbe(0)->E, 2);
}

// --- Files ----------------------------------------------------------------------------------------

TEST_F(ExchangeFixture, ReferencedFilesStayInTheScenesFolder) {
    exchange.SetFileName((dir / "demo.orngl").string());
    EXPECT_EQ(exchange.GetFileName("bmp"), "demo_1.bmp");
    EXPECT_EQ(exchange.GetFileName(".dat"), "demo_2.dat");
    EXPECT_EQ(exchange.FilePath("demo_1.bmp"), (dir / "demo_1.bmp").string());
    EXPECT_EQ(exchange.FilePath("sub/x.bmp"), (dir / "sub" / "x.bmp").string());
    for (const char* outside :
         {"", ".", "..", "sub/", "sub/..", "../x.bmp", "sub/../../x.bmp", "/etc/passwd", "..\\x.bmp", "a\\b"})
        EXPECT_EQ(exchange.FilePath(outside), "") << outside;
    exchange.SetFileName("");
    EXPECT_EQ(exchange.FilePath("x.bmp"), ""); // text with no file: no folder either
    EXPECT_EQ(exchange.GetFileName("bmp"), "scene_3.bmp");
}

TEST_F(ExchangeFixture, SaveAndLoadAFile) {
    AddProbe("A")->S = "on disk";
    const fs::path file = dir / "scene.orngl";
    exchange.SaveToFile(*scene, file.string());
    EXPECT_EQ(exchange.FileName(), file.string());
    EXPECT_TRUE(WellFormed(ReadAll(file)));
    exchange.LoadFromFile(*loaded, file.string());
    ASSERT_EQ(loaded->Count(), 1);
    EXPECT_EQ(LoadedProbe(0)->S, "on disk");
    EXPECT_EQ(std::distance(fs::directory_iterator(dir), fs::directory_iterator()), 1);
}

TEST_F(ExchangeFixture, AMissingFileThrowsNamingIt) {
    const std::string file = (dir / "absent.orngl").string();
    try {
        exchange.LoadFromFile(*loaded, file);
        FAIL();
    } catch (const EOrnError& e) {
        EXPECT_EQ(std::string(e.what()), "Cannot open file \"" + file + "\": " + std::strerror(ENOENT));
    }
}

TEST_F(ExchangeFixture, AFailedSaveLeavesThePreviousFile) {
    const fs::path file = dir / "scene.orngl";
    AddProbe("First");
    exchange.SaveToFile(*scene, file.string());
    const std::string before = ReadAll(file);
    for (int k = 0; k < 200; ++k)
        AddProbe("More" + std::to_string(k));

    // The file system refuses the bigger file half-way through, as a full disk would.
    rlimit old{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &old), 0);
    auto* oldHandler = std::signal(SIGXFSZ, SIG_IGN);
    rlimit small = old;
    small.rlim_cur = before.size() + 100;
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    std::string message;
    try {
        exchange.SaveToFile(*scene, file.string());
    } catch (const EOrnError& e) {
        message = e.what();
    }
    setrlimit(RLIMIT_FSIZE, &old);
    std::signal(SIGXFSZ, oldHandler);

    EXPECT_NE(message.find(file.string()), std::string::npos) << message;
    EXPECT_NE(message.find(std::strerror(EFBIG)), std::string::npos) << message;
    EXPECT_EQ(ReadAll(file), before);
    EXPECT_EQ(std::distance(fs::directory_iterator(dir), fs::directory_iterator()), 1); // no temporary left
}

TEST_F(ExchangeFixture, SavingIntoAMissingFolderThrows) {
    const std::string file = (dir / "no" / "such.orngl").string();
    EXPECT_THROW(exchange.SaveToFile(*scene, file), EOrnError);
}

TEST_F(ExchangeFixture, ProgressRisesToOneForSavesAndLoads) {
    for (int k = 0; k < 300; ++k)
        AddProbe("");
    std::vector<double> seen;
    exchange.OnProgress = [&](double f) { seen.push_back(f); };
    const std::string text = exchange.SaveToString(*scene);
    ASSERT_GT(seen.size(), 10u);
    EXPECT_TRUE(std::is_sorted(seen.begin(), seen.end()));
    EXPECT_EQ(seen.back(), 1.0);
    seen.clear();
    exchange.LoadFromString(*loaded, text);
    ASSERT_GT(seen.size(), 10u);
    EXPECT_TRUE(std::is_sorted(seen.begin(), seen.end()));
    EXPECT_EQ(seen.back(), 1.0);
}

// --- Every render class -----------------------------------------------------------------------------

namespace {

/// Reads a non-default value for every key it is asked for, so that a component takes values
/// that differ from its defaults through its own setters (and their clamps).
class TPerturbingExchange : public TOrnCustomExchange {
public:
    void StartTag(const std::string&) override {}
    void EndTag() override {}
    void WriteBool(const std::string&, bool, bool) override {}
    void WriteInt(const std::string&, std::int64_t, std::int64_t) override {}
    void WriteFloat(const std::string&, double, double) override {}
    void WriteString(const std::string&, const std::string&, const std::string&) override {}
    void WriteColor(const std::string&, TColor, TColor) override {}
    void WriteVector(const std::string&, const TOrnMathVector&, const TOrnMathVector&) override {}
    void ObjectStep() override {}
    bool ReadBool(const std::string&, bool def) override { return !def; }
    std::int64_t ReadInt(const std::string&, std::int64_t def) override { return def + 1; }
    double ReadFloat(const std::string&, double def) override { return def + 0.25; }
    std::string ReadString(const std::string& key, const std::string& def) override {
        return strcasecmp(key.c_str(), "name") == 0 ? def : def + "<\"odd/&\">";
    }
    TColor ReadColor(const std::string&, TColor def) override { return def ^ 0x102030; }
    TOrnMathVector ReadVector(const std::string&, const TOrnMathVector& def) override {
        return {def.x + 0.5, def.y + 0.25, def.z + 0.125};
    }
    std::string GetFileName(const std::string&) override { return {}; }
    std::string FilePath(const std::string&) override { return {}; }
};

/// Records the element names an item writes, so that the perturbing reader can visit them.
class TTagRecorder : public TPerturbingExchange {
public:
    std::vector<std::vector<std::string>> children{{}};
    void StartTag(const std::string& name) override {
        if (depth++ == 1) children[0].push_back(name);
    }
    void EndTag() override { --depth; }
    int depth = 0;
};

void Perturb(TOrnExchangeItem& item, int level = 0) {
    TPerturbingExchange perturb;
    item.ReadValues(perturb);
    TTagRecorder rec;
    item.WriteComp(rec, "X");
    for (const std::string& child : rec.children[0])
        if (TOrnExchangeItem* sub = item.ReadComp(perturb, child); sub && level < 4) Perturb(*sub, level + 1);
}

} // namespace

TEST_F(ExchangeFixture, EveryRenderClassRoundTripsByteForByte) {
    int index = 0;
    std::vector<std::string> tags;
    for (TComponentClass cls : GetRenderClassList()) {
        TComponent* made = cls->Create(scene);
        auto* render = dynamic_cast<TOrnRender*>(made);
        ASSERT_NE(render, nullptr) << cls->Name;
        try {
            Perturb(*render);
        } catch (const std::exception& e) {
            ADD_FAILURE() << cls->Name << " refused a value of its own form: " << e.what();
        }
        render->SetName("Item" + std::to_string(index++));
        scene->Add(render);
        std::string tag = cls->Name;
        for (char& c : tag)
            c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
        tags.push_back("<" + tag);
    }
    scene->Transformation()->Scale()->SetValues(2, 2, 2);
    const std::string first = RoundTrip();
    for (const std::string& tag : tags)
        EXPECT_TRUE(first.find(tag + " ") != std::string::npos || first.find(tag + ">") != std::string::npos)
            << tag;
    ASSERT_EQ(loaded->Count(), scene->Count());
    for (int i = 0; i < scene->Count(); ++i)
        EXPECT_STREQ(loaded->Items(i)->ClassName(), scene->Items(i)->ClassName());

    TOrnExchange again(nullptr);
    const std::string second = again.SaveToString(*loaded);
    EXPECT_TRUE(WellFormed(second));
    EXPECT_EQ(first, second);

    // The same document as another XML writer puts it: each attribute on a line of its own, tab
    // indents, single quotes, empty elements self-closed, a comment, a document type.
    pugi::xml_document doc;
    ASSERT_TRUE(doc.load_string(first.c_str()));
    doc.prepend_child(pugi::node_doctype).set_value("ORNGL [ <!ENTITY e \"x>y\"> ]");
    doc.child("ORNGL").prepend_child(pugi::node_comment).set_value(" <Objects> in a comment ");
    std::ostringstream other;
    doc.save(other, "\t",
             pugi::format_indent | pugi::format_indent_attributes | pugi::format_attribute_single_quote);
    ASSERT_NE(other.str().find("'\n"), std::string::npos);
    TComponent owner(nullptr);
    auto* fromOther = new TOrnNode(&owner);
    again.LoadFromString(*fromOther, other.str());
    EXPECT_TRUE(again.Warnings().empty());
    EXPECT_EQ(again.SaveToString(*fromOther), first);
}

TEST_F(ExchangeFixture, AValueBeyondTheLimitIsLeftOutAndSaidSo) {
    TExchangeProbe* p = AddProbe("P1");
    p->S = std::string(100, 'x');
    p->I = 5;
    const std::string text = exchange.SaveToString(*scene);
    exchange.SetMaxValueBytes(99);
    exchange.LoadFromString(*loaded, text);
    ASSERT_EQ(loaded->Count(), 1);
    EXPECT_EQ(LoadedProbe(0)->S, "text"); // its default
    EXPECT_EQ(LoadedProbe(0)->I, 5);
    ASSERT_EQ(exchange.Warnings().size(), 1u);
    EXPECT_NE(exchange.Warnings()[0].find("'S' in 'TEXCHANGEPROBE' has 100 bytes, more than the limit of 99"),
              std::string::npos)
        << exchange.Warnings()[0];
    exchange.SetMaxValueBytes(100);
    exchange.LoadFromString(*loaded, text);
    EXPECT_TRUE(exchange.Warnings().empty());
}

TEST_F(ExchangeFixture, AFileThatEndsEarlyOrIsMalformedIsSaidToBe) {
    AddProbe("P1")->I = 3;
    const std::string text = exchange.SaveToString(*scene);
    const std::size_t cut = text.find(" I=");
    exchange.LoadFromString(*loaded, text.substr(0, cut));
    ASSERT_FALSE(exchange.Warnings().empty());
    EXPECT_NE(exchange.Warnings()[0].find("ends early, inside the start tag of 'TEXCHANGEPROBE'"),
              std::string::npos)
        << exchange.Warnings()[0];
    exchange.LoadFromString(*loaded, text.substr(0, text.find("</Objects>")));
    ASSERT_FALSE(exchange.Warnings().empty());
    EXPECT_NE(exchange.Warnings()[0].find("ends early: the element 'Objects' and 1 around it"),
              std::string::npos)
        << exchange.Warnings()[0];
    exchange.LoadFromString(*loaded, Scene("<TEXCHANGEPROBE I=3 S='x'></TEXCHANGEPROBE>"));
    ASSERT_FALSE(exchange.Warnings().empty());
    EXPECT_NE(exchange.Warnings()[0].find("line 2: the start tag of 'TEXCHANGEPROBE' is malformed"),
              std::string::npos)
        << exchange.Warnings()[0];
    exchange.LoadFromString(*loaded, text);
    EXPECT_TRUE(exchange.Warnings().empty());
}

namespace {

/// A German locale made for the test (',' as the decimal separator), set for the whole program
/// while it lives; false when the system can not make one.
class GermanLocale {
public:
    GermanLocale() {
        if (Use()) return;
        // Not installed: made here, which takes a few seconds.
        fPath = fs::temp_directory_path() / ("orn_locale_" + std::to_string(::getpid()));
        fs::create_directories(fPath);
        const std::string make =
            "localedef -i de_DE -f UTF-8 " + (fPath / "de_DE.UTF-8").string() + " >/dev/null 2>&1";
        if (std::system(make.c_str()) != 0) return;
        const char* old = std::getenv("LOCPATH");
        if (old) fOldPath = old;
        fHadPath = old != nullptr;
        fSetPath = true;
        ::setenv("LOCPATH", fPath.c_str(), 1);
        Use();
    }
    ~GermanLocale() {
        if (fActive) std::locale::global(fOld);
        if (fHadPath)
            ::setenv("LOCPATH", fOldPath.c_str(), 1);
        else if (fSetPath)
            ::unsetenv("LOCPATH");
        if (!fPath.empty()) fs::remove_all(fPath);
    }
    bool Active() const { return fActive; }

private:
    bool Use() {
        try {
            fOld = std::locale::global(std::locale("de_DE.UTF-8"));
            fActive = true;
        } catch (const std::runtime_error&) {
        }
        return fActive;
    }

    fs::path fPath;
    bool fSetPath = false;
    std::string fOldPath;
    bool fHadPath = false;
    bool fActive = false;
    std::locale fOld;
};

} // namespace

TEST_F(ExchangeFixture, NumbersAreWrittenAndReadTheSameUnderAnyLocale) {
    auto* polygon = new TOrnPolygon(scene);
    polygon->Add({0.5, 0.25, -1.5}, {0, 0, 1}, {0.75, 0.125, 0});
    polygon->Add({2.5, 0.5, 0}, {0, 0, 1}, {1, 0.5, 0});
    scene->Add(polygon);
    auto* tube = new TOrnTube(scene);
    tube->Add({0.5, 1.25, 2}, 0.75);
    tube->Add({1.5, -0.25, 3}, 0.5);
    scene->Add(tube);
    AddProbe("P")->D = 0.125;
    const std::string inC = exchange.SaveToString(*scene);

    GermanLocale german;
    if (!german.Active()) GTEST_SKIP() << "no German locale can be made here";
    char buf[16];
    std::snprintf(buf, sizeof buf, "%.1f", 0.5);
    ASSERT_STREQ(buf, "0,5") << "the locale is not in force";
    const std::string inGerman = exchange.SaveToString(*scene);
    EXPECT_EQ(inGerman, inC);
    EXPECT_NE(inGerman.find("0.5,0.25,-1.5"), std::string::npos);
    exchange.LoadFromString(*loaded, inGerman);
    ASSERT_EQ(loaded->Count(), 3);
    auto* polygonBack = dynamic_cast<TOrnPolygon*>(loaded->Items(0));
    auto* tubeBack = dynamic_cast<TOrnTube*>(loaded->Items(1));
    ASSERT_TRUE(polygonBack && tubeBack);
    EXPECT_EQ(polygonBack->GetValues(0, daVertex).x, 0.5);
    EXPECT_EQ(polygonBack->GetValues(1, daTexture).y, 0.5);
    ASSERT_EQ(tubeBack->Count(), 2);
    EXPECT_EQ(LoadedProbe(2)->D, 0.125);
    EXPECT_EQ(exchange.SaveToString(*loaded), inC);
}
