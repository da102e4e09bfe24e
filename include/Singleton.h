// Singleton: one lazily created, never destroyed instance per type, for the program's managers.
// The game runs on the one GLUT thread, so no locking is needed.
#pragma once

template <class T> class Singleton {
public:
    // Creates the instance with `new T` on first call; the same pointer ever after.
    static T* getInstance() {
        if (instance == nullptr) {
            instance = new T;
        }
        return instance;
    }

protected:
    Singleton() = default;

private:
    inline static T* instance = nullptr;
};
