// Helpers of the TGA tests: images that free themselves, pixel patterns, a hand-written header
// encoder, the header faults both reader and writer must refuse, and an RLE packet parser that
// checks written files without using our reader.
#pragma once

#include "TGAImage.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

namespace tgatest {

constexpr size_t kHeaderSize = 18;
constexpr size_t kFooterSize = 26;

// A TGAImage that frees its buffers when it goes out of scope.
struct OwnedImage : TGAImage {
    OwnedImage() = default;
    OwnedImage(const OwnedImage&) = delete;
    OwnedImage& operator=(const OwnedImage&) = delete;
    ~OwnedImage() { freeBuffers(this); }
};

// A malloc'd copy of bytes, as image buffers must be.
inline uint8_t* copyBuffer(const std::vector<uint8_t>& bytes) {
    uint8_t* p = static_cast<uint8_t*>(std::malloc(bytes.size() + 1));
    std::copy(bytes.begin(), bytes.end(), p);
    return p;
}

// Fills image with a header of the given type and a copy of pixels; no colour map.
inline void setImage(TGAImage* image, uint8_t type, int width, int height, int depth,
                     const std::vector<uint8_t>& pixels) {
    image->imageType = type;
    image->width = static_cast<uint16_t>(width);
    image->height = static_cast<uint16_t>(height);
    image->pixelDepth = static_cast<uint8_t>(depth);
    image->imageData = copyBuffer(pixels);
}

// Adds a colour map of `length` entries stored from `first` (entries below it zero).
inline void setMap(TGAImage* image, int first, int length, int depth,
                   const std::vector<uint8_t>& stored) {
    std::vector<uint8_t> all(size_t(first) * (depth / 8), 0);
    all.insert(all.end(), stored.begin(), stored.end());
    image->colourMapType = 1;
    image->colourMapFirst = static_cast<uint16_t>(first);
    image->colourMapLength = static_cast<uint16_t>(length);
    image->colourMapDepth = static_cast<uint8_t>(depth);
    image->colourMap = copyBuffer(all);
}

// Deterministic, varied bytes (a linear congruential sequence).
inline std::vector<uint8_t> noise(size_t count, uint32_t seed) {
    std::vector<uint8_t> bytes(count);
    for (auto& b : bytes) {
        seed = seed * 1664525u + 1013904223u;
        b = static_cast<uint8_t>(seed >> 24);
    }
    return bytes;
}

// Rows made of stretches of equal pixels. Each stretch gets a colour of its own (colour n has
// bytes n, 2n, 3n, ...) except that a row starts with the colour the previous row ended with, so
// a run would cross the row end if an encoder let it. Colours wrap at 256; neighbours differ.
inline std::vector<uint8_t> stretchedRows(const std::vector<int>& stretches, int height, int bpp,
                                          int* width) {
    std::vector<uint8_t> pixels;
    int colour = 0;
    for (int y = 0; y < height; ++y) {
        for (size_t s = 0; s < stretches.size(); ++s) {
            colour += (s > 0 || y == 0) ? 1 : 0;
            for (int i = 0; i < stretches[s] * bpp; ++i) {
                pixels.push_back(static_cast<uint8_t>(colour * (i % bpp + 1)));
            }
        }
    }
    *width = int(pixels.size()) / (height * bpp);
    return pixels;
}

inline std::vector<uint8_t> readBytes(const std::string& path) {
    const std::string bytes = fileBytes(path);
    return std::vector<uint8_t>(bytes.begin(), bytes.end());
}

inline void writeBytes(const std::string& path, const std::vector<uint8_t>& bytes) {
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()), std::streamsize(bytes.size()));
}

