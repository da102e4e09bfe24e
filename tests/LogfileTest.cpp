// The log file: emptied per run, line assembly of the append paths, and the silent GL trace.
#include "Logfile.h"
#include "TestSupport.h"

#include <filesystem>

namespace {

using LogfileTest = TempDirTest;

TEST_F(LogfileTest, FirstUseEmptiesAnOldLog) {
    writeFile("log.txt", "line from an earlier run\n");
    Logfile* log = Logfile::getInstance();
    EXPECT_TRUE(std::filesystem::exists("log.txt"));
    EXPECT_TRUE(readLines("log.txt").empty());
    log->write("1024x768:32@60");
    EXPECT_EQ(readLines("log.txt"), std::vector<std::string>{"1024x768:32@60"});
}

TEST_F(LogfileTest, AppendPiecesFormOneLine) {
    Logfile::getInstance();
    Logfile::appendLine("a", "b");
    Logfile::appendLine("x", "y", "z");
    Logfile::appendLine("100% plain");
    EXPECT_EQ(readLines("log.txt"), (std::vector<std::string>{"ab", "xyz", "100% plain"}));
}

TEST_F(LogfileTest, WritesInterleaveInCallOrder) {
    Logfile* log = Logfile::getInstance();
    log->write("first");
    Logfile::appendLine("second");
    Logfile::writeValue(42);
    Logfile::writeValue(2.5);
    log->write("last");
    EXPECT_EQ(readLines("log.txt"),
              (std::vector<std::string>{"first", "second", "42", "2.5", "last"}));
}

TEST_F(LogfileTest, GlErrorTraceWritesNothing) {
    Logfile* log = Logfile::getInstance();
    log->write("mode");
    log->traceGlError("main 1");
    log->traceGlError("gameCycle end");
    log->write("after");
    for (const std::string& line : readLines("log.txt")) {
        EXPECT_EQ(line.find("LAST OPENGL ERROR"), std::string::npos) << line;
    }
    EXPECT_EQ(readLines("log.txt").size(), 2u);
}

TEST_F(LogfileTest, UnwritableLogIsSilentlyIgnored) {
    std::filesystem::create_directories("log.txt/keep"); // a folder that cannot be removed
    Logfile* log = Logfile::getInstance();
    log->write("lost");
    Logfile::appendLine("lost too");
    Logfile::writeValue(1);
    EXPECT_TRUE(std::filesystem::is_directory("log.txt"));
}

} // namespace
