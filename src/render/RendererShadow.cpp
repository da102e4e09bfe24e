// The three-pass shadow-mapped frame: depth from the light into a texture, the scene dimly lit,
// then fully lit where the shadow comparison passes. It is kept buildable and complete but the
// live frame runs instead (see kShadowFrame in Renderer.cpp).
#include "Camera.h"
#include "InputManager.h"
#include "Renderer.h"

#include <GL/freeglut.h>
#include <GL/glext.h>

static const GLfloat kWhite[4] = {1, 1, 1, 1};
static const GLfloat kDim[4] = {0.2f, 0.2f, 0.2f, 1};
static const GLfloat kBlack[4] = {0, 0, 0, 1};

// Maps clip space [-1, 1] to texture space [0, 1].
static const GLfloat* biasMatrix() {
    static const GLfloat bias[16] = {0.5f, 0, 0,    0, 0,    0.5f, 0,    0,
                                     0,    0, 0.5f, 0, 0.5f, 0.5f, 0.5f, 1};
    return bias;
}

static void dimLight(const Vector3D& light) {
    const GLfloat position[4] = {light.x, light.y, light.z, 1};
    glLightfv(GL_LIGHT1, GL_POSITION, position);
    glLightfv(GL_LIGHT1, GL_AMBIENT, kDim);
    glLightfv(GL_LIGHT1, GL_DIFFUSE, kDim);
    glLightfv(GL_LIGHT1, GL_SPECULAR, kBlack);
    glEnable(GL_LIGHT1);
    glEnable(GL_LIGHTING);
}

void Renderer::renderShadowed() {
    dimLight(lightPosition_);
    glutSetCursor(GLUT_CURSOR_NONE);
    if (!InputManager::getInstance()->wireframe) {
        glPolygonMode(GL_BACK, GL_FILL);
    } else {
        glPolygonMode(GL_FRONT_AND_BACK, GL_LINE);
    }
    // Pass 1: depth as seen from the light.
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glMatrixMode(GL_PROJECTION);
    glLoadMatrixf(lightProjection_);
    glMatrixMode(GL_MODELVIEW);
    glLoadMatrixf(lightView_);
    glViewport(0, 0, shadowMapSize_, shadowMapSize_);
    glCullFace(GL_FRONT);
    glShadeModel(GL_FLAT);
    glColorMask(GL_FALSE, GL_FALSE, GL_FALSE, GL_FALSE);
    drawScene();
    glBindTexture(GL_TEXTURE_2D, shadowMapTexture_);
    glCopyTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, 0, 0, shadowMapSize_, shadowMapSize_);
    glCullFace(GL_BACK);
    glShadeModel(GL_SMOOTH);
    glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
    shadowPass(false);
    shadowPass(true);
}

// Pass 2 (dim) and pass 3 (lit where the shadow test passes) from the camera.
void Renderer::shadowPass(bool lit) {
    if (!lit) {
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        glMatrixMode(GL_PROJECTION);
        glLoadMatrixf(cameraProjection_);
        glMatrixMode(GL_MODELVIEW);
        glLoadMatrixf(cameraView_);
        followHerder();
        glViewport(0, 0, windowWidth, windowHeight);
        dimLight(lightPosition_);
        drawScene();
        return;
    }
    glLightfv(GL_LIGHT1, GL_DIFFUSE, kWhite);
    glLightfv(GL_LIGHT1, GL_SPECULAR, kWhite);
    glMatrixMode(GL_TEXTURE);
    glLoadMatrixf(biasMatrix());
    glMultMatrixf(lightProjection_);
    glMultMatrixf(lightView_);
    GLfloat texture[16];
    glGetFloatv(GL_TEXTURE_MATRIX, texture);
    glLoadIdentity();
    glMatrixMode(GL_MODELVIEW);
    const GLenum coords[4] = {GL_S, GL_T, GL_R, GL_Q};
    const GLenum gens[4] = {GL_TEXTURE_GEN_S, GL_TEXTURE_GEN_T, GL_TEXTURE_GEN_R, GL_TEXTURE_GEN_Q};
    for (int i = 0; i < 4; ++i) {
        const GLfloat row[4] = {texture[i], texture[4 + i], texture[8 + i], texture[12 + i]};
        glTexGeni(coords[i], GL_TEXTURE_GEN_MODE, GL_EYE_LINEAR);
        glTexGenfv(coords[i], GL_EYE_PLANE, row);
        glEnable(gens[i]);
    }
    glBindTexture(GL_TEXTURE_2D, shadowMapTexture_);
    glEnable(GL_TEXTURE_2D);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_COMPARE_MODE_ARB, GL_COMPARE_R_TO_TEXTURE_ARB);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_COMPARE_FUNC_ARB, GL_LEQUAL);
    glTexParameteri(GL_TEXTURE_2D, GL_DEPTH_TEXTURE_MODE_ARB, GL_LUMINANCE);
    drawScene();
    glDisable(GL_TEXTURE_2D);
    for (GLenum gen : gens) {
        glDisable(gen);
    }
    glDisable(GL_LIGHTING);
}
