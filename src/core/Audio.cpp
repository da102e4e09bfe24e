// Sound through OpenAL: buffers from the generated WAV files, a pool of sources for one-shot
// effects, a source of its own for each loop, and the listener on the camera. Everything is
// silent, never an error, where OpenAL has no device or a file could not be read.
#include "Audio.h"

#include "Logfile.h"
#include "WavFile.h"

#include <AL/al.h>
#include <AL/alc.h>

#include <algorithm>
#include <cstdio>
#include <string>

#include <fcntl.h>
#include <unistd.h>

using sound::Sound;

// Sixteen effects at once are plenty for a flock, a few wolves and some rockets.
static constexpr size_t kVoices = 16;
// Distances: full loudness within the reference distance, then an inverse fall-off, so a wolf
// fifteen units away is clearly heard and an explosion across the level is faint.
static constexpr float kReferenceDistance = 6.0f;
static constexpr float kRolloff = 1.0f;
static constexpr float kMaxDistance = 400.0f;
static constexpr int kMaxVolume = 100;

static Audio* owner = nullptr;

Audio* Audio::current() {
    return owner;
}

void Audio::setCurrent(Audio* audio) {
    owner = audio;
}

// The default device, with stderr silenced while the backends are tried: on a machine without a
// sound card the ALSA library prints a dozen lines of its own before OpenAL moves on, and the
// game's one log line says all the player needs.
static ALCdevice* openQuietly() {
    std::fflush(stderr);
    const int saved = dup(STDERR_FILENO);
    const int null = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (saved >= 0 && null >= 0) {
        dup2(null, STDERR_FILENO);
    }
    ALCdevice* device = alcOpenDevice(nullptr);
    if (saved >= 0 && null >= 0) {
        std::fflush(stderr);
        dup2(saved, STDERR_FILENO);
    }
    if (null >= 0) {
        close(null);
    }
    if (saved >= 0) {
        close(saved);
    }
    return device;
}

Audio::Audio(int volume) {
    const int clamped = std::clamp(volume, 0, kMaxVolume);
    if (clamped == 0) {
        Logfile::appendLine("sound: volume 0, playing silently");
        return;
    }
    device_ = openQuietly();
    if (device_ == nullptr) {
        Logfile::appendLine("sound: no audio device could be opened, playing silently");
        return;
    }
    context_ = alcCreateContext(device_, nullptr);
    if (context_ == nullptr || alcMakeContextCurrent(context_) != ALC_TRUE) {
        Logfile::appendLine("sound: the audio device gave no context, playing silently");
        if (context_ != nullptr) {
            alcDestroyContext(context_);
            context_ = nullptr;
        }
        alcCloseDevice(device_);
        device_ = nullptr;
        return;
    }
    gain_ = static_cast<float>(clamped) / kMaxVolume;
    alDistanceModel(AL_INVERSE_DISTANCE_CLAMPED);
    alListenerf(AL_GAIN, gain_);
    const char* name = alcGetString(device_, ALC_DEVICE_SPECIFIER);
    Logfile::appendLine((std::string("sound: playing on \"") + (name != nullptr ? name : "") +
                         "\" at volume " + std::to_string(clamped))
                            .c_str());
}

Audio::~Audio() {
    if (owner == this) {
        owner = nullptr;
    }
    if (context_ == nullptr) {
        return;
    }
    if (wind_ != 0) {
        alSourceStop(wind_);
        alDeleteSources(1, &wind_);
    }
    if (!voices_.empty()) {
        alDeleteSources(static_cast<ALsizei>(voices_.size()), voices_.data());
    }
    for (unsigned& buffer : buffers_) {
        if (buffer != 0) {
            alDeleteBuffers(1, &buffer);
        }
    }
    alcMakeContextCurrent(nullptr);
    alcDestroyContext(context_);
    alcCloseDevice(device_);
}

// A WAV file into an OpenAL buffer; 0 (with a log line) when it cannot be read or is not mono
// (only mono sounds can be placed in the world).
static unsigned loadBuffer(const char* file) {
    WavFile wav;
    const WavFile::Error error = wav.load(file);
    if (error != WavFile::Error::None || wav.channels != 1) {
        const char* why = error != WavFile::Error::None ? WavFile::describe(error) : "is not mono";
        Logfile::appendLine(
            (std::string("sound: '") + file + "' " + why + ", it stays silent").c_str());
        return 0;
    }
    unsigned buffer = 0;
    alGenBuffers(1, &buffer);
    const ALenum format = wav.bitsPerSample == 16 ? AL_FORMAT_MONO16 : AL_FORMAT_MONO8;
    alBufferData(buffer, format, wav.samples.data(), static_cast<ALsizei>(wav.samples.size()),
                 wav.sampleRate);
    if (alGetError() != AL_NO_ERROR) {
        alDeleteBuffers(1, &buffer);
        Logfile::appendLine((std::string("sound: OpenAL refused '") + file + "'").c_str());
        return 0;
    }
    return buffer;
}

