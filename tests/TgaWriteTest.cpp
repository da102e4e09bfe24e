// The TGA writer: file layout, RLE packets (checked by parsing the written bytes), validation,
// file failures, the convenience writers, and round trips through our reader for every type.
#include "TGAImage.h"
#include "TestSupport.h"
#include "TgaTestSupport.h"

#include <string>
#include <vector>

namespace {

using namespace tgatest;
using TgaWriteTest = TempDirTest;

const std::vector<uint8_t> kFooter =
    std::vector<uint8_t>(8, 0) + std::vector<uint8_t>{'T', 'R', 'U', 'E', 'V', 'I', 'S', 'I', 'O',
                                                      'N', '-', 'X', 'F', 'I', 'L', 'E', '.', 0};

TEST_F(TgaWriteTest, FileHoldsHeaderIdStoredMapEntriesPixelsAndFooter) {
    OwnedImage image;
    const std::vector<uint8_t> pixels = noise(300 * 2, 1), stored = noise(3 * 3, 2);
    setImage(&image, 1, 300, 2, 8, pixels);
    setMap(&image, 2, 3, 24, stored);
    image.idLength = 5;
    image.imageId = copyBuffer({'h', 'e', 'r', 'd', 'r'});
    image.originX = 0x1234;
    image.descriptor = 0x20;
    const std::vector<uint8_t> expected = encodeHeader(image) +
                                          std::vector<uint8_t>{'h', 'e', 'r', 'd', 'r'} + stored +
                                          pixels + kFooter;
    EXPECT_EQ(written(image), expected) << "only map entries from colourMapFirst on are stored";
    ASSERT_EQ(writeTGA("out.tga", &image), kTgaOk);
    EXPECT_EQ(readBytes("out.tga"), expected);
}

// Two or more equal pixels make a run packet, other pixels raw packets, each of at most 128.
TEST_F(TgaWriteTest, RleRowsDecodeToTheInputWithNoPacketCrossingARowEnd) {
    struct Case {
        std::vector<int> stretches; // equal pixels in a row
        size_t packetsPerRow;       // 0: not checked
    };
    const std::vector<Case> cases = {
        {{2}, 1},
        {{128}, 1},
        {{129}, 2},
        {{300}, 3},
        {std::vector<int>(5, 1), 1},
        {std::vector<int>(129, 1), 2},
        {{2, 2, 2}, 3},
        {{1, 2, 128, 129, 300, 1}, 0},
    };
    const std::vector<std::pair<uint8_t, int>> types = {
        {11, 8}, {9, 8}, {10, 16}, {10, 24}, {10, 32}};
    for (const Case& c : cases) {
        for (const auto& [type, depth] : types) {
            SCOPED_TRACE(std::to_string(c.stretches.size()) + " stretches from " +
                         std::to_string(c.stretches[0]) + ", type " + std::to_string(type) +
                         ", depth " + std::to_string(depth));
            int width = 0;
            const std::vector<uint8_t> pixels = stretchedRows(c.stretches, 3, depth / 8, &width);
            OwnedImage image;
            setImage(&image, type, width, 3, depth, pixels);
            if (type == 9) {
                setMap(&image, 0, 256, 24, noise(256 * 3, 4));
            }
            const std::vector<uint8_t> file = written(image);
            const RleParse parse =
                parseRle(file, kHeaderSize + (type == 9 ? 256 * 3 : 0), width, 3, depth / 8);
            EXPECT_EQ(parse.pixels, pixels);
            EXPECT_FALSE(parse.crossesRow);
            EXPECT_EQ(parse.end + kFooterSize, file.size());
            if (c.packetsPerRow != 0) {
                EXPECT_EQ(parse.packets.size(), 3 * c.packetsPerRow);
            }
        }
    }
}

TEST_F(TgaWriteTest, InvalidHeadersAreRefusedWithTheReadersCodes) {
    for (const HeaderFault& fault : headerFaults()) {
        OwnedImage image;
        setFaultBase(&image);
        applyFault(&image, fault);
        std::vector<uint8_t> bytes{1, 2, 3};
        EXPECT_EQ(writeTGAToMemory(&bytes, &image), fault.code) << fault.name;
        EXPECT_TRUE(bytes.empty()) << fault.name;
    }
}

TEST_F(TgaWriteTest, MissingBuffersAndFileFailuresHaveTheirCodes) {
    OwnedImage noPixels, noMap, good;
    setFaultBase(&noPixels);
    std::free(noPixels.imageData);
    noPixels.imageData = nullptr;
    setFaultBase(&noMap);
    std::free(noMap.colourMap);
    noMap.colourMap = nullptr;
    setFaultBase(&good);
    EXPECT_EQ(writeTGA("a.tga", &noPixels), kTgaNoImageData);
    EXPECT_EQ(writeTGA("a.tga", &noMap), kTgaMappedWithoutMap);
    EXPECT_EQ(writeTGA("a.tga", nullptr), kTgaNoImageData);
    EXPECT_TRUE(readBytes("a.tga").empty()) << "refused before the file is created";
    EXPECT_EQ(writeTGA("no-such-dir/a.tga", &good), kTgaOpenFailed);
    EXPECT_EQ(writeTGA("/dev/full", &good), kTgaWriteFailed);
}

TEST_F(TgaWriteTest, EveryTypeAndDepthComesBackThroughOurReader) {
    // Rows of stretches (runs of 1, 2, 128, 129, 300) followed by noise rows; mapped images
    // index a map stored from entry 2.
    const std::vector<std::tuple<uint8_t, int, int>> formats = {
        {1, 8, 16}, {1, 8, 24}, {1, 8, 32},  {9, 8, 16},  {9, 8, 24},  {9, 8, 32}, {2, 16, 0},
        {2, 24, 0}, {2, 32, 0}, {10, 16, 0}, {10, 24, 0}, {10, 32, 0}, {3, 8, 0},  {11, 8, 0}};
    for (const auto& [type, depth, mapDepth] : formats) {
        for (uint8_t descriptor : {0x00, 0x30}) {
            SCOPED_TRACE("type " + std::to_string(type) + ", depth " + std::to_string(depth) +
                         ", map " + std::to_string(mapDepth));
            int width = 0;
            std::vector<uint8_t> pixels =
                stretchedRows({1, 2, 128, 129, 300, 1}, 4, depth / 8, &width);
            pixels = pixels + noise(pixels.size(), type);
            OwnedImage image;
            if (mapDepth != 0) {
                for (auto& p : pixels) {
                    p = static_cast<uint8_t>(2 + p % 30);
                }
                setMap(&image, 2, 30, mapDepth, noise(30 * mapDepth / 8, mapDepth));
            }
            setImage(&image, type, width, 8, depth, pixels);
            image.descriptor = descriptor;
            image.originY = 300;
            image.idLength = 3;
            image.imageId = copyBuffer({'a', 0, 'z'});
            ASSERT_EQ(writeTGA("r.tga", &image), kTgaOk);
            OwnedImage back;
            ASSERT_EQ(readTGA(&back, "r.tga"), kTgaOk);
            // Equal images write equal bytes: every field, the ID, stored map and pixels.
            EXPECT_EQ(written(back), written(image));
            EXPECT_EQ(std::vector<uint8_t>(back.imageData, back.imageData + pixels.size()), pixels);
        }
    }
}

TEST_F(TgaWriteTest, ConvenienceWritersStoreTheirBuffersBottomUpWithoutId) {
    const std::vector<uint8_t> pixels = noise(6 * 4 * 4, 6), map = noise(16 * 2, 7);
    struct Case {
        int code;
        uint8_t type, depth, mapDepth;
    };
    const auto* p = pixels.data();
    for (bool rle : {false, true}) {
        const std::vector<Case> cases = {
            {writeTGAMono("0.tga", p, 6, 4, rle), 3, 8, 0},
            {writeTGAColourMapped("1.tga", p, 6, 4, map.data(), 16, 16, rle), 1, 8, 16},
            {writeTGATrueColour("2.tga", p, 6, 4, 16, rle), 2, 16, 0},
            {writeTGATrueColour("3.tga", p, 6, 4, 24, rle), 2, 24, 0},
            {writeTGATrueColour("4.tga", p, 6, 4, 32, rle), 2, 32, 0},
        };
        for (size_t i = 0; i < cases.size(); ++i) {
            const Case& c = cases[i];
            SCOPED_TRACE(std::to_string(i) + (rle ? " rle" : " raw"));
            ASSERT_EQ(c.code, kTgaOk);
            OwnedImage image;
            ASSERT_EQ(readTGA(&image, (std::to_string(i) + ".tga").c_str()), kTgaOk);
            EXPECT_EQ(image.imageType, c.type + (rle ? 8 : 0));
            EXPECT_EQ(image.pixelDepth, c.depth);
            EXPECT_EQ(image.colourMapDepth, c.mapDepth);
            EXPECT_EQ(image.descriptor | image.idLength | image.colourMapFirst, 0);
            EXPECT_EQ(image.width, 6);
            EXPECT_EQ(image.height, 4);
            const size_t bytes = 6 * 4 * c.depth / 8;
            EXPECT_EQ(std::vector<uint8_t>(image.imageData, image.imageData + bytes),
                      std::vector<uint8_t>(p, p + bytes));
            if (c.mapDepth != 0) {
                EXPECT_EQ(std::vector<uint8_t>(image.colourMap, image.colourMap + 32), map);
            }
        }
    }
}

TEST_F(TgaWriteTest, ConvenienceWritersRefuseWhatAHeaderCannotHold) {
    const std::vector<uint8_t> b(16, 0);
    const uint8_t* p = b.data();
    EXPECT_EQ(writeTGAMono("x.tga", p, 0, 4, false), kTgaZeroSize);
    EXPECT_EQ(writeTGAMono("x.tga", p, 4, -1, false), kTgaZeroSize);
    EXPECT_EQ(writeTGAMono("x.tga", p, 65536, 1, false), kTgaZeroSize);
    EXPECT_EQ(writeTGAMono("x.tga", nullptr, 4, 4, false), kTgaNoImageData);
    EXPECT_EQ(writeTGATrueColour("x.tga", p, 2, 2, 8, false), kTgaBadPixelDepth);
    EXPECT_EQ(writeTGATrueColour("x.tga", p, 2, 2, 280, false), kTgaBadPixelDepth) << "not 24";
    EXPECT_EQ(writeTGAColourMapped("x.tga", p, 2, 2, p, 0, 24, false), kTgaEmptyMap);
    EXPECT_EQ(writeTGAColourMapped("x.tga", p, 2, 2, p, 4, 8, false), kTgaBadMapDepth);
    EXPECT_EQ(writeTGAColourMapped("x.tga", p, 2, 2, nullptr, 4, 24, false), kTgaMappedWithoutMap);
}

} // namespace
