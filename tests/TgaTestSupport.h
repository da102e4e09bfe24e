// Helpers of the TGA tests: images that free themselves, pixel patterns, file bytes, and an
// independent RLE packet parser that checks what the writer produced without using the reader.
#pragma once

#include "TGAImage.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
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
    uint8_t* p = static_cast<uint8_t*>(std::malloc(bytes.empty() ? 1 : bytes.size()));
    if (!bytes.empty()) {
        std::memcpy(p, bytes.data(), bytes.size());
    }
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
                   const std::vector<uint8_t>& storedEntries) {
    const size_t entry = depth / 8;
    std::vector<uint8_t> all(first * entry, 0);
    all.insert(all.end(), storedEntries.begin(), storedEntries.end());
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
// a run would cross the row end if an encoder let it. Colours wrap at 256; neighbours still differ.
inline std::vector<uint8_t> stretchedRows(const std::vector<int>& stretches, int height, int bpp,
                                          int* width) {
    *width = 0;
    for (int s : stretches) {
        *width += s;
    }
    std::vector<uint8_t> pixels;
    int colour = 0;
    for (int y = 0; y < height; ++y) {
        for (size_t s = 0; s < stretches.size(); ++s) {
            if (s > 0 || y == 0) {
                ++colour;
            }
            for (int i = 0; i < stretches[s]; ++i) {
                for (int k = 0; k < bpp; ++k) {
                    pixels.push_back(static_cast<uint8_t>(colour * (k + 1)));
                }
            }
        }
    }
    return pixels;
}

inline std::vector<uint8_t> readBytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::vector<uint8_t>(std::istreambuf_iterator<char>(in), {});
}

inline void writeBytes(const std::string& path, const std::vector<uint8_t>& bytes) {
    std::ofstream out(path, std::ios::binary);
    out.write(reinterpret_cast<const char*>(bytes.data()), std::streamsize(bytes.size()));
}

inline unsigned le16(const std::vector<uint8_t>& bytes, size_t at) {
    return bytes.at(at) | (bytes.at(at + 1) << 8);
}

// One RLE packet as found in a file.
struct Packet {
    size_t offset = 0; // of the packet header byte
    bool run = false;
    size_t pixels = 0;
};

// Result of parsing RLE pixel data.
struct RleParse {
    std::vector<Packet> packets;
    std::vector<uint8_t> pixels; // decoded bytes
    size_t end = 0;              // offset after the last packet
    bool crossesRow = false;     // some packet continues past the end of a row
};

// Decodes width * height pixels of bpp bytes from `at` in the TGA packet format, noting packet
// boundaries. Fails the calling test if the data is cut short.
inline RleParse parseRle(const std::vector<uint8_t>& file, size_t at, size_t width, size_t height,
                         size_t bpp) {
    RleParse result;
    const size_t total = width * height;
    size_t done = 0;
    while (done < total) {
        if (at >= file.size()) {
            ADD_FAILURE() << "RLE data ends after " << done << " of " << total << " pixels";
            break;
        }
        Packet p{at, (file[at] & 0x80) != 0, size_t(file[at] & 0x7F) + 1u};
        ++at;
        const size_t stored = p.run ? bpp : p.pixels * bpp;
        if (at + stored > file.size()) {
            ADD_FAILURE() << "packet at " << p.offset << " is cut short";
            break;
        }
        for (size_t i = 0; i < p.pixels; ++i) {
            const size_t from = at + (p.run ? 0 : i * bpp);
            result.pixels.insert(result.pixels.end(), file.begin() + long(from),
                                 file.begin() + long(from + bpp));
        }
        if (done / width != (done + p.pixels - 1) / width) {
            result.crossesRow = true;
        }
        done += p.pixels;
        at += stored;
        result.packets.push_back(p);
    }
    result.end = at;
    return result;
}

