// Where a message's body view may go: nowhere. The load of the message
// itself (about:blank) and jumps within it pass; a clicked http:, https: or
// mailto: link opens in the system's handler for it, after the reader's
// consent when zv::linkWarning judges it deceptive (LinkWarningDialog.h);
// every other navigation and every new window is refused.
#pragma once

#include <webkit/webkit.h>

namespace zvwk::viewer {

void keepViewOnMessage(WebKitWebView* view);

}  // namespace zvwk::viewer
