// Head CSS inlining: zv::applyHeadCSSToContentAndPurge between a parse and a
// serialization, HTML string in and HTML string out, as the CSS inliners on
// npm work (bench/inline_css_peer.js).
//
//   inlinecss_bench BENCH_CORPUS [benchmark options]
//       BENCH_CORPUS is what bench/extract_corpus_html.py writes.
//
// Two inputs, in bytes of HTML per second:
// - InlineCSS/HeadStyled: the documents of BENCH_CORPUS/head-styled/, one
//   after another (the mail corpus's documents that carry a head style sheet);
// - InlineCSS/Newsletter2MB: BENCH_CORPUS/styled-newsletter.html.
// Each document is parsed, its head CSS applied with the purge and no
// exclusions or scopes, and the result serialized.
#include <zv/css/HeadCSSInlining.h>
#include <zv/html/HTMLSerializer.h>

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
using zv::html::HTMLDocument;

std::string readFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream s;
    s << in.rdbuf();
    return s.str();
}

std::vector<std::string> readFolder(const fs::path& folder) {
    std::vector<fs::path> paths;
    std::error_code ec;
    for (const auto& entry : fs::directory_iterator(folder, ec))
        if (entry.is_regular_file()) paths.push_back(entry.path());
    std::sort(paths.begin(), paths.end());
    std::vector<std::string> documents;
    for (const fs::path& path : paths) documents.push_back(readFile(path));
    return documents;
}

std::string inlined(const std::string& html) {
    auto document = HTMLDocument::documentWithString(html);
    zv::applyHeadCSSToContentAndPurge(*document, true, {}, {});
    return zv::html::serializeNode(*document);
}

void registerInput(const char* name, std::vector<std::string> documents) {
    size_t bytes = 0;
    for (const std::string& d : documents) bytes += d.size();
    benchmark::RegisterBenchmark(name, [documents = std::move(documents), bytes](benchmark::State& state) {
        for (auto _ : state)
            for (const std::string& html : documents) {
                std::string out = inlined(html);
                benchmark::DoNotOptimize(out.data());
            }
        state.SetBytesProcessed(int64_t(state.iterations() * bytes));
    })->Unit(benchmark::kMillisecond);
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (argc != 2) {
        std::cerr << "usage: inlinecss_bench BENCH_CORPUS [benchmark options]\n";
        return 2;
    }
    const fs::path root = argv[1];
    std::vector<std::string> styled = readFolder(root / "head-styled");
    std::string newsletter = readFile(root / "styled-newsletter.html");
    if (styled.empty() || newsletter.empty()) {
        std::cerr << "inlinecss_bench: no head-styled/ documents or no styled-newsletter.html in " << argv[1]
                  << " (run bench/extract_corpus_html.py)\n";
        return 1;
    }
    registerInput("InlineCSS/HeadStyled", std::move(styled));
    registerInput("InlineCSS/Newsletter2MB", {std::move(newsletter)});
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
