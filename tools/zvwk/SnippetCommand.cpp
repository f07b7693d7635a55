// zvwk snippet: the preview line of each input, as a message list shows it.
#include "Commands.h"
#include "InputLoop.h"
#include "mail/MailInput.h"

#include <zv/text/TextSnippet.h>
#include <zv/text/TextSnippetStream.h>

#include <nlohmann/json.hpp>

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <iostream>
#include <mutex>
#include <thread>

namespace zvwk {

namespace {

using Clock = std::chrono::steady_clock;

constexpr long kDefaultMaxLength = 200;

struct SnippetRequest {
    long maxLength = kDefaultMaxLength;
    unsigned options = 0;
    unsigned jobs = std::max(1u, std::thread::hardware_concurrency());
    bool json = false;
    std::vector<std::string> operands;
};

// The whole of `text` as a number; otherwise nothing, with `outOfRange` set
// when it is a number too large for a long.
std::optional<long> parseNumber(const std::string& text, bool& outOfRange) {
    try {
        size_t used = 0;
        long value = std::stol(text, &used);
        if (used == text.size()) return value;
    } catch (const std::out_of_range&) {
        outOfRange = true;
    } catch (const std::invalid_argument&) {
    }
    return std::nullopt;
}

// Returns the usage error, if any.
std::optional<std::string> parseArguments(const Args& args, SnippetRequest& request) {
    static const std::pair<const char*, unsigned> kFlags[] = {
        {"--whole-words", zv::ZVTextSnippetKeepWholeWords},
        {"--invisible-spaces", zv::ZVTextSnippetInvisibleSpacesAsWhitespace},
        {"--skip-title", zv::ZVTextSnippetSkipTitle},
        {"--skip-head", zv::ZVTextSnippetSkipHead},
        {"--preserve-breaks", zv::ZVTextSnippetPreserveLineBreaks},
    };
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& arg = args[i];
        auto flag = std::find_if(std::begin(kFlags), std::end(kFlags), [&](const auto& f) { return arg == f.first; });
        if (flag != std::end(kFlags)) {
            request.options |= flag->second;
        } else if (arg == "--json") {
            request.json = true;
        } else if (arg == "--max" || arg == "--jobs") {
            bool outOfRange = false;
            std::optional<long> value = i + 1 < args.size() ? parseNumber(args[++i], outOfRange) : std::nullopt;
            if (outOfRange) return "snippet: " + arg + " " + quotedForMessage(args[i]) + " is out of range";
            if (!value) return "snippet: " + arg + " needs a number";
            if (arg == "--max") {
                if (*value < 0) return "snippet: --max needs a number of at least 0 (0: no limit)";
                request.maxLength = *value;
            } else {
                if (*value < 1) return "snippet: --jobs needs a number of at least 1";
                request.jobs = unsigned(std::min(*value, 256L));
            }
        } else if (arg.size() > 1 && arg.starts_with("-")) {
            return "snippet: unknown option '" + arg + "'";
        } else {
            request.operands.push_back(arg);
        }
    }
    if (request.operands.empty()) return "snippet: no input (give FILEs, a DIR or -)";
    return std::nullopt;
}

struct Outcome {
    std::optional<std::string> snippet;
    std::string error;  // the whole report when the input could not be read
};

// Inputs are read only as far as the extractor goes: a preview of a huge
// file costs what its first visible text costs.
Outcome snippetOf(const std::string& path, const SnippetRequest& request) {
    Outcome outcome;
    std::error_code error;
    if (path != "-" && !isMessagePath(path)) {
        outcome.snippet = zv::textSnippetForFile(path, request.maxLength, request.options, &error);
    } else if (std::optional<MailHTMLStream> stream = openMailHTMLStream(path, outcome.error)) {
        outcome.snippet = zv::textSnippetForStream(stream->read, stream->transportEncoding, stream->defaultEncoding,
                                                   request.maxLength, request.options, &error);
    }
    if (error) outcome.error = "zvwk: " + path + ": " + error.message();
    return outcome;
}

// A one-line bar on standard error, redrawn in place at most ten times a
// second and only once the work has proved long; cleared before anything
// else goes to the terminal, so it never mixes with output there.
class ProgressBar {
public:
    explicit ProgressBar(size_t total) : total_(total), enabled_(::isatty(STDERR_FILENO) != 0) {}

