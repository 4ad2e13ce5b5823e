#include "support/Image.h"
#include "support/GLTestContext.h"

#include <GL/gl.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <filesystem>

using orn::test::CountPixels;
using orn::test::Image;
using orn::test::Rgba;

namespace {

TEST(Image, SameColorHonoursTheToleranceOnEveryChannel) {
    EXPECT_TRUE(orn::test::SameColor({10, 20, 30, 255}, {12, 18, 30, 253}, 2));
    EXPECT_FALSE(orn::test::SameColor({10, 20, 30, 255}, {10, 20, 30, 252}, 2));
    EXPECT_FALSE(orn::test::SameColor({0, 0, 0, 0}, {3, 0, 0, 0}, 2));
    EXPECT_TRUE(orn::test::SameColor({0, 0, 0, 0}, {3, 0, 0, 0}, 3));
    const auto failure = orn::test::ColorNear({1, 2, 3, 4}, {9, 9, 9, 9}, 0);
    EXPECT_FALSE(failure);
    EXPECT_NE(std::strstr(failure.message(), "(1, 2, 3, 4)"), nullptr) << failure.message();
}

TEST(Image, AtOutsideOrOnAShortBufferIsTransparentBlack) {
    const Image image{2, 2, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}}; // one pixel short
    EXPECT_EQ(image.At(1, 0), (Rgba{5, 6, 7, 8}));
    EXPECT_EQ(image.At(0, 1), (Rgba{9, 10, 11, 12}));
    EXPECT_EQ(image.At(1, 1), (Rgba{0, 0, 0, 0}));
    EXPECT_EQ(image.At(-1, 0), (Rgba{0, 0, 0, 0}));
    EXPECT_EQ(image.At(0, 2), (Rgba{0, 0, 0, 0}));
}

TEST(Image, WritePngWritesAPictureFileAndRefusesBadImages) {
    const Image image{2, 1, {255, 0, 0, 255, 0, 0, 255, 255}};
    const std::string path = orn::test::WritePng(image, "ImageTest-two-pixels");
    ASSERT_FALSE(path.empty());
    std::FILE* file = std::fopen(path.c_str(), "rb");
    ASSERT_NE(file, nullptr);
    unsigned char signature[8] = {};
    EXPECT_EQ(std::fread(signature, 1, 8, file), 8u);
    std::fclose(file);
    EXPECT_EQ(std::memcmp(signature, "\x89PNG\r\n\x1a\n", 8), 0);
    std::filesystem::remove(path);
    EXPECT_EQ(orn::test::WritePng(Image{4, 4, {0, 0, 0, 0}}, "short"), "");
    EXPECT_EQ(orn::test::WritePng(Image{}, "empty"), "");
}

class ImagePixelTest : public orn::test::GLTest {
protected:
    ImagePixelTest() : GLTest(40, 20) {}
};

TEST_F(ImagePixelTest, CountPixelsMeasuresASilhouette) {
    ClearTo(0, 0, 0);
    glMatrixMode(GL_PROJECTION);
    glOrtho(0, 40, 0, 20, -1, 1);
    glMatrixMode(GL_MODELVIEW);
    glColor3f(1, 1, 0);
    glRectf(10, 5, 20, 15); // 10 x 10 pixels
    const Image image = ReadImage();
    EXPECT_EQ(CountPixels(image, {255, 255, 0, 255}), 100u);
    EXPECT_EQ(CountPixels(image, {0, 0, 0, 255}), 40u * 20u - 100u);
    EXPECT_TRUE(orn::test::ColorNear(ReadPixelTop(10, 19 - 5), {255, 255, 0, 255}));
    EXPECT_TRUE(orn::test::ColorNear(ReadPixel(9, 5), {0, 0, 0, 255}));
}

} // namespace
