// Contacts decided by the actor groups of the two bodies, in a fixed order of rules.
#include "ContactReport.h"

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

} // namespace

ContactReport::Outcome ContactReport::classify(const Touch& a, const Touch& b, Object3D** subject,
                                               Object3D** rocket) {
    const struct {
        bool (*applies)(int group);
        Outcome outcome;
    } rules[] = {{isSheep, Outcome::SheepHit},
                 {isWolf, Outcome::WolfHit},
                 {isLevel, Outcome::RocketOnLevel}};
    for (const auto& rule : rules) {
        // The body the rule is about (b when both are), and the other one.
        const Touch* found = b.owner != nullptr && rule.applies(b.group)   ? &b
                             : a.owner != nullptr && rule.applies(a.group) ? &a
                                                                           : nullptr;
        if (found == nullptr) {
            continue;
        }
        const Touch& other = found == &b ? a : b;
        *subject = found->owner;
        *rocket = other.owner;
        const bool byRocket = other.owner != nullptr && other.group == ActorGroup::kRocket;
        return byRocket ? rule.outcome : Outcome::None;
    }
    return Outcome::None;
}

void ContactReport::onContactNotify(const Touch& a, const Touch& b) {
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
