// The frame: clear, light, follow the herder, debug layer, scene list, lens flare, redisplay.
// The start-up state also prepares the matrices and depth texture of a shadow-mapped frame that
// stays switched off in this build (RendererShadow.cpp).
#include "Renderer.h"

#include "Audio.h"
#include "Camera.h"
#include "CharacterController.h"
#include "Crosshair.h"
#include "DebugLayer.h"
#include "Engine.h"
#include "HUD.h"
#include "LensFlare.h"
#include "List.h"
#include "Object3D.h"
#include "PhysicsActor.h"
#include "PhysicsWorld.h"
#include "RuleSet.h"
#include "Scene.h"
#include "ViewFrustum.h"

#include <GL/freeglut.h>
#include <GL/glu.h>

#include <cmath>

int Renderer::windowWidth = 1024;
int Renderer::windowHeight = 768;
int Renderer::nearClip = 1;
int Renderer::farClip = 10000;

static const Vector3D kWhite(1.0f, 1.0f, 1.0f);
static const Vector3D kBlack(0.0f, 0.0f, 0.0f);
static constexpr float kAmbientLevel = 0.2f;
static constexpr float kShininess = 16.0f;
static constexpr float kFieldOfView = 45.0f;
// The camera follows this far behind the herder.
static constexpr float kFollowDistance = 5.0f;
// How far above the herder the ground under the camera is looked for: more than the ground can
// rise over the follow distance on a walkable slope, less than the roofs of the power plant.
static constexpr float kGroundProbeAbove = 10.0f;
// Switches the three-pass shadow-mapped frame on in place of the live frame.
static constexpr bool kShadowFrame = false;

// A colour vector as the four floats OpenGL takes, alpha 1.
static void toColour(const Vector3D& v, GLfloat out[4]) {
    out[0] = v.x;
    out[1] = v.y;
    out[2] = v.z;
    out[3] = 1.0f;
}

double Renderer::aspectRatio() {
    if (windowHeight == 0) {
        return 1.0;
    }
    return static_cast<double>(windowWidth) / static_cast<double>(windowHeight);
}

Renderer::Renderer(Scene* scene)
    : scene_(scene), camera_(new Camera()), overlay_(HUD::getInstance()),
      cameraStart_(-2.5f, 3.5f, -2.5f), lightPosition_(70.0f, 35.0f, 70.0f) {
    initGL();
}

Renderer::~Renderer() {
    delete camera_;
}

void Renderer::initGL() {
    cameraStart_ = Vector3D(-2.5f, 3.5f, -2.5f);
    lightPosition_ = Vector3D(70.0f, 35.0f, 70.0f);
    shadowMapSize_ = 1024;
    showDebug = false;

    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    glShadeModel(GL_SMOOTH);
    glClearColor(0.0f, 0.0f, 0.0f, 0.0f);
    glColor4f(1.0f, 1.0f, 1.0f, 1.0f);
    glHint(GL_PERSPECTIVE_CORRECTION_HINT, GL_NICEST);
    glClearDepth(1.0);
    glDepthFunc(GL_LEQUAL);
    glEnable(GL_DEPTH_TEST);
    glEnable(GL_CULL_FACE);
    glEnable(GL_NORMALIZE);

    glGenTextures(1, &shadowMapTexture_);
    glBindTexture(GL_TEXTURE_2D, shadowMapTexture_);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_DEPTH_COMPONENT, shadowMapSize_, shadowMapSize_, 0,
                 GL_DEPTH_COMPONENT, GL_UNSIGNED_BYTE, nullptr);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP);
    glBindTexture(GL_TEXTURE_2D, 0);

    glColorMaterial(GL_FRONT, GL_AMBIENT_AND_DIFFUSE);
    glEnable(GL_COLOR_MATERIAL);
    GLfloat white[4];
    toColour(kWhite, white);
    glMaterialfv(GL_FRONT, GL_SPECULAR, white);
    glMaterialf(GL_FRONT, GL_SHININESS, kShininess);

    captureMatrices();
}

