// Program: the start-up sequence and the GLUT callbacks that forward to the InputManager and the
// Engine. main() only calls Program::run.
#pragma once

struct _XDisplay;
class WindowOption;

class Program {
public:
    // Builds the program's objects in their fixed order and enters the GLUT main loop.
    // Returns only when start-up fails (no X display): the status to exit with.
    static int run(int argc, char** argv);
    // Replaces the running game with a fresh start of the same program (same arguments, same
    // folder). Every descriptor closes with it: the old window goes, the model reader sees its
    // end. Returns only when the start fails (logged).
    static void restart();

private:
    // Our own connection to the X server, or null (with a line on stderr) when there is none.
    // The caller keeps it open until GLUT has its own: a server that resets when its last client
    // leaves would otherwise reset in between and refuse GLUT.
    static _XDisplay* connectToDisplay();
    static void openDisplay(const char* mode, const WindowOption& window);
    static void registerInput();
    static void reshape(int width, int height);
    static void display();
    static void idle();
};
