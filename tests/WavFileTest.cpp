// The WAV reader against well-formed files and against the ways a file can lie: every refusal
// names its reason and leaves nothing behind, and what is accepted is a whole number of frames.
#include "WavFile.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<uint8_t>;
using Error = WavFile::Error;

void put16(Bytes& b, uint32_t v) {
    b.push_back(static_cast<uint8_t>(v));
    b.push_back(static_cast<uint8_t>(v >> 8));
}
void put32(Bytes& b, uint32_t v) {
    put16(b, v & 0xffffu);
    put16(b, v >> 16);
}
void putId(Bytes& b, const char* id) {
    b.insert(b.end(), id, id + 4);
}

struct Format {
    uint16_t code = 1;
    uint16_t channels = 1;
    uint32_t rate = 22050;
    uint16_t bits = 16;
    int alignDelta = 0;
};

Bytes chunk(const char* id, const Bytes& body) {
    Bytes b;
    putId(b, id);
    put32(b, static_cast<uint32_t>(body.size()));
    b.insert(b.end(), body.begin(), body.end());
    if (body.size() % 2 == 1) {
        b.push_back(0);
    }
    return b;
}

Bytes fmtBody(const Format& f) {
    Bytes b;
    const uint16_t align = static_cast<uint16_t>(f.channels * f.bits / 8 + f.alignDelta);
    put16(b, f.code);
    put16(b, f.channels);
    put32(b, f.rate);
    put32(b, f.rate * align);
    put16(b, align);
    put16(b, f.bits);
    return b;
}

// RIFF/WAVE around the given chunks.
Bytes riff(const std::vector<Bytes>& chunks) {
    Bytes body;
    putId(body, "WAVE");
    for (const Bytes& c : chunks) {
        body.insert(body.end(), c.begin(), c.end());
    }
    Bytes b;
    putId(b, "RIFF");
    put32(b, static_cast<uint32_t>(body.size()));
    b.insert(b.end(), body.begin(), body.end());
    return b;
}

Bytes samples(size_t n) {
    Bytes b(n);
    for (size_t i = 0; i < n; ++i) {
        b[i] = static_cast<uint8_t>(i * 7);
    }
    return b;
}

TEST(WavFileTest, ReadsPcmOfEveryPlayableShapeAndSkipsOtherChunks) {
    const struct {
        Format format;
        size_t dataBytes;
        size_t expected;
    } cases[] = {
        {{1, 1, 22050, 16}, 200, 200}, {{1, 2, 44100, 16}, 400, 400}, {{1, 1, 8000, 8}, 33, 33},
        {{1, 2, 11025, 8}, 65, 64}, // a partial frame at the end is dropped
        {{1, 1, 22050, 16}, 201, 200},
    };
    for (const auto& c : cases) {
        const Bytes file = riff({chunk("LIST", samples(5)), chunk("fmt ", fmtBody(c.format)),
                                 chunk("junk", samples(3)), chunk("data", samples(c.dataBytes))});
        WavFile wav;
        ASSERT_EQ(wav.read(file.data(), file.size()), Error::None) << c.dataBytes;
        EXPECT_EQ(wav.channels, c.format.channels);
        EXPECT_EQ(wav.sampleRate, static_cast<int>(c.format.rate));
        EXPECT_EQ(wav.bitsPerSample, c.format.bits);
        ASSERT_EQ(wav.samples.size(), c.expected);
        const Bytes written = samples(c.dataBytes);
        EXPECT_TRUE(std::equal(wav.samples.begin(), wav.samples.end(), written.begin()));
    }
}

