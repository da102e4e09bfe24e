// SkinEvaluator: linear-blend skinning of one imported mesh at any moment of any take. The model
// loader bakes a character's frames with it once at load time; the tests hold it against frames
// that other tools exported, which is why it works on any take and not just the first.
#pragma once

#include <assimp/matrix4x4.h>
#include <assimp/vector3.h>

#include <vector>

struct aiAnimation;
struct aiMesh;
struct aiNode;
struct aiScene;

// The node's transform relative to the scene's root node at `ticks` of `take`. Animated nodes
// take their interpolated keys (held at the first and last key outside the key range); the
// others, and every node when take is null, keep their own transform.
aiMatrix4x4 nodeGlobalTransform(const aiNode* node, const aiAnimation* take, double ticks);

// The mesh's vertices, skinned at `ticks` of `take` (null: every node at rest), in the space of
// the scene's root node. A vertex is the weighted sum of Global(bone node) * offset * v over its
// bones, with its weights scaled to sum to 1; a vertex without usable weights moves with
// meshNode (null: stays where it is). `out` gets one position per vertex of the mesh.
void evaluateSkin(const aiScene* scene, const aiMesh* mesh, const aiNode* meshNode,
                  const aiAnimation* take, double ticks, std::vector<aiVector3D>* out);

// The frames a skinned model is drawn from: FBXModel::kSkinFrames evenly over the first take,
// each with 3 floats per polygon vertex (polygonIndices name the mesh's vertices) in the mesh
// node's own space. Without a take, every frame is the bind pose; without a mesh, empty.
std::vector<std::vector<float>> bakeSkinFrames(const aiScene* scene, const aiMesh* mesh,
                                               const aiNode* meshNode,
                                               const std::vector<int>& polygonIndices);
