// Benchmark driver. Benchmarks come in pairs named "<case>/klav" and
// "<case>/peer" (the peer being OpenCV or a plain reference loop); after the
// run, the driver prints for each pair the ratio of our time to the peer's.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>

namespace {

class RatioReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run> &runs) override {
        ConsoleReporter::ReportRuns(runs);
        for (const Run &run : runs) {
            if (run.run_type != Run::RT_Iteration || run.iterations == 0) continue;
            // The registered name, without arguments or time settings.
            std::string name = run.run_name.function_name;
            size_t slash = name.rfind('/');
            if (slash == std::string::npos) continue;
            std::string side = name.substr(slash + 1);
            std::string key = name.substr(0, slash);
            double seconds = run.GetAdjustedRealTime();
            if (side.rfind("klav", 0) == 0) ours_[key] = seconds;
            else if (side.rfind("peer", 0) == 0) peer_[key] = seconds;
        }
    }
    void PrintRatios() const {
        std::printf("\nratio ours/peer (below 1 means klav is faster)\n");
        for (const auto &kv : ours_) {
            auto it = peer_.find(kv.first);
            if (it == peer_.end() || it->second <= 0) continue;
            std::printf("  %-48s %6.2f\n", kv.first.c_str(), kv.second / it->second);
        }
    }

private:
    std::map<std::string, double> ours_, peer_;
};

}  // namespace

int main(int argc, char **argv) {
    benchmark::Initialize(&argc, argv);
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    reporter.PrintRatios();
    benchmark::Shutdown();
    return 0;
}
