// The TGA writer on its own: header layout, stored map entries, footer, RLE packets (checked by
// parsing the written bytes), header validation, file failures and the convenience writers.
#include "TGAImage.h"
#include "TestSupport.h"
#include "TgaTestSupport.h"

#include <string>
#include <vector>

namespace {

using namespace tgatest;
using TgaWriteTest = TempDirTest;

const std::string kSignature("TRUEVISION-XFILE.\0", 18);

void expectFooter(const std::vector<uint8_t>& file) {
    ASSERT_GE(file.size(), kFooterSize);
    const std::vector<uint8_t> footer(file.end() - long(kFooterSize), file.end());
    for (int i = 0; i < 8; ++i) {
        EXPECT_EQ(footer[i], 0) << "extension and developer offsets are 0, byte " << i;
    }
    EXPECT_EQ(std::string(footer.begin() + 8, footer.end()), kSignature);
}

TEST_F(TgaWriteTest, HeaderIdStoredMapEntriesPixelsAndFooterFollowInOrder) {
    OwnedImage image;
    const std::vector<uint8_t> pixels = noise(300 * 2, 1);
    setImage(&image, 1, 300, 2, 8, pixels);
    const std::vector<uint8_t> stored = noise(3 * 3, 2);
    setMap(&image, 2, 3, 24, stored);
    image.idLength = 5;
    image.imageId = copyBuffer({'h', 'e', 'r', 'd', 'r'});
    image.originX = 0x1234;
    image.originY = 0xABCD;
    image.descriptor = 0x20;

    std::vector<uint8_t> file;
    ASSERT_EQ(writeTGAToMemory(&file, &image), kTgaOk);
    ASSERT_EQ(file.size(), kHeaderSize + 5 + stored.size() + pixels.size() + kFooterSize);
    EXPECT_EQ(file[0], 5);
    EXPECT_EQ(file[1], 1);
    EXPECT_EQ(file[2], 1);
    EXPECT_EQ(le16(file, 3), 2u);
    EXPECT_EQ(le16(file, 5), 3u);
    EXPECT_EQ(file[7], 24);
    EXPECT_EQ(le16(file, 8), 0x1234u);
    EXPECT_EQ(le16(file, 10), 0xABCDu);
    EXPECT_EQ(le16(file, 12), 300u);
    EXPECT_EQ(le16(file, 14), 2u);
    EXPECT_EQ(file[16], 8);
    EXPECT_EQ(file[17], 0x20);
    EXPECT_EQ(std::string(file.begin() + 18, file.begin() + 23), "herdr");
    auto at = file.begin() + 23;
    EXPECT_EQ(std::vector<uint8_t>(at, at + long(stored.size())), stored)
        << "only the entries from colourMapFirst on are stored";
    at += long(stored.size());
    EXPECT_EQ(std::vector<uint8_t>(at, at + long(pixels.size())), pixels);
    expectFooter(file);
}

TEST_F(TgaWriteTest, FileAndMemoryWritersProduceTheSameBytes) {
    OwnedImage image;
    setImage(&image, 10, 7, 5, 32, noise(7 * 5 * 4, 3));
    std::vector<uint8_t> memory;
    ASSERT_EQ(writeTGAToMemory(&memory, &image), kTgaOk);
    ASSERT_EQ(writeTGA("out.tga", &image), kTgaOk);
    EXPECT_EQ(readBytes("out.tga"), memory);
}

struct RowCase {
    const char* name;
    std::vector<int> stretches;
};

struct RleType {
    uint8_t type;
    int depth;
};

TEST_F(TgaWriteTest, RleRowsDecodeToTheInputWithNoPacketCrossingARowEnd) {
    const std::vector<RowCase> cases = {
        {"single pixels", {1, 1, 1, 1, 1}},
        {"pairs", {2, 2, 2}},
        {"one packet", {128}},
        {"one past a packet", {129}},
        {"long run", {300}},
        {"mixed", {1, 2, 128, 129, 300, 1}},
        {"long raw", std::vector<int>(260, 1)},
    };
    const std::vector<RleType> types = {{11, 8}, {9, 8}, {10, 16}, {10, 24}, {10, 32}};
    const int height = 3;
    for (const RowCase& c : cases) {
        for (const RleType& t : types) {
            SCOPED_TRACE(std::string(c.name) + ", type " + std::to_string(t.type) + ", depth " +
                         std::to_string(t.depth));
            const int bpp = t.depth / 8;
            int width = 0;
            const std::vector<uint8_t> pixels = stretchedRows(c.stretches, height, bpp, &width);
            OwnedImage image;
            setImage(&image, t.type, width, height, t.depth, pixels);
            if (t.type == 9) {
                setMap(&image, 0, 256, 24, noise(256 * 3, 4));
            }
            std::vector<uint8_t> file;
            ASSERT_EQ(writeTGAToMemory(&file, &image), kTgaOk);
            const size_t start = kHeaderSize + (t.type == 9 ? 256 * 3 : 0);
            const RleParse parse = parseRle(file, start, width, height, bpp);
            EXPECT_EQ(parse.pixels, pixels);
            EXPECT_FALSE(parse.crossesRow);
            EXPECT_EQ(parse.end + kFooterSize, file.size());
        }
    }
}

TEST_F(TgaWriteTest, RleUsesAsFewPacketsAsTheFormatAllows) {
    // Rows of one stretch: equal pixels need one run packet per 128, distinct ones one raw
    // packet per 128 pixels.
    struct Case {
        std::vector<int> stretches;
        size_t packetsPerRow;
        bool run;
    };
    const std::vector<Case> cases = {{{2}, 1, true},
                                     {{128}, 1, true},
                                     {{300}, 3, true},
                                     {std::vector<int>(5, 1), 1, false},
                                     {std::vector<int>(128, 1), 1, false},
                                     {std::vector<int>(129, 1), 2, false}};
    for (const Case& c : cases) {
        SCOPED_TRACE("width " + std::to_string(c.stretches.size() == 1 ? c.stretches[0]
                                                                       : int(c.stretches.size())));
        int width = 0;
        const std::vector<uint8_t> pixels = stretchedRows(c.stretches, 2, 3, &width);
        OwnedImage image;
        setImage(&image, 10, width, 2, 24, pixels);
        std::vector<uint8_t> file;
        ASSERT_EQ(writeTGAToMemory(&file, &image), kTgaOk);
        const RleParse parse = parseRle(file, kHeaderSize, width, 2, 3);
        EXPECT_EQ(parse.packets.size(), 2 * c.packetsPerRow);
        for (const Packet& p : parse.packets) {
            EXPECT_EQ(p.run, c.run) << "packet at " << p.offset;
        }
    }
}

TEST_F(TgaWriteTest, InvalidHeadersAreRefusedWithTheReadersCodes) {
    for (const HeaderFault& fault : headerFaults()) {
        SCOPED_TRACE(fault.name);
        OwnedImage image;
        setFaultBase(&image);
        fault.apply(image);
        std::vector<uint8_t> file{1, 2, 3};
        EXPECT_EQ(writeTGAToMemory(&file, &image), fault.code);
        EXPECT_TRUE(file.empty()) << "nothing is written for an invalid header";
    }
}

TEST_F(TgaWriteTest, MissingBuffersAreRefusedBeforeTheFileIsCreated) {
    OwnedImage noPixels;
    setFaultBase(&noPixels);
    std::free(noPixels.imageData);
    noPixels.imageData = nullptr;
    EXPECT_EQ(writeTGA("a.tga", &noPixels), kTgaNoImageData);

    OwnedImage noMap;
    setFaultBase(&noMap);
    std::free(noMap.colourMap);
    noMap.colourMap = nullptr;
    EXPECT_EQ(writeTGA("a.tga", &noMap), kTgaMappedWithoutMap);
    EXPECT_EQ(writeTGA("a.tga", nullptr), kTgaNoImageData);
    EXPECT_TRUE(readBytes("a.tga").empty());
}

TEST_F(TgaWriteTest, MissingIdBufferIsWrittenAsZeros) {
    OwnedImage image;
    setImage(&image, 3, 1, 1, 8, {77});
    image.idLength = 4;
    std::vector<uint8_t> file;
    ASSERT_EQ(writeTGAToMemory(&file, &image), kTgaOk);
    EXPECT_EQ(std::vector<uint8_t>(file.begin() + 18, file.begin() + 23),
              std::vector<uint8_t>({0, 0, 0, 0, 77}));
}

TEST_F(TgaWriteTest, OpenAndWriteFailuresHaveTheirCodes) {
    OwnedImage image;
    setImage(&image, 2, 4, 4, 24, noise(48, 5));
    EXPECT_EQ(writeTGA("no-such-dir/a.tga", &image), kTgaOpenFailed);
    EXPECT_EQ(writeTGA("/dev/full", &image), kTgaWriteFailed);
}

TEST_F(TgaWriteTest, ConvenienceWritersFillTheHeaderAndStoreTheBuffers) {
    const std::vector<uint8_t> pixels = noise(6 * 4 * 4, 6);
    const std::vector<uint8_t> map = noise(16 * 2, 7);
    const uint8_t* p = pixels.data();
    struct Case {
        const char* name;
        int (*write)(const uint8_t* p, const uint8_t* map);
        uint8_t type, mapType, depth, mapDepth;
    };
    const std::vector<Case> cases = {
        {"mono", [](auto p, auto) { return writeTGAMono("c.tga", p, 6, 4, false); }, 3, 0, 8, 0},
        {"mono rle", [](auto p, auto) { return writeTGAMono("c.tga", p, 6, 4, true); }, 11, 0, 8,
         0},
        {"mapped",
         [](auto p, auto m) { return writeTGAColourMapped("c.tga", p, 6, 4, m, 16, 16, false); }, 1,
         1, 8, 16},
        {"mapped rle",
         [](auto p, auto m) { return writeTGAColourMapped("c.tga", p, 6, 4, m, 16, 16, true); }, 9,
         1, 8, 16},
        {"16", [](auto p, auto) { return writeTGATrueColour("c.tga", p, 6, 4, 16, false); }, 2, 0,
         16, 0},
        {"24 rle", [](auto p, auto) { return writeTGATrueColour("c.tga", p, 6, 4, 24, true); }, 10,
         0, 24, 0},
        {"32", [](auto p, auto) { return writeTGATrueColour("c.tga", p, 6, 4, 32, false); }, 2, 0,
         32, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        ASSERT_EQ(c.write(p, map.data()), kTgaOk);
        const std::vector<uint8_t> file = readBytes("c.tga");
        ASSERT_GE(file.size(), kHeaderSize);
        EXPECT_EQ(file[0], 0);
        EXPECT_EQ(file[1], c.mapType);
        EXPECT_EQ(file[2], c.type);
        EXPECT_EQ(le16(file, 3), 0u);
        EXPECT_EQ(le16(file, 5), c.mapType ? 16u : 0u);
        EXPECT_EQ(file[7], c.mapDepth);
        EXPECT_EQ(le16(file, 12), 6u);
        EXPECT_EQ(le16(file, 14), 4u);
        EXPECT_EQ(file[16], c.depth);
        EXPECT_EQ(file[17], 0) << "rows bottom to top, pixels left to right";
        const size_t mapBytes = c.mapType ? map.size() : 0;
        ASSERT_GE(file.size(), kHeaderSize + mapBytes);
        EXPECT_EQ(std::vector<uint8_t>(file.begin() + 18, file.begin() + long(18 + mapBytes)),
                  std::vector<uint8_t>(map.begin(), map.begin() + long(mapBytes)));
        const size_t bpp = c.depth / 8;
        const std::vector<uint8_t> expected(pixels.begin(), pixels.begin() + long(6 * 4 * bpp));
        if (c.type & 8) {
            EXPECT_EQ(parseRle(file, kHeaderSize + mapBytes, 6, 4, bpp).pixels, expected);
        } else {
            const auto at = file.begin() + long(kHeaderSize + mapBytes);
            EXPECT_EQ(std::vector<uint8_t>(at, at + long(expected.size())), expected);
        }
    }
}

TEST_F(TgaWriteTest, ConvenienceWritersRefuseWhatAHeaderCannotHold) {
    const std::vector<uint8_t> pixels(16, 0);
    EXPECT_EQ(writeTGAMono("x.tga", pixels.data(), 0, 4, false), kTgaZeroSize);
    EXPECT_EQ(writeTGAMono("x.tga", pixels.data(), 4, -1, false), kTgaZeroSize);
    EXPECT_EQ(writeTGAMono("x.tga", pixels.data(), 65536, 1, false), kTgaZeroSize);
    EXPECT_EQ(writeTGAMono("x.tga", nullptr, 4, 4, false), kTgaNoImageData);
    EXPECT_EQ(writeTGATrueColour("x.tga", pixels.data(), 2, 2, 8, false), kTgaBadPixelDepth);
    EXPECT_EQ(writeTGATrueColour("x.tga", pixels.data(), 2, 2, 280, false), kTgaBadPixelDepth)
        << "a depth that would wrap to 24 in a byte";
    EXPECT_EQ(writeTGAColourMapped("x.tga", pixels.data(), 2, 2, pixels.data(), 0, 24, false),
              kTgaEmptyMap);
    EXPECT_EQ(writeTGAColourMapped("x.tga", pixels.data(), 2, 2, pixels.data(), 4, 8, false),
              kTgaBadMapDepth);
    EXPECT_EQ(writeTGAColourMapped("x.tga", pixels.data(), 2, 2, nullptr, 4, 24, false),
              kTgaMappedWithoutMap);
}

} // namespace
