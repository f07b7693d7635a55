// zvwk trackers: what in each input would report on its reader once its
// images were shown: tracking pixels, hidden images, image URLs naming the
// reader, links with tracking parameters (zv/reading/TrackerDetection.h).
#include "Commands.h"
#include "InputLoop.h"

#include <zv/html/HTMLParser.h>
#include <zv/reading/SafeMessageView.h>

#include <nlohmann/json.hpp>

#include <iostream>

namespace zvwk {

int runTrackers(const Args& args) {
    std::vector<std::string> readers;
    InputArguments arguments;
    if (auto status = parseInputArguments("trackers", args, {{"--reader", nullptr, &readers, "an address"}}, arguments))
        return *status;
    return forEachInput(arguments.operands, InputContent::MailHTML, [&](const std::string& file, const std::string& html) {
        auto document = zv::html::HTMLParser(html).parseDocument();
        zv::SafeViewOptions options;
        options.allowRemoteContent = true;
        options.blockTrackers = true;
        options.readerAddresses = readers;
        nlohmann::ordered_json trackers = nlohmann::ordered_json::array();
        for (const zv::Tracker& tracker : zv::prepareDocumentForSafeView(*document, options).trackers) {
            trackers.push_back({{"url", tracker.url}, {"kind", zv::trackerKindName(tracker.kind)}});
            if (!arguments.json) std::cout << zv::trackerKindName(tracker.kind) << " " << tracker.url << "\n";
        }
        if (arguments.json) {
            nlohmann::ordered_json line = {{"file", file}, {"trackers", std::move(trackers)}};
            std::cout << line.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) << "\n";
        }
    });
}

}  // namespace zvwk
