// AIWolf: the hunter. Created every 30 s of game time near the herder, it picks one sheep at
// random, runs at it (directly or along a searched path), seizes it on touch and carries it to
// the den. Rockets wound it; at zero hit points it dies and leaves the scene list.
#pragma once

#include "AIObject3D.h"

class AISheep;
class Scene;

class AIWolf : public AIObject3D {
public:
    // Where wolves carry their sheep: the first waypoint of the canyon.
    static const Vector3D den;
    // A rocket's damage is 50: two hits kill.
    static constexpr float kFullHitPoints = 100.0f;

    // Chooses its prey among the scene's sheep at random and sets off after it, by path when
    // the Engine's path search is on; with no sheep at all it stands idle.
    explicit AIWolf(Scene* scene);
    ~AIWolf() override;

    // Path bookkeeping, the steering step, then death once the hit points are gone.
    void update(float dt) override;
    bool alive() const override { return living; }
    // A rocket struck it: fewer hit points, a log line and two seconds on the HUD.
    void hit(float damage);
    // Logs and shows the death (and each sheep it frees), counts the kill, then leaves the level.
    void die();
    // Releases the controller and leaves the scene list (not deleted); followers give up.
    void leaveLevel();
    // Eats the sheep it has carried home (logged), which leaves the game; the wolf leaves the
    // level in its next update.
    void devour(AISheep* sheep);
    // Its controller touched `sheep`: the sheep follows it and it heads for the den.
    void seize(AISheep* sheep, bool pathSearch);
    // Whether a living sheep of the level follows this wolf as its carrier.
    bool carriesASheep() const;

    bool living = true;
    bool huntingByPath = false;
    // Counted and wrapped while path search is on; it drives nothing.
    int repathCounter = 0;
    Scene* scene = nullptr;
    // The chosen sheep when hunting by path (not owned).
    AISheep* prey = nullptr;
    float hitPoints = kFullHitPoints;
    // It has eaten and leaves.
    bool sated = false;

private:
    // Writes the text to the log and shows it on the HUD for two seconds.
    void announce(const std::string& text);
};
