#include <orn/host/EOrnError.h>
#include <orn/io/TXMLParser.h>

#include "support/Corpora.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

using namespace orn;

namespace {

std::string lines(const std::string& params) {
    std::string out;
    for (char c : params)
        out += c == '\n' ? '|' : c;
    return out;
}

// Writes every event as one line of text: the kind, the record's name and what the event is about.
struct Recorder {
    TXMLParser parser{nullptr};
    std::vector<std::string> events;

    Recorder() {
        parser.OnTagName = [this](TObject*, TXMLTag& t) {
            events.push_back("TagName " + t.Name + "@" + std::to_string(t.Depth));
        };
        parser.OnParam = [this](TObject*, TXMLTag& t) {
            events.push_back("Param " + t.Name + " " + std::string(parser.Text()));
        };
        parser.OnTag = [this](TObject*, TXMLTag& t) {
            events.push_back("Tag " + t.Name + " " + lines(t.Params));
        };
        parser.OnValue = [this](TObject*, TXMLTag& t) {
            events.push_back("Value " + t.Name + " '" + t.Value + "'");
        };
        parser.OnEndTag = [this](TObject*, TXMLTag& t) {
            events.push_back("EndTag " + t.Name + "@" + std::to_string(t.Depth));
        };
        parser.OnComment = [this](const std::string& s) { events.push_back("Comment " + s); };
        parser.OnSpecial = [this](const std::string& s) { events.push_back("Special " + s); };
    }

    std::vector<std::string> run(const std::string& text) {
        events.clear();
        parser.Stream() = text;
        parser.execute();
        return events;
    }
};

using Events = std::vector<std::string>;

} // namespace

TEST(TXMLParserElements, AttributesFireParamPerValueAndOnceMoreBeforeTheClosingBracket) {
    Recorder r;
    EXPECT_EQ(r.run(R"(<a x="1" y="2">v</a>)"),
              (Events{"TagName a@1", "Param a x=1", "Param a y=2", "Param a y=2", "Tag a x=1|y=2|y=2|",
                      "Value a 'v'", "EndTag a@1"}));
}

TEST(TXMLParserElements, LineBreakBetweenTagsIsTheValue) {
    Recorder r;
    EXPECT_EQ(r.run("<a>\n<b>"), (Events{"TagName a@1", "Tag a ", "Value a '\n'", "TagName b@2", "Tag b "}));
}

TEST(TXMLParserElements, NestingSetsDepthAndEndTagsPopInOrder) {
    Recorder r;
    EXPECT_EQ(r.run("junk<r><a>1</a><b>2</b></r>tail"),
              (Events{"TagName r@1", "Tag r ", "Value r ''", "TagName a@2", "Tag a ", "Value a '1'",
                      "EndTag a@2", "Value r ''", "TagName b@2", "Tag b ", "Value b '2'", "EndTag b@2",
                      "Value r ''", "EndTag r@1"}));
}

TEST(TXMLParserQuirks, EndTagNameIsNeverCompared) {
    Recorder r;
    std::string endName;
    r.parser.OnEndTag = [&](TObject*, TXMLTag& t) { endName = t.Name + "/" + std::string(r.parser.Text()); };
    r.run("<a></b x!>");
    // Only letters, digits, ':', '-' and '_' of the end tag are kept.
    EXPECT_EQ(endName, "a/bx");
}

TEST(TXMLParserQuirks, EmptyElementShorthandFiresNoStartEvent) {
    Recorder r;
    EXPECT_EQ(r.run("<a/>"), (Events{"EndTag @1"}));
    EXPECT_EQ(r.run(R"(<a x="1"/>)"),
              (Events{"TagName a@1", "Param a x=1", "Param a x=1", "Tag a x=1|x=1|", "EndTag a@1"}));
}

TEST(TXMLParserQuirks, OnlyTheSpaceSeparatesTheName) {
    Recorder r;
    EXPECT_EQ(r.run("<a\tb\nc>"), (Events{"TagName a\tb\nc@1", "Tag a\tb\nc "}));
}

TEST(TXMLParserQuirks, SpaceBeforeClosingBracketLosesTheStartEvent) {
    Recorder r;
    EXPECT_EQ(r.run(R"(<a x="1" >v</a>)"),
              (Events{"TagName a@1", "Param a x=1", "Value a 'v'", "EndTag a@1"}));
}

TEST(TXMLParserQuirks, SecondSpaceIsKeptInTheAttribute) {
    Recorder r;
    const TXMLTag* seen = nullptr;
    std::string name;
    r.parser.OnTag = [&](TObject*, TXMLTag& t) {
        seen = &t;
        name = t.ParamNameAt(0);
    };
    r.run(R"(<a  x="1">)");
    ASSERT_NE(seen, nullptr);
    EXPECT_EQ(name, " x");
}

