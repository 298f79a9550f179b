// What reading a book costs through the library, and with Pango, zlib and iconv alone.
// bench/README.md says what is measured; scripts/bench runs it.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <time.h>

#include <benchmark/benchmark.h>
#if __has_include(<valgrind/callgrind.h>)
#include <valgrind/callgrind.h>
#else
#define CALLGRIND_TOGGLE_COLLECT
#define CALLGRIND_DUMP_STATS_AT(name) static_cast<void>(name)
#endif

#include "bench/Books.h"
#include "bench/Cases.h"
#include "bench/Memory.h"

namespace {

using bench::Case;
using bench::Image;

constexpr std::size_t kSamples = 48; // of each side, for times
constexpr std::size_t kCountedRounds = 12;

struct Size {
    const char* name;
    std::size_t utf16Bytes;
};
constexpr Size kSizes[] = {{"10 KB", 10240}, {"1 MB", 1 << 20}, {"50 MB", 50 << 20}};
constexpr std::size_t kPagedBytes = 160 << 10; // of the books whose screens are turned

struct Language {
    const char* name;
    const char* sample;
    double insideLimit; // of turns that have nothing to load
    double wholeBookLimit;
};
constexpr Language kLanguages[] = {{"Chinese", bench::kChinese, 0.40, 1.05},
                                   {"English", bench::kEnglish, 0.30, 1.15}};

enum Side { Ours, Bare };
constexpr const char* kSideNames[] = {"ours", "bare"};

// A case with the image it draws into.
struct Bench {
    std::unique_ptr<Case> work;
    Image image;
    std::vector<double> times[2]; // microseconds

    explicit Bench(std::unique_ptr<Case> measured)
        : work(std::move(measured)), image(std::size_t{bench::kWidth} * bench::kHeight) {}

