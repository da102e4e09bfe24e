// Vector3D: the homogeneous 3-vector used for every point and direction of the world.
// w is carried along by copies but never enters the arithmetic; every three-component
// constructor sets it to 1.
#pragma once

struct Vector3D {
    float x = 0.0f;
    float y = 0.0f;
    float z = 0.0f;
    float w = 1.0f;

    Vector3D() = default;
    constexpr Vector3D(float x, float y, float z) : x(x), y(y), z(z), w(1.0f) {}

    // Component-wise sum of x, y, z; w is taken from this vector.
    Vector3D operator+(const Vector3D& o) const;
    // x, y, z scaled by s.
    Vector3D operator*(float s) const;
    // Scales x, y, z in place.
    Vector3D& operator*=(float s);

    // a.x*b.x + a.y*b.y + a.z*b.z.
    static float dot(const Vector3D& a, const Vector3D& b);
    // Cross product of the x, y, z parts.
    static Vector3D cross(const Vector3D& a, const Vector3D& b);

    // Writes "vector/x/y/z" as one line of the log file.
    void log() const;
};
