// The TGA reader against valid, truncated and malformed input. Each malformed family is a table
// of files built here and the code the reader must answer; a failed read must leave no buffers.
#include "TGAImage.h"
#include "TestSupport.h"
#include "TgaTestSupport.h"

#include <climits>
#include <string>
#include <vector>

namespace {

using namespace tgatest;
using TgaReadTest = TempDirTest;

// Reads bytes and checks that a failure leaves every buffer pointer null.
int readBack(OwnedImage* image, const std::vector<uint8_t>& bytes) {
    const int code = readTGAFromMemory(image, bytes.data(), bytes.size());
    if (code != kTgaOk) {
        EXPECT_TRUE(!image->imageId && !image->colourMap && !image->imageData) << "code " << code;
    }
    return code;
}

std::vector<uint8_t> pixelsOf(const TGAImage& image) {
    const size_t bytes = size_t(image.width) * image.height * (image.pixelDepth / 8);
    return std::vector<uint8_t>(image.imageData, image.imageData + bytes);
}

TEST_F(TgaReadTest, FileAndMemoryReadsAgreeAndAMissingFileIsAnOpenError) {
    OwnedImage source, fromFile, fromMemory, missing;
    setImage(&source, 10, 33, 7, 24, noise(33 * 7 * 3, 1));
    ASSERT_EQ(writeTGA("s.tga", &source), kTgaOk);
    ASSERT_EQ(readTGA(&fromFile, "s.tga"), kTgaOk);
    ASSERT_EQ(readBack(&fromMemory, readBytes("s.tga")), kTgaOk);
    EXPECT_EQ(pixelsOf(fromFile), pixelsOf(source));
    EXPECT_EQ(pixelsOf(fromMemory), pixelsOf(source));
    missing.imageData = reinterpret_cast<uint8_t*>(&missing); // stale, must be reset
    EXPECT_EQ(readTGA(&missing, "absent.tga"), kTgaOpenFailed);
    EXPECT_EQ(missing.imageData, nullptr);
}

// Map mismatches, bad types and bad depths; each check comes as soon as its field is read.
TEST_F(TgaReadTest, HeaderFaultsAreReportedInFieldOrder) {
    for (const HeaderFault& fault : headerFaults()) {
        OwnedImage base, image;
        setFaultBase(&base);
        applyFault(&base, fault);
        // Plenty of bytes behind the header, so no check is pre-empted by a short read.
        EXPECT_EQ(readBack(&image, encodeHeader(base) + std::vector<uint8_t>(4096, 1)), fault.code)
            << fault.name;
    }
}

TEST_F(TgaReadTest, ColourMapStoredFromAFirstEntryAboveZeroStartsAtEntryZero) {
    OwnedImage source, image;
    const std::vector<uint8_t> stored = noise(4 * 2, 11);
    setImage(&source, 1, 2, 1, 8, {5, 8});
    setMap(&source, 5, 4, 16, stored);
    ASSERT_EQ(readBack(&image, written(source)), kTgaOk);
    EXPECT_EQ(std::vector<uint8_t>(image.colourMap, image.colourMap + 18),
              std::vector<uint8_t>(10, 0) + stored)
        << "entries 0 to 4 are not in the file and read as zero";
}

TEST_F(TgaReadTest, RlePacketsOfA3By2MonoImage) {
    struct Case {
        const char* name;
        std::vector<uint8_t> packets;
        int code;
        std::vector<uint8_t> pixels; // when the code is 0
    };
    const std::vector<Case> cases = {
        {"run then raw to the end", {0x82, 1, 0x02, 2, 3, 4}, kTgaOk, {1, 1, 1, 2, 3, 4}},
        {"stops after whole packets", {0x81, 7, 0x01, 8, 9}, kTgaOk, {7, 7, 8, 9, 0, 0}},
        {"raw packet of 7", {0x06, 1, 2, 3, 4, 5, 6, 7}, kTgaBadRle, {}},
        {"run packet of 7", {0x86, 1}, kTgaBadRle, {}},
        {"run of 128", {0xFF, 1}, kTgaBadRle, {}},
        {"raw of 2 after 5 pixels", {0x84, 1, 0x01, 2, 3}, kTgaBadRle, {}},
        {"run of 2 after 5 pixels", {0x84, 1, 0x81, 2}, kTgaBadRle, {}},
        {"run cut before its pixel", {0x82}, kTgaShortRead, {}},
        {"raw cut in its pixels", {0x02, 1, 2}, kTgaShortRead, {}},
        {"no packet at all", {}, kTgaShortRead, {}},
    };
    for (const Case& c : cases) {
        OwnedImage image;
        ASSERT_EQ(readBack(&image, plainHeader(11, 3, 2, 8) + c.packets), c.code) << c.name;
        if (c.code == kTgaOk) {
            EXPECT_EQ(pixelsOf(image), c.pixels) << c.name;
        }
    }
}

// Header, ID field, map and raw pixels must be complete (2 otherwise). RLE data may stop after
// any whole packet but the first; the pixels decoded so far are followed by zeros.
TEST_F(TgaReadTest, TruncationAtEveryOffsetOfEachType) {
    const std::vector<std::pair<uint8_t, int>> types = {
        {1, 8}, {2, 16}, {2, 24}, {2, 32}, {3, 8}, {9, 8}, {10, 16}, {10, 24}, {10, 32}, {11, 8}};
    for (const auto& [type, depth] : types) {
        SCOPED_TRACE("type " + std::to_string(type) + ", depth " + std::to_string(depth));
        int width = 0;
        const size_t bpp = depth / 8;
        const std::vector<uint8_t> rows = stretchedRows({4, 1, 1, 2, 1}, 3, int(bpp), &width);
        OwnedImage source;
        setImage(&source, type, width, 3, depth, rows);
        if (type % 8 == 1) {
            setMap(&source, 3, 30, 24, noise(30 * 3, 9));
            for (int i = 0; i < width * 3; ++i) {
                source.imageData[i] = static_cast<uint8_t>(3 + source.imageData[i] % 30);
            }
        }
        source.idLength = 2;
        source.imageId = copyBuffer({'i', 'd'});
        const std::vector<uint8_t> file = written(source), pixels = pixelsOf(source);
        const size_t dataStart = kHeaderSize + 2 + (type % 8 == 1 ? 30 * 3 : 0);
        const RleParse parse =
            type > 8 ? parseRle(file, dataStart, width, 3, bpp) : RleParse{{}, {}, 0, false};
        const size_t dataEnd = type > 8 ? parse.end : dataStart + pixels.size();

        for (size_t cut = 0; cut < file.size(); ++cut) {
            size_t decoded = pixels.size(); // pixel bytes the cut file still holds
            bool loads = cut >= dataEnd;
            for (size_t p = 1; p < parse.packets.size() && !loads; ++p) {
                loads = parse.packets[p].offset == cut;
                decoded = 0;
                for (size_t q = 0; q < p; ++q) {
                    decoded += parse.packets[q].pixels * bpp;
                }
            }
            OwnedImage image;
            const int code =
                readBack(&image, std::vector<uint8_t>(file.begin(), file.begin() + long(cut)));
            ASSERT_EQ(code, loads ? kTgaOk : kTgaShortRead) << "cut at " << cut;
            if (loads) {
                std::vector<uint8_t> expected(pixels.begin(), pixels.begin() + long(decoded));
                expected.resize(pixels.size(), 0);
                EXPECT_EQ(pixelsOf(image), expected) << "cut at " << cut;
            }
        }
    }
}

// Above 256 MiB the reader refuses at once (13); below it, input too short for the image is a
// short read (2) before anything is allocated. RLE input must be able to hold the whole image as
// runs of 128 pixels, so whole run packets of 128 pixels are offered.
TEST_F(TgaReadTest, HugeImagesAndTinyFilesClaimingLargeImages) {
    struct Case {
        uint8_t type;
        int width, height, depth;
        int code;
    };
    const std::vector<Case> cases = {
        {2, 65535, 65535, 32, kTgaOutOfMemory}, {10, 65535, 65535, 32, kTgaOutOfMemory},
        {3, 65535, 65535, 8, kTgaOutOfMemory},  {11, 65535, 65535, 8, kTgaOutOfMemory},
        {2, 16384, 16385, 8, kTgaOutOfMemory},  {2, 16384, 16384, 8, kTgaShortRead},
        {11, 16384, 16384, 8, kTgaShortRead},   {2, 8192, 8192, 32, kTgaShortRead},
        {10, 65535, 1, 32, kTgaShortRead},      {3, 1, 65535, 8, kTgaShortRead},
    };
    for (const Case& c : cases) {
        std::vector<uint8_t> runs;
        for (int i = 0; i < 32; ++i) {
            runs.push_back(0xFF);
            runs.insert(runs.end(), size_t(c.depth / 8), 0x00);
        }
        OwnedImage image;
        EXPECT_EQ(readBack(&image, plainHeader(c.type, c.width, c.height, c.depth) + runs), c.code)
            << c.width << " x " << c.height << " x " << c.depth << ", type " << int(c.type);
    }
}

TEST_F(TgaReadTest, RleInputMustHoldTheImageAsRunsOf128) {
    for (int depth : {8, 24, 32}) {
        // 1000 x 1000 pixels: 7812 runs of 128 and one of 64, in the fewest bytes possible.
        std::vector<uint8_t> packets;
        for (int i = 0; i < 7813; ++i) {
            packets.push_back(i < 7812 ? 0xFF : 0xBF);
            packets.insert(packets.end(), size_t(depth / 8), 0x55);
        }
        const uint8_t type = depth == 8 ? 11 : 10;
        OwnedImage full, cut;
        EXPECT_EQ(readBack(&full, plainHeader(type, 1000, 1000, depth) + packets), kTgaOk);
        packets.resize(packets.size() - 1 - depth / 8); // ends at a packet boundary, one short
        EXPECT_EQ(readBack(&cut, plainHeader(type, 1000, 1000, depth) + packets), kTgaShortRead)
            << depth;
    }
}

TEST_F(TgaReadTest, IdentificationFieldOrMapRunningPastTheEndIsAShortRead) {
    std::vector<uint8_t> longId = plainHeader(3, 1, 1, 8);
    longId[0] = 255;
    OwnedImage mapped;
    setFaultBase(&mapped);
    mapped.colourMapLength = 300;
    const std::vector<uint8_t> longMap = encodeHeader(mapped);
    const std::vector<std::vector<uint8_t>> files = {
        longId + std::vector<uint8_t>(254, 9), longId,
        longMap + std::vector<uint8_t>(300 * 3 - 1, 9), longMap + std::vector<uint8_t>(300 * 3, 9),
        plainHeader(2, 3, 3, 24) + std::vector<uint8_t>(26, 0)};
    for (size_t i = 0; i < files.size(); ++i) {
        OwnedImage image;
        EXPECT_EQ(readBack(&image, files[i]), kTgaShortRead) << i;
    }
    OwnedImage empty;
    EXPECT_EQ(readTGAFromMemory(&empty, nullptr, 100), kTgaShortRead);
    EXPECT_EQ(readTGAFromMemory(nullptr, nullptr, 0), kTgaNoImageData);
}

TEST(TgaErrorTextTest, EveryCodeHasItsTextAndOthersAreUnknown) {
    const std::vector<std::string> texts = {"no error",
                                            "error opening file",
                                            "premature end of file",
                                            "error writing to file",
                                            "invalid color map type",
                                            "invalid image type",
                                            "no image data included",
                                            "color-mapped image without color map",
                                            "non-color-mapped image with extraneous color map",
                                            "color map has zero length",
                                            "invalid color map depth",
                                            "the image dimensions are zero",
                                            "invalid pixel depth",
                                            "out of memory",
                                            "image is not color mapped",
                                            "RLE data is corrupt",
                                            "color map index out of range",
                                            "image is mono",
                                            "pixel coordinates out of range",
                                            "invalid desaturation weights"};
    for (int code = 0; code < int(texts.size()); ++code) {
        EXPECT_EQ(errorText(code), texts[code]) << code;
    }
    for (int code : {-1, 20, 1000, INT_MIN}) {
        EXPECT_STREQ(errorText(code), "unknown error code") << code;
    }
}

} // namespace
