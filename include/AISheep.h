// AISheep: the herded animal. It stands idle until the herd command gives it a goal, follows a
// wolf that seizes it until that wolf dies, and dies in a reddish burst when a rocket hits it.
#pragma once

#include "AIObject3D.h"

class AIWolf;
class Scene;

class AISheep : public AIObject3D {
public:
    // A living, free sheep of the given level (not owned).
    explicit AISheep(Scene* scene);

    // The steering step; lets go of a holder that has died.
    void update(float dt) override;
    bool alive() const override { return living; }
    // A rocket struck it: a burst where it stood, then out of the game. Only the first call acts.
    void dieByRocket();
    // The living wolf carrying it off, or null.
    AIWolf* carrier() const;
    // Releases its controller, leaves the scene list and counts as dead (still in the sheep list).
    void remove();

    bool living = true;
    bool heldByWolf = false;
    // The wolf holding it (not owned).
    AIWolf* holder = nullptr;
    // How long it has been at the den in a wolf's hold.
    float secondsAtDen = 0.0f;

private:
    void waitAtDen(float dt);

    Scene* scene_;
};
