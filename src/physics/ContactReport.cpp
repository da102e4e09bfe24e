// Rocket contacts decided by the kinds of the two objects, in a fixed order of rules.
#include "ContactReport.h"

#include "AISheep.h"
#include "AIWolf.h"
#include "Object3D.h"
#include "Rocket.h"

// The object of `kind` among a and b (b when both are), and the other one.
static bool pick(Object3D* a, Object3D* b, int kind, Object3D** found, Object3D** other) {
    if (b != nullptr && b->type == kind) {
        *found = b;
        *other = a;
        return true;
    }
    if (a != nullptr && a->type == kind) {
        *found = a;
        *other = b;
        return true;
    }
    return false;
}

static bool isRocket(const Object3D* o) {
    return o != nullptr && o->type == Object3D::kRocket;
}

ContactReport::Outcome ContactReport::classify(Object3D* a, Object3D* b, Object3D** subject,
                                               Object3D** rocket) {
    Object3D* found = nullptr;
    Object3D* other = nullptr;
    if (pick(a, b, Object3D::kSheep, &found, &other)) {
        *subject = found;
        *rocket = other;
        return isRocket(other) ? Outcome::SheepHit : Outcome::None;
    }
    if (pick(a, b, Object3D::kWolf, &found, &other)) {
        *subject = found;
        *rocket = other;
        return isRocket(other) ? Outcome::WolfHit : Outcome::None;
    }
    if (pick(a, b, Object3D::kScenery, &found, &other)) {
        *subject = found;
        *rocket = other;
        return isRocket(other) ? Outcome::RocketOnLevel : Outcome::None;
    }
    return Outcome::None;
}

void ContactReport::onContactNotify(Object3D* a, Object3D* b) {
    Object3D* subject = nullptr;
    Object3D* rocket = nullptr;
    switch (classify(a, b, &subject, &rocket)) {
    case Outcome::SheepHit:
        sheepHit(subject, rocket);
        break;
    case Outcome::WolfHit:
        wolfHit(subject, rocket);
        break;
    case Outcome::RocketOnLevel:
        rocketOnLevel(rocket);
        break;
    case Outcome::None:
        break;
    }
}

// A rocket kills the sheep it strikes and flies on.
void ContactReport::sheepHit(Object3D* sheep, Object3D*) {
    if (auto* victim = dynamic_cast<AISheep*>(sheep)) {
        victim->dieByRocket();
    }
}

// Only real rockets burst; the rules go by kind, and a plain object may carry the rocket kind.
static void explodeRocket(Object3D* rocket) {
    if (auto* r = dynamic_cast<Rocket*>(rocket)) {
        r->explode();
    }
}

// The wound comes first, then the burst; the wolf itself dies in its next update.
void ContactReport::wolfHit(Object3D* wolf, Object3D* rocket) {
    auto* victim = dynamic_cast<AIWolf*>(wolf);
    auto* shot = dynamic_cast<Rocket*>(rocket);
    if (victim != nullptr && shot != nullptr) {
        victim->hit(shot->damage);
    }
    explodeRocket(rocket);
}

void ContactReport::rocketOnLevel(Object3D* rocket) {
    explodeRocket(rocket);
}
