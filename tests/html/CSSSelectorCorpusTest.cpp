// The selector corpus: selectors/NAME.cases holds selectors and the ids they
// must find in selectors/NAME.html. Each case also checks that querySelector,
// CSSSelector::matches and isValid agree with what querySelectorAll found.
#include <zv/html/CSSSelector.h>
#include <zv/html/HTMLDocument.h>
#include <zv/html/HTMLElement.h>
#include <zv/html/HTMLNodeIterator.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

using namespace zv::html;

namespace {

namespace fs = std::filesystem;

const fs::path kFolder = fs::path(ZV_TESTS_SOURCE_DIR) / "html" / "selectors";

struct SelectorCase {
    int line;
    std::string selector;
    std::string expected;  // ids in document order, "-" for none, "!" for a selector that does not parse
};

std::string readFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream s;
    s << in.rdbuf();
    return s.str();
}

// Lines without a tab are comments.
std::vector<SelectorCase> readCases(const fs::path& path) {
    std::vector<SelectorCase> cases;
    std::istringstream in(readFile(path));
    std::string line;
    for (int number = 1; std::getline(in, line); ++number) {
        size_t tab = line.find('\t');
        if (tab != std::string::npos) cases.push_back({number, line.substr(0, tab), line.substr(tab + 1)});
    }
    return cases;
}

std::string label(const HTMLElement& e) {
    const std::string* id = e.attribute("id");
    return id ? *id : "<" + std::string(e.localName()) + ">";
}

std::string labels(const std::vector<HTMLElement*>& elements) {
    if (elements.empty()) return "-";
    std::string out;
    for (const HTMLElement* e : elements) out += (out.empty() ? "" : " ") + label(*e);
    return out;
}

std::vector<std::string> caseFiles() {
    std::vector<std::string> names;
    if (!fs::is_directory(kFolder)) return names;
    for (const auto& entry : fs::directory_iterator(kFolder))
        if (entry.path().extension() == ".cases") names.push_back(entry.path().stem().string());
    std::sort(names.begin(), names.end());
    return names;
}

class SelectorCorpus : public testing::TestWithParam<std::string> {};

TEST_P(SelectorCorpus, MatchesWhatTheCasesSay) {
    const fs::path html = kFolder / (GetParam() + ".html");
    ASSERT_TRUE(fs::exists(html)) << html;
    Ref<HTMLDocument> document = HTMLDocument::documentWithString(readFile(html));
    std::vector<SelectorCase> cases = readCases(kFolder / (GetParam() + ".cases"));
    ASSERT_FALSE(cases.empty());

    std::vector<HTMLElement*> everyElement;
    for (HTMLNode* n = document.get(); n; n = nextNodeInSubtree(n, document.get()))
        if (auto* e = n->as<HTMLElement>()) everyElement.push_back(e);

    for (const SelectorCase& c : cases) {
        SCOPED_TRACE(GetParam() + ".cases:" + std::to_string(c.line) + ": " + c.selector);
        CSSSelector selector = CSSSelector::parse(c.selector);
        EXPECT_EQ(selector.isValid(), c.expected != "!");

        std::vector<HTMLElement*> found = document->querySelectorAll(c.selector);
        EXPECT_EQ(labels(found), c.expected == "!" ? "-" : c.expected);
        EXPECT_EQ(document->querySelector(c.selector), found.empty() ? nullptr : found.front());

        // matches() scopes :scope to the element itself, the queries to the root.
        if (c.selector.find(":scope") != std::string::npos) continue;
        for (HTMLElement* e : everyElement) {
            bool listed = std::find(found.begin(), found.end(), e) != found.end();
            EXPECT_EQ(selector.matches(*e), listed) << label(*e);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Cases, SelectorCorpus, testing::ValuesIn(caseFiles()),
                         [](const testing::TestParamInfo<std::string>& info) {
                             std::string name = info.param;
                             std::replace(name.begin(), name.end(), '-', '_');
                             return name;
                         });

}  // namespace
