// Snippet extraction speed.
//
//   snippet_bench BENCH_CORPUS [benchmark options]
//
// BENCH_CORPUS is what bench/extract_corpus_html.py writes (scripts/
// run-benchmarks makes it): synthetic-newsletter.html and corpus/*.html.
//
// Snippet/5MB and Snippet/5KB: a 200-character preview of the 5 MB synthetic
// mail and of its first 5 KB (cut before a tag). Both give the same snippet,
// so the two times differ only by what the extractor reads past it: with the
// tokenizer stopped at the limit, nothing.
//
// Snippet/Corpus: a 200-character preview of every corpus document in turn,
// the way a message list fills its preview column; bytes/s counts the whole
// documents. scripts/run-benchmarks sets it beside html-to-text.
//
// SnippetFile/Streamed/MB and SnippetFile/WholeFile/MB: a 200-character
// preview of a file of 1, 4, 16 and 64 MB (the synthetic mail repeated),
// read and decoded only as far as the extractor goes, beside reading and
// decoding the whole file first. scripts/run-benchmarks prints how each
// grows with the size (the exponent of time ~ size^k).
#include <zv/html/HTMLEncoding.h>
#include <zv/text/TextSnippet.h>
#include <zv/text/TextSnippetStream.h>

#include <unistd.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

constexpr long kPreviewLength = 200;

std::string readFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream s;
    s << in.rdbuf();
    return s.str();
}

struct Inputs {
    std::string large;
    std::string small;
    std::vector<std::string> corpus;
    size_t corpusBytes = 0;
    fs::path files;  // a temporary folder with one file per size
};

constexpr int kFileSizesMB[] = {1, 4, 16, 64};

Inputs& inputs() {
    static Inputs shared;
    return shared;
}

void snippetOf(benchmark::State& state, const std::string& html) {
    for (auto _ : state) benchmark::DoNotOptimize(zv::textSnippetForHTML(html, kPreviewLength, 0));
    state.counters["input_bytes"] = double(html.size());
}

void BM_Snippet5MB(benchmark::State& state) { snippetOf(state, inputs().large); }
void BM_Snippet5KB(benchmark::State& state) { snippetOf(state, inputs().small); }

void BM_SnippetCorpus(benchmark::State& state) {
    for (auto _ : state)
        for (const std::string& html : inputs().corpus)
            benchmark::DoNotOptimize(zv::textSnippetForHTML(html, kPreviewLength, 0));
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(inputs().corpusBytes));
    state.SetItemsProcessed(int64_t(state.iterations()) * int64_t(inputs().corpus.size()));
}

fs::path fileOfSize(int megabytes) { return inputs().files / (std::to_string(megabytes) + "MB.html"); }

void BM_SnippetFileStreamed(benchmark::State& state) {
    const std::string path = fileOfSize(int(state.range(0))).string();
    for (auto _ : state) benchmark::DoNotOptimize(zv::textSnippetForFile(path, kPreviewLength, 0, nullptr));
}

// What zvwk snippet did before: the whole file read, then decoded, then the preview.
void BM_SnippetFileWhole(benchmark::State& state) {
    const fs::path path = fileOfSize(int(state.range(0)));
    for (auto _ : state) {
        std::string bytes = readFile(path);
        zv::html::SniffedEncoding sniffed = zv::html::sniffEncoding(bytes, {}, "UTF-8");
        std::string html = zv::html::decodeToUTF8(std::string_view(bytes).substr(sniffed.bomLength), sniffed.encoding);
        benchmark::DoNotOptimize(zv::textSnippetForHTML(html, kPreviewLength, 0));
    }
}

void fileSizes(benchmark::internal::Benchmark* bench) {
    for (int megabytes : kFileSizesMB) bench->Arg(megabytes);
}

BENCHMARK(BM_Snippet5MB)->Name("Snippet/5MB");
BENCHMARK(BM_Snippet5KB)->Name("Snippet/5KB");
BENCHMARK(BM_SnippetCorpus)->Name("Snippet/Corpus")->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SnippetFileStreamed)->Name("SnippetFile/Streamed")->Apply(fileSizes)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_SnippetFileWhole)->Name("SnippetFile/WholeFile")->Apply(fileSizes)->Unit(benchmark::kMillisecond);

// The synthetic mail over and over, cut at the size.
bool writeFiles(const std::string& mail) {
    Inputs& in = inputs();
    in.files = fs::temp_directory_path() / ("zv-snippet-bench-" + std::to_string(::getpid()));
    std::error_code error;
    fs::create_directories(in.files, error);
    for (int megabytes : kFileSizesMB) {
        std::ofstream out(fileOfSize(megabytes), std::ios::binary);
        const size_t size = size_t(megabytes) << 20;
        for (size_t written = 0; written < size; written += mail.size())
            out << std::string_view(mail).substr(0, size - written);
        if (!out) return false;
    }
    return !error;
}

bool load(const fs::path& folder) {
    Inputs& in = inputs();
    in.large = readFile(folder / "synthetic-newsletter.html");
    if (in.large.empty()) return false;
    size_t cut = in.large.rfind('<', 5 * 1024);
    in.small = in.large.substr(0, cut);

    std::vector<fs::path> paths;
    if (fs::is_directory(folder / "corpus"))
        for (const auto& entry : fs::directory_iterator(folder / "corpus")) paths.push_back(entry.path());
    std::sort(paths.begin(), paths.end());
    for (const fs::path& path : paths) {
        in.corpus.push_back(readFile(path));
        in.corpusBytes += in.corpus.back().size();
    }
    if (zv::textSnippetForHTML(in.large, kPreviewLength, 0) != zv::textSnippetForHTML(in.small, kPreviewLength, 0)) {
        std::cerr << "snippet_bench: the 5 KB prefix gives another snippet than the whole mail\n";
        return false;
    }
    if (!writeFiles(in.large)) {
        std::cerr << "snippet_bench: cannot write the files to preview under " << in.files << "\n";
        return false;
    }
    if (zv::textSnippetForFile(fileOfSize(64).string(), kPreviewLength, 0, nullptr) !=
        zv::textSnippetForHTML(in.large, kPreviewLength, 0)) {
        std::cerr << "snippet_bench: the 64 MB file gives another snippet than the mail it repeats\n";
        return false;
    }
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (argc < 2 || !load(argv[1])) {
        std::error_code error;
        if (!inputs().files.empty()) fs::remove_all(inputs().files, error);
        std::cerr << "usage: snippet_bench BENCH_CORPUS [benchmark options]\n"
                     "  BENCH_CORPUS: the folder bench/extract_corpus_html.py writes\n";
        return 2;
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    std::error_code error;
    fs::remove_all(inputs().files, error);
    return 0;
}
