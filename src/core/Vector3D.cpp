// Vector arithmetic and the "vector/" log line used by the marker key.
#include "Vector3D.h"

#include "Logfile.h"

#include <sstream>

Vector3D Vector3D::operator+(const Vector3D& o) const {
    Vector3D r(x + o.x, y + o.y, z + o.z);
    r.w = w;
    return r;
}

Vector3D Vector3D::operator*(float s) const {
    Vector3D r(x * s, y * s, z * s);
    r.w = w;
    return r;
}

Vector3D& Vector3D::operator*=(float s) {
    x *= s;
    y *= s;
    z *= s;
    return *this;
}

float Vector3D::dot(const Vector3D& a, const Vector3D& b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

Vector3D Vector3D::cross(const Vector3D& a, const Vector3D& b) {
    return Vector3D(a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x);
}

void Vector3D::log() const {
    std::ostringstream line;
    line << "vector/" << x << "/" << y << "/" << z;
    Logfile::getInstance()->write(line.str());
}
