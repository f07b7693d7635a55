// The C++ side of bench/binding_bench.py: plain text and snippets of every
// document in a folder, called in process, timed over the same rounds the
// Python side runs through the GObject library.
//
//   binding_peer FOLDER ROUNDS   prints {"plaintext": s, "snippets": s}
#include <zv/html/HTMLDocument.h>
#include <zv/html/HTMLElement.h>
#include <zv/text/PlainText.h>
#include <zv/text/TextSnippet.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::fprintf(stderr, "usage: binding_peer FOLDER ROUNDS\n");
        return 2;
    }
    std::vector<std::filesystem::path> paths;
    for (const auto& entry : std::filesystem::directory_iterator(argv[1]))
        paths.push_back(entry.path());
    std::sort(paths.begin(), paths.end());
    std::vector<std::string> documents;
    for (const auto& path : paths) {
        std::ifstream file(path, std::ios::binary);
        std::ostringstream text;
        text << file.rdbuf();
        documents.push_back(text.str());
    }
    int rounds = std::stoi(argv[2]);
    auto seconds = [&](auto&& work) {
        double best = 1e300;
        for (int round = 0; round < rounds; ++round) {
            auto start = std::chrono::steady_clock::now();
            for (const auto& html : documents)
                work(html);
            best = std::min(best, std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
        }
        return best;
    };
    size_t sink = 0;
    double plain = seconds([&](const std::string& html) {
        auto document = zv::html::HTMLDocument::documentWithString(html);
        sink += zv::plainText(*document->documentElement()).size();
    });
    double snippets = seconds([&](const std::string& html) {
        sink += zv::textSnippetForHTML(html, 200, zv::ZVTextSnippetKeepWholeWords).value_or("").size();
    });
    std::printf("{\"plaintext\": %.6f, \"snippets\": %.6f, \"documents\": %zu, \"sink\": %zu}\n", plain, snippets,
                documents.size(), sink);
    return 0;
}
