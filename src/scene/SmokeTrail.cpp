// A rocket's smoke trail: puffs left along the flight that rise a little, swell and fade.
#include "SmokeTrail.h"

#include "SphereList.h"

#include <GL/gl.h>

#include <algorithm>

// A puff every 20 ms of flight (a rocket covers about 2.5 units in that time), each living 0.7 s:
// about 35 puffs behind a rocket in full flight.
static constexpr float kSpacing = 0.02f;
static constexpr float kLifetime = 0.7f;
static constexpr float kRiseSpeed = 0.6f;
static constexpr float kBirthRadius = 0.15f;
static constexpr float kGrowth = 0.9f;
static constexpr float kBirthAlpha = 0.55f;
static constexpr float kGrey = 0.78f;
static constexpr int kSlices = 8;
static constexpr int kStacks = 6;

void SmokeTrail::update(float dt, const Vector3D& at, bool emitting) {
    for (Puff& puff : puffs_) {
        puff.age += dt;
        puff.position.y += kRiseSpeed * dt;
    }
    puffs_.erase(std::remove_if(puffs_.begin(), puffs_.end(),
                                [](const Puff& p) { return p.age >= kLifetime; }),
                 puffs_.end());
    sinceLast_ += dt;
    if (emitting && sinceLast_ >= kSpacing) {
        sinceLast_ = 0.0f;
        puffs_.push_back({at, 0.0f});
    }
}

void SmokeTrail::draw() const {
    if (puffs_.empty()) {
        return;
    }
    glPushAttrib(GL_ENABLE_BIT | GL_CURRENT_BIT | GL_DEPTH_BUFFER_BIT | GL_COLOR_BUFFER_BIT);
    glDisable(GL_LIGHTING);
    glDisable(GL_TEXTURE_2D);
    glEnable(GL_BLEND);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    glDepthMask(GL_FALSE);
    for (const Puff& puff : puffs_) {
        const float life = puff.age / kLifetime;
        glColor4f(kGrey, kGrey, kGrey, kBirthAlpha * (1.0f - life));
        glPushMatrix();
        glTranslatef(puff.position.x, puff.position.y, puff.position.z);
        SphereList::drawOnScreen(kBirthRadius + kGrowth * life, kSlices, kStacks);
        glPopMatrix();
    }
    glPopAttrib();
}
