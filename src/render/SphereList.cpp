// One display list per sphere tessellation, kept for the life of the GL context; the
// tessellation of a sphere drawn on screen follows its size there.
#include "SphereList.h"

#include "Camera.h"

#include <GL/freeglut.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <utility>

namespace {

// Below this radius in pixels a sphere gets the middle tessellation, 8 x 6, and below the next
// the smallest, 6 x 4. A rocket burst's particle shows a radius of 32 pixels 12 units away;
// the glow is faint and fading, and its outline moves by under a pixel (ParticleSystemTest
// compares it with the full sphere at every distance).
constexpr float kMiddlePixels = 32.0f;
constexpr int kMiddleSlices = 8;
constexpr int kMiddleStacks = 6;
constexpr float kSmallPixels = 8.0f;
constexpr int kSmallSlices = 6;
constexpr int kSmallStacks = 4;

} // namespace

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

// The share of its circle that a polygon of n sides inscribed in it covers.
static float inscribedShare(int sides) {
    const float angle = 2.0f * 3.1415927f / static_cast<float>(sides);
    return static_cast<float>(sides) * std::sin(angle) / (2.0f * 3.1415927f);
}

// A coarser sphere is drawn a little larger, so that its outline covers as much of the screen
// as the full one's and a far glow gives as much light.
static void drawCoarser(float radius, int slices, int stacks, int fewerSlices, int fewerStacks) {
    if (fewerSlices >= slices) {
        SphereList::draw(radius, slices, stacks);
        return;
    }
    const float grow = std::sqrt(inscribedShare(slices) / inscribedShare(fewerSlices));
    SphereList::draw(radius * grow, fewerSlices, std::min(stacks, fewerStacks));
}

void SphereList::drawOnScreen(float radius, int slices, int stacks) {
    const float pixels = Camera::pixelRadius(radius);
    if (pixels < kSmallPixels) {
        drawCoarser(radius, slices, stacks, kSmallSlices, kSmallStacks);
    } else if (pixels < kMiddlePixels) {
        drawCoarser(radius, slices, stacks, kMiddleSlices, kMiddleStacks);
    } else {
        draw(radius, slices, stacks);
    }
}
