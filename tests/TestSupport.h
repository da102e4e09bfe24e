// Helpers shared by the tests: a private working directory per test (the game writes "log.txt"
// and reads "settings.ini" in the working directory), the build's generated files, file reading,
// list membership, and a GLUT window.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

class List;
class ModelReader;
class Node;

// Runs each test in a fresh temporary directory and returns to the old one afterwards.
class TempDirTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;
    // Writes text to a file in the test directory.
    static void writeFile(const std::string& name, const std::string& text);

private:
    std::string oldDir_;
    std::string dir_;
};

// A private directory with a GL window and the build's generated files linked in, where the
// game's models load by name.
class DataFolderTest : public TempDirTest {
protected:
    void SetUp() override;
};

// A file of the build's data folder.
std::string dataFile(const std::string& name);
// Links every model and texture of the data folder into the working directory.
void linkDataFiles();
// The lines of a text file (no line ends); empty when it cannot be read.
std::vector<std::string> readLines(const std::string& path);
// A whole file as bytes; empty when it cannot be read.
std::string fileBytes(const std::string& path);
// The model reader the tests load models with: one per test process, its child forked at the
// first load.
ModelReader& testReader();
// Whether the node is a member of the list.
bool listed(const List& list, const Node* node);

// A counter for Timer that advances only when told to: microseconds since an arbitrary start.
struct ManualClock {
    static inline int64_t now = 1000000;
    static inline bool available = true;
    // Installs the clock as every Timer's counter source, starting at one second.
    static void install();
    // Gives the steady clock back.
    static void remove();
    static void advance(double seconds) { now += static_cast<int64_t>(seconds * 1e6 + 0.5); }
    static bool counter(int64_t* count, int64_t* frequency);
};

// Initialises GLUT once per process and opens a 1024x768 double-buffered window with a depth
// buffer on the test display. Fails the test when no display is available.
void openTestWindow();

// Reads the colour buffer of the current window as RGB bytes, bottom row first.
std::vector<unsigned char> readPixels(int width, int height);
