// SoundFacts: the game's sound effects in one table: the file each is played from (written by
// make-assets, read by Audio), whether it loops, and how long the generator makes it. The game
// names a sound by its Sound value; the generator and the tests walk the table.
#pragma once

namespace sound {

enum class Sound {
    RocketLaunch,
    RocketFlight,
    Explosion,
    WolfHowl,
    SheepBleat,
    WolfHit,
    WolfDeath,
    Whistle,
    Footsteps,
    Wind,
    Win,
    Loss,
    Count
};

struct SoundAsset {
    Sound id;
    const char* file;
    // Loops play until stopped: the rocket's flight, the footsteps, the wind.
    bool loop;
    // Length of the generated file.
    float seconds;
    // The mix: the source's gain before distance and volume. The one-shots are all made to peak
    // just under full scale, so a steady tone (the whistle, played at the herder on every herd
    // click) is far louder than a burst of noise of the same peak; the gains bring what the
    // player hears often or always under the events that need his attention.
    float gain;
};

// Mono, 16-bit, at this rate.
inline constexpr int kSampleRate = 22050;

inline constexpr SoundAsset kSounds[] = {
    {Sound::RocketLaunch, "rocket-launch.wav", false, 0.6f, 1.0f},
    {Sound::RocketFlight, "rocket-flight.wav", true, 1.0f, 0.7f},
    {Sound::Explosion, "explosion.wav", false, 1.5f, 1.0f},
    {Sound::WolfHowl, "wolf-howl.wav", false, 1.8f, 1.0f},
    {Sound::SheepBleat, "sheep-bleat.wav", false, 0.8f, 0.9f},
    {Sound::WolfHit, "wolf-hit.wav", false, 0.4f, 1.0f},
    {Sound::WolfDeath, "wolf-death.wav", false, 1.2f, 1.0f},
    {Sound::Whistle, "whistle.wav", false, 0.7f, 0.35f},
    {Sound::Footsteps, "footsteps.wav", true, 0.8f, 0.6f},
    {Sound::Wind, "wind.wav", true, 4.0f, 0.25f},
    {Sound::Win, "win.wav", false, 1.8f, 1.0f},
    {Sound::Loss, "loss.wav", false, 1.8f, 1.0f},
};
static_assert(sizeof kSounds / sizeof kSounds[0] == static_cast<int>(Sound::Count),
              "one entry per sound, in the order of Sound");

inline constexpr const SoundAsset& asset(Sound s) {
    return kSounds[static_cast<int>(s)];
}

} // namespace sound
