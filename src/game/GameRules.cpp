// The effects of the touches physics reports: sheep killed, wolves wounded, rockets burst, sheep
// seized.
#include "GameRules.h"

#include "AISheep.h"
#include "AIWolf.h"
#include "Engine.h"
#include "PhysicsWorld.h"
#include "Rocket.h"
#include "RuleSet.h"

// Only real rockets burst; the rules go by group, and any body may be given the rockets' group.
static void burst(Object3D* rocket) {
    if (auto* r = dynamic_cast<Rocket*>(rocket)) {
        r->explode();
    }
}

void RocketContacts::sheepHit(Object3D* sheep, Object3D*) {
    if (auto* victim = dynamic_cast<AISheep*>(sheep)) {
        victim->dieByRocket();
    }
}

// The wound comes first, then the burst; the wolf itself dies in its next update.
void RocketContacts::wolfHit(Object3D* wolf, Object3D* rocket) {
    auto* victim = dynamic_cast<AIWolf*>(wolf);
    auto* shot = dynamic_cast<Rocket*>(rocket);
    if (victim != nullptr && shot != nullptr) {
        victim->hit(shot->damage);
    }
    burst(rocket);
}

void RocketContacts::rocketOnLevel(Object3D* rocket) {
    burst(rocket);
}

// A wolf touches the sheep it carries again and again. Those touches change nothing: catching
// it anew would search a fresh path from the nearest waypoint, which may lie behind the wolf, and
// turning round runs the wolf into its own sheep, head on.
// Whether a sheep another wolf carries can be taken over, and whether a wolf that carries one
// takes another, are the rules' call.
void WolfCatches::wolfCaughtSheep(Object3D* wolf, Object3D* sheep) {
    auto* hunter = dynamic_cast<AIWolf*>(wolf);
    auto* prey = dynamic_cast<AISheep*>(sheep);
    if (hunter == nullptr || prey == nullptr) {
        return;
    }
    const RuleSet& rules = *Engine::getInstance()->rules;
    const AIWolf* carrier = prey->carrier();
    const bool carried =
        carrier == hunter || (carrier != nullptr && !rules.wolvesTakeCarriedSheep());
    const bool laden = !rules.wolvesCarrySeveralSheep() && hunter->carriesASheep();
    if (!carried && !laden) {
        hunter->seize(prey, Engine::getInstance()->pathSearch);
    }
}

void GameRules::install(PhysicsWorld& world) {
    static RocketContacts contacts;
    static WolfCatches catches;
    world.setContactReport(&contacts);
    world.setControllerHitReport(&catches);
}
