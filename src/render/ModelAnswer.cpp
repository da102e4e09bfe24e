// The answer format of the model reader. Native byte order (the same program writes and reads
// it): a magic word, six 32-bit counts, then the arrays one after another:
//   "HMA1" outcome hasMesh controlPoints polygons polygonVertices frames
//   int32 polygon sizes, int32 polygon indices, float64 points (4 each), float64 normals (4 each),
//   float32 UVs (2 each), float32 frames (3 per polygon vertex each)
// The reader computes the exact length from the counts before it reads any array.
#include "ModelAnswer.h"

#include "FBXModel.h"

#include <algorithm>
#include <cmath>
#include <cstring>

static const char kMagic[4] = {'H', 'M', 'A', '1'};
static constexpr size_t kHeaderWords = 6;
// More than the largest model we accept can hold (64 MiB of file); keeps every size product
// far from overflow.
static constexpr uint32_t kMaxCount = 1u << 24;

namespace {

template <class T> void put(std::string* out, const std::vector<T>& values) {
    if (!values.empty()) {
        out->append(reinterpret_cast<const char*>(values.data()), values.size() * sizeof(T));
    }
}

void putWord(std::string* out, uint32_t word) {
    out->append(reinterpret_cast<const char*>(&word), sizeof word);
}

// Reads arrays off the front of the answer; the total length has been checked up front.
class Cursor {
public:
    explicit Cursor(const unsigned char* at) : at_(at) {}
    template <class T> void take(std::vector<T>* out, size_t count) {
        out->resize(count);
        if (count > 0) {
            std::memcpy(out->data(), at_, count * sizeof(T));
            at_ += count * sizeof(T);
        }
    }

private:
    const unsigned char* at_;
};

template <class T> bool allFinite(const std::vector<T>& values) {
    return std::all_of(values.begin(), values.end(), [](T v) { return std::isfinite(v); });
}

// Sizes add up to the polygon vertices and every index names a control point.
bool tablesAgree(const ModelAnswer& m, uint64_t polygonVertices, uint64_t controlPoints) {
    uint64_t sum = 0;
    for (int size : m.polygonSizes) {
        if (size < 1) {
            return false;
        }
        sum += static_cast<uint64_t>(size);
    }
    return sum == polygonVertices &&
           std::all_of(m.polygonIndices.begin(), m.polygonIndices.end(), [&](int index) {
               return index >= 0 && static_cast<uint64_t>(index) < controlPoints;
           });
}

} // namespace

std::string encodeModelAnswer(const ModelAnswer& m) {
    std::string out(kMagic, sizeof kMagic);
    const size_t points = m.controlPoints.size() / 4;
    putWord(&out, m.outcome);
    putWord(&out, m.hasMesh ? 1 : 0);
    putWord(&out, static_cast<uint32_t>(points));
    putWord(&out, static_cast<uint32_t>(m.polygonSizes.size()));
    putWord(&out, static_cast<uint32_t>(m.polygonIndices.size()));
    putWord(&out, static_cast<uint32_t>(m.frames.size()));
    // Arrays go out as they are: one whose size disagrees with the counts makes the answer
    // malformed rather than being cut or padded to fit.
    put(&out, m.polygonSizes);
    put(&out, m.polygonIndices);
    put(&out, m.controlPoints);
    put(&out, m.controlNormals);
    put(&out, m.controlUVs);
    for (const std::vector<float>& frame : m.frames) {
        put(&out, frame);
    }
    return out;
}

bool decodeModelAnswer(const void* data, size_t size, ModelAnswer* out) {
    *out = ModelAnswer();
    const auto* bytes = static_cast<const unsigned char*>(data);
    uint32_t word[kHeaderWords];
    if (bytes == nullptr || size < sizeof kMagic + sizeof word ||
        std::memcmp(bytes, kMagic, sizeof kMagic) != 0) {
        return false;
    }
    std::memcpy(word, bytes + sizeof kMagic, sizeof word);
    const uint32_t outcome = word[0], hasMesh = word[1], points = word[2], polygons = word[3],
                   polygonVertices = word[4], frames = word[5];
    const bool empty = points == 0 && polygons == 0 && polygonVertices == 0;
    if (outcome > ModelAnswer::kNoImporter || hasMesh > 1 || points > kMaxCount ||
        polygons > kMaxCount || polygonVertices > kMaxCount ||
        (frames != 0 && frames != FBXModel::kSkinFrames) ||
        (outcome != ModelAnswer::kImported && (!empty || hasMesh != 0 || frames != 0)) ||
        (hasMesh == 0 && !empty)) {
        return false;
    }
    const uint64_t expected = sizeof kMagic + sizeof word + 4ull * polygons +
                              4ull * polygonVertices + 8ull * 8 * points + 4ull * 2 * points +
                              4ull * 3 * polygonVertices * frames;
    if (size != expected) {
        return false;
    }
    ModelAnswer m;
    m.outcome = static_cast<ModelAnswer::Outcome>(outcome);
    m.hasMesh = hasMesh != 0;
    Cursor cursor(bytes + sizeof kMagic + sizeof word);
    cursor.take(&m.polygonSizes, polygons);
    cursor.take(&m.polygonIndices, polygonVertices);
    cursor.take(&m.controlPoints, 4ull * points);
    cursor.take(&m.controlNormals, 4ull * points);
    cursor.take(&m.controlUVs, 2ull * points);
    m.frames.resize(frames);
    for (std::vector<float>& frame : m.frames) {
        cursor.take(&frame, 3ull * polygonVertices);
    }
    const bool framesFinite = std::all_of(m.frames.begin(), m.frames.end(),
                                          [](const std::vector<float>& f) { return allFinite(f); });
    if (!tablesAgree(m, polygonVertices, points) || !allFinite(m.controlPoints) ||
        !allFinite(m.controlNormals) || !allFinite(m.controlUVs) || !framesFinite) {
        return false;
    }
    *out = std::move(m);
    return true;
}
