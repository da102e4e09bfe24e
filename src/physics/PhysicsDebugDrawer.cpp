// The physics debug view: Bullet's wireframe and contact points as GL lines in world space.
#include "PhysicsDebugDrawer.h"

#include "Logfile.h"

#include <BulletCollision/CollisionDispatch/btCollisionWorld.h>
#include <GL/gl.h>

static constexpr float kContactNormalLength = 0.5f;

void PhysicsDebugDrawer::draw() {
    linesDrawn = 0;
    glPushAttrib(GL_ENABLE_BIT | GL_CURRENT_BIT);
    glDisable(GL_LIGHTING);
    glDisable(GL_TEXTURE_2D);
    glBegin(GL_LINES);
    world_->setDebugDrawer(this);
    world_->debugDrawWorld();
    glEnd();
    glPopAttrib();
}

void PhysicsDebugDrawer::drawLine(const btVector3& from, const btVector3& to,
                                  const btVector3& colour) {
    glColor3f(colour.x(), colour.y(), colour.z());
    glVertex3f(from.x(), from.y(), from.z());
    glVertex3f(to.x(), to.y(), to.z());
    ++linesDrawn;
}

void PhysicsDebugDrawer::drawContactPoint(const btVector3& point, const btVector3& normal, btScalar,
                                          int, const btVector3& colour) {
    drawLine(point, point + normal * kContactNormalLength, colour);
}

void PhysicsDebugDrawer::reportErrorWarning(const char* warning) {
    Logfile::appendLine("physics: ", warning);
}
