// Shared test helpers: temporary working directories and a GLUT window on the test display.
#include "TestSupport.h"

#include "List.h"
#include "ModelReader.h"
#include "Renderer.h"
#include "Timer.h"

#include <GL/freeglut.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <unistd.h>

// The game frees nothing it builds (objects live until exit) and Mesa's driver keeps allocations
// past its unloading, so leak reports would be noise: sanitizer builds check memory errors and
// undefined behaviour only.
extern "C" const char* __asan_default_options() {
    // A small quarantine keeps freed memory from piling up in the half-hour soak, whose memory
    // growth is measured; use-after-free of recent frees is still caught.
    return "detect_leaks=0:quarantine_size_mb=16";
}

static constexpr int kWindowWidth = 1024;
static constexpr int kWindowHeight = 768;

void TempDirTest::SetUp() {
    oldDir_ = std::filesystem::current_path().string();
    char pattern[] = "/tmp/herder-test-XXXXXX";
    ASSERT_NE(mkdtemp(pattern), nullptr);
    dir_ = pattern;
    ASSERT_EQ(chdir(dir_.c_str()), 0);
}

void TempDirTest::TearDown() {
    ASSERT_EQ(chdir(oldDir_.c_str()), 0);
    std::error_code ignored;
    std::filesystem::remove_all(dir_, ignored);
}

void TempDirTest::writeFile(const std::string& name, const std::string& text) {
    std::ofstream out(name, std::ios::binary);
    out << text;
}

void DataFolderTest::SetUp() {
    TempDirTest::SetUp();
    openTestWindow();
    linkDataFiles();
}

std::string dataFile(const std::string& name) {
    return std::string(HERDER_DATA_DIR) + "/" + name;
}

void linkDataFiles() {
    for (const auto& entry : std::filesystem::directory_iterator(HERDER_DATA_DIR)) {
        const std::string ext = entry.path().extension().string();
        if (ext == ".fbx" || ext == ".tga") {
            std::error_code ignored;
            std::filesystem::create_symlink(entry.path(), entry.path().filename(), ignored);
        }
    }
}

std::string fileBytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

bool listed(const List& list, const Node* node) {
    for (int i = 0; i < list.count(); ++i) {
        if (list.getAt(i) == node) {
            return true;
        }
    }
    return false;
}

std::vector<std::string> readLines(const std::string& path) {
    std::vector<std::string> lines;
    std::ifstream in(path);
    std::string line;
    while (std::getline(in, line)) {
        lines.push_back(line);
    }
    return lines;
}

void openTestWindow() {
    static bool open = false;
    if (open) {
        return;
    }
    const char* display = std::getenv("DISPLAY");
    ASSERT_TRUE(display != nullptr && *display != '\0') << "GL tests need DISPLAY (Xvfb)";
    int argc = 1;
    char name[] = "herder_tests";
    char* argv[] = {name, nullptr};
    glutInit(&argc, argv);
    glutInitDisplayMode(GLUT_DOUBLE | GLUT_DEPTH);
    glutInitWindowSize(kWindowWidth, kWindowHeight);
    glutCreateWindow("herder test");
    Renderer::windowWidth = kWindowWidth;
    Renderer::windowHeight = kWindowHeight;
    open = true;
}

std::vector<unsigned char> readPixels(int width, int height) {
    std::vector<unsigned char> pixels(static_cast<size_t>(width) * height * 3);
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glReadBuffer(GL_BACK);
    glReadPixels(0, 0, width, height, GL_RGB, GL_UNSIGNED_BYTE, pixels.data());
    return pixels;
}

void ManualClock::install() {
    now = 1000000;
    available = true;
    Timer::setCounterSource(&ManualClock::counter);
}

void ManualClock::remove() {
    Timer::setCounterSource(nullptr);
}

bool ManualClock::counter(int64_t* count, int64_t* frequency) {
    *count = now;
    *frequency = 1000000;
    return available;
}

ModelReader& testReader() {
    static ModelReader reader;
    return reader;
}