TEST(TXMLParserQuirks, SlashInsideQuotesEndsTheStartTag) {
    Recorder r;
    EXPECT_EQ(r.run(R"(<a x="1/2">)"), (Events{"TagName a@1", "Param a x=1", "Tag a x=1|", "EndTag a@1"}));
}

TEST(TXMLParserSpecial, DeclarationAtTheTopLeavesDepthZero) {
    Recorder r;
    EXPECT_EQ(r.run(R"(<?xml version="1.0"?><r></r>)"),
              (Events{R"(Special <?xml version="1.0"?>)", "EndTag @1", "Value  ''", "TagName r@1", "Tag r ",
                      "Value r ''", "EndTag r@1"}));
}

TEST(TXMLParserSpecial, DeclarationInsideAnElementPopsIt) {
    Recorder r;
    EXPECT_EQ(r.run("<a><!DOCTYPE x><b>"),
              (Events{"TagName a@1", "Tag a ", "Value a ''", "Special <!DOCTYPE x>", "EndTag a@1",
                      "Value  ''", "TagName b@1", "Tag b "}));
}

TEST(TXMLParserSpecial, CommentNeedsTwoDashesBeforeItsEnd) {
    Recorder r;
    EXPECT_EQ(r.run("<a><!-- x -> y -- z --></a>"),
              (Events{"TagName a@1", "Tag a ", "Value a ''", "Comment <!-- x - y -- z -->", "Value a ''",
                      "EndTag a@1"}));
    EXPECT_EQ(r.run("<!---->"), (Events{"Comment <!---->"}));
}

TEST(TXMLParserCloseFlag, OneInOnTagMakesTheElementEmpty) {
    Recorder r;
    auto record = r.parser.OnTag;
    r.parser.OnTag = [&](TObject* s, TXMLTag& t) {
        record(s, t);
        if (t.Name == "a") t.Close = 1;
    };
    // The element closes right after its start event; its own end tag then closes the parent.
    EXPECT_EQ(r.run("<r><a>text</a></r>"),
              (Events{"TagName r@1", "Tag r ", "Value r ''", "TagName a@2", "Tag a ", "EndTag a@2",
                      "Value r 'text'", "EndTag r@1", "EndTag @0"}));
    EXPECT_EQ(r.parser.Current().Depth, 0);
}

TEST(TXMLParserCloseFlag, TwoKeepsTheRecordForOneEndTag) {
    Recorder r;
    auto record = r.parser.OnTag;
    r.parser.OnTag = [&](TObject* s, TXMLTag& t) {
        record(s, t);
        if (t.Name == "b") t.Close = 2;
    };
    EXPECT_EQ(r.run("<a><b></b><c></c></a>"),
              (Events{"TagName a@1", "Tag a ", "Value a ''", "TagName b@2", "Tag b ", "Value b ''",
                      "EndTag b@2", "Value b ''", "TagName c@3", "Tag c ", "Value c ''", "EndTag c@3",
                      "Value b ''", "EndTag b@2"}));
    EXPECT_EQ(r.parser.Current().Name, "a");
    EXPECT_EQ(r.parser.Current().Close, 0);
}

TEST(TXMLParserInput, ZeroByteEndsTheInput) {
    Recorder r;
    EXPECT_EQ(r.run(std::string("<a>x\0<b></b>", 12)), (Events{"TagName a@1", "Tag a "}));
}

TEST(TXMLParserInput, ProgressEveryTwoThousandCharactersAndAtTheEnd) {
    TXMLParser parser(nullptr);
    std::vector<double> seen;
    parser.OnProgress = [&](double f) { seen.push_back(f); };
    parser.Stream() = "<a>" + std::string(3997, 'x');
    parser.execute();
    EXPECT_EQ(seen, (std::vector<double>{0.5, 1.0, 1.0}));
    seen.clear();
    parser.Stream() = std::string(3999, ' ');
    parser.execute();
    EXPECT_EQ(seen.size(), 2u);
}

TEST(TXMLParserInput, DataSitsInTheRootRecordAndTheStreamIsClearedAfterwards) {
    TXMLParser parser(nullptr);
    TObject data;
    TObject* found = nullptr;
    parser.OnTag = [&](TObject* sender, TXMLTag& t) {
        EXPECT_EQ(sender, &parser);
        const TXMLTag* p = &t;
        while (p->Parent)
            p = p->Parent;
        found = p->Data;
    };
    parser.Stream() = "<a><b>";
    parser.execute(&data);
    EXPECT_EQ(found, &data);
    EXPECT_TRUE(parser.Stream().empty());
}

