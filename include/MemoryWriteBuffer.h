// MemoryWriteBuffer: a growing block of memory that cooking writes into. It grows by what a
// store needs plus 4096 bytes, not by doubling.
#pragma once

#include "Stream.h"

class MemoryWriteBuffer : public Stream {
public:
    static constexpr uint32_t kGrowth = 4096;

    MemoryWriteBuffer() = default;
    ~MemoryWriteBuffer() override;
    MemoryWriteBuffer(const MemoryWriteBuffer&) = delete;
    MemoryWriteBuffer& operator=(const MemoryWriteBuffer&) = delete;

    // Discards the contents, keeping the allocation.
    void clear() { currentSize = 0; }

    uint8_t readByte() const override { return 0; }
    uint16_t readWord() const override { return 0; }
    uint32_t readDword() const override { return 0; }
    float readFloat() const override { return 0.0f; }
    double readDouble() const override { return 0.0; }
    void readBuffer(void* buffer, size_t size) const override;

    Stream& storeByte(uint8_t b) override { return storeBuffer(&b, sizeof b); }
    Stream& storeWord(uint16_t w) override { return storeBuffer(&w, sizeof w); }
    Stream& storeDword(uint32_t d) override { return storeBuffer(&d, sizeof d); }
    Stream& storeFloat(float f) override { return storeBuffer(&f, sizeof f); }
    Stream& storeDouble(double f) override { return storeBuffer(&f, sizeof f); }
    // Every store ends here: grows to the needed size plus kGrowth when full, then appends.
    Stream& storeBuffer(const void* buffer, size_t size) override;

    uint32_t currentSize = 0;
    uint32_t maxSize = 0;
    uint8_t* data = nullptr;
};
