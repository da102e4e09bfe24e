// TGA transforms and pixel access: mirroring, depth conversion (hand-computed A1R5G5B5 values),
// colour-map removal, desaturation weights, and bounds checks. Failures leave images unchanged.
#include "TGAImage.h"
#include "TgaTestSupport.h"

#include <climits>
#include <string>
#include <vector>

namespace {

using namespace tgatest;

std::vector<uint8_t> bytesOf(const TGAImage& image, size_t count) {
    return std::vector<uint8_t>(image.imageData, image.imageData + count);
}

TEST(TgaFlipTest, EachFlipMirrorsItsAxisAndTwiceRestoresTheImage) {
    const std::vector<std::tuple<int, int, int>> cases = {{8, 5, 4},  {16, 4, 3}, {24, 7, 5},
                                                          {32, 6, 6}, {8, 1, 1},  {24, 1, 6}};
    for (const auto& [depth, w, h] : cases) {
        SCOPED_TRACE(std::to_string(depth) + " bits, " + std::to_string(w) + " x " +
                     std::to_string(h));
        const size_t bpp = depth / 8;
        const std::vector<uint8_t> original = noise(w * h * bpp, depth + w);
        std::vector<uint8_t> mirrored, upsideDown;
        for (int i = 0; i < w * h; ++i) {
            const int x = i % w, y = i / w;
            const auto m = original.begin() + long((y * w + w - 1 - x) * bpp);
            const auto u = original.begin() + long(((h - 1 - y) * w + x) * bpp);
            mirrored.insert(mirrored.end(), m, m + long(bpp));
            upsideDown.insert(upsideDown.end(), u, u + long(bpp));
        }
        OwnedImage image;
        setImage(&image, depth == 8 ? 3 : 2, w, h, depth, original);
        image.descriptor = 0x08;
        const std::vector<std::tuple<int (*)(TGAImage*), std::vector<uint8_t>, int>> steps = {
            {flipHorizontal, mirrored, 0x18},
            {flipHorizontal, original, 0x08},
            {flipVertical, upsideDown, 0x28},
            {flipVertical, original, 0x08}};
        for (const auto& [flip, expected, descriptor] : steps) {
            ASSERT_EQ(flip(&image), kTgaOk);
            EXPECT_EQ(bytesOf(image, original.size()), expected);
            EXPECT_EQ(image.descriptor, descriptor);
        }
    }
    OwnedImage odd, empty;
    setImage(&odd, 2, 2, 2, 15, noise(8, 1));
    EXPECT_EQ(flipHorizontal(&odd), kTgaBadPixelDepth);
    EXPECT_EQ(flipVertical(&odd), kTgaBadPixelDepth);
    EXPECT_EQ(odd.descriptor, 0);
    EXPECT_EQ(flipHorizontal(&empty), kTgaNoImageData);
    EXPECT_EQ(flipVertical(nullptr), kTgaNoImageData);
}

TEST(TgaConvertDepthTest, PixelsAreRepackedBetweenAllDepths) {
    struct Case {
        const char* name;
        uint8_t type;
        int depth;
        std::vector<uint8_t> pixels;
        int bits;
        std::vector<uint8_t> expected;
        uint8_t expectedType, expectedDescriptor;
    };
    // 16-bit words are little-endian A1R5G5B5: 0x861F is alpha 1, red 1, green 16, blue 31.
    // A 5-bit channel widens by bit replication: 1 -> 8, 16 -> 132, 31 -> 255. The descriptor
    // keeps its orientation (0x20) and gets the alpha bits of the new depth.
    const std::vector<Case> cases = {
        {"24 to 16", 2, 24, {0xFF, 0x80, 0x08}, 16, {0x1F, 0x86}, 2, 0x21},
        {"24 to 32", 10, 24, {1, 2, 3}, 32, {1, 2, 3, 255}, 10, 0x28},
        {"32 to 24", 2, 32, {1, 2, 3, 4}, 24, {1, 2, 3}, 2, 0x20},
        {"32 to 16, alpha below half", 2, 32, {7, 8, 0xF8, 127}, 16, {0x20, 0x7C}, 2, 0x21},
        {"32 to 16, alpha from half", 2, 32, {7, 8, 0xF8, 128}, 16, {0x20, 0xFC}, 2, 0x21},
        {"16 to 24", 2, 16, {0xE0, 0x03, 0x21, 0x84}, 24, {0, 255, 0, 8, 8, 8}, 2, 0x20},
        {"16 to 32",
         10,
         16,
         {0x10, 0x42, 0x21, 0x84},
         32,
         {132, 132, 132, 0, 8, 8, 8, 255},
         10,
         0x28},
        {"mono to 24", 3, 8, {0, 0x80}, 24, {0, 0, 0, 0x80, 0x80, 0x80}, 2, 0x20},
        {"mono to 32", 11, 8, {9}, 32, {9, 9, 9, 255}, 10, 0x28},
        {"mono to 16", 3, 8, {0xFF, 0x80}, 16, {0xFF, 0xFF, 0x10, 0xC2}, 2, 0x21},
        {"24 to 24", 2, 24, {4, 5, 6}, 24, {4, 5, 6}, 2, 0x20},
    };
    for (const Case& c : cases) {
        OwnedImage image;
        setImage(&image, c.type, int(c.pixels.size()) / (c.depth / 8), 1, c.depth, c.pixels);
        image.descriptor = 0x20;
        ASSERT_EQ(convertDepth(&image, c.bits), kTgaOk) << c.name;
        EXPECT_EQ(image.pixelDepth, c.bits) << c.name;
        EXPECT_EQ(image.imageType, c.expectedType) << c.name;
        EXPECT_EQ(bytesOf(image, c.expected.size()), c.expected) << c.name;
        EXPECT_EQ(image.descriptor, c.expectedDescriptor) << c.name;
    }
}

TEST(TgaConvertDepthTest, MappedImagesAreUnmappedFirst) {
    OwnedImage image;
    setImage(&image, 9, 3, 1, 8, {1, 2, 1});
    setMap(&image, 1, 2, 16, {0x1F, 0x80, 0xE0, 0x03}); // opaque blue, transparent green
    ASSERT_EQ(convertDepth(&image, 32), kTgaOk);
    EXPECT_EQ(bytesOf(image, 12),
              std::vector<uint8_t>({255, 0, 0, 255, 0, 255, 0, 0, 255, 0, 0, 255}));
    EXPECT_EQ(image.imageType, 10);
    EXPECT_EQ(image.colourMapType, 0);
    EXPECT_EQ(image.colourMap, nullptr);
}

TEST(TgaConvertDepthTest, BadDepthsAndIndicesLeaveTheImageUnchanged) {
    // {type, depth, target bits, code}; the mapped image holds index 5 of a 3-entry map.
    const std::vector<std::tuple<uint8_t, int, int, int>> cases = {
        {2, 24, 8, kTgaBadPixelDepth},   {2, 24, 15, kTgaBadPixelDepth},
        {2, 24, 0, kTgaBadPixelDepth},   {2, 15, 24, kTgaBadPixelDepth},
        {1, 8, 24, kTgaIndexOutOfRange},
    };
    for (const auto& [type, depth, bits, code] : cases) {
        OwnedImage image;
        const std::vector<uint8_t> pixels = {0, 5, 2, 3, 4, 5};
        setImage(&image, type, 2, 1, depth, pixels);
        if (type == 1) {
            setMap(&image, 0, 3, 24, noise(9, 1));
        }
        EXPECT_EQ(convertDepth(&image, bits), code) << depth << " to " << bits;
        EXPECT_EQ(image.pixelDepth, depth);
        EXPECT_EQ(image.imageType, type);
        EXPECT_EQ(bytesOf(image, 2), std::vector<uint8_t>(pixels.begin(), pixels.begin() + 2));
    }
}

TEST(TgaColourUnmapTest, IndicesBecomeTheirEntriesAtTheMapDepth) {
    for (int mapDepth : {16, 24, 32}) {
        for (uint8_t type : {1, 9}) {
            const size_t entry = mapDepth / 8;
            const std::vector<uint8_t> stored = noise(3 * entry, mapDepth + type);
            OwnedImage image;
            setImage(&image, type, 4, 1, 8, {2, 4, 3, 2});
            setMap(&image, 2, 3, mapDepth, stored);
            ASSERT_EQ(colourUnmap(&image), kTgaOk);
            std::vector<uint8_t> expected;
            for (int index : {2, 4, 3, 2}) {
                const auto at = stored.begin() + long((index - 2) * entry);
                expected.insert(expected.end(), at, at + long(entry));
            }
            EXPECT_EQ(bytesOf(image, expected.size()), expected) << mapDepth;
            EXPECT_EQ(image.pixelDepth, mapDepth);
            EXPECT_EQ(image.imageType, type == 1 ? 2 : 10);
            EXPECT_EQ(image.colourMapType | image.colourMapLength | image.colourMapDepth, 0);
            EXPECT_EQ(image.colourMap, nullptr);
        }
    }
}

TEST(TgaColourUnmapTest, IndicesOutsideTheStoredEntriesAndUnmappedImagesAreRefused) {
    // {type, index, code}; the map stores entries 2, 3 and 4.
    const std::vector<std::tuple<uint8_t, uint8_t, int>> cases = {
        {1, 1, kTgaIndexOutOfRange},   {9, 0, kTgaIndexOutOfRange}, {1, 5, kTgaIndexOutOfRange},
        {1, 255, kTgaIndexOutOfRange}, {2, 3, kTgaNotMapped},       {3, 3, kTgaNotMapped},
    };
    for (const auto& [type, index, code] : cases) {
        OwnedImage image;
        setImage(&image, type, 3, 1, 8, {2, index, 4});
        if (type % 8 == 1) {
            setMap(&image, 2, 3, 24, noise(9, 3));
        }
        EXPECT_EQ(colourUnmap(&image), code) << int(type) << ", index " << int(index);
        EXPECT_EQ(image.imageType, type);
        EXPECT_EQ(bytesOf(image, 3), std::vector<uint8_t>({2, index, 4}));
    }
}

TEST(TgaDesaturateTest, WeightsGiveTheHandComputedGreys) {
    // BGR pixels (r 200, g 100, b 50), white, (r 10, g 0, b 255). For example BT.601:
    // (200 * 2989 + 100 * 5866 + 50 * 1145) / 10000 = 124.165 -> 124.
    const std::vector<uint8_t> pixels = {50, 100, 200, 255, 255, 255, 255, 0, 10};
    const std::vector<std::pair<int (*)(TGAImage*), std::vector<uint8_t>>> cases = {
        {desaturateRec601, {124, 255, 32}},
        {desaturateRec709, {117, 255, 20}},
        {desaturateItu, {118, 255, 20}},
        {desaturateAverage, {116, 255, 88}},
        {[](TGAImage* i) { return desaturate(i, 1, 0, 0, 1); }, {200, 255, 10}},
        {[](TGAImage* i) { return desaturate(i, 10, 10, 10, 1); }, {255, 255, 255}},
        {[](TGAImage* i) { return desaturate(i, -1, 0, 0, 1); }, {0, 0, 0}},
        {[](TGAImage* i) { return desaturate(i, INT_MAX, INT_MAX, 0, INT_MAX); }, {255, 255, 10}},
    };
    for (size_t i = 0; i < cases.size(); ++i) {
        for (uint8_t type : {2, 10}) {
            OwnedImage image;
            setImage(&image, type, 3, 1, 24, pixels);
            image.descriptor = 0x20;
            ASSERT_EQ(cases[i].first(&image), kTgaOk);
            EXPECT_EQ(bytesOf(image, 3), cases[i].second) << "case " << i;
            EXPECT_EQ(image.pixelDepth, 8);
            EXPECT_EQ(image.imageType, type == 2 ? 3 : 11);
            EXPECT_EQ(image.descriptor, 0x20);
        }
    }
}

TEST(TgaDesaturateTest, SixteenThirtyTwoBitAndMappedPixelsAreUnpackedFirst) {
    OwnedImage sixteen, thirtyTwo, mapped;
    setImage(&sixteen, 2, 2, 1, 16, {0xFF, 0x7F, 0x00, 0x40}); // white; red 16 (132) alone
    ASSERT_EQ(desaturate(&sixteen, 1, 0, 0, 1), kTgaOk);
    EXPECT_EQ(bytesOf(sixteen, 2), std::vector<uint8_t>({255, 132}));
    setImage(&thirtyTwo, 10, 1, 1, 32, {50, 100, 200, 0});
    ASSERT_EQ(desaturateRec601(&thirtyTwo), kTgaOk);
    EXPECT_EQ(bytesOf(thirtyTwo, 1), std::vector<uint8_t>({124}));
    setImage(&mapped, 9, 2, 1, 8, {1, 0});
    setMap(&mapped, 0, 2, 24, {255, 255, 255, 50, 100, 200});
    ASSERT_EQ(desaturateRec709(&mapped), kTgaOk);
    EXPECT_EQ(bytesOf(mapped, 2), std::vector<uint8_t>({117, 255}));
    EXPECT_EQ(mapped.imageType, 11);
    EXPECT_EQ(mapped.colourMap, nullptr);
}

TEST(TgaDesaturateTest, MonoBadDepthAndBadWeightsAreRefused) {
    // {type, depth, divisor, code}
    const std::vector<std::tuple<uint8_t, int, int, int>> cases = {
        {3, 8, 3, kTgaMono},         {11, 8, 0, kTgaMono},         {2, 24, 0, kTgaBadWeights},
        {2, 24, -3, kTgaBadWeights}, {2, 8, 3, kTgaBadPixelDepth}, {2, 15, 3, kTgaBadPixelDepth},
    };
    for (const auto& [type, depth, divisor, code] : cases) {
        OwnedImage image;
        setImage(&image, type, 2, 1, depth, {1, 2, 3, 4, 5, 6});
        EXPECT_EQ(desaturate(&image, 1, 1, 1, divisor), code) << int(type) << ", " << depth;
        EXPECT_EQ(image.imageType, type);
        EXPECT_EQ(image.pixelDepth, depth);
    }
}

TEST(TgaPixelTest, PutThenGetGivesTheStoredColour) {
    // (b 40, g 90, r 200, a 100) put at (2, 1) of 3 x 2. Mono keeps the BT.601 grey 117; 16 bits
    // keep the top 5 bits of each channel, widened again, and alpha below half becomes 0.
    const std::vector<std::tuple<uint8_t, int, std::vector<uint8_t>>> cases = {
        {3, 8, {117, 117, 117, 255}},
        {2, 16, {41, 90, 206, 0}},
        {10, 24, {40, 90, 200, 255}},
        {2, 32, {40, 90, 200, 100}},
    };
    for (const auto& [type, depth, expected] : cases) {
        OwnedImage image;
        const size_t bpp = depth / 8;
        setImage(&image, type, 3, 2, depth, std::vector<uint8_t>(6 * bpp, 0));
        ASSERT_EQ(putPixel(&image, 2, 1, 40, 90, 200, 100), kTgaOk);
        uint8_t b = 1, g = 1, r = 1, a = 1;
        ASSERT_EQ(getPixel(&image, 2, 1, &b, &g, &r, &a), kTgaOk);
        EXPECT_EQ(std::vector<uint8_t>({b, g, r, a}), expected) << depth;
        EXPECT_EQ(bytesOf(image, 5 * bpp), std::vector<uint8_t>(5 * bpp, 0))
            << "(2, 1) is the last stored pixel; the others stay untouched";
    }
}

TEST(TgaPixelTest, MappedPixelsUseTheStoredEntries) {
    OwnedImage image;
    setImage(&image, 1, 2, 1, 8, {3, 0});
    setMap(&image, 2, 2, 24, {10, 20, 30, 40, 50, 60});
    uint8_t b = 0, g = 0, r = 0, a = 0;
    ASSERT_EQ(getPixel(&image, 0, 0, &b, &g, &r, &a), kTgaOk);
    EXPECT_EQ(std::vector<uint8_t>({b, g, r, a}), std::vector<uint8_t>({40, 50, 60, 255}));
    EXPECT_EQ(getPixel(&image, 1, 0, &b, &g, &r, &a), kTgaIndexOutOfRange) << "0 is below first";
    ASSERT_EQ(putPixel(&image, 1, 0, 10, 20, 30, 0), kTgaOk);
    EXPECT_EQ(image.imageData[1], 2);
    EXPECT_EQ(putPixel(&image, 1, 0, 10, 20, 31, 0), kTgaIndexOutOfRange) << "not in the map";
    EXPECT_EQ(putPixel(&image, 1, 0, 0, 0, 0, 0), kTgaIndexOutOfRange) << "entries 0, 1 unset";
    EXPECT_EQ(image.imageData[1], 2);
}

TEST(TgaPixelTest, CoordinatesOutsideTheImageAreRefusedUntouched) {
    OwnedImage image;
    const std::vector<uint8_t> pixels = noise(4 * 3 * 4, 5);
    setImage(&image, 2, 4, 3, 32, pixels);
    for (const auto& [x, y] : std::vector<std::pair<int, int>>{
             {-1, 0}, {0, -1}, {4, 0}, {0, 3}, {4, 3}, {INT_MIN, 0}, {0, INT_MAX}}) {
        uint8_t b = 7;
        EXPECT_EQ(getPixel(&image, x, y, &b, nullptr, nullptr, nullptr), kTgaPixelOutOfRange);
        EXPECT_EQ(putPixel(&image, x, y, 1, 2, 3, 4), kTgaPixelOutOfRange) << x << ", " << y;
        EXPECT_EQ(b, 7);
    }
    EXPECT_EQ(bytesOf(image, pixels.size()), pixels);
    EXPECT_EQ(getPixel(nullptr, 0, 0, nullptr, nullptr, nullptr, nullptr), kTgaNoImageData);
}

} // namespace
