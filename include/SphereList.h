// SphereList: solid spheres drawn from display lists. GLUT computes a sphere's vertices anew on
// every call (trigonometry and an allocation per sphere); particles and the lens flare draw
// hundreds of spheres a frame, so each tessellation is compiled once, at unit radius, and scaled.
#pragma once

class SphereList {
public:
    // Draws a solid sphere of the radius about the current origin, as glutSolidSphere would.
    // Needs GL_NORMALIZE (the renderer enables it) so that the scaled normals stay unit length.
    // The first call for a tessellation compiles its list in the current context.
    static void draw(float radius, int slices, int stacks);
};
