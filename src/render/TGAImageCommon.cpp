// Header checks, size arithmetic, pixel packing and error texts shared by the TGA reader, writer
// and transforms. The checks are one set so that the writer never produces a file the reader
// would refuse.
#include "TGAImageInternal.h"

#include <cstdlib>

namespace {

const char* const kErrorTexts[] = {
    "no error",
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
    "invalid desaturation weights",
};
const char* const kUnknownError = "unknown error code";
constexpr int kErrorCount = static_cast<int>(sizeof(kErrorTexts) / sizeof(kErrorTexts[0]));

constexpr uint8_t kTypeNone = 0;
constexpr uint16_t kAlphaBit16 = 0x8000;
constexpr uint8_t kOpaque = 255;
constexpr uint8_t kAlphaThreshold = 128;

bool isKnownType(uint8_t type) {
    return type == 1 || type == 2 || type == 3 || type == 9 || type == 10 || type == 11;
}

bool isColourDepth(int depth) {
    return depth == 16 || depth == 24 || depth == 32;
}

// Widens a 5-bit channel to 8 bits so that 0 stays 0 and 31 becomes 255.
uint8_t widen5(unsigned v) {
    return static_cast<uint8_t>((v << 3) | (v >> 2));
}

} // namespace

namespace tga {

bool isColourMapped(const TGAImage& image) {
    return image.imageType == 1 || image.imageType == 9;
}

bool isRle(const TGAImage& image) {
    return image.imageType == 9 || image.imageType == 10 || image.imageType == 11;
}

bool isMono(const TGAImage& image) {
    return image.imageType == 3 || image.imageType == 11;
}

int checkMapType(const TGAImage& image) {
    return image.colourMapType > 1 ? kTgaBadMapType : kTgaOk;
}

int checkImageType(const TGAImage& image) {
    if (image.imageType == kTypeNone) {
        return kTgaNoImageData;
    }
    if (!isKnownType(image.imageType)) {
        return kTgaBadImageType;
    }
    if (isColourMapped(image) && image.colourMapType == 0) {
        return kTgaMappedWithoutMap;
    }
    if (!isColourMapped(image) && image.colourMapType == 1) {
        return kTgaUnmappedWithMap;
    }
    return kTgaOk;
}

int checkColourMapFields(const TGAImage& image) {
    if (image.colourMapType != 1) {
        return kTgaOk;
    }
    if (image.colourMapLength == 0) {
        return kTgaEmptyMap;
    }
    return isColourDepth(image.colourMapDepth) ? kTgaOk : kTgaBadMapDepth;
}

int checkDimensions(const TGAImage& image) {
    return image.width == 0 || image.height == 0 ? kTgaZeroSize : kTgaOk;
}

// Indices and grey values are one byte; mono images with alpha (16-bit grey) are not supported.
int checkPixelDepth(const TGAImage& image) {
    const int depth = image.pixelDepth;
    if (depth != 8 && !isColourDepth(depth)) {
        return kTgaBadPixelDepth;
    }
    if ((isColourMapped(image) || isMono(image)) && depth != 8) {
        return kTgaBadPixelDepth;
    }
    return kTgaOk;
}

int checkHeader(const TGAImage& image) {
    int (*const checks[])(const TGAImage&) = {checkMapType, checkImageType, checkColourMapFields,
                                              checkDimensions, checkPixelDepth};
    for (auto check : checks) {
        if (const int code = check(image)) {
            return code;
        }
    }
    return kTgaOk;
}

bool multiply(size_t a, size_t b, size_t c, size_t* product) {
    size_t ab = 0;
    return !__builtin_mul_overflow(a, b, &ab) && !__builtin_mul_overflow(ab, c, product);
}

bool imageBytes(const TGAImage& image, size_t* bytes) {
    return multiply(image.width, image.height, image.pixelDepth / 8, bytes);
}

size_t colourMapBytes(const TGAImage& image) {
    return (size_t(image.colourMapFirst) + image.colourMapLength) * (image.colourMapDepth / 8);
}

uint8_t* allocateZeroed(size_t bytes) {
    if (bytes > kMaxAllocation) {
        return nullptr;
    }
    // calloc(0) may return null; one byte keeps "null means failure" true.
    return static_cast<uint8_t*>(std::calloc(bytes == 0 ? 1 : bytes, 1));
}

uint8_t greyValue(const Colour& c, const Weights& w) {
    const long long sum = static_cast<long long>(c.r) * w.red +
                          static_cast<long long>(c.g) * w.green +
                          static_cast<long long>(c.b) * w.blue;
    const long long grey = sum / w.divisor;
    return static_cast<uint8_t>(grey < 0 ? 0 : grey > kOpaque ? kOpaque : grey);
}

uint8_t alphaBits(int depth) {
    return depth == 32 ? 8 : depth == 16 ? 1 : 0;
}

int checkHasPixels(const TGAImage* image) {
    return image == nullptr || image->imageData == nullptr ? kTgaNoImageData : kTgaOk;
}

Colour unpackPixel(const uint8_t* p, int depth) {
    Colour c;
    switch (depth) {
    case 8:
        c.b = c.g = c.r = p[0];
        break;
    case 16: {
        const unsigned v = p[0] | (p[1] << 8);
        c.b = widen5(v & 0x1F);
        c.g = widen5((v >> 5) & 0x1F);
        c.r = widen5((v >> 10) & 0x1F);
        c.a = (v & kAlphaBit16) ? kOpaque : 0;
        break;
    }
    case 24:
        c.b = p[0];
        c.g = p[1];
        c.r = p[2];
        break;
    default:
        c.b = p[0];
        c.g = p[1];
        c.r = p[2];
        c.a = p[3];
        break;
    }
    return c;
}

void packPixel(const Colour& c, int depth, uint8_t* p) {
    if (depth == 16) {
        const unsigned v = ((c.a >= kAlphaThreshold) ? kAlphaBit16 : 0) | ((c.r >> 3) << 10) |
                           ((c.g >> 3) << 5) | (c.b >> 3);
        p[0] = static_cast<uint8_t>(v & 0xFF);
        p[1] = static_cast<uint8_t>(v >> 8);
        return;
    }
    p[0] = c.b;
    p[1] = c.g;
    p[2] = c.r;
    if (depth == 32) {
        p[3] = c.a;
    }
}

} // namespace tga

void freeBuffers(TGAImage* image) {
    if (image == nullptr) {
        return;
    }
    std::free(image->imageId);
    std::free(image->colourMap);
    std::free(image->imageData);
    image->imageId = nullptr;
    image->colourMap = nullptr;
    image->imageData = nullptr;
}

const char* errorText(int code) {
    if (code < 0 || code >= kErrorCount) {
        return kUnknownError;
    }
    return kErrorTexts[code];
}
