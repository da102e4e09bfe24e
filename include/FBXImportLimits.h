// FBXImportLimits: a look through an FBX file, binary or ASCII, for the few things that make
// Assimp 5.2.5's FBX importer run out of stack, memory or time instead of failing: nesting deep
// enough to overflow its recursive parser, compressed arrays that claim far more data than they
// can hold, and rotation keys it would split without end (it splits every jump of 180 degrees or
// more into steps, and a jump too large for the time between its keys never finishes). The
// loader refuses such files before the importer sees them.
#pragma once

#include <cstddef>

// Whether the FBX bytes stay within those limits. Anything this cannot read is refused too.
bool fbxWithinImportLimits(const void* data, size_t size);
