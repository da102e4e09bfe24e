// The frame: clear, light, scene list, redisplay. The start-up state also prepares the matrices
// and depth texture of a shadow-mapped frame that stays switched off in this build.
#include "Renderer.h"

#include "HUD.h"
#include "List.h"
#include "Scene.h"

#include <GL/freeglut.h>
#include <GL/glu.h>

int Renderer::windowWidth = 1024;
int Renderer::windowHeight = 768;
int Renderer::nearClip = 1;
int Renderer::farClip = 10000;

static const Vector3D kWhite(1.0f, 1.0f, 1.0f);
static const Vector3D kBlack(0.0f, 0.0f, 0.0f);
static constexpr float kAmbientLevel = 0.2f;
static constexpr float kShininess = 16.0f;

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
    : scene_(scene), overlay_(HUD::getInstance()), cameraStart_(-2.5f, 3.5f, -2.5f),
      lightPosition_(70.0f, 35.0f, 70.0f) {
    initGL();
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
    gluPerspective(45.0, aspectRatio(), nearClip, farClip);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
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

void Renderer::render() {
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glutSetCursor(GLUT_CURSOR_NONE);
    glLoadIdentity();
    setupLight();
    drawScene();
    glutPostRedisplay();
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
