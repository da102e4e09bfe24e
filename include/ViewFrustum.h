// ViewFrustum: the six planes of the camera's view volume, rebuilt every frame, so that objects
// out of view can be skipped before they are drawn.
#pragma once

#include "Vector3D.h"

class ViewFrustum {
public:
    // Containment results.
    static constexpr int kOutside = 0;
    static constexpr int kIntersect = 1;
    static constexpr int kInside = 2;

    // A plane through `point` whose normal points into the frustum.
    struct Plane {
        Vector3D normal;
        Vector3D point;
        float d = 0.0f;
        // Through three points, wound so that the normal points into the frustum.
        void set3Points(const Vector3D& v1, const Vector3D& v2, const Vector3D& v3);
        // Signed distance of p; positive on the inner side.
        float distance(const Vector3D& p) const;
    };

    // Vertical field of view (degrees), aspect ratio and clip distances.
    void setCamInternals(float angle, float ratio, float nearD, float farD);
    // Eye position, look-at point and up vector; rebuilds corners and planes.
    void setCamDef(const Vector3D& p, const Vector3D& l, const Vector3D& u);
    // kInside or kOutside for a point.
    int pointInFrustum(const Vector3D& p) const;
    // kInside, kIntersect or kOutside for a sphere.
    int sphereInFrustum(const Vector3D& centre, float radius) const;

    enum { kTop = 0, kBottom, kLeft, kRight, kNear, kFar };
    Plane planes[6];
    Vector3D ntl, ntr, nbl, nbr, ftl, ftr, fbl, fbr;
    float ratio = 0, angle = 0, nearD = 0, farD = 0, tang = 0, nh = 0, nw = 0, fh = 0, fw = 0;
};
