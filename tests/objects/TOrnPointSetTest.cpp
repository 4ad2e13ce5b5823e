#include "geometry/GeometryTestSupport.h"
#include "support/MemoryExchange.h"

#include <orn/host/EOrnError.h>
#include <orn/objects/TOrnPointSet.h>

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <cmath>
#include <filesystem>
#include <functional>
#include <random>
#include <string>
#include <unistd.h>

using namespace orn;
using orn::test::At;

namespace {

std::string ErrorOf(const std::function<void()>& load) {
    try {
        load();
    } catch (const EOrnError& e) {
        return e.what();
    }
    return {};
}

struct PointSetFixture : ::testing::Test {
    TComponent form{nullptr};
    TOrnPointSet* set = new TOrnPointSet(&form);
    std::filesystem::path dir =
        std::filesystem::temp_directory_path() /
        ("orn-pointset-" + std::to_string(std::random_device{}()) + "-" + std::to_string(::getpid()));

    void SetUp() override { std::filesystem::create_directories(dir); }
    void TearDown() override { std::filesystem::remove_all(dir); }
    std::string ReadError(const std::string& text) {
        return ErrorOf([&] { set->ReadFromText(text, "heights.txt"); });
    }
};

} // namespace

TEST_F(PointSetFixture, MatrixRowsAreLinesOfNumbersInTheFormsOfOtherToolsXYZLinesPointsAndFormatsConvert) {
    set->SetSpacingX(2);
    set->SetSpacingY(0.5);
    set->SetHeightScale(10);
    set->ReadFromText("# terrain\n1 2\t3\r\n\n  4, 5 ,6  \n", "t.txt"); // spaces, tabs or commas
    EXPECT_EQ(std::vector<int>({set->Rows(), set->Columns()}), std::vector<int>({2, 3}));
    EXPECT_EQ(set->Values(), (std::vector<double>{1, 2, 3, 4, 5, 6}));
    set->SetTextured(true);
    set->Init();
    ASSERT_EQ(set->Points()->Count(), 6);
    EXPECT_EQ(std::vector<TOrnMathVector>({At(*set, 0), At(*set, 5), At(*set, 5, daTexture)}),
              std::vector<TOrnMathVector>({{0, 0, 10}, {4, 0.5, 60}, {1, 1, 0}}));

    set->ReadFromText("+1.5 -2e3 .25 7. 1E2 # a comment after the numbers\n", "n.txt");
    EXPECT_EQ(set->Values(), (std::vector<double>{1.5, -2000, 0.25, 7, 100}));
    for (const char* text : {"1 2\r3 4\r", "1 2\r\n3 4\r\n",
                             "\xEF\xBB\xBF"
                             "1 2\n\n3 4"}) {
        set->ReadFromText(text, "n.txt");
        EXPECT_EQ(set->Values(), (std::vector<double>{1, 2, 3, 4})) << text;
        EXPECT_EQ(set->Rows(), 2);
    }
    set->ReadFromText("1e-400 -1e-400 5e-324\n", "n.txt");
    EXPECT_EQ(set->Values(), (std::vector<double>{0, 0, 5e-324}));
    EXPECT_TRUE(std::signbit(set->Values()[1]));

    set = new TOrnPointSet(&form); // x y z lines fill the grid row by row, drawn as up-facing quad strips
    set->SetFormat(pfXYZ);

    set->SetColumns(2);
    set->SetHeightScale(2);
    set->ReadFromText("0 0 1\n1 0 2\n0 1 3\n1 1 4\n0 2 5\n1 2 6\n", "p.xyz");
    EXPECT_EQ(std::vector<int>({set->Rows(), set->Columns()}), std::vector<int>({3, 2}));
    EXPECT_EQ(set->GridPoint(2, 1), (TOrnMathVector{1, 2, 6}));
    set->Init();
    EXPECT_EQ(At(*set, 5), (TOrnMathVector{1, 2, 12}));
    EXPECT_EQ(set->PrimitiveCount(), 2);
    set->SetFormat(pfMatrix);
    set->ReadFromText("0 0 0\n0 0 0\n0 0 0\n", "flat.txt");
    set->Init();
    ASSERT_EQ(set->PrimitiveCount(), 2);
    EXPECT_EQ(orn::test::Entries(set->Primitive(1)), (std::vector<std::uint32_t>{6, 3, 7, 4, 8, 5}));
    for (int i = 0; i < 9; ++i)
        EXPECT_EQ(At(*set, i, daNormal), (TOrnMathVector{0, 0, 1}));

    set->SetSpacingX(2); // a format change converts the grid held
    set->ReadFromText("1 2\n3 4\n", "m.txt");
    set->SetFormat(pfXYZ);
    EXPECT_EQ(set->Values(), (std::vector<double>{0, 0, 1, 2, 0, 2, 0, 1, 3, 2, 1, 4}));
    EXPECT_EQ(set->WriteToText(), "0 0 1\n2 0 2\n0 1 3\n2 1 4\n");
    set->SetFormat(pfMatrix);
    EXPECT_EQ(set->WriteToText(), "1 2\n3 4\n");
}

