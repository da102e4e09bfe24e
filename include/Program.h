// Program: the start-up sequence and the GLUT callbacks that forward to the InputManager and the
// Engine. main() only calls Program::run.
#pragma once

class Program {
public:
    // Builds the program's objects in their fixed order and enters the GLUT main loop.
    // Returns only when start-up fails (no X display): the status to exit with.
    static int run(int argc, char** argv);

private:
    static bool displayAvailable();
    static void openDisplay(const char* mode);
    static void registerInput();
    static void reshape(int width, int height);
    static void display();
    static void idle();
};
