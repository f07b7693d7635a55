#include "InputLoop.h"

#include "mail/InputFile.h"
#include "mail/MailInput.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <filesystem>
#include <iostream>

namespace zvwk {

namespace {

std::vector<std::string> filesUnder(const std::string& dir, std::string& error) {
    namespace fs = std::filesystem;
    std::vector<std::string> files;
    std::error_code ec;
    fs::recursive_directory_iterator it(dir, fs::directory_options::skip_permission_denied, ec);
    for (; !ec && it != fs::recursive_directory_iterator(); it.increment(ec)) {
        if (it->path().filename().string().starts_with(".")) {
            it.disable_recursion_pending();
            continue;
        }
        std::error_code typeError;
        if (it->is_regular_file(typeError)) files.push_back(it->path().string());
    }
    if (ec) error = "zvwk: " + dir + ": " + ec.message();
    std::sort(files.begin(), files.end());
    return files;
}

// The input's content, or nothing with the whole report in `error`.
std::optional<std::string> readContent(const std::string& path, InputContent content, std::string& error) {
    if (content == InputContent::MailHTML) return readMailHTML(path, error);
    std::string reason;
    std::optional<std::string> bytes = readInput(path, reason);
    if (!bytes) error = "zvwk: " + path + ": " + reason;
    return bytes;
}

}  // namespace

void printResult(const std::string& file, const char* key, std::string value, bool json) {
    if (!json) {
        std::cout << value << "\n";
        return;
    }
    nlohmann::ordered_json line = {{"file", file}, {key, std::move(value)}};
    std::cout << line.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) << "\n";
}

std::optional<std::string> readInput(const std::string& path) {
    std::string error;
    std::optional<std::string> bytes = readContent(path, InputContent::Bytes, error);
    if (!bytes) std::cerr << error << "\n";
    return bytes;
}

std::vector<std::string> expandInputs(const std::vector<std::string>& operands, bool& failed, bool* anyDirectory) {
    std::vector<std::string> inputs;
    for (const std::string& operand : operands) {
        std::error_code ec;
        if (operand == "-" || !std::filesystem::is_directory(operand, ec)) {
            inputs.push_back(operand);
            continue;
        }
        if (anyDirectory) *anyDirectory = true;
        std::string error;
        for (std::string& file : filesUnder(operand, error)) inputs.push_back(std::move(file));
        if (!error.empty()) {
            std::cerr << error << "\n";
            failed = true;
        }
    }
    return inputs;
}

std::optional<int> parseInputArguments(std::string_view command, const Args& args,
                                       std::initializer_list<InputOption> options, InputArguments& parsed) {
    const std::string prefix = std::string(command) + ": ";
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& arg = args[i];
        auto option = std::find_if(options.begin(), options.end(), [&](const InputOption& o) { return arg == o.name; });
        if (option != options.end() && option->values) {
            if (i + 1 == args.size()) return usageError(prefix + arg + " needs " + option->valueNoun);
            option->values->push_back(args[++i]);
        } else if (option != options.end()) {
            *option->flag = true;
        } else if (arg == "--json") {
            parsed.json = true;
        } else if (arg.size() > 1 && arg.starts_with("-")) {
            return usageError(prefix + "unknown option '" + arg + "'");
        } else {
            parsed.operands.push_back(arg);
        }
    }
    if (parsed.operands.empty()) return usageError(prefix + "no input (give FILEs, a DIR or -)");
    return std::nullopt;
}

int forEachInput(const std::vector<std::string>& operands, InputContent content,
                 const std::function<void(const std::string& file, const std::string& content)>& use) {
    bool failed = false;
    int status = 0;
    for (const std::string& file : expandInputs(operands, failed)) {
        std::string error;
        std::optional<std::string> read = readContent(file, content, error);
        if (!read) {
            std::cerr << error << "\n";
            status = 1;
            continue;
        }
        use(file, *read);
    }
    return failed ? 1 : status;
}

int printForEachInput(const InputArguments& arguments, const char* key,
                      const std::function<std::string(const std::string& html)>& result) {
    return forEachInput(arguments.operands, InputContent::MailHTML, [&](const std::string& file, const std::string& html) {
        printResult(file, key, result(html), arguments.json);
    });
}

}  // namespace zvwk
