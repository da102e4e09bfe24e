// The cooking streams: a growing memory block, a bounded reader over it, and the file stream
// kept for debugging.
#include "MemoryReadBuffer.h"
#include "MemoryWriteBuffer.h"
#include "UserStream.h"

#include <cstdlib>
#include <cstring>

MemoryWriteBuffer::~MemoryWriteBuffer() {
    std::free(data);
}

void MemoryWriteBuffer::readBuffer(void* buffer, size_t size) const {
    std::memset(buffer, 0, size);
}

Stream& MemoryWriteBuffer::storeBuffer(const void* buffer, size_t size) {
    const uint32_t expected = currentSize + static_cast<uint32_t>(size);
    if (expected > maxSize) {
        const uint32_t grown = expected + kGrowth;
        auto* block = static_cast<uint8_t*>(std::malloc(grown));
        if (block == nullptr) {
            return *this;
        }
        if (data != nullptr) {
            std::memcpy(block, data, currentSize);
        }
        std::free(data);
        data = block;
        maxSize = grown;
    }
    std::memcpy(data + currentSize, buffer, size);
    currentSize = expected;
    return *this;
}

void MemoryReadBuffer::readBuffer(void* buffer, size_t size) const {
    const size_t available = size_ - position_ < size ? size_ - position_ : size;
    std::memcpy(buffer, buffer_ + position_, available);
    std::memset(static_cast<uint8_t*>(buffer) + available, 0, size - available);
    position_ += available;
}

template <class T> static T readValue(const Stream& s) {
    T value{};
    s.readBuffer(&value, sizeof value);
    return value;
}

uint8_t MemoryReadBuffer::readByte() const {
    return readValue<uint8_t>(*this);
}
uint16_t MemoryReadBuffer::readWord() const {
    return readValue<uint16_t>(*this);
}
uint32_t MemoryReadBuffer::readDword() const {
    return readValue<uint32_t>(*this);
}
float MemoryReadBuffer::readFloat() const {
    return readValue<float>(*this);
}
double MemoryReadBuffer::readDouble() const {
    return readValue<double>(*this);
}

UserStream::UserStream(const char* fileName, bool load)
    : file_(std::fopen(fileName, load ? "rb" : "wb")) {
}

UserStream::~UserStream() {
    if (file_ != nullptr) {
        std::fclose(file_);
    }
}

void UserStream::readBuffer(void* buffer, size_t size) const {
    const size_t got = file_ != nullptr ? std::fread(buffer, 1, size, file_) : 0;
    std::memset(static_cast<uint8_t*>(buffer) + got, 0, size - got);
}

Stream& UserStream::storeBuffer(const void* buffer, size_t size) {
    if (file_ != nullptr) {
        std::fwrite(buffer, 1, size, file_);
    }
    return *this;
}

uint8_t UserStream::readByte() const {
    return readValue<uint8_t>(*this);
}
uint16_t UserStream::readWord() const {
    return readValue<uint16_t>(*this);
}
uint32_t UserStream::readDword() const {
    return readValue<uint32_t>(*this);
}
float UserStream::readFloat() const {
    return readValue<float>(*this);
}
double UserStream::readDouble() const {
    return readValue<double>(*this);
}
