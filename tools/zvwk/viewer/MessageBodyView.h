// The web view a message's body shows in, and the scheme handler behind it.
//
// The view runs none of the message's scripts (JavaScript markup off, local
// storage, WebGL and the like off) while the viewer's own user scripts run:
// the find bar's, and one that reports the content's height whenever it
// changes (images arriving, fonts, a narrower window). It draws without
// composited layers and on a transparent background, and stays on the
// message (MessageNavigationPolicy.h). Its scheme handler serves the
// message's "cid:" parts and fetches allowed remote content through the
// URL cache.
#pragma once

#include "MailMessage.h"

#include <zv/scheme/ZVWebViewURLSchemeHandler.h>
#include <zv/webview/ZVWebView.h>

#include <memory>

namespace zvwk::viewer {

struct MessageBodyView {
    std::shared_ptr<zv::ZVWebView> view;
    std::shared_ptr<zv::ZVWebViewURLSchemeHandler> handler;
};

// `relatedView` (may be null) is the view whose web process the new one shares.
// `heightChanged` is connected to the view's user content manager with `data`
// and receives the content's height in CSS pixels as a number.
MessageBodyView makeMessageBodyView(const MessageContent& content, WebKitWebView* relatedView, GCallback heightChanged,
                                    gpointer data);

// A view with the message views' settings on a blank page, never shown: it
// starts a web process that message views made related to it share.
std::shared_ptr<zv::ZVWebView> startMessageWebProcess();

}  // namespace zvwk::viewer
