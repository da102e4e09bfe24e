// Checks an FBX file against the limits of Assimp's FBX importer before it is imported. The walk
// follows the importer's own reading rules (binary record layout; ASCII comments, strings, keys
// and brace scopes) so that it sees the same arrays and curves, and it checks every length
// against the bytes that are really there before it reads.
#include "FBXImportLimits.h"

#include <zlib.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <unordered_map>
#include <utility>
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
// Chains of objects, each the child of the next: far longer than any rig a modelling tool writes
// (a few dozen bones), far shorter than the several thousand at which the importer's recursive
// node conversion runs out of stack.
static constexpr int kMaxNodeDepth = 512;
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

// The object-to-object ("OO") connections of a file: child to parents, by id (FBX 7) or by name
// (FBX 6). Their longest chain is the depth of the hierarchy the importer will build.
class NodeGraph {
public:
    // Fields of one connection record: its kind, the child, the parent.
    void connect(const std::vector<std::string>& fields) {
        if (fields.size() >= 3 && fields[0] == "OO") {
            parents_[fields[1]].push_back(fields[2]);
        }
    }

    // Whether no chain is longer than kMaxNodeDepth and none closes on itself. The walk keeps
    // its own stack: the files it looks at are the ones too deep for recursion.
    bool shallow() const {
        std::unordered_map<std::string, int> depth;
        for (const auto& start : parents_) {
            std::vector<std::string> pending{start.first};
            while (!pending.empty()) {
                const std::string node = pending.back();
                const auto known = depth.find(node);
                if (known != depth.end() && known->second >= 0) {
                    pending.pop_back();
                    continue;
                }
                const auto parents = parents_.find(node);
                if (known == depth.end()) {
                    depth[node] = kOpen; // open nodes are the path being walked
                    for (size_t i = 0; parents != parents_.end() && i < parents->second.size();
                         ++i) {
                        const auto seen = depth.find(parents->second[i]);
                        if (seen != depth.end() && seen->second == kOpen) {
                            return false;
                        }
                        if (seen == depth.end()) {
                            pending.push_back(parents->second[i]);
                        }
                    }
                    continue;
                }
                int deepest = 0;
                for (size_t i = 0; parents != parents_.end() && i < parents->second.size(); ++i) {
                    deepest = std::max(deepest, depth[parents->second[i]] + 1);
                }
                if (deepest > kMaxNodeDepth) {
                    return false;
                }
                depth[node] = deepest;
                pending.pop_back();
            }
        }
        return true;
    }

private:
    static constexpr int kOpen = -1;
    std::unordered_map<std::string, std::vector<std::string>> parents_;
};

// Embedded content in an ASCII file is base64 text; the importer sizes its buffer from the
// length alone and mishandles any other character, so each string must be well formed: only
// the alphabet, padded to a multiple of four.
bool isBase64(const std::string& text) {
    if (text.empty() || text.size() % 4 != 0) {
        return false;
    }
    const size_t padding = text.size() - text.find_last_not_of('=') - 1;
    if (text.find_last_not_of('=') == std::string::npos || padding > 2) {
        return false;
    }
    return std::all_of(text.begin(), text.end() - padding, [](char c) {
        return std::isalnum(static_cast<unsigned char>(c)) || c == '+' || c == '/';
    });
}

bool isConnectionKey(const std::string& key) {
    return key == "C" || key == "Connect";
}

