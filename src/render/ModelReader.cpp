// The game's side of the model reader: our own cheap checks (type, size), the child forked and
// replaced, the requests it was sent in the order their answers come, and one line per failure
// that names the file and the cause. The child's side is in ModelReaderChild.cpp.
#include "ModelReader.h"

#include "ModelWire.h"

#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#if __has_include(<valgrind/valgrind.h>)
#include <valgrind/valgrind.h>
#endif

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <iterator>

// The only formats we read, and the largest model we accept (the level is a few MiB).
static const char* const kModelExtensions[] = {".fbx", ".3ds", ".dae", ".dxf", ".obj"};
static constexpr std::uintmax_t kMaxModelBytes = 64u * 1024 * 1024;
// Valgrind runs the reader some tens of times slower; the limits stretch with it.
static constexpr double kValgrindSlowdown = 20.0;

namespace {

using modelwire::Clock;

std::string lowerExtension(const std::string& name) {
    std::string ext = std::filesystem::path(name).extension().string();
    std::transform(ext.begin(), ext.end(), ext.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return ext;
}

// Why our own checks refuse the model before any reader sees it; empty when they pass.
std::string refusal(const ModelSource& source) {
    const std::string ext = lowerExtension(source.name);
    if (std::none_of(std::begin(kModelExtensions), std::end(kModelExtensions),
                     [&](const char* known) { return ext == known; })) {
        return "of an unknown type";
    }
    std::error_code error;
    if (source.data == nullptr && !std::filesystem::is_regular_file(source.name, error)) {
        return std::filesystem::exists(source.name, error) ? "not a regular file" : "missing";
    }
    const std::uintmax_t bytes =
        source.data != nullptr ? source.size : std::filesystem::file_size(source.name, error);
    if (error) {
        return "unreadable";
    }
    return bytes == 0 ? "empty" : bytes > kMaxModelBytes ? "larger than 64 MiB" : "";
}

// The name the child is sent: a file's absolute name (its working directory may differ).
std::string absoluteName(const std::string& file) {
    std::error_code error;
    return std::filesystem::absolute(file, error).string();
}

// How the child ended, in words.
std::string endOf(int status, double seconds) {
    if (!WIFSIGNALED(status)) {
        return "ended with status " + std::to_string(WEXITSTATUS(status));
    }
    const int signal = WTERMSIG(status);
    if (signal == SIGXCPU) {
        return "used up its " + std::to_string(static_cast<int>(seconds)) + " s of CPU time";
    }
    if (signal == SIGXFSZ) {
        return "tried to write a file";
    }
    return "died of signal " + std::to_string(signal) + " (" + strsignal(signal) + ")";
}

} // namespace

ModelReader::ModelReader(Where where, double secondsPerModel)
    : where_(where), seconds_(secondsPerModel) {
}

ModelReader::~ModelReader() {
    if (child_ != 0) {
        endChild(true);
    }
}

bool ModelReader::start(std::string* failure) {
    failure->clear();
    return where_ == Where::kHere || child_ != 0 || forkChild(failure);
}

double ModelReader::limit() const {
#ifdef RUNNING_ON_VALGRIND
    if (RUNNING_ON_VALGRIND) {
        return seconds_ * kValgrindSlowdown;
    }
#endif
    return seconds_;
}

bool ModelReader::forkChild(std::string* failure) {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) {
        *failure = std::string("the model reader could not be started: ") + std::strerror(errno);
        return false;
    }
    const pid_t child = fork();
    if (child < 0) {
        *failure = std::string("the model reader could not be started: ") + std::strerror(errno);
        close(ends[0]);
        close(ends[1]);
        return false;
    }
    if (child == 0) {
        close(ends[0]);
        modelwire::serveModels(ends[1], limit(), kMemoryBytes);
    }
    close(ends[1]);
    child_ = child;
    socket_ = ends[0];
    ++started_;
    return true;
}

std::string ModelReader::endChild(bool killFirst) {
    close(socket_);
    if (killFirst) {
        kill(child_, SIGKILL);
    }
    int status = 0;
    while (waitpid(child_, &status, 0) < 0 && errno == EINTR) {
    }
    child_ = 0;
    socket_ = -1;
    return endOf(status, limit());
}

// A send that fails leaves the child's death to be found where its answer is awaited.
bool ModelReader::send(const Asked& asked, const ModelSource* bytes) {
    const Request& r = asked.request;
    return modelwire::sendMessage(socket_, r.bakeFrames ? "1" : "0", 1) &&
           modelwire::sendMessage(socket_, r.file.data(), r.file.size()) &&
           modelwire::sendMessage(socket_, bytes != nullptr ? bytes->data : nullptr,
                                  bytes != nullptr ? bytes->size : 0);
}

void ModelReader::askAhead(const std::vector<Request>& files) {
    std::string failure;
    if (where_ == Where::kHere || (child_ == 0 && !forkChild(&failure))) {
        return; // each load then reads on its own and says why it could not
    }
    for (const Request& file : files) {
        ModelSource source;
        source.name = file.file;
        if (refusal(source).empty()) {
            Asked asked;
            asked.request = {absoluteName(file.file), file.bakeFrames};
            asked.name = file.file;
            asked_.push_back(asked);
            send(asked, nullptr);
        }
    }
}

