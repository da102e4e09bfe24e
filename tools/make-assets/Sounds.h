// Sounds: the generator's sound effects, one synthesised WAV file per entry of the sound table
// (SoundFacts.h), written under the names the game plays them from.
#pragma once

#include <string>

namespace assets {

// Writes every sound of the table into the folder; false (after printing why) on failure.
bool writeSounds(const std::string& dir);

} // namespace assets
