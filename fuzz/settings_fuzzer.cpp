// libFuzzer target for the settings reader: arbitrary file contents, then the game's own lookups
// in their order and one lookup of a name taken from the input itself.
#include "SettingsFile.h"

#include <cstdio>
#include <string>
#include <unistd.h>

namespace {

// Longest key name taken from the input.
constexpr size_t kMaxNameLength = 24;

// The reader takes a path, so every input goes through one file per fuzzing process; it is
// removed when the process exits.
struct InputFile {
    const std::string path = "/tmp/herder-settings-fuzz-" + std::to_string(getpid());
    ~InputFile() { std::remove(path.c_str()); }
};

const std::string& inputPath() {
    static const InputFile file;
    return file.path;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FILE* file = std::fopen(inputPath().c_str(), "wb");
    if (file == nullptr) {
        return 0;
    }
    std::fwrite(data, 1, size, file);
    std::fclose(file);

    SettingsFile settings(inputPath());
    const std::string name(reinterpret_cast<const char*>(data),
                           size < kMaxNameLength ? size : kMaxNameLength);
    settings.getString(name.substr(0, name.find('=')));
    settings.getString("G_GAMEMODESTRING");
    settings.getInt("I_MOUSE_SENSPITCH");
    settings.getInt("I_MOUSE_SENSYAW");
    settings.getInt("GAME_SPEED");
    return 0;
}
