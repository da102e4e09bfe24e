// Interoperability with ImageMagick's `convert`, an independent TGA implementation: files it
// writes must read as it reads them, and files we write must read in ImageMagick as we read them.
//
// ImageMagick keeps TGA rows in file order and records the descriptor as the image orientation;
// `-auto-orient` applies it. So each file is compared twice: in stored order against plain
// `convert`, and as shown (descriptor applied) against `convert -auto-orient`.
#include "TGAImage.h"
#include "TestSupport.h"
#include "TgaTestSupport.h"

#include <cstdlib>
#include <string>
#include <vector>

namespace {

using namespace tgatest;

constexpr int kWidth = 40;
constexpr int kHeight = 30;
constexpr uint8_t kRightToLeft = 0x10;
constexpr uint8_t kTopToBottom = 0x20;

bool haveConvert() {
    return std::system("convert -version > /dev/null 2>&1") == 0;
}

// Runs convert with the given arguments; fails the test when it does not succeed.
void convert(const std::string& args) {
    const std::string command = "convert " + args + " 2> convert-errors.txt";
    ASSERT_EQ(std::system(command.c_str()), 0) << command;
}

// RGBA bytes as ImageMagick reads a file, in stored order and shown with the descriptor
// applied, from one run of convert.
struct TheirRgba {
    std::vector<uint8_t> stored, shown;
};
TheirRgba theirRgba(const std::string& file) {
    convert(file + " -depth 8 \\( +clone -auto-orient -write rgba:shown.rgba +delete \\)" +
            " rgba:stored.rgba");
    return {readBytes("stored.rgba"), readBytes("shown.rgba")};
}

// RGBA bytes as we read the image, through getPixel so that maps and 16 bits unpack as ours do.
std::vector<uint8_t> ourRgba(const TGAImage& image, bool shown) {
    std::vector<uint8_t> rgba;
    const int w = image.width, h = image.height;
    for (int row = 0; row < h; ++row) {
        for (int column = 0; column < w; ++column) {
            int x = column, y = row;
            if (shown) {
                x = (image.descriptor & kRightToLeft) ? w - 1 - column : column;
                y = (image.descriptor & kTopToBottom) ? row : h - 1 - row;
            }
            uint8_t b = 0, g = 0, r = 0, a = 0;
            EXPECT_EQ(getPixel(&image, x, y, &b, &g, &r, &a), kTgaOk);
            rgba.insert(rgba.end(), {r, g, b, a});
        }
    }
    return rgba;
}

// 16-bit channels are compared at their stored 5 bits: ImageMagick widens them by scaling, we
// by bit replication, which differ by at most one. Their alpha bit is not compared.
std::vector<uint8_t> comparable(std::vector<uint8_t> rgba, bool fiveBit) {
    if (!fiveBit) {
        return rgba;
    }
    for (size_t i = 0; i < rgba.size(); ++i) {
        rgba[i] = (i % 4 == 3) ? 0 : static_cast<uint8_t>((rgba[i] * 31 + 127) / 255);
    }
    return rgba;
}

// Reports the first differing pixel rather than two long byte lists.
void expectSamePixels(const std::vector<uint8_t>& ours, const std::vector<uint8_t>& theirs,
                      const char* order) {
    ASSERT_EQ(ours.size(), theirs.size()) << order;
    for (size_t i = 0; i < ours.size(); ++i) {
        if (ours[i] != theirs[i]) {
            const size_t pixel = i / 4;
            ADD_FAILURE() << order << ": pixel " << pixel % kWidth << ", " << pixel / kWidth
                          << " channel " << i % 4 << " is " << int(ours[i]) << " for us, "
                          << int(theirs[i]) << " for ImageMagick";
            return;
        }
    }
}

void expectReadAlike(const TGAImage& ours, const std::string& file) {
    const bool fiveBit = ours.pixelDepth == 16 || ours.colourMapDepth == 16;
    const TheirRgba theirs = theirRgba(file);
    expectSamePixels(comparable(ourRgba(ours, false), fiveBit), comparable(theirs.stored, fiveBit),
                     "stored order");
    expectSamePixels(comparable(ourRgba(ours, true), fiveBit), comparable(theirs.shown, fiveBit),
                     "as shown");
}

// Stretches of 8 equal pixels and every fifth row equal to the one above, so that RLE writers
// find runs, some reaching across row ends; few enough colours for a palette.
uint8_t channel(int x, int y, int c) {
    const int row = (y % 5 == 4) ? y - 1 : y;
    return static_cast<uint8_t>((x / 8) * 50 + row * (7 + c * 3) + c * 20);
}

void writeText(const std::string& name, const std::string& text) {
    writeBytes(name, std::vector<uint8_t>(text.begin(), text.end()));
}

void writeSources() {
    std::string rgb, grey, rgba;
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) {
            for (int c = 0; c < 3; ++c) {
                rgb.push_back(static_cast<char>(channel(x, y, c)));
                rgba.push_back(static_cast<char>(channel(x, y, c)));
            }
            rgba.push_back(static_cast<char>(x * 6 + y));
            grey.push_back(static_cast<char>(channel(x, y, 0)));
        }
    }
    const std::string size = std::to_string(kWidth) + " " + std::to_string(kHeight);
    writeText("src.ppm", "P6\n" + size + "\n255\n" + rgb);
    writeText("src.pgm", "P5\n" + size + "\n255\n" + grey);
    writeText("src.pam", "P7\nWIDTH " + std::to_string(kWidth) + "\nHEIGHT " +
                             std::to_string(kHeight) +
                             "\nDEPTH 4\nMAXVAL 255\nTUPLTYPE RGB_ALPHA\nENDHDR\n" + rgba);
}

