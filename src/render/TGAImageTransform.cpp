// In-place TGA transforms: mirroring, depth conversion, colour-map removal and desaturation.
// Every operation checks all it needs before it changes anything, so a failure leaves the image
// as it was; the one exception is convertDepth running out of memory after it removed the map.
#include "TGAImageInternal.h"

#include <algorithm>
#include <cstdlib>

namespace {

constexpr uint8_t kRightToLeft = 0x10;
constexpr uint8_t kTopToBottom = 0x20;
constexpr uint8_t kAttributeMask = 0x0F;
constexpr uint8_t kTrueColour = 2;
constexpr uint8_t kTrueColourRle = 10;
constexpr uint8_t kMono = 3;
constexpr uint8_t kMonoRle = 11;

constexpr tga::Weights kRec709{2126, 7152, 722, 10000};
constexpr tga::Weights kItu{2220, 7067, 713, 10000};
constexpr tga::Weights kAverage{1, 1, 1, 3};

bool isStoredDepth(int depth) {
    return depth == 8 || depth == 16 || depth == 24 || depth == 32;
}

bool isColourDepth(int depth) {
    return depth == 16 || depth == 24 || depth == 32;
}

size_t pixelCount(const TGAImage& image) {
    return size_t(image.width) * image.height;
}

// Swaps the bytes of two pixels.
void swapPixels(uint8_t* a, uint8_t* b, size_t bpp) {
    std::swap_ranges(a, a + bpp, b);
}

// Allocates the pixel buffer of a new depth; null when it is too large or memory is short.
uint8_t* allocatePixels(const TGAImage& image, int depth) {
    size_t bytes = 0;
    if (!tga::multiply(image.width, image.height, size_t(depth) / 8, &bytes)) {
        return nullptr;
    }
    return tga::allocateZeroed(bytes);
}

void replacePixels(TGAImage* image, uint8_t* pixels, int depth) {
    std::free(image->imageData);
    image->imageData = pixels;
    image->pixelDepth = static_cast<uint8_t>(depth);
}

} // namespace

int flipHorizontal(TGAImage* image) {
    if (const int code = tga::checkHasPixels(image)) {
        return code;
    }
    if (!isStoredDepth(image->pixelDepth)) {
        return kTgaBadPixelDepth;
    }
    const size_t bpp = image->pixelDepth / 8;
    const size_t width = image->width;
    for (size_t y = 0; y < image->height; ++y) {
        uint8_t* row = image->imageData + y * width * bpp;
        for (size_t x = 0; x < width / 2; ++x) {
            swapPixels(row + x * bpp, row + (width - 1 - x) * bpp, bpp);
        }
    }
    image->descriptor ^= kRightToLeft;
    return kTgaOk;
}

int flipVertical(TGAImage* image) {
    if (const int code = tga::checkHasPixels(image)) {
        return code;
    }
    if (!isStoredDepth(image->pixelDepth)) {
        return kTgaBadPixelDepth;
    }
    const size_t rowBytes = size_t(image->width) * (image->pixelDepth / 8);
    const size_t height = image->height;
    for (size_t y = 0; y < height / 2; ++y) {
        swapPixels(image->imageData + y * rowBytes, image->imageData + (height - 1 - y) * rowBytes,
                   rowBytes);
    }
    image->descriptor ^= kTopToBottom;
    return kTgaOk;
}

