// Parse throughput of zvhtml next to gumbo on mail HTML, and each parser's
// peak memory on one large mail.
//
//   parse_bench BENCH_CORPUS [benchmark options]
//       BENCH_CORPUS is what bench/extract_corpus_html.py writes: corpus/*
//       (parsed one after another as a list of documents) and
//       synthetic-newsletter.html (the large mail); a 10 MB document of one
//       text node is generated. Reports bytes per second.
//   parse_bench --peak-memory zvhtml|gumbo FILE
//       Parses FILE once and prints how far the parse raised the process's
//       peak resident set above what it held before, in KiB. Run it in a
//       fresh process per parser, so that one parser's freed memory does not
//       hide the other's.
//
// Both parsers build and free a whole tree for every document: zvhtml
// through HTMLDocument::documentWithString and the last Ref's release,
// gumbo through gumbo_parse_with_options and gumbo_destroy_output.
#include <zv/html/HTMLDocument.h>

#include <benchmark/benchmark.h>
#include <gumbo.h>
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace {

namespace fs = std::filesystem;

// A single allocation of the file's size: a temporary copy would raise the
// peak before the parse starts and hide part of the parse's own memory.
std::optional<std::string> readFile(const fs::path& path) {
    std::FILE* file = std::fopen(path.c_str(), "rb");
    if (!file)
        return std::nullopt;
    std::error_code error;
    std::string contents(fs::file_size(path, error), '\0');
    size_t read = std::fread(contents.data(), 1, contents.size(), file);
    std::fclose(file);
    if (error || read != contents.size())
        return std::nullopt;
    return contents;
}

void parseWithZvhtml(const std::string& html) {
    zv::html::Ref<zv::html::HTMLDocument> document = zv::html::HTMLDocument::documentWithString(html);
    benchmark::DoNotOptimize(document.get());
}

// zvhtml collects no parse errors unless asked; gumbo is told not to either.
GumboOptions gumboOptions() {
    GumboOptions options = kGumboDefaultOptions;
    options.max_errors = 0;
    return options;
}

void parseWithGumbo(const std::string& html) {
    static const GumboOptions options = gumboOptions();
    GumboOutput* output = gumbo_parse_with_options(&options, html.data(), html.size());
    benchmark::DoNotOptimize(output);
    gumbo_destroy_output(&options, output);
}

using Parse = void (*)(const std::string&);

void registerBenchmark(const std::string& name, Parse parse, const std::vector<std::string>* documents) {
    size_t bytes = 0;
    for (const std::string& document : *documents)
        bytes += document.size();
    benchmark::RegisterBenchmark(name.c_str(), [parse, documents, bytes](benchmark::State& state) {
        for (auto _ : state) {
            for (const std::string& document : *documents)
                parse(document);
        }
        state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(bytes));
        state.counters["documents"] = double(documents->size());
    })->Unit(benchmark::kMillisecond);
}

// A "Vm…:" line of /proc/self/status, in KiB. VmHWM, unlike getrusage's
// ru_maxrss, belongs to this program alone: ru_maxrss survives exec and
// starts at the peak of whatever process launched the benchmark.
std::optional<long> statusKiB(std::string_view field) {
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.starts_with(field) && line.size() > field.size() && line[field.size()] == ':')
            return std::stol(line.substr(field.size() + 1));
    }
    return std::nullopt;
}

// Writing 5 to clear_refs brings the high-water mark down to the current
// resident set, so what reading the file freed again is not counted.
bool resetPeakResident() {
    std::ofstream clearRefs("/proc/self/clear_refs");
    clearRefs << "5";
    clearRefs.flush();
    return bool(clearRefs);
}

int measurePeakMemory(std::string_view parser, const fs::path& path) {
    Parse parse = parser == "zvhtml" ? parseWithZvhtml : parser == "gumbo" ? parseWithGumbo : nullptr;
    if (!parse) {
        std::cerr << "parse_bench: --peak-memory takes zvhtml or gumbo, not " << parser << '\n';
        return 2;
    }
    auto html = readFile(path);
    if (!html) {
        std::cerr << "parse_bench: " << path.string() << ": cannot read\n";
        return 1;
    }
    const auto baseline = statusKiB("VmRSS");
    if (!baseline || !resetPeakResident()) {
        std::cerr << "parse_bench: --peak-memory needs /proc/self/status and /proc/self/clear_refs\n";
        return 1;
    }
    parse(*html);
    const auto peak = statusKiB("VmHWM");
    std::cout << parser << " peak-memory-kib " << (peak.value_or(0) - *baseline) << " input-bytes " << html->size()
              << '\n';
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 4 && std::string_view(argv[1]) == "--peak-memory")
        return measurePeakMemory(argv[2], argv[3]);

    benchmark::Initialize(&argc, argv);
    if (argc != 2) {
        std::cerr << "usage: parse_bench BENCH_CORPUS [benchmark options]\n"
                     "       parse_bench --peak-memory zvhtml|gumbo FILE\n";
        return 2;
    }
    const fs::path root = argv[1];

    std::vector<std::string> corpus;
    std::vector<fs::path> paths;
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(root / "corpus", error)) {
        if (entry.is_regular_file())
            paths.push_back(entry.path());
    }
    std::sort(paths.begin(), paths.end());
    for (const fs::path& path : paths) {
        if (auto html = readFile(path))
            corpus.push_back(std::move(*html));
    }
    std::vector<std::string> synthetic;
    if (auto html = readFile(root / "synthetic-newsletter.html"))
        synthetic.push_back(std::move(*html));
    if (corpus.empty() || synthetic.empty()) {
        std::cerr << "parse_bench: " << root.string()
                  << ": no corpus/ documents or no synthetic-newsletter.html (run bench/extract_corpus_html.py)\n";
        return 1;
    }

    // One text node of 10 MB: what a long plain-text body wrapped in HTML gives.
    std::vector<std::string> textNode(1, "<!DOCTYPE html><html><body><p>");
    while (textNode[0].size() < 10'000'000) textNode[0] += "one long text node without any markup in it, ";
    textNode[0] += "</p></body></html>";

    registerBenchmark("zvhtml/corpus", parseWithZvhtml, &corpus);
    registerBenchmark("gumbo/corpus", parseWithGumbo, &corpus);
    registerBenchmark("zvhtml/synthetic-5MB", parseWithZvhtml, &synthetic);
    registerBenchmark("gumbo/synthetic-5MB", parseWithGumbo, &synthetic);
    registerBenchmark("zvhtml/text-node-10MB", parseWithZvhtml, &textNode);
    registerBenchmark("gumbo/text-node-10MB", parseWithGumbo, &textNode);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
