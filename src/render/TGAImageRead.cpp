// The TGA reader. Files and memory share one decoder over a byte source that knows how many
// bytes are left, so that no size taken from the header is trusted before it has been compared
// with the input: a tiny file claiming a huge image is refused before anything is allocated.
//
// Truncated RLE data: input that ends at a packet boundary is a file that simply stops early
// (some writers do this); it loads with code 0 and the missing pixels read as zero. Input that
// ends inside a packet is damaged and gives code 2, as a short raw block does.
#include "TGAImageInternal.h"

#include <cstdio>
#include <cstring>
#include <limits>

namespace {

constexpr uint8_t kRunFlag = 0x80;
constexpr uint8_t kCountMask = 0x7F;
constexpr size_t kUnknownSize = std::numeric_limits<size_t>::max();

// Bytes from memory or a file, read front to back.
class Source {
public:
    Source(const uint8_t* data, size_t size) : data_(data), left_(data ? size : 0) {}
    explicit Source(FILE* file) : file_(file), left_(fileSize(file)) {}

    // Bytes left, or kUnknownSize for a file that cannot tell (a pipe).
    size_t remaining() const { return left_; }

    // Reads exactly count bytes; false (and to partly filled) when the input ends first.
    bool read(uint8_t* to, size_t count) {
        if (left_ != kUnknownSize && count > left_) {
            return false;
        }
        if (file_ != nullptr) {
            if (std::fread(to, 1, count, file_) != count) {
                return false;
            }
        } else if (count > 0) {
            std::memcpy(to, data_, count);
            data_ += count;
        }
        if (left_ != kUnknownSize) {
            left_ -= count;
        }
        return true;
    }
    bool readByte(uint8_t* to) { return read(to, 1); }
    bool read16(uint16_t* to) {
        uint8_t bytes[2];
        if (!read(bytes, 2)) {
            return false;
        }
        *to = static_cast<uint16_t>(bytes[0] | (bytes[1] << 8));
        return true;
    }

private:
    static size_t fileSize(FILE* file) {
        if (std::fseek(file, 0, SEEK_END) != 0) {
            return kUnknownSize;
        }
        const long size = std::ftell(file);
        if (size < 0 || std::fseek(file, 0, SEEK_SET) != 0) {
            return kUnknownSize;
        }
        return static_cast<size_t>(size);
    }

