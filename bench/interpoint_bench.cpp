// Landmark import and expansion: InterPoint::Run and SelectFace on a
// 1920 x 1080 image.
#include <benchmark/benchmark.h>

#include "bench_util.h"
#include "interpoint.h"

#include <cstdio>
#include <cstring>
#include <memory>

namespace {

void RunAndSelect(benchmark::State &state) {
    std::unique_ptr<NativeFace> record(new NativeFace());
    std::memset(record.get(), 0, sizeof(NativeFace));
    FILE *f = std::fopen(KLAV_BENCH_DATA_DIR "/hopper.face.bin", "rb");
    if (!f || std::fread(record.get(), sizeof(NativeFace), 1, f) != 1) {
        if (f) std::fclose(f);
        state.SkipWithError("cannot read the face record");
        return;
    }
    std::fclose(f);
    std::vector<unsigned char> img = BenchImage(1920, 1080, 4);
    std::unique_ptr<klav::InterPoint> ip(new klav::InterPoint());
    std::FILE *quiet = std::freopen("/dev/null", "w", stderr);
    (void)quiet;
    for (auto _ : state) {
        ip->Run(record.get(), img.data(), 1920, 1080);
        ip->SelectFace(0);
        benchmark::DoNotOptimize(ip->GetResPoint());
    }
}

}  // namespace

BENCHMARK(RunAndSelect)->Name("interpoint_run_select_1920x1080/klav")->Unit(benchmark::kMillisecond);
