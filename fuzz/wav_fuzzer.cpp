// libFuzzer target for the WAV reader: arbitrary bytes as a sound file. Whatever is accepted must
// hold a whole number of frames in a format the sound owner can play.
#include "WavFile.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    WavFile wav;
    if (wav.read(data, size) != WavFile::Error::None) {
        if (!wav.samples.empty() || wav.channels != 0) {
            std::abort(); // a refused file leaves nothing behind
        }
        return 0;
    }
    const size_t frame = static_cast<size_t>(wav.channels * wav.bitsPerSample / 8);
    if (frame == 0 || wav.samples.empty() || wav.samples.size() % frame != 0 ||
        wav.samples.size() > size) {
        std::abort();
    }
    return 0;
}
