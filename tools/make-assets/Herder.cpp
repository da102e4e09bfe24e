// The herder: a shepherd in a wide-brimmed felt hat, red neckerchief, leather waistcoat over a
// shirt, dark trousers and boots, with a short beard. Drawn at 0.01 and turned -90 degrees about
// y by the game, so in model space the herder faces -x with the left side towards +z; the soles
// sit at y = -100 (one world unit below the capsule centre) and the herder stands 2.9 world
// units tall to the top of the hat. Everything stays within the capsule's 0.5 radius (50 model
// units) of the y axis.
#include "Characters.h"
#include "Models.h"

#include <cmath>

namespace assets {

namespace {

const aiVector3D kUp(0, 1, 0);
const aiVector3D kForward(-1, 0, 0);
// Turning about this axis by a positive angle swings a hanging limb forward.
const aiVector3D kSwingAxis(0, 0, -1);
// The two sides, left (+z) first; index 0 is the left limb everywhere below.
constexpr float kSide[2] = {1.0f, -1.0f};

constexpr int kAtlasSize = 512;
constexpr uint32_t kSeed = 4711;

// Joints (model units).
constexpr float kHipY = 42.0f;
constexpr float kHipZ = 12.0f;
constexpr float kKneeY = -22.0f;
constexpr float kAnkleY = -86.0f;
constexpr float kSpineY = 76.0f;
constexpr float kNeckY = 142.0f;
constexpr float kShoulderY = 133.0f;
constexpr float kShoulderZ = 29.0f;
constexpr float kElbowY = 90.0f;
constexpr float kElbowZ = 34.0f;
constexpr float kWristY = 48.0f;
constexpr float kWristZ = 35.0f;
const aiVector3D kHeadCentre(-1.0f, 162.0f, 0.0f);

// Where the clothes change (model y).
constexpr float kBootTop = -63.0f;
constexpr float kBeltBottom = 57.0f;
constexpr float kBeltTop = 63.0f;
constexpr float kScarfTop = 145.0f;

// Run cycle (degrees and model units).
constexpr float kLegSwing = 38.0f;
constexpr float kKneeBase = 12.0f;
constexpr float kKneeFlex = 80.0f;
constexpr float kArmSwing = 34.0f;
constexpr float kElbowBend = 75.0f;
constexpr float kElbowPump = 12.0f;
constexpr float kFootFollow = 0.45f;
constexpr float kFootBase = 8.0f;
// Share of the body's lean that the head takes back to look ahead.
constexpr float kHeadLift = 0.6f;
constexpr float kLean = 9.0f;
constexpr float kTwist = 6.0f;
constexpr float kBob = 4.0f;

const Rgb kSkin{0.87f, 0.66f, 0.52f};
const Rgb kHair{0.30f, 0.19f, 0.11f};
const Rgb kShirt{0.45f, 0.56f, 0.72f};
const Rgb kVest{0.45f, 0.27f, 0.14f};
const Rgb kScarf{0.72f, 0.13f, 0.10f};
const Rgb kTrousers{0.27f, 0.23f, 0.19f};
const Rgb kBelt{0.17f, 0.10f, 0.06f};
const Rgb kBuckle{0.80f, 0.70f, 0.35f};
const Rgb kBoot{0.14f, 0.09f, 0.06f};
const Rgb kHat{0.52f, 0.40f, 0.25f};
const Rgb kHatBand{0.16f, 0.11f, 0.08f};
const Rgb kEyeWhite{0.93f, 0.92f, 0.88f};
const Rgb kIris{0.12f, 0.22f, 0.30f};
const Rgb kDark{0.10f, 0.06f, 0.05f};

struct Rig {
    std::vector<Bone> bones;
    int hips, spine, head;
    int upperArm[2], forearm[2], thigh[2], shin[2], foot[2];
};

Rig buildRig() {
    Rig r;
    r.hips = addBone(r.bones, "Hips", -1, aiVector3D(0, kHipY, 0));
    r.spine = addBone(r.bones, "Spine", r.hips, aiVector3D(0, kSpineY, 0));
    r.head = addBone(r.bones, "Head", r.spine, aiVector3D(0, kNeckY, 0));
    const char* suffix[2] = {".L", ".R"};
    for (int s = 0; s < 2; ++s) {
        const std::string side = suffix[s];
        const float z = kSide[s];
        r.upperArm[s] =
            addBone(r.bones, "UpperArm" + side, r.spine, aiVector3D(0, kShoulderY, z * kShoulderZ));
        r.forearm[s] =
            addBone(r.bones, "Forearm" + side, r.upperArm[s], aiVector3D(0, kElbowY, z * kElbowZ));
        r.thigh[s] = addBone(r.bones, "Thigh" + side, r.hips, aiVector3D(0, kHipY, z * kHipZ));
        r.shin[s] = addBone(r.bones, "Shin" + side, r.thigh[s], aiVector3D(0, kKneeY, z * kHipZ));
        r.foot[s] = addBone(r.bones, "Foot" + side, r.shin[s], aiVector3D(0, kAnkleY, z * kHipZ));
    }
    return r;
}

float cloth(const aiVector3D& p) {
    return solidNoise(p, 0.35f, 3, kSeed);
}

Rgb legColour(const aiVector3D& p, const aiVector3D&) {
    if (p.y < kBootTop) {
        return vary(kBoot, cloth(p), 0.15f);
    }
    if (p.y < kBootTop + 2.0f) {
        return vary(kBoot, 1.0f, 0.3f); // the turned-down boot rim
    }
    return vary(kTrousers, cloth(p), 0.12f);
}

// The waistcoat leaves a V of shirt open at the front and stops short of the shoulders.
bool inVest(const aiVector3D& p) {
    const float openingHalfWidth = 3.0f + 0.25f * (p.y - kBeltTop);
    const bool opening = p.x < -6.0f && std::fabs(p.z) < openingHalfWidth;
    return p.y < 128.0f && !opening;
}

Rgb torsoColour(const aiVector3D& p, const aiVector3D&) {
    const float n = cloth(p);
    if (p.y < kBeltBottom) {
        return vary(kTrousers, n, 0.12f);
    }
    if (p.y < kBeltTop) {
        const bool buckle = p.x < -10.0f && std::fabs(p.z) < 4.0f;
        return buckle ? kBuckle : kBelt;
    }
    if (p.y > 137.0f) {
        return vary(kScarf, n, 0.15f);
    }
    return inVest(p) ? vary(kVest, n, 0.18f) : vary(kShirt, n, 0.10f);
}

Rgb armColour(const aiVector3D& p, const aiVector3D&) {
    const bool cuff = p.y < kWristY + 4.0f;
    return vary(kShirt, cuff ? 0.2f : cloth(p), 0.10f);
}

Rgb skinColour(const aiVector3D& p, const aiVector3D&) {
    return vary(kSkin, solidNoise(p, 0.5f, 2, kSeed + 1), 0.05f);
}

Rgb neckColour(const aiVector3D& p, const aiVector3D& n) {
    return p.y < kScarfTop ? vary(kScarf, cloth(p), 0.15f) : skinColour(p, n);
}

// The face: eyes, brows and a short beard on the front (-x) half of the head, hair behind.
Rgb headColour(const aiVector3D& p, const aiVector3D& n) {
    const aiVector3D q = p - kHeadCentre;
    const bool front = q.x < -7.0f;
    const float eyeZ = std::fabs(q.z) - 5.0f;
    const float eye = std::sqrt(eyeZ * eyeZ + (q.y - 3.0f) * (q.y - 3.0f));
    if (front && eye < 1.2f) {
        return kIris;
    }
    if (front && eye < 2.4f) {
        return kEyeWhite;
    }
    const float hairNoise = solidNoise(p, 0.8f, 2, kSeed + 2);
    const bool brow =
        front && q.y > 5.8f && q.y < 7.6f && std::fabs(q.z) > 2.0f && std::fabs(q.z) < 8.5f;
    if (brow) {
        return kHair;
    }
    if (front && q.y < -7.8f && q.y > -9.3f && std::fabs(q.z) < 3.5f) {
        return kDark; // mouth
    }
    const bool beard = q.x < -3.0f && (q.y < -8.0f || (q.y < -5.5f && std::fabs(q.z) < 5.5f) ||
                                       (q.y < 0.0f && std::fabs(q.z) > 8.0f));
    const bool hair = q.x > -3.0f && q.y > -10.0f;
    if (beard || hair || q.y > 12.0f) {
        return vary(kHair, hairNoise, 0.25f);
    }
    return skinColour(p, n);
}

Rgb hatColour(const aiVector3D& p, const aiVector3D&) {
    const float band = p.y - 176.0f;
    if (band > 0.5f && band < 4.0f && std::hypot(p.x - kHeadCentre.x, p.z) < 15.0f) {
        return kHatBand;
    }
    return vary(kHat, solidNoise(p, 0.6f, 2, kSeed + 3), 0.12f);
}

void addLegs(ModelFile& model, AtlasPainter& atlas, const Rig& r) {
    for (int s = 0; s < 2; ++s) {
        const float z = kSide[s] * kHipZ;
        AssetMesh leg = makeLimb({{0, kHipY + 8.0f, z},
                                  {-1.5f, kKneeY, z},
                                  {-0.5f, kBootTop + 3.0f, z},
                                  {-0.3f, kBootTop - 1.0f, z},
                                  {0, kAnkleY, z}},
                                 {13.5f, 9.5f, 8.0f, 9.4f, 8.6f}, kForward, 10, 11.0f,
                                 atlas.rect(128 * s, 192, 128 * s + 128, 384));
        skinChain(leg, r.hips,
                  {{{0, kHipY + 2.0f, z}, -kUp, 6.0f, r.thigh[s]},
                   {{0, kKneeY, z}, -kUp, 7.0f, r.shin[s]},
                   {{0, kAnkleY + 2.0f, z}, -kUp, 3.0f, r.foot[s]}});
        addPart(model, atlas, leg, legColour);
        AssetMesh foot = makeSpheroid({7.0f, -93.0f, z}, {-22.0f, -93.0f, z}, 7.0f, 7.5f, kUp, 10,
                                      6, atlas.rect(448, 64 * s, 512, 64 * s + 64));
        skinChain(foot, r.foot[s], {});
        addPart(model, atlas, foot, [](const aiVector3D& p, const aiVector3D& n) {
            return p.y < -97.5f ? kDark : vary(kBoot, n.y * 0.5f + 0.5f, 0.2f);
        });
    }
}

void addTorso(ModelFile& model, AtlasPainter& atlas, const Rig& r) {
    // Height, then half depth (front to back) and half width of the body there.
    const float profile[][3] = {
        {24.0f, 0.0f, 0.0f},    {26.0f, 10.0f, 17.0f},  {30.0f, 14.0f, 22.0f},
        {40.0f, 15.5f, 24.5f},  {52.0f, 15.0f, 23.5f},  {62.0f, 14.0f, 22.0f},
        {76.0f, 15.0f, 24.0f},  {92.0f, 16.5f, 26.5f},  {108.0f, 17.0f, 28.5f},
        {122.0f, 16.0f, 29.0f}, {130.0f, 14.5f, 29.0f}, {136.0f, 12.0f, 27.0f},
        {140.0f, 9.0f, 17.0f},  {143.0f, 6.5f, 8.0f},   {144.5f, 0.0f, 0.0f}};
    std::vector<LoftRing> rings;
    for (const auto& ring : profile) {
        // The chest sits a little forward of the hips.
        const float x = ring[0] > 80.0f && ring[0] < 125.0f ? -1.0f : 0.0f;
        rings.push_back({{x, ring[0], 0}, ring[1], ring[2]});
    }
    AssetMesh torso = makeLoft(rings, kForward, 16, atlas.rect(0, 0, 256, 192));
    skinChain(torso, r.hips, {{{0, kSpineY - 2.0f, 0}, kUp, 12.0f, r.spine}});
    addPart(model, atlas, torso, torsoColour);

    AssetMesh neck = makeLimb({{0, 132, 0}, {0, 154, 0}}, {6.5f, 6.0f}, kForward, 10, 8.0f,
                              atlas.rect(0, 384, 128, 448));
    skinChain(neck, r.spine, {{{0, kNeckY + 1.0f, 0}, kUp, 4.0f, r.head}});
    addPart(model, atlas, neck, neckColour);
}

void addArms(ModelFile& model, AtlasPainter& atlas, const Rig& r) {
    for (int s = 0; s < 2; ++s) {
        const float z = kSide[s];
        const int x0 = 256 + 96 * s;
        AssetMesh arm =
            makeLimb({{0, kShoulderY - 3.0f, z * kShoulderZ},
                      {0, kElbowY, z * kElbowZ},
                      {0, kWristY, z * kWristZ}},
                     {8.5f, 7.0f, 6.0f}, kForward, 8, 11.0f, atlas.rect(x0, 128, x0 + 96, 320));
        skinChain(arm, r.spine,
                  {{{0, kShoulderY - 2.0f, z * kShoulderZ}, -kUp, 5.0f, r.upperArm[s]},
                   {{0, kElbowY, z * kElbowZ}, -kUp, 7.0f, r.forearm[s]}});
        addPart(model, atlas, arm, armColour);
        AssetMesh hand =
            makeSpheroid({-1, 28, z * kWristZ}, {-1, kWristY - 1.0f, z * kWristZ}, 6.0f, 4.2f,
                         kForward, 8, 6, atlas.rect(448, 128 + 64 * s, 512, 192 + 64 * s));
        skinChain(hand, r.forearm[s], {});
        addPart(model, atlas, hand, skinColour);
    }
}

void addHead(ModelFile& model, AtlasPainter& atlas, const Rig& r) {
    const aiVector3D& c = kHeadCentre;
    AssetMesh head = makeSpheroid(c - aiVector3D(0, 18, 0), c + aiVector3D(0, 18, 0), 15.0f, 12.5f,
                                  -kForward, 14, 10, atlas.rect(256, 0, 448, 128));
    AssetMesh nose = makeSpheroid(c + aiVector3D(-13.5f, -6.5f, 0), c + aiVector3D(-13.5f, 2, 0),
                                  4.5f, 2.8f, kForward, 8, 5, atlas.rect(448, 256, 480, 288));
    AssetMesh ears;
    for (int s = 0; s < 2; ++s) {
        const aiVector3D ear(c.x + 1.0f, c.y, kSide[s] * 12.0f);
        ears.append(makeSpheroid(ear - aiVector3D(0, 5, 0), ear + aiVector3D(0, 4, 0), 3.2f, 2.0f,
                                 kForward, 8, 4, atlas.rect(480, 256 + 32 * s, 512, 288 + 32 * s)));
    }
    // Brim underside, brim edge, then the crown with its dent at the top.
    AssetMesh hat = makeLathe({c.x, 173.0f, 0},
                              {{0, 0},
                               {27.0f, 0},
                               {29.0f, 1.5f},
                               {28.0f, 3.0f},
                               {14.5f, 3.2f},
                               {14.0f, 10.0f},
                               {13.0f, 14.5f},
                               {9.0f, 16.5f},
                               {4.0f, 15.8f},
                               {0, 16.2f}},
                              16, atlas.rect(256, 320, 448, 448));
    for (AssetMesh* part : {&head, &nose, &ears, &hat}) {
        skinChain(*part, r.head, {});
    }
    addPart(model, atlas, head, headColour);
    addPart(model, atlas, nose, [](const aiVector3D& p, const aiVector3D& n) {
        return mix(skinColour(p, n), kScarf, 0.12f);
    });
    addPart(model, atlas, ears, skinColour);
    addPart(model, atlas, hat, hatColour);
}

// Phase 0: the left leg passes under the body swinging forward, its knee folded high; each arm
// swings with the opposite leg.
void runPose(const Rig& r, float phase, std::vector<BonePose>& poses) {
    const float a = kTau * phase;
    auto pose = [&poses](int bone) -> BonePose& { return poses[static_cast<size_t>(bone)]; };
    for (int s = 0; s < 2; ++s) {
        const float swing = (s == 0 ? 1.0f : -1.0f) * std::sin(a);
        // The knee folds most just before the leg passes under the body.
        const float lift = 0.5f + 0.5f * std::cos(a + 0.5f * kTau * static_cast<float>(s) + 0.4f);
        const float knee = kKneeBase + kKneeFlex * lift * lift;
        pose(r.thigh[s]).rotation = turn(kSwingAxis, kLegSwing * swing);
        pose(r.shin[s]).rotation = turn(kSwingAxis, -knee);
        // Toes drop a little as the knee folds, so the sole never points at the camera.
        pose(r.foot[s]).rotation = turn(kSwingAxis, kFootFollow * knee - kFootBase);
        pose(r.upperArm[s]).rotation = turn(kSwingAxis, -kArmSwing * swing);
        pose(r.forearm[s]).rotation = turn(kSwingAxis, kElbowBend + kElbowPump * swing);
    }
    // Low at each footfall; the shoulders turn against the hips.
    pose(r.hips).offset = aiVector3D(0, -kBob * std::cos(2.0f * a), 0);
    pose(r.hips).rotation = turn(kUp, -kTwist * std::sin(a));
    pose(r.spine).rotation = turn(kSwingAxis, -kLean) * turn(kUp, 2.0f * kTwist * std::sin(a));
    pose(r.head).rotation = turn(kSwingAxis, kHeadLift * kLean) * turn(kUp, -kTwist * std::sin(a));
}

} // namespace

bool writeHerder(const std::string& dir) {
    const Rig r = buildRig();
    auto parts = [&r](ModelFile& model, AtlasPainter& atlas) {
        addLegs(model, atlas, r);
        addTorso(model, atlas, r);
        addArms(model, atlas, r);
        addHead(model, atlas, r);
    };
    auto run = [&r](float phase, std::vector<BonePose>& poses) { runPose(r, phase, poses); };
    return writeCharacter(dir, {level::kHerder, nullptr, "Brannic", "BrannicRun",
                                kAtlasSize, kShirt, r.bones, parts, run});
}

} // namespace assets