TEST_F(PointSetFixture, BadFilesAreRefusedNamingFileLineAndReasonKeepingTheGrid) {
    const struct {
        TOrnPointSetFormat format;
        int columns, maxPoints;
        const char *text, *reason;
    } cases[] = {
        {pfMatrix, 0, 0, "1 2 3\n4 5\n", "line 2: the row has 2 values, the first row 3"},
        {pfMatrix, 0, 0, "1 2\n\n3 4 5\n", "line 3: the row has 3 values"},
        {pfMatrix, 0, 0, "1 2\n3 abc\n", "line 2: 'abc' is not a number"},
        {pfMatrix, 0, 0, "0x1\n", "line 1: '0x1' is not a number"},
        {pfMatrix, 0, 0, "+-1\n", "'+-1' is not a number"},
        {pfMatrix, 0, 0, "1 nan\n", "line 1: 'nan' is not a finite number"},
        {pfMatrix, 0, 0, "1 1e999\n", "line 1: '1e999' is out of range"},
        {pfMatrix, 0, 0, "1 2\r1e400 3\r", "line 2: '1e400' is out of range"},
        {pfMatrix, 0, 0, "1 2\r\n3 x\r\n", "line 2: 'x' is not a number"},
        {pfMatrix, 0, 0, "1,,2\n", "line 1: a value is missing between commas"},
        {pfMatrix, 0, 0, "", "the file holds no points"},
        {pfMatrix, 0, 0, "1 2 \x01\n", "line 1: '?' is not a number"},
        {pfMatrix, 0, 5, "1 2 3\n4 5 6\n", "line 2: the file holds more than 5 points"},
        {pfXYZ, 0, 0, "0 0 1\n", "the number of grid columns is not set"},
        {pfXYZ, 2, 0, "0 0 1\n1 0\n", "line 2: a point needs 3 values (x y z), the line has 2"},
        {pfXYZ, 2, 0, "0 0 1\n1 0 1\n\n0 1 1\n\n", "line 4: 3 points do not fill whole rows of 2 columns"},
    };
    for (const auto& c : cases) {
        set = new TOrnPointSet(&form);
        set->SetFormat(c.format);
        if (c.columns) set->SetColumns(c.columns);
        if (c.maxPoints) set->SetMaxPoints(c.maxPoints);
        const std::string msg = ReadError(c.text);
        EXPECT_NE(msg.find("\"heights.txt\""), std::string::npos) << msg;
        EXPECT_NE(msg.find(c.reason), std::string::npos) << "text: " << c.text << "\nmessage: " << msg;
    }
    set->SetFormat(pfMatrix);
    set->SetMaxPoints(5);
    EXPECT_EQ(ReadError("1 2 3 4 5\n"), std::string()); // exactly the limit
    set->Init();
    EXPECT_NE(ReadError("1 2\n3\n"), ""); // a refused file keeps the grid and the geometry
    EXPECT_EQ(set->Values(), (std::vector<double>{1, 2, 3, 4, 5}));
    EXPECT_TRUE(set->Initialized() && set->Points()->Count() == 5);
    set->ReadFromText("5\n", "t.txt");
    EXPECT_FALSE(set->Initialized());
}

