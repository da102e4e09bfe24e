// One display list per sphere tessellation, kept for the life of the GL context.
#include "SphereList.h"

#include <GL/freeglut.h>

#include <map>
#include <utility>

void SphereList::draw(float radius, int slices, int stacks) {
    static std::map<std::pair<int, int>, GLuint> lists;
    GLuint& list = lists[{slices, stacks}];
    if (list == 0) {
        list = glGenLists(1);
        glNewList(list, GL_COMPILE);
        glutSolidSphere(1.0, slices, stacks);
        glEndList();
    }
    glPushMatrix();
    glScalef(radius, radius, radius);
    glCallList(list);
    glPopMatrix();
}
