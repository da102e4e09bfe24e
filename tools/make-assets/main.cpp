// make-assets: writes everything the level loads into the given folder, deterministically.
// Usage: make-assets <output-dir>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <system_error>

namespace fs = std::filesystem;

// The default settings: keys in the order the game reads them.
static const char* const kDefaultSettings = "G_GAMEMODESTRING=1024x768:24@60\n"
                                            "I_MOUSE_SENSPITCH=2\n"
                                            "I_MOUSE_SENSYAW=3\n"
                                            "GAME_SPEED=1\n";

static bool writeText(const fs::path& path, const char* text) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << text;
    out.close();
    return static_cast<bool>(out);
}

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: make-assets <output-dir>\n");
        return 2;
    }
    const fs::path dir(argv[1]);
    std::error_code error;
    fs::create_directories(dir, error);
    if (error) {
        std::fprintf(stderr, "make-assets: cannot create %s: %s\n", argv[1],
                     error.message().c_str());
        return 1;
    }
    if (!writeText(dir / "settings.ini", kDefaultSettings)) {
        std::fprintf(stderr, "make-assets: cannot write %s\n", (dir / "settings.ini").c_str());
        return 1;
    }
    return 0;
}
