// Checks an FBX file against the limits of Assimp's FBX importer before it is imported. The walk
// follows the importer's own reading rules (binary record layout; ASCII comments, strings, keys
// and brace scopes) so that it sees the same arrays and curves, and it checks every length
// against the bytes that are really there before it reads.
#include "FBXImportLimits.h"

#include <zlib.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

// Deeper nesting than any modelling tool writes (they stay below 10); the importer recurses.
static constexpr int kMaxDepth = 64;
// Deflate cannot expand data by much more than 1032 to 1; the importer allocates what is claimed.
static constexpr uint64_t kMaxInflation = 1032;
static constexpr uint64_t kInflationSlack = 64;
// All arrays of a file together, unpacked, and the keys of one curve (which we unpack ourselves).
static constexpr uint64_t kMaxArrayBytes = 512ull * 1024 * 1024;
static constexpr uint64_t kMaxCurveKeys = 1u << 22;
// Key curves. The importer splits a jump of 180 or more between two keys into steps of
// floor(ticks / jump * 179) ticks. Keys at least kMinKeySpacing ticks apart (FBX has 46186158000
// a second: about 2 microseconds) or at the same time, with jumps up to kMaxKeyJump, give steps of
// at least 17 ticks that each move the value on by at least kSplitCover, and values up to
// kMaxKeyValue keep that move larger than the float rounding. The splits of a file together may
// add kMaxSplitKeys keys. Rotations are in degrees; translations in file units.
static constexpr int64_t kMinKeySpacing = 100000;
static constexpr int64_t kMaxKeyTime = int64_t(1) << 60;
static constexpr double kMaxKeyValue = 1e9;
static constexpr double kMaxKeyJump = 1e6;
static constexpr double kSplitCover = 170.0;
static constexpr double kMaxSplitKeys = 1 << 18;
static constexpr double kSplitJump = 180.0;
static const char kBinaryMagic[] = "Kaydara FBX Binary";
static constexpr size_t kBinaryHeader = 27;        // magic, five bytes, 32-bit version
static constexpr uint32_t kWideRecordsFrom = 7500; // from this version on, record fields are 64-bit

namespace {

// Key times and values of the curves found so far.
class CurveLimits {
public:
    void times(const std::vector<int64_t>& t) {
        for (size_t i = 0; i < t.size() && ok_; ++i) {
            ok_ = t[i] >= -kMaxKeyTime && t[i] <= kMaxKeyTime;
            if (ok_ && i > 0) {
                const int64_t gap = t[i] > t[i - 1] ? t[i] - t[i - 1] : t[i - 1] - t[i];
                ok_ = gap == 0 || gap >= kMinKeySpacing;
            }
        }
    }
    void values(const std::vector<double>& v) {
        for (size_t i = 0; i < v.size() && ok_; ++i) {
            ok_ = std::isfinite(v[i]) && std::fabs(v[i]) <= kMaxKeyValue;
            const double jump = i > 0 ? std::fabs(v[i] - v[i - 1]) : 0.0;
            if (ok_ && jump >= kSplitJump) {
                splitKeys_ += jump / kSplitCover + 1.0;
                ok_ = jump <= kMaxKeyJump && splitKeys_ <= kMaxSplitKeys;
            }
        }
    }
    bool ok() const { return ok_; }

private:
    bool ok_ = true;
    double splitKeys_ = 0.0;
};

class BinaryWalk {
public:
    BinaryWalk(const uint8_t* data, size_t size, CurveLimits* curves)
        : data_(data), size_(size), curves_(curves) {}

    bool run() {
        size_t at = sizeof(kBinaryMagic) - 1 + 5;
        uint64_t version = 0;
        if (!read(at, size_, 4, &version)) {
            return false;
        }
        wide_ = version >= kWideRecordsFrom;
        bool last = false;
        while (at < size_ && !last) {
            if (!record(at, size_, 0, &last)) {
                return false;
            }
        }
        return true;
    }

private:
    bool read(size_t& at, size_t end, uint64_t bytes, uint64_t* out) const {
        if (at > end || end - at < bytes) {
            return false;
        }
        *out = 0;
        for (uint64_t i = 0; i < bytes; ++i) {
            *out |= uint64_t(data_[at + i]) << (8 * i);
        }
        at += bytes;
        return true;
    }
    static bool skip(size_t& at, size_t end, uint64_t bytes) {
        if (at > end || end - at < bytes) {
            return false;
        }
        at += bytes;
        return true;
    }

