// The main function of every benchmark: EXECUTABLE [--quick] [--benchmark_OPTION...] [-- FILE...]
//
// A ratio of two implementations is only worth something if both met the same machine. So all benchmarks of a process
// are repeated several times in random order, and the report compares medians. --quick takes one short turn instead, to
// see that everything runs. Any option of Google Benchmark may be given and wins over the defaults;
// --benchmark_out=FILE.json writes what report.py reads.

#include <benchmark/benchmark.h>

#include <cstdio>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

#include "support/corpus.h"
#include "support/measure.h"

namespace {

std::string processorName() {
    std::ifstream in("/proc/cpuinfo");
    for (std::string line; std::getline(in, line);) {
        if (line.starts_with("model name")) return line.substr(line.find(':') + 2);
    }
    return "unknown";
}

}  // namespace

int main(int argc, char** argv) {
    std::vector<std::string> options;
    std::vector<std::string> files;
    bool quick = false;
    bool inFiles = false;
    std::string command = std::string_view(argv[0]).substr(std::string_view(argv[0]).rfind('/') + 1).data();
    for (int i = 1; i < argc; ++i) {
        const std::string_view argument = argv[i];
        // Where the results go says nothing about them.
        if (!argument.starts_with("--benchmark_out")) command.append(" ").append(argument);
        if (inFiles) {
            files.emplace_back(argument);
        } else if (argument == "--") {
            inFiles = true;
        } else if (argument == "--quick") {
            quick = true;
        } else {
            options.emplace_back(argument);
        }
    }

    std::vector<std::string> arguments{argv[0]};
    if (quick) {
        arguments.insert(arguments.end(), {"--benchmark_min_time=0.002"});
    } else {
        arguments.insert(arguments.end(),
                         {"--benchmark_min_time=0.02", "--benchmark_repetitions=9",
                          "--benchmark_enable_random_interleaving=true", "--benchmark_display_aggregates_only=true"});
    }
    arguments.insert(arguments.end(), options.begin(), options.end());
    std::vector<char*> pointers;
    for (std::string& argument : arguments) pointers.push_back(argument.data());
    int count = static_cast<int>(pointers.size());
    pointers.push_back(nullptr);

    benchmark::Initialize(&count, pointers.data());
    if (benchmark::ReportUnrecognizedArguments(count, pointers.data())) return 1;

    const ozrdc::bench::Corpus corpus = ozrdc::bench::loadCorpus(files);
    if (corpus.empty()) {
        std::fprintf(stderr, "no input files\n");
        return 1;
    }
    ozrdc::bench::note("processor", processorName());
    ozrdc::bench::note("compiler", OZRDC_COMPILER);
    ozrdc::bench::note("command", command);
    ozrdc::bench::registerBenchmarks(corpus);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