TEST_F(PointSetFixture, MissingFilesFoldersAndPipesAreRefusedWithTheirNameAndWrittenFilesReadBackBitForBit) {
    EXPECT_NE(ErrorOf([&] {
                  set->SetFileName("/nonexistent/orn/heights.txt");
              }).find("/nonexistent/orn/heights.txt"),
              std::string::npos);
    EXPECT_EQ(set->FileName(), "");
    EXPECT_NE(ErrorOf([&] { set->LoadFromFile(dir.string()); }).find("it is a folder"), std::string::npos);
    // Opening a FIFO would wait for a writer for ever.
    const std::string fifo = (dir / "heights.txt").string();
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    EXPECT_NE(ErrorOf([&] { set->LoadFromFile(fifo); }).find("not a regular file"), std::string::npos);
    // Read, write, read gives the same grid bit for bit in both formats.
    const std::string text =
        "0.1 -0 1e-300 2.2250738585072014e-308\n1.7976931348623157e308 -123456.78901234567 "
        "3 4.9406564584124654e-324\n";
    for (TOrnPointSetFormat format : {pfMatrix, pfXYZ}) {
        set->SetFormat(pfMatrix);
        set->ReadFromText(text, "in.txt");
        set->SetFormat(format);
        const std::string path = (dir / "out.txt").string();
        set->SaveToFile(path);
        auto* again = new TOrnPointSet(&form);
        again->SetFormat(format);
        again->SetColumns(4);
        again->LoadFromFile(path);
        EXPECT_EQ(again->FileName(), path);
        EXPECT_EQ(std::vector<int>({again->Rows(), again->Columns()}), std::vector<int>({2, 4}));
        EXPECT_EQ(again->Values(), set->Values());
        EXPECT_TRUE(std::signbit(again->Values()[format == pfMatrix ? 1 : 5])); // −0 stays negative
        EXPECT_EQ(again->WriteToText(), set->WriteToText());
    }
}

TEST_F(PointSetFixture, ColourByHeightRunsAlongTheRampAndAFlatGridTakesTheFirst) {
    set->SetColorRamp({clBlue, clLime, clRed});
    set->SetColorByHeight(true);
    set->SetHeightScale(-1); // the ramp follows the drawn heights
    set->ReadFromText("0 5 10\n", "c.txt");
    set->Init();
    EXPECT_TRUE(set->Points()->EnabledArrays().Contains(daColor));
    auto color = [&](int i) {
        std::vector<double> rgba;
        for (int k = 0; k < 4; ++k)
            rgba.push_back(set->Points()->GetValues(i, k, daColor));
        return rgba;
    };
    // Highest drawn: red; lowest drawn: blue.
    EXPECT_EQ((std::vector{color(0), color(1), color(2)}),
              (std::vector<std::vector<double>>{{1, 0, 0, 1}, {0, 1, 0, 1}, {0, 0, 1, 1}}));
    set->SetColorRamp({clYellow});
    set->ReadFromText("2 2\n2 2\n", "c.txt");
    set->Init();
    EXPECT_EQ(color(3), (std::vector<double>{1, 1, 0, 1}));
    set->SetColorByHeight(false);
    set->Init();
    EXPECT_FALSE(set->Points()->EnabledArrays().Contains(daColor));
}

TEST_F(PointSetFixture, SceneKeepsTheDataBesideItAndIgnoresReferencesLeadingOutside) {
    set->SetFormat(pfXYZ);
    set->SetColumns(2);
    set->ReadFromText("0 0 1\n1 0 2\n0 1 3\n1 1 4\n", "p.xyz");
    test::MemoryExchange ex;
    ex.folder = dir.string();
    ex.Save(*set);
    const std::string file = *ex.root.Find("FileName");
    EXPECT_EQ(std::filesystem::path(file).extension(), ".xyz");
    ASSERT_TRUE(std::filesystem::exists(dir / file));
    auto* other = new TOrnPointSet(&form);
    ex.Load(*other);
    EXPECT_TRUE(other->Format() == pfXYZ && other->Rows() == 2);
    EXPECT_EQ(other->Values(), set->Values());
    auto* outside = new TOrnPointSet(&form);
    ex.Set("FileName", "../../etc/passwd");
    ex.Load(*outside);
    EXPECT_TRUE(outside->Values().empty());
}
