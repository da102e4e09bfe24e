// The wolf: a lean grey body with a deep chest and tucked belly, long legs, a long pointed snout,
// upright pointed ears and a bushy tail carried low. Its coat is dark along the back, pale on the
// belly, legs and muzzle, the way the eye reads a wolf from a distance. Drawn at 0.016 and facing
// -z (its left side towards -x); the paws stand at y = -125, the back lies about 1.5 world units
// above them, and nose and tail stay within the capsule's 2 world units (125 model units).
#include "Characters.h"
#include "Models.h"

#include <algorithm>
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
constexpr uint32_t kSeed = 3331;

constexpr float kLegX = 8.5f;
constexpr float kSoleY = -125.0f;
constexpr float kPawHeight = 4.0f;
const aiVector3D kFrontShoulder(0, -58, -36);
const aiVector3D kFrontWrist(0, -92, -36);
const aiVector3D kHindHip(0, -56, 38);
const aiVector3D kStifle(0, -74, 30);
const aiVector3D kEye(6.0f, -17.5f, -88.0f);

// Run cycle: a gallop, hind legs landing just before the front pair (degrees, model units).
constexpr float kFrontSwing = 40.0f;
constexpr float kHindSwing = 36.0f;
constexpr float kFrontFlex = 70.0f;
constexpr float kHindFlex = 45.0f;
// Offsets of each leg in the cycle: hind left and right, then front left and right.
constexpr float kHindPhase[2] = {0.0f, 0.1f};
constexpr float kFrontPhase[2] = {0.5f, 0.6f};
constexpr float kSpineFlex = 6.0f;
constexpr float kBob = 6.0f;
constexpr float kTailSwing = 10.0f;

const Rgb kGrey{0.70f, 0.67f, 0.62f};
const Rgb kSaddle{0.30f, 0.29f, 0.27f};
const Rgb kPale{0.88f, 0.85f, 0.78f};
const Rgb kNose{0.06f, 0.05f, 0.05f};
const Rgb kIris{0.78f, 0.58f, 0.18f};

struct Rig {
    std::vector<Bone> bones;
    int hips, chest, head, tail, tailTip;
    int front[2], frontLower[2], hind[2], hindLower[2];
};

aiVector3D atSide(const aiVector3D& p, int side) {
    return aiVector3D(kSide[side] * kLegX, p.y, p.z);
}

Rig buildRig() {
    Rig r;
    r.hips = addBone(r.bones, "Hips", -1, aiVector3D(0, -50, 30));
    r.chest = addBone(r.bones, "Chest", r.hips, aiVector3D(0, -50, -28));
    r.head = addBone(r.bones, "Head", r.chest, aiVector3D(0, -42, -54));
    r.tail = addBone(r.bones, "Tail", r.hips, aiVector3D(0, -41, 54));
    r.tailTip = addBone(r.bones, "TailTip", r.tail, aiVector3D(0, -60, 76));
    const char* suffix[2] = {".L", ".R"};
    for (int s = 0; s < 2; ++s) {
        const std::string side = suffix[s];
        r.front[s] = addBone(r.bones, "FrontLeg" + side, r.chest, atSide(kFrontShoulder, s));
        r.frontLower[s] = addBone(r.bones, "FrontPaw" + side, r.front[s], atSide(kFrontWrist, s));
        r.hind[s] = addBone(r.bones, "HindLeg" + side, r.hips, atSide(kHindHip, s));
        r.hindLower[s] = addBone(r.bones, "HindShin" + side, r.hind[s], atSide(kStifle, s));
    }
    return r;
}

// Fur strands run along the body: the noise is stretched along z.
float fur(const aiVector3D& p) {
    return solidNoise(aiVector3D(p.x, p.y, p.z * 0.3f), 0.35f, 3, kSeed);
}

// Dark saddle on top, grey flanks, pale belly: by how much the surface faces up or down.
Rgb coatColour(const aiVector3D& p, const aiVector3D& n) {
    Rgb c = mix(kGrey, kSaddle, smoothStep(0.3f, 0.85f, n.y));
    c = mix(c, kPale, smoothStep(0.0f, -0.45f, n.y));
    return vary(c, fur(p), 0.2f);
}

Rgb legColour(const aiVector3D& p, const aiVector3D& n) {
    // Grey outside at the top, paler down towards the paws and on the inside.
    const float inside = smoothStep(0.2f, 0.8f, -n.x * (p.x < 0 ? -1.0f : 1.0f));
    Rgb c = mix(kGrey, kPale, std::max(smoothStep(-80.0f, -110.0f, p.y), inside));
    return vary(c, fur(p), 0.15f);
}

Rgb tailColour(const aiVector3D& p, const aiVector3D& n) {
    const Rgb c = mix(coatColour(p, n), kSaddle, smoothStep(-80.0f, -88.0f, p.y));
    return c;
}