// A file ImageMagick writes from a source with the given arguments, and what it must hold.
struct TheirFormat {
    const char* source;
    const char* args;
    uint8_t type;
    int depth;
};

class TgaFromImageMagickTest : public TempDirTest,
                               public ::testing::WithParamInterface<TheirFormat> {};

TEST_P(TgaFromImageMagickTest, ReadsAsImageMagickReadsItInEveryOrientation) {
    if (!haveConvert()) {
        GTEST_SKIP() << "ImageMagick's convert is not installed";
    }
    writeSources();
    const TheirFormat& f = GetParam();
    const std::vector<std::pair<const char*, uint8_t>> orientations = {
        {"BottomLeft", 0x00}, {"TopLeft", 0x20}, {"BottomRight", 0x10}, {"TopRight", 0x30}};
    for (const auto& [orientation, bits] : orientations) {
        SCOPED_TRACE(std::string(f.args) + " -orient " + orientation);
        convert(std::string(f.source) + " " + f.args + " -orient " + orientation + " im.tga");
        const std::vector<uint8_t> file = readBytes("im.tga");
        ASSERT_GE(file.size(), kHeaderSize);
        EXPECT_EQ(file[2], f.type) << "the image type asked for";
        OwnedImage image;
        ASSERT_EQ(readTGA(&image, "im.tga"), kTgaOk);
        EXPECT_EQ(image.pixelDepth, f.depth);
        EXPECT_EQ(image.descriptor & 0x30, bits);
        EXPECT_EQ(image.width, kWidth);
        EXPECT_EQ(image.height, kHeight);
        expectReadAlike(image, "im.tga");
    }
}

INSTANTIATE_TEST_SUITE_P(
    Types, TgaFromImageMagickTest,
    ::testing::Values(TheirFormat{"src.ppm", "-type TrueColor -compress None", 2, 24},
                      TheirFormat{"src.ppm", "-type TrueColor -compress RLE", 10, 24},
                      TheirFormat{"src.ppm", "-depth 5 -compress None", 2, 16},
                      TheirFormat{"src.ppm", "-depth 5 -compress RLE", 10, 16},
                      TheirFormat{"src.pam", "-type TrueColorAlpha -compress None", 2, 32},
                      TheirFormat{"src.pam", "-type TrueColorAlpha -compress RLE", 10, 32},
                      TheirFormat{"src.ppm", "-type Palette -compress None", 1, 8},
                      TheirFormat{"src.ppm", "-type Palette -compress RLE", 9, 8},
                      TheirFormat{"src.pgm", "-type Grayscale -compress None", 3, 8},
                      TheirFormat{"src.pgm", "-type Grayscale -compress RLE", 11, 8}));

// A file we write: type, pixel depth and map depth (0 without map).
struct OurFormat {
    uint8_t type;
    int depth, mapDepth;
};

class TgaToImageMagickTest : public TempDirTest, public ::testing::WithParamInterface<OurFormat> {};

TEST_P(TgaToImageMagickTest, ReadsInImageMagickAsWeReadItInEveryOrientation) {
    if (!haveConvert()) {
        GTEST_SKIP() << "ImageMagick's convert is not installed";
    }
    const OurFormat& f = GetParam();
    for (uint8_t descriptor : {0x00, 0x20, 0x10, 0x30}) {
        SCOPED_TRACE("descriptor " + std::to_string(descriptor));
        const int bpp = f.depth / 8;
        std::vector<uint8_t> pixels;
        for (int y = 0; y < kHeight; ++y) {
            for (int x = 0; x < kWidth; ++x) {
                for (int k = 0; k < bpp; ++k) {
                    pixels.push_back(channel(x, y, k));
                }
            }
        }
        OwnedImage image;
        setImage(&image, f.type, kWidth, kHeight, f.depth, pixels);
        if (f.mapDepth != 0) {
            setMap(&image, 0, 256, f.mapDepth, noise(256 * f.mapDepth / 8, f.type));
        }
        // Alpha bits as TGA 2.0 expects them: 8 for 32-bit pixels or entries.
        image.descriptor = descriptor | ((f.depth == 32 || f.mapDepth == 32) ? 8 : 0);
        ASSERT_EQ(writeTGA("ours.tga", &image), kTgaOk);
        expectReadAlike(image, "ours.tga");
    }
}

INSTANTIATE_TEST_SUITE_P(Types, TgaToImageMagickTest,
                         ::testing::Values(OurFormat{1, 8, 16}, OurFormat{1, 8, 24},
                                           OurFormat{1, 8, 32}, OurFormat{9, 8, 16},
                                           OurFormat{9, 8, 24}, OurFormat{9, 8, 32},
                                           OurFormat{2, 16, 0}, OurFormat{2, 24, 0},
                                           OurFormat{2, 32, 0}, OurFormat{10, 16, 0},
                                           OurFormat{10, 24, 0}, OurFormat{10, 32, 0},
                                           OurFormat{3, 8, 0}, OurFormat{11, 8, 0}));

} // namespace
