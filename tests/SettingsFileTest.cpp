// The forward-only settings reader: key order, missing keys, odd lines and values.
#include "SettingsFile.h"
#include "TestSupport.h"

#include <string>

namespace {

using SettingsFileTest = TempDirTest;

TEST_F(SettingsFileTest, KeysInOrderAreEachFound) {
    writeFile("settings.ini", "G_GAMEMODESTRING=800x600:32@60\nI_MOUSE_SENSPITCH=2\n"
                              "I_MOUSE_SENSYAW=-3\nGAME_SPEED=4\n");
    SettingsFile s;
    EXPECT_EQ(s.getString("G_GAMEMODESTRING"), "800x600:32@60");
    EXPECT_EQ(s.getInt("I_MOUSE_SENSPITCH"), 2);
    EXPECT_EQ(s.getInt("I_MOUSE_SENSYAW"), -3);
    EXPECT_EQ(s.getInt("GAME_SPEED"), 4);
    EXPECT_EQ(s.getString("GAME_SPEED"), "NULL") << "nothing is left after the last key";
}

TEST_F(SettingsFileTest, KeyBeforeOneAlreadyReadIsNeverFoundAgain) {
    writeFile("settings.ini", "I_MOUSE_SENSYAW=3\nI_MOUSE_SENSPITCH=2\nGAME_SPEED=1\n");
    SettingsFile s;
    EXPECT_EQ(s.getInt("I_MOUSE_SENSPITCH"), 2);
    EXPECT_EQ(s.getInt("I_MOUSE_SENSYAW"), 0) << "the yaw line was consumed by the pitch lookup";
    EXPECT_EQ(s.getInt("GAME_SPEED"), 0) << "the failed lookup ran to the end of the file";
}

TEST_F(SettingsFileTest, SwappedMouseKeysMakeEveryEngineKeyZero) {
    writeFile("settings.ini",
              "G_GAMEMODESTRING=640x480\nI_MOUSE_SENSYAW=3\nI_MOUSE_SENSPITCH=2\nGAME_SPEED=1\n");
    SettingsFile s;
    EXPECT_EQ(s.getString("G_GAMEMODESTRING"), "640x480");
    EXPECT_EQ(s.getInt("I_MOUSE_SENSPITCH"), 2);
    EXPECT_EQ(s.getInt("I_MOUSE_SENSYAW"), 0);
    EXPECT_EQ(s.getInt("GAME_SPEED"), 0);
}

TEST_F(SettingsFileTest, MissingFileReadsAsNullAndZero) {
    SettingsFile s;
    EXPECT_EQ(s.getString("G_GAMEMODESTRING"), "NULL");
    EXPECT_EQ(s.getInt("I_MOUSE_SENSPITCH"), 0);
}

TEST_F(SettingsFileTest, MissingGameModeKeyExhaustsTheFile) {
    writeFile("settings.ini", "I_MOUSE_SENSPITCH=2\nI_MOUSE_SENSYAW=3\nGAME_SPEED=1\n");
    SettingsFile s;
    EXPECT_EQ(s.getString("G_GAMEMODESTRING"), "NULL");
    EXPECT_EQ(s.getInt("I_MOUSE_SENSPITCH"), 0);
    EXPECT_EQ(s.getInt("GAME_SPEED"), 0);
}

TEST_F(SettingsFileTest, ValuesKeepEqualsSignsAndBlanks) {
    writeFile("settings.ini", "A=b=c\nB= x \nC=\n");
    SettingsFile s;
    EXPECT_EQ(s.getString("A"), "b=c");
    EXPECT_EQ(s.getString("B"), " x ");
    EXPECT_EQ(s.getString("C"), "");
}

TEST_F(SettingsFileTest, NamesMatchExactlyAndLinesWithoutEqualsAreSkipped) {
    writeFile("settings.ini", "# comment\n\n I_MOUSE_SENSPITCH=5\ni_mouse_senspitch=6\n"
                              "I_MOUSE_SENSPITCH =7\nI_MOUSE_SENSPITCH\nI_MOUSE_SENSPITCH=8\n");
    SettingsFile s;
    EXPECT_EQ(s.getInt("I_MOUSE_SENSPITCH"), 8);
}

TEST_F(SettingsFileTest, IntegersParseLikeStreamExtraction) {
    writeFile("settings.ini", "A= 5\nB=abc\nC=12xyz\nD=-0\nE=99999999999\nF=\n");
    SettingsFile s;
    EXPECT_EQ(s.getInt("A"), 5) << "leading blanks are skipped by extraction";
    EXPECT_EQ(s.getInt("B"), 0);
    EXPECT_EQ(s.getInt("C"), 12);
    EXPECT_EQ(s.getInt("D"), 0);
    EXPECT_EQ(s.getInt("E"), 0) << "out of range is rejected, not wrapped";
    EXPECT_EQ(s.getInt("F"), 0);
}

TEST_F(SettingsFileTest, LastLineWithoutNewlineAndCarriageReturns) {
    writeFile("settings.ini", "G_GAMEMODESTRING=1024x768\r\nGAME_SPEED=3");
    SettingsFile s;
    EXPECT_EQ(s.getString("G_GAMEMODESTRING"), "1024x768\r") << "nothing is trimmed";
    EXPECT_EQ(s.getInt("GAME_SPEED"), 3);
}

TEST_F(SettingsFileTest, OverlongLineDoesNotLeakIntoTheNextLine) {
    const std::string tail = "GAME_SPEED=9";
    writeFile("settings.ini", "X=" + std::string(400, 'y') + tail + "\nGAME_SPEED=2\n");
    SettingsFile s;
    EXPECT_EQ(s.getInt("GAME_SPEED"), 2);
}

TEST_F(SettingsFileTest, BinaryGarbageIsSurvived) {
    std::string junk;
    for (int i = 0; i < 2000; ++i) {
        junk.push_back(static_cast<char>((i * 131 + 7) % 256));
    }
    writeFile("settings.ini", junk + "\nGAME_SPEED=5\n");
    SettingsFile s;
    EXPECT_EQ(s.getInt("GAME_SPEED"), 5);
}

} // namespace
