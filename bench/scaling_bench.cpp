// How each operation grows with its input, on generated mail of the shapes
// that have gone quadratic before: citations side by side, divs nested deep,
// a wide flat body, one huge text node, a big table, quoting six levels deep
// repeated, one element with very many attributes, and one element that every
// rule of a long head style sheet matches.
//
//   scaling_bench [--scale F] [--shape NAME] [--op NAME] [--size I]
//
// Every shape is generated at four sizes, each 4x the one before (F scales
// them all; the default goes from about 3k to 200k elements). For every
// operation (parse, plain text, snippet of the string in memory, purge and
// inline of a two-rule head style sheet, serialize, select) it prints the CPU time per
// size and the growth exponent: the slope of log time over log input size,
// fitted to the last three sizes. Linear work gives 1.
//
// --size I runs only the I-th size (0 to 3), once, and prints no exponent: for
// a profiler that counts the work itself (scripts/scaling-work runs it under
// callgrind), which a clock cannot tell from waiting on memory.
#include <zv/css/HeadCSSInlining.h>
#include <zv/css/HeadCSSPurge.h>
#include <zv/html/HTMLDocument.h>
#include <zv/html/HTMLElement.h>
#include <zv/html/HTMLParser.h>
#include <zv/text/PlainText.h>
#include <zv/text/TextSnippet.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <functional>
#include <string>
#include <vector>

