// The model reader child: it fences itself in (ReaderSandbox.h) before it reads a byte of any
// request, then imports one model after another and answers each. Whatever a hostile file makes
// the importer do is stopped by the kernel: a stack overflow or a heap the importer damaged ends
// in a signal, a file that spins in SIGXCPU, one that asks for gigabytes in an allocation that
// fails; the game sees the child's end and names it. After any import that fails, the child ends
// itself: the next model is read by a fresh child, never by a heap a bad file touched. It ends
// with _exit, so that nothing of the game's (stdio buffers, atexit handlers) runs twice.
#include "ModelImport.h"
#include "ModelWire.h"
#include "ReaderSandbox.h"

#include <unistd.h>

#include <string>

namespace modelwire {

[[noreturn]] void serveModels(int fd, double secondsPerModel, long memoryBytes) {
    ReaderSandbox::enter(fd, memoryBytes);
    const int socket = ReaderSandbox::kSocketFd;
    std::string flag, name, bytes;
    while (receiveMessage(socket, &flag, nullptr) && receiveMessage(socket, &name, nullptr) &&
           receiveMessage(socket, &bytes, nullptr)) {
        ReaderSandbox::allowCpu(secondsPerModel);
        ReaderSandbox::takeAllocationFailure();
        ModelSource source;
        source.name = name;
        source.data = bytes.empty() ? nullptr : bytes.data();
        source.size = bytes.size();
        ModelAnswer model;
        std::string note, answer;
        try {
            importModelHere(source, flag == "1", &model, &note);
            answer = encodeModelAnswer(model);
        } catch (...) { // the answer's bytes did not fit
            model = ModelAnswer();
            answer = encodeModelAnswer(model);
        }
        // The cause as it follows "the model reader on '<file>'" in the game's log.
        note = ReaderSandbox::takeAllocationFailure() && model.outcome != ModelAnswer::kImported
                   ? " went over its memory limit of " + std::to_string(memoryBytes >> 20) + " MiB"
                   : ": " + note;
        if (!sendMessage(socket, note.data(), note.size()) ||
            !sendMessage(socket, answer.data(), answer.size()) ||
            model.outcome != ModelAnswer::kImported) {
            break;
        }
    }
    _exit(0);
}

} // namespace modelwire
