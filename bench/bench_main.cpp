// Benchmark driver. A case is timed as "<case>/klav" and against one or more
// peers as "<case>/peer" or "<case>/peer_<name>" (OpenCV or a plain
// reference loop); after the run the driver prints for each case the ratio
// of our time to each peer's.
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
            else if (side.rfind("peer", 0) == 0) peer_[key + (side.size() > 4 ? " vs " + side.substr(5) : "")] = seconds;
        }
    }
    void PrintRatios() const {
        std::printf("\nratio ours/peer (below 1 means klav is faster)\n");
        for (const auto &peer : peer_) {
            const std::string key = peer.first.substr(0, peer.first.find(" vs "));
            auto ours = ours_.find(key);
            if (ours == ours_.end() || peer.second <= 0) continue;
            std::printf("  %-56s %6.2f\n", peer.first.c_str(), ours->second / peer.second);
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
