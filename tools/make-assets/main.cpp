// make-assets: writes everything the level loads into the given folder, deterministically:
// the ten models with their textures, the sheep fold, the unused terrain preset, the sound effects
// and the default settings.
// Usage: make-assets <output-dir>
#include "Models.h"
#include "Sounds.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <system_error>

namespace fs = std::filesystem;

// The default settings: keys in the order the game reads them.
static const char* const kDefaultSettings = "G_GAMEMODESTRING=1024x768:24@60\n"
                                            "I_MOUSE_SENSPITCH=2\n"
                                            "I_MOUSE_SENSYAW=3\n"
                                            "GAME_SPEED=1\n"
                                            "I_RULES=1\n"
                                            "I_VOLUME=80\n";

static bool writeSettings(const std::string& dir) {
    const fs::path path = fs::path(dir) / "settings.ini";
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << kDefaultSettings;
    out.close();
    if (!out) {
        std::fprintf(stderr, "make-assets: cannot write %s\n", path.c_str());
        return false;
    }
    return true;
}

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: make-assets <output-dir>\n");
        return 2;
    }
    const std::string dir = argv[1];
    std::error_code error;
    fs::create_directories(dir, error);
    if (error) {
        std::fprintf(stderr, "make-assets: cannot create %s: %s\n", dir.c_str(),
                     error.message().c_str());
        return 1;
    }
    bool ok = writeSettings(dir);
    for (const assets::GeneratedModel& model : assets::kGeneratedModels) {
        ok = model.write(dir) && ok;
    }
    ok = assets::writeSounds(dir) && ok;
    return ok ? 0 : 1;
}
