// Object3D: base of everything in the 3D scene: scenery, the herder, animals, rockets, particles.
// It holds the kinematic state, the look (shared model, colour, material overrides), an optional
// physics body and the type code that game logic tells objects apart by.
#pragma once

#include "MaterialOverrides.h"
#include "Node.h"
#include "Vector3D.h"

#include <GL/gl.h>

class FBXModel;
class PhysicsActor;
class CharacterController;

class Object3D : public Node, public MaterialOverrides {
public:
    // Type codes.
    static constexpr int kPlain = 0;
    static constexpr int kAIObject = 1;
    static constexpr int kWolf = 2;
    static constexpr int kSheep = 3;
    static constexpr int kRocket = 4;
    static constexpr int kScenery = 5;
    static constexpr int kHerder = 6;
    static constexpr int kGoalMarker = 7;

    Object3D();

    // Culls against the view, applies transform and material overrides, draws the model.
    void draw() override;
    // Follows the physics body when there is one, otherwise flies freely (explicit Euler).
    void update(float dt) override;
    // Multiplies the object's placement onto the modelview matrix.
    void applyTransform();

    void setPosition(const Vector3D& p) { position = p; }
    Vector3D getPosition() const { return position; }
    void setVelocity(const Vector3D& v) { velocity = v; }
    Vector3D getVelocity() const { return velocity; }
    void setAcceleration(const Vector3D& a) { acceleration = a; }
    Vector3D getAcceleration() const { return acceleration; }
    void setDirection(const Vector3D& d) { direction = d; }
    Vector3D getDirection() const { return direction; }
    void setRotationX(float degrees) { rotationX = degrees; }
    void setRotationY(float degrees) { rotationY = degrees; }
    void setRotationZ(float degrees) { rotationZ = degrees; }
    float getRotationX() const { return rotationX; }
    float getRotationY() const { return rotationY; }
    void setCullRadius(float r) { cullRadius = r; }
    void setModel(FBXModel* m) { model = m; }
    // Sets the colour and switches its override on.
    void setColour(float r, float g, float b, float a);
    void setAmbient(float r, float g, float b, float a);
    void setDiffuse(float r, float g, float b, float a);
    void setSpecular(float r, float g, float b, float a);
    void setShininess(float s);
    // Asks the physics world for a dynamic capsule actor for this object.
    void createCapsuleActor(float height, float radius);
    // Asks the physics world for a capsule controller, placed half its height above the object's
    // position, with its collision switched on.
    void createController(float height, float radius);
    // Moves the controller by walkVector x dt x 5 x game speed plus the world's gravity.
    void moveController(float dt);
    // Moves the controller by `displacement`, blocked by the level and other characters; does
    // nothing without a controller. Both the per-frame step and the herder's walk go through it.
    void moveControllerBy(const Vector3D& displacement);
    // Turns the actor to `degrees` about the vertical axis.
    void rotateActor(float degrees);
    // Clears velocity and acceleration and marks the object stopped.
    void stop();
    // Turns the facing direction about y and adds the angle to the heading.
    void turn(float degrees);

    Vector3D position;
    Vector3D previousPosition;
    Vector3D direction{0.0f, 0.0f, -1.0f};
    Vector3D acceleration;
    Vector3D velocity;
    Vector3D up{0.0f, 1.0f, 0.0f};
    GLenum materialFace = GL_FRONT;
    float rotationX = 0.0f;
    float rotationY = 0.0f;
    float rotationZ = 0.0f;
    float rotationAngle = 0.0f;
    bool stopped = false;
    float cullRadius = 0.0f;
    int type = kPlain;
    FBXModel* model = nullptr;
    PhysicsActor* actor = nullptr;
    CharacterController* controller = nullptr;
    Vector3D walkVector;
    bool staticPose = false;

protected:
    // The win and lose test of the goal marker.
    void checkGoal();
    // Whether the renderer's frustum says this object is out of view.
    bool culled() const;
};