bool ModelReader::read(const ModelSource& source, bool bakeFrames, ModelAnswer* out,
                       std::string* failure) {
    *out = ModelAnswer();
    failure->clear();
    const std::string refused = refusal(source);
    if (!refused.empty()) {
        *failure = "the model file '" + source.name + "' is " + refused;
        return false;
    }
    if (where_ == Where::kHere) {
        return readHere(source, bakeFrames, out, failure);
    }
    const size_t at = find(source, bakeFrames);
    if (at == asked_.size() && !ask(source, bakeFrames, failure)) {
        return false;
    }
    while (!asked_[at].answered) {
        receiveNext();
    }
    Asked done = std::move(asked_[at]);
    asked_.erase(asked_.begin() + static_cast<std::ptrdiff_t>(at));
    *out = std::move(done.answer);
    *failure = done.failure;
    if (!done.imported) {
        out->hasMesh = false;
    }
    return done.imported;
}

// The first request for this file asked ahead; asked_.size() when there is none (bytes from
// memory are never asked ahead).
size_t ModelReader::find(const ModelSource& source, bool bakeFrames) const {
    if (source.data != nullptr) {
        return asked_.size();
    }
    const std::string file = absoluteName(source.name);
    const auto mine = [&](const Asked& a) {
        return a.bytes == nullptr && a.request.file == file && a.request.bakeFrames == bakeFrames;
    };
    return static_cast<size_t>(std::find_if(asked_.begin(), asked_.end(), mine) - asked_.begin());
}

// Sends a request now, behind whatever was asked ahead. Bytes from memory go to an idle child:
// while it writes a large answer and we a large request, neither would read.
bool ModelReader::ask(const ModelSource& source, bool bakeFrames, std::string* failure) {
    if (source.data != nullptr) {
        while (
            std::any_of(asked_.begin(), asked_.end(), [](const Asked& a) { return !a.answered; })) {
            receiveNext();
        }
    }
    if (child_ == 0 && !forkChild(failure)) {
        return false;
    }
    Asked asked;
    asked.name = source.name;
    asked.request = {source.data != nullptr ? source.name : absoluteName(source.name), bakeFrames};
    asked.bytes = source.data != nullptr ? &source : nullptr;
    asked_.push_back(asked);
    send(asked, asked.bytes);
    return true;
}

void ModelReader::receiveNext() {
    Asked& front =
        *std::find_if(asked_.begin(), asked_.end(), [](const Asked& a) { return !a.answered; });
    const double wait = kWallOverCpu * limit();
    const Clock::time_point deadline = Clock::now() + std::chrono::duration_cast<Clock::duration>(
                                                          std::chrono::duration<double>(wait));
    std::string note, bytes;
    if (child_ == 0 || !modelwire::receiveMessage(socket_, &note, &deadline) ||
        !modelwire::receiveMessage(socket_, &bytes, &deadline)) {
        const int reason = child_ == 0 ? EPIPE : errno;
        const bool late = reason == ETIMEDOUT;
        const std::string ended = child_ == 0 ? "could not be started" : endChild(reason != EPIPE);
        fail(front,
             late ? "took longer than " + std::to_string(static_cast<int>(wait)) + " s" : ended,
             !late);
        restart();
        return;
    }
    if (!decodeModelAnswer(bytes.data(), bytes.size(), &front.answer)) {
        endChild(true); // a reader that says this much nonsense is not asked again
        fail(front, "answered malformed", false);
        restart();
        return;
    }
    front.answered = true;
    front.imported = front.answer.outcome == ModelAnswer::kImported;
    if (!front.imported) {
        front.failure = "the model reader on '" + front.name + "'" + note;
        endChild(false); // it ends itself after a failed import
        restart();
    }
}

// The request the child was working on when it ended: tried once more in a fresh child (a
// reader killed from outside is not the file's fault), else failed with the cause.
void ModelReader::fail(Asked& asked, const std::string& cause, bool retry) {
    if (retry && !asked.retried) {
        asked.retried = true;
        return;
    }
    asked.answered = true;
    asked.answer = ModelAnswer();
    asked.failure = "the model reader on '" + asked.name + "' " + cause;
}

void ModelReader::restart() {
    const auto unanswered = [](const Asked& a) { return !a.answered; };
    if (std::none_of(asked_.begin(), asked_.end(), unanswered)) {
        return; // the next request forks one
    }
    std::string failure;
    if (!forkChild(&failure)) {
        for (Asked& asked : asked_) {
            if (!asked.answered) {
                asked.answered = true;
                asked.failure = failure + " for '" + asked.name + "'";
            }
        }
        return;
    }
    for (const Asked& asked : asked_) {
        if (!asked.answered) {
            send(asked, asked.bytes);
        }
    }
}

// In this process the answer still goes through its bytes and back, so that the reading and
// its checks are the same as for a child's answer.
bool ModelReader::readHere(const ModelSource& source, bool bakeFrames, ModelAnswer* out,
                           std::string* failure) {
    ModelAnswer here;
    std::string note;
    importModelHere(source, bakeFrames, &here, &note);
    const std::string bytes = encodeModelAnswer(here);
    if (!decodeModelAnswer(bytes.data(), bytes.size(), out)) {
        *failure = "the model reader on '" + source.name + "' answered malformed";
        return false;
    }
    if (out->outcome != ModelAnswer::kImported) {
        *failure = "the model reader on '" + source.name + "': " + note;
        out->hasMesh = false;
        return false;
    }
    return true;
}
