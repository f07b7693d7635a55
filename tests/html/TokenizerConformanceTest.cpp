// Runs every case of html5lib-tests' tokenizer/*.test through HTMLTokenizer
// and compares the tokens (parse errors are not compared). Cases that are
// known to fail are listed, with the reason, in tokenizer-known-failures.txt
// beside this file; any other failure fails the test.
#include "HTMLTokenizer.h"

#include "UTF8.h"


#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <optional>
#include <set>
#include <sstream>

namespace {

using nlohmann::json;
using zv::html::HTMLTokenizer;
using zv::html::HTMLTokenizerState;
using zv::html::HTMLTokenType;

namespace fs = std::filesystem;

std::optional<HTMLTokenizerState> stateNamed(const std::string& name) {
    static const std::map<std::string, HTMLTokenizerState> states = {
        {"Data state", HTMLTokenizerState::Data},
        {"PLAINTEXT state", HTMLTokenizerState::PLAINTEXT},
        {"RCDATA state", HTMLTokenizerState::RCDATA},
        {"RAWTEXT state", HTMLTokenizerState::RAWTEXT},
        {"Script data state", HTMLTokenizerState::ScriptData},
        {"CDATA section state", HTMLTokenizerState::CDATASection},
    };
    auto it = states.find(name);
    if (it == states.end()) return std::nullopt;
    return it->second;
}

// The second round of unescaping of "doubleEscaped" cases: \uXXXX sequences,
// surrogate pairs combined. Null when a lone surrogate remains, which UTF-8
// cannot carry.
std::optional<std::string> unescape(const std::string& s) {
    std::string out;
    auto hexAt = [&](size_t i) -> std::optional<char32_t> {
        if (i + 6 > s.size() || s[i] != '\\' || s[i + 1] != 'u') return std::nullopt;
        return char32_t(std::stoul(s.substr(i + 2, 4), nullptr, 16));
    };
    for (size_t i = 0; i < s.size();) {
        auto c = hexAt(i);
        if (!c) {
            out += s[i++];
            continue;
        }
        i += 6;
        if (*c >= 0xDC00 && *c <= 0xDFFF) return std::nullopt;
        if (*c >= 0xD800 && *c <= 0xDBFF) {
            auto low = hexAt(i);
            if (!low || *low < 0xDC00 || *low > 0xDFFF) return std::nullopt;
            i += 6;
            *c = 0x10000 + ((*c - 0xD800) << 10) + (*low - 0xDC00);
        }
        zv::html::appendUTF8(out, *c);
    }
    return out;
}

std::optional<json> unescapeStrings(const json& value) {
    if (value.is_string()) {
        auto s = unescape(value.get<std::string>());
        if (!s) return std::nullopt;
        return json(*s);
    }
    if (value.is_array()) {
        json out = json::array();
        for (const auto& item : value) {
            auto unescaped = unescapeStrings(item);
            if (!unescaped) return std::nullopt;
            out.push_back(*unescaped);
        }
        return out;
    }
    if (value.is_object()) {
        json out = json::object();
        for (const auto& [key, item] : value.items()) {
            auto unescapedKey = unescape(key);
            auto unescaped = unescapeStrings(item);
            if (!unescapedKey || !unescaped) return std::nullopt;
            out[*unescapedKey] = *unescaped;
        }
        return out;
    }
    return value;
}

// Adjacent character tokens become one, as the expected output has them.
json mergeCharacters(const json& tokens) {
    json merged = json::array();
    for (const auto& token : tokens) {
        if (token[0] == "Character" && !merged.empty() && merged.back()[0] == "Character")
            merged.back()[1] = merged.back()[1].get<std::string>() + token[1].get<std::string>();
        else
            merged.push_back(token);
    }
    return merged;
}

json tokenize(const std::string& input, HTMLTokenizerState state, const std::optional<std::string>& lastStartTag) {
    HTMLTokenizer tokenizer(input);
    tokenizer.setState(state);
    if (lastStartTag) tokenizer.setLastStartTagName(*lastStartTag);
    json tokens = json::array();
    auto optionalString = [](const std::optional<std::string>& s) { return s ? json(*s) : json(nullptr); };
    while (const auto* token = tokenizer.nextToken()) {
        switch (token->type) {
        case HTMLTokenType::Character: {
            auto* t = static_cast<const zv::html::HTMLCharacterToken*>(token);
            tokens.push_back({"Character", std::string(t->characters)});
            break;
        }
        case HTMLTokenType::Comment:
            tokens.push_back({"Comment", static_cast<const zv::html::HTMLCommentToken*>(token)->data});
            break;
        case HTMLTokenType::DOCTYPE: {
            auto* t = static_cast<const zv::html::HTMLDOCTYPEToken*>(token);
            tokens.push_back({"DOCTYPE", optionalString(t->name), optionalString(t->publicIdentifier),
                              optionalString(t->systemIdentifier), !t->forceQuirks});
            break;
        }
        case HTMLTokenType::StartTag: {
            auto* t = static_cast<const zv::html::HTMLTagToken*>(token);
            json attributes = json::object();
            for (const auto& a : t->attributes) attributes[a.name] = a.value;
            json tag = {"StartTag", t->tagName, attributes};
            if (t->selfClosing) tag.push_back(true);
            tokens.push_back(tag);
            break;
        }
        case HTMLTokenType::EndTag:
            tokens.push_back({"EndTag", static_cast<const zv::html::HTMLTagToken*>(token)->tagName});
            break;
        default: break;
        }
    }
    return mergeCharacters(tokens);
}

struct CaseId {
    std::string file, description, state;
    auto operator<=>(const CaseId&) const = default;
};

// One JSON array per line: [file, description, initial state, reason]; '#' starts a comment.
std::set<CaseId> readKnownFailures(const fs::path& path) {
    std::set<CaseId> known;
    std::ifstream in(path);
    std::string line;
    while (std::getline(in, line)) {
        if (line.empty() || line[0] == '#') continue;
        auto entry = json::parse(line);
        known.insert({entry.at(0), entry.at(1), entry.at(2)});
    }
    return known;
}

struct Totals {
    int passed = 0, failed = 0, leftOut = 0;
    Totals& operator+=(const Totals& o) {
        passed += o.passed;
        failed += o.failed;
        leftOut += o.leftOut;
        return *this;
    }
};

std::ostream& operator<<(std::ostream& out, const Totals& t) {
    return out << t.passed << " passed, " << t.failed << " failed, " << t.leftOut << " left out";
}

TEST(TokenizerConformance, Html5libTokenizerTests) {
    const char* root = std::getenv("ZV_HTML5LIB_TESTS");
    if (!root || !fs::is_directory(fs::path(root) / "tokenizer"))
        GTEST_SKIP() << "ZV_HTML5LIB_TESTS does not name an html5lib-tests checkout; tokenizer corpus not run";

    const fs::path knownFailuresFile = fs::path(ZV_TESTS_SOURCE_DIR) / "html" / "tokenizer-known-failures.txt";
    ASSERT_TRUE(fs::exists(knownFailuresFile)) << knownFailuresFile;
    const auto knownFailures = readKnownFailures(knownFailuresFile);
    std::vector<fs::path> files;
    for (const auto& entry : fs::directory_iterator(fs::path(root) / "tokenizer"))
        if (entry.path().extension() == ".test") files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    ASSERT_FALSE(files.empty());

    Totals overall;
    std::vector<std::string> unexpectedFailures, fixedKnownFailures;
    for (const auto& path : files) {
        std::ifstream in(path);
        json suite = json::parse(in);
        const json& cases = suite.contains("tests") ? suite["tests"] : suite["xmlViolationTests"];
        const std::string file = path.filename().string();
        Totals totals;
        for (const auto& test : cases) {
            const std::string description = test["description"];
            json states = test.value("initialStates", json::array({"Data state"}));
            std::optional<std::string> lastStartTag;
            if (test.contains("lastStartTag")) lastStartTag = test["lastStartTag"].get<std::string>();
            std::optional<json> input = test["input"], expected = test["output"];
            if (test.value("doubleEscaped", false)) {
                input = unescapeStrings(*input);
                expected = unescapeStrings(*expected);
            }
            for (const std::string stateName : states) {
                if (!input || !expected) {
                    ++totals.leftOut;
                    continue;
                }
                auto state = stateNamed(stateName);
                ASSERT_TRUE(state) << "unknown initial state " << stateName;
                json actual = tokenize(input->get<std::string>(), *state, lastStartTag);
                bool passed = actual == mergeCharacters(*expected);
                bool known = knownFailures.count({file, description, stateName});
                ++(passed ? totals.passed : totals.failed);
                if (passed && known) fixedKnownFailures.push_back(file + ": " + description + " (" + stateName + ")");
                if (!passed && !known) {
                    std::ostringstream s;
                    s << file << ": " << json(description).dump() << " (" << stateName << ")\n    input:    "
                      << json(*input).dump() << "\n    expected: " << expected->dump()
                      << "\n    actual:   " << actual.dump();
                    unexpectedFailures.push_back(s.str());
                }
            }
        }
        std::cout << "  " << file << ": " << totals << "\n";
        overall += totals;
    }
    std::cout << "html5lib tokenizer tests: " << overall << "\n";
    for (const auto& fixed : fixedKnownFailures)
        std::cout << "listed as a known failure but passes now: " << fixed << "\n";

    int counted = overall.passed + overall.failed;
    EXPECT_GE(overall.passed * 1000, counted * 995) << "fewer than 99.5% of the counted cases pass";
    for (const auto& failure : unexpectedFailures) ADD_FAILURE() << failure;
}

}  // namespace