// The shadow frame's four matrices, read back from the modelview stack.
void Renderer::captureMatrices() {
    glPushMatrix();
    glLoadIdentity();
    gluPerspective(45.0, aspectRatio(), 1.0, 1000.0);
    glGetFloatv(GL_MODELVIEW_MATRIX, cameraProjection_);
    glLoadIdentity();
    gluLookAt(cameraStart_.x, cameraStart_.y, cameraStart_.z, 0, 0, 0, 0, 1, 0);
    glGetFloatv(GL_MODELVIEW_MATRIX, cameraView_);
    glLoadIdentity();
    gluPerspective(45.0, 1.0, 2.0, 100.0);
    glGetFloatv(GL_MODELVIEW_MATRIX, lightProjection_);
    glLoadIdentity();
    gluLookAt(lightPosition_.x, lightPosition_.y, lightPosition_.z, 0, 0, 0, 0, 1, 0);
    glGetFloatv(GL_MODELVIEW_MATRIX, lightView_);
    glPopMatrix();
}

void Renderer::reshape() {
    glViewport(0, 0, windowWidth, windowHeight);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    gluPerspective(kFieldOfView, aspectRatio(), nearClip, farClip);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    if (frustum != nullptr) {
        frustum->setCamInternals(kFieldOfView, static_cast<float>(aspectRatio()),
                                 static_cast<float>(nearClip), static_cast<float>(farClip));
    }
}

// Light 1 is first set dim and then raised to full diffuse and specular before any geometry:
// the live frame is fully lit over a 0.2 ambient term.
void Renderer::setupLight() {
    GLfloat position[4] = {lightPosition_.x, lightPosition_.y, lightPosition_.z, 1.0f};
    GLfloat dim[4];
    GLfloat black[4];
    GLfloat white[4];
    toColour(kWhite * kAmbientLevel, dim);
    toColour(kBlack, black);
    toColour(kWhite, white);
    glLightfv(GL_LIGHT1, GL_POSITION, position);
    glLightfv(GL_LIGHT1, GL_AMBIENT, dim);
    glLightfv(GL_LIGHT1, GL_DIFFUSE, dim);
    glLightfv(GL_LIGHT1, GL_SPECULAR, black);
    glEnable(GL_LIGHT1);
    glEnable(GL_LIGHTING);
    glLightfv(GL_LIGHT1, GL_DIFFUSE, white);
    glLightfv(GL_LIGHT1, GL_SPECULAR, white);
}

// The camera behind the herder (at its controller's capsule when it has one), looking at it,
// lifted where the ground behind him would hide the eye, and the frustum rebuilt with the same
// eye and target.
void Renderer::followHerder() {
    Object3D* herder = scene_ != nullptr ? scene_->getPlayer() : nullptr;
    if (herder == nullptr) {
        return;
    }
    const Vector3D target = herder->controller != nullptr
                                ? herder->controller->getActor()->getGlobalPosition()
                                : herder->position;
    camera_->target = target;
    Vector3D facing = herder->direction;
    const float length = std::sqrt(Vector3D::dot(facing, facing));
    if (length > 0.0f) {
        facing *= 1.0f / length;
    }
    camera_->setPosition(target + facing * -kFollowDistance);
    camera_->up = herder->up;
    liftOverGround();
    camera_->draw();
    const Vector3D eye = camera_->eye();
    Audio::listen(eye, camera_->target + eye * -1.0f, camera_->up);
    if (frustum != nullptr) {
        const Vector3D centre(target.x, target.y + Camera::kLift, target.z);
        frustum->setCamDef(camera_->eye(), centre, camera_->up);
    }
}