// Pale muzzle and cheeks, a dark mask over the eyes, black nose tip, amber eyes.
Rgb headColour(const aiVector3D& p, const aiVector3D& n) {
    const float eye = (aiVector3D(std::fabs(p.x), p.y, p.z) - kEye).Length();
    if (eye < 1.1f) {
        return kNose;
    }
    if (eye < 2.5f) {
        return kIris;
    }
    if (p.z < -109.0f && p.y > -30.5f) {
        return kNose;
    }
    Rgb c = coatColour(p, n);
    const float muzzle = std::max(smoothStep(0.0f, -0.5f, n.y), smoothStep(-90.0f, -100.0f, p.z));
    c = mix(c, kPale, 0.85f * muzzle);
    if (eye < 4.5f && p.y > kEye.y - 1.0f) {
        c = mix(c, kSaddle, 0.5f);
    }
    return c;
}

// Ears: dark on the back, pale inside.
Rgb earColour(const aiVector3D& p, const aiVector3D& n) {
    return vary(mix(kSaddle, kPale, smoothStep(0.0f, -0.7f, n.z)), fur(p), 0.15f);
}

void addBody(ModelFile& model, AtlasPainter& atlas, const Rig& r) {
    // From the rump forwards: centre y and z, height and half width. The belly tucks up behind
    // the deep chest.
    const float profile[][4] = {
        {-42, 60, 0, 0},       {-42, 57, 7, 7},      {-43, 50, 13, 12},    {-45, 40, 16, 13.5f},
        {-47, 26, 16, 12.5f},  {-49, 12, 16.5f, 12}, {-51, -4, 20, 13.5f}, {-51, -20, 23, 15},
        {-50, -34, 22.5f, 15}, {-47, -46, 17, 13},   {-44, -54, 10, 9},    {-43, -57, 0, 0},
    };
    std::vector<LoftRing> rings;
    for (const auto& q : profile) {
        rings.push_back({{0, q[0], q[1]}, q[2], q[3]});
    }
    AssetMesh torso = makeLoft(rings, kUp, 14, atlas.rect(0, 0, 256, 256));
    skinChain(torso, r.hips, {{{0, -50, 0}, kForward, 18.0f, r.chest}});
    addPart(model, atlas, torso, coatColour);

    AssetMesh neck = makeLimb({{0, -44, -38}, {0, -34, -56}, {0, -26, -68}}, {14, 11.5f, 9.5f}, kUp,
                              12, 8.0f, atlas.rect(256, 0, 384, 128));
    aiVector3D neckDir(0, 0.55f, -0.83f);
    skinChain(neck, r.chest, {{{0, -42, -52}, neckDir.Normalize(), 7.0f, r.head}});
    addPart(model, atlas, neck, coatColour);

    AssetMesh tail =
        makeLimb({{0, -40, 50}, {0, -48, 64}, {0, -62, 78}, {0, -78, 92}, {0, -88, 100}},
                 {5, 8.5f, 10, 8, 3}, kUp, 10, 8.0f, atlas.rect(384, 192, 512, 320));
    aiVector3D tailDir(0, -0.7f, 0.7f);
    tailDir.Normalize();
    skinChain(tail, r.hips,
              {{{0, -41, 54}, tailDir, 3.0f, r.tail}, {{0, -60, 76}, tailDir, 8.0f, r.tailTip}});
    addPart(model, atlas, tail, tailColour);
}

void addHead(ModelFile& model, AtlasPainter& atlas, const Rig& r) {
    AssetMesh skull = makeSpheroid({0, -21, -64}, {0, -21, -92}, 11.5f, 11.0f, kUp, 12, 8,
                                   atlas.rect(384, 0, 512, 128));
    // The snout from inside the skull to the nose: centre y and z, height, half width.
    const float profile[][4] = {
        {-22, -82, 0, 0},     {-23, -84, 9, 8},        {-25, -94, 7.5f, 6},
        {-27, -103, 6, 4.8f}, {-28, -108, 4.5f, 3.8f}, {-28.5f, -111, 2.5f, 2.5f},
        {-28.6f, -112, 0, 0},
    };
    std::vector<LoftRing> rings;
    for (const auto& q : profile) {
        rings.push_back({{0, q[0], q[1]}, q[2], q[3]});
    }
    AssetMesh snout = makeLoft(rings, kUp, 10, atlas.rect(256, 128, 384, 256));
    skinChain(skull, r.head, {});
    skinChain(snout, r.head, {});
    addPart(model, atlas, skull, headColour);
    addPart(model, atlas, snout, headColour);
    for (int s = 0; s < 2; ++s) {
        const float x = kSide[s];
        // Thin front to back, wide across, up to a point.
        AssetMesh ear = makeLoft({{{x * 6.0f, -17, -73}, 0, 0},
                                  {{x * 6.5f, -15, -73}, 2.4f, 4.5f},
                                  {{x * 7.5f, -8, -72.5f}, 2.2f, 5.0f},
                                  {{x * 8.5f, -2, -72}, 1.6f, 3.2f},
                                  {{x * 9.5f, 4, -71}, 0, 0}},
                                 kForward, 8, atlas.rect(384 + 64 * s, 128, 448 + 64 * s, 192));
        skinChain(ear, r.head, {});
        addPart(model, atlas, ear, earColour);
    }
}

