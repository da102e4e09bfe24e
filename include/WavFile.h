// WavFile: reads RIFF/WAVE files of 8- or 16-bit PCM, mono or stereo, into memory for the sound
// owner. The bytes are untrusted (a player's folder can hold anything): every chunk length and
// count is checked against what is left before it is used, and a failure says which check failed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

class WavFile {
public:
    // Why a file was refused (None: read).
    enum class Error {
        None,
        CannotOpen,
        TooLarge,
        NotRiff,
        NotWave,
        Truncated,
        NoFormat,
        NotPcm,
        BadFormat,
        NoData,
    };

    // Reads the whole file; on failure the object is left empty.
    Error load(const std::string& path);
    // Reads a file already in memory (the bytes are not kept).
    Error read(const uint8_t* bytes, size_t size);
    // A line for the log.
    static const char* describe(Error error);

    int channels = 0;
    int sampleRate = 0;
    int bitsPerSample = 0;
    // The samples as stored: little-endian, interleaved, a whole number of frames.
    std::vector<uint8_t> samples;

    // Files larger than this are refused before reading (no sound of ours comes near it).
    static constexpr size_t kMaxBytes = 16u << 20;
};
