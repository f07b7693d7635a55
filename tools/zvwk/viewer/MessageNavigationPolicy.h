// Where a message's body view may go: nowhere. The load of the message
// itself (about:blank) and jumps within it pass; a clicked http:, https: or
// mailto: link opens in the system's handler for it, after the reader's
// consent when zv::linkWarning judges it deceptive (LinkWarningDialog.h);
// every other navigation and every new window is refused.
#pragma once

#include <webkit/webkit.h>

#include <cstddef>

namespace zvwk::viewer {

void keepViewOnMessage(WebKitWebView* view);

// Clicks the view's `index`th link (from 0) as the reader would, with the
// link's text taken as what the pointer was over, so it is judged as a click
// of the mouse would be. Nothing happens when there is no such link.
void followMessageLink(WebKitWebView* view, std::size_t index);

}  // namespace zvwk::viewer
