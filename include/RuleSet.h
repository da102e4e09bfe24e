// RuleSet: everything the two ways of playing do differently, each as one named rule. The
// classic rules are the game as it was first built, odd corners kept: the goal at the origin
// (where the marker copied the power plant's place before it was set), a den that keeps its
// sheep, a loss only when no sheep is left, outcomes judged anew every cycle, walking per cycle.
// The shepherd rules ("I_RULES=1", shipped) are the game the level was made for: the goal is the
// fold before the power plant, wolves devour what they carry home, the game is lost once the win
// is out of reach, outcomes latch, and the herder walks and turns per second. The game asks the
// one rule set in force (Engine::rules) and never tests which one it is.
#pragma once

#include "Vector3D.h"

#include <vector>

class AISheep;
class Scene;

// How a game stands: still open, or decided.
enum class Outcome { Open, Won, Lost };

class RuleSet {
public:
    virtual ~RuleSet() = default;

    // The classic rules (a missing or 0 "I_RULES").
    static const RuleSet& classic();
    // The shepherd rules ("I_RULES=1").
    static const RuleSet& shepherd();
    // The rule set for an "I_RULES" value; values other than 0 and 1 log a line and play classic.
    static const RuleSet& forSetting(int value);

    // "classic" or "shepherd", for the log.
    virtual const char* name() const = 0;

    // -- The goal --
    // Where the goal marker stands, given the power plant object's own position field.
    virtual Vector3D goalPosition(const Vector3D& plantObjectPosition) const = 0;
    // Whether the goal marker shows the fold model.
    virtual bool showsFold() const = 0;
    // The outcome the goal marker sees this cycle around `goal`, before any latching.
    virtual Outcome judge(const Scene& scene, const Vector3D& goal) const = 0;
    // Whether a decided outcome stands for the rest of the game.
    virtual bool latchesOutcome() const = 0;

    // -- Wolves --
    // The sheep a new wolf hunts (null: none), drawing from rand().
    virtual AISheep* choosePrey(const std::vector<AISheep*>& flock) const = 0;
    // Seconds a sheep carried to the den lives on there; negative: it is never devoured.
    virtual float devourSeconds() const = 0;
    // Whether a wolf that touches a sheep another wolf carries takes it over.
    virtual bool wolvesTakeCarriedSheep() const = 0;
    // Whether a wolf that carries a sheep seizes another it touches as well.
    virtual bool wolvesCarrySeveralSheep() const = 0;

    // -- The herder's controls --
    // The share of the walk the input step hands the herder's controller.
    static constexpr float kControllerShare = 0.8f;
    // The herder's walk for one input step from the summed key directions (unnormalised; zero
    // when no walking key is held); the controller moves kControllerShare of it.
    virtual Vector3D walkDisplacement(const Vector3D& keys, float dt, int gameSpeed) const = 0;
    // Degrees turned by the q/e keys in a step of dt (sign: +1 left, -1 right).
    virtual float keyTurn(float sign, float dt) const = 0;
    // Degrees turned by a horizontal mouse motion of dx pixels.
    virtual float mouseTurn(int dx, int factor, float dt) const = 0;
    // Camera height change for a vertical mouse motion of dy pixels.
    virtual float mouseLook(int dy, int factor, float dt) const = 0;

    // -- What the player sees --
    // Whether the crosshair, the rocket drawn large with its smoke trail, the flock counters and
    // the end summary with "R plays again" are shown.
    virtual bool aimingAids() const = 0;
};
