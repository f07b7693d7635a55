// The web view's fix-ups of the context menu the engine builds: items that
// make no sense for a message (reload it, open or save its images and
// links in the view) go, and opening a link is offered in the browser.
#include <zv/webview/ZVWebView.h>

#include <zv/foundation/Bundle.h>

#include <map>

namespace zv {

namespace {

constexpr WebKitContextMenuAction kRemovedActions[] = {
    WEBKIT_CONTEXT_MENU_ACTION_RELOAD,
    WEBKIT_CONTEXT_MENU_ACTION_DOWNLOAD_LINK_TO_DISK,
    WEBKIT_CONTEXT_MENU_ACTION_OPEN_IMAGE_IN_NEW_WINDOW,
    WEBKIT_CONTEXT_MENU_ACTION_DOWNLOAD_IMAGE_TO_DISK,
};

using ItemsByAction = std::map<WebKitContextMenuAction, GObjectRef<WebKitContextMenuItem>>;

// Items without an engine action (separators, the host's own items) have
// no identity and are left alone; of two items with one action the later wins.
ItemsByAction itemsByAction(WebKitContextMenu* menu) {
    ItemsByAction items;
    for (GList* link = webkit_context_menu_get_items(menu); link; link = link->next) {
        auto* item = WEBKIT_CONTEXT_MENU_ITEM(link->data);
        WebKitContextMenuAction action = webkit_context_menu_item_get_stock_action(item);
        if (action == WEBKIT_CONTEXT_MENU_ACTION_NO_ACTION || action == WEBKIT_CONTEXT_MENU_ACTION_CUSTOM) continue;
        items[action] = GObjectRef<WebKitContextMenuItem>::ref(item);
    }
    return items;
}

// An engine item's label cannot be changed: it is replaced, at its place,
// by an item with the same action and the new label.
void retitle(WebKitContextMenu* menu, WebKitContextMenuItem* item, const std::string& title) {
    gint position = g_list_index(webkit_context_menu_get_items(menu), item);
    if (position < 0) return;
    WebKitContextMenuAction action = webkit_context_menu_item_get_stock_action(item);
    webkit_context_menu_remove(menu, item);
    webkit_context_menu_insert(menu, webkit_context_menu_item_new_from_stock_action_with_label(action, title.c_str()),
                               position);
}

}  // namespace

void ZVWebView::willOpenMenu(WebKitContextMenu* menu, Event& event) {
    ItemsByAction items = itemsByAction(menu);
    for (WebKitContextMenuAction action : kRemovedActions) {
        auto found = items.find(action);
        if (found != items.end()) webkit_context_menu_remove(menu, found->second.get());
    }
    auto openLink = items.find(WEBKIT_CONTEXT_MENU_ACTION_OPEN_LINK_IN_NEW_WINDOW);
    if (openLink != items.end())
        retitle(menu, openLink->second.get(), Bundle::mainBundle()->localizedString("Open Link in Default Browser"));

    std::shared_ptr<ZVWebViewEventDelegate> delegate = eventDelegate();
    if (!delegate || !delegate->webViewWillOpenMenu) return;
    std::optional<Value> pending = lastEventInfo();
    if (pending && pending->is_object() && pending->value("eventType", Value()) == "contextmenu" &&
        !event.webViewEventInfo) {
        event.webViewEventInfo = std::move(pending);
        setLastEventInfo(std::nullopt);
    }
    delegate->webViewWillOpenMenu(*this, menu, event);
}

}  // namespace zv
