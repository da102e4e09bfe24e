// Logfile: the game's one diagnostic file, "log.txt" in the working directory.
// Emptied when the singleton is first used; written through a member stream (write) and through
// short-lived appends that reach the disk at once (appendLine, writeValue).
#pragma once

#include "Singleton.h"

#include <fstream>
#include <string>

class Logfile : public Singleton<Logfile> {
public:
    // Deletes any old "log.txt" and opens the member stream on it for appending.
    Logfile();

    // Writes text and a line end on the member stream and flushes.
    void write(const std::string& text);
    // Opens, appends text + "\n", flushes and closes: survives a crash right after.
    static void appendLine(const char* text);
    // Two pieces, each appended by its own open/close; together they form one line.
    static void appendLine(const char* a, const char* b);
    // Three pieces forming one line.
    static void appendLine(const char* a, const char* b, const char* c);
    // Appends one number and a line end through a temporary stream.
    static void writeValue(int value);
    static void writeValue(double value);
    // OpenGL error trace; switched off in this build, so it writes nothing.
    void traceGlError(const char* message);

private:
    std::ofstream out_;
};