int colourUnmap(TGAImage* image) {
    if (const int code = tga::checkHasPixels(image)) {
        return code;
    }
    if (!tga::isColourMapped(*image)) {
        return kTgaNotMapped;
    }
    if (image->colourMap == nullptr) {
        return kTgaMappedWithoutMap;
    }
    if (image->pixelDepth != 8) {
        return kTgaBadPixelDepth;
    }
    if (!isColourDepth(image->colourMapDepth)) {
        return kTgaBadMapDepth;
    }
    // Entries below colourMapFirst were never stored, so indices there are out of range too.
    const size_t count = pixelCount(*image);
    const size_t first = image->colourMapFirst;
    const size_t end = first + image->colourMapLength;
    for (size_t i = 0; i < count; ++i) {
        if (image->imageData[i] < first || image->imageData[i] >= end) {
            return kTgaIndexOutOfRange;
        }
    }
    const int depth = image->colourMapDepth;
    uint8_t* pixels = allocatePixels(*image, depth);
    if (pixels == nullptr) {
        return kTgaOutOfMemory;
    }
    const size_t entryBytes = size_t(depth) / 8;
    for (size_t i = 0; i < count; ++i) {
        std::copy_n(image->colourMap + image->imageData[i] * entryBytes, entryBytes,
                    pixels + i * entryBytes);
    }
    replacePixels(image, pixels, depth);
    std::free(image->colourMap);
    image->colourMap = nullptr;
    image->colourMapType = 0;
    image->colourMapFirst = 0;
    image->colourMapLength = 0;
    image->colourMapDepth = 0;
    image->imageType = tga::isRle(*image) ? kTrueColourRle : kTrueColour;
    return kTgaOk;
}

// Also sets the descriptor's alpha bits to those of the new depth (8 for 32 bits, 1 for 16).
int convertDepth(TGAImage* image, int bits) {
    if (const int code = tga::checkHasPixels(image)) {
        return code;
    }
    if (!isColourDepth(bits) || !isStoredDepth(image->pixelDepth)) {
        return kTgaBadPixelDepth;
    }
    if (tga::isColourMapped(*image)) {
        if (const int code = colourUnmap(image)) {
            return code;
        }
    }
    if (image->pixelDepth == bits) {
        return kTgaOk;
    }
    uint8_t* pixels = allocatePixels(*image, bits);
    if (pixels == nullptr) {
        return kTgaOutOfMemory;
    }
    const size_t count = pixelCount(*image);
    const int from = image->pixelDepth;
    for (size_t i = 0; i < count; ++i) {
        tga::packPixel(tga::unpackPixel(image->imageData + i * (from / 8), from), bits,
                       pixels + i * (bits / 8));
    }
    replacePixels(image, pixels, bits);
    if (tga::isMono(*image)) {
        image->imageType = tga::isRle(*image) ? kTrueColourRle : kTrueColour;
    }
    image->descriptor = (image->descriptor & ~kAttributeMask) | tga::alphaBits(bits);
    return kTgaOk;
}

// The grey bytes are written over the start of the pixel buffer: byte i never lies behind pixel
// i, so no pixel is overwritten before it has been read. The buffer keeps its old size.
int desaturate(TGAImage* image, int cr, int cg, int cb, int divisor) {
    if (const int code = tga::checkHasPixels(image)) {
        return code;
    }
    if (tga::isMono(*image)) {
        return kTgaMono;
    }
    if (divisor <= 0) {
        return kTgaBadWeights;
    }
    if (!tga::isColourMapped(*image) && !isColourDepth(image->pixelDepth)) {
        return kTgaBadPixelDepth;
    }
    if (tga::isColourMapped(*image)) {
        if (const int code = colourUnmap(image)) {
            return code;
        }
    }
    const tga::Weights weights{cr, cg, cb, divisor};
    const int depth = image->pixelDepth;
    const size_t count = pixelCount(*image);
    for (size_t i = 0; i < count; ++i) {
        const tga::Colour c = tga::unpackPixel(image->imageData + i * (depth / 8), depth);
        image->imageData[i] = tga::greyValue(c, weights);
    }
    image->pixelDepth = 8;
    image->imageType = tga::isRle(*image) ? kMonoRle : kMono;
    image->descriptor &= ~kAttributeMask;
    return kTgaOk;
}

int desaturateRec601(TGAImage* image) {
    const tga::Weights& w = tga::kRec601;
    return desaturate(image, w.red, w.green, w.blue, w.divisor);
}

int desaturateRec709(TGAImage* image) {
    return desaturate(image, kRec709.red, kRec709.green, kRec709.blue, kRec709.divisor);
}

int desaturateItu(TGAImage* image) {
    return desaturate(image, kItu.red, kItu.green, kItu.blue, kItu.divisor);
}

int desaturateAverage(TGAImage* image) {
    return desaturate(image, kAverage.red, kAverage.green, kAverage.blue, kAverage.divisor);
}
