// The scene file: value forms, escapes, nesting, references, limits, damaged input, a save of the scene and
// its side files as one, the reader of its events. What each class writes: PropertyContractTest.
#include <orn/geometry/TOrnPolygon.h>
#include <orn/geometry/TOrnSphere.h>
#include <orn/io/TOrnExchange.h>
#include <orn/io/TXMLParser.h>
#include <orn/math/TOrnPropList.h>
#include <orn/objects/TOrnPointSet.h>
#include <orn/objects/TOrnTube.h>
#include <orn/scene/TOrnNode.h>
#include <orn/scene/TOrnObject.h>
#include <orn/scene/TOrnRegistry.h>
#include <orn/state/TOrnMaterial.h>
#include <orn/state/TOrnTexture.h>
#include <orn/view/TOrnCamera.h>

#include "io/detail/ExchangeText.h"
#include "support/ErrorText.h"
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <locale>
#include <map>
#include <pugixml.hpp>
#include <sstream>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using namespace orn;
using ::testing::HasSubstr;
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
    template <class T = TOrnNode> T* Add(TOrnNode* to = nullptr) {
        to = to ? to : scene;
        auto* item = new T(to);
        to->Add(item);
        return item;
    }
    TExchangeProbe* AddProbe(const std::string& name, TOrnNode* to = nullptr) {
        TExchangeProbe* p = Add<TExchangeProbe>(to);
        p->SetName(name);
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
        return std::ranges::any_of(exchange.Warnings(),
                                   [&](const std::string& w) { return Holds(w, {part}); });
    }
};
std::string ReadAll(const fs::path& p) {
    std::ifstream in(p, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}
/// A folder's files with their contents (a FIFO or a folder as "?").
std::map<std::string, std::string> Snapshot(const fs::path& dir) {
    std::map<std::string, std::string> m;
    for (const auto& e : fs::directory_iterator(dir))
        m[e.path().filename().string()] = e.is_regular_file() ? ReadAll(e.path()) : "?";
    return m;
}
/// Runs save in a child whose files may not pass 4 KiB: 1 for a full disk's error, 2 for another, 128 + a
/// signal.
int InSmallChild(const std::function<std::string()>& save) {
    const pid_t child = ::fork();
    if (child == 0) {
        std::signal(SIGXFSZ, SIG_DFL);
        rlimit small{};
        ::getrlimit(RLIMIT_FSIZE, &small);
        small.rlim_cur = 4096;
        ::setrlimit(RLIMIT_FSIZE, &small);
        const std::string error = save();
        ::_exit(error.empty() ? 0 : error.find(std::strerror(EFBIG)) != std::string::npos ? 1 : 2);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}
/// A scene whose texture and point data go to side files, saved into a folder of the test's own.
struct SceneSave : ExchangeFixture {
    TOrnTexture* texture = Add<TOrnTexture>();
    TOrnPointSet* points = Add<TOrnPointSet>();
    fs::path dir = fs::temp_directory_path() / ("orn_save_" + std::to_string(::getpid()));
    fs::path file = dir / "out.orngl";
    void SetUp() override {
        fs::remove_all(dir);
        fs::create_directories(dir);
        texture->Bitmap()->SetSize(8, 8);
        points->ReadFromText("1 2 3\n4 5 6\n", "inline");
    }
    void TearDown() override { fs::remove_all(dir); }
};
/// A run's events as "kind name what; …" ('|' for a line break in a tag's parameters).
struct Recorder {
    TXMLParser parser{nullptr};
    std::string events;
    std::string closeName; // OnTag sets Close to close in the record of this name
    int close = 0;
    void Add(const std::string& event) { events += (events.empty() ? "" : "; ") + event; }
    static std::string At(const TXMLTag& t) { return t.Name + "@" + std::to_string(t.Depth); }
    Recorder() {
        parser.OnTagName = [this](TObject*, TXMLTag& t) { Add("TagName " + At(t)); };
        parser.OnEndTag = [this](TObject*, TXMLTag& t) { Add("EndTag " + At(t)); };
        parser.OnParam = [this](TObject*, TXMLTag& t) {
            Add(("Param " + t.Name + " ").append(parser.Text()));
        };
        parser.OnTag = [this](TObject*, TXMLTag& t) {
            std::string params = t.Params;
            std::replace(params.begin(), params.end(), '\n', '|');
            Add("Tag " + t.Name + " " + params);
            if (t.Name == closeName) t.Close = close;
        };
        parser.OnValue = [this](TObject*, TXMLTag& t) { Add("Value " + t.Name + " '" + t.Value + "'"); };
        parser.OnComment = [this](const std::string& s) { Add("Comment " + s); };
        parser.OnSpecial = [this](const std::string& s) { Add("Special " + s); };
    }
    std::string Run(const std::string& text) {
        events.clear();
        parser.Stream() = text;
        parser.execute();
        return events;
    }
};
} // namespace

TEST_F(ExchangeFixture, ValueFormsAreWrittenAsDocumented) {
    TExchangeProbe* p = AddProbe("P1");
    std::tie(p->B, p->I, p->D, p->C, p->V, p->E) =
        std::tuple(true, -42, 0.1, static_cast<TColor>(0x00FF8000), TOrnMathVector{1, -2, 0.25}, 2);
    std::string text = exchange.SaveToString(*scene);
    EXPECT_EQ(text.substr(0, 73),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<ORNGL version=\"1.0\" program=\"Orn ");
    EXPECT_TRUE(
        Holds(text, {"<TEXCHANGEPROBE name=\"P1\" ", " B=\"true\"", " I=\"-42\"", " D=\"0.1\"", " S=\"text\"",
                     " C=\"FF8000\"", " V=\"1,-2,0.25\"", " E=\"peThird\"", " Ref=\"\""}));
    // Single precision, alone and in vectors, in its shortest form: 0.4, not 0.4000000059604645.
    Add<TOrnMaterial>()->ColorDiffuse()->SetAlpha(0.45f);
    auto* sphere = Add<TOrnSphere>();
    sphere->SetRadius(0.4f);
    sphere->Transformation()->Translation()->SetValues(0.1f, -0.45f, 3.3f);
    text = exchange.SaveToString(*scene);
    EXPECT_TRUE(Holds(text, {" Alpha=\"0.45\"", " Radius=\"0.4\"", " P=\"0.1,-0.45,3.3\""}));
    // What the reader needs: no space before '>', and no element self-closed.
    EXPECT_TRUE(text.find(" >") == std::string::npos && text.find("/>") == std::string::npos) << text;
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

TEST_F(ExchangeFixture, NumbersReadBackExactlyAndAreWrittenTheSameUnderADecimalCommaLocale) {
    const std::tuple<double, std::int64_t, TColor> cases[] = {
        {0.1, 0, clBlack},
        {1.0 / 3.0, INT64_MAX, clWhite},
        {-0.0, INT64_MIN, clBtnFace},
        {static_cast<double>(0.3f), -1, static_cast<TColor>(0x80000005)},
        {1e-300, 123456789012345LL, 0x123456},
        {3.4e38, 1, clNone}};
    for (const auto& [d, i, c] : cases) {
        TExchangeProbe* p = AddProbe("");
        std::tie(p->D, p->I, p->C, p->V) = std::tuple(d, i, c, TOrnMathVector{d, -d, 1e10});
    }
    Add<TOrnPolygon>()->Add({0.5, 0.25, -1.5}, {0, 0, 1}, {0.75, 0.125, 0});
    auto* tube = Add<TOrnTube>();
    tube->Add({0.5, 1.25, 2}, 0.75);
    tube->Add({1.5, -0.25, 3}, 0.5);
    const std::string inC = RoundTrip();
    ASSERT_EQ(loaded->Count(), static_cast<int>(std::size(cases)) + 2);
    for (int k = 0; k < static_cast<int>(std::size(cases)); ++k) {
        const auto& [d, i, c] = cases[k];
        EXPECT_EQ(std::memcmp(&Probe(k)->D, &d, sizeof(double)), 0) << k; // -0.0 keeps its sign
        EXPECT_EQ(std::tuple(Probe(k)->I, Probe(k)->C, Probe(k)->V),
                  std::tuple(i, c, TOrnMathVector{d, -d, 1e10}))
            << k;
    }
    const fs::path made = fs::temp_directory_path() / ("orn_locale_" + std::to_string(::getpid()));
    if (!std::setlocale(LC_ALL, "de_DE.UTF-8")) { // none installed: made for the test (a few seconds)
        fs::create_directories(made);
        ::setenv("LOCPATH", made.c_str(), 1);
        const std::string make = "localedef -i de_DE -f UTF-8 " + (made / "de_DE.UTF-8").string();
        if (std::system((make + " >/dev/null 2>&1").c_str()) == 0) std::setlocale(LC_ALL, "de_DE.UTF-8");
    }
    const std::locale old = std::locale::global(std::locale(std::setlocale(LC_ALL, nullptr)));
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
    EXPECT_TRUE(Holds(value, {"&#47;", "&#38;#65;"}));
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
    TOrnNode* refs =
        Load(Scene("<TEXCHANGEPROBE S=\"&lt;&amp;&gt;&quot;&apos;&#x41;&#x20AC;&#xD800;&bogus;&#xZZ;&\">"
                   "</TEXCHANGEPROBE>"));
    EXPECT_EQ(Probe(0, refs)->S, "<&>\"'A\xE2\x82\xAC&#xD800;&bogus;&#xZZ;&");
}

TEST_F(ExchangeFixture, ReferencesResolveBeforeLoadedACameraTravelsAndReadingIgnoresCaseLayoutAndTheUnknown) {
    TExchangeProbe* a = AddProbe("A");
    TExchangeProbe* b = AddProbe("B");
    TExchangeProbe* c = AddProbe("C", Add());
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
    TOrnPerspectiveCamera camera(nullptr);
    camera.SetViewAngle(30);
    camera.Transformation()->Translation()->SetValues(1, 2, -12);
    exchange.SetCamera(&camera);
    const std::string text = exchange.SaveToString(*scene);
    EXPECT_NE(text.find("</Objects>\n  <Camera class=\"TOrnPerspectiveCamera\""), std::string::npos) << text;
    TOrnExchange reader(nullptr); // with no camera assigned, the element is skipped
    reader.LoadFromString(*(node = new TOrnNode(&loadForm)), text);
    EXPECT_EQ(std::tuple(reader.FileCameraClass(), node->Count()), std::tuple("TOrnPerspectiveCamera", 3));
    {
        TOrnPerspectiveCamera back(nullptr);
        reader.SetCamera(&back);
        std::string shouted = text; // its element named in any case
        shouted.replace(shouted.find("<Camera"), 7, "<CAMERA");
        reader.LoadFromString(*new TOrnNode(&loadForm), shouted);
        EXPECT_TRUE(back.ViewAngle() == 30 &&
                    back.Transformation()->Translation()->AsMathVector() == (TOrnMathVector{1, 2, -12}));
    }
    EXPECT_EQ(reader.Camera(), nullptr); // a destroyed camera is forgotten
    // Reading ignores letter case, layout, unknown elements and values of the wrong form.
    node = Load("<orngl version=\"1.0\"><objects><texchangeprobe NAME=\"Low\" b=\"YES\" i=\"5\" "
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
    // As another writer puts it: attributes a line each, tabs, single quotes, self-closed, a comment, a
    // doctype.
    AddProbe("D")->S = "x";
    AddProbe("E", Add())->Ref = scene->Items(0);
    scene->Transformation()->Scale()->SetValues(2, 2, 2);
    const std::string first = exchange.SaveToString(*scene);
    pugi::xml_document doc;
    ASSERT_TRUE(doc.load_string(first.c_str()));
    doc.prepend_child(pugi::node_doctype).set_value("ORNGL [ <!ENTITY e \"x>y\"> ]");
    doc.child("ORNGL").prepend_child(pugi::node_comment).set_value(" <Objects> in a comment ");
    std::ostringstream other;
    doc.save(other, "\t",
             pugi::format_indent | pugi::format_indent_attributes | pugi::format_attribute_single_quote);
    ASSERT_TRUE(Holds(other.str(), {"'\n", "/>"}));
    node = Load(other.str());
    EXPECT_TRUE(exchange.Warnings().empty());
    EXPECT_EQ(exchange.SaveToString(*node), first);
}

TEST_F(ExchangeFixture, DamagedFilesAndTheLimitsOfDepthAndValueSizeLoadWhatTheyCanSaySoAndTellProgress) {
    for (int k = 0; k < 6; ++k)
        AddProbe("P" + std::to_string(k))->I = k;
    const std::string text = exchange.SaveToString(*scene);
    int lastCount = 0;
    for (std::size_t cut = 0; cut <= text.size(); cut += 7) {
        TOrnNode* node = nullptr;
        const std::string error = test::ErrorText([&] { node = Load(text.substr(0, cut)); });
        EXPECT_TRUE(node || cut < text.find("<Objects"))
            << "a file with its ORNGL element must load: " << error;
        if (!node) continue;
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
        EXPECT_TRUE(Holds(error, {"/scenes/bad.orngl", says}));
    }
    EXPECT_EQ(std::tuple(loaded->Count(), loaded->ComponentState().Contains(csLoading)),
              std::tuple(0, false));
    auto depthOf = [](TOrnNode* n) {
        int d = 0;
        for (; n->Count() > 0; n = dynamic_cast<TOrnNode*>(n->Items(0)))
            ++d;
        return d;
    };
    // The deepest chain a file holds saves and loads back whole; one more level is refused.
    TOrnNode* const root = new TOrnNode(&form);
    TOrnNode* n = root;
    for (int k = 0; k < 124; ++k)
        n = Add(n);
    std::vector<double> seen;
    exchange.OnProgress = [&](double f) { seen.push_back(f); };
    const auto risesToOne = [&](const char* what) {
        EXPECT_TRUE(seen.size() > 10 && std::is_sorted(seen.begin(), seen.end()) && seen.back() == 1.0)
            << what;
        seen.clear();
    };
    const std::string chain = exchange.SaveToString(*root);
    risesToOne("save");
    exchange.LoadFromString(*loaded, chain);
    risesToOne("load");
    EXPECT_EQ(std::tuple(depthOf(loaded), exchange.Warnings().size()), std::tuple(124, std::size_t{0}));
    exchange.OnProgress = nullptr;
    n->Add(new TOrnNode(n));
    EXPECT_NE(test::ErrorText([&] { exchange.SaveToString(*root); }).find("would nest deeper than 128"),
              std::string::npos);
    std::string deep;
    for (int k = 0; k < 1000; ++k)
        deep += "<TORNNODE>";
    EXPECT_EQ(depthOf(Load(Scene(deep))), TOrnExchange::MaxDepth - 2); // below ORNGL and Objects
    EXPECT_TRUE(Warned("elements nested deeper than 128 are not read"));
    TOrnNode* flat = new TOrnNode(&form);
    TExchangeProbe* p = AddProbe("P1", flat);
    std::tie(p->S, p->I) = std::tuple(std::string(100, 'x'), 5);
    const std::string longValue = exchange.SaveToString(*flat);
    exchange.SetMaxValueBytes(99);
    TExchangeProbe* cut = Probe(0, Load(longValue)); // the long value keeps its default
    EXPECT_EQ(std::tuple(cut->S, cut->I, exchange.Warnings().size()), std::tuple("text", 5, std::size_t{1}));
    EXPECT_TRUE(Warned("'S' in 'TEXCHANGEPROBE' has 100 bytes, more than the limit of 99"));
    exchange.SetMaxValueBytes(100);
    cut = Probe(0, Load(longValue));
    EXPECT_EQ(std::tuple(cut->S, exchange.Warnings().size()), std::tuple(p->S, std::size_t{0}));
}

TEST_F(SceneSave, SideFilesGoBesideTheSceneAndAFailureOfAnyFileLeavesEveryFileAsItWas) {
    // Side files that nobody would write.
    EXPECT_THAT(test::ErrorText([&] { exchange.SaveToString(*scene); }),
                HasSubstr("'scene_1.bmp' the scene refers to: FileName is empty"));
    EXPECT_TRUE(Snapshot(dir).empty());
    exchange.SetFileName(file.string());
    EXPECT_NE(exchange.SaveToString(*scene).find("Bitmap=\"out_1.bmp\""), std::string::npos);
    EXPECT_EQ(Snapshot(dir).size(), 2u);
    EXPECT_EQ(Snapshot(dir).count("out_2.txt"), 1u);
    // Loading: a file over the limit, or without a single '<' in its first chunk, is refused unread.
    const auto load = [&] { return test::ErrorText([&] { exchange.LoadFromFile(*loaded, file.string()); }); };
    std::ofstream(file) << "<ORNGL version=\"1\"><Objects class=\"TOrnNode\"/></ORNGL>"
                        << std::string(200, ' ');
    exchange.SetMaxFileBytes(100);
    EXPECT_THAT(load(), HasSubstr("more than the 100 allowed"));
    exchange.SetMaxFileBytes(1000);
    EXPECT_EQ(load(), "");
    std::ofstream(file) << std::string(300000, 'x');
    exchange.SetMaxFileBytes(1 << 20);
    EXPECT_THAT(load(), HasSubstr("not a scene file (no element found in 65536 bytes)"));
    // Saving to a file: every file is put in place whole, or none is.
    const auto save = [&] { return test::ErrorText([&] { exchange.SaveToFile(*scene, file.string()); }); };
    EXPECT_EQ(save(), "");
    const auto before = Snapshot(dir);
    EXPECT_EQ(before.size() + before.count("out_1.bmp") + before.count("out_2.txt"), 5u);
    texture->Bitmap()->SetSize(300, 300); // a bigger scene, whose saves are to fail
    points->ReadFromText("7 8 9\n", "inline");
    // The point data cannot be put in place: the texture, written before it, must not be either.
    fs::remove(dir / "out_2.txt");
    fs::create_directory(dir / "out_2.txt");
    EXPECT_THAT(save(), HasSubstr("out_2.txt"));
    auto expected = before;
    expected["out_2.txt"] = "?";
    EXPECT_EQ(Snapshot(dir), expected);
    // The scene's own name is taken by a folder: its write fails after the side files were written.
    fs::remove(dir / "out_2.txt");
    std::ofstream(dir / "out_2.txt") << "old points\n";
    fs::remove(file);
    fs::create_directory(file);
    expected = Snapshot(dir);
    EXPECT_THAT(save(), HasSubstr("out.orngl"));
    EXPECT_EQ(Snapshot(dir), expected);
    // The file system refuses a file half-way through, as a full disk would: an error, not SIGXFSZ.
    fs::remove(file);
    std::ofstream(file) << "old scene";
    expected = Snapshot(dir);
    EXPECT_EQ(InSmallChild(save), 1) << "0: no failure, 2: another failure, above 128: killed";
    EXPECT_EQ(Snapshot(dir), expected);
}

TEST_F(SceneSave, ReferencedFilesStayInTheFolderAndTargetsThatAreNoRegularFilesOrHaveLongNamesAreKept) {
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
    const std::string missing = (dir / "none" / "absent.orngl").string();
    EXPECT_EQ(test::ErrorText([&] { exchange.LoadFromFile(*loaded, missing); }),
              "Cannot open file \"" + missing + "\": " + std::strerror(ENOENT));
    EXPECT_THROW(exchange.SaveToFile(*scene, missing), EOrnError);
    exchange.SaveToFile(*scene, file.string());
    const std::string text = ReadAll(file);
    const fs::path outside = dir.string() + "_outside.bmp";
    fs::copy_file(dir / "out_1.bmp", outside, fs::copy_options::overwrite_existing);
    fs::create_directories(dir / "textures");
    fs::copy_file(dir / "out_1.bmp", dir / "textures" / "wood.bmp");
    fs::create_symlink(outside, dir / "textures" / "link.bmp");
    ::mkfifo((dir / "fifo.bmp").c_str(), 0600);
    const std::tuple<std::string, int, const char*> cases[] = {
        {"out_1.bmp", 8, ""},
        {"textures/wood.bmp", 8, ""},
        {"missing.bmp", 0, "No such file"},
        {"fifo.bmp", 0, "not a regular file"}, // never blocks on it
        {"textures/link.bmp", 0, "outside"},
        {"../" + outside.filename().string(), 0, "outside"},
        {outside.string(), 0, "absolute"}};
    for (const auto& [name, width, says] : cases) {
        SCOPED_TRACE(name);
        std::string changed = text;
        std::ofstream(file) << changed.replace(changed.find("out_1.bmp"), 9, name);
        TOrnNode* node = new TOrnNode(&loadForm);
        exchange.LoadFromFile(*node, file.string());
        auto* t = node->Count() ? dynamic_cast<TOrnTexture*>(node->Items(0)) : nullptr;
        EXPECT_EQ(t ? t->Bitmap()->Width() : -1, width);
        const std::vector<std::string>& said = exchange.Warnings();
        EXPECT_EQ(said.size(), *says ? 1u : 0u);
        EXPECT_TRUE(said.empty() || Holds(said[0], {"'" + name + "'", says}));
    }
    fs::remove(outside);
    // A symbolic link stays a link; the file it points to gets the scene and keeps its mode.
    std::ofstream(dir / "real.orngl") << "old";
    ::chmod((dir / "real.orngl").c_str(), 0640);
    fs::create_symlink("real.orngl", dir / "link.orngl");
    exchange.SaveToFile(*scene, (dir / "link.orngl").string());
    EXPECT_TRUE(fs::is_symlink(dir / "link.orngl") && Holds(ReadAll(dir / "real.orngl"), {"<ORNGL"}));
    EXPECT_EQ(fs::status(dir / "real.orngl").permissions(), fs::perms{0640});
    // A dangling link is refused, not replaced by a file.
    fs::create_symlink("missing/x.orngl", dir / "dangling.orngl");
    EXPECT_THROW(exchange.SaveToFile(*scene, (dir / "dangling.orngl").string()), EOrnError);
    EXPECT_TRUE(fs::is_symlink(dir / "dangling.orngl"));
    // With side files, names too long for them are refused before anything is written.
    const auto files = Snapshot(dir);
    EXPECT_THROW(exchange.SaveToFile(*scene, (dir / (std::string(250, 'x') + ".orngl")).string()), EOrnError);
    EXPECT_EQ(Snapshot(dir), files);
    scene->Remove(texture);
    scene->Remove(points);
    // A name that a suffixed temporary name would not fit is still saved, twice.
    fs::remove_all(dir);
    fs::create_directories(dir);
    const std::string stem(240, 's');
    exchange.SaveToFile(*scene, (dir / (stem + ".orngl")).string());
    exchange.SaveToFile(*scene, (dir / (stem + ".orngl")).string());
    EXPECT_EQ(Snapshot(dir).size(), 1u);
    // A character device is written to, never replaced; a FIFO gets the text through it.
    exchange.SaveToFile(*scene, "/dev/null");
    EXPECT_TRUE(fs::is_character_file("/dev/null"));
    const fs::path fifo = dir / "pipe.orngl";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    std::string received;
    std::thread reader([&] { received = ReadAll(fifo); });
    exchange.SaveToFile(*scene, fifo.string());
    reader.join();
    EXPECT_TRUE(Holds(received, {"<ORNGL"}) && fs::is_fifo(fs::symlink_status(fifo)));
}

TEST(TXMLParser, EventsRecordsFilesProgressAndReentryOfTheSceneFilesReaderWithItsQuirks) {
    const std::tuple<std::string, std::string, int, const char*> cases[] = {
        // A Param per value, and the last once more before the closing bracket.
        {R"(<a x="1" y="2">v</a>)", "", 0,
         "TagName a@1; Param a x=1; Param a y=2; Param a y=2; Tag a x=1|y=2|y=2|; Value a 'v'; EndTag a@1"},
        {"<a>\n<b>", "", 0, "TagName a@1; Tag a ; Value a '\n'; TagName b@2; Tag b "},
        {"junk<r><a>1</a><b>2</b></r>tail", "", 0,
         "TagName r@1; Tag r ; Value r ''; TagName a@2; Tag a ; Value a '1'; EndTag a@2; Value r ''; "
         "TagName b@2; Tag b ; Value b '2'; EndTag b@2; Value r ''; EndTag r@1"},
        // The empty-element shorthand fires no start event without keys.
        {"<a/>", "", 0, "EndTag @1"},
        {R"(<a x="1"/>)", "", 0, "TagName a@1; Param a x=1; Param a x=1; Tag a x=1|x=1|; EndTag a@1"},
        {"<a\tb\nc>", "", 0, "TagName a\tb\nc@1; Tag a\tb\nc "}, // only the space ends a name
        {R"(<a x="1" >v</a>)", "", 0, "TagName a@1; Param a x=1; Value a 'v'; EndTag a@1"},
        {R"(<a x="1/2">)", "", 0, "TagName a@1; Param a x=1; Tag a x=1|; EndTag a@1"},
        {R"(<?xml version="1.0"?><r></r>)", "", 0,
         "Special <?xml version=\"1.0\"?>; EndTag @1; Value  ''; TagName r@1; Tag r ; Value r ''; EndTag "
         "r@1"},
        {"<a><!DOCTYPE x><b>", "", 0,
         "TagName a@1; Tag a ; Value a ''; Special <!DOCTYPE x>; EndTag a@1; Value  ''; TagName b@1; Tag b "},
        {"<a><!-- x -> y -- z --></a>", "", 0,
         "TagName a@1; Tag a ; Value a ''; Comment <!-- x - y -- z -->; Value a ''; EndTag a@1"},
        {"<!---->", "", 0, "Comment <!---->"},
        {std::string("<a>x\0<b></b>", 12), "", 0, "TagName a@1; Tag a "},
        // Close 1 empties the element at once; its own end tag then closes the parent.
        {"<r><a>text</a></r>", "a", 1,
         "TagName r@1; Tag r ; Value r ''; TagName a@2; Tag a ; EndTag a@2; Value r 'text'; EndTag r@1; "
         "EndTag @0"},
        // Close 2 keeps the record open for one more end tag.
        {"<a><b></b><c></c></a>", "b", 2,
         "TagName a@1; Tag a ; Value a ''; TagName b@2; Tag b ; Value b ''; EndTag b@2; Value b ''; "
         "TagName c@3; Tag c ; Value c ''; EndTag c@3; Value b ''; EndTag b@2"},
    };
    Recorder r;
    for (const auto& [text, closeName, close, events] : cases) {
        std::tie(r.closeName, r.close) = std::tie(closeName, close);
        EXPECT_EQ(r.Run(text), events) << text;
    }
    r.Run("<a><b><c x=\"1\">"); // the next run starts at the root again
    EXPECT_EQ(r.Run("<d>"), "TagName d@1; Tag d ");
    // A record's parameters by name and by place, the end tag's text, the data given to the run.
    TXMLParser& parser = r.parser;
    TObject data;
    std::string seen;
    parser.OnTag = [&](TObject* sender, TXMLTag& t) {
        const TXMLTag* root = &t;
        while (root->Parent)
            root = root->Parent;
        EXPECT_EQ(sender, &parser);
        EXPECT_EQ(root->Data, &data);
        seen += t.Name + ":" + t.Params + ":" + std::to_string(t.ParamCount()) + ":" + t.Value + "/";
        seen += std::string(t.ParamValue("RADIUS")) + std::string(t.ParamValue("z")) +
                std::string(t.ParamValue("none", "def")) + std::to_string(t.IndexOfParam("FLAG")) +
                std::string(t.ParamNameAt(4)) + std::string(t.ParamValueAt(-1)) + "[" +
                std::string(t.ParamNameAt(0)) + "]\n";
    };
    parser.OnEndTag = [&](TObject*, TXMLTag& t) {
        seen += "end " + t.Name + "/" + std::string(parser.Text());
    };
    parser.Stream() = R"(<a  x="1">text</a><TORNSPHERE Radius="1.5" Z="a=b" flag"">)"
                      "</b x!>"; // only letters, digits, ':', '-' and '_' of an end tag are kept
    parser.execute(&data);
    EXPECT_EQ(seen, "a: x=1\n x=1\n:2:/def-1[ x]\n" // a second space stays in the name
                    "end a/aTORNSPHERE:Radius=1.5\nZ=a=b\nflag\nflag\n:4:/1.5a=bdef2[Radius]\n"
                    "end TORNSPHERE/bx");
    EXPECT_TRUE(parser.Stream().empty());
    // Progress, files read when the stream is empty, and a run inside a run refused.
    TXMLParser bare(nullptr);
    std::vector<double> progress;
    bare.OnProgress = [&](double f) { progress.push_back(f); };
    bare.Stream() = "<a>" + std::string(3997, 'x'); // every 2000 characters and at the end
    bare.execute();
    EXPECT_EQ(progress, (std::vector<double>{0.5, 1.0, 1.0}));
    const auto path = fs::temp_directory_path() / "orn_txmlparser_test.xml";
    std::ofstream(path) << "<ORNGL version=\"1\"><Objects></Objects></ORNGL>";
    Recorder fromFile;
    fromFile.parser.SetFileName(path.string());
    fromFile.parser.execute();
    fs::remove(path);
    EXPECT_TRUE(Holds(fromFile.events, {"Tag ORNGL version=1|version=1|;"}));
    EXPECT_TRUE(fromFile.events.ends_with("EndTag Objects@2; Value ORNGL ''; EndTag ORNGL@1"))
        << fromFile.events;
    fromFile.parser.SetFileName("/nonexistent/dir/scene.orngl");
    EXPECT_TRUE(Holds(test::ErrorText([&] { fromFile.parser.execute(); }),
                      {"/nonexistent/dir/scene.orngl", "No such file"}));
    bare.OnTag = [&](TObject*, TXMLTag&) {
        bare.Stream() = "<b>";
        bare.execute();
    };
    bare.Stream() = "<a>";
    EXPECT_THROW(bare.execute(), EOrnError);
    bare.OnTag = nullptr; // usable again afterwards
    bare.Stream() = "<a>";
    EXPECT_NO_THROW(bare.execute());
}