    void update(size_t done) {
        if (!enabled_) return;
        auto now = Clock::now();
        if (!(total_ > kManyInputs || now - start_ > std::chrono::seconds(1))) return;
        if (now - lastDraw_ < std::chrono::milliseconds(100)) return;
        std::cout.flush();
        size_t filled = total_ ? kWidth * done / total_ : kWidth;
        std::cerr << "\r[" << std::string(filled, '#') << std::string(kWidth - filled, '.') << "] " << done << "/"
                  << total_ << std::flush;
        shown_ = true;
        lastDraw_ = now;
    }

    void clear() {
        if (!shown_) return;
        std::cerr << "\r\033[K" << std::flush;
        shown_ = false;
    }

private:
    static constexpr size_t kManyInputs = 200;
    static constexpr size_t kWidth = 40;
    const size_t total_;
    const bool enabled_;
    const Clock::time_point start_ = Clock::now();
    Clock::time_point lastDraw_;
    bool shown_ = false;
};

// Work on the inputs in parallel, results handed over in input order.
class SnippetJobs {
public:
    SnippetJobs(const std::vector<std::string>& paths, const SnippetRequest& request)
        : paths_(paths), request_(request), outcomes_(paths.size()), done_(paths.size(), false) {
        size_t workers = std::min<size_t>(request.jobs, paths.size());
        for (size_t i = 0; i < workers; ++i) workers_.emplace_back([this] { work(); });
    }

    // The outcome of input `index`, once ready; waits at most `patience`.
    std::optional<Outcome> take(size_t index, std::chrono::milliseconds patience) {
        std::unique_lock lock(mutex_);
        if (!ready_.wait_for(lock, patience, [&] { return bool(done_[index]); })) return std::nullopt;
        return std::move(outcomes_[index]);
    }

private:
    void work() {
        for (size_t index; (index = next_++) < paths_.size();) {
            Outcome outcome = snippetOf(paths_[index], request_);
            {
                std::lock_guard lock(mutex_);
                outcomes_[index] = std::move(outcome);
                done_[index] = true;
            }
            ready_.notify_all();
        }
    }

    const std::vector<std::string>& paths_;
    const SnippetRequest& request_;
    std::vector<Outcome> outcomes_;
    std::vector<bool> done_;
    std::atomic<size_t> next_{0};
    std::mutex mutex_;
    std::condition_variable ready_;
    std::vector<std::jthread> workers_;  // last: joined before the rest goes
};

void printSnippet(const std::string& path, const std::optional<std::string>& snippet, const SnippetRequest& request,
                  bool bare) {
    using json = nlohmann::ordered_json;
    if (request.json) {
        json line = {{"file", path}, {"snippet", snippet ? json(*snippet) : json()}};
        std::cout << line.dump(-1, ' ', false, json::error_handler_t::replace) << "\n";
    } else if (bare) {
        std::cout << snippet.value_or("") << "\n";
    } else {
        std::cout << path << "\t" << snippet.value_or("") << "\n";
    }
}

}  // namespace

int runSnippet(const Args& args) {
    SnippetRequest request;
    if (std::optional<std::string> error = parseArguments(args, request)) return usageError(*error);

    bool failed = false, anyDirectory = false;
    std::vector<std::string> paths = expandInputs(request.operands, failed, &anyDirectory);
    int status = failed ? 1 : 0;
    const bool bare = request.operands.size() == 1 && !anyDirectory;

    ProgressBar progress(paths.size());
    const bool outputIsTerminal = ::isatty(STDOUT_FILENO) != 0;
    SnippetJobs jobs(paths, request);
    for (size_t i = 0; i < paths.size();) {
        std::optional<Outcome> outcome = jobs.take(i, std::chrono::milliseconds(100));
        if (outcome) {
            if (outcome->error.empty()) {
                if (outputIsTerminal) progress.clear();
                printSnippet(paths[i], outcome->snippet, request, bare);
            } else {
                progress.clear();
                std::cout.flush();
                std::cerr << outcome->error << "\n";
                status = 1;
            }
            ++i;
        }
        progress.update(i);
    }
    progress.clear();
    std::cout.flush();
    return status;
}

}  // namespace zvwk