namespace {

using zv::html::HTMLDocument;
using zv::html::Ref;

const char* kHead =
    "<!DOCTYPE html><html><head><style>p { color: #333 } .note div { margin: 0 }</style></head><body>";
const char* kTail = "</body></html>";

std::string repeat(size_t n, const std::function<void(std::string&, size_t)>& unit) {
    std::string html = kHead;
    for (size_t i = 0; i < n; ++i) unit(html, i);
    return html + kTail;
}

struct Shape {
    const char* name;
    std::function<std::string(size_t)> make;  // about n elements
};

const std::vector<Shape>& shapes() {
    static const std::vector<Shape> all = {
        {"citations",
         [](size_t n) {
             return repeat(n / 6, [](std::string& s, size_t i) {
                 s += "<div><blockquote type=cite><div><br></div><p>Quoted line " + std::to_string(i) +
                      " of an earlier message.</p></blockquote></div>";
             });
         }},
        {"nested-divs",
         [](size_t n) {
             std::string html = kHead;
             for (size_t i = 0; i < n; ++i) html += i % 2 ? "<div class=note>" : "<div>";
             html += "<p>At the bottom.</p>";
             for (size_t i = 0; i < n; ++i) html += "</div>";
             return html + kTail;
         }},
        {"wide-body",
         [](size_t n) {
             return repeat(n, [](std::string& s, size_t i) {
                 s += i % 3 ? "<p>A paragraph of a wide body.</p>" : "<div>A block <b>with</b> some words.</div>";
             });
         }},
        {"huge-text",
         [](size_t n) {
             std::string html = kHead;
             html += "<p>";
             for (size_t i = 0; i < n; ++i) html += "one long text node without any markup in it, ";
             return html + "</p>" + kTail;
         }},
        {"table",
         [](size_t n) {
             std::string html = kHead;
             html += "<table>";
             for (size_t row = 0; row < n / 10; ++row) {
                 html += "<tr>";
                 for (int cell = 0; cell < 10; ++cell) html += "<td>" + std::to_string(cell) + "</td>";
                 html += "</tr>";
             }
             return html + "</table>" + kTail;
         }},
        {"quoting-6-deep",
         [](size_t n) {
             return repeat(n / 12, [](std::string& s, size_t) {
                 for (int level = 0; level < 6; ++level) s += "<blockquote type=cite><p>On a day, someone wrote:</p>";
                 for (int level = 0; level < 6; ++level) s += "</blockquote>";
             });
         }},
        {"attributes",
         [](size_t n) {
             std::string html = kHead;
             html += "<p";
             for (size_t i = 0; i < n; ++i) html += " data-a" + std::to_string(i) + "=v";
             return html + ">One element, many attributes.</p>" + kTail;
         }},
        {"rules-on-one-element",
         [](size_t n) {
             // A head rule per class, every one matching the one paragraph.
             std::string html = "<!DOCTYPE html><html><head><style>";
             std::string classes;
             for (size_t i = 0; i < n; ++i) {
                 html += ".c" + std::to_string(i) + " { margin: " + std::to_string(i % 10) + "px }\n";
                 classes += " c" + std::to_string(i);
             }
             return html + "</style></head><body><p class=\"" + classes + "\">One element, every rule.</p>" + kTail;
         }},
    };
    return all;
}

Ref<HTMLDocument> parse(const std::string& html) { return zv::html::HTMLParser(html).parseDocument(); }

size_t sink = 0;

struct Operation {
    const char* name;
    bool needsDocument;
    std::function<void(const std::string&, HTMLDocument*)> run;
};

const std::vector<Operation>& operations() {
    static const std::vector<Operation> all = {
        {"parse", false, [](const std::string& html, HTMLDocument*) { sink += parse(html)->childNodesCount(); }},
        {"plain text", true,
         [](const std::string&, HTMLDocument* document) { sink += zv::plainText(*document->documentElement()).size(); }},
        {"snippet", false,
         [](const std::string& html, HTMLDocument*) {
             sink += zv::textSnippetForHTML(html, 200, 0).value_or("").size();
         }},
        {"purge", true, [](const std::string&, HTMLDocument* document) { zv::purgeHeadCSSWithFilters(*document, {}); }},
        {"inline", true,
         [](const std::string&, HTMLDocument* document) {
             zv::applyHeadCSSToContentAndPurge(*document, true, {}, {});
         }},
        {"serialize", true,
         [](const std::string&, HTMLDocument* document) { sink += document->documentElement()->outerHTML().size(); }},
        {"select", true,
         [](const std::string&, HTMLDocument* document) {
             for (const char* selector : {"blockquote[type=cite] p", "div > br", "td + td", "p:nth-child(2n+1)"})
                 sink += document->querySelectorAll(selector).size();
         }},
    };
    return all;
}

double cpuSeconds() {
    timespec t{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
    return double(t.tv_sec) + double(t.tv_nsec) * 1e-9;
}

// The fastest of a few runs, each on a fresh document when it needs one
// (purge and inline change it); parsing it is not counted.
double secondsFor(const Operation& op, const std::string& html) {
    double best = 1e300, spent = 0;
    for (int run = 0; run < 5 && (run < 2 || spent < 0.3); ++run) {
        Ref<HTMLDocument> document = op.needsDocument ? parse(html) : Ref<HTMLDocument>();
        double start = cpuSeconds();
        op.run(html, document.get());
        double seconds = cpuSeconds() - start;
        best = std::min(best, seconds);
        spent += seconds;
        if (seconds > 2) break;
    }
    return best;
}

// One run of one operation, under a name a profiler can be told to count in.
[[gnu::noinline]] void profiledRun(const Operation& op, const std::string& html, HTMLDocument* document) {
    op.run(html, document);
}

// Least squares slope of log(seconds) over log(bytes).
double exponent(const std::vector<double>& bytes, const std::vector<double>& seconds, size_t from) {
    double n = 0, sx = 0, sy = 0, sxx = 0, sxy = 0;
    for (size_t i = from; i < bytes.size(); ++i) {
        double x = std::log(bytes[i]), y = std::log(std::max(seconds[i], 1e-7));
        n += 1, sx += x, sy += y, sxx += x * x, sxy += x * y;
    }
    return (n * sxy - sx * sy) / (n * sxx - sx * sx);
}

const char* option(int argc, char** argv, const char* name) {
    for (int i = 1; i + 1 < argc; ++i)
        if (!std::strcmp(argv[i], name)) return argv[i + 1];
    return nullptr;
}

}  // namespace

int main(int argc, char** argv) {
    const char* scaleText = option(argc, argv, "--scale");
    const char* onlyShape = option(argc, argv, "--shape");
    const char* onlyOp = option(argc, argv, "--op");
    const char* onlySize = option(argc, argv, "--size");
    if (onlySize && (std::strlen(onlySize) != 1 || onlySize[0] < '0' || onlySize[0] > '3')) {
        std::fprintf(stderr, "scaling_bench: --size takes 0, 1, 2 or 3\n");
        return 2;
    }
    double scale = scaleText ? std::atof(scaleText) : 1.0;
    std::vector<size_t> sizes;
    for (size_t i = 0; i < 4; ++i) sizes.push_back(size_t(3125 * scale) << (2 * i));

    std::printf("| shape | operation | 1x | 4x | 16x | 64x | exponent |\n|---|---|---|---|---|---|---|\n");
    for (const Shape& shape : shapes()) {
        if (onlyShape && std::strcmp(onlyShape, shape.name)) continue;
        std::vector<std::string> inputs;
        std::vector<double> bytes;
        for (size_t n : sizes) {
            inputs.push_back(shape.make(n));
            bytes.push_back(double(inputs.back().size()));
        }
        std::printf("| %s (%.2f to %.1f MB) | | | | | | |\n", shape.name, bytes.front() / 1e6, bytes.back() / 1e6);
        for (const Operation& op : operations()) {
            if (onlyOp && std::strcmp(onlyOp, op.name)) continue;
            if (onlySize) {
                const std::string& html = inputs[size_t(onlySize[0] - '0')];
                Ref<HTMLDocument> document = op.needsDocument ? parse(html) : Ref<HTMLDocument>();
                double start = cpuSeconds();
                profiledRun(op, html, document.get());
                std::printf("| | %s | size %s, %.2f MB, %.4f s |\n", op.name, onlySize, double(html.size()) / 1e6,
                            cpuSeconds() - start);
                continue;
            }
            std::vector<double> seconds;
            for (const std::string& html : inputs) seconds.push_back(secondsFor(op, html));
            std::printf("| | %s | %.4f s | %.4f s | %.4f s | %.4f s | %.2f |\n", op.name, seconds[0], seconds[1],
                        seconds[2], seconds[3], exponent(bytes, seconds, 1));
            std::fflush(stdout);
        }
    }
    return sink == 42;  // keeps the results alive
}
