// libFuzzer target for the TGA reader. Any bytes must load or be refused with a code, without
// touching memory out of bounds. An image that loads is then put through every transform (each
// on its own copy) and through a write and a second read, which must give the same pixels.
#include "TGAImage.h"

#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

size_t pixelBytes(const TGAImage& image) {
    return size_t(image.width) * image.height * (image.pixelDepth / 8);
}

size_t mapBytes(const TGAImage& image) {
    return (size_t(image.colourMapFirst) + image.colourMapLength) * (image.colourMapDepth / 8);
}

uint8_t* duplicate(const uint8_t* from, size_t bytes) {
    if (from == nullptr) {
        return nullptr;
    }
    uint8_t* to = static_cast<uint8_t*>(std::malloc(bytes == 0 ? 1 : bytes));
    if (to == nullptr) {
        std::abort();
    }
    std::memcpy(to, from, bytes);
    return to;
}

// A deep copy with buffers of its own, as the transforms change images in place.
TGAImage copyOf(const TGAImage& image) {
    TGAImage copy = image;
    copy.imageId = duplicate(image.imageId, image.idLength);
    copy.colourMap = duplicate(image.colourMap, mapBytes(image));
    copy.imageData = duplicate(image.imageData, pixelBytes(image));
    return copy;
}

void check(bool condition) {
    if (!condition) {
        std::abort();
    }
}

// Runs one transform on a copy; a successful one must leave a writable image behind.
void onCopy(const TGAImage& image, int (*transform)(TGAImage*)) {
    TGAImage copy = copyOf(image);
    if (transform(&copy) == kTgaOk) {
        std::vector<uint8_t> bytes;
        check(writeTGAToMemory(&bytes, &copy) == kTgaOk);
    }
    freeBuffers(&copy);
}

void exerciseTransforms(const TGAImage& image) {
    onCopy(image, flipHorizontal);
    onCopy(image, flipVertical);
    onCopy(image, colourUnmap);
    onCopy(image, [](TGAImage* i) { return convertDepth(i, 16); });
    onCopy(image, [](TGAImage* i) { return convertDepth(i, 24); });
    onCopy(image, [](TGAImage* i) { return convertDepth(i, 32); });
    onCopy(image, desaturateRec601);
    onCopy(image, desaturateRec709);
    onCopy(image, desaturateItu);
    onCopy(image, desaturateAverage);
    onCopy(image, [](TGAImage* i) -> int {
        uint8_t b = 0, g = 0, r = 0, a = 0;
        const int w = i->width, h = i->height;
        for (const int x : {-1, 0, w - 1, w}) {
            for (const int y : {-1, 0, h - 1, h}) {
                getPixel(i, x, y, &b, &g, &r, &a);
                putPixel(i, x, y, r, g, b, a);
            }
        }
        return kTgaOk;
    });
}

// Whatever the reader accepts the writer must write, and reading that back gives the same image.
void roundTrip(const TGAImage& image) {
    std::vector<uint8_t> bytes;
    check(writeTGAToMemory(&bytes, &image) == kTgaOk);
    TGAImage back;
    check(readTGAFromMemory(&back, bytes.data(), bytes.size()) == kTgaOk);
    check(back.width == image.width && back.height == image.height);
    check(back.imageType == image.imageType && back.pixelDepth == image.pixelDepth);
    check(std::memcmp(back.imageData, image.imageData, pixelBytes(image)) == 0);
    freeBuffers(&back);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    TGAImage image;
    if (readTGAFromMemory(&image, data, size) != kTgaOk) {
        check(image.imageId == nullptr && image.colourMap == nullptr && image.imageData == nullptr);
        return 0;
    }
    roundTrip(image);
    exerciseTransforms(image);
    freeBuffers(&image);
    return 0;
}
