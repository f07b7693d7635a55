#include "MessageNavigationPolicy.h"

#include "LinkWarningDialog.h"

#include <zv/foundation/GObjectRef.h>
#include <zv/reading/LinkJudgement.h>
#include <zv/webview/ScriptEvaluation.h>

#include <initializer_list>
#include <string>

namespace zvwk::viewer {

namespace {

void openExternally(const char* uri) {
    if (!uri) return;
    for (const char* scheme : {"http:", "https:", "mailto:"})
        if (g_str_has_prefix(uri, scheme)) {
            g_app_info_launch_default_for_uri_async(uri, nullptr, nullptr, nullptr, nullptr);
            return;
        }
}

// The link under the pointer and its text, kept on the view: a click is
// judged with the text the reader saw.
struct HoveredLink {
    std::string uri;
    std::string text;
};

void setHoveredLink(WebKitWebView* view, HoveredLink link) {
    g_object_set_data_full(G_OBJECT(view), "zvwk-hovered-link", new HoveredLink(std::move(link)),
                           +[](gpointer data) { delete static_cast<HoveredLink*>(data); });
}

void mouseTargetChanged(WebKitWebView* view, WebKitHitTestResult* hit, guint, gpointer) {
    const char* uri = webkit_hit_test_result_context_is_link(hit) ? webkit_hit_test_result_get_link_uri(hit) : nullptr;
    const char* label = uri ? webkit_hit_test_result_get_link_label(hit) : nullptr;
    setHoveredLink(view, {uri ? uri : "", label ? label : ""});
}

// A link the reading library judges deceptive opens only when the reader,
// shown both what it says and where it goes, still wants it.
void openLink(WebKitWebView* view, const std::string& uri) {
    auto* hovered = static_cast<HoveredLink*>(g_object_get_data(G_OBJECT(view), "zvwk-hovered-link"));
    std::string text = hovered && hovered->uri == uri ? hovered->text : "";
    std::optional<std::string> warning = zv::linkWarning(text, uri);
    if (!warning) {
        openExternally(uri.c_str());
        return;
    }
    GtkWindow* parent = GTK_WINDOW(gtk_widget_get_root(GTK_WIDGET(view)));
    askBeforeOpeningLink(parent, text, uri, "Why: " + *warning + ".", [uri] { openExternally(uri.c_str()); });
}

gboolean decidePolicy(WebKitWebView* view, WebKitPolicyDecision* decision, WebKitPolicyDecisionType type, gpointer) {
    if (type == WEBKIT_POLICY_DECISION_TYPE_RESPONSE) return FALSE;
    WebKitNavigationAction* action =
        webkit_navigation_policy_decision_get_navigation_action(WEBKIT_NAVIGATION_POLICY_DECISION(decision));
    const char* uri = webkit_uri_request_get_uri(webkit_navigation_action_get_request(action));
    bool linkClicked = webkit_navigation_action_get_navigation_type(action) == WEBKIT_NAVIGATION_TYPE_LINK_CLICKED;
    if (type == WEBKIT_POLICY_DECISION_TYPE_NAVIGATION_ACTION && uri && g_str_has_prefix(uri, "about:blank")) {
        webkit_policy_decision_use(decision);
        return TRUE;
    }
    if (linkClicked && uri) openLink(view, uri);
    webkit_policy_decision_ignore(decision);
    return TRUE;
}

std::string linkScript(std::size_t index, const char* then) {
    return "(function(){var a=document.querySelectorAll('a[href],area[href]')[" + std::to_string(index) + "];" + then + "})()";
}

}  // namespace

void followMessageLink(WebKitWebView* view, std::size_t index) {
    auto held = zv::GObjectRef<WebKitWebView>::ref(view);
    zv::evaluateJavaScript(view, linkScript(index, "return a?[a.href,a.textContent.replace(/\\s+/g,' ').trim()]:null"),
                           [held, index](std::optional<zv::Value> link, std::optional<zv::Error>) {
                               if (!link || !link->is_array() || link->size() != 2) return;
                               setHoveredLink(held.get(), {(*link)[0].get<std::string>(), (*link)[1].get<std::string>()});
                               zv::evaluateJavaScript(held.get(), linkScript(index, "if(a)a.click()"));
                           });
}

void keepViewOnMessage(WebKitWebView* view) {
    g_signal_connect(view, "decide-policy", G_CALLBACK(decidePolicy), nullptr);
    g_signal_connect(view, "mouse-target-changed", G_CALLBACK(mouseTargetChanged), nullptr);
}

}  // namespace zvwk::viewer
