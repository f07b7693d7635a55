// Plain text of mail HTML: zv::plainText over the mail corpus.
//
//   plaintext_bench BENCH_CORPUS [benchmark options]
//       BENCH_CORPUS is what bench/extract_corpus_html.py writes; the
//       documents of BENCH_CORPUS/corpus/ are converted one after another.
//
// Two measures, both in bytes of HTML per second:
// - PlainText/FromHTML: parse the document and take the plain text of its
//   document element, the whole job a peer converter does from a string;
// - PlainText/ParsedDocument: plainText alone, on documents parsed before
//   the clock starts, as a mail client calls it on a body it already holds.
#include <zv/html/HTMLDocument.h>
#include <zv/text/PlainText.h>

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
using zv::html::Ref;

std::vector<std::string> readCorpus(const fs::path& folder) {
    std::vector<fs::path> paths;
    for (const auto& entry : fs::directory_iterator(folder))
        if (entry.is_regular_file()) paths.push_back(entry.path());
    std::sort(paths.begin(), paths.end());
    std::vector<std::string> documents;
    for (const fs::path& path : paths) {
        std::ifstream in(path, std::ios::binary);
        std::ostringstream s;
        s << in.rdbuf();
        documents.push_back(s.str());
    }
    return documents;
}

size_t totalBytes(const std::vector<std::string>& documents) {
    size_t bytes = 0;
    for (const std::string& d : documents) bytes += d.size();
    return bytes;
}

std::string plainTextOf(const HTMLDocument& document) {
    const zv::html::HTMLElement* root = document.documentElement();
    return root ? zv::plainText(*root) : std::string();
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (argc != 2) {
        std::cerr << "usage: plaintext_bench BENCH_CORPUS [benchmark options]\n";
        return 2;
    }
    static const std::vector<std::string> documents = readCorpus(fs::path(argv[1]) / "corpus");
    if (documents.empty()) {
        std::cerr << "plaintext_bench: no documents in " << argv[1] << "/corpus\n";
        return 1;
    }
    static const size_t bytes = totalBytes(documents);

    benchmark::RegisterBenchmark("PlainText/FromHTML", [](benchmark::State& state) {
        for (auto _ : state)
            for (const std::string& html : documents) {
                std::string text = plainTextOf(*HTMLDocument::documentWithString(html));
                benchmark::DoNotOptimize(text.data());
            }
        state.SetBytesProcessed(int64_t(state.iterations() * bytes));
    })->Unit(benchmark::kMillisecond);

    benchmark::RegisterBenchmark("PlainText/ParsedDocument", [](benchmark::State& state) {
        static const std::vector<Ref<HTMLDocument>> parsed = [] {
            std::vector<Ref<HTMLDocument>> all;
            for (const std::string& html : documents) all.push_back(HTMLDocument::documentWithString(html));
            return all;
        }();
        for (auto _ : state)
            for (const Ref<HTMLDocument>& document : parsed) {
                std::string text = plainTextOf(*document);
                benchmark::DoNotOptimize(text.data());
            }
        state.SetBytesProcessed(int64_t(state.iterations() * bytes));
    })->Unit(benchmark::kMillisecond);

    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
