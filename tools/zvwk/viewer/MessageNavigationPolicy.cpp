#include "MessageNavigationPolicy.h"

#include <initializer_list>

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

gboolean decidePolicy(WebKitWebView*, WebKitPolicyDecision* decision, WebKitPolicyDecisionType type, gpointer) {
    if (type == WEBKIT_POLICY_DECISION_TYPE_RESPONSE) return FALSE;
    WebKitNavigationAction* action =
        webkit_navigation_policy_decision_get_navigation_action(WEBKIT_NAVIGATION_POLICY_DECISION(decision));
    const char* uri = webkit_uri_request_get_uri(webkit_navigation_action_get_request(action));
    bool linkClicked = webkit_navigation_action_get_navigation_type(action) == WEBKIT_NAVIGATION_TYPE_LINK_CLICKED;
    if (type == WEBKIT_POLICY_DECISION_TYPE_NAVIGATION_ACTION && uri && g_str_has_prefix(uri, "about:blank")) {
        webkit_policy_decision_use(decision);
        return TRUE;
    }
    if (linkClicked) openExternally(uri);
    webkit_policy_decision_ignore(decision);
    return TRUE;
}

}  // namespace

void keepViewOnMessage(WebKitWebView* view) {
    g_signal_connect(view, "decide-policy", G_CALLBACK(decidePolicy), nullptr);
}

}  // namespace zvwk::viewer
