// The TGA writer: header, identification field, stored colour-map entries, pixels (raw, or RLE
// one row at a time) and the TGA 2.0 footer. It validates the header with the reader's own checks
// so that everything it writes reads back.
#include "TGAImageInternal.h"

#include <cstdio>
#include <cstring>
#include <new>

namespace {

// Two equal pixels already start a run packet: one header byte and one pixel beat repeating the
// pixel inside a raw packet for every depth but 8 bits, and the rule stays simple.
constexpr size_t kMinRun = 2;
constexpr uint8_t kRunFlag = 0x80;
constexpr uint8_t kFooterSignature[] = "TRUEVISION-XFILE.";
constexpr uint8_t kPadByte = 0;

// Collects output in a file or a byte vector and remembers the first failure.
class Sink {
public:
    explicit Sink(FILE* file) : file_(file) {}
    explicit Sink(std::vector<uint8_t>* bytes) : bytes_(bytes) {}

    void put(const uint8_t* data, size_t count) {
        if (status_ != kTgaOk || count == 0) {
            return;
        }
        if (file_ != nullptr) {
            if (std::fwrite(data, 1, count, file_) != count) {
                status_ = kTgaWriteFailed;
            }
            return;
        }
        try {
            bytes_->insert(bytes_->end(), data, data + count);
        } catch (const std::bad_alloc&) {
            status_ = kTgaOutOfMemory;
        }
    }
    void putByte(uint8_t value) { put(&value, 1); }
    void put16(uint16_t value) {
        const uint8_t bytes[2] = {static_cast<uint8_t>(value & 0xFF),
                                  static_cast<uint8_t>(value >> 8)};
        put(bytes, 2);
    }
    void put32(uint32_t value) {
        put16(static_cast<uint16_t>(value & 0xFFFF));
        put16(static_cast<uint16_t>(value >> 16));
    }
    void putZeros(size_t count) {
        for (size_t i = 0; i < count; ++i) {
            putByte(kPadByte);
        }
    }
    int status() const { return status_; }

private:
    FILE* file_ = nullptr;
    std::vector<uint8_t>* bytes_ = nullptr;
    int status_ = kTgaOk;
};

void writeHeader(Sink& out, const TGAImage& image) {
    out.putByte(image.idLength);
    out.putByte(image.colourMapType);
    out.putByte(image.imageType);
    out.put16(image.colourMapFirst);
    out.put16(image.colourMapLength);
    out.putByte(image.colourMapDepth);
    out.put16(image.originX);
    out.put16(image.originY);
    out.put16(image.width);
    out.put16(image.height);
    out.putByte(image.pixelDepth);
    out.putByte(image.descriptor);
}

// Equal pixels starting at pixel `at`, counting no further than `limit` pixels.
size_t runLength(const uint8_t* row, size_t at, size_t limit, size_t bpp) {
    size_t n = 1;
    while (n < limit && std::memcmp(row + at * bpp, row + (at + n) * bpp, bpp) == 0) {
        ++n;
    }
    return n;
}

// Encodes one row on its own, so that no packet reaches into the next row.
void writeRleRow(Sink& out, const uint8_t* row, size_t width, size_t bpp) {
    size_t at = 0;
    while (at < width) {
        const size_t left = width - at;
        const size_t limit = left < tga::kMaxPacketPixels ? left : tga::kMaxPacketPixels;
        const size_t run = runLength(row, at, limit, bpp);
        if (run >= kMinRun) {
            out.putByte(static_cast<uint8_t>(kRunFlag | (run - 1)));
            out.put(row + at * bpp, bpp);
            at += run;
            continue;
        }
        // A raw packet ends where a run begins, at the row end or at its size limit.
        size_t count = 1;
        while (count < limit && runLength(row, at + count, limit - count, bpp) < kMinRun) {
            ++count;
        }
        out.putByte(static_cast<uint8_t>(count - 1));
        out.put(row + at * bpp, count * bpp);
        at += count;
    }
}

void writePixels(Sink& out, const TGAImage& image, size_t bytes) {
    if (!tga::isRle(image)) {
        out.put(image.imageData, bytes);
        return;
    }
    const size_t bpp = image.pixelDepth / 8;
    const size_t rowBytes = size_t(image.width) * bpp;
    for (size_t y = 0; y < image.height && out.status() == kTgaOk; ++y) {
        writeRleRow(out, image.imageData + y * rowBytes, image.width, bpp);
    }
}

// Extension and developer areas are absent (offsets 0); the signature marks a TGA 2.0 file.
void writeFooter(Sink& out) {
    out.put32(0);
    out.put32(0);
    out.put(kFooterSignature, sizeof(kFooterSignature));
}

// Everything the writer needs before it writes a byte; 0 or the error code.
int checkWritable(const TGAImage* image, size_t* bytes) {
    if (image == nullptr) {
        return kTgaNoImageData;
    }
    if (const int code = tga::checkHeader(*image)) {
        return code;
    }
    if (image->imageData == nullptr) {
        return kTgaNoImageData;
    }
    if (image->colourMapType == 1 && image->colourMap == nullptr) {
        return kTgaMappedWithoutMap;
    }
    return tga::imageBytes(*image, bytes) ? kTgaOk : kTgaOutOfMemory;
}

// Writes a checked image whose pixel block has the given size.
int writeImage(Sink& out, const TGAImage& image, size_t bytes) {
    writeHeader(out, image);
    // A missing identification buffer writes as zeros rather than being read through null.
    if (image.imageId != nullptr) {
        out.put(image.imageId, image.idLength);
    } else {
        out.putZeros(image.idLength);
    }
    if (image.colourMapType == 1) {
        const size_t entryBytes = image.colourMapDepth / 8;
        out.put(image.colourMap + size_t(image.colourMapFirst) * entryBytes,
                size_t(image.colourMapLength) * entryBytes);
    }
    writePixels(out, image, bytes);
    writeFooter(out);
    return out.status();
}

// 1 to 65535 pixels: what a header field can hold.
bool storableSize(int size) {
    return size > 0 && size <= 0xFFFF;
}

// Writes a header-less pixel buffer as an image of the given type and depth.
int writeSimple(const char* fileName, const uint8_t* pixels, int width, int height, uint8_t type,
                int depth) {
    if (!storableSize(width) || !storableSize(height)) {
        return kTgaZeroSize;
    }
    TGAImage image;
    image.imageType = type;
    image.width = static_cast<uint16_t>(width);
    image.height = static_cast<uint16_t>(height);
    image.pixelDepth = static_cast<uint8_t>(depth);
    image.imageData = const_cast<uint8_t*>(pixels);
    return writeTGA(fileName, &image);
}

} // namespace

