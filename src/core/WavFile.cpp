// The WAV reader: walks the RIFF chunks within the file's own bounds, takes the first "fmt " and
// the first "data" chunk, and refuses anything it cannot play plainly: compressed formats, odd
// sample sizes, more than two channels, rates outside what OpenAL mixes, partial frames.
#include "WavFile.h"

#include <cstring>
#include <fstream>
#include <iterator>

// RIFF header: "RIFF", size, "WAVE"; chunk header: id, size. The PCM "fmt " body is 16 bytes.
static constexpr size_t kRiffHeader = 12;
static constexpr size_t kChunkHeader = 8;
static constexpr size_t kPcmFormatSize = 16;
static constexpr uint16_t kPcm = 1;
static constexpr int kMaxChannels = 2;
static constexpr int kMinRate = 1000;
static constexpr int kMaxRate = 192000;

static uint32_t le32(const uint8_t* p) {
    return uint32_t{p[0]} | uint32_t{p[1]} << 8 | uint32_t{p[2]} << 16 | uint32_t{p[3]} << 24;
}

static uint16_t le16(const uint8_t* p) {
    return static_cast<uint16_t>(p[0] | p[1] << 8);
}

const char* WavFile::describe(Error error) {
    switch (error) {
    case Error::None:
        return "read";
    case Error::CannotOpen:
        return "cannot be opened";
    case Error::TooLarge:
        return "is too large";
    case Error::NotRiff:
        return "is not a RIFF file";
    case Error::NotWave:
        return "is not a WAVE file";
    case Error::Truncated:
        return "is truncated (a chunk runs past the end)";
    case Error::NoFormat:
        return "has no format chunk before its data";
    case Error::NotPcm:
        return "is not plain PCM";
    case Error::BadFormat:
        return "has a format we cannot play (channels, rate or sample size)";
    case Error::NoData:
        return "has no samples";
    }
    return "cannot be read";
}

WavFile::Error WavFile::load(const std::string& path) {
    *this = WavFile();
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        return Error::CannotOpen;
    }
    in.seekg(0, std::ios::end);
    const std::streamoff size = in.tellg();
    if (size < 0) {
        return Error::CannotOpen;
    }
    if (static_cast<unsigned long long>(size) > kMaxBytes) {
        return Error::TooLarge;
    }
    in.seekg(0);
    std::vector<uint8_t> bytes(static_cast<size_t>(size));
    if (!bytes.empty() && !in.read(reinterpret_cast<char*>(bytes.data()), size)) {
        return Error::CannotOpen;
    }
    return read(bytes.data(), bytes.size());
}

// The "fmt " body: PCM only, one or two channels, 8 or 16 bits, a rate OpenAL mixes, and a block
// alignment that agrees with them.
static WavFile::Error readFormat(const uint8_t* body, size_t size, WavFile* out) {
    if (size < kPcmFormatSize) {
        return WavFile::Error::BadFormat;
    }
    if (le16(body) != kPcm) {
        return WavFile::Error::NotPcm;
    }
    const int channels = le16(body + 2);
    const uint32_t rate = le32(body + 4);
    const int align = le16(body + 12);
    const int bits = le16(body + 14);
    const bool ok = channels >= 1 && channels <= kMaxChannels && rate >= kMinRate &&
                    rate <= kMaxRate && (bits == 8 || bits == 16) && align == channels * bits / 8;
    if (!ok) {
        return WavFile::Error::BadFormat;
    }
    out->channels = channels;
    out->sampleRate = static_cast<int>(rate);
    out->bitsPerSample = bits;
    return WavFile::Error::None;
}

WavFile::Error WavFile::read(const uint8_t* bytes, size_t size) {
    *this = WavFile();
    if (bytes == nullptr || size < kRiffHeader || std::memcmp(bytes, "RIFF", 4) != 0) {
        return Error::NotRiff;
    }
    if (std::memcmp(bytes + 8, "WAVE", 4) != 0) {
        return Error::NotWave;
    }
    bool haveFormat = false;
    size_t at = kRiffHeader;
    while (size - at >= kChunkHeader) {
        const uint8_t* chunk = bytes + at;
        const size_t length = le32(chunk + 4);
        const size_t left = size - at - kChunkHeader;
        if (length > left) {
            *this = WavFile();
            return Error::Truncated;
        }
        const uint8_t* body = chunk + kChunkHeader;
        if (std::memcmp(chunk, "fmt ", 4) == 0 && !haveFormat) {
            const Error e = readFormat(body, length, this);
            if (e != Error::None) {
                *this = WavFile();
                return e;
            }
            haveFormat = true;
        } else if (std::memcmp(chunk, "data", 4) == 0) {
            if (!haveFormat) {
                return Error::NoFormat;
            }
            const size_t frame = static_cast<size_t>(channels * bitsPerSample / 8);
            const size_t whole = length - length % frame;
            if (whole == 0) {
                *this = WavFile();
                return Error::NoData;
            }
            samples.assign(body, body + whole);
            return Error::None;
        }
        // Chunks are padded to an even length.
        at += kChunkHeader + length + (length & 1u);
        if (at > size) {
            break;
        }
    }
    *this = WavFile();
    return haveFormat ? Error::NoData : Error::NoFormat;
}
