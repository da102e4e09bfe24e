// The log file: one member stream for ordinary lines, plus open-append-close writes for lines
// that must be on disk immediately (loader progress, level set-up, list misuse).
#include "Logfile.h"

#include <GL/gl.h>

#include <cstdio>

static const char* const kLogName = "log.txt";
// The GL error trace runs every frame; it stays compiled in but silent.
static constexpr bool kTraceGlErrors = false;

Logfile::Logfile() {
    std::remove(kLogName);
    out_.open(kLogName, std::ios::out | std::ios::app);
}

void Logfile::write(const std::string& text) {
    out_ << text << '\n';
    out_.flush();
}

static void appendPiece(const char* text, bool endLine) {
    FILE* f = std::fopen(kLogName, "a");
    if (f == nullptr) {
        return;
    }
    std::fputs(text != nullptr ? text : "", f);
    if (endLine) {
        std::fputc('\n', f);
    }
    std::fflush(f);
    std::fclose(f);
}

void Logfile::appendLine(const char* text) {
    appendPiece(text, true);
}

void Logfile::appendLine(const char* a, const char* b) {
    appendPiece(a, false);
    appendPiece(b, true);
}

void Logfile::appendLine(const char* a, const char* b, const char* c) {
    appendPiece(a, false);
    appendPiece(b, false);
    appendPiece(c, true);
}

void Logfile::writeValue(int value) {
    std::ofstream tmp(kLogName, std::ios::out | std::ios::app);
    tmp << value << '\n';
}

void Logfile::writeValue(double value) {
    std::ofstream tmp(kLogName, std::ios::out | std::ios::app);
    tmp << value << '\n';
}

void Logfile::traceGlError(const char* message) {
    if (!kTraceGlErrors) {
        return;
    }
    out_ << "LAST OPENGL ERROR: " << message << ": " << glGetError() << '\n';
}
