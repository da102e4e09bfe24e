// Helpers the TGA reader, writer and transforms share: header predicates and checks, guarded
// size arithmetic and allocation, and packing of single pixels.
#pragma once

#include "TGAImage.h"

#include <cstddef>
#include <cstdint>

namespace tga {

// The largest buffer any operation allocates; larger images are refused as out of memory.
constexpr size_t kMaxAllocation = size_t(256) * 1024 * 1024;
// A packet of either kind covers 1 to 128 pixels.
constexpr size_t kMaxPacketPixels = 128;

// One pixel unpacked to 8 bits a channel.
struct Colour {
    uint8_t b = 0, g = 0, r = 0, a = 255;
};

// Image types 1 and 9 store indices into the colour map.
bool isColourMapped(const TGAImage& image);
// Types 9, 10 and 11 are run-length encoded in the file.
bool isRle(const TGAImage& image);
// Types 3 and 11 hold grey values.
bool isMono(const TGAImage& image);

// Header checks in the order the reader meets the fields; each returns 0 or its error code.
int checkMapType(const TGAImage& image);
int checkImageType(const TGAImage& image);
int checkColourMapFields(const TGAImage& image);
int checkDimensions(const TGAImage& image);
int checkPixelDepth(const TGAImage& image);
// All of the above in order; the writer validates with it.
int checkHeader(const TGAImage& image);

// a * b * c, or false when it does not fit in size_t.
bool multiply(size_t a, size_t b, size_t c, size_t* product);
// Bytes of the pixel block of a checked header, or false on overflow.
bool imageBytes(const TGAImage& image, size_t* bytes);
// Bytes of the whole colour map, from entry 0 to the last stored entry.
size_t colourMapBytes(const TGAImage& image);
// Zero-filled buffer, or null above kMaxAllocation or when malloc fails.
uint8_t* allocateZeroed(size_t bytes);

// Grey-value weights: grey = (r * red + g * green + b * blue) / divisor.
struct Weights {
    int red, green, blue, divisor;
};
// ITU-R BT.601 luma, the weights putPixel uses for mono images.
constexpr Weights kRec601{2989, 5866, 1145, 10000};
// The weighted grey of a colour, clamped to 0..255; the divisor must be positive.
uint8_t greyValue(const Colour& c, const Weights& w);
// The descriptor's low four bits: alpha bits per pixel of a true-colour depth.
uint8_t alphaBits(int depth);
// Null image or pixel buffer: 6; otherwise 0.
int checkHasPixels(const TGAImage* image);

// Reads the pixel at p of the given depth; 8-bit pixels read as opaque grey, 16-bit ones as
// A1R5G5B5 (5-bit channels widened by bit replication).
Colour unpackPixel(const uint8_t* p, int depth);
// Stores a colour at depth 16, 24 or 32 bits.
void packPixel(const Colour& c, int depth, uint8_t* p);

} // namespace tga
