// What a host gives a find controller that searches a whole conversation.
//
// The host implements a thread (its visible messages in display order), a
// message item per message, and a find delegate. A message's web view may
// not be loaded yet: the item then counts its matches itself
// (findCountForStrings, with the same style and case rules as the page:
// see FindOptions.h and the search script), and the delegate loads it when
// a step goes into it.
#pragma once

#include <zv/Export.h>
#include <zv/foundation/Geometry.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zv {

class ZVWebView;
class ZVWebViewFindController;

class ZV_EXPORT ZVWKConversationMessageItem {
public:
    virtual ~ZVWKConversationMessageItem() = default;
    // The message's key; messages without one are not searched.
    virtual std::optional<std::string> scriptIdentifier() const = 0;
    // The message's web view, null while it is not loaded.
    virtual std::shared_ptr<ZVWebView> webView() const = 0;
    // The number of matches of the strings in the message, counted by the
    // host without a web view.
    virtual int64_t findCountForStrings(const std::vector<std::string>& strings) const = 0;
};

using ZVWKConversationMessageItemRef = std::shared_ptr<ZVWKConversationMessageItem>;

class ZV_EXPORT ZVWKConversationThread {
public:
    virtual ~ZVWKConversationThread() = default;
    virtual std::vector<ZVWKConversationMessageItemRef> visibleConversationMessageItems() const = 0;
};

// The host's side of the find bar. Empty members are methods the host does
// not implement; the controller then does without them.
struct ZVWebviewFindDelegate {
    // Loads the item's web view if needed and hands it over (or null).
    std::function<void(const ZVWKConversationMessageItemRef& item,
                       std::function<void(std::shared_ptr<ZVWebView>)> completion)>
        loadWebViewIfNeededForItem;
    // A step found a match: in `item` (null when a plain list of web views
    // is searched) at `offset`; `looped` when the search wrapped around.
    std::function<void(ZVWebViewFindController& controller, const ZVWKConversationMessageItemRef& item,
                       Point offset, bool looped)>
        foundResultInMessageItem;
    // Used instead of foundResultInMessageItem when that is empty.
    std::function<void(const ZVWKConversationMessageItemRef& item, Point offset)> scrollToConversationMessage;
    // The bar's done button: the host hides the bar.
    std::function<void(ZVWebViewFindController& controller)> shouldHideFindView;
};

}  // namespace zv