    // One record with its children; a record whose end offset is 0 ends the list (*last).
    bool record(size_t& at, size_t end, int depth, bool* last) {
        const uint64_t field = wide_ ? 8 : 4;
        uint64_t recordEnd = 0, count = 0, length = 0, nameLength = 0;
        if (!read(at, end, field, &recordEnd)) {
            return false;
        }
        if (recordEnd == 0) {
            *last = true;
            return true;
        }
        if (recordEnd > end || recordEnd < at || !read(at, end, field, &count) ||
            !read(at, end, field, &length) || !read(at, end, 1, &nameLength) ||
            end - at < nameLength) {
            return false;
        }
        const std::string name(data_ + at, data_ + at + nameLength);
        at += nameLength;
        if (end - at < length) {
            return false;
        }
        const size_t propertiesEnd = at + length;
        for (uint64_t i = 0; i < count; ++i) {
            if (!property(at, propertiesEnd, name)) {
                return false;
            }
        }
        if (at != propertiesEnd) {
            return false;
        }
        return at == recordEnd || children(at, recordEnd, depth);
    }

    // Nested records up to the all-zero sentinel record before `recordEnd`.
    bool children(size_t& at, size_t recordEnd, int depth) {
        const uint64_t sentinel = wide_ ? 25 : 13;
        if (depth >= kMaxDepth || recordEnd - at < sentinel) {
            return false;
        }
        const size_t childrenEnd = recordEnd - sentinel;
        while (at < childrenEnd) {
            bool last = false; // the importer reads on after an empty record here
            if (!record(at, childrenEnd, depth + 1, &last)) {
                return false;
            }
        }
        for (size_t i = at; i < recordEnd; ++i) {
            if (data_[i] != 0) {
                return false;
            }
        }
        at = recordEnd;
        return true;
    }

    bool property(size_t& at, size_t end, const std::string& owner) {
        uint64_t type = 0, length = 0;
        if (!read(at, end, 1, &type)) {
            return false;
        }
        switch (type) {
        case 'C':
            return skip(at, end, 1);
        case 'Y':
            return skip(at, end, 2);
        case 'I':
        case 'F':
            return skip(at, end, 4);
        case 'D':
        case 'L':
            return skip(at, end, 8);
        case 'S':
        case 'R':
            return read(at, end, 4, &length) && skip(at, end, length);
        case 'b':
            at = end;
            return true; // the importer skips the rest of the list
        case 'c':
        case 'i':
        case 'f':
        case 'd':
        case 'l':
            return array(at, end, static_cast<char>(type), owner);
        default:
            return false;
        }
    }

    bool array(size_t& at, size_t end, char type, const std::string& owner) {
        uint64_t count = 0, encoding = 0, packed = 0;
        if (!read(at, end, 4, &count) || !read(at, end, 4, &encoding) ||
            !read(at, end, 4, &packed) || end - at < packed) {
            return false;
        }
        const uint64_t stride = type == 'c' ? 1 : (type == 'i' || type == 'f') ? 4 : 8;
        const uint64_t bytes = count * stride;
        arrayBytes_ += bytes;
        if (arrayBytes_ > kMaxArrayBytes || (encoding == 0 && bytes != packed) ||
            (encoding == 1 && bytes > packed * kMaxInflation + kInflationSlack) || encoding > 1) {
            return false;
        }
        std::vector<uint8_t> raw;
        const bool isCurve = owner == "KeyTime" || owner == "KeyValueFloat";
        if (isCurve &&
            (count > kMaxCurveKeys || !unpack(data_ + at, packed, encoding, bytes, &raw))) {
            return false;
        }
        at += packed;
        if (owner == "KeyTime" && type == 'l') {
            std::vector<int64_t> times(count);
            for (size_t i = 0; i < count; ++i) {
                times[i] = static_cast<int64_t>(little(&raw[8 * i], 8));
            }
            curves_->times(times);
        } else if (owner == "KeyValueFloat" && (type == 'f' || type == 'd')) {
            curves_->values(floats(raw, type));
        }
        return curves_->ok();
    }

