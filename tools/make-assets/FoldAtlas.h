// FoldAtlas: the sheep fold's one texture and the regions of it that the fold's parts map into:
// straw that tiles, the rim's stones that repeat around the circle, weathered wood, the sign's
// painted sheep, the bales' straw and the banner's cloth.
#pragma once

#include "AssetMesh.h"
#include "Canvas.h"

namespace assets {

// Tiles both ways: the floor maps one tile into the whole rectangle.
extern const UvRect kFoldStraw;
// Repeats along u (around the circle); v runs outwards across the rim.
extern const UvRect kFoldRim;
// Grain along v.
extern const UvRect kFoldWood;
extern const UvRect kFoldWoodEnd;
extern const UvRect kFoldSign;
extern const UvRect kFoldBale;
// Along u from the pole; v across.
extern const UvRect kFoldBanner;

Canvas foldAtlas();

} // namespace assets
