// MemoryReadBuffer: a read cursor over bytes it does not own (a write buffer's data), bounded by
// the size given so that a short buffer reads as zeros instead of past its end.
#pragma once

#include "Stream.h"

class MemoryReadBuffer : public Stream {
public:
    MemoryReadBuffer(const uint8_t* data, size_t size) : buffer_(data), size_(size) {}

    uint8_t readByte() const override;
    uint16_t readWord() const override;
    uint32_t readDword() const override;
    float readFloat() const override;
    double readDouble() const override;
    // Copies the next `size` bytes; what lies past the end reads as zeros.
    void readBuffer(void* buffer, size_t size) const override;
    // Bytes not read yet.
    size_t remaining() const { return size_ - position_; }

    Stream& storeByte(uint8_t) override { return *this; }
    Stream& storeWord(uint16_t) override { return *this; }
    Stream& storeDword(uint32_t) override { return *this; }
    Stream& storeFloat(float) override { return *this; }
    Stream& storeDouble(double) override { return *this; }
    Stream& storeBuffer(const void*, size_t) override { return *this; }

private:
    const uint8_t* buffer_;
    size_t size_;
    mutable size_t position_ = 0;
};
