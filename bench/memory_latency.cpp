// What one load costs when each address depends on the last, by how much
// memory the loads range over: where it jumps is the cache this process really
// gets, which on a shared virtual machine is less than the one it reports.
// scaling_bench's largest sizes are read against it.
//
//   memory_latency [MAX_MIB]     (default 64; sizes double from 1 MiB)
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <numeric>
#include <random>
#include <vector>

namespace {

constexpr size_t kLine = 64;

struct alignas(kLine) Line {
    const Line* next;
};

// Nanoseconds per load, chasing a random cycle through `bytes` of lines.
double nanosecondsPerLoad(size_t bytes) {
    std::vector<Line> lines(bytes / kLine);
    std::vector<size_t> order(lines.size());
    std::iota(order.begin(), order.end(), 0);
    std::shuffle(order.begin(), order.end(), std::mt19937_64(1));
    for (size_t i = 0; i < order.size(); ++i) lines[order[i]].next = &lines[order[(i + 1) % order.size()]];

    const Line* line = &lines[order[0]];
    for (size_t i = 0; i < lines.size(); ++i) line = line->next;  // once round, so the pages exist
    constexpr size_t kLoads = 20'000'000;
    auto start = std::chrono::steady_clock::now();
    for (size_t i = 0; i < kLoads; ++i) line = line->next;
    std::chrono::duration<double, std::nano> spent = std::chrono::steady_clock::now() - start;
    if (!line) std::abort();  // keeps the chase
    return spent.count() / kLoads;
}

}  // namespace

int main(int argc, char** argv) {
    const long maxMiB = argc > 1 ? std::strtol(argv[1], nullptr, 10) : 64;
    if (maxMiB < 1) {
        std::fprintf(stderr, "memory_latency: MAX_MIB must be a whole number of MiB, at least 1\n");
        return 2;
    }
    std::printf("| MiB | ns per dependent load |\n|---:|---:|\n");
    for (size_t mib = 1; mib <= size_t(maxMiB); mib *= 2)
        std::printf("| %zu | %.1f |\n", mib, nanosecondsPerLoad(mib << 20));
    return 0;
}
