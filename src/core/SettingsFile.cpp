// Settings lookups consume the file as they go; nothing is cached and nothing is trimmed.
#include "SettingsFile.h"

#include <limits>
#include <sstream>

static const char* const kSettingsName = "settings.ini";
static const char* const kMissing = "NULL";
// Lines are read with this limit; longer lines are cut at it.
static constexpr std::streamsize kLineLimit = 300;

SettingsFile::SettingsFile() : in_(kSettingsName) {
}

SettingsFile::SettingsFile(const std::string& path) : in_(path) {
}

// Reads one line of at most kLineLimit characters; the rest of an overlong line is dropped so
// that it cannot be taken for the next line.
static bool readLine(std::ifstream& in, std::string& line) {
    char buffer[kLineLimit + 1];
    in.getline(buffer, kLineLimit + 1);
    if (in.gcount() == 0 && !in.good()) {
        return false;
    }
    line.assign(buffer);
    if (in.fail() && !in.eof()) {
        in.clear();
        in.ignore(std::numeric_limits<std::streamsize>::max(), '\n');
    }
    return true;
}

std::string SettingsFile::getString(const std::string& name) {
    std::string line;
    while (in_.good() && readLine(in_, line)) {
        const std::string::size_type eq = line.find('=');
        if (eq == std::string::npos) {
            continue;
        }
        if (line.compare(0, eq, name) == 0 && eq == name.size()) {
            return line.substr(eq + 1);
        }
    }
    return kMissing;
}

int SettingsFile::getInt(const std::string& name) {
    const std::string value = getString(name);
    if (value == kMissing) {
        return 0;
    }
    std::istringstream in(value);
    int result = 0;
    if (!(in >> result)) {
        return 0;
    }
    return result;
}