    static uint64_t little(const uint8_t* p, int bytes) {
        uint64_t v = 0;
        for (int i = 0; i < bytes; ++i) {
            v |= uint64_t(p[i]) << (8 * i);
        }
        return v;
    }
    static std::vector<double> floats(const std::vector<uint8_t>& raw, char type) {
        std::vector<double> out;
        const size_t stride = type == 'f' ? 4 : 8;
        for (size_t at = 0; at + stride <= raw.size(); at += stride) {
            if (type == 'f') {
                const uint32_t bits = static_cast<uint32_t>(little(&raw[at], 4));
                float f;
                std::memcpy(&f, &bits, sizeof f);
                out.push_back(f);
            } else {
                const uint64_t bits = little(&raw[at], 8);
                double d;
                std::memcpy(&d, &bits, sizeof d);
                out.push_back(d);
            }
        }
        return out;
    }
    static bool unpack(const uint8_t* from, uint64_t packed, uint64_t encoding, uint64_t bytes,
                       std::vector<uint8_t>* out) {
        out->resize(bytes);
        if (encoding == 0) {
            std::copy(from, from + packed, out->begin());
            return true;
        }
        uLongf length = static_cast<uLongf>(bytes);
        return uncompress(out->data(), &length, from, static_cast<uLong>(packed)) == Z_OK &&
               length == bytes;
    }

    const uint8_t* data_;
    size_t size_;
    CurveLimits* curves_;
    bool wide_ = false;
    uint64_t arrayBytes_ = 0;
};

// The ASCII form: scopes are counted and the numbers inside the scope of every "KeyTime" and
// "KeyValueFloat" key are checked. The text ends at its first NUL, as it does for the importer.
class AsciiWalk {
public:
    explicit AsciiWalk(CurveLimits* curves) : curves_(curves) {}

    bool run(const char* text, size_t size) {
        bool comment = false, quoted = false;
        for (size_t i = 0; i < size && text[i] != '\0' && curves_->ok(); ++i) {
            const char c = text[i];
            if (c == '\n' || c == '\r') {
                comment = false;
            }
            if (comment || (quoted && c != '"')) {
                continue;
            }
            if (c == '"') {
                quoted = !quoted;
                endWord(false);
            } else if (c == ';') {
                endWord(false);
                comment = true;
            } else if (c == '{') {
                endWord(false);
                if (++depth_ > kMaxDepth) {
                    return false;
                }
            } else if (c == '}') {
                endWord(false);
                if (--depth_ < 0) {
                    return false;
                }
                if (kind_ != None && depth_ == arrayDepth_) {
                    finishArray();
                }
            } else if (c == ':') {
                endWord(true);
            } else if (c == ',' || c == ' ' || c == '\t' || c == '\n' || c == '\r') {
                endWord(false);
            } else {
                word_ += c;
            }
        }
        return curves_->ok() && parsed_;
    }

private:
    enum Kind { None, Times, Values };

    void endWord(bool isKey) {
        if (isKey) {
            if (kind_ != None && depth_ == arrayDepth_) {
                finishArray();
            }
            if (word_ == "KeyTime" || word_ == "KeyValueFloat") {
                kind_ = word_ == "KeyTime" ? Times : Values;
                arrayDepth_ = depth_;
            }
        } else if (kind_ != None && depth_ > arrayDepth_ && !word_.empty()) {
            numbers_.push_back(word_);
        }
        word_.clear();
    }

    void finishArray() {
        std::vector<int64_t> times;
        std::vector<double> values;
        for (const std::string& n : numbers_) {
            char* end = nullptr;
            errno = 0;
            if (kind_ == Times) {
                times.push_back(std::strtoll(n.c_str(), &end, 10));
            } else {
                values.push_back(std::strtod(n.c_str(), &end));
            }
            parsed_ = parsed_ && end != n.c_str() && errno != ERANGE;
        }
        kind_ == Times ? curves_->times(times) : curves_->values(values);
        numbers_.clear();
        kind_ = None;
    }

    CurveLimits* curves_;
    int depth_ = 0;
    std::string word_;
    Kind kind_ = None;
    int arrayDepth_ = 0;
    std::vector<std::string> numbers_;
    bool parsed_ = true;
};

} // namespace

bool fbxWithinImportLimits(const void* data, size_t size) {
    const auto* bytes = static_cast<const uint8_t*>(data);
    CurveLimits curves;
    const size_t magic = sizeof(kBinaryMagic) - 1;
    if (size >= kBinaryHeader && std::equal(kBinaryMagic, kBinaryMagic + magic, bytes)) {
        return BinaryWalk(bytes, size, &curves).run() && curves.ok();
    }
    return AsciiWalk(&curves).run(static_cast<const char*>(data), size);
}
