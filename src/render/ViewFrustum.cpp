// The view frustum from the camera's internals and pose; point and sphere containment tests.
#include "ViewFrustum.h"

#include <cmath>

static constexpr double kDegreesToRadians = 0.017453292519943295;

static Vector3D sub(const Vector3D& a, const Vector3D& b) {
    return Vector3D(a.x - b.x, a.y - b.y, a.z - b.z);
}

static Vector3D normalised(const Vector3D& v) {
    const float length = std::sqrt(Vector3D::dot(v, v));
    return length > 0.0f ? v * (1.0f / length) : v;
}

void ViewFrustum::Plane::set3Points(const Vector3D& v1, const Vector3D& v2, const Vector3D& v3) {
    normal = normalised(Vector3D::cross(sub(v3, v2), sub(v1, v2)));
    point = v2;
    d = -Vector3D::dot(normal, point);
}

float ViewFrustum::Plane::distance(const Vector3D& p) const {
    return d + Vector3D::dot(normal, p);
}

void ViewFrustum::setCamInternals(float angleDegrees, float aspect, float nearDistance,
                                  float farDistance) {
    ratio = aspect;
    angle = angleDegrees;
    nearD = nearDistance;
    farD = farDistance;
    tang = static_cast<float>(std::tan(angle * kDegreesToRadians * 0.5));
    nh = nearD * tang;
    nw = nh * ratio;
    fh = farD * tang;
    fw = fh * ratio;
}

void ViewFrustum::setCamDef(const Vector3D& p, const Vector3D& l, const Vector3D& u) {
    const Vector3D z = normalised(sub(p, l));
    const Vector3D x = normalised(Vector3D::cross(u, z));
    const Vector3D y = Vector3D::cross(z, x);
    const Vector3D nc = sub(p, z * nearD);
    const Vector3D fc = sub(p, z * farD);
    ntl = sub(nc + y * nh, x * nw);
    ntr = nc + y * nh + x * nw;
    nbl = sub(sub(nc, y * nh), x * nw);
    nbr = sub(nc, y * nh) + x * nw;
    ftl = sub(fc + y * fh, x * fw);
    ftr = fc + y * fh + x * fw;
    fbl = sub(sub(fc, y * fh), x * fw);
    fbr = sub(fc, y * fh) + x * fw;
    planes[kTop].set3Points(ntr, ntl, ftl);
    planes[kBottom].set3Points(nbl, nbr, fbr);
    planes[kLeft].set3Points(ntl, nbl, fbl);
    planes[kRight].set3Points(nbr, ntr, fbr);
    planes[kNear].set3Points(ntl, ntr, nbr);
    planes[kFar].set3Points(ftr, ftl, fbl);
}

int ViewFrustum::pointInFrustum(const Vector3D& p) const {
    for (const Plane& plane : planes) {
        if (plane.distance(p) < 0.0f) {
            return kOutside;
        }
    }
    return kInside;
}

int ViewFrustum::sphereInFrustum(const Vector3D& centre, float radius) const {
    int result = kInside;
    for (const Plane& plane : planes) {
        const float distance = plane.distance(centre);
        if (distance < -radius) {
            return kOutside;
        }
        if (distance < radius) {
            result = kIntersect;
        }
    }
    return result;
}
