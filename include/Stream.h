// Stream: the byte stream that collision meshes are cooked into and read back from. Integers
// and floats are stored in the machine's own byte order; the stream never leaves the process.
#pragma once

#include <cstddef>
#include <cstdint>

class Stream {
public:
    virtual ~Stream() = default;

    // Reads; a stream that cannot read (a write buffer) returns zeros.
    virtual uint8_t readByte() const = 0;
    virtual uint16_t readWord() const = 0;
    virtual uint32_t readDword() const = 0;
    virtual float readFloat() const = 0;
    virtual double readDouble() const = 0;
    virtual void readBuffer(void* buffer, size_t size) const = 0;

    // Stores; a stream that cannot write (a read buffer) ignores them. Return the stream.
    virtual Stream& storeByte(uint8_t b) = 0;
    virtual Stream& storeWord(uint16_t w) = 0;
    virtual Stream& storeDword(uint32_t d) = 0;
    virtual Stream& storeFloat(float f) = 0;
    virtual Stream& storeDouble(double f) = 0;
    virtual Stream& storeBuffer(const void* buffer, size_t size) = 0;
};
