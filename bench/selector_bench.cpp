// Selector matching speed.
//
//   selector_bench [NEWSLETTER.html] [benchmark options]
//
// StyleSheet/*: the selectors of a real newsletter's <style> (default: the
// compiled Foundation for Emails newsletter of the mail corpus), each run as
// one query over the newsletter's <body>, the way a CSS inliner applies a
// style sheet rule by rule. Reports selectors per second and element checks
// (selectors x elements) per second; StyleSheet/Parse times compiling them.
//
// Query/*: querySelectorAll on a generated 5 MB mail-like document for a
// few typical selectors; reports the document's bytes per second of query.
#include <zv/html/CSSSelector.h>
#include <zv/html/HTMLDocument.h>
#include <zv/html/HTMLElement.h>
#include <zv/html/HTMLNodeIterator.h>

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

using namespace zv::html;

namespace {

#ifndef ZV_DEFAULT_NEWSLETTER
#define ZV_DEFAULT_NEWSLETTER "../shared/corpus/mail/foundation-emails-compiled/newsletter.html"
#endif

std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream s;
    s << in.rdbuf();
    return s.str();
}

std::string trim(std::string_view s) {
    size_t b = s.find_first_not_of(" \t\r\n\f");
    if (b == std::string_view::npos) return {};
    size_t e = s.find_last_not_of(" \t\r\n\f");
    return std::string(s.substr(b, e - b + 1));
}

// A style sheet splitter good enough for mail: comments out, at-rules with
// rule blocks (@media, @supports) entered, other at-rules and every
// declaration block skipped, selector lists cut at top-level commas.
class StyleSheetSplitter {
public:
    explicit StyleSheetSplitter(std::string css) : css_(stripComments(std::move(css))) {}

    std::vector<std::string> selectors() {
        std::vector<std::string> out;
        readRules(out);
        return out;
    }

private:
    static std::string stripComments(std::string css) {
        std::string out;
        for (size_t i = 0; i < css.size(); ++i) {
            if (css.compare(i, 2, "/*") == 0) {
                size_t end = css.find("*/", i + 2);
                if (end == std::string::npos) break;
                i = end + 1;
            } else {
                out += css[i];
            }
        }
        return out;
    }

    // Rules until a closing brace or the end.
    void readRules(std::vector<std::string>& out) {
        while (i_ < css_.size()) {
            size_t stop = css_.find_first_of("{};", i_);
            if (stop == std::string::npos) return;
            std::string prelude = trim(std::string_view(css_).substr(i_, stop - i_));
            char c = css_[stop];
            i_ = stop + 1;
            if (c == '}') return;
            if (c == ';') continue;  // @import, @charset
            if (prelude.starts_with("@media") || prelude.starts_with("@supports")) {
                readRules(out);
            } else if (prelude.starts_with("@")) {
                skipBlock();
            } else {
                splitList(prelude, out);
                skipBlock();
            }
        }
    }

    // After an opening brace: up to its closing one.
    void skipBlock() {
        for (int depth = 1; i_ < css_.size() && depth > 0; ++i_) {
            if (css_[i_] == '{') ++depth;
            if (css_[i_] == '}') --depth;
        }
    }

    static void splitList(const std::string& prelude, std::vector<std::string>& out) {
        int depth = 0;
        size_t start = 0;
        for (size_t i = 0; i <= prelude.size(); ++i) {
            char c = i < prelude.size() ? prelude[i] : ',';
            if (c == '(' || c == '[') ++depth;
            if (c == ')' || c == ']') --depth;
            if (c == ',' && depth == 0) {
                std::string selector = trim(std::string_view(prelude).substr(start, i - start));
                if (!selector.empty()) out.push_back(selector);
                start = i + 1;
            }
        }
    }

    std::string css_;
    size_t i_ = 0;
};

// The elements a query on `root` looks at: its descendants.
size_t countDescendantElements(HTMLNode& root) {
    size_t count = 0;
    for (HTMLNode* n = root.firstChild(); n; n = nextNodeInSubtree(n, &root)) count += n->isElement();
    return count;
}

struct Newsletter {
    Ref<HTMLDocument> document;
    std::vector<std::string> texts;
    std::vector<CSSSelector> selectors;
    size_t bodyElements = 0;
};

Newsletter& newsletter() {
    static Newsletter n;
    return n;
}

bool loadNewsletter(const std::string& path) {
    std::string html = readFile(path);
    if (html.empty()) return false;
    Newsletter& n = newsletter();
    n.document = HTMLDocument::documentWithString(html);
    std::string css;
    for (HTMLElement* style : n.document->querySelectorAll("style")) css += style->textContent() + "\n";
    n.texts = StyleSheetSplitter(css).selectors();
    size_t invalid = 0;
    for (const std::string& text : n.texts) {
        n.selectors.push_back(CSSSelector::parse(text));
        invalid += !n.selectors.back().isValid();
    }
    n.bodyElements = countDescendantElements(*n.document->body());
    std::cerr << path << ": " << n.texts.size() << " selectors (" << invalid << " that do not parse), "
              << n.bodyElements << " elements under <body>\n";
    return true;
}

