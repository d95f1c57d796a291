// Removal of the temporary file on signals.
//
// The name is published in an atomic pointer before the file is made, so that there is no moment at which the file
// exists and a signal on any thread would leave it. Removing a file that is not there yet, or not there any more, does
// no harm.
#include "cleanup.h"

#include <signal.h>
#include <unistd.h>

#include <atomic>

namespace ozrz {
namespace {

std::atomic<const char*> temporaryPath = nullptr;
static_assert(std::atomic<const char*>::is_always_lock_free, "the signal handler reads it");

void removeAndDie(int signalNumber) {
    if (const char* path = temporaryPath.load()) unlink(path);
    // The default action, so that the parent sees which signal it was. The signal is blocked while its handler runs and
    // is delivered as soon as this returns.
    signal(signalNumber, SIG_DFL);
    raise(signalNumber);
}

}  // namespace

void installSignalHandlers() {
    struct sigaction action {};
    action.sa_handler = removeAndDie;
    sigfillset(&action.sa_mask);
    for (const int signalNumber : {SIGINT, SIGTERM, SIGHUP, SIGPIPE, SIGQUIT, SIGXCPU, SIGXFSZ}) {
        struct sigaction previous {};
        sigaction(signalNumber, nullptr, &previous);
        if (previous.sa_handler != SIG_IGN) sigaction(signalNumber, &action, nullptr);
    }
}

TemporaryFile::TemporaryFile(std::string path) : path_(std::move(path)) { temporaryPath.store(path_.c_str()); }

TemporaryFile::~TemporaryFile() {
    if (!owned_) return;
    unlink(path_.c_str());
    release();
}

void TemporaryFile::release() {
    temporaryPath.store(nullptr);
    owned_ = false;
}

}  // namespace ozrz