inline std::vector<uint8_t> operator+(std::vector<uint8_t> a, const std::vector<uint8_t>& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

// The 18 header bytes of an image's fields, little-endian, encoded by hand.
inline std::vector<uint8_t> encodeHeader(const TGAImage& i) {
    auto lo = [](unsigned v) { return static_cast<uint8_t>(v & 0xFF); };
    auto hi = [](unsigned v) { return static_cast<uint8_t>(v >> 8); };
    return {
        i.idLength,           i.colourMapType,       i.imageType,           lo(i.colourMapFirst),
        hi(i.colourMapFirst), lo(i.colourMapLength), hi(i.colourMapLength), i.colourMapDepth,
        lo(i.originX),        hi(i.originX),         lo(i.originY),         hi(i.originY),
        lo(i.width),          hi(i.width),           lo(i.height),          hi(i.height),
        i.pixelDepth,         i.descriptor};
}

// A header for an image without map or identification field.
inline std::vector<uint8_t> plainHeader(uint8_t type, int width, int height, int depth) {
    TGAImage image;
    setImage(&image, type, width, height, depth, {});
    std::vector<uint8_t> header = encodeHeader(image);
    freeBuffers(&image);
    return header;
}

// What our writer makes of an image; fails the test if it refuses.
inline std::vector<uint8_t> written(const TGAImage& image) {
    std::vector<uint8_t> bytes;
    EXPECT_EQ(writeTGAToMemory(&bytes, &image), kTgaOk);
    return bytes;
}

// A header mistake, as header bytes changed ({offset, value}), and the code reader and writer
// answer it with.
struct HeaderFault {
    const char* name;
    std::vector<std::pair<int, uint8_t>> changes;
    int code;
};

// Patches the image's header fields as the fault patches its header bytes.
inline void applyFault(TGAImage* image, const HeaderFault& fault) {
    std::vector<uint8_t> h = encodeHeader(*image);
    for (const auto& [offset, value] : fault.changes) {
        h[offset] = value;
    }
    auto le16 = [&h](int at) { return static_cast<uint16_t>(h[at] | (h[at + 1] << 8)); };
    image->colourMapType = h[1];
    image->imageType = h[2];
    image->colourMapLength = le16(5);
    image->colourMapDepth = h[7];
    image->width = le16(12);
    image->height = le16(14);
    image->pixelDepth = h[16];
}

// The valid image the faults change: 2 x 2 colour-mapped, a map of 4 entries of 24 bits. Fault
// offsets: 1 map type, 2 image type, 5 map length, 7 map depth, 12 width, 14 height, 16 depth.
inline void setFaultBase(TGAImage* image) {
    setImage(image, 1, 2, 2, 8, {0, 1, 2, 3});
    setMap(image, 0, 4, 24, noise(12, 7));
}

inline const std::vector<HeaderFault>& headerFaults() {
    static const std::vector<HeaderFault> faults = {
        {"map type 2", {{1, 2}}, kTgaBadMapType},
        {"map type 255", {{1, 255}}, kTgaBadMapType},
        {"type 0", {{2, 0}}, kTgaNoImageData},
        {"type 4", {{2, 4}}, kTgaBadImageType},
        {"type 8", {{2, 8}}, kTgaBadImageType},
        {"type 12", {{2, 12}}, kTgaBadImageType},
        {"type 255", {{2, 255}}, kTgaBadImageType},
        {"mapped without map", {{1, 0}}, kTgaMappedWithoutMap},
        {"RLE mapped without map", {{1, 0}, {2, 9}}, kTgaMappedWithoutMap},
        {"true-colour with map", {{2, 2}}, kTgaUnmappedWithMap},
        {"mono with map", {{2, 11}}, kTgaUnmappedWithMap},
        {"map length 0", {{5, 0}}, kTgaEmptyMap},
        {"map depth 8", {{7, 8}}, kTgaBadMapDepth},
        {"map depth 15", {{7, 15}}, kTgaBadMapDepth},
        {"width 0", {{12, 0}}, kTgaZeroSize},
        {"height 0", {{14, 0}}, kTgaZeroSize},
        {"mapped depth 16", {{16, 16}}, kTgaBadPixelDepth},
        {"depth 0", {{16, 0}}, kTgaBadPixelDepth},
        {"depth 40", {{16, 40}}, kTgaBadPixelDepth},
        {"true-colour depth 15", {{1, 0}, {2, 2}, {16, 15}}, kTgaBadPixelDepth},
        {"mono depth 16", {{1, 0}, {2, 3}, {16, 16}}, kTgaBadPixelDepth},
    };
    return faults;
}

// One RLE packet as found in a file.
struct Packet {
    size_t offset = 0; // of the packet header byte
    bool run = false;
    size_t pixels = 0;
};

// Packets and decoded bytes of RLE pixel data.
struct RleParse {
    std::vector<Packet> packets;
    std::vector<uint8_t> pixels;
    size_t end = 0;          // offset after the last packet
    bool crossesRow = false; // some packet continues past the end of a row
};

// Decodes width * height pixels of bpp bytes from `at`; fails the test if the data is cut short.
inline RleParse parseRle(const std::vector<uint8_t>& file, size_t at, size_t width, size_t height,
                         size_t bpp) {
    RleParse result;
    for (size_t done = 0; done < width * height;) {
        if (at >= file.size()) {
            ADD_FAILURE() << "RLE data ends after " << done << " pixels";
            break;
        }
        const Packet p{at, (file[at] & 0x80) != 0, size_t(file[at] & 0x7F) + 1u};
        const size_t stored = p.run ? bpp : p.pixels * bpp;
        if (++at + stored > file.size()) {
            ADD_FAILURE() << "packet at " << p.offset << " is cut short";
            break;
        }
        for (size_t i = 0; i < p.pixels; ++i) {
            const auto from = file.begin() + long(at + (p.run ? 0 : i * bpp));
            result.pixels.insert(result.pixels.end(), from, from + long(bpp));
        }
        result.crossesRow |= done / width != (done + p.pixels - 1) / width;
        done += p.pixels;
        at += stored;
        result.packets.push_back(p);
    }
    result.end = at;
    return result;
}

} // namespace tgatest