// The ground is probed from well above the herder down to just below the eye: on a slope behind
// him it can rise above the eye, and then the camera goes up with it.
void Renderer::liftOverGround() {
    if (ground == nullptr) {
        return;
    }
    const Vector3D eye = camera_->eye();
    const float top = camera_->target.y + kGroundProbeAbove;
    float height = 0.0f;
    if (ground->levelHeightBelow(eye.x, eye.z, top, eye.y - Camera::kGroundClearance, &height)) {
        camera_->keepAbove(height);
    }
}

void Renderer::render() {
    if (kShadowFrame) {
        renderShadowed();
        return;
    }
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glutSetCursor(GLUT_CURSOR_NONE);
    glLoadIdentity();
    setupLight();
    followHerder();
    if (showDebug && debugLayer != nullptr) {
        debugLayer->draw();
    }
    drawScene();
    flareElementsDrawn =
        frustum != nullptr ? LensFlare::drawFlare(lightPosition_, *camera_, *frustum) : 0;
    drawOverlays();
    glutPostRedisplay();
}

// Everything in window pixels comes last, so that nothing of the scene covers it: the HUD (and
// any other overlay of the scene list), then the crosshair where the rules show one.
void Renderer::drawOverlays() {
    const bool aim = Engine::getInstance()->rules->aimingAids() && placeCrosshair();
    if (scene_ != nullptr && scene_->getSceneList() != nullptr) {
        scene_->getSceneList()->drawOverlays();
    }
    if (aim) {
        crosshair.draw();
    }
}

// The aim point projected with the scene's matrices; false when it lies behind the eye.
bool Renderer::placeCrosshair() {
    Vector3D at;
    if (scene_ == nullptr || !scene_->aimPoint(&at)) {
        return false;
    }
    double winX = 0, winY = 0, winZ = 0;
    if (!Camera::project(at, &winX, &winY, &winZ) || winZ < 0.0 || winZ > 1.0) {
        return false;
    }
    crosshair.x = static_cast<int>(winX);
    crosshair.y = static_cast<int>(winY);
    return true;
}

void Renderer::drawScene() {
    materialColour_[0] = 0.4f;
    materialColour_[1] = 0.4f;
    materialColour_[2] = 0.4f;
    materialColour_[3] = 1.0f;
    if (scene_ != nullptr && scene_->getSceneList() != nullptr) {
        scene_->getSceneList()->drawAll();
    }
}

// Debug primitives, each compiled into a display list the first time it is needed.
static GLuint buildList(void (*issue)()) {
    const GLuint list = glGenLists(1);
    glNewList(list, GL_COMPILE);
    issue();
    glEndList();
    return list;
}

static void issueSpheres() {
    glColor3f(0, 1, 0);
    glPushMatrix();
    const GLfloat steps[4][3] = {{0.45f, 1, 0.45f}, {-0.9f, 0, 0}, {0, 0, -0.9f}, {0.9f, 0, 0}};
    for (const auto& step : steps) {
        glTranslatef(step[0], step[1], step[2]);
        glutSolidSphere(0.2, 24, 24);
    }
    glPopMatrix();
}

static void issueTorus() {
    glColor3f(1, 0, 0);
    glPushMatrix();
    glTranslatef(0, 0.5f, 0);
    glRotatef(90, 1, 0, 0);
    glutSolidTorus(0.2, 0.5, 24, 48);
    glPopMatrix();
}

static void issueBase() {
    glColor3f(0, 0, 1);
    glPushMatrix();
    glScalef(1, 0.05f, 1);
    glutSolidCube(3);
    glPopMatrix();
}

void Renderer::drawTestObjects(float angle) {
    static GLuint spheres = 0, torus = 0, base = 0;
    if (spheres == 0) {
        spheres = buildList(issueSpheres);
    }
    if (torus == 0) {
        torus = buildList(issueTorus);
    }
    if (base == 0) {
        base = buildList(issueBase);
    }
    glCallList(base);
    glCallList(torus);
    glPushMatrix();
    glRotatef(angle, 0, 1, 0);
    glCallList(spheres);
    glPopMatrix();
}
