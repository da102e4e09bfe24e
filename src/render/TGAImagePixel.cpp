// Single-pixel access for tools and tests. Coordinates address the buffer as stored (the
// descriptor's row and pixel order is not applied), and every access is bounds-checked.
#include "TGAImageInternal.h"

#include <cstring>

namespace {

constexpr uint8_t kMaxDepthBytes = 4;

// The address of pixel (x, y), or an error code when it does not exist.
int locate(const TGAImage* image, int x, int y, uint8_t** pixel) {
    if (const int code = tga::checkHasPixels(image)) {
        return code;
    }
    const int depth = image->pixelDepth;
    if (depth != 8 && depth != 16 && depth != 24 && depth != 32) {
        return kTgaBadPixelDepth;
    }
    if (x < 0 || y < 0 || x >= image->width || y >= image->height) {
        return kTgaPixelOutOfRange;
    }
    const size_t index = size_t(y) * image->width + size_t(x);
    *pixel = image->imageData + index * (depth / 8);
    return kTgaOk;
}

// Checks that the map can be indexed at all: present and of a colour depth.
int checkMap(const TGAImage& image) {
    if (image.colourMap == nullptr) {
        return kTgaMappedWithoutMap;
    }
    const int depth = image.colourMapDepth;
    return depth == 16 || depth == 24 || depth == 32 ? kTgaOk : kTgaBadMapDepth;
}

// The stored map entry equal to c at the map's depth (alpha ignored at 24 bits).
int findEntry(const TGAImage& image, const tga::Colour& c, uint8_t* index) {
    if (const int code = checkMap(image)) {
        return code;
    }
    const size_t entryBytes = image.colourMapDepth / 8;
    uint8_t packed[kMaxDepthBytes];
    tga::packPixel(c, image.colourMapDepth, packed);
    const size_t first = image.colourMapFirst;
    const size_t end = first + image.colourMapLength;
    // Indices are one byte, so entries past 255 cannot be used.
    for (size_t i = first; i < end && i <= 0xFF; ++i) {
        if (std::memcmp(image.colourMap + i * entryBytes, packed, entryBytes) == 0) {
            *index = static_cast<uint8_t>(i);
            return kTgaOk;
        }
    }
    return kTgaIndexOutOfRange;
}

} // namespace

int getPixel(const TGAImage* image, int x, int y, uint8_t* b, uint8_t* g, uint8_t* r, uint8_t* a) {
    uint8_t* pixel = nullptr;
    if (const int code = locate(image, x, y, &pixel)) {
        return code;
    }
    tga::Colour c;
    if (tga::isColourMapped(*image)) {
        if (const int code = checkMap(*image)) {
            return code;
        }
        const size_t index = *pixel;
        if (index < image->colourMapFirst ||
            index >= size_t(image->colourMapFirst) + image->colourMapLength) {
            return kTgaIndexOutOfRange;
        }
        const int depth = image->colourMapDepth;
        c = tga::unpackPixel(image->colourMap + index * (depth / 8), depth);
    } else {
        c = tga::unpackPixel(pixel, image->pixelDepth);
    }
    uint8_t* const outputs[] = {b, g, r, a};
    const uint8_t values[] = {c.b, c.g, c.r, c.a};
    for (int i = 0; i < 4; ++i) {
        if (outputs[i] != nullptr) {
            *outputs[i] = values[i];
        }
    }
    return kTgaOk;
}

int putPixel(TGAImage* image, int x, int y, uint8_t b, uint8_t g, uint8_t r, uint8_t a) {
    uint8_t* pixel = nullptr;
    if (const int code = locate(image, x, y, &pixel)) {
        return code;
    }
    tga::Colour c;
    c.b = b;
    c.g = g;
    c.r = r;
    c.a = a;
    if (tga::isColourMapped(*image)) {
        return findEntry(*image, c, pixel);
    }
    if (image->pixelDepth == 8) {
        *pixel = tga::greyValue(c, tga::kRec601);
        return kTgaOk;
    }
    tga::packPixel(c, image->pixelDepth, pixel);
    return kTgaOk;
}
