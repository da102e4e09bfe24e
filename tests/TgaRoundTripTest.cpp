// Our writer and reader together: every image type and depth comes back field for field and
// byte for byte through a file, RLE rows of awkward run lengths included.
#include "TGAImage.h"
#include "TestSupport.h"
#include "TgaTestSupport.h"

#include <string>
#include <vector>

namespace {

using namespace tgatest;
using TgaRoundTripTest = TempDirTest;

struct Format {
    uint8_t type;
    int depth;
    int mapDepth; // 0 without map
};

const std::vector<Format> kFormats = {
    {1, 8, 16}, {1, 8, 24}, {1, 8, 32},  {9, 8, 16},  {9, 8, 24},  {9, 8, 32}, {2, 16, 0},
    {2, 24, 0}, {2, 32, 0}, {10, 16, 0}, {10, 24, 0}, {10, 32, 0}, {3, 8, 0},  {11, 8, 0},
};

std::vector<uint8_t> bytesOf(const uint8_t* p, size_t n) {
    return p == nullptr ? std::vector<uint8_t>() : std::vector<uint8_t>(p, p + n);
}

void expectSameImage(const TGAImage& a, const TGAImage& b) {
    EXPECT_EQ(a.idLength, b.idLength);
    EXPECT_EQ(a.colourMapType, b.colourMapType);
    EXPECT_EQ(a.imageType, b.imageType);
    EXPECT_EQ(a.colourMapFirst, b.colourMapFirst);
    EXPECT_EQ(a.colourMapLength, b.colourMapLength);
    EXPECT_EQ(a.colourMapDepth, b.colourMapDepth);
    EXPECT_EQ(a.originX, b.originX);
    EXPECT_EQ(a.originY, b.originY);
    EXPECT_EQ(a.width, b.width);
    EXPECT_EQ(a.height, b.height);
    EXPECT_EQ(a.pixelDepth, b.pixelDepth);
    EXPECT_EQ(a.descriptor, b.descriptor);
    EXPECT_EQ(bytesOf(a.imageId, a.idLength), bytesOf(b.imageId, b.idLength));
    const size_t entry = a.colourMapDepth / 8;
    const size_t stored = size_t(a.colourMapFirst) * entry;
    const size_t mapBytes = (size_t(a.colourMapFirst) + a.colourMapLength) * entry;
    EXPECT_EQ(a.colourMap == nullptr, b.colourMap == nullptr);
    if (a.colourMap != nullptr && b.colourMap != nullptr) {
        EXPECT_EQ(bytesOf(a.colourMap + stored, mapBytes - stored),
                  bytesOf(b.colourMap + stored, mapBytes - stored));
    }
    const size_t bytes = size_t(a.width) * a.height * (a.pixelDepth / 8);
    EXPECT_EQ(bytesOf(a.imageData, bytes), bytesOf(b.imageData, bytes));
}

TEST_F(TgaRoundTripTest, EveryTypeAndDepthComesBackUnchanged) {
    // Rows with runs of 1, 2, 128, 129 and 300 equal pixels; a mapped image uses the stretch
    // colours as indices into a map stored from entry 2.
    const std::vector<int> stretches = {1, 2, 128, 129, 300, 1, 1};
    for (const Format& f : kFormats) {
        for (uint8_t descriptor : {0x00, 0x20, 0x10, 0x30}) {
            SCOPED_TRACE("type " + std::to_string(f.type) + ", depth " + std::to_string(f.depth) +
                         ", map depth " + std::to_string(f.mapDepth) + ", descriptor " +
                         std::to_string(descriptor));
            int width = 0;
            std::vector<uint8_t> pixels = stretchedRows(stretches, 4, f.depth / 8, &width);
            OwnedImage image;
            if (f.mapDepth != 0) {
                for (auto& p : pixels) {
                    p = static_cast<uint8_t>(2 + p % 30);
                }
                setImage(&image, f.type, width, 4, f.depth, pixels);
                setMap(&image, 2, 30, f.mapDepth, noise(30 * f.mapDepth / 8, f.mapDepth));
            } else {
                setImage(&image, f.type, width, 4, f.depth, pixels);
            }
            image.descriptor = descriptor;
            image.originX = 7;
            image.originY = 300;
            image.idLength = 3;
            image.imageId = copyBuffer({'a', 0, 'z'});
            ASSERT_EQ(writeTGA("r.tga", &image), kTgaOk);
            OwnedImage back;
            ASSERT_EQ(readTGA(&back, "r.tga"), kTgaOk);
            expectSameImage(image, back);
        }
    }
}

TEST_F(TgaRoundTripTest, RandomPixelsSurviveEveryType) {
    // Noise rarely repeats a pixel, so RLE files here are almost all raw packets of 128.
    for (const Format& f : kFormats) {
        SCOPED_TRACE("type " + std::to_string(f.type) + ", depth " + std::to_string(f.depth));
        const int width = 333, height = 5;
        std::vector<uint8_t> pixels = noise(size_t(width) * height * f.depth / 8, f.type);
        OwnedImage image;
        if (f.mapDepth != 0) {
            setImage(&image, f.type, width, height, f.depth, pixels);
            setMap(&image, 0, 256, f.mapDepth, noise(256 * f.mapDepth / 8, 3));
        } else {
            setImage(&image, f.type, width, height, f.depth, pixels);
        }
        std::vector<uint8_t> file;
        ASSERT_EQ(writeTGAToMemory(&file, &image), kTgaOk);
        OwnedImage back;
        ASSERT_EQ(readTGAFromMemory(&back, file.data(), file.size()), kTgaOk);
        expectSameImage(image, back);
    }
}

TEST_F(TgaRoundTripTest, ConvenienceWritersReadBackAsTheirPixels) {
    const std::vector<uint8_t> pixels = noise(40 * 30 * 4, 21);
    const std::vector<uint8_t> map = noise(256 * 3, 22);
    for (bool rle : {false, true}) {
        SCOPED_TRACE(rle ? "rle" : "raw");
        for (int depth : {16, 24, 32}) {
            ASSERT_EQ(writeTGATrueColour("t.tga", pixels.data(), 40, 30, depth, rle), kTgaOk);
            OwnedImage back;
            ASSERT_EQ(readTGA(&back, "t.tga"), kTgaOk);
            const size_t bytes = size_t(40) * 30 * depth / 8;
            EXPECT_EQ(bytesOf(back.imageData, bytes), bytesOf(pixels.data(), bytes)) << depth;
        }
        ASSERT_EQ(writeTGAMono("m.tga", pixels.data(), 40, 30, rle), kTgaOk);
        OwnedImage mono;
        ASSERT_EQ(readTGA(&mono, "m.tga"), kTgaOk);
        EXPECT_EQ(bytesOf(mono.imageData, 1200), bytesOf(pixels.data(), 1200));
        ASSERT_EQ(writeTGAColourMapped("c.tga", pixels.data(), 40, 30, map.data(), 256, 24, rle),
                  kTgaOk);
        OwnedImage mapped;
        ASSERT_EQ(readTGA(&mapped, "c.tga"), kTgaOk);
        EXPECT_EQ(bytesOf(mapped.imageData, 1200), bytesOf(pixels.data(), 1200));
        EXPECT_EQ(bytesOf(mapped.colourMap, map.size()), map);
    }
}

} // namespace
