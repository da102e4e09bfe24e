// Interoperability with ImageMagick's `convert`, an independent TGA implementation: files it
// writes must read as it reads them, and files we write must read in ImageMagick as we read them.
//
// ImageMagick (6.9) keeps TGA rows in file order and records the descriptor as the image
// orientation; `-auto-orient` applies it. So each file is compared in stored order against plain
// `convert` and as shown (descriptor applied) against `convert -auto-orient`. When it writes a
// TGA, ImageMagick stores the source's rows top row first whatever orientation it puts in the
// descriptor, so its files are also compared in stored order against the source itself.
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
    for (int i = 0; i < w * h; ++i) {
        int x = i % w, y = i / w;
        if (shown) {
            x = (image.descriptor & kRightToLeft) ? w - 1 - x : x;
            y = (image.descriptor & kTopToBottom) ? y : h - 1 - y;
        }
        uint8_t b = 0, g = 0, r = 0, a = 0;
        EXPECT_EQ(getPixel(&image, x, y, &b, &g, &r, &a), kTgaOk);
        rgba.insert(rgba.end(), {r, g, b, a});
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

enum Source { kColour, kGrey, kAlpha };

// The source image as RGBA, top row first.
std::vector<uint8_t> sourceRgba(Source kind) {
    std::vector<uint8_t> rgba;
    for (int i = 0; i < kWidth * kHeight; ++i) {
        const int x = i % kWidth, y = i / kWidth;
        for (int c = 0; c < 3; ++c) {
            rgba.push_back(channel(x, y, kind == kGrey ? 0 : c));
        }
        rgba.push_back(kind == kAlpha ? static_cast<uint8_t>(x * 6 + y) : 255);
    }
    return rgba;
}

// Writes the source as PPM, PGM or PAM (with alpha) and returns its name.
std::string writeSource(Source kind) {
    const std::vector<uint8_t> rgba = sourceRgba(kind);
    const size_t channels = kind == kColour ? 3 : kind == kGrey ? 1 : 4;
    const std::string size = std::to_string(kWidth) + " " + std::to_string(kHeight);
    const char* const names[] = {"src.ppm", "src.pgm", "src.pam"};
    std::string text = kind == kColour ? "P6\n" + size + "\n255\n"
                       : kind == kGrey ? "P5\n" + size + "\n255\n"
                                       : "P7\nWIDTH " + std::to_string(kWidth) + "\nHEIGHT " +
                                             std::to_string(kHeight) +
                                             "\nDEPTH 4\nMAXVAL 255\nTUPLTYPE RGB_ALPHA\nENDHDR\n";
    for (size_t i = 0; i < rgba.size(); ++i) {
        if (i % 4 < channels) {
            text.push_back(static_cast<char>(rgba[i]));
        }
    }
    writeBytes(names[kind], std::vector<uint8_t>(text.begin(), text.end()));
    return names[kind];
}

// A file ImageMagick writes from a source with the given arguments, and what it must hold.
struct TheirFormat {
    const char* name;
    Source source;
    const char* args;
    uint8_t type;
    int depth;
};

void PrintTo(const TheirFormat& f, std::ostream* os) {
    *os << f.args;
}

class TgaFromImageMagickTest : public TempDirTest,
                               public ::testing::WithParamInterface<TheirFormat> {};

TEST_P(TgaFromImageMagickTest, ReadsAsImageMagickReadsItInEveryOrientation) {
    if (!haveConvert()) {
        GTEST_SKIP() << "ImageMagick's convert is not installed";
    }
    const TheirFormat& f = GetParam();
    const std::string source = writeSource(f.source);
    const std::vector<std::pair<const char*, uint8_t>> orientations = {
        {"BottomLeft", 0x00}, {"TopLeft", 0x20}, {"BottomRight", 0x10}, {"TopRight", 0x30}};
    for (const auto& [orientation, bits] : orientations) {
        SCOPED_TRACE(std::string(f.args) + " -orient " + orientation);
        convert(source + " " + f.args + " -orient " + orientation + " im.tga");
        const std::vector<uint8_t> file = readBytes("im.tga");
        ASSERT_GE(file.size(), kHeaderSize);
        EXPECT_EQ(file[2], f.type) << "the image type asked for";
        OwnedImage image;
        ASSERT_EQ(readTGA(&image, "im.tga"), kTgaOk);
        EXPECT_EQ(image.pixelDepth, f.depth);
        EXPECT_EQ(image.descriptor & 0x30, bits);
        EXPECT_EQ(image.width, kWidth);
        EXPECT_EQ(image.height, kHeight);
        // At 16 bits the source is rounded to 5 bits by ImageMagick's own rules; only its
        // reading of the file says what the file holds.
        if (f.depth != 16) {
            expectSamePixels(ourRgba(image, false), sourceRgba(f.source), "source, stored order");
        }
        expectReadAlike(image, "im.tga");
    }
}

INSTANTIATE_TEST_SUITE_P(
    Types, TgaFromImageMagickTest,
    ::testing::Values(TheirFormat{"TrueColour", kColour, "-type TrueColor -compress None", 2, 24},
                      TheirFormat{"TrueColourRle", kColour, "-type TrueColor -compress RLE", 10,
                                  24},
                      TheirFormat{"Depth16", kColour, "-depth 5 -compress None", 2, 16},
                      TheirFormat{"Depth16Rle", kColour, "-depth 5 -compress RLE", 10, 16},
                      TheirFormat{"Alpha", kAlpha, "-type TrueColorAlpha -compress None", 2, 32},
                      TheirFormat{"AlphaRle", kAlpha, "-type TrueColorAlpha -compress RLE", 10, 32},
                      TheirFormat{"Palette", kColour, "-type Palette -compress None", 1, 8},
                      TheirFormat{"PaletteRle", kColour, "-type Palette -compress RLE", 9, 8},
                      TheirFormat{"Grey", kGrey, "-type Grayscale -compress None", 3, 8},
                      TheirFormat{"GreyRle", kGrey, "-type Grayscale -compress RLE", 11, 8}),
    [](const ::testing::TestParamInfo<TheirFormat>& info) { return info.param.name; });

// A file we write: type, pixel depth and map depth (0 without map).
struct OurFormat {
    uint8_t type;
    int depth, mapDepth;
};

void PrintTo(const OurFormat& f, std::ostream* os) {
    *os << "type " << int(f.type) << ", depth " << f.depth << ", map depth " << f.mapDepth;
}

class TgaToImageMagickTest : public TempDirTest, public ::testing::WithParamInterface<OurFormat> {};

TEST_P(TgaToImageMagickTest, ReadsInImageMagickAsWeReadItInEveryOrientation) {
    if (!haveConvert()) {
        GTEST_SKIP() << "ImageMagick's convert is not installed";
    }
    const OurFormat& f = GetParam();
    for (uint8_t descriptor : {0x00, 0x20, 0x10, 0x30}) {
        SCOPED_TRACE("descriptor " + std::to_string(descriptor));
        std::vector<uint8_t> pixels;
        for (int i = 0; i < kWidth * kHeight * f.depth / 8; ++i) {
            pixels.push_back(
                channel(i / (f.depth / 8) % kWidth, i / (f.depth / 8) / kWidth, i % (f.depth / 8)));
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
                                           OurFormat{3, 8, 0}, OurFormat{11, 8, 0}),
                         [](const ::testing::TestParamInfo<OurFormat>& info) {
                             const OurFormat& f = info.param;
                             return "Type" + std::to_string(f.type) + "Depth" +
                                    std::to_string(f.depth) +
                                    (f.mapDepth ? "Map" + std::to_string(f.mapDepth) : "");
                         });

} // namespace
