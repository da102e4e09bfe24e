// TGAImage: reads, writes and transforms Truevision TGA images (types 1, 2, 3 and their RLE forms
// 9, 10, 11), the format the game's textures and the content generator's output use.
// Files are untrusted input: the reader checks every field and size before it allocates or reads
// and answers with an error code (see errorText) instead of touching memory out of bounds.
//
// Buffers are allocated with malloc and owned by the image; freeBuffers releases them. An image
// built by hand must use malloc too. Pixels stay in file order in memory (BGR / BGRA, rows in the
// order the descriptor's bits 4 and 5 give); getPixel/putPixel address them in that same order:
// x counts pixels within a stored row, y counts stored rows.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

struct TGAImage {
    uint8_t idLength = 0;         // length of the image identification field
    uint8_t colourMapType = 0;    // 0 none, 1 present
    uint8_t imageType = 0;        // 1 colour-mapped, 2 true-colour, 3 mono; 9, 10, 11 RLE forms
    uint16_t colourMapFirst = 0;  // first colour-map index stored in the file
    uint16_t colourMapLength = 0; // number of stored colour-map entries
    uint8_t colourMapDepth = 0;   // bits per colour-map entry
    uint16_t originX = 0, originY = 0;
    uint16_t width = 0, height = 0;
    uint8_t pixelDepth = 0;       // bits per pixel
    uint8_t descriptor = 0;       // bit 4 (0x10) right-to-left, bit 5 (0x20) top-to-bottom
    uint8_t* imageId = nullptr;   // owned, idLength bytes
    uint8_t* colourMap = nullptr; // owned, (colourMapFirst + colourMapLength) entries
    uint8_t* imageData = nullptr; // owned, width * height pixels, unencoded, in file order
};

// Return codes of every operation; errorText describes each. The last two go beyond the classic
// TGA tool set: pixel coordinates outside the image, and desaturation weights that cannot give a
// grey value (a divisor of 0 or less).
enum TgaError : int {
    kTgaOk = 0,
    kTgaOpenFailed = 1,
    kTgaShortRead = 2,
    kTgaWriteFailed = 3,
    kTgaBadMapType = 4,
    kTgaBadImageType = 5,
    kTgaNoImageData = 6,
    kTgaMappedWithoutMap = 7,
    kTgaUnmappedWithMap = 8,
    kTgaEmptyMap = 9,
    kTgaBadMapDepth = 10,
    kTgaZeroSize = 11,
    kTgaBadPixelDepth = 12,
    kTgaOutOfMemory = 13,
    kTgaNotMapped = 14,
    kTgaBadRle = 15,
    kTgaIndexOutOfRange = 16,
    kTgaMono = 17,
    kTgaPixelOutOfRange = 18,
    kTgaBadWeights = 19,
};

// What the reader refuses beyond the header fields themselves:
// - mono images of other than 8 bits a pixel (12); 16-bit grey with alpha is not supported;
// - any single buffer above 256 MiB (13), checked before the input is;
// - an ID field, colour map or raw pixel block longer than the rest of the input (2), found
//   before anything is allocated for it;
// - RLE data shorter than the whole image needs even as runs of 128 pixels (2). RLE data that
//   ends after a whole packet loads (0) with the missing pixels zero; data that ends inside a
//   packet is 2; a packet reaching past the last pixel is corrupt (15).
// Colour-map entries below colourMapFirst read as zero. On failure all buffers are null.

// Reads a TGA file into image (its old buffers are not freed); 0 or an error code.
int readTGA(TGAImage* image, const char* fileName);
// Reads a TGA image from size bytes at data with the same checks as readTGA.
int readTGAFromMemory(TGAImage* image, const uint8_t* data, size_t size);
// Writes the image (RLE-encoded for types 9, 10, 11) and the TGA 2.0 footer; 0 or an error code.
int writeTGA(const char* fileName, const TGAImage* image);
// Writes the same bytes as writeTGA, replacing the contents of out.
int writeTGAToMemory(std::vector<uint8_t>* out, const TGAImage* image);

// Writes an 8-bit grey image (type 3, or 11 with rle); pixels bottom row first.
int writeTGAMono(const char* fileName, const uint8_t* pixels, int width, int height, bool rle);
// Writes 8-bit indices into a map of mapLength entries of mapDepth (16, 24, 32) bits, first 0.
int writeTGAColourMapped(const char* fileName, const uint8_t* indices, int width, int height,
                         const uint8_t* map, int mapLength, int mapDepth, bool rle);
// Writes BGR / BGRA / A1R5G5B5 pixels of depth 16, 24 or 32 bits (type 2, or 10 with rle).
int writeTGATrueColour(const char* fileName, const uint8_t* pixels, int width, int height,
                       int depth, bool rle);

// Mirrors every row and toggles the right-to-left bit, so the picture shown stays the same.
int flipHorizontal(TGAImage* image);
// Reverses the row order and toggles the top-to-bottom bit.
int flipVertical(TGAImage* image);
// Repacks every pixel at 16, 24 or 32 bits; colour-mapped and mono images become true-colour,
// and the descriptor's alpha bits follow the new depth (8 for 32 bits, 1 for 16, else 0).
int convertDepth(TGAImage* image, int bits);
// Replaces every index by its colour-map entry; the image becomes true-colour at the map depth.
// Indices below colourMapFirst (never stored) or past the last entry are refused (16).
int colourUnmap(TGAImage* image);
// Turns a colour image into 8-bit mono: grey = (r * cr + g * cg + b * cb) / divisor, clamped to
// 0..255; a divisor of 0 or less is refused (19).
int desaturate(TGAImage* image, int cr, int cg, int cb, int divisor);
// desaturate with the ITU-R BT.601 luma weights.
int desaturateRec601(TGAImage* image);
// desaturate with the ITU-R BT.709 luma weights.
int desaturateRec709(TGAImage* image);
// desaturate with the weights 0.2220, 0.7067, 0.0713 (ITU).
int desaturateItu(TGAImage* image);
// desaturate with equal weights.
int desaturateAverage(TGAImage* image);
// The colour at stored position (x, y), or 18 outside the image; mono reads as opaque grey.
// Null outputs are skipped.
int getPixel(const TGAImage* image, int x, int y, uint8_t* b, uint8_t* g, uint8_t* r, uint8_t* a);
// Stores a colour at (x, y): mono keeps its BT.601 grey, colour-mapped images the index of the
// stored map entry equal to it (16 when there is none).
int putPixel(TGAImage* image, int x, int y, uint8_t b, uint8_t g, uint8_t r, uint8_t a);
// Frees the three buffers and sets their pointers to null.
void freeBuffers(TGAImage* image);
// A short English description of an error code.
const char* errorText(int code);
