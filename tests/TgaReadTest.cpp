// The TGA reader against valid, truncated and malformed input. Each malformed family is a table
// of files built here and the code the reader must answer; a failed read must leave no buffers.
#include "TGAImage.h"
#include "TestSupport.h"
#include "TgaTestSupport.h"

#include <string>
#include <vector>

namespace {

using namespace tgatest;
using TgaReadTest = TempDirTest;

// Reads bytes and checks that a failure leaves every buffer pointer null.
int readBack(OwnedImage* image, const std::vector<uint8_t>& bytes) {
    const int code = readTGAFromMemory(image, bytes.data(), bytes.size());
    if (code != kTgaOk) {
        EXPECT_EQ(image->imageId, nullptr);
        EXPECT_EQ(image->colourMap, nullptr);
        EXPECT_EQ(image->imageData, nullptr);
    }
    return code;
}

// A header for a true-colour or mono image without map.
std::vector<uint8_t> plainHeader(uint8_t type, int width, int height, int depth) {
    TGAImage image;
    image.imageType = type;
    image.width = static_cast<uint16_t>(width);
    image.height = static_cast<uint16_t>(height);
    image.pixelDepth = static_cast<uint8_t>(depth);
    return encodeHeader(image);
}

std::vector<uint8_t> concat(std::vector<uint8_t> a, const std::vector<uint8_t>& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

// A small image of the given type with an identification field, a map stored from entry 3 for
// mapped types, and rows mixing runs and single pixels so that RLE files hold both packet kinds.
void setSample(TGAImage* image, uint8_t type, int depth) {
    const int width = 9, height = 3, bpp = depth / 8;
    const bool mapped = type == 1 || type == 9;
    std::vector<uint8_t> pixels;
    const std::vector<uint8_t> colours = noise(size_t(width) * height * bpp, type * 31u + depth);
    for (int i = 0; i < width * height; ++i) {
        const int source = (i % width < 4) ? (i / width) * width : i; // a run of 4 per row
        for (int k = 0; k < bpp; ++k) {
            const uint8_t v = colours[size_t(source) * bpp + k];
            pixels.push_back(mapped ? static_cast<uint8_t>(3 + v % 6) : v);
        }
    }
    setImage(image, type, width, height, depth, pixels);
    if (mapped) {
        setMap(image, 3, 6, 24, noise(6 * 3, 9));
    }
    image->idLength = 2;
    image->imageId = copyBuffer({'i', 'd'});
}

struct TypeDepth {
    uint8_t type;
    int depth;
};
const std::vector<TypeDepth> kSampleTypes = {{1, 8}, {2, 16},  {2, 24},  {2, 32},  {3, 8},
                                             {9, 8}, {10, 16}, {10, 24}, {10, 32}, {11, 8}};

TEST_F(TgaReadTest, FileAndMemoryReadsAgreeAndAMissingFileIsAnOpenError) {
    OwnedImage written;
    setSample(&written, 10, 24);
    ASSERT_EQ(writeTGA("s.tga", &written), kTgaOk);
    OwnedImage fromFile, fromMemory;
    ASSERT_EQ(readTGA(&fromFile, "s.tga"), kTgaOk);
    ASSERT_EQ(readBack(&fromMemory, readBytes("s.tga")), kTgaOk);
    const size_t bytes = size_t(written.width) * written.height * 3;
    EXPECT_EQ(std::vector<uint8_t>(fromFile.imageData, fromFile.imageData + bytes),
              std::vector<uint8_t>(written.imageData, written.imageData + bytes));
    EXPECT_EQ(std::vector<uint8_t>(fromMemory.imageData, fromMemory.imageData + bytes),
              std::vector<uint8_t>(written.imageData, written.imageData + bytes));

    OwnedImage missing;
    missing.imageData = reinterpret_cast<uint8_t*>(&missing); // stale pointer, must be reset
    EXPECT_EQ(readTGA(&missing, "absent.tga"), kTgaOpenFailed);
    EXPECT_EQ(missing.imageData, nullptr);
}

TEST_F(TgaReadTest, HeaderFaultsAreReportedInFieldOrder) {
    for (const HeaderFault& fault : headerFaults()) {
        SCOPED_TRACE(fault.name);
        OwnedImage base;
        setFaultBase(&base);
        fault.apply(base);
        OwnedImage image;
        // Plenty of bytes behind the header, so no check is pre-empted by a short read.
        EXPECT_EQ(readBack(&image, concat(encodeHeader(base), std::vector<uint8_t>(4096, 1))),
                  fault.code);
    }
}

TEST_F(TgaReadTest, ColourMapStoredFromAFirstEntryAboveZeroStartsAtEntryZero) {
    const std::vector<uint8_t> stored = noise(4 * 2, 11);
    OwnedImage source;
    setImage(&source, 1, 2, 1, 8, {5, 8});
    setMap(&source, 5, 4, 16, stored);
    std::vector<uint8_t> file;
    ASSERT_EQ(writeTGAToMemory(&file, &source), kTgaOk);

    OwnedImage image;
    ASSERT_EQ(readBack(&image, file), kTgaOk);
    EXPECT_EQ(image.colourMapFirst, 5);
    EXPECT_EQ(image.colourMapLength, 4);
    const std::vector<uint8_t> map(image.colourMap, image.colourMap + 9 * 2);
    EXPECT_EQ(std::vector<uint8_t>(map.begin(), map.begin() + 10), std::vector<uint8_t>(10, 0))
        << "entries 0 to 4 are not in the file";
    EXPECT_EQ(std::vector<uint8_t>(map.begin() + 10, map.end()), stored);
}

TEST_F(TgaReadTest, RleDataEndingAtAPacketBoundaryLoadsWithTheRestZero) {
    // 4 x 2 pixels at 24 bits; the data holds a run of 3 and a raw packet of 2, then stops.
    const std::vector<uint8_t> packets = {0x82, 1, 2, 3, 0x01, 4, 5, 6, 7, 8, 9};
    OwnedImage image;
    ASSERT_EQ(readBack(&image, concat(plainHeader(10, 4, 2, 24), packets)), kTgaOk);
    const std::vector<uint8_t> expected = {1, 2, 3, 1, 2, 3, 1, 2, 3, 4, 5, 6,
                                           7, 8, 9, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    EXPECT_EQ(std::vector<uint8_t>(image.imageData, image.imageData + 24), expected);
}

TEST_F(TgaReadTest, PacketsReachingPastTheImageAreCorrupt) {
    struct Case {
        const char* name;
        std::vector<uint8_t> packets;
        int code;
    };
    // A 3 x 2 mono image: 6 pixels.
    const std::vector<Case> cases = {
        {"raw packet of 7", {0x06, 1, 2, 3, 4, 5, 6, 7}, kTgaBadRle},
        {"run packet of 7", {0x86, 1}, kTgaBadRle},
        {"run of 128", {0xFF, 1}, kTgaBadRle},
        {"raw after 5 pixels", {0x84, 1, 0x01, 2, 3}, kTgaBadRle},
        {"run after 5 pixels", {0x84, 1, 0x81, 2}, kTgaBadRle},
        {"exactly 6 pixels", {0x84, 1, 0x00, 2}, kTgaOk},
        {"run then raw to the end", {0x82, 1, 0x02, 2, 3, 4}, kTgaOk},
        {"run cut before its pixel", {0x82}, kTgaShortRead},
        {"raw cut in its pixels", {0x02, 1, 2}, kTgaShortRead},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        OwnedImage image;
        EXPECT_EQ(readBack(&image, concat(plainHeader(11, 3, 2, 8), c.packets)), c.code);
    }
}

// Cutting a file at every offset: header, identification field, map and raw pixels must all be
// complete (code 2 otherwise). RLE data may stop after any whole packet but the first; the loaded
// pixels are then the decoded ones followed by zeros.
TEST_F(TgaReadTest, TruncationAtEveryOffsetOfEachType) {
    for (const TypeDepth& t : kSampleTypes) {
        SCOPED_TRACE("type " + std::to_string(t.type) + ", depth " + std::to_string(t.depth));
        OwnedImage source;
        setSample(&source, t.type, t.depth);
        std::vector<uint8_t> file;
        ASSERT_EQ(writeTGAToMemory(&file, &source), kTgaOk);
        const size_t bpp = t.depth / 8;
        const size_t bytes = size_t(source.width) * source.height * bpp;
        const std::vector<uint8_t> pixels(source.imageData, source.imageData + bytes);
        const size_t dataStart = kHeaderSize + 2 + (t.type % 8 == 1 ? 6 * 3 : 0);
        const bool rle = t.type >= 9;
        RleParse parse;
        if (rle) {
            parse = parseRle(file, dataStart, source.width, source.height, bpp);
        }
        const size_t dataEnd = rle ? parse.end : dataStart + bytes;

        for (size_t cut = 0; cut < file.size(); ++cut) {
            SCOPED_TRACE("cut at " + std::to_string(cut));
            const std::vector<uint8_t> part(file.begin(), file.begin() + long(cut));
            size_t decoded = bytes; // pixel bytes the cut file still holds
            bool boundary = cut >= dataEnd;
            for (const Packet& p : parse.packets) {
                if (p.offset == cut && cut > dataStart) {
                    boundary = true;
                    decoded = 0;
                    for (const Packet& q : parse.packets) {
                        decoded += q.offset < cut ? q.pixels * bpp : 0;
                    }
                }
            }
            OwnedImage image;
            const int code = readBack(&image, part);
            if (!boundary) {
                EXPECT_EQ(code, kTgaShortRead);
                continue;
            }
            ASSERT_EQ(code, kTgaOk);
            std::vector<uint8_t> expected(pixels.begin(), pixels.begin() + long(decoded));
            expected.resize(bytes, 0);
            EXPECT_EQ(std::vector<uint8_t>(image.imageData, image.imageData + bytes), expected);
        }
    }
}

TEST_F(TgaReadTest, HugeDimensionsAreRefusedByTheAllocationLimitOrTheInputSize) {
    struct Case {
        uint8_t type;
        int width, height, depth;
        int code;
    };
    // Above 256 MiB the reader refuses (13); at or below it the few bytes present are too few.
    const std::vector<Case> cases = {
        {2, 65535, 65535, 32, kTgaOutOfMemory}, {10, 65535, 65535, 32, kTgaOutOfMemory},
        {3, 65535, 65535, 8, kTgaOutOfMemory},  {11, 65535, 65535, 8, kTgaOutOfMemory},
        {2, 16384, 16385, 8, kTgaOutOfMemory},  {2, 16384, 16384, 8, kTgaShortRead},
        {11, 16384, 16384, 8, kTgaShortRead},   {2, 8192, 8192, 32, kTgaShortRead},
        {10, 65535, 1, 32, kTgaShortRead},      {3, 1, 65535, 8, kTgaShortRead},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::to_string(c.width) + " x " + std::to_string(c.height) + " x " +
                     std::to_string(c.depth) + ", type " + std::to_string(c.type));
        OwnedImage image;
        // Whole run packets, so an RLE image is refused by its size, not by corrupt data.
        std::vector<uint8_t> data;
        for (int i = 0; i < 32; ++i) {
            data.push_back(0xFF);
            data.insert(data.end(), size_t(c.depth / 8), 0x00);
        }
        EXPECT_EQ(readBack(&image, concat(plainHeader(c.type, c.width, c.height, c.depth), data)),
                  c.code);
    }
}

// RLE may expand, but never beyond 128 pixels per packet of header byte and one pixel.
TEST_F(TgaReadTest, RleInputMustBeLongEnoughForTheWholeImageAsMaximalRuns) {
    struct Case {
        int depth;
        size_t bpp;
    };
    for (const Case& c : std::vector<Case>{{8, 1}, {24, 3}, {32, 4}}) {
        SCOPED_TRACE(c.depth);
        const int width = 1000, height = 1000;
        const size_t runs = (size_t(width) * height + 127) / 128;
        std::vector<uint8_t> packets;
        for (size_t i = 0; i < runs; ++i) {
            packets.push_back(i + 1 < runs ? 0xFF : 0x80 | ((width * height - 1) % 128));
            packets.insert(packets.end(), c.bpp, 0x55);
        }
        const uint8_t type = c.depth == 8 ? 11 : 10;
        OwnedImage full;
        EXPECT_EQ(readBack(&full, concat(plainHeader(type, width, height, c.depth), packets)),
                  kTgaOk);
        // Without its last packet the input is one packet short of the fewest bytes possible.
        packets.resize(packets.size() - 1 - c.bpp);
        OwnedImage cut;
        EXPECT_EQ(readBack(&cut, concat(plainHeader(type, width, height, c.depth), packets)),
                  kTgaShortRead);
    }
}

TEST_F(TgaReadTest, IdentificationFieldOrMapRunningPastTheEndIsAShortRead) {
    std::vector<uint8_t> longId = plainHeader(3, 1, 1, 8);
    longId[0] = 255;
    OwnedImage source;
    setFaultBase(&source);
    source.colourMapLength = 300;
    const std::vector<uint8_t> longMap = encodeHeader(source);
    const std::vector<std::vector<uint8_t>> files = {
        concat(longId, std::vector<uint8_t>(254, 9)),
        longId,
        concat(longMap, std::vector<uint8_t>(300 * 3 - 1, 9)),
        concat(longMap, std::vector<uint8_t>(300 * 3, 9)),
        concat(plainHeader(2, 3, 3, 24), std::vector<uint8_t>(26, 0)),
    };
    for (size_t i = 0; i < files.size(); ++i) {
        SCOPED_TRACE(i);
        OwnedImage image;
        EXPECT_EQ(readBack(&image, files[i]), kTgaShortRead);
    }
}

TEST_F(TgaReadTest, EmptyAndNullInputIsAShortRead) {
    OwnedImage image;
    EXPECT_EQ(readTGAFromMemory(&image, nullptr, 100), kTgaShortRead);
    EXPECT_EQ(readTGAFromMemory(&image, nullptr, 0), kTgaShortRead);
    EXPECT_EQ(readTGAFromMemory(nullptr, nullptr, 0), kTgaNoImageData);
}

TEST(TgaErrorTextTest, EveryCodeHasItsTextAndOthersAreUnknown) {
    const std::vector<std::pair<int, std::string>> table = {
        {0, "no error"},
        {1, "error opening file"},
        {2, "premature end of file"},
        {3, "error writing to file"},
        {4, "invalid color map type"},
        {5, "invalid image type"},
        {6, "no image data included"},
        {7, "color-mapped image without color map"},
        {8, "non-color-mapped image with extraneous color map"},
        {9, "color map has zero length"},
        {10, "invalid color map depth"},
        {11, "the image dimensions are zero"},
        {12, "invalid pixel depth"},
        {13, "out of memory"},
        {14, "image is not color mapped"},
        {15, "RLE data is corrupt"},
        {16, "color map index out of range"},
        {17, "image is mono"},
        {18, "pixel coordinates out of range"},
        {19, "invalid desaturation weights"},
        {-1, "unknown error code"},
        {20, "unknown error code"},
        {1000, "unknown error code"},
    };
    for (const auto& [code, text] : table) {
        EXPECT_EQ(errorText(code), text) << code;
    }
}

} // namespace
