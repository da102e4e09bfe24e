// Audio: the game's sound, through OpenAL. One owner, made at program entry after the display:
// it opens the default device, loads the sound effects of SoundFacts.h from the working folder,
// keeps the listener on the camera and places each sound at the object that makes it, so a wolf
// on the left is heard on the left and a far explosion is quieter. Where no device can be opened,
// or the volume is 0, it logs one line and everything it is asked to play is silence; so is a
// sound whose file is missing or damaged (one line each). Game code reaches it through the static
// operations, which do nothing while no owner is current.
#pragma once

#include "SoundFacts.h"
#include "Vector3D.h"

#include <array>
#include <cstddef>
#include <vector>

struct ALCdevice_struct;
struct ALCcontext_struct;

class Audio {
public:
    // Opens the default device at the volume (0 to 100, clamped); 0 opens nothing.
    explicit Audio(int volume);
    ~Audio();
    Audio(const Audio&) = delete;
    Audio& operator=(const Audio&) = delete;

    // The owner the static operations use (not owned; null: silence).
    static Audio* current();
    static void setCurrent(Audio* audio);

    // Whether a device is open and playing.
    bool isOn() const { return context_ != nullptr; }
    // Loads every sound of the table from the working folder (a missing or damaged file is one
    // log line and silence for that sound), then starts the wind.
    void loadSounds();
    // How many sounds of the table loaded.
    int loadedCount() const;

    // The ear: where the camera is, where it looks, which way is up.
    static void listen(const Vector3D& position, const Vector3D& forward, const Vector3D& up);
    // A one-shot sound at a point of the world.
    static void play(sound::Sound id, const Vector3D& at);
    // A one-shot sound at the listener itself (the end-of-game phrases).
    static void playHere(sound::Sound id);
    // A looping sound at a point; the handle moves and stops it (0: none was started).
    static int startLoop(sound::Sound id, const Vector3D& at);
    static void moveLoop(int handle, const Vector3D& at);
    // Stops and frees the loop; 0 is ignored.
    static void stopLoop(int handle);

private:
    unsigned sourceFor(sound::Sound id);
    void startWind();

    ALCdevice_struct* device_ = nullptr;
    ALCcontext_struct* context_ = nullptr;
    float gain_ = 0.0f;
    std::array<unsigned, static_cast<std::size_t>(sound::Sound::Count)> buffers_{};
    // One-shot sources, reused round robin once they have stopped.
    std::vector<unsigned> voices_;
    size_t nextVoice_ = 0;
    unsigned wind_ = 0;
};
