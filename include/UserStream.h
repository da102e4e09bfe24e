// UserStream: the same stream on a scratch file. Cooking through a file is kept for debugging
// but switched off: the game cooks in memory and never writes the file.
#pragma once

#include "Stream.h"

#include <cstdio>

class UserStream : public Stream {
public:
    // Opens fileName for reading ("rb") when load is true, else for writing ("wb").
    UserStream(const char* fileName, bool load);
    ~UserStream() override;
    UserStream(const UserStream&) = delete;
    UserStream& operator=(const UserStream&) = delete;

    bool isOpen() const { return file_ != nullptr; }

    uint8_t readByte() const override;
    uint16_t readWord() const override;
    uint32_t readDword() const override;
    float readFloat() const override;
    double readDouble() const override;
    void readBuffer(void* buffer, size_t size) const override;

    Stream& storeByte(uint8_t b) override { return storeBuffer(&b, sizeof b); }
    Stream& storeWord(uint16_t w) override { return storeBuffer(&w, sizeof w); }
    Stream& storeDword(uint32_t d) override { return storeBuffer(&d, sizeof d); }
    Stream& storeFloat(float f) override { return storeBuffer(&f, sizeof f); }
    Stream& storeDouble(double f) override { return storeBuffer(&f, sizeof f); }
    Stream& storeBuffer(const void* buffer, size_t size) override;

private:
    FILE* file_;
};
