#include "MessageBodyView.h"

#include "MessageDocument.h"
#include "MessageNavigationPolicy.h"

#include <zv/scheme/WebKitSchemeBinding.h>
#include <zv/webview/UserScript.h>

#include <string>

namespace zvwk::viewer {

namespace {

constexpr char kHeightMessage[] = "zvwkContentHeight";

// The page's own scripts never run, but user scripts do.
constexpr char kHeightScript[] = R"JS((function () {
  var last = -1;
  function report() {
    var root = document.documentElement;
    if (!root) return;
    var height = Math.ceil(root.getBoundingClientRect().height);
    if (height === last) return;
    last = height;
    window.webkit.messageHandlers.zvwkContentHeight.postMessage(height);
  }
  document.addEventListener('DOMContentLoaded', function () {
    new ResizeObserver(report).observe(document.documentElement);
    report();
  });
  window.addEventListener('load', report);
})();)JS";

zv::GObjectRef<WebKitSettings> messageSettings() {
    WebKitSettings* settings = webkit_settings_new();
    g_object_set(settings, "enable-javascript-markup", FALSE, "enable-html5-local-storage", FALSE,
                 "enable-html5-database", FALSE, "enable-webgl", FALSE, "enable-webaudio", FALSE,
                 "media-playback-requires-user-gesture", TRUE, "enable-back-forward-navigation-gestures", FALSE,
                 "javascript-can-open-windows-automatically", FALSE, nullptr);
    // A message is a still page: composited layers bought nothing but cost
    // about 25 MiB per view (measured by bench/viewer_bench: 1.3 GiB of web
    // process for 50 messages with them, 0.2 GiB without).
    webkit_settings_set_hardware_acceleration_policy(settings, WEBKIT_HARDWARE_ACCELERATION_POLICY_NEVER);
    return zv::GObjectRef<WebKitSettings>::adopt(settings);
}

std::shared_ptr<zv::ZVWebViewURLSchemeHandler> messageSchemeHandler(const MessageContent& content) {
    auto handler = zv::ZVWebViewURLSchemeHandler::create();
    for (const InlinePart& part : content.inlineParts) {
        auto resource = std::make_shared<zv::ZVMimeResource>();
        resource->data.assign(part.data.begin(), part.data.end());
        resource->URL = "cid:" + part.contentId;
        resource->MIMEType = part.mimeType;
        resource->textEncodingName = part.charset;
        handler->addResource(resource, resource->URL);
    }
    for (std::size_t i = 0; i < content.attachments.size(); ++i) {
        const Attachment& attachment = content.attachments[i];
        if (!showsAttachmentInline(attachment)) continue;
        auto resource = std::make_shared<zv::ZVMimeResource>();
        resource->data.assign(attachment.data.begin(), attachment.data.end());
        resource->URL = attachedPictureURL(i);
        resource->MIMEType = attachment.mimeType;
        handler->addResource(resource, resource->URL);
    }
    handler->setupHTTPOverrides();
    return handler;
}

}  // namespace

MessageBodyView makeMessageBodyView(const MessageContent& content, WebKitWebView* relatedView, GCallback heightChanged,
                                    gpointer data) {
    zv::ZVWebViewConfiguration configuration;
    configuration.settings = messageSettings();
    configuration.userContentManager = zv::GObjectRef<WebKitUserContentManager>::adopt(webkit_user_content_manager_new());
    if (relatedView) configuration.relatedView = zv::GObjectRef<WebKitWebView>::ref(relatedView);
    MessageBodyView body{zv::ZVWebView::create(configuration), messageSchemeHandler(content)};

    WebKitUserContentManager* manager = body.view->userContentManager();
    g_signal_connect(manager, (std::string("script-message-received::") + kHeightMessage).c_str(), heightChanged, data);
    webkit_user_content_manager_register_script_message_handler(manager, kHeightMessage, nullptr);
    body.view->addUserScript(zv::makeDocumentStartScript(kHeightScript).get());
    // The find bar's scripts: with JavaScript markup off, script elements would never run.
    body.view->addSearchUserScripts();

    WebKitWebView* webView = body.view->webView();
    zv::setURLSchemeHandler(webView, body.handler);
    GdkRGBA transparent = {0, 0, 0, 0};
    webkit_web_view_set_background_color(webView, &transparent);
    keepViewOnMessage(webView);
    return body;
}

std::shared_ptr<zv::ZVWebView> startMessageWebProcess() {
    zv::ZVWebViewConfiguration configuration;
    configuration.settings = messageSettings();
    auto view = zv::ZVWebView::create(configuration);
    // The process outlives each conversation: with the browser's cache model
    // it kept every message's decoded images and resources, about 0.45 MiB a
    // conversation. A message is loaded from memory and shown once.
    webkit_web_context_set_cache_model(webkit_web_view_get_context(view->webView()), WEBKIT_CACHE_MODEL_DOCUMENT_VIEWER);
    webkit_web_view_load_html(view->webView(), "", "about:blank");
    return view;
}

}  // namespace zvwk::viewer