int writeTGA(const char* fileName, const TGAImage* image) {
    size_t bytes = 0;
    if (const int code = checkWritable(image, &bytes)) {
        return code;
    }
    FILE* file = std::fopen(fileName, "wb");
    if (file == nullptr) {
        return kTgaOpenFailed;
    }
    Sink out(file);
    const int code = writeImage(out, *image, bytes);
    // Buffered bytes reach the disk only here, so a full disk may show up at closing.
    const bool closed = std::fclose(file) == 0;
    if (code == kTgaOk && !closed) {
        return kTgaWriteFailed;
    }
    return code;
}

int writeTGAToMemory(std::vector<uint8_t>* out, const TGAImage* image) {
    if (out == nullptr) {
        return kTgaWriteFailed;
    }
    out->clear();
    size_t bytes = 0;
    if (const int code = checkWritable(image, &bytes)) {
        return code;
    }
    Sink sink(out);
    return writeImage(sink, *image, bytes);
}

int writeTGAMono(const char* fileName, const uint8_t* pixels, int width, int height, bool rle) {
    return writeSimple(fileName, pixels, width, height, rle ? 11 : 3, 8);
}

int writeTGAColourMapped(const char* fileName, const uint8_t* indices, int width, int height,
                         const uint8_t* map, int mapLength, int mapDepth, bool rle) {
    if (!storableSize(width) || !storableSize(height)) {
        return kTgaZeroSize;
    }
    if (!storableSize(mapLength)) {
        return kTgaEmptyMap;
    }
    if (mapDepth != 16 && mapDepth != 24 && mapDepth != 32) {
        return kTgaBadMapDepth;
    }
    TGAImage image;
    image.colourMapType = 1;
    image.imageType = rle ? 9 : 1;
    image.colourMapLength = static_cast<uint16_t>(mapLength);
    image.colourMapDepth = static_cast<uint8_t>(mapDepth);
    image.width = static_cast<uint16_t>(width);
    image.height = static_cast<uint16_t>(height);
    image.pixelDepth = 8;
    image.colourMap = const_cast<uint8_t*>(map);
    image.imageData = const_cast<uint8_t*>(indices);
    return writeTGA(fileName, &image);
}

int writeTGATrueColour(const char* fileName, const uint8_t* pixels, int width, int height,
                       int depth, bool rle) {
    if (depth != 16 && depth != 24 && depth != 32) {
        return kTgaBadPixelDepth;
    }
    return writeSimple(fileName, pixels, width, height, rle ? 10 : 2, depth);
}
