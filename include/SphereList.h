// SphereList: solid spheres drawn from display lists. GLUT computes a sphere's vertices anew on
// every call (trigonometry and an allocation per sphere); particles and the lens flare draw
// hundreds of spheres a frame, so each tessellation is compiled once, at unit radius, and scaled.
// A sphere that covers a few pixels needs a few triangles: drawOnScreen picks the tessellation
// by the sphere's radius on the screen, and llvmpipe, which transforms every vertex on the game
// thread, is spared most of an explosion's vertices.
#pragma once

class SphereList {
public:
    // Draws a solid sphere of the radius about the current origin, as glutSolidSphere would.
    // Needs GL_NORMALIZE (the renderer enables it) so that the scaled normals stay unit length.
    // The first call for a tessellation compiles its list in the current context.
    static void draw(float radius, int slices, int stacks);

    // The same sphere with at most `slices` x `stacks`, fewer the smaller it shows under the
    // current modelview, projection and viewport; a sphere the eye is inside of gets the most.
    static void drawOnScreen(float radius, int slices, int stacks);
};
