#include <orn/host/EOrnError.h>
#include <orn/io/TXMLParser.h>

#include "support/Corpora.h"
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

using namespace orn;

namespace {

/// Every event of a run as text, "; " between them: the kind, the record's name and what the
/// event is about ('|' for a line break in a tag's parameters).
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

TEST(TXMLParser, EventsOfTheSceneFilesReaderWithItsQuirks) {
    struct Case {
        std::string text, closeName;
        int close;
        const char* events;
    } cases[] = {
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
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        r.closeName = c.closeName;
        r.close = c.close;
        EXPECT_EQ(r.Run(c.text), c.events);
    }
    r.Run("<a><b><c x=\"1\">"); // the next run starts at the root again
    EXPECT_EQ(r.Run("<d>"), "TagName d@1; Tag d ");
}

TEST(TXMLParser, RecordsParametersAndTheEndTagText) {
    TXMLParser parser(nullptr);
    TObject data;
    std::string seen;
    parser.OnTag = [&](TObject* sender, TXMLTag& t) {
        const TXMLTag* root = &t;
        while (root->Parent)
            root = root->Parent;
        EXPECT_EQ(sender, &parser);
        EXPECT_EQ(root->Data, &data);
        seen += t.Name + ":" + t.Params + ":" + std::to_string(t.ParamCount()) + ":" + t.Value + "/";
        seen += std::string(t.ParamValue("RADIUS")) + std::string(t.ParamValue("f")) +
                std::string(t.ParamValue("none", "def")) + std::to_string(t.IndexOfParam("FLAG")) +
                std::string(t.ParamNameAt(4)) + std::string(t.ParamValueAt(-1)) + "[" +
                std::string(t.ParamNameAt(0)) + "]\n";
    };
    parser.OnEndTag = [&](TObject*, TXMLTag& t) {
        seen += "end " + t.Name + "/" + std::string(parser.Text());
    };
    parser.Stream() = R"(<a  x="1">text</a><TORNSPHERE Radius="1.5" F="a=b" flag"">)"
                      "</b x!>"; // only letters, digits, ':', '-' and '_' of an end tag are kept
    parser.execute(&data);
    EXPECT_EQ(seen, "a: x=1\n x=1\n:2:/def-1[ x]\n" // a second space stays in the name
                    "end a/aTORNSPHERE:Radius=1.5\nF=a=b\nflag\nflag\n:4:/1.5a=bdef2[Radius]\n"
                    "end TORNSPHERE/bx");
    EXPECT_TRUE(parser.Stream().empty());
}

TEST(TXMLParser, InputFilesProgressAndReentry) {
    TXMLParser parser(nullptr);
    std::vector<double> seen;
    parser.OnProgress = [&](double f) { seen.push_back(f); };
    parser.Stream() = "<a>" + std::string(3997, 'x'); // every 2000 characters and at the end
    parser.execute();
    EXPECT_EQ(seen, (std::vector<double>{0.5, 1.0, 1.0}));
    const auto path = std::filesystem::temp_directory_path() / "orn_txmlparser_test.xml";
    std::ofstream(path) << "<ORNGL version=\"1\"><Objects></Objects></ORNGL>";
    Recorder r;
    r.parser.SetFileName(path.string()); // read when the stream is empty
    r.parser.execute();
    std::filesystem::remove(path);
    EXPECT_NE(r.events.find("Tag ORNGL version=1|version=1|;"), std::string::npos) << r.events;
    EXPECT_TRUE(r.events.ends_with("EndTag Objects@2; Value ORNGL ''; EndTag ORNGL@1")) << r.events;
    r.parser.SetFileName("/nonexistent/dir/scene.orngl");
    EXPECT_THAT([&] { r.parser.execute(); }, ::testing::ThrowsMessage<EOrnError>(::testing::AllOf(
                                                 ::testing::HasSubstr("/nonexistent/dir/scene.orngl"),
                                                 ::testing::HasSubstr("No such file"))));
    parser.OnTag = [&](TObject*, TXMLTag&) {
        parser.Stream() = "<b>";
        parser.execute();
    };
    parser.Stream() = "<a>";
    EXPECT_THROW(parser.execute(), EOrnError);
    parser.OnTag = nullptr; // usable again afterwards
    parser.Stream() = "<a>";
    EXPECT_NO_THROW(parser.execute());
}

TEST(TXMLParser, ConformanceFilesParseToTheEnd) {
    namespace fs = std::filesystem;
    ORN_REQUIRE_CORPUS("xml/xmltest");
    int files = 0;
    for (const char* dir : {"valid/sa", "not-wf/sa", "invalid"})
        for (const auto& entry : fs::directory_iterator(orn::test::CorpusPath("xml/xmltest") / dir)) {
            if (entry.path().extension() != ".xml") continue;
            SCOPED_TRACE(entry.path());
            std::size_t events = 0, progressAtEnd = 0;
            TXMLParser parser(nullptr);
            parser.OnTagName = parser.OnParam = parser.OnTag = parser.OnValue =
                parser.OnEndTag = [&](TObject*, TXMLTag&) { ++events; };
            parser.OnComment = parser.OnSpecial = [&](const std::string&) { ++events; };
            parser.OnProgress = [&](double f) { progressAtEnd += f == 1.0; };
            parser.SetFileName(entry.path().string());
            ASSERT_NO_THROW(parser.execute());
            // Every event but the Param before a closing bracket consumes at least one character.
            EXPECT_LE(events, 2 * fs::file_size(entry.path()) + 1);
            EXPECT_GE(progressAtEnd, 1);
            // UTF-16 files end at their first zero byte; every other valid file has elements.
            std::ifstream in(entry.path(), std::ios::binary);
            EXPECT_TRUE(events > 0 || std::string(dir) != "valid/sa" ||
                        std::find(std::istreambuf_iterator<char>(in), {}, '\0') !=
                            std::istreambuf_iterator<char>());
            ++files;
        }
    EXPECT_GT(files, 100);
}