    const uint8_t* data_ = nullptr;
    FILE* file_ = nullptr;
    size_t left_ = 0;
};

// Field by field, each field checked as soon as it is known so that the code names the first
// fault in file order.
int readHeader(Source& in, TGAImage& image) {
    if (!in.readByte(&image.idLength) || !in.readByte(&image.colourMapType)) {
        return kTgaShortRead;
    }
    if (const int code = tga::checkMapType(image)) {
        return code;
    }
    if (!in.readByte(&image.imageType)) {
        return kTgaShortRead;
    }
    if (const int code = tga::checkImageType(image)) {
        return code;
    }
    if (!in.read16(&image.colourMapFirst) || !in.read16(&image.colourMapLength) ||
        !in.readByte(&image.colourMapDepth)) {
        return kTgaShortRead;
    }
    if (const int code = tga::checkColourMapFields(image)) {
        return code;
    }
    if (!in.read16(&image.originX) || !in.read16(&image.originY) || !in.read16(&image.width) ||
        !in.read16(&image.height)) {
        return kTgaShortRead;
    }
    if (const int code = tga::checkDimensions(image)) {
        return code;
    }
    if (!in.readByte(&image.pixelDepth)) {
        return kTgaShortRead;
    }
    if (const int code = tga::checkPixelDepth(image)) {
        return code;
    }
    return in.readByte(&image.descriptor) ? kTgaOk : kTgaShortRead;
}

// Allocates `bytes` zeroed bytes into *buffer after checking that `needed` bytes of input are
// left; the check comes first so that short input never causes a large allocation.
int allocateFor(Source& in, size_t needed, size_t bytes, uint8_t** buffer) {
    if (bytes > tga::kMaxAllocation) {
        return kTgaOutOfMemory;
    }
    if (needed > in.remaining()) {
        return kTgaShortRead;
    }
    *buffer = tga::allocateZeroed(bytes);
    return *buffer == nullptr ? kTgaOutOfMemory : kTgaOk;
}

int readId(Source& in, TGAImage& image) {
    if (image.idLength == 0) {
        return kTgaOk;
    }
    if (const int code = allocateFor(in, image.idLength, image.idLength, &image.imageId)) {
        return code;
    }
    return in.read(image.imageId, image.idLength) ? kTgaOk : kTgaShortRead;
}

// Entries below colourMapFirst are not in the file; they stay zero.
int readColourMap(Source& in, TGAImage& image) {
    if (image.colourMapType != 1) {
        return kTgaOk;
    }
    const size_t entryBytes = image.colourMapDepth / 8;
    const size_t stored = size_t(image.colourMapLength) * entryBytes;
    if (const int code = allocateFor(in, stored, tga::colourMapBytes(image), &image.colourMap)) {
        return code;
    }
    uint8_t* first = image.colourMap + size_t(image.colourMapFirst) * entryBytes;
    return in.read(first, stored) ? kTgaOk : kTgaShortRead;
}

// The fewest input bytes that could encode `pixels` pixels: every packet takes a header byte and
// at least one pixel and covers at most 128 pixels.
size_t fewestRleBytes(size_t pixels, size_t bpp) {
    const size_t packets = pixels / tga::kMaxPacketPixels + (pixels % tga::kMaxPacketPixels != 0);
    return packets * (1 + bpp);
}

int decodeRle(Source& in, uint8_t* data, size_t total, size_t bpp) {
    size_t done = 0;
    uint8_t pixel[4];
    while (done < total) {
        uint8_t header = 0;
        if (!in.readByte(&header)) {
            return kTgaOk;
        }
        const size_t count = size_t(header & kCountMask) + 1;
        if (header & kRunFlag) {
            if (!in.read(pixel, bpp)) {
                return kTgaShortRead;
            }
            if (count > total - done) {
                return kTgaBadRle;
            }
            for (size_t i = 0; i < count; ++i) {
                std::memcpy(data + (done + i) * bpp, pixel, bpp);
            }
        } else {
            if (count > total - done) {
                return kTgaBadRle;
            }
            if (!in.read(data + done * bpp, count * bpp)) {
                return kTgaShortRead;
            }
        }
        done += count;
    }
    return kTgaOk;
}

int readPixels(Source& in, TGAImage& image) {
    size_t bytes = 0;
    if (!tga::imageBytes(image, &bytes)) {
        return kTgaOutOfMemory;
    }
    const size_t bpp = image.pixelDepth / 8;
    const size_t pixels = size_t(image.width) * image.height;
    // RLE data may stop early, but input too short to encode the whole image even as runs of
    // 128 pixels is a tiny file claiming a large image.
    const size_t needed = tga::isRle(image) ? fewestRleBytes(pixels, bpp) : bytes;
    if (const int code = allocateFor(in, needed, bytes, &image.imageData)) {
        return code;
    }
    if (tga::isRle(image)) {
        return decodeRle(in, image.imageData, pixels, bpp);
    }
    return in.read(image.imageData, bytes) ? kTgaOk : kTgaShortRead;
}

int readImage(TGAImage* image, Source& in) {
    if (image == nullptr) {
        return kTgaNoImageData;
    }
    image->imageId = nullptr;
    image->colourMap = nullptr;
    image->imageData = nullptr;
    int code = readHeader(in, *image);
    if (code == kTgaOk) {
        code = readId(in, *image);
    }
    if (code == kTgaOk) {
        code = readColourMap(in, *image);
    }
    if (code == kTgaOk) {
        code = readPixels(in, *image);
    }
    if (code != kTgaOk) {
        freeBuffers(image);
    }
    return code;
}

} // namespace

int readTGA(TGAImage* image, const char* fileName) {
    FILE* file = std::fopen(fileName, "rb");
    if (file == nullptr) {
        if (image != nullptr) {
            image->imageId = image->colourMap = image->imageData = nullptr;
        }
        return kTgaOpenFailed;
    }
    Source in(file);
    const int code = readImage(image, in);
    std::fclose(file);
    return code;
}

int readTGAFromMemory(TGAImage* image, const uint8_t* data, size_t size) {
    Source in(data, size);
    return readImage(image, in);
}
