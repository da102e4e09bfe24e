// The sound owner without a sound card: OpenAL Soft's "null" backend mixes into nothing, and a
// backend list that names no real backend opens no device. Whatever happens, the game plays on:
// one log line for a missing device or volume 0, one per missing or damaged file, and nothing
// played for a sound that did not load.
#include "Audio.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

// A mono (or stereo) 16-bit WAV of n frames of a quiet saw tooth.
std::string wavBytes(int channels, int frames) {
    std::string data;
    for (int i = 0; i < frames * channels; ++i) {
        const int v = (i % 100) * 50;
        data += static_cast<char>(v & 0xff);
        data += static_cast<char>((v >> 8) & 0xff);
    }
    auto le = [](uint32_t v, int n) {
        std::string s;
        for (int i = 0; i < n; ++i) {
            s += static_cast<char>((v >> (8 * i)) & 0xff);
        }
        return s;
    };
    const uint32_t rate = 22050, align = static_cast<uint32_t>(channels * 2);
    const std::string fmt = le(1, 2) + le(static_cast<uint32_t>(channels), 2) + le(rate, 4) +
                            le(rate * align, 4) + le(align, 2) + le(16, 2);
    const std::string body =
        "WAVEfmt " + le(16, 4) + fmt + "data" + le(static_cast<uint32_t>(data.size()), 4) + data;
    return "RIFF" + le(static_cast<uint32_t>(body.size()), 4) + body;
}

long logLinesWith(const std::string& part) {
    const auto lines = readLines("log.txt");
    return std::count_if(lines.begin(), lines.end(),
                         [&](const std::string& l) { return l.find(part) != std::string::npos; });
}

class AudioTest : public TempDirTest {
protected:
    void SetUp() override {
        TempDirTest::SetUp();
        writeFile("alsoft.conf", "");
        setenv("ALSOFT_CONF", "alsoft.conf", 1);
    }
    void TearDown() override {
        Audio::setCurrent(nullptr);
        unsetenv("ALSOFT_DRIVERS");
        unsetenv("ALSOFT_CONF");
        TempDirTest::TearDown();
    }
};

// Volume 0 and a machine without a device are both silence with one line, and every operation
// is then harmless.
TEST_F(AudioTest, WithoutVolumeOrDeviceEverythingIsSilence) {
    const struct {
        int volume;
        const char* drivers;
        const char* line;
    } cases[] = {{0, "null", "volume 0, playing silently"},
                 {80, "no-such-backend", "no audio device could be opened, playing silently"}};
    for (const auto& c : cases) {
        setenv("ALSOFT_DRIVERS", c.drivers, 1);
        Audio audio(c.volume);
        Audio::setCurrent(&audio);
        audio.loadSounds();
        EXPECT_FALSE(audio.isOn()) << c.drivers;
        EXPECT_EQ(audio.loadedCount(), 0);
        EXPECT_EQ(logLinesWith(c.line), 1) << c.drivers;
        Audio::listen(Vector3D(0, 0, 0), Vector3D(0, 0, -1), Vector3D(0, 1, 0));
        Audio::play(sound::Sound::Explosion, Vector3D(1, 2, 3));
        Audio::playHere(sound::Sound::Win);
        EXPECT_EQ(Audio::startLoop(sound::Sound::Wind, Vector3D(0, 0, 0)), 0);
        Audio::stopLoop(0);
    }
}

// On a device, each sound whose file is missing, damaged or not mono is one log line and
// silence; the others play, once or in loops that move and stop.
TEST_F(AudioTest, FilesThatCannotBeReadAreSilentWithALineEach) {
    setenv("ALSOFT_DRIVERS", "null", 1);
    writeFile(sound::asset(sound::Sound::Whistle).file, wavBytes(1, 2000));
    writeFile(sound::asset(sound::Sound::Footsteps).file, wavBytes(1, 2000));
    const std::string whole = wavBytes(1, 2000);
    writeFile(sound::asset(sound::Sound::Explosion).file, whole.substr(0, whole.size() / 2));
    writeFile(sound::asset(sound::Sound::Wind).file, wavBytes(2, 2000));
    Audio audio(50);
    Audio::setCurrent(&audio);
    ASSERT_TRUE(audio.isOn()) << "OpenAL Soft's null backend";
    audio.loadSounds();
    EXPECT_EQ(audio.loadedCount(), 2);
    const int sounds = static_cast<int>(sound::Sound::Count);
    EXPECT_EQ(logLinesWith("it stays silent"), sounds - 2);
    EXPECT_EQ(logLinesWith("'explosion.wav' is truncated"), 1);
    EXPECT_EQ(logLinesWith("'wind.wav' is not mono"), 1);
    EXPECT_EQ(logLinesWith("'win.wav' cannot be opened"), 1);

    Audio::listen(Vector3D(0, 2, 5), Vector3D(0, 0, -1), Vector3D(0, 1, 0));
    for (int i = 0; i < 40; ++i) { // more than the pool of one-shot voices
        Audio::play(sound::Sound::Whistle, Vector3D(static_cast<float>(i), 0, 0));
    }
    Audio::play(sound::Sound::Explosion, Vector3D(0, 0, 0)); // silent, not an error
    const int steps = Audio::startLoop(sound::Sound::Footsteps, Vector3D(0, 0, 0));
    EXPECT_NE(steps, 0);
    EXPECT_EQ(Audio::startLoop(sound::Sound::Wind, Vector3D(0, 0, 0)), 0) << "did not load";
    Audio::moveLoop(steps, Vector3D(3, 0, 0));
    Audio::stopLoop(steps);
}

} // namespace
