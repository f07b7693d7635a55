#include "ViewArguments.h"

#include <charconv>

namespace zvwk::viewer {

std::optional<ViewArguments> parseViewArguments(const std::vector<std::string>& args, std::string& error) {
    ViewArguments parsed;
    for (std::size_t i = 0; i < args.size(); ++i) {
        const std::string& arg = args[i];
        bool takesValue = arg == "--screenshot" || arg == "--select" || arg == "--find" || arg == "--page" ||
                          arg == "--follow-link" || arg == "--always-show";
        if (takesValue && i + 1 >= args.size()) {
            error = arg + " needs a value";
            return std::nullopt;
        }
        if (arg == "--screenshot") {
            parsed.screenshot = args[++i];
        } else if (arg == "--find") {
            parsed.find = args[++i];
        } else if (arg == "--page") {
            parsed.page = args[++i];
            if (*parsed.page != "about" && *parsed.page != "help") {
                error = "--page is about or help, not '" + *parsed.page + "'";
                return std::nullopt;
            }
        } else if (arg == "--always-show") {
            parsed.alwaysShow = args[++i];
            if (*parsed.alwaysShow != "sender" && *parsed.alwaysShow != "domain") {
                error = "--always-show is sender or domain, not '" + *parsed.alwaysShow + "'";
                return std::nullopt;
            }
        } else if (arg == "--show-images") {
            parsed.showImages = true;
        } else if (arg == "--end-web-process") {
            parsed.endWebProcess = true;
        } else if (arg == "--select" || arg == "--follow-link") {
            const std::string& value = args[++i];
            std::size_t n = 0;
            auto [end, ec] = std::from_chars(value.data(), value.data() + value.size(), n);
            if (ec != std::errc() || end != value.data() + value.size() || n == 0) {
                error = arg + " wants a number from 1, not '" + value + "'";
                return std::nullopt;
            }
            (arg == "--select" ? parsed.select : parsed.followLink) = n - 1;
        } else if (arg.starts_with("--") && arg.size() > 2) {
            error = "unknown option '" + arg + "'";
            return std::nullopt;
        } else {
            parsed.paths.push_back(arg);
        }
    }
    if (parsed.paths.empty()) {
        error = "view needs a mailbox: an .eml file, a folder, a Maildir or an mbox file";
        return std::nullopt;
    }
    return parsed;
}

}  // namespace zvwk::viewer