class BinaryWalk {
public:
    BinaryWalk(const uint8_t* data, size_t size, CurveLimits* curves, NodeGraph* graph)
        : data_(data), size_(size), curves_(curves), graph_(graph) {}

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
        fields_.clear();
        for (uint64_t i = 0; i < count; ++i) {
            if (!property(at, propertiesEnd, name)) {
                return false;
            }
        }
        if (at != propertiesEnd) {
            return false;
        }
        if (isConnectionKey(name)) {
            graph_->connect(fields_);
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
            return field(at, end, 4, owner);
        case 'L':
            return field(at, end, 8, owner);
        case 'F':
            return skip(at, end, 4);
        case 'D':
            return skip(at, end, 8);
        case 'S':
            if (!read(at, end, 4, &length) || end - at < length) {
                return false;
            }
            if (isConnectionKey(owner)) {
                fields_.emplace_back(data_ + at, data_ + at + length);
            }
            at += length;
            return true;
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

    // An integer property; kept as text when it is an id in a connection record.
    bool field(size_t& at, size_t end, uint64_t bytes, const std::string& owner) {
        uint64_t value = 0;
        if (!read(at, end, bytes, &value)) {
            return false;
        }
        if (isConnectionKey(owner)) {
            const int64_t id = bytes == 4 ? int64_t(int32_t(uint32_t(value))) : int64_t(value);
            fields_.push_back(std::to_string(id));
        }
        return true;
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
    NodeGraph* graph_;
    std::vector<std::string> fields_; // of the connection record being read
    bool wide_ = false;
    uint64_t arrayBytes_ = 0;
};

// The ASCII form: scopes are counted, the numbers inside the scope of every "KeyTime" and
// "KeyValueFloat" key are checked, and so are the values of connections and of embedded
// "Content" (a key's values run to the next key or brace, across lines, as for the importer).
// The text ends at its first NUL, as it does for the importer.
class AsciiWalk {
public:
    AsciiWalk(CurveLimits* curves, NodeGraph* graph) : curves_(curves), graph_(graph) {}

    bool run(const char* text, size_t size) {
        bool comment = false, quoted = false;
        for (size_t i = 0; i < size && text[i] != '\0' && curves_->ok() && valid_; ++i) {
            const char c = text[i];
            if (c == '\n' || c == '\r') {
                comment = false;
            }
            if (quoted && c != '"') {
                if (keepsValues()) {
                    word_ += c;
                }
                continue;
            }
            if (comment) {
                continue;
            }
            if (c == '"') {
                if (quoted && keepsValues()) {
                    values_.push_back({true, word_});
                    word_.clear();
                }
                quoted = !quoted;
                endWord(false);
            } else if (c == ';') {
                endWord(false);
                comment = true;
            } else if (c == '{') {
                endWord(false);
                finishValue();
                if (++depth_ > kMaxDepth) {
                    return false;
                }
            } else if (c == '}') {
                endWord(false);
                finishValue();
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
        finishValue();
        return curves_->ok() && parsed_ && valid_;
    }

private:
    enum Kind { None, Times, Values };
    struct Token {
        bool quoted;
        std::string text;
    };

    bool keepsValues() const { return isConnectionKey(key_) || key_ == "Content"; }

    void endWord(bool isKey) {
        if (isKey) {
            finishValue();
            key_ = word_;
            if (kind_ != None && depth_ == arrayDepth_) {
                finishArray();
            }
            if (word_ == "KeyTime" || word_ == "KeyValueFloat") {
                kind_ = word_ == "KeyTime" ? Times : Values;
                arrayDepth_ = depth_;
            }
        } else if (kind_ != None && depth_ > arrayDepth_ && !word_.empty()) {
            numbers_.push_back(word_);
        } else if (keepsValues() && !word_.empty()) {
            values_.push_back({false, word_});
        }
        word_.clear();
    }

    // The values of the key that just ended: connections go to the graph; content must be
    // base64 strings.
    void finishValue() {
        if (isConnectionKey(key_)) {
            std::vector<std::string> fields;
            for (const Token& token : values_) {
                fields.push_back(token.text);
            }
            graph_->connect(fields);
        } else if (key_ == "Content") {
            for (const Token& token : values_) {
                valid_ = valid_ && token.quoted && isBase64(token.text);
            }
        }
        values_.clear();
        key_.clear();
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
    NodeGraph* graph_;
    int depth_ = 0;
    std::string word_;
    Kind kind_ = None;
    int arrayDepth_ = 0;
    std::vector<std::string> numbers_;
    bool parsed_ = true;
    std::string key_;           // the key whose values are being read
    std::vector<Token> values_; // of that key, when it is a connection or content
    bool valid_ = true;
};

} // namespace

bool fbxWithinImportLimits(const void* data, size_t size) {
    const auto* bytes = static_cast<const uint8_t*>(data);
    CurveLimits curves;
    NodeGraph graph;
    const size_t magic = sizeof(kBinaryMagic) - 1;
    if (size >= kBinaryHeader && std::equal(kBinaryMagic, kBinaryMagic + magic, bytes)) {
        return BinaryWalk(bytes, size, &curves, &graph).run() && curves.ok() && graph.shallow();
    }
    return AsciiWalk(&curves, &graph).run(static_cast<const char*>(data), size) &&
           graph.shallow();
}
