// Swap interval through whichever GLX extension the driver has. The three extensions take their
// interval differently (the EXT one per drawable), so each has its own call.
#include "SwapControl.h"

#include "Engine.h"
#include "Logfile.h"

#include <GL/glx.h>

// Frames to wait between swaps: every vertical refresh.
static constexpr int kInterval = 1;

using SwapIntervalExt = void (*)(Display*, GLXDrawable, int);
using SwapIntervalInt = int (*)(int);

static void* procedure(const char* name) {
    return reinterpret_cast<void*>(glXGetProcAddressARB(reinterpret_cast<const GLubyte*>(name)));
}

// Sets the interval through the named extension; false when its entry point is missing or the
// driver refuses.
static bool setInterval(const std::string& name, Display* display, GLXDrawable drawable) {
    if (name == "GLX_EXT_swap_control") {
        auto set = reinterpret_cast<SwapIntervalExt>(procedure("glXSwapIntervalEXT"));
        if (set == nullptr || drawable == 0) {
            return false;
        }
        set(display, drawable, kInterval);
        return true;
    }
    const char* entry = name == "GLX_MESA_swap_control" ? "glXSwapIntervalMESA" : "glXSwapIntervalSGI";
    auto set = reinterpret_cast<SwapIntervalInt>(procedure(entry));
    return set != nullptr && set(kInterval) == 0;
}

std::string SwapControl::enable() {
    Display* display = glXGetCurrentDisplay();
    const char* list =
        display != nullptr ? glXQueryExtensionsString(display, DefaultScreen(display)) : nullptr;
    // Try every offered extension in order: a driver may list one whose call then fails.
    for (const char* name : kExtensions) {
        if (Engine::extensionListHas(list, name) &&
            setInterval(name, display, glXGetCurrentDrawable())) {
            Logfile::getInstance()->write(std::string("swap control: ") + name +
                                          ", swaps wait for the vertical refresh");
            return name;
        }
    }
    Logfile::getInstance()->write("swap control: none available, frames are not capped");
    return "";
}
