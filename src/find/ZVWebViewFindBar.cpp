// The find controller's view: the bar from "ZVWVFindView.ui", its menu of
// search styles and recent searches, the count label and the replace row.
#include <zv/find/ZVWebViewFindController.h>

#include <zv/find/FindOptions.h>
#include <zv/foundation/Log.h>
#include <zv/foundation/UserDefaults.h>
#include <zv/webview/FrameworkResources.h>
#include <zv/webview/ZVWebView.h>

#include <algorithm>

namespace zv {

const char ZVFindRecentsKey[] = "ZVFindRecents";

namespace {

std::string localized(const char* key, const char* fallback = "") {
    return webKitResourceBundle()->localizedString(key, fallback);
}

std::string formatCount(const std::string& format, int64_t count) {
    std::string text = format;
    size_t at = text.find("%ld");
    if (at != std::string::npos) text.replace(at, 3, std::to_string(count));
    return text;
}

struct StyleItem {
    int tag;
    const char* key;
    const char* fallback;
};

constexpr StyleItem kStyleItems[] = {
    {ZVWebViewFindController::TagContains, "FIND MENU: CONTAINS", "Contains"},
    {ZVWebViewFindController::TagStartsWith, "FIND MENU: STARTS WITH", "Starts With"},
    {ZVWebViewFindController::TagExactly, "FIND MENU: EXACTLY", "Exactly"},
    {ZVWebViewFindController::TagRegularExpression, "FIND MENU: RegExp", "Regular Expression"},
};

ZVWebViewFindController* controllerFrom(gpointer data) { return static_cast<ZVWebViewFindController*>(data); }


}  // namespace

void ZVWebViewFindController::loadView() {
    countFormat_ = localized("FIND_COUNT_%ld");
    actions_ = GObjectRef<GSimpleActionGroup>::adopt(g_simple_action_group_new());
    menu_ = GObjectRef<GMenu>::adopt(g_menu_new());
    std::optional<std::string> path = webKitResourceBundle()->pathForResource("ui/ZVWVFindView", "ui");
    builder_ = GObjectRef<GtkBuilder>::adopt(gtk_builder_new());
    GError* error = nullptr;
    if (!path || !gtk_builder_add_from_file(builder_.get(), path->c_str(), &error)) {
        log(LogLevel::Warning, "cannot load the find bar ZVWVFindView.ui: " +
                                   std::string(error ? error->message : "not among the framework's resources"));
        g_clear_error(&error);
        return;
    }
    auto widget = [this](const char* name) { return GTK_WIDGET(gtk_builder_get_object(builder_.get(), name)); };
    root_ = widget("findView");
    rootRef_ = GObjectRef<GtkWidget>::ref(root_);
    box_ = widget("boxContainer");
    searchField_ = widget("searchField");
    menuButton_ = widget("findMenuButton");
    countLabel_ = widget("countLabel");
    previous_ = widget("previousButton");
    next_ = widget("nextButton");
    done_ = widget("done");
    replaceContainer_ = widget("replaceContainer");
    replaceText_ = widget("replaceText");
    replaceButton_ = widget("replaceButton");
    replaceAllButton_ = widget("replaceAllButton");
}

void ZVWebViewFindController::connectView() {
    auto addAction = [&](const char* name, const GVariantType* parameter, GVariant* state,
                         void (*handler)(GSimpleAction*, GVariant*, gpointer)) {
        GSimpleAction* action = state ? g_simple_action_new_stateful(name, parameter, state)
                                      : g_simple_action_new(name, parameter);
        g_signal_connect(action, "activate", G_CALLBACK(handler), this);
        g_action_map_add_action(G_ACTION_MAP(actions_.get()), G_ACTION(action));
        g_object_unref(action);
    };
    addAction("style", G_VARIANT_TYPE_INT32, g_variant_new_int32(1), [](GSimpleAction*, GVariant* value, gpointer d) {
        controllerFrom(d)->toggleSearchItem(g_variant_get_int32(value));
    });
    addAction("ignore-case", nullptr, g_variant_new_boolean(TRUE), [](GSimpleAction*, GVariant*, gpointer d) {
        controllerFrom(d)->toggleSearchItem(TagIgnoreCase);
    });
    addAction("recent", G_VARIANT_TYPE_STRING, nullptr, [](GSimpleAction*, GVariant* value, gpointer d) {
        controllerFrom(d)->focusFindFieldWithValue(g_variant_get_string(value, nullptr));
    });
    addAction("clear-recents", nullptr, nullptr, [](GSimpleAction*, GVariant*, gpointer d) {
        controllerFrom(d)->clearRecentSearches();
    });
    addAction("no-recents", nullptr, nullptr, [](GSimpleAction*, GVariant*, gpointer) {});
    g_simple_action_set_enabled(
        G_SIMPLE_ACTION(g_action_map_lookup_action(G_ACTION_MAP(actions_.get()), "no-recents")), FALSE);
    if (!root_) return;

    gtk_widget_insert_action_group(root_, "find", actionGroup());
    gtk_menu_button_set_menu_model(GTK_MENU_BUTTON(menuButton_), findMenu());
    gtk_button_set_label(GTK_BUTTON(done_), localized("FIND: DONE", "Done").c_str());
    gtk_widget_set_tooltip_text(previous_, localized("FIND: PREVIOUS", "Previous Match").c_str());
    gtk_widget_set_tooltip_text(next_, localized("FIND: NEXT", "Next Match").c_str());
    gtk_button_set_label(GTK_BUTTON(replaceButton_), localized("FIND: REPLACE", "Replace").c_str());
    gtk_button_set_label(GTK_BUTTON(replaceAllButton_), localized("FIND: REPLACE ALL", "All").c_str());
    gtk_entry_set_placeholder_text(GTK_ENTRY(replaceText_), localized("FIND: REPLACE PLACEHOLDER").c_str());

    // The entry reports a change a moment after it: a text searched already
    // (set and searched by focusFindFieldWithValue) is not searched again.
    g_signal_connect(searchField_, "search-changed", G_CALLBACK(+[](GtkSearchEntry*, gpointer d) {
                         auto* self = controllerFrom(d);
                         if (self->searchText() != self->lastSearched_) self->findNow();
                     }),
                     this);
    g_signal_connect(searchField_, "stop-search",
                     G_CALLBACK(+[](GtkSearchEntry*, gpointer d) { controllerFrom(d)->done(); }), this);
    g_signal_connect(searchField_, "next-match",
                     G_CALLBACK(+[](GtkSearchEntry*, gpointer d) { controllerFrom(d)->moveTo(1); }), this);
    g_signal_connect(searchField_, "previous-match",
                     G_CALLBACK(+[](GtkSearchEntry*, gpointer d) { controllerFrom(d)->moveTo(0); }), this);
    // Enter is the entry's action, a search; Shift+Enter steps back, as in
    // GNOME's find bars (Ctrl+G and Ctrl+Shift+G step too, the entry's own).
    GtkEventController* keys = gtk_event_controller_key_new();
    gtk_event_controller_set_propagation_phase(keys, GTK_PHASE_CAPTURE);
    g_signal_connect(keys, "key-pressed",
                     G_CALLBACK(+[](GtkEventControllerKey*, guint keyval, guint, GdkModifierType state, gpointer d) {
                         if (keyval != GDK_KEY_Return && keyval != GDK_KEY_KP_Enter) return gboolean(FALSE);
                         if (state & GDK_SHIFT_MASK) controllerFrom(d)->moveTo(0);
                         else controllerFrom(d)->findNow();
                         return gboolean(TRUE);
                     }),
                     this);
    gtk_widget_add_controller(searchField_, keys);
    keyController_ = keys;
    g_signal_connect(previous_, "clicked",
                     G_CALLBACK(+[](GtkButton*, gpointer d) { controllerFrom(d)->moveTo(0); }), this);
    g_signal_connect(next_, "clicked",
                     G_CALLBACK(+[](GtkButton*, gpointer d) { controllerFrom(d)->moveTo(1); }), this);
    g_signal_connect(done_, "clicked", G_CALLBACK(+[](GtkButton*, gpointer d) { controllerFrom(d)->done(); }),
                     this);
    g_signal_connect(replaceButton_, "clicked",
                     G_CALLBACK(+[](GtkButton*, gpointer d) { controllerFrom(d)->replace(0); }), this);
    g_signal_connect(replaceAllButton_, "clicked",
                     G_CALLBACK(+[](GtkButton*, gpointer d) { controllerFrom(d)->replace(1); }), this);
    // Shown again: settings another bar or the host changed meanwhile show.
    g_signal_connect(root_, "map", G_CALLBACK(+[](GtkWidget*, gpointer d) { controllerFrom(d)->updateFindMenu(); }),
                     this);
}

// The bar may outlive its controller in the host's window: it must not
// call back into a controller that is gone.
void ZVWebViewFindController::disconnectView() {
    for (const char* name : {"style", "ignore-case", "recent", "clear-recents"})
        g_signal_handlers_disconnect_by_data(g_action_map_lookup_action(G_ACTION_MAP(actions_.get()), name), this);
    if (!root_) return;
    for (GtkWidget* widget : {root_, searchField_, previous_, next_, done_, replaceButton_, replaceAllButton_})
        g_signal_handlers_disconnect_by_data(widget, this);
    g_signal_handlers_disconnect_by_data(keyController_, this);
    gtk_widget_insert_action_group(root_, "find", nullptr);
}

void ZVWebViewFindController::viewDidLoad() {
    updateFindMenu();
    updateVisibility();
    updateVisibleConversationMessageItems();
    if (!root_) return;
    gtk_widget_set_tooltip_text(searchField_, localized("FIND: MULTI VALUE TOOLTIP").c_str());
    gtk_widget_set_sensitive(previous_, currentCount_ > 0);
    gtk_widget_set_sensitive(next_, currentCount_ > 0);
}

void ZVWebViewFindController::setCurrentCount(int64_t count) {
    currentCount_ = count;
    if (!root_) return;
    gtk_label_set_text(GTK_LABEL(countLabel_), formatCount(countFormat_, count).c_str());
    gtk_widget_set_sensitive(previous_, count >= 1);
    gtk_widget_set_sensitive(next_, count >= 1);
}

void ZVWebViewFindController::updateFindMenu() {
    GActionMap* map = G_ACTION_MAP(actions_.get());
    const int64_t style = storedSearchStyle(defaultKey_);
    g_simple_action_set_state(G_SIMPLE_ACTION(g_action_map_lookup_action(map, "style")),
                              g_variant_new_int32(static_cast<int32_t>(style)));
    g_simple_action_set_state(G_SIMPLE_ACTION(g_action_map_lookup_action(map, "ignore-case")),
                              g_variant_new_boolean(storedIgnoreCase()));

    GMenu* menu = menu_.get();
    g_menu_remove_all(menu);
    GObjectRef<GMenu> styles = GObjectRef<GMenu>::adopt(g_menu_new());
    for (const StyleItem& item : kStyleItems) {
        if (item.tag == TagRegularExpression && (options_ & NoRegularExpressions)) continue;
        GObjectRef<GMenuItem> entry =
            GObjectRef<GMenuItem>::adopt(g_menu_item_new(localized(item.key, item.fallback).c_str(), nullptr));
        g_menu_item_set_action_and_target_value(entry.get(), "find.style", g_variant_new_int32(item.tag));
        g_menu_append_item(styles.get(), entry.get());
    }
    g_menu_append_section(menu, nullptr, G_MENU_MODEL(styles.get()));

    GObjectRef<GMenu> ignore = GObjectRef<GMenu>::adopt(g_menu_new());
    g_menu_append(ignore.get(), localized("FIND MENU: IGNORE CASE", "Ignore Case").c_str(), "find.ignore-case");
    g_menu_append_section(menu, nullptr, G_MENU_MODEL(ignore.get()));

    const std::vector<std::string> recents = recentSearches();
    GObjectRef<GMenu> recentItems = GObjectRef<GMenu>::adopt(g_menu_new());
    if (recents.empty()) g_menu_append(recentItems.get(), localized("FIND MENU: NO RECENTS TITLE").c_str(), "find.no-recents");
    for (const std::string& text : recents) {
        GObjectRef<GMenuItem> entry = GObjectRef<GMenuItem>::adopt(g_menu_item_new(text.c_str(), nullptr));
        g_menu_item_set_action_and_target_value(entry.get(), "find.recent", g_variant_new_string(text.c_str()));
        g_menu_append_item(recentItems.get(), entry.get());
    }
    g_menu_append_section(menu, recents.empty() ? nullptr : localized("FIND MENU: RECENTS TITLE").c_str(),
                          G_MENU_MODEL(recentItems.get()));
    if (!recents.empty()) {
        GObjectRef<GMenu> clear = GObjectRef<GMenu>::adopt(g_menu_new());
        g_menu_append(clear.get(), localized("FIND MENU: CLEAR RECENTS").c_str(), "find.clear-recents");
        g_menu_append_section(menu, nullptr, G_MENU_MODEL(clear.get()));
    }
}

void ZVWebViewFindController::updateVisibility() {
    if (replaceContainer_) gtk_widget_set_visible(replaceContainer_, (options_ & ShowReplace) != 0);
}

void ZVWebViewFindController::toggleSearchItem(int tag) {
    auto& defaults = UserDefaults::standard();
    switch (tag) {
    case TagContains:
    case TagStartsWith:
    case TagExactly:
    case TagRegularExpression:
        defaults.setInteger(defaultKey_, tag);
        break;
    case TagIgnoreCase:
        defaults.setBool(ZVSearchIgnoreCaseKey, !storedIgnoreCase());
        break;
    default:
        break;
    }
    updateFindMenu();
    performFindPreservingPosition(true);
}

void ZVWebViewFindController::focusFindFieldWithValue(std::optional<std::string> value) {
    const std::string text = value ? *value : findString();
    if (searchField_) gtk_editable_set_text(GTK_EDITABLE(searchField_), text.c_str());
    findNow();
    if (searchField_) gtk_widget_grab_focus(searchField_);
}

void ZVWebViewFindController::done() {
    removeAllHighlights();
    auto delegate = this->delegate();
    if (delegate && delegate->shouldHideFindView) delegate->shouldHideFindView(*this);
}

void ZVWebViewFindController::replace(int tag) {
    if (!replaceText_ || webviews_.empty()) return;
    const std::string text = gtk_editable_get_text(GTK_EDITABLE(replaceText_));
    if (text.empty()) return;
    std::shared_ptr<ZVWebView> target = webviews_.front();
    if (tag != 0) target->replaceAll(text);
    else target->replaceAndMoveToNext(text);
    std::weak_ptr<ZVWebViewFindController> weak = weak_from_this();
    target->getFindResultCount([weak](int64_t count) {
        if (auto self = weak.lock()) self->setCurrentCount(count);
    });
}

std::string ZVWebViewFindController::searchText() const {
    return searchField_ ? gtk_editable_get_text(GTK_EDITABLE(searchField_)) : "";
}

std::vector<std::string> ZVWebViewFindController::recentSearches() const {
    return UserDefaults::standard().stringArrayForKey(ZVFindRecentsKey).value_or(std::vector<std::string>{});
}

void ZVWebViewFindController::rememberSearch(const std::string& text) {
    if (text.empty()) return;
    std::vector<std::string> recents = recentSearches();
    if (!recents.empty() && recents.front() == text) return;
    std::erase(recents, text);
    recents.insert(recents.begin(), text);
    if (recents.size() > kZVFindRecentsLimit) recents.resize(kZVFindRecentsLimit);
    UserDefaults::standard().setStringArray(ZVFindRecentsKey, recents);
    updateFindMenu();
}

void ZVWebViewFindController::clearRecentSearches() {
    UserDefaults::standard().removeObjectForKey(ZVFindRecentsKey);
    updateFindMenu();
}

}  // namespace zv
