// PhysicsDebugDrawer: draws the physics world's shapes and contacts as GL lines and points; the
// renderer shows it as its debug layer while the debug switch (F9) is on.
#pragma once

#include "DebugLayer.h"

#include <LinearMath/btIDebugDraw.h>

class btCollisionWorld;

class PhysicsDebugDrawer : public btIDebugDraw, public DebugLayer {
public:
    explicit PhysicsDebugDrawer(btCollisionWorld* world) : world_(world) {}

    // Draws the whole world with the current view (lighting and texturing off meanwhile).
    void draw() override;

    void drawLine(const btVector3& from, const btVector3& to, const btVector3& colour) override;
    void drawContactPoint(const btVector3& point, const btVector3& normal, btScalar distance,
                          int lifeTime, const btVector3& colour) override;
    void reportErrorWarning(const char* warning) override;
    void draw3dText(const btVector3&, const char*) override {}
    void setDebugMode(int mode) override { mode_ = mode; }
    int getDebugMode() const override { return mode_; }

    // Lines issued by the last draw (for tests and statistics).
    int linesDrawn = 0;

private:
    btCollisionWorld* world_;
    int mode_ = DBG_DrawWireframe | DBG_DrawContactPoints;
};
