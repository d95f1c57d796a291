// ozrz: compresses and decompresses files.
#include <fcntl.h>
#include <unistd.h>

#include <exception>

#include "bench.h"
#include "cleanup.h"
#include "error.h"
#include "job.h"
#include "list.h"
#include "options.h"

namespace {

using namespace ozrz;

// A file must never get the number of a standard stream that the parent left closed: messages would go into it.
void reserveStandardStreams() {
    int descriptor = 0;
    do {
        descriptor = open("/dev/null", O_RDWR | O_CLOEXEC);
    } while (descriptor >= 0 && descriptor <= STDERR_FILENO);
    if (descriptor >= 0) close(descriptor);
}

ExitCode run(int argc, char** argv, Messages& messages) {
    Registry registry;
    const auto parsed = parseCommandLine(argc, argv, registry, messages);
    if (const auto* answered = std::get_if<ExitCode>(&parsed)) return *answered;
    if (const auto* bench = std::get_if<BenchOptions>(&parsed)) {
        runBench(*bench, registry);
        return messages.exitCode();
    }
    const Options& options = std::get<Options>(parsed);
    messages.setVerbosity(options.verbosity);
    if (options.mode == Mode::list) {
        listFiles(options, registry, messages);
    } else {
        JobRunner(options, registry, messages).run();
    }
    return messages.exitCode();
}

}  // namespace

int main(int argc, char** argv) {
    Messages messages;
    try {
        reserveStandardStreams();
        installSignalHandlers();
        return static_cast<int>(run(argc, argv, messages));
    } catch (const std::exception& error) {
        messages.error(error.what());
        return static_cast<int>(messages.exitCode());
    }
}