// The 18 header bytes of an image's fields, encoded by hand.
inline std::vector<uint8_t> encodeHeader(const TGAImage& image) {
    auto put16 = [](std::vector<uint8_t>& v, unsigned x) {
        v.push_back(static_cast<uint8_t>(x & 0xFF));
        v.push_back(static_cast<uint8_t>(x >> 8));
    };
    std::vector<uint8_t> h{image.idLength, image.colourMapType, image.imageType};
    put16(h, image.colourMapFirst);
    put16(h, image.colourMapLength);
    h.push_back(image.colourMapDepth);
    put16(h, image.originX);
    put16(h, image.originY);
    put16(h, image.width);
    put16(h, image.height);
    h.push_back(image.pixelDepth);
    h.push_back(image.descriptor);
    return h;
}

// A header mistake and the code both the reader and the writer answer it with.
struct HeaderFault {
    const char* name;
    void (*apply)(TGAImage&);
    int code;
};

// Faults applied to a valid 2 x 2 colour-mapped image (map of 4 entries of 24 bits from 0).
inline const std::vector<HeaderFault>& headerFaults() {
    static const std::vector<HeaderFault> faults = {
        {"map type 2", [](TGAImage& i) { i.colourMapType = 2; }, kTgaBadMapType},
        {"map type 255", [](TGAImage& i) { i.colourMapType = 255; }, kTgaBadMapType},
        {"type 0", [](TGAImage& i) { i.imageType = 0; }, kTgaNoImageData},
        {"type 4", [](TGAImage& i) { i.imageType = 4; }, kTgaBadImageType},
        {"type 8", [](TGAImage& i) { i.imageType = 8; }, kTgaBadImageType},
        {"type 12", [](TGAImage& i) { i.imageType = 12; }, kTgaBadImageType},
        {"type 32", [](TGAImage& i) { i.imageType = 32; }, kTgaBadImageType},
        {"type 255", [](TGAImage& i) { i.imageType = 255; }, kTgaBadImageType},
        {"mapped without map", [](TGAImage& i) { i.colourMapType = 0; }, kTgaMappedWithoutMap},
        {"RLE mapped without map",
         [](TGAImage& i) {
             i.colourMapType = 0;
             i.imageType = 9;
         },
         kTgaMappedWithoutMap},
        {"true-colour with map", [](TGAImage& i) { i.imageType = 2; }, kTgaUnmappedWithMap},
        {"mono with map", [](TGAImage& i) { i.imageType = 11; }, kTgaUnmappedWithMap},
        {"map length 0", [](TGAImage& i) { i.colourMapLength = 0; }, kTgaEmptyMap},
        {"map depth 8", [](TGAImage& i) { i.colourMapDepth = 8; }, kTgaBadMapDepth},
        {"map depth 15", [](TGAImage& i) { i.colourMapDepth = 15; }, kTgaBadMapDepth},
        {"map depth 0", [](TGAImage& i) { i.colourMapDepth = 0; }, kTgaBadMapDepth},
        {"width 0", [](TGAImage& i) { i.width = 0; }, kTgaZeroSize},
        {"height 0", [](TGAImage& i) { i.height = 0; }, kTgaZeroSize},
        {"mapped depth 16", [](TGAImage& i) { i.pixelDepth = 16; }, kTgaBadPixelDepth},
        {"depth 0", [](TGAImage& i) { i.pixelDepth = 0; }, kTgaBadPixelDepth},
        {"depth 15", [](TGAImage& i) { i.pixelDepth = 15; }, kTgaBadPixelDepth},
        {"depth 40", [](TGAImage& i) { i.pixelDepth = 40; }, kTgaBadPixelDepth},
        {"true-colour depth 15",
         [](TGAImage& i) {
             i.colourMapType = 0;
             i.imageType = 2;
             i.pixelDepth = 15;
         },
         kTgaBadPixelDepth},
        {"mono depth 16",
         [](TGAImage& i) {
             i.colourMapType = 0;
             i.imageType = 3;
             i.pixelDepth = 16;
         },
         kTgaBadPixelDepth},
    };
    return faults;
}

// The valid image the header faults start from.
inline void setFaultBase(TGAImage* image) {
    setImage(image, 1, 2, 2, 8, {0, 1, 2, 3});
    setMap(image, 0, 4, 24, noise(12, 7));
}

} // namespace tgatest