void BM_StyleSheetMatch(benchmark::State& state) {
    Newsletter& n = newsletter();
    HTMLElement* body = n.document->body();
    size_t matches = 0;
    for (auto _ : state) {
        matches = 0;
        for (const CSSSelector& selector : n.selectors) matches += body->elementsMatchingSelector(selector).size();
        benchmark::DoNotOptimize(matches);
    }
    double iterations = double(state.iterations());
    state.counters["selectors/s"] = benchmark::Counter(iterations * n.selectors.size(), benchmark::Counter::kIsRate);
    state.counters["checks/s"] =
        benchmark::Counter(iterations * n.selectors.size() * n.bodyElements, benchmark::Counter::kIsRate);
    state.counters["matches"] = double(matches);
}

void BM_StyleSheetParse(benchmark::State& state) {
    Newsletter& n = newsletter();
    for (auto _ : state)
        for (const std::string& text : n.texts) benchmark::DoNotOptimize(CSSSelector::parse(text));
    state.counters["selectors/s"] =
        benchmark::Counter(double(state.iterations()) * n.texts.size(), benchmark::Counter::kIsRate);
}

// About 5 MB of the markup newsletters are made of: nested layout tables,
// content cells full of links, hidden preheaders, footers, images.
std::string generateMail(size_t targetBytes) {
    std::string html =
        "<!DOCTYPE html><html><head><title>Generated</title></head><body>"
        "<div style=\"display:none\">Preheader text</div>";
    for (int block = 0; html.size() < targetBytes; ++block) {
        std::string n = std::to_string(block);
        html += "<table class=\"wrapper\" width=\"100%\"><tbody><tr><td class=\"header\" align=\"center\">"
                "<div><img src=\"https://cdn.example.com/logo" + n + ".png\" alt=\"Logo\" width=\"120\"></div>"
                "</td></tr>";
        for (int row = 0; row < 6; ++row) {
            std::string r = std::to_string(row);
            html += "<tr><td class=\"content\" style=\"padding: 10px 20px; color: #333333\"><h2>Story " + n + "." +
                    r + "</h2><p>Lorem ipsum dolor sit amet, <a href=\"https://example.com/story/" + n + "/" + r +
                    "\">consectetur</a> adipiscing elit. Sed do eiusmod tempor <b>incididunt</b> ut labore et "
                    "dolore magna aliqua.</p><p><a href=\"mailto:news" + r + "@example.com\">Reply</a> or "
                    "<a href=\"http://example.org/" + n + "\" class=\"button\">Read more</a></p>";
            if (row % 3 == 0) html += "<div><img src=\"https://cdn.example.com/p" + r + ".jpg\" alt=\"\"></div>";
            if (row == 4) html += "<span style=\"display:none\">tracking</span>";
            html += "</td></tr>";
        }
        html += "</tbody></table><div class=\"footer\"><p>You are receiving this because you subscribed.</p>"
                "<p><a href=\"https://example.com/unsubscribe?id=" + n + "\">Unsubscribe</a></p></div>";
    }
    return html + "</body></html>";
}

struct Generated {
    std::string html;
    Ref<HTMLDocument> document;
};

Generated& generated() {
    static Generated g = [] {
        Generated g;
        g.html = generateMail(5 * 1000 * 1000);
        g.document = HTMLDocument::documentWithString(g.html);
        return g;
    }();
    return g;
}

void BM_Query(benchmark::State& state, const std::string& selector) {
    Generated& g = generated();
    size_t matches = 0;
    for (auto _ : state) {
        matches = g.document->querySelectorAll(selector).size();
        benchmark::DoNotOptimize(matches);
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(g.html.size()));
    state.counters["matches"] = double(matches);
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    std::string path = argc > 1 ? argv[1] : "";
    if (path.empty())
        if (const char* env = std::getenv("ZV_BENCH_NEWSLETTER")) path = env;
    if (path.empty()) path = ZV_DEFAULT_NEWSLETTER;

    if (loadNewsletter(path)) {
        benchmark::RegisterBenchmark("StyleSheet/Match", BM_StyleSheetMatch)->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark("StyleSheet/Parse", BM_StyleSheetParse)->Unit(benchmark::kMicrosecond);
    } else {
        std::cerr << path << ": cannot read; style sheet benchmarks skipped\n";
    }
    for (const char* selector : {"td.content a[href^=\"http\"]", ".footer p", "table > tbody > tr:nth-child(2n+1) td",
                                 "[style*=\"display:none\"]", "div:has(> img)"}) {
        benchmark::RegisterBenchmark((std::string("Query/") + selector).c_str(),
                                     [selector](benchmark::State& state) { BM_Query(state, selector); })
            ->Unit(benchmark::kMillisecond);
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
}