TEST(TXMLParserInput, LoadsFileNameWhenTheStreamIsEmpty) {
    const auto path = std::filesystem::temp_directory_path() / "orn_txmlparser_test.xml";
    std::ofstream(path) << "<ORNGL version=\"1\"><Objects></Objects></ORNGL>";
    Recorder r;
    r.parser.SetFileName(path.string());
    r.parser.execute();
    std::filesystem::remove(path);
    ASSERT_EQ(r.events.size(), 11u);
    EXPECT_EQ(r.events[3], "Tag ORNGL version=1|version=1|");
    EXPECT_EQ(r.events[10], "EndTag ORNGL@1");
}

TEST(TXMLParserInput, MissingFileThrowsWithNameAndReason) {
    TXMLParser parser(nullptr);
    parser.SetFileName("/nonexistent/dir/scene.orngl");
    try {
        parser.execute();
        FAIL() << "no exception";
    } catch (const EOrnError& e) {
        EXPECT_NE(std::string(e.what()).find("/nonexistent/dir/scene.orngl"), std::string::npos);
        EXPECT_NE(std::string(e.what()).find("No such file"), std::string::npos);
    }
}

TEST(TXMLParserInput, ExecuteFromAHandlerThrows) {
    TXMLParser parser(nullptr);
    parser.OnTag = [&](TObject*, TXMLTag&) {
        parser.Stream() = "<b>";
        parser.execute();
    };
    parser.Stream() = "<a>";
    EXPECT_THROW(parser.execute(), EOrnError);
    // The parser is usable again afterwards.
    parser.OnTag = nullptr;
    parser.Stream() = "<a>";
    EXPECT_NO_THROW(parser.execute());
}

TEST(TXMLParserInput, EachRunStartsAtTheRoot) {
    Recorder r;
    r.run("<a><b><c x=\"1\">");
    EXPECT_EQ(r.run("<d>"), (Events{"TagName d@1", "Tag d "}));
}

TEST(TXMLParserRecords, ReusedRecordsStartEmpty) {
    TXMLParser parser(nullptr);
    std::vector<std::string> seen;
    parser.OnTag = [&](TObject*, TXMLTag& t) {
        seen.push_back(t.Name + ":" + t.Params + ":" + std::to_string(t.ParamCount()) + ":" + t.Value);
    };
    parser.Stream() = "<a x=\"1\">text</a><b></b>";
    parser.execute();
    EXPECT_EQ(seen, (std::vector<std::string>{"a:x=1\nx=1\n:2:", "b::0:"}));
}

TEST(TXMLParserRecords, ParamLookupIgnoresCaseAndSplitsAtTheFirstEqualSign) {
    TXMLParser parser(nullptr);
    std::string radius, formula, missing, bare, outOfRange = "unset";
    int count = 0;
    parser.OnTag = [&](TObject*, TXMLTag& t) {
        radius = t.ParamValue("RADIUS");
        formula = t.ParamValue("f");
        missing = t.ParamValue("none", "default");
        bare = t.IndexOfParam("FLAG") == 2 ? std::string(t.ParamValueAt(2)) + "present" : "absent";
        outOfRange = std::string(t.ParamNameAt(4)) + std::string(t.ParamValueAt(-1));
        count = t.ParamCount();
    };
    parser.Stream() = R"(<TORNSPHERE Radius="1.5" F="a=b" flag"">)";
    parser.execute();
    EXPECT_EQ(radius, "1.5");
    EXPECT_EQ(formula, "a=b");
    EXPECT_EQ(missing, "default");
    EXPECT_EQ(bare, "present");
    EXPECT_EQ(count, 4);
    EXPECT_EQ(outOfRange, "");
}

TEST(TXMLParserCorpus, ConformanceFilesParseToTheEnd) {
    namespace fs = std::filesystem;
    ORN_REQUIRE_CORPUS("xml/xmltest");
    const fs::path root = orn::test::CorpusPath("xml/xmltest");
    int files = 0;
    for (const char* dir : {"valid/sa", "not-wf/sa", "invalid"}) {
        for (const auto& entry : fs::directory_iterator(root / dir)) {
            if (entry.path().extension() != ".xml") continue;
            Recorder r;
            int progressAtEnd = 0;
            r.parser.OnProgress = [&](double f) { progressAtEnd += f == 1.0; };
            r.parser.SetFileName(entry.path().string());
            ASSERT_NO_THROW(r.parser.execute()) << entry.path();
            const auto size = fs::file_size(entry.path());
            // Every event but the Param before a closing bracket consumes at least one character.
            EXPECT_LE(r.events.size(), 2 * size + 1) << entry.path();
            EXPECT_GE(progressAtEnd, 1) << entry.path();
            // UTF-16 files end at their first zero byte; every other valid file has elements.
            std::ifstream in(entry.path(), std::ios::binary);
            const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
            if (std::string(dir) == "valid/sa" && bytes.find('\0') == std::string::npos) {
                EXPECT_FALSE(r.events.empty()) << entry.path();
            }
            ++files;
        }
    }
    EXPECT_GT(files, 100);
}