    void Prepare(std::size_t round) {
        work->Prepare(round);
        std::fill(image.begin(), image.end(), static_cast<unsigned char>(0));
    }
    void Do(Side side, std::size_t round) {
        side == Ours ? work->Ours(round, image) : work->Bare(round, image);
    }
};

double Quantile(std::vector<double> values, double share) {
    const auto place = values.begin() +
                       static_cast<std::ptrdiff_t>(share * static_cast<double>(values.size() - 1));
    std::nth_element(values.begin(), place, values.end());
    return *place;
}

double Median(std::vector<double> values) {
    return Quantile(std::move(values), 0.5);
}

double OurTime(const Bench& bench) {
    return Quantile(bench.times[Ours], bench.work->CountsSlowest() ? 0.99 : 0.5);
}

// Of the two runs of each round, which are neighbours in time: when another process takes the
// machine for a while, both feel it.
double Ratio(const Bench& bench) {
    if (bench.work->CountsSlowest())
        return OurTime(bench) / Median(bench.times[Bare]);
    std::vector<double> ratios(bench.times[Ours].size());
    std::transform(bench.times[Ours].begin(), bench.times[Ours].end(), bench.times[Bare].begin(),
                   ratios.begin(), std::divides<>());
    return Median(std::move(ratios));
}

std::vector<Bench> NewBenches(const bench::Books& books, std::size_t jumps, std::size_t biggest) {
    std::vector<Bench> benches;
    for (const Size& size : kSizes)
        if (size.utf16Bytes <= biggest)
            benches.emplace_back(bench::NewOpening(size.name, books.Make(size.utf16Bytes)));
    for (const Language& language : kLanguages)
        for (auto& work :
             bench::NewScreenCases(language.name, books.Make(kPagedBytes, {language.sample}),
                                   language.insideLimit, language.wholeBookLimit, jumps))
            benches.emplace_back(std::move(work));
    for (Bench& bench : benches) // warms both sides
        for (const Side side : {Ours, Bare}) {
            bench.Prepare(0);
            bench.Do(side, 0);
        }
    return benches;
}

// --- times --------------------------------------------------------------------------------------

// Microseconds that this process has had of the processors: what other processes take of them, and
// waiting for the disk, do not count.
double ProcessTime() {
    timespec time = {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_nsec) / 1e3;
}

double Time(Bench& bench, Side side, std::size_t round) {
    bench.Prepare(round);
    const double begin = ProcessTime();
    bench.Do(side, round);
    bench.times[side].push_back(ProcessTime() - begin);
    return bench.times[side].back();
}

// Ours and bare by turns, and by turns first, so that a noisy machine disturbs both alike.
void TimeBothSides(benchmark::State& state, Bench& bench) {
    std::size_t round = 0;
    while (state.KeepRunning()) {
        const Side first = round % 2 ? Bare : Ours;
        const double one = Time(bench, first, round);
        const double other = Time(bench, first == Ours ? Bare : Ours, round);
        state.SetIterationTime((first == Ours ? one : other) / 1e6);
        ++round;
    }
}

void PrintTimes(const std::vector<Bench>& benches) {
    std::puts("\n| Case | Ours, µs | Bare, µs | Ours / bare | Aim |\n|---|---:|---:|---:|---:|");
    for (const Bench& bench : benches) {
        if (bench.times[Ours].empty())
            continue; // left out by --benchmark_filter
        const auto screens = static_cast<double>(bench.work->Screens());
        std::printf("| %s | %.0f | %.0f | %.3f | %.2f |\n", bench.work->Name().c_str(),
                    OurTime(bench) / screens, Median(bench.times[Bare]) / screens, Ratio(bench),
                    bench.work->Limit());
    }
}

// Opening inflates every chunk, so its time should grow with the book and no faster.
void PrintGrowth(const std::vector<Bench>& benches) {
    const std::vector<double>& small = benches[1].times[Ours];
    const std::vector<double>& big = benches[2].times[Ours];
    if (small.empty() || big.empty())
        return;
    const double times =
        static_cast<double>(kSizes[2].utf16Bytes) / static_cast<double>(kSizes[1].utf16Bytes);
    std::printf("\nOpening takes %.2f times as long per MB in the book of %s as in that of %s.\n",
                Median(big) / Median(small) / times, kSizes[2].name, kSizes[1].name);
}

void MeasureTimes() {
    const bench::Books books;
    std::vector<Bench> benches = NewBenches(books, kSamples, kSizes[2].utf16Bytes);
    benches.emplace_back(bench::NewFirstScreen(books.Make(kPagedBytes)));
    for (Bench& bench : benches) {
        const auto time = [&bench](benchmark::State& state) { TimeBothSides(state, bench); };
        benchmark::RegisterBenchmark(bench.work->Name().c_str(), time)
            ->UseManualTime()
            ->Iterations(static_cast<benchmark::IterationCount>(bench.work->Rounds(kSamples)))
            ->Unit(benchmark::kMicrosecond);
    }
    benchmark::RunSpecifiedBenchmarks();
    PrintTimes(benches);
    PrintGrowth(benches);
}

// --- instructions and memory --------------------------------------------------------------------

void Dump(const Bench& bench, Side side, std::size_t screens) {
    char label[128];
    std::snprintf(label, sizeof label, "%s|%.2f|%zu|%s", bench.work->Name().c_str(),
                  bench.work->Limit(), screens, kSideNames[side]);
    CALLGRIND_DUMP_STATS_AT(label);
}

// Under callgrind, writes the count of each case and side to a file of its own; of the slowest
// hundredth, each round's, for scripts/bench to take the highest.
void Count(Bench& bench, Side side, std::size_t rounds) {
    const bool alone = side == Ours && bench.work->CountsSlowest();
    for (std::size_t round = 0; round < rounds; ++round) {
        bench.Prepare(round);
        CALLGRIND_TOGGLE_COLLECT;
        bench.Do(side, round);
        CALLGRIND_TOGGLE_COLLECT;
        if (alone)
            Dump(bench, side, 1);
    }
    if (!alone)
        Dump(bench, side, rounds * bench.work->Screens());
}

void CountInstructions() {
    const bench::Books books;
    for (Bench& bench : NewBenches(books, kCountedRounds, kSizes[1].utf16Bytes))
        for (const Side side : {Ours, Bare})
            Count(bench, side, bench.work->Rounds(kCountedRounds));
}

// In a fresh process, where nothing of the fonts is loaded yet; one round.
void CountFirstScreen(const std::string& side) {
    const bench::Books books;
    Bench first(bench::NewFirstScreen(books.Make(kPagedBytes)));
    Count(first, side == kSideNames[Ours] ? Ours : Bare, 1);
}

// Without chapter tables, whose titles an open book keeps: what is left is what the text costs.
void MeasureMemory() {
    const bench::Books books;
    const std::string program = std::filesystem::read_symlink("/proc/self/exe").string();
    std::puts(
        "\n| Text | Screens | Heap opened, bytes | Heap warm, bytes | Heap kept by paging, bytes "
        "| Peak, KiB | Peak grown by paging, KiB |\n|---|---:|---:|---:|---:|---:|---:|");
    for (const Size& size : kSizes)
        bench::PrintPagingMemory(program, size.name,
                                 books.Make(size.utf16Bytes, bench::kSamples, false));
}

// A font configuration that names a missing file falls back to the system's fonts silently.
void UseFontsOfTheProject() {
    if (!std::filesystem::exists(BENCH_FONTS_CONF))
        throw std::runtime_error(std::string(BENCH_FONTS_CONF) + " is missing");
    setenv("FONTCONFIG_FILE", BENCH_FONTS_CONF, 1);
    setenv("LC_ALL", "C.UTF-8", 1);
}

void Run(int argc, char** argv) {
    UseFontsOfTheProject();
    const std::string mode = argc > 1 ? argv[1] : "";
    if (mode == "--page-through" && argc > 2)
        bench::PageThrough(argv[2]);
    else if (mode == "--first-screen" && argc > 2)
        CountFirstScreen(argv[2]);
    else if (mode == "--instructions")
        CountInstructions();
    else if (mode == "--memory")
        MeasureMemory();
    else
        MeasureTimes();
}

} // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    try {
        Run(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "umdformat_bench: %s\n", error.what());
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
