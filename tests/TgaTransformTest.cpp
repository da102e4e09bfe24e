// TGA transforms and pixel access: mirroring, depth conversion (with hand-computed A1R5G5B5
// values), colour-map removal, desaturation weights, and bounds checks.
#include "TGAImage.h"
#include "TgaTestSupport.h"

#include <climits>
#include <string>
#include <vector>

namespace {

using namespace tgatest;

std::vector<uint8_t> pixelBytes(const TGAImage& image, size_t bytes) {
    return std::vector<uint8_t>(image.imageData, image.imageData + bytes);
}

TEST(TgaFlipTest, EachFlipMirrorsItsAxisAndTwiceRestoresTheImage) {
    struct Case {
        uint8_t type;
        int depth, width, height;
    };
    const std::vector<Case> cases = {{3, 8, 5, 4},   {2, 16, 4, 3}, {2, 24, 7, 5},
                                     {10, 32, 6, 6}, {1, 8, 1, 1},  {2, 24, 1, 6}};
    for (const Case& c : cases) {
        SCOPED_TRACE("depth " + std::to_string(c.depth) + ", " + std::to_string(c.width) + " x " +
                     std::to_string(c.height));
        const size_t bpp = c.depth / 8;
        const std::vector<uint8_t> original = noise(c.width * c.height * bpp, c.depth + c.width);
        std::vector<uint8_t> mirrored, upsideDown;
        for (int y = 0; y < c.height; ++y) {
            for (int x = 0; x < c.width; ++x) {
                const size_t m = (size_t(y) * c.width + (c.width - 1 - x)) * bpp;
                const size_t u = (size_t(c.height - 1 - y) * c.width + x) * bpp;
                mirrored.insert(mirrored.end(), original.begin() + long(m),
                                original.begin() + long(m + bpp));
                upsideDown.insert(upsideDown.end(), original.begin() + long(u),
                                  original.begin() + long(u + bpp));
            }
        }
        OwnedImage image;
        setImage(&image, c.type, c.width, c.height, c.depth, original);
        image.descriptor = 0x08;
        ASSERT_EQ(flipHorizontal(&image), kTgaOk);
        EXPECT_EQ(pixelBytes(image, original.size()), mirrored);
        EXPECT_EQ(image.descriptor, 0x18);
        ASSERT_EQ(flipHorizontal(&image), kTgaOk);
        EXPECT_EQ(pixelBytes(image, original.size()), original);
        EXPECT_EQ(image.descriptor, 0x08);
        ASSERT_EQ(flipVertical(&image), kTgaOk);
        EXPECT_EQ(pixelBytes(image, original.size()), upsideDown);
        EXPECT_EQ(image.descriptor, 0x28);
        ASSERT_EQ(flipVertical(&image), kTgaOk);
        EXPECT_EQ(pixelBytes(image, original.size()), original);
        EXPECT_EQ(image.descriptor, 0x08);
    }
}

TEST(TgaFlipTest, UnsupportedDepthOrMissingPixelsAreRefused) {
    OwnedImage image;
    setImage(&image, 2, 2, 2, 15, noise(8, 1));
    EXPECT_EQ(flipHorizontal(&image), kTgaBadPixelDepth);
    EXPECT_EQ(flipVertical(&image), kTgaBadPixelDepth);
    EXPECT_EQ(image.descriptor, 0);
    OwnedImage empty;
    EXPECT_EQ(flipHorizontal(&empty), kTgaNoImageData);
    EXPECT_EQ(flipVertical(nullptr), kTgaNoImageData);
}

// One conversion: the source pixels, the target depth and the expected bytes and type.
struct Conversion {
    const char* name;
    uint8_t type;
    int depth;
    std::vector<uint8_t> pixels;
    int bits;
    std::vector<uint8_t> expected;
    uint8_t expectedType;
};

TEST(TgaConvertDepthTest, PixelsAreRepackedBetweenAllDepths) {
    // 16-bit words are little-endian A1R5G5B5: 0x861F is alpha 1, red 1, green 16, blue 31.
    // A 5-bit channel widens by bit replication: 1 -> 8, 16 -> 132, 31 -> 255.
    const std::vector<Conversion> cases = {
        {"24 to 16", 2, 24, {0xFF, 0x80, 0x08}, 16, {0x1F, 0x86}, 2},
        {"24 to 32", 10, 24, {1, 2, 3}, 32, {1, 2, 3, 255}, 10},
        {"32 to 24", 2, 32, {1, 2, 3, 4}, 24, {1, 2, 3}, 2},
        {"32 to 16, alpha below half", 2, 32, {7, 8, 0xF8, 127}, 16, {0x20, 0x7C}, 2},
        {"32 to 16, alpha from half", 2, 32, {7, 8, 0xF8, 128}, 16, {0x20, 0xFC}, 2},
        {"16 to 24", 2, 16, {0xE0, 0x03, 0x21, 0x84}, 24, {0, 255, 0, 8, 8, 8}, 2},
        {"16 to 32", 10, 16, {0x10, 0x42, 0x21, 0x84}, 32, {132, 132, 132, 0, 8, 8, 8, 255}, 10},
        {"mono to 24", 3, 8, {0, 0x80}, 24, {0, 0, 0, 0x80, 0x80, 0x80}, 2},
        {"mono to 32", 11, 8, {9}, 32, {9, 9, 9, 255}, 10},
        {"mono to 16", 3, 8, {0xFF, 0x80}, 16, {0xFF, 0xFF, 0x10, 0xC2}, 2},
        {"24 to 24", 2, 24, {4, 5, 6}, 24, {4, 5, 6}, 2},
    };
    for (const Conversion& c : cases) {
        SCOPED_TRACE(c.name);
        OwnedImage image;
        const int width = int(c.pixels.size()) / (c.depth / 8);
        setImage(&image, c.type, width, 1, c.depth, c.pixels);
        image.descriptor = 0x20;
        ASSERT_EQ(convertDepth(&image, c.bits), kTgaOk);
        EXPECT_EQ(image.pixelDepth, c.bits);
        EXPECT_EQ(image.imageType, c.expectedType);
        EXPECT_EQ(pixelBytes(image, c.expected.size()), c.expected);
        EXPECT_EQ(image.descriptor & 0x30, 0x20) << "orientation is kept";
    }
}

TEST(TgaConvertDepthTest, MappedImagesAreUnmappedFirst) {
    for (int mapDepth : {16, 24, 32}) {
        for (int bits : {16, 24, 32}) {
            SCOPED_TRACE(std::to_string(mapDepth) + " to " + std::to_string(bits));
            OwnedImage image, reference;
            const std::vector<uint8_t> map = noise(4 * mapDepth / 8, mapDepth);
            for (TGAImage* i : std::vector<TGAImage*>{&image, &reference}) {
                setImage(i, 9, 3, 1, 8, {1, 3, 2});
                setMap(i, 1, 3, mapDepth,
                       std::vector<uint8_t>(map.begin() + mapDepth / 8, map.end()));
            }
            ASSERT_EQ(colourUnmap(&reference), kTgaOk);
            ASSERT_EQ(convertDepth(&reference, bits), kTgaOk);
            ASSERT_EQ(convertDepth(&image, bits), kTgaOk);
            EXPECT_EQ(image.imageType, 10);
            EXPECT_EQ(image.colourMapType, 0);
            EXPECT_EQ(image.colourMap, nullptr);
            EXPECT_EQ(pixelBytes(image, 3 * bits / 8), pixelBytes(reference, 3 * bits / 8));
        }
    }
}

TEST(TgaConvertDepthTest, AlphaBitsOfTheDescriptorFollowTheNewDepth) {
    const std::vector<std::pair<int, uint8_t>> cases = {{16, 0x21}, {32, 0x28}, {24, 0x20}};
    for (const auto& [bits, descriptor] : cases) {
        OwnedImage image;
        setImage(&image, 2, 1, 1, bits == 24 ? 32 : 24, noise(4, 2));
        image.descriptor = bits == 24 ? 0x28 : 0x20;
        ASSERT_EQ(convertDepth(&image, bits), kTgaOk);
        EXPECT_EQ(image.descriptor, descriptor) << bits;
    }
}

TEST(TgaConvertDepthTest, BadDepthsAndIndicesLeaveTheImageUnchanged) {
    struct Case {
        const char* name;
        uint8_t type;
        int depth, bits, code;
    };
    const std::vector<Case> cases = {
        {"to 8", 2, 24, 8, kTgaBadPixelDepth},
        {"to 15", 2, 24, 15, kTgaBadPixelDepth},
        {"to 0", 2, 24, 0, kTgaBadPixelDepth},
        {"from 15", 2, 15, 24, kTgaBadPixelDepth},
        {"index past the map", 1, 8, 24, kTgaIndexOutOfRange},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        OwnedImage image;
        // Index 5 lies past a map of three entries.
        const std::vector<uint8_t> pixels = {0, 5, 2, 3, 4, 5};
        setImage(&image, c.type, 2, 1, c.depth, pixels);
        if (c.type == 1) {
            setMap(&image, 0, 3, 24, noise(9, 1));
        }
        EXPECT_EQ(convertDepth(&image, c.bits), c.code);
        EXPECT_EQ(image.pixelDepth, c.depth);
        EXPECT_EQ(image.imageType, c.type);
        EXPECT_EQ(pixelBytes(image, c.depth / 8 * 2),
                  std::vector<uint8_t>(pixels.begin(), pixels.begin() + c.depth / 8 * 2));
    }
}

TEST(TgaColourUnmapTest, IndicesBecomeTheirEntriesAtTheMapDepth) {
    for (int mapDepth : {16, 24, 32}) {
        for (uint8_t type : {1, 9}) {
            SCOPED_TRACE(std::to_string(mapDepth) + ", type " + std::to_string(type));
            const size_t entry = mapDepth / 8;
            const std::vector<uint8_t> stored = noise(3 * entry, mapDepth + type);
            OwnedImage image;
            setImage(&image, type, 4, 1, 8, {2, 4, 3, 2});
            setMap(&image, 2, 3, mapDepth, stored);
            ASSERT_EQ(colourUnmap(&image), kTgaOk);
            std::vector<uint8_t> expected;
            for (int index : {2, 4, 3, 2}) {
                expected.insert(expected.end(), stored.begin() + long((index - 2) * entry),
                                stored.begin() + long((index - 1) * entry));
            }
            EXPECT_EQ(pixelBytes(image, expected.size()), expected);
            EXPECT_EQ(image.pixelDepth, mapDepth);
            EXPECT_EQ(image.imageType, type == 1 ? 2 : 10);
            EXPECT_EQ(image.colourMapType, 0);
            EXPECT_EQ(image.colourMap, nullptr);
            EXPECT_EQ(image.colourMapLength, 0);
        }
    }
}

TEST(TgaColourUnmapTest, IndicesOutsideTheStoredEntriesAndUnmappedImagesAreRefused) {
    struct Case {
        const char* name;
        uint8_t type;
        uint8_t index;
        int code;
    };
    // The map stores entries 2, 3 and 4.
    const std::vector<Case> cases = {
        {"below the first stored entry", 1, 1, kTgaIndexOutOfRange},
        {"entry 0", 9, 0, kTgaIndexOutOfRange},
        {"one past the last entry", 1, 5, kTgaIndexOutOfRange},
        {"index 255", 1, 255, kTgaIndexOutOfRange},
        {"true-colour", 2, 3, kTgaNotMapped},
        {"mono", 3, 3, kTgaNotMapped},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        OwnedImage image;
        setImage(&image, c.type, 3, 1, 8, {2, c.index, 4});
        if (c.type % 8 == 1) {
            setMap(&image, 2, 3, 24, noise(9, 3));
        }
        EXPECT_EQ(colourUnmap(&image), c.code);
        EXPECT_EQ(image.imageType, c.type);
        EXPECT_EQ(pixelBytes(image, 3), std::vector<uint8_t>({2, c.index, 4}));
    }
}

TEST(TgaDesaturateTest, WeightsGiveTheHandComputedGreys) {
    // BGR pixels: (r 200, g 100, b 50), white, (r 10, g 0, b 255). For example BT.601:
    // (200 * 2989 + 100 * 5866 + 50 * 1145) / 10000 = 124.165 -> 124.
    const std::vector<uint8_t> pixels = {50, 100, 200, 255, 255, 255, 255, 0, 10};
    struct Case {
        const char* name;
        int (*apply)(TGAImage*);
        std::vector<uint8_t> expected;
    };
    const std::vector<Case> cases = {
        {"BT.601", desaturateRec601, {124, 255, 32}},
        {"BT.709", desaturateRec709, {117, 255, 20}},
        {"ITU", desaturateItu, {118, 255, 20}},
        {"average", desaturateAverage, {116, 255, 88}},
        {"red only", [](TGAImage* i) { return desaturate(i, 1, 0, 0, 1); }, {200, 255, 10}},
        {"clamped high", [](TGAImage* i) { return desaturate(i, 10, 10, 10, 1); }, {255, 255, 255}},
        {"clamped low", [](TGAImage* i) { return desaturate(i, -1, 0, 0, 1); }, {0, 0, 0}},
        {"huge weights",
         [](TGAImage* i) { return desaturate(i, INT_MAX, INT_MAX, INT_MAX, INT_MAX); },
         {255, 255, 255}},
    };
    for (const Case& c : cases) {
        for (uint8_t type : {2, 10}) {
            SCOPED_TRACE(std::string(c.name) + ", type " + std::to_string(type));
            OwnedImage image;
            setImage(&image, type, 3, 1, 24, pixels);
            image.descriptor = 0x20;
            ASSERT_EQ(c.apply(&image), kTgaOk);
            EXPECT_EQ(image.pixelDepth, 8);
            EXPECT_EQ(image.imageType, type == 2 ? 3 : 11);
            EXPECT_EQ(image.descriptor, 0x20);
            EXPECT_EQ(pixelBytes(image, 3), c.expected);
        }
    }
}

TEST(TgaDesaturateTest, SixteenThirtyTwoBitAndMappedPixelsAreUnpackedFirst) {
    OwnedImage sixteen; // white without alpha, and red 16 (widened to 132) alone
    setImage(&sixteen, 2, 2, 1, 16, {0xFF, 0x7F, 0x00, 0x40});
    ASSERT_EQ(desaturate(&sixteen, 1, 0, 0, 1), kTgaOk);
    EXPECT_EQ(pixelBytes(sixteen, 2), std::vector<uint8_t>({255, 132}));

    OwnedImage thirtyTwo;
    setImage(&thirtyTwo, 10, 1, 1, 32, {50, 100, 200, 0});
    ASSERT_EQ(desaturateRec601(&thirtyTwo), kTgaOk);
    EXPECT_EQ(pixelBytes(thirtyTwo, 1), std::vector<uint8_t>({124}));

    OwnedImage mapped;
    setImage(&mapped, 9, 2, 1, 8, {1, 0});
    setMap(&mapped, 0, 2, 24, {255, 255, 255, 50, 100, 200});
    ASSERT_EQ(desaturateRec709(&mapped), kTgaOk);
    EXPECT_EQ(pixelBytes(mapped, 2), std::vector<uint8_t>({117, 255}));
    EXPECT_EQ(mapped.imageType, 11);
    EXPECT_EQ(mapped.colourMap, nullptr);
}

TEST(TgaDesaturateTest, MonoBadDepthAndBadWeightsAreRefused) {
    struct Case {
        const char* name;
        uint8_t type;
        int depth, divisor, code;
    };
    const std::vector<Case> cases = {
        {"mono", 3, 8, 3, kTgaMono},
        {"mono rle", 11, 8, 0, kTgaMono},
        {"divisor 0", 2, 24, 0, kTgaBadWeights},
        {"negative divisor", 2, 24, -3, kTgaBadWeights},
        {"8-bit true-colour", 2, 8, 3, kTgaBadPixelDepth},
        {"15-bit", 2, 15, 3, kTgaBadPixelDepth},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        OwnedImage image;
        setImage(&image, c.type, 2, 1, c.depth, {1, 2, 3, 4, 5, 6});
        EXPECT_EQ(desaturate(&image, 1, 1, 1, c.divisor), c.code);
        EXPECT_EQ(image.imageType, c.type);
        EXPECT_EQ(image.pixelDepth, c.depth);
    }
}

TEST(TgaPixelTest, PutThenGetGivesTheStoredColour) {
    struct Case {
        const char* name;
        uint8_t type;
        int depth;
        uint8_t expected[4]; // b, g, r, a read back after putting (40, 90, 200, 100)
    };
    // Mono keeps the BT.601 grey: (200 * 2989 + 90 * 5866 + 40 * 1145) / 10000 = 117.
    // 16 bits keep the top 5 bits of each channel, widened again, and alpha below half is 0.
    const std::vector<Case> cases = {
        {"mono", 3, 8, {117, 117, 117, 255}},
        {"16", 2, 16, {41, 90, 206, 0}},
        {"24", 10, 24, {40, 90, 200, 255}},
        {"32", 2, 32, {40, 90, 200, 100}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        OwnedImage image;
        setImage(&image, c.type, 3, 2, c.depth, std::vector<uint8_t>(3 * 2 * c.depth / 8, 0));
        ASSERT_EQ(putPixel(&image, 2, 1, 40, 90, 200, 100), kTgaOk);
        uint8_t b = 1, g = 1, r = 1, a = 1;
        ASSERT_EQ(getPixel(&image, 2, 1, &b, &g, &r, &a), kTgaOk);
        EXPECT_EQ(std::vector<uint8_t>({b, g, r, a}),
                  std::vector<uint8_t>(c.expected, c.expected + 4));
        ASSERT_EQ(getPixel(&image, 1, 1, &b, nullptr, nullptr, nullptr), kTgaOk);
        EXPECT_EQ(b, 0) << "the neighbour is untouched";
        const size_t at = (1 * 3 + 2) * (c.depth / 8);
        EXPECT_NE(image.imageData[at], 0) << "(2, 1) is the sixth stored pixel";
    }
}

TEST(TgaPixelTest, MappedPixelsUseTheStoredEntries) {
    OwnedImage image;
    setImage(&image, 1, 2, 1, 8, {3, 0});
    setMap(&image, 2, 2, 24, {10, 20, 30, 40, 50, 60});
    uint8_t b = 0, g = 0, r = 0, a = 0;
    ASSERT_EQ(getPixel(&image, 0, 0, &b, &g, &r, &a), kTgaOk);
    EXPECT_EQ(std::vector<uint8_t>({b, g, r, a}), std::vector<uint8_t>({40, 50, 60, 255}));
    EXPECT_EQ(getPixel(&image, 1, 0, &b, &g, &r, &a), kTgaIndexOutOfRange)
        << "index 0 lies below the first stored entry";
    ASSERT_EQ(putPixel(&image, 1, 0, 10, 20, 30, 0), kTgaOk);
    EXPECT_EQ(image.imageData[1], 2);
    EXPECT_EQ(putPixel(&image, 1, 0, 10, 20, 31, 0), kTgaIndexOutOfRange) << "not in the map";
    EXPECT_EQ(image.imageData[1], 2);
}

TEST(TgaPixelTest, CoordinatesOutsideTheImageAreRefusedUntouched) {
    const std::vector<std::pair<int, int>> outside = {
        {-1, 0}, {0, -1}, {4, 0}, {0, 3}, {4, 3}, {INT_MIN, 0}, {0, INT_MAX}, {INT_MAX, INT_MAX}};
    OwnedImage image;
    const std::vector<uint8_t> pixels = noise(4 * 3 * 4, 5);
    setImage(&image, 2, 4, 3, 32, pixels);
    for (const auto& [x, y] : outside) {
        SCOPED_TRACE(std::to_string(x) + ", " + std::to_string(y));
        uint8_t b = 7;
        EXPECT_EQ(getPixel(&image, x, y, &b, nullptr, nullptr, nullptr), kTgaPixelOutOfRange);
        EXPECT_EQ(b, 7);
        EXPECT_EQ(putPixel(&image, x, y, 1, 2, 3, 4), kTgaPixelOutOfRange);
    }
    EXPECT_EQ(pixelBytes(image, pixels.size()), pixels);
    EXPECT_EQ(getPixel(nullptr, 0, 0, nullptr, nullptr, nullptr, nullptr), kTgaNoImageData);
}

} // namespace
