// SwapControl: makes the buffer swap wait for the display's vertical refresh where the GLX
// driver offers a swap-interval extension. Walking is a displacement per game cycle, so without
// this a fast GPU would run the herder across the level in a second.
#pragma once

#include <string>

class SwapControl {
public:
    // The swap-interval extensions, in the order they are tried.
    static constexpr const char* kExtensions[] = {"GLX_EXT_swap_control", "GLX_MESA_swap_control",
                                                  "GLX_SGI_swap_control"};

    // Needs a current GLX context: sets a swap interval of one frame through the first extension
    // that works and logs which one, or logs that none was available. Returns the name used.
    static std::string enable();
};
