// zvwk tokenize: the tokens of a file, as one JSON array in html5lib-tests'
// tokenizer format, adjacent characters merged, without errors or EOF.
#include "Commands.h"
#include "InputLoop.h"

#include "HTMLTokenizer.h"

#include <nlohmann/json.hpp>

#include <iostream>
#include <map>

namespace zvwk {

namespace {

using nlohmann::ordered_json;
using namespace zv::html;

const std::map<std::string, HTMLTokenizerState> kStates = {
    {"data", HTMLTokenizerState::Data},
    {"plaintext", HTMLTokenizerState::PLAINTEXT},
    {"rcdata", HTMLTokenizerState::RCDATA},
    {"rawtext", HTMLTokenizerState::RAWTEXT},
    {"script-data", HTMLTokenizerState::ScriptData},
    {"cdata-section", HTMLTokenizerState::CDATASection},
};

ordered_json optionalString(const std::optional<std::string>& s) { return s ? ordered_json(*s) : ordered_json(); }

ordered_json tokenJSON(const HTMLToken& token) {
    switch (token.type) {
    case HTMLTokenType::Comment:
        return {"Comment", static_cast<const HTMLCommentToken&>(token).data};
    case HTMLTokenType::DOCTYPE: {
        const auto& t = static_cast<const HTMLDOCTYPEToken&>(token);
        return {"DOCTYPE", optionalString(t.name), optionalString(t.publicIdentifier),
                optionalString(t.systemIdentifier), !t.forceQuirks};
    }
    case HTMLTokenType::StartTag: {
        const auto& t = static_cast<const HTMLTagToken&>(token);
        ordered_json attributes = ordered_json::object();
        for (const auto& a : t.attributes) attributes[a.name] = a.value;
        ordered_json tag = {"StartTag", t.tagName, attributes};
        if (t.selfClosing) tag.push_back(true);
        return tag;
    }
    case HTMLTokenType::EndTag:
        return {"EndTag", static_cast<const HTMLTagToken&>(token).tagName};
    default:
        return nullptr;
    }
}

}  // namespace

int runTokenize(const Args& args) {
    auto state = HTMLTokenizerState::Data;
    std::string lastStartTag, path;
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& arg = args[i];
        if (arg == "--state" || arg == "--last-start-tag") {
            if (i + 1 == args.size()) return usageError("tokenize: " + arg + " needs a value");
            const std::string& value = args[++i];
            if (arg == "--last-start-tag") {
                lastStartTag = value;
                continue;
            }
            auto it = kStates.find(value);
            if (it == kStates.end()) return usageError("tokenize: unknown state '" + value + "'");
            state = it->second;
        } else if (arg.size() > 1 && arg[0] == '-') {
            return usageError("tokenize: unknown option '" + arg + "'");
        } else if (!path.empty()) {
            return usageError("tokenize: one input at a time");
        } else {
            path = arg;
        }
    }
    if (path.empty()) return usageError("tokenize: no input given (a file, or - for standard input)");

    auto html = readInput(path);
    if (!html) return 1;
    HTMLTokenizer tokenizer(*html);
    tokenizer.setState(state);
    if (!lastStartTag.empty()) tokenizer.setLastStartTagName(lastStartTag);

    ordered_json tokens = ordered_json::array();
    std::string characters;
    auto flushCharacters = [&] {
        if (characters.empty()) return;
        tokens.push_back({"Character", characters});
        characters.clear();
    };
    while (const HTMLToken* token = tokenizer.nextToken()) {
        if (token->type == HTMLTokenType::Character) {
            characters += static_cast<const HTMLCharacterToken*>(token)->characters;
            continue;
        }
        flushCharacters();
        if (token->type != HTMLTokenType::EndOfFile) tokens.push_back(tokenJSON(*token));
    }
    flushCharacters();
    std::cout << tokens.dump() << "\n";
    return std::cout ? 0 : 1;
}

}  // namespace zvwk