TEST(WavFileTest, RefusesWhatItCannotTrustWithItsReason) {
    const Bytes good = riff({chunk("fmt ", fmtBody({})), chunk("data", samples(64))});
    const auto with = [](std::function<void(Bytes&)> change, Bytes b) {
        change(b);
        return b;
    };
    const struct {
        const char* name;
        Bytes file;
        Error expected;
    } cases[] = {
        {"empty", {}, Error::NotRiff},
        {"eleven bytes", Bytes(good.begin(), good.begin() + 11), Error::NotRiff},
        {"not RIFF", with([](Bytes& b) { b[0] = 'X'; }, good), Error::NotRiff},
        {"not WAVE", with([](Bytes& b) { b[8] = 'A'; }, good), Error::NotWave},
        {"cut in the samples", Bytes(good.begin(), good.end() - 10), Error::Truncated},
        {"data length 4 GiB", with([](Bytes& b) { b[40] = b[41] = b[42] = b[43] = 0xff; }, good),
         Error::Truncated},
        {"fmt length past the end",
         with(
             [](Bytes& b) {
                 b[16] = 0xf0;
                 b[17] = 0xff;
                 b[18] = 0xff;
                 b[19] = 0x7f;
             },
             good),
         Error::Truncated},
        {"data before fmt", riff({chunk("data", samples(8)), chunk("fmt ", fmtBody({}))}),
         Error::NoFormat},
        {"no fmt", riff({chunk("LIST", samples(4))}), Error::NoFormat},
        {"no data", riff({chunk("fmt ", fmtBody({}))}), Error::NoData},
        {"empty data", riff({chunk("fmt ", fmtBody({})), chunk("data", {})}), Error::NoData},
        {"less than a frame",
         riff({chunk("fmt ", fmtBody({1, 2, 22050, 16})), chunk("data", samples(3))}),
         Error::NoData},
        {"float samples",
         riff({chunk("fmt ", fmtBody({3, 1, 22050, 32})), chunk("data", samples(8))}),
         Error::NotPcm},
        {"short fmt", riff({chunk("fmt ", samples(12)), chunk("data", samples(8))}),
         Error::BadFormat},
        {"three channels",
         riff({chunk("fmt ", fmtBody({1, 3, 22050, 16})), chunk("data", samples(12))}),
         Error::BadFormat},
        {"no channels",
         riff({chunk("fmt ", fmtBody({1, 0, 22050, 16})), chunk("data", samples(8))}),
         Error::BadFormat},
        {"24-bit", riff({chunk("fmt ", fmtBody({1, 1, 22050, 24})), chunk("data", samples(9))}),
         Error::BadFormat},
        {"rate 0", riff({chunk("fmt ", fmtBody({1, 1, 0, 16})), chunk("data", samples(8))}),
         Error::BadFormat},
        {"rate 4 GHz",
         riff({chunk("fmt ", fmtBody({1, 1, 0xffffffffu, 16})), chunk("data", samples(8))}),
         Error::BadFormat},
        {"alignment lies",
         riff({chunk("fmt ", fmtBody({1, 1, 22050, 16, 2})), chunk("data", samples(8))}),
         Error::BadFormat},
    };
    for (const auto& c : cases) {
        WavFile wav;
        EXPECT_EQ(wav.read(c.file.data(), c.file.size()), c.expected) << c.name;
        EXPECT_TRUE(wav.samples.empty()) << c.name;
        EXPECT_EQ(wav.channels, 0) << c.name;
        EXPECT_STRNE(WavFile::describe(c.expected), WavFile::describe(Error::None)) << c.name;
    }
}

using WavLoadTest = TempDirTest;

TEST_F(WavLoadTest, LoadsFromDiskAndRefusesMissingAndOversizedFiles) {
    WavFile wav;
    EXPECT_EQ(wav.load("missing.wav"), Error::CannotOpen);
    const Bytes good = riff({chunk("fmt ", fmtBody({})), chunk("data", samples(64))});
    writeFile("good.wav", std::string(good.begin(), good.end()));
    EXPECT_EQ(wav.load("good.wav"), Error::None);
    EXPECT_EQ(wav.samples.size(), 64u);
    writeFile("huge.wav", std::string(WavFile::kMaxBytes + 1, 'R'));
    EXPECT_EQ(wav.load("huge.wav"), Error::TooLarge);
    EXPECT_TRUE(wav.samples.empty());
}

} // namespace
