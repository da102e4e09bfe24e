// The sheep: a lumpy fleece of overlapping wool balls on short dark legs, with a black face and
// drooping ears, so that it reads as a sheep even when it is a few pixels tall. Drawn at 0.01 and
// facing -z (its left side towards -x); the hooves stand at y = -75 and the fleece tops out at
// about +70, everything within the capsule's radius of 1 world unit (100 model units).
#include "Characters.h"
#include "Models.h"

#include <cmath>

namespace assets {

namespace {

const aiVector3D kUp(0, 1, 0);
const aiVector3D kForward(0, 0, -1);
// Turning about this axis by a positive angle swings a hanging leg forward (and lifts the nose).
const aiVector3D kSwingAxis(1, 0, 0);
// Left (-x) first; index 0 is the left leg everywhere below.
constexpr float kSide[2] = {-1.0f, 1.0f};

constexpr int kAtlasSize = 512;
constexpr int kBlobCell = 128;
constexpr uint32_t kSeed = 1207;

constexpr float kLegX = 22.0f;
constexpr float kFrontZ = -36.0f;
constexpr float kHindZ = 50.0f;
constexpr float kShoulderY = -12.0f;
constexpr float kKneeY = -46.0f;
constexpr float kHockY = -44.0f;
constexpr float kHoofRadius = 4.6f;
// The lowest point of a leg, the bottom of its rounded end.
constexpr float kSoleY = -75.0f;
// How far the fleece surface is pushed in and out to break up the balls' smooth outlines.
constexpr float kFleeceRuffle = 4.0f;

// Run cycle: a bouncy trot, diagonal legs together (degrees and model units).
constexpr float kLegSwing = 34.0f;
constexpr float kKneeFlex = 50.0f;
constexpr float kBob = 5.0f;
constexpr float kPitch = 3.0f;
constexpr float kNod = 6.0f;
constexpr float kTailWag = 18.0f;

const Rgb kWool{0.94f, 0.92f, 0.84f};
const Rgb kDirtyWool{0.72f, 0.67f, 0.55f};
const Rgb kFace{0.16f, 0.13f, 0.12f};
const Rgb kMuzzle{0.30f, 0.26f, 0.25f};
const Rgb kHoof{0.07f, 0.06f, 0.06f};
const Rgb kEye{0.62f, 0.48f, 0.20f};
const Rgb kPupil{0.02f, 0.02f, 0.02f};

// A ball of fleece: centre and half sizes across (x), up (y) and along the body (z).
struct WoolBall {
    aiVector3D centre;
    aiVector3D radii;
};

// The body fleece: middle, back, flanks, rump, chest and belly.
const WoolBall kFleece[] = {
    {{0, 12, 12}, {48, 40, 66}},   {{0, 38, -14}, {38, 30, 40}}, {{0, 40, 38}, {40, 30, 40}},
    {{-26, 8, -18}, {34, 34, 38}}, {{26, 8, -18}, {34, 34, 38}}, {{-26, 10, 42}, {36, 36, 38}},
    {{26, 10, 42}, {36, 36, 38}},  {{0, 14, 60}, {40, 36, 24}},  {{0, 10, -44}, {36, 34, 26}},
    {{0, -14, 14}, {36, 20, 52}},
};
const WoolBall kNeckWool{{0, 30, -50}, {24, 25, 20}};
const WoolBall kTopKnot{{0, 47, -62}, {12, 8, 11}};
const aiVector3D kEyeCentre(11.6f, 39.0f, -69.0f);

struct Rig {
    std::vector<Bone> bones;
    int body, head, tail;
    int front[2], frontLower[2], hind[2], hindLower[2];
};

Rig buildRig() {
    Rig r;
    r.body = addBone(r.bones, "Body", -1, aiVector3D(0, 5, 10));
    r.head = addBone(r.bones, "Head", r.body, aiVector3D(0, 30, -50));
    r.tail = addBone(r.bones, "Tail", r.body, aiVector3D(0, 26, 80));
    const char* suffix[2] = {".L", ".R"};
    for (int s = 0; s < 2; ++s) {
        const std::string side = suffix[s];
        const float x = kSide[s] * kLegX;
        r.front[s] =
            addBone(r.bones, "FrontLeg" + side, r.body, aiVector3D(x, kShoulderY, kFrontZ));
        r.frontLower[s] =
            addBone(r.bones, "FrontShin" + side, r.front[s], aiVector3D(x, kKneeY, kFrontZ + 1.0f));
        r.hind[s] = addBone(r.bones, "HindLeg" + side, r.body, aiVector3D(x, kShoulderY, kHindZ));
        r.hindLower[s] =
            addBone(r.bones, "HindShin" + side, r.hind[s], aiVector3D(x, kHockY, kHindZ + 6.0f));
    }
    return r;
}

Rgb woolColour(const aiVector3D& p, const aiVector3D&) {
    // Tight curls on top of larger locks, greyer and dirtier towards the belly.
    const float curls = std::fabs(2.0f * solidNoise(p, 0.3f, 3, kSeed) - 1.0f);
    const float locks = solidNoise(p, 0.07f, 2, kSeed + 1);
    const float shade = 0.72f + 0.34f * (1.0f - curls) * (1.0f - curls) + 0.12f * locks;
    const Rgb c = mix(kWool, kDirtyWool, 0.6f * smoothStep(0.0f, -35.0f, p.y));
    return {c.r * shade, c.g * shade, c.b * shade};
}

Rgb faceColour(const aiVector3D& p, const aiVector3D&) {
    const aiVector3D eye(std::fabs(p.x), p.y, p.z);
    const float d = (eye - kEyeCentre).Length();
    if (d < 1.3f) {
        return kPupil;
    }
    if (d < 2.8f) {
        return kEye;
    }
    const Rgb base = mix(kFace, kMuzzle, smoothStep(-84.0f, -95.0f, p.z));
    return vary(base, solidNoise(p, 0.5f, 2, kSeed + 2), 0.15f);
}

Rgb legColour(const aiVector3D& p, const aiVector3D&) {
    if (p.y < kSoleY + 2.0f * kHoofRadius) {
        return kHoof;
    }
    return vary(kFace, solidNoise(p, 0.4f, 2, kSeed + 3), 0.15f);
}

// Pushes the fleece in and out along its normals so the outline looks tufted.
void ruffle(AssetMesh& wool) {
    for (size_t v = 0; v < wool.positions.size(); ++v) {
        const float n = solidNoise(wool.positions[v], 0.09f, 2, kSeed + 4);
        wool.positions[v] += wool.normals[v] * (kFleeceRuffle * (2.0f * n - 1.0f));
    }
}

AssetMesh woolBall(const WoolBall& ball, const UvRect& uv) {
    const aiVector3D half(0, ball.radii.y, 0);
    AssetMesh m = makeSpheroid(ball.centre - half, ball.centre + half, ball.radii.z, ball.radii.x,
                               kForward, 10, 7, uv);
    ruffle(m);
    return m;
}

UvRect blobCell(const AtlasPainter& atlas, int index) {
    const int x = (index % 4) * kBlobCell;
    const int y = (index / 4) * kBlobCell;
    return atlas.rect(x, y, x + kBlobCell, y + kBlobCell);
}

void addFleece(ModelFile& model, AtlasPainter& atlas, const Rig& r) {
    int cell = 0;
    for (const WoolBall& ball : kFleece) {
        AssetMesh wool = woolBall(ball, blobCell(atlas, cell++));
        skinChain(wool, r.body, {});
        addPart(model, atlas, wool, woolColour);
    }
    // The neck bends with the head from its middle on.
    AssetMesh neck = woolBall(kNeckWool, blobCell(atlas, cell++));
    aiVector3D neckDir(0, 0.4f, -1.0f);
    skinChain(neck, r.body, {{kNeckWool.centre, neckDir.Normalize(), 12.0f, r.head}});
    addPart(model, atlas, neck, woolColour);
    AssetMesh tail = makeSpheroid({0, 28, 80}, {0, 6, 86}, 6.0f, 7.0f, kForward, 8, 5,
                                  atlas.rect(448, 469, 512, 512));
    skinChain(tail, r.tail, {});
    addPart(model, atlas, tail, woolColour);
}

void addHead(ModelFile& model, AtlasPainter& atlas, const Rig& r) {
    // From the back of the skull down and forward to the nose: centre, height, width.
    const float profile[][5] = {
        {0, 46, -56, 0, 0},       {0, 45, -58, 8, 9},      {0, 42, -63, 12.5f, 12.5f},
        {0, 37, -70, 13, 12},     {0, 31, -78, 11.5f, 10}, {0, 25, -86, 9.5f, 8},
        {0, 21, -92, 7.5f, 6.5f}, {0, 19, -95, 5, 4.5f},   {0, 18.5f, -96.5f, 0, 0},
    };
    std::vector<LoftRing> rings;
    for (const auto& q : profile) {
        rings.push_back({{q[0], q[1], q[2]}, q[3], q[4]});
    }
    AssetMesh head = makeLoft(rings, kUp, 12, atlas.rect(0, 384, 192, 512));
    skinChain(head, r.head, {});
    addPart(model, atlas, head, faceColour);
    for (int s = 0; s < 2; ++s) {
        const float x = kSide[s];
        AssetMesh ear = makeSpheroid({x * 10, 43, -62}, {x * 27, 35, -60}, 5.0f, 2.0f, kForward, 8,
                                     4, atlas.rect(448, 384 + 43 * s, 512, 426 + 43 * s));
        skinChain(ear, r.head, {});
        addPart(model, atlas, ear, faceColour);
    }
    AssetMesh knot = woolBall(kTopKnot, blobCell(atlas, 11));
    skinChain(knot, r.head, {});
    addPart(model, atlas, knot, woolColour);
}

void addLegs(ModelFile& model, AtlasPainter& atlas, const Rig& r) {
    const float top = -8.0f;
    const float bottom = kSoleY + kHoofRadius;
    for (int s = 0; s < 2; ++s) {
        const float x = kSide[s] * kLegX;
        AssetMesh front =
            makeLimb({{x, top, kFrontZ}, {x, kKneeY, kFrontZ + 1.0f}, {x, bottom, kFrontZ}},
                     {7.0f, 5.0f, kHoofRadius}, kForward, 8, 10.0f,
                     atlas.rect(192 + 64 * s, 384, 256 + 64 * s, 512));
        skinChain(front, r.body,
                  {{{x, kShoulderY - 6.0f, kFrontZ}, -kUp, 4.0f, r.front[s]},
                   {{x, kKneeY, kFrontZ}, -kUp, 6.0f, r.frontLower[s]}});
        addPart(model, atlas, front, legColour);
        AssetMesh hind =
            makeLimb({{x, top, kHindZ}, {x, kHockY, kHindZ + 6.0f}, {x, bottom, kHindZ + 2.0f}},
                     {8.0f, 5.0f, kHoofRadius}, kForward, 8, 10.0f,
                     atlas.rect(320 + 64 * s, 384, 384 + 64 * s, 512));
        skinChain(hind, r.body,
                  {{{x, kShoulderY - 6.0f, kHindZ}, -kUp, 4.0f, r.hind[s]},
                   {{x, kHockY, kHindZ}, -kUp, 6.0f, r.hindLower[s]}});
        addPart(model, atlas, hind, legColour);
    }
}

// How far a lower leg is folded (0..1) at the leg's angle in the cycle: most while it swings
// forward, just before it passes under the body.
float fold(float legAngle) {
    const float lift = 0.5f + 0.5f * std::cos(legAngle + 0.3f);
    return lift * lift;
}

// A trot: the left front and right hind leg swing together, half a cycle from the other pair.
// Front knees fold backwards, hocks forwards.
void runPose(const Rig& r, float phase, std::vector<BonePose>& poses) {
    const float a = kTau * phase;
    auto pose = [&poses](int bone) -> BonePose& { return poses[static_cast<size_t>(bone)]; };
    for (int s = 0; s < 2; ++s) {
        const float front = a + 0.5f * kTau * static_cast<float>(s);
        const float hind = front + 0.5f * kTau;
        pose(r.front[s]).rotation = turn(kSwingAxis, kLegSwing * std::sin(front));
        pose(r.frontLower[s]).rotation = turn(kSwingAxis, -kKneeFlex * fold(front));
        pose(r.hind[s]).rotation = turn(kSwingAxis, kLegSwing * std::sin(hind));
        pose(r.hindLower[s]).rotation = turn(kSwingAxis, kKneeFlex * fold(hind));
    }
    // Two footfalls per cycle: the body dips and rocks twice, the head nods against it.
    pose(r.body).offset = aiVector3D(0, -kBob * std::cos(2.0f * a), 0);
    pose(r.body).rotation = turn(kSwingAxis, kPitch * std::sin(2.0f * a));
    pose(r.head).rotation = turn(kSwingAxis, -kNod * std::sin(2.0f * a + 0.6f));
    pose(r.tail).rotation = turn(kUp, kTailWag * std::sin(2.0f * a));
}

} // namespace

bool writeSheep(const std::string& dir) {
    const Rig r = buildRig();
    auto parts = [&r](ModelFile& model, AtlasPainter& atlas) {
        addFleece(model, atlas, r);
        addHead(model, atlas, r);
        addLegs(model, atlas, r);
    };
    auto run = [&r](float phase, std::vector<BonePose>& poses) { runPose(r, phase, poses); };
    return writeCharacter(dir, {level::kSheep, level::kSheepCoarser, "Sheep", "SheepRun",
                                kAtlasSize, kWool, r.bones, parts, run});
}

} // namespace assets
