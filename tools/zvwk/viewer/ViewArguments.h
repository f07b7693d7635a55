// The command line of `zvwk view`.
//
//   zvwk view [--screenshot FILE.png] [--select N] [--find TEXT] [--page about|help] [--show-images]
//             [--follow-link N] [--always-show sender|domain] [--end-web-process] PATH...
//
// --select N shows the Nth conversation of the list (1 is the newest);
// --screenshot renders the window without a user, writes the PNG once the
// conversation has loaded and exits; --find searches the conversation first;
// --page opens the About or Help window too (and is what --screenshot draws);
// --show-images presses "Show remote content" on the newest card once loaded;
// --follow-link N clicks that card's Nth link (from 1) as the reader would,
// and the link warning that may come up is drawn over the window;
// --always-show chooses "Always show remote content" for the newest card's
// sender or domain, as the bar's menu would (the choice is kept);
// --end-web-process ends the web process of the conversation once loaded, so
// the window shows what a reader sees when it crashes.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace zvwk::viewer {

struct ViewArguments {
    std::vector<std::string> paths;
    std::optional<std::string> screenshot;
    std::optional<std::size_t> select;  // 0-based
    std::optional<std::string> find;
    std::optional<std::string> page;  // "about" or "help"
    bool showImages = false;  // presses "Show remote content" on the newest card once loaded
    std::optional<std::size_t> followLink;  // 0-based
    std::optional<std::string> alwaysShow;  // "sender" or "domain"
    bool endWebProcess = false;
};

// Nothing, with `error` set, for a command line that cannot be used.
std::optional<ViewArguments> parseViewArguments(const std::vector<std::string>& args, std::string& error);

}  // namespace zvwk::viewer
