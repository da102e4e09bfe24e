// The effects of the touches physics finds: sheep killed, wolves wounded and rockets burst by the
// step's records, sheep seized by the controllers' report.
#include "GameRules.h"

#include "AISheep.h"
#include "AIWolf.h"
#include "Engine.h"
#include "PhysicsWorld.h"
#include "Rocket.h"
#include "RuleSet.h"

namespace {

bool isSheep(int group) {
    return group == ActorGroup::kSheep;
}

bool isWolf(int group) {
    return group == ActorGroup::kWolf;
}

bool isLevel(int group) {
    return group == ActorGroup::kGround || group == ActorGroup::kCanyon;
}

// The body of the touch whose group `is` accepts, the second when both are; null when neither
// is, and a body without an owner never is.
const Touch* bodyOf(const ContactBegin& begin, bool (*is)(int group)) {
    if (begin.b.owner != nullptr && is(begin.b.group)) {
        return &begin.b;
    }
    if (begin.a.owner != nullptr && is(begin.a.group)) {
        return &begin.a;
    }
    return nullptr;
}

// The rocket that touched `body`, or null when the other body is none. Only a rocket's body is
// in the rockets' group.
Rocket* rocketAgainst(const ContactBegin& begin, const Touch* body) {
    const Touch& other = body == &begin.b ? begin.a : begin.b;
    return other.group == ActorGroup::kRocket ? static_cast<Rocket*>(other.owner) : nullptr;
}

// Each rule says whether it was the one to decide, even when the touch then means nothing.
// A rocket kills the sheep it strikes and flies on.
bool sheepRule(const ContactBegin& begin) {
    const Touch* sheep = bodyOf(begin, isSheep);
    if (sheep != nullptr && rocketAgainst(begin, sheep) != nullptr) {
        static_cast<AISheep*>(sheep->owner)->dieByRocket();
    }
    return sheep != nullptr;
}

// The wound comes first, then the burst; the wolf itself dies in its next update.
bool wolfRule(const ContactBegin& begin) {
    const Touch* wolf = bodyOf(begin, isWolf);
    if (wolf == nullptr) {
        return false;
    }
    if (Rocket* rocket = rocketAgainst(begin, wolf)) {
        static_cast<AIWolf*>(wolf->owner)->hit(rocket->damage);
        rocket->explode();
    }
    return true;
}

bool levelRule(const ContactBegin& begin) {
    const Touch* level = bodyOf(begin, isLevel);
    if (level == nullptr) {
        return false;
    }
    if (Rocket* rocket = rocketAgainst(begin, level)) {
        rocket->explode();
    }
    return true;
}

} // namespace

void GameRules::applyContacts(const std::vector<ContactBegin>& begins) {
    for (const ContactBegin& begin : begins) {
        applyContact(begin);
    }
}

void GameRules::applyContact(const ContactBegin& begin) {
    if (!sheepRule(begin) && !wolfRule(begin)) {
        levelRule(begin);
    }
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
    static WolfCatches catches;
    world.setControllerHitReport(&catches);
}
