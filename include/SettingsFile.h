// SettingsFile: forward-only reader of "settings.ini" (NAME=value lines).
// It never rewinds, so keys must stand in the file in the order the program asks for them; a key
// that is missing makes every later lookup read as missing too.
#pragma once

#include <fstream>
#include <string>

class SettingsFile {
public:
    // Opens "settings.ini" in the working directory; a missing file reads as empty.
    SettingsFile();
    // Opens the given file instead (used by tools that check a generated file).
    explicit SettingsFile(const std::string& path);

    // Reads on until a line named `name`; its value, or "NULL" once the file is exhausted.
    std::string getString(const std::string& name);
    // getString parsed as a leading decimal integer; 0 for "NULL" or non-numeric text.
    int getInt(const std::string& name);

private:
    std::ifstream in_;
};
