// What the message web view reports to its event delegate.
//
// Every member is optional: leave it empty and that part of the event bridge
// is switched off.
//
// - webViewDOMSelectorsForEventType: asked once per bridged event type
//   (LeftMouseUp for "click", RightMouseDown for "contextmenu",
//   LeftMouseDragged for "dragstart", KeyDown for "keydown",
//   ApplicationDefined for "dblclick") when the delegate is set; the CSS
//   selectors of the elements whose events of that type should be reported.
//   Selectors are put into the page script as they are, so they must not
//   contain a single quote. Empty: no element events are reported.
// - webViewEvent: an element event arrived; the event carries the element's
//   info in webViewEventInfo (keys in ZVWebView.h).
// - webViewReceivedKeyDown: the page saw Backspace (the page's own handling
//   of Backspace is then suppressed). Empty: Backspace is left to the page.
// - webViewWillOpenMenu: the page's context menu is about to open, after the
//   view removed and retitled its items; the delegate may change the menu
//   further. The event carries the info of the element the menu is for when
//   the page reported a "contextmenu" event just before.
#pragma once

#include <zv/Export.h>

#include <zv/webview/Event.h>

#include <functional>
#include <string>
#include <vector>

typedef struct _WebKitContextMenu WebKitContextMenu;

namespace zv {

class ZVWebView;

struct ZV_EXPORT ZVWebViewEventDelegate {
    std::function<std::vector<std::string>(EventType type)> webViewDOMSelectorsForEventType;
    std::function<void(const Event& event)> webViewEvent;
    std::function<void(ZVWebView& webView, const Event& keyDown)> webViewReceivedKeyDown;
    std::function<void(ZVWebView& webView, WebKitContextMenu* menu, Event& event)> webViewWillOpenMenu;
};

}  // namespace zv
