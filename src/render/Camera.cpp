// The follow camera's view transform and its depth-buffer visibility test.
#include "Camera.h"

#include <GL/glu.h>

#include <algorithm>
#include <cmath>
#include <limits>

// Depth tolerance of isVisible: a point this close behind the stored depth still counts.
static constexpr double kDepthTolerance = 0.001;

Camera::Camera() {
    startTarget = target;
    direction = target;
    velocity = Vector3D(0, 0, 0);
    acceleration = Vector3D(0, 0, 0);
}

Camera::Camera(const Vector3D& t) : Camera() {
    const float length = std::sqrt(Vector3D::dot(t, t));
    target = length > 0.0f ? t * (1.0f / length) : t;
    startTarget = target;
    direction = target;
}

Camera::Camera(const Vector3D& t, const Vector3D& p) : Camera() {
    target = t;
    startTarget = t;
    direction = t;
    position = p;
}

void Camera::look() {
    height = std::clamp(height, -kHeightLimit, kHeightLimit);
    const Vector3D e = eye();
    gluLookAt(e.x, e.y, e.z, target.x, target.y + kLift, target.z, up.x, up.y, up.z);
}

Vector3D Camera::eye() const {
    return Vector3D(position.x, position.y + height + kLift, position.z);
}

void Camera::keepAbove(float groundHeight) {
    height = std::clamp(height, -kHeightLimit, kHeightLimit);
    const float shortfall = groundHeight + kGroundClearance - eye().y;
    if (shortfall > 0.0f) {
        position.y += shortfall;
    }
}

bool Camera::project(const Vector3D& point, double* winX, double* winY, double* winZ) {
    GLint viewport[4];
    GLdouble modelview[16], projection[16];
    glGetIntegerv(GL_VIEWPORT, viewport);
    glGetDoublev(GL_MODELVIEW_MATRIX, modelview);
    glGetDoublev(GL_PROJECTION_MATRIX, projection);
    return gluProject(point.x, point.y, point.z, modelview, projection, viewport, winX, winY,
                      winZ) == GL_TRUE;
}

bool Camera::isVisible(const Vector3D& point) const {
    GLdouble winX = 0, winY = 0, winZ = 0;
    project(point, &winX, &winY, &winZ);
    GLfloat depth = 0.0f;
    glReadPixels(static_cast<GLint>(winX), static_cast<GLint>(winY), 1, 1, GL_DEPTH_COMPONENT,
                 GL_FLOAT, &depth);
    return winZ <= depth + kDepthTolerance;
}

float Camera::pixelRadius(float radius) {
    GLfloat view[16];
    GLfloat projection[16];
    GLint viewport[4];
    glGetFloatv(GL_MODELVIEW_MATRIX, view);
    glGetFloatv(GL_PROJECTION_MATRIX, projection);
    glGetIntegerv(GL_VIEWPORT, viewport);
    // The modelview may scale: its first column's length is the scale of a radius.
    const float scale = std::sqrt(view[0] * view[0] + view[1] * view[1] + view[2] * view[2]);
    const float eyeRadius = radius * scale;
    const float depth = -view[14];
    if (depth <= eyeRadius) {
        return std::numeric_limits<float>::infinity();
    }
    return eyeRadius * projection[5] * 0.5f * static_cast<float>(viewport[3]) / depth;
}
