// The page script of the web view's event bridge (see ZVWebView.h).
//
// The script is built from pieces: one listener piece per bridged DOM event
// the delegate gives selectors for, and the Backspace piece when the
// delegate handles key downs. The pieces go into a frame that defines
// ZVLog(msg), and, when the document's content is loaded,
// handleElementEvent(event, startingItem, selectorList), which describes the
// element and posts it as a "_ZVWebViewEvent" message. For mouse and drag
// events the element reported is the topmost one under the pointer that
// exactly one of the event's class selectors (".name") matches, if any;
// keydown on " " has its default action (scrolling) prevented; dragstart
// never starts the page's own drag; a handled event stops propagating.
#pragma once

#include <zv/Export.h>

#include <zv/webview/ZVWebViewEventDelegate.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zv {

// The piece that attaches `domEvent` listeners to the elements `selectors`
// match: it starts "let <domEvent>Selectors = ['<s1>','<s2>'];". Selectors
// are inserted as they are.
ZV_EXPORT std::string eventListenerScript(std::string_view domEvent, const std::vector<std::string>& selectors);

// The piece that reports Backspace as a "_ZVKeyDownEvent" message and keeps
// it from the page.
ZV_EXPORT std::string_view backspaceScript();

// The whole script for `delegate`, or nothing when it wants no events.
ZV_EXPORT std::optional<std::string> eventScriptForDelegate(const ZVWebViewEventDelegate& delegate);

}  // namespace zv