void Audio::loadSounds() {
    if (!isOn()) {
        return;
    }
    for (const sound::SoundAsset& asset : sound::kSounds) {
        buffers_[static_cast<size_t>(asset.id)] = loadBuffer(asset.file);
    }
    voices_.resize(kVoices);
    alGenSources(static_cast<ALsizei>(kVoices), voices_.data());
    for (unsigned voice : voices_) {
        alSourcef(voice, AL_REFERENCE_DISTANCE, kReferenceDistance);
        alSourcef(voice, AL_ROLLOFF_FACTOR, kRolloff);
        alSourcef(voice, AL_MAX_DISTANCE, kMaxDistance);
    }
    startWind();
}

int Audio::loadedCount() const {
    return static_cast<int>(
        std::count_if(buffers_.begin(), buffers_.end(), [](unsigned b) { return b != 0; }));
}

// The wind is everywhere: a loop at the listener.
void Audio::startWind() {
    const unsigned buffer = buffers_[static_cast<size_t>(Sound::Wind)];
    if (buffer == 0) {
        return;
    }
    alGenSources(1, &wind_);
    alSourcei(wind_, AL_SOURCE_RELATIVE, AL_TRUE);
    alSource3f(wind_, AL_POSITION, 0.0f, 0.0f, 0.0f);
    alSourcei(wind_, AL_BUFFER, static_cast<ALint>(buffer));
    alSourcei(wind_, AL_LOOPING, AL_TRUE);
    alSourcef(wind_, AL_GAIN, sound::asset(Sound::Wind).gain);
    alSourcePlay(wind_);
}

// A free source from the pool (one that has stopped), or the oldest one cut short.
unsigned Audio::sourceFor(Sound id) {
    const unsigned buffer = buffers_[static_cast<size_t>(id)];
    if (buffer == 0 || voices_.empty()) {
        return 0;
    }
    unsigned chosen = voices_[nextVoice_];
    for (size_t i = 0; i < voices_.size(); ++i) {
        const unsigned voice = voices_[(nextVoice_ + i) % voices_.size()];
        ALint state = AL_STOPPED;
        alGetSourcei(voice, AL_SOURCE_STATE, &state);
        if (state != AL_PLAYING) {
            chosen = voice;
            nextVoice_ = (nextVoice_ + i) % voices_.size();
            break;
        }
    }
    nextVoice_ = (nextVoice_ + 1) % voices_.size();
    alSourceStop(chosen);
    alSourcei(chosen, AL_BUFFER, static_cast<ALint>(buffer));
    alSourcei(chosen, AL_LOOPING, AL_FALSE);
    alSourcef(chosen, AL_GAIN, sound::asset(id).gain);
    return chosen;
}

void Audio::listen(const Vector3D& position, const Vector3D& forward, const Vector3D& up) {
    if (owner == nullptr || !owner->isOn()) {
        return;
    }
    const ALfloat orientation[6] = {forward.x, forward.y, forward.z, up.x, up.y, up.z};
    alListener3f(AL_POSITION, position.x, position.y, position.z);
    alListenerfv(AL_ORIENTATION, orientation);
}

void Audio::play(Sound id, const Vector3D& at) {
    if (owner == nullptr || !owner->isOn()) {
        return;
    }
    const unsigned source = owner->sourceFor(id);
    if (source == 0) {
        return;
    }
    alSourcei(source, AL_SOURCE_RELATIVE, AL_FALSE);
    alSource3f(source, AL_POSITION, at.x, at.y, at.z);
    alSourcePlay(source);
}

void Audio::playHere(Sound id) {
    if (owner == nullptr || !owner->isOn()) {
        return;
    }
    const unsigned source = owner->sourceFor(id);
    if (source == 0) {
        return;
    }
    alSourcei(source, AL_SOURCE_RELATIVE, AL_TRUE);
    alSource3f(source, AL_POSITION, 0.0f, 0.0f, 0.0f);
    alSourcePlay(source);
}

int Audio::startLoop(Sound id, const Vector3D& at) {
    if (owner == nullptr || !owner->isOn()) {
        return 0;
    }
    const unsigned buffer = owner->buffers_[static_cast<size_t>(id)];
    if (buffer == 0) {
        return 0;
    }
    unsigned source = 0;
    alGenSources(1, &source);
    if (alGetError() != AL_NO_ERROR || source == 0) {
        return 0;
    }
    alSourcef(source, AL_REFERENCE_DISTANCE, kReferenceDistance);
    alSourcef(source, AL_ROLLOFF_FACTOR, kRolloff);
    alSourcef(source, AL_MAX_DISTANCE, kMaxDistance);
    alSourcei(source, AL_BUFFER, static_cast<ALint>(buffer));
    alSourcei(source, AL_LOOPING, AL_TRUE);
    alSourcef(source, AL_GAIN, sound::asset(id).gain);
    alSource3f(source, AL_POSITION, at.x, at.y, at.z);
    alSourcePlay(source);
    return static_cast<int>(source);
}

void Audio::moveLoop(int handle, const Vector3D& at) {
    if (handle != 0 && owner != nullptr && owner->isOn()) {
        alSource3f(static_cast<ALuint>(handle), AL_POSITION, at.x, at.y, at.z);
    }
}

void Audio::stopLoop(int handle) {
    if (handle == 0 || owner == nullptr || !owner->isOn()) {
        return;
    }
    ALuint source = static_cast<ALuint>(handle);
    alSourceStop(source);
    alDeleteSources(1, &source);
}