AssetMesh paw(float x, float z, const UvRect& uv) {
    const float y = kSoleY + kPawHeight;
    return makeSpheroid({x, y, z + 7.5f}, {x, y, z - 7.5f}, kPawHeight, 5.0f, kUp, 8, 5, uv);
}

void addLegs(ModelFile& model, AtlasPainter& atlas, const Rig& r) {
    for (int s = 0; s < 2; ++s) {
        const float x = kSide[s] * kLegX;
        // Legs are deep front to back where the muscles meet the body, thin below.
        AssetMesh front =
            makeFlatLimb({{x, -44, -36}, {x, -76, -33}, {x, -92, -36}, {x, -116, -38}},
                         {{11, 7}, {6.5f, 5.5f}, {4.5f, 4.2f}, {4, 4}}, kForward, 8, 9.0f,
                         atlas.rect(64 * s, 256, 64 * s + 64, 448));
        skinChain(front, r.chest,
                  {{atSide(kFrontShoulder, s), -kUp, 6.0f, r.front[s]},
                   {atSide(kFrontWrist, s), -kUp, 6.0f, r.frontLower[s]}});
        addPart(model, atlas, front, legColour);
        AssetMesh frontPaw = paw(x, -40, atlas.rect(256 + 64 * s, 256, 320 + 64 * s, 320));
        skinChain(frontPaw, r.frontLower[s], {});
        addPart(model, atlas, frontPaw, legColour);

        AssetMesh hind = makeFlatLimb({{x, -44, 40}, {x, -74, 30}, {x, -98, 46}, {x, -116, 42}},
                                      {{15, 8}, {7.5f, 6}, {4.5f, 4.2f}, {4, 4}}, kForward, 8, 9.0f,
                                      atlas.rect(128 + 64 * s, 256, 192 + 64 * s, 448));
        skinChain(hind, r.hips,
                  {{atSide(kHindHip, s), -kUp, 6.0f, r.hind[s]},
                   {atSide(kStifle, s), -kUp, 5.0f, r.hindLower[s]}});
        addPart(model, atlas, hind, legColour);
        AssetMesh hindPaw = paw(x, 40, atlas.rect(256 + 64 * s, 320, 320 + 64 * s, 384));
        skinChain(hindPaw, r.hindLower[s], {});
        addPart(model, atlas, hindPaw, legColour);
    }
}

// How far a lower leg is folded (0..1) at the leg's angle in the cycle: most while it swings
// forward, just before it passes under the body.
float fold(float legAngle) {
    const float lift = 0.5f + 0.5f * std::cos(legAngle + 0.3f);
    return lift * lift;
}

void runPose(const Rig& r, float phase, std::vector<BonePose>& poses) {
    const float a = kTau * phase;
    auto pose = [&poses](int bone) -> BonePose& { return poses[static_cast<size_t>(bone)]; };
    for (int s = 0; s < 2; ++s) {
        const float front = a + kTau * kFrontPhase[s];
        const float hind = a + kTau * kHindPhase[s];
        pose(r.front[s]).rotation = turn(kSwingAxis, kFrontSwing * std::sin(front));
        pose(r.frontLower[s]).rotation = turn(kSwingAxis, -kFrontFlex * fold(front));
        pose(r.hind[s]).rotation = turn(kSwingAxis, kHindSwing * std::sin(hind));
        pose(r.hindLower[s]).rotation = turn(kSwingAxis, -kHindFlex * fold(hind));
    }
    // The back arches and stretches once per stride; the head stays level.
    pose(r.hips).offset = aiVector3D(0, kBob * std::sin(a - 0.8f), 0);
    pose(r.hips).rotation = turn(kSwingAxis, 0.6f * kSpineFlex * std::sin(a));
    pose(r.chest).rotation = turn(kSwingAxis, -kSpineFlex * std::sin(a + 0.5f));
    pose(r.head).rotation = turn(kSwingAxis, 0.7f * kSpineFlex * std::sin(a + 0.5f));
    pose(r.tail).rotation = turn(kSwingAxis, kTailSwing * std::sin(a));
    pose(r.tailTip).rotation = turn(kSwingAxis, 1.5f * kTailSwing * std::sin(a - 1.0f));
}

} // namespace

bool writeWolf(const std::string& dir) {
    const Rig r = buildRig();
    auto parts = [&r](ModelFile& model, AtlasPainter& atlas) {
        addBody(model, atlas, r);
        addHead(model, atlas, r);
        addLegs(model, atlas, r);
    };
    auto run = [&r](float phase, std::vector<BonePose>& poses) { runPose(r, phase, poses); };
    return writeCharacter(dir, {level::kWolf, level::kWolfCoarser, "Wolf", "WolfRun", kAtlasSize,
                                kGrey, r.bones, parts, run});
}

} // namespace assets
