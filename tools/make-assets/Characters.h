// Characters: what the herder, sheep and wolf writers share. Organic shapes are lofts (a tube of
// elliptic rings along a path) so that limbs bend smoothly when skinned; skin weights hand a
// vertex from bone to bone across a blend zone at each joint; the run takes are built from a
// pose function of the cycle's phase; and the textures are painted in model space: every texel
// a part's UVs cover is coloured from the rest-pose point it shows, so markings line up across
// parts without hand-made UV layouts.
#pragma once

#include "AssetMesh.h"
#include "Canvas.h"
#include "FbxExport.h"
#include "LevelFacts.h"

#include <functional>
#include <string>
#include <vector>

namespace assets {

// Every run take lasts one second; 25 keys give one key per tick after Assimp's re-import at 24
// ticks per second, the last key repeating the first.
inline constexpr int kRunSeconds = 1;
inline constexpr int kRunKeys = 25;
// One full turn in radians: the run poses are functions of the cycle's angle.
inline constexpr float kTau = 6.2831853f;

// One elliptic ring of a loft: half axis rRef along the loft's reference direction, rSide across.
struct LoftRing {
    aiVector3D centre;
    float rRef;
    float rSide;
};

// A tube through the rings, smooth-shaded; rings of radius 0 close it. The reference direction
// must not be parallel to the path. u runs around (from the reference direction), v along.
AssetMesh makeLoft(const std::vector<LoftRing>& rings, const aiVector3D& reference, int segments,
                   const UvRect& uv);
// A round limb through points with the given radii, ends rounded off by half spheres; long
// segments get extra rings so that the limb bends smoothly at any joint.
// maxStep is the longest stretch left without a ring.
AssetMesh makeLimb(const std::vector<aiVector3D>& points, const std::vector<float>& radii,
                   const aiVector3D& reference, int segments, float maxStep, const UvRect& uv);
// makeLimb with elliptic rings: radii (along the reference direction, across it) per point.
AssetMesh makeFlatLimb(const std::vector<aiVector3D>& points, const std::vector<aiVector2D>& radii,
                       const aiVector3D& reference, int segments, float maxStep, const UvRect& uv);
// An ellipsoid whose axis runs from `from` to `to`, with half axes rRef and rSide across it.
AssetMesh makeSpheroid(const aiVector3D& from, const aiVector3D& to, float rRef, float rSide,
                       const aiVector3D& reference, int segments, int rings, const UvRect& uv);
// A surface of revolution about the vertical line through base: profile points are (radius,
// height above base), from the bottom of the axis round to its top.
AssetMesh makeLathe(const aiVector3D& base, const std::vector<aiVector2D>& profile, int segments,
                    const UvRect& uv);

using Weights = std::vector<BoneWeight>;

// Where a chain of bones hands over to the next one: points past `at` along `along` (a unit
// vector pointing into the child's side) belong to `bone`, blended over +-halfWidth.
struct Joint {
    aiVector3D at;
    aiVector3D along;
    float halfWidth;
    int bone;
};

// The weights of point p on a chain that starts at rootBone and hands over at each joint.
Weights chainWeights(const aiVector3D& p, int rootBone, const std::vector<Joint>& joints);
// Skins every vertex of the part along the chain.
void skinChain(AssetMesh& part, int rootBone, const std::vector<Joint>& joints);

// Appends a bone; returns its index.
int addBone(std::vector<Bone>& bones, const std::string& name, int parent, const aiVector3D& head);
// A rotation of `degrees` about axis (right-handed).
aiQuaternion turn(const aiVector3D& axis, float degrees);

// Fills the poses of every bone for a phase in [0, 1) of the cycle; poses start at rest.
using PoseFunction = std::function<void(float phase, std::vector<BonePose>& poses)>;
// A looping take of kRunSeconds with kRunKeys keys; the last key is a copy of the first.
Take makeLoopTake(const std::string& name, size_t boneCount, const PoseFunction& pose);

// Fractal value noise over model space in [0, 1], for fur, wool and cloth.
float solidNoise(const aiVector3D& p, float frequency, int octaves, uint32_t seed);
// Smooth 0..1 step of x between edge0 and edge1.
float smoothStep(float edge0, float edge1, float x);
// c darkened (noise 0) or brightened (noise 1) by up to the fraction amount.
Rgb vary(const Rgb& c, float noise, float amount);

// Colour of the surface at a rest-pose point with its normal.
using SurfaceColour = std::function<Rgb(const aiVector3D& point, const aiVector3D& normal)>;

// The square texture atlas of one character, painted part by part.
class AtlasPainter {
public:
    AtlasPainter(int size, const Rgb& background);
    // The UVs of the pixel rectangle [x0, x1) x [y0, y1), pulled in by a margin that the final
    // padding fills, so that filtering never blends in a neighbouring part.
    UvRect rect(int x0, int y0, int x1, int y1) const;
    // Colours every texel that the part's triangles cover from the point it shows.
    void paint(const AssetMesh& part, const SurfaceColour& colour);
    // Grows the painted areas into their margins and returns the finished texture.
    const Canvas& finish();

private:
    void paintTriangle(const AssetMesh& part, const std::array<uint32_t, 3>& tri,
                       const SurfaceColour& colour);
    Canvas canvas_;
    std::vector<uint8_t> painted_;
};

// Paints the part into the atlas and appends it to the model's mesh.
void addPart(ModelFile& model, AtlasPainter& atlas, const AssetMesh& part,
             const SurfaceColour& colour);

// One character: its files, node and take names, atlas, skeleton, parts and run.
struct CharacterSpec {
    const level::ModelAsset& asset;
    // The coarser versions (level::kCoarserLevels of them), or none.
    const level::ModelAsset* coarser;
    const char* nodeName;
    const char* takeName;
    int atlasSize;
    Rgb background;
    std::vector<Bone> bones;
    // Adds every part to the model, painting it into the atlas.
    std::function<void(ModelFile& model, AtlasPainter& atlas)> addParts;
    PoseFunction runPose;
};

// Writes the character's model with its painted atlas and its looping run take, then its coarser
// versions with the same skeleton, take and texture.
bool writeCharacter(const std::string& dir, const CharacterSpec& character);

} // namespace assets
