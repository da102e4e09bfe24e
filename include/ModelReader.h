// ModelReader: the one way a model file becomes a ModelAnswer. The reader (Assimp) is a large
// third-party parser that crashes, overflows its stack, loops or asks for gigabytes on some
// hostile files whatever anyone checks beforehand, so it runs in a child process that fences
// itself in with resource limits before it reads a byte: address space, stack, CPU seconds per
// model, no file writes, no new processes, few descriptors, no core dumps. Whatever a file does
// there ends as an ordinary failed import with its cause, and the child leaves after any failed
// import, so that no later model is read by a heap a bad file touched. The object knows every
// file it has asked for: files asked for ahead of their loads are read on the second core while
// the game uploads the last texture, and each answer waits for its load.
#pragma once

#include "ModelAnswer.h"
#include "ModelImport.h"

#include <sys/types.h>

#include <deque>
#include <string>
#include <vector>

class ModelReader {
public:
    // Where models are read: in the sandboxed child (the game), or in this process (the
    // benchmark's comparison, and tests that compare the two).
    enum class Where { kChild, kHere };
    // How much CPU time one model may take (the terrain takes a fraction of this). The game
    // waits three times as long by the clock: long enough for a child that shares a busy core
    // to meet its CPU limit first, and the end of one that waits for something taking no CPU.
    static constexpr double kImportSeconds = 20.0;
    static constexpr double kWallOverCpu = 3.0;
    // The address space the child may add to what it has when forked: a hundred times the
    // level's largest model's needs.
    static constexpr long kMemoryBytes = 1L << 30;

    // A file to read, and whether to bake its skin frames.
    struct Request {
        std::string file;
        bool bakeFrames = false;
    };

    explicit ModelReader(Where where = Where::kChild, double secondsPerModel = kImportSeconds);
    // Kills and collects the child, if there is one.
    ~ModelReader();
    ModelReader(const ModelReader&) = delete;
    ModelReader& operator=(const ModelReader&) = delete;

    // Forks the child now, if there is none: program entry calls it first, while the process is
    // small (a fork copies the page tables of all that is mapped, and every page either side
    // writes afterwards once more). False, with *failure saying why, when it cannot; the next
    // read tries again.
    bool start(std::string* failure);
    // Asks for these files ahead of the loads that will read them; they are read in this order,
    // each while the game works on the one before. Nothing is sent when reading here.
    void askAhead(const std::vector<Request>& files);
    // Reads the model: the answer to a request asked ahead, or a fresh request. True with the
    // answer in *out; false with *out empty and *failure one line naming the file and the cause
    // (refused, the reader's own error, no usable scene, a limit, a signal, a time-out, a
    // malformed answer). A child that died while other files were asked ahead is replaced and
    // they are asked again; a file whose child died is tried once more in a fresh one, so that
    // only a file that kills its reader twice fails for it.
    bool read(const ModelSource& source, bool bakeFrames, ModelAnswer* out, std::string* failure);

    // The child's process id (0 when there is none), for the tests that kill it.
    pid_t childId() const { return child_; }
    // Children forked so far.
    int childrenStarted() const { return started_; }

private:
    // A request sent to the child, in the order the answers come back.
    struct Asked {
        Request request;  // the absolute file name, or the name of bytes from memory
        std::string name; // as the load gave it, for the log
        const ModelSource* bytes = nullptr; // bytes from memory, while their load waits
        bool answered = false;
        bool retried = false;
        bool imported = false;
        ModelAnswer answer;
        std::string failure;
    };

    bool readHere(const ModelSource& source, bool bakeFrames, ModelAnswer* out,
                  std::string* failure);
    size_t find(const ModelSource& source, bool bakeFrames) const;
    bool ask(const ModelSource& source, bool bakeFrames, std::string* failure);
    bool forkChild(std::string* failure);
    bool send(const Asked& asked, const ModelSource* bytes);
    // Takes the next answer from the child into the first unanswered request, or fails it.
    void receiveNext();
    void fail(Asked& asked, const std::string& cause, bool retry);
    // Kills (when `killFirst`) and collects the child; how it ended, in words.
    std::string endChild(bool killFirst);
    // Forks a fresh child and sends it every unanswered request again; those are failed with
    // the reason when it cannot.
    void restart();
    double limit() const;

    Where where_;
    double seconds_;
    pid_t child_ = 0;
    int socket_ = -1;
    int started_ = 0;
    std::deque<Asked> asked_;
};
