// The rocket rules over records of first touches, with the level's real animals and rockets: what
// each pair of groups does, that a body without an owner means nothing, and that a step's records
// act in order, harmlessly naming again what an earlier one killed or burst.
#include "GameRules.h"
#include "AISheep.h"
#include "AIWolf.h"
#include "LevelFixture.h"
#include "List.h"
#include "PhysicsWorld.h"
#include "Rocket.h"

#include <memory>

namespace {

// Where a fresh rocket waits, far above everything; it is never stepped.
const Vector3D kRocketStand(0.0f, 200.0f, 0.0f);

// The bodies a record can name.
enum class Body {
    Sheep,
    OtherSheep,
    Wolf,
    Rocket,
    Ground,
    Canyon,
    Herder,
    SheepWithoutOwner,
    RocketWithoutOwner,
    GroundWithoutOwner
};

class ContactRulesTest : public LevelFixture {
protected:
    // Fresh animals and a flying rocket for the next case; the level's own stay untouched.
    void freshCast() {
        if (rocket_ && rocket_->actor != nullptr) {
            engine_->physics->releaseActor(rocket_->actor);
        }
        sheep_ = std::make_unique<AISheep>(scene_);
        otherSheep_ = std::make_unique<AISheep>(scene_);
        wolf_ = std::make_unique<AIWolf>(scene_);
        rocket_ = std::make_unique<Rocket>(scene_->getSceneList());
        rocket_->setPosition(kRocketStand);
        rocket_->launch(Vector3D(0, 0, 0));
        ASSERT_NE(rocket_->actor, nullptr);
    }
    // The body as a record names it: its owner and its group.
    Touch touch(Body body) {
        using namespace ActorGroup;
        switch (body) {
        case Body::Sheep:
            return {sheep_.get(), kSheep};
        case Body::OtherSheep:
            return {otherSheep_.get(), kSheep};
        case Body::Wolf:
            return {wolf_.get(), kWolf};
        case Body::Rocket:
            return {rocket_.get(), kRocket};
        case Body::Ground:
            return {&scenery_, kGround};
        case Body::Canyon:
            return {&scenery_, kCanyon};
        case Body::Herder:
            return {scene_->getPlayer(), kNone};
        case Body::SheepWithoutOwner:
            return {nullptr, kSheep};
        case Body::RocketWithoutOwner:
            return {nullptr, kRocket};
        case Body::GroundWithoutOwner:
            return {nullptr, kGround};
        }
        return {};
    }
    ContactBegin record(Body a, Body b) { return {touch(a), touch(b)}; }
    int deadSheep() const { return (sheep_->alive() ? 0 : 1) + (otherSheep_->alive() ? 0 : 1); }
    bool burst() const { return rocket_->actor == nullptr && !rocket_->visible; }

    std::unique_ptr<AISheep> sheep_, otherSheep_;
    std::unique_ptr<AIWolf> wolf_;
    std::unique_ptr<Rocket> rocket_;
    Object3D scenery_;
};

TEST_F(ContactRulesTest, EachPairOfGroupsDoesWhatItsRuleSays) {
    using B = Body;
    const struct {
        Body a, b;
        int deadSheep;
        int wounds;
        bool burst;
    } cases[] = {
        // A rocket kills the sheep it strikes and flies on.
        {B::Sheep, B::Rocket, 1, 0, false},
        {B::Rocket, B::Sheep, 1, 0, false},
        // It wounds the wolf it strikes, and bursts.
        {B::Wolf, B::Rocket, 0, 1, true},
        {B::Rocket, B::Wolf, 0, 1, true},
        // It bursts on the level.
        {B::Ground, B::Rocket, 0, 0, true},
        {B::Rocket, B::Canyon, 0, 0, true},
        // Nothing else means anything.
        {B::Rocket, B::Herder, 0, 0, false},
        {B::Rocket, B::Rocket, 0, 0, false},
        {B::Sheep, B::Wolf, 0, 0, false},
        {B::Wolf, B::Ground, 0, 0, false},
        {B::Sheep, B::OtherSheep, 0, 0, false},
        {B::Sheep, B::Ground, 0, 0, false},
        // Nor does a body without an owner.
        {B::RocketWithoutOwner, B::Sheep, 0, 0, false},
        {B::Wolf, B::RocketWithoutOwner, 0, 0, false},
        {B::SheepWithoutOwner, B::Rocket, 0, 0, false},
        {B::Rocket, B::GroundWithoutOwner, 0, 0, false},
    };
    for (const auto& c : cases) {
        freshCast();
        GameRules::applyContact(record(c.a, c.b));
        const int row = static_cast<int>(&c - cases);
        EXPECT_EQ(deadSheep(), c.deadSheep) << "case " << row;
        EXPECT_FLOAT_EQ(wolf_->hitPoints, AIWolf::kFullHitPoints - rocket_->damage * c.wounds)
            << "case " << row;
        EXPECT_EQ(burst(), c.burst) << "case " << row;
    }
}

// One step's records: the rocket that wounded the wolf is burst when the level's two pieces
// name it again, and a sheep struck twice dies once.
TEST_F(ContactRulesTest, RecordsActInOrderAndNamingAnOwnerAgainChangesNothing) {
    freshCast();
    const int members = scene_->getSceneList()->count();
    using B = Body;
    GameRules::applyContacts({record(B::Wolf, B::Rocket), record(B::Rocket, B::Ground),
                              record(B::Rocket, B::Canyon), record(B::Sheep, B::Rocket),
                              record(B::Rocket, B::Sheep)});
    EXPECT_FLOAT_EQ(wolf_->hitPoints, AIWolf::kFullHitPoints - rocket_->damage);
    EXPECT_TRUE(burst());
    EXPECT_EQ(deadSheep(), 1);
    EXPECT_EQ(scene_->getSceneList()->count(), members + 2) << "one burst each, no more";
}

} // namespace
