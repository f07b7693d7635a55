#include "zv-private.h"

#include <zv/find/ZVWebViewFindController.h>

#include <map>

/**
 * ZvFindController:
 *
 * Finds text in a list of message views (zv_find_controller_set_web_views())
 * or in every visible message of a conversation
 * (zv_find_controller_set_conversation_thread()), where a message may have
 * no view yet. It highlights the matches in every page, sums their counts
 * (#ZvFindController:match-count) and steps through them message by
 * message, wrapping around at the ends. Its bar is a #ZvFindBar.
 *
 * A conversation's list of visible messages is followed: when messages are
 * added to it or removed from it (#GListModel::items-changed), the
 * controller searches again while its bar is on screen.
 *
 * The views need the search scripts (zv_web_view_add_search_scripts()).
 * Main thread only.
 */

namespace {

class ItemAdapter final : public zv::ZVWKConversationMessageItem {
public:
    explicit ItemAdapter(ZvMessageItem* item) : item_(ZV_MESSAGE_ITEM(g_object_ref(item))) {}
    ~ItemAdapter() override { g_object_unref(item_); }
    ItemAdapter(const ItemAdapter&) = delete;
    ItemAdapter& operator=(const ItemAdapter&) = delete;

    ZvMessageItem* item() const { return item_; }

    std::optional<std::string> scriptIdentifier() const override
    {
        g_autofree char* key = zv_message_item_get_script_identifier(item_);
        return key ? std::optional<std::string>(key) : std::nullopt;
    }
    std::shared_ptr<zv::ZVWebView> webView() const override
    {
        return zv::glib::webViewOf(zv_message_item_get_web_view(item_));
    }
    int64_t findCountForStrings(const std::vector<std::string>& strings) const override
    {
        g_auto(GStrv) strv = zv::glib::newStrv(strings);
        return zv_message_item_count_matches(item_, strv);
    }

private:
    ZvMessageItem* item_;
};

// The host's thread; one adapter per item, kept while the item is visible,
// so the controller sees the same item each time.
class ThreadAdapter final : public zv::ZVWKConversationThread {
public:
    explicit ThreadAdapter(ZvConversationThread* thread) : thread_(thread) {}

    std::vector<zv::ZVWKConversationMessageItemRef> visibleConversationMessageItems() const override
    {
        GListModel* model = zv_conversation_thread_get_visible_items(thread_);
        std::map<ZvMessageItem*, std::shared_ptr<ItemAdapter>> kept;
        std::vector<zv::ZVWKConversationMessageItemRef> items;
        for (guint i = 0, n = model ? g_list_model_get_n_items(model) : 0; i < n; ++i) {
            g_autoptr(GObject) object = static_cast<GObject*>(g_list_model_get_item(model, i));
            if (!ZV_IS_MESSAGE_ITEM(object))
                continue;
            auto* item = ZV_MESSAGE_ITEM(object);
            auto known = adapters_.find(item);
            auto adapter = known != adapters_.end() ? known->second : std::make_shared<ItemAdapter>(item);
            kept[item] = adapter;
            items.push_back(adapter);
        }
        adapters_ = std::move(kept);
        return items;
    }

private:
    ZvConversationThread* thread_;  // the controller holds it
    mutable std::map<ZvMessageItem*, std::shared_ptr<ItemAdapter>> adapters_;
};

ZvMessageItem* itemOf(const zv::ZVWKConversationMessageItemRef& item)
{
    auto* adapter = dynamic_cast<ItemAdapter*>(item.get());
    return adapter ? adapter->item() : nullptr;
}

using ViewCompletion = std::function<void(std::shared_ptr<zv::ZVWebView>)>;

void onWebViewLoaded(GObject* source, GAsyncResult* result, gpointer data)
{
    std::unique_ptr<ViewCompletion> completion(static_cast<ViewCompletion*>(data));
    g_autoptr(GError) error = nullptr;
    g_autoptr(ZvWebView) view = zv_message_item_load_web_view_finish(ZV_MESSAGE_ITEM(source), result, &error);
    if (error)
        g_debug("A message's view did not load: %s", error->message);
    (*completion)(zv::glib::webViewOf(view));
}

}  // namespace

struct _ZvFindController {
    GObject parent_instance;
    struct Private {
        std::shared_ptr<zv::ZVWebViewFindController> controller;
        std::shared_ptr<zv::ZVWebviewFindDelegate> delegate;
        std::vector<ZvWebView*> views;
        ZvConversationThread* thread = nullptr;
        GListModel* items = nullptr;  // the thread's, followed
        GCancellable* loads = g_cancellable_new();
    }* p;
};

G_DEFINE_FINAL_TYPE(ZvFindController, zv_find_controller, G_TYPE_OBJECT)

G_DEFINE_FLAGS_TYPE(ZvFindControllerOptions, zv_find_controller_options,
                    G_DEFINE_ENUM_VALUE(ZV_FIND_CONTROLLER_NONE, "none"),
                    G_DEFINE_ENUM_VALUE(ZV_FIND_CONTROLLER_SHOW_REPLACE, "show-replace"),
                    G_DEFINE_ENUM_VALUE(ZV_FIND_CONTROLLER_NO_REGULAR_EXPRESSIONS, "no-regular-expressions"))

enum { PROP_0, PROP_MATCH_COUNT, PROP_CONVERSATION_THREAD, N_PROPS };
static GParamSpec* properties[N_PROPS];
enum { SIGNAL_FOUND_RESULT, SIGNAL_HIDE_REQUESTED, N_SIGNALS };
static guint signals[N_SIGNALS];

static void clearViews(ZvFindController* self)
{
    for (auto* view : self->p->views)
        g_object_unref(view);
    self->p->views.clear();
}

static void onItemsChanged(GListModel*, guint, guint, guint, gpointer self)
{
    zv_find_controller_update_visible_items(ZV_FIND_CONTROLLER(self));
}

static void unfollowItems(ZvFindController* self)
{
    if (self->p->items)
        g_signal_handlers_disconnect_by_func(self->p->items, reinterpret_cast<gpointer>(onItemsChanged), self);
    g_clear_object(&self->p->items);
}

// The thread may hand out another list than before: the new one is followed.
static void followItems(ZvFindController* self)
{
    GListModel* items = self->p->thread ? zv_conversation_thread_get_visible_items(self->p->thread) : nullptr;
    if (items == self->p->items)
        return;
    unfollowItems(self);
    if (!items)
        return;
    self->p->items = G_LIST_MODEL(g_object_ref(items));
    g_signal_connect(items, "items-changed", G_CALLBACK(onItemsChanged), self);
}

static void zv_find_controller_dispose(GObject* object)
{
    auto* self = ZV_FIND_CONTROLLER(object);
    g_cancellable_cancel(self->p->loads);
    unfollowItems(self);
    if (self->p->controller)
        g_signal_handlers_disconnect_by_data(self->p->controller->countLabel(), self);
    self->p->controller.reset();
    clearViews(self);
    g_clear_object(&self->p->thread);
    G_OBJECT_CLASS(zv_find_controller_parent_class)->dispose(object);
}

static void zv_find_controller_finalize(GObject* object)
{
    g_object_unref(ZV_FIND_CONTROLLER(object)->p->loads);
    delete ZV_FIND_CONTROLLER(object)->p;
    G_OBJECT_CLASS(zv_find_controller_parent_class)->finalize(object);
}

static void zv_find_controller_get_property(GObject* object, guint id, GValue* value, GParamSpec* pspec)
{
    auto* self = ZV_FIND_CONTROLLER(object);
    switch (id) {
    case PROP_MATCH_COUNT:
        g_value_set_int64(value, zv_find_controller_get_match_count(self));
        break;
    case PROP_CONVERSATION_THREAD:
        g_value_set_object(value, self->p->thread);
        break;
    default:
        G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, pspec);
    }
}

static void zv_find_controller_set_property(GObject* object, guint id, const GValue* value, GParamSpec* pspec)
{
    auto* self = ZV_FIND_CONTROLLER(object);
    switch (id) {
    case PROP_CONVERSATION_THREAD:
        zv_find_controller_set_conversation_thread(self, ZV_CONVERSATION_THREAD(g_value_get_object(value)));
        break;
    default:
        G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, pspec);
    }
}

static void zv_find_controller_class_init(ZvFindControllerClass* klass)
{
    auto* object_class = G_OBJECT_CLASS(klass);
    object_class->dispose = zv_find_controller_dispose;
    object_class->finalize = zv_find_controller_finalize;
    object_class->get_property = zv_find_controller_get_property;
    object_class->set_property = zv_find_controller_set_property;

    /**
     * ZvFindController:match-count:
     *
     * The matches of the last search over all messages, as the bar shows it.
     */
    properties[PROP_MATCH_COUNT] = g_param_spec_int64("match-count", nullptr, nullptr, -1, G_MAXINT64, 0,
        GParamFlags(G_PARAM_READABLE | G_PARAM_STATIC_STRINGS | G_PARAM_EXPLICIT_NOTIFY));
    /**
     * ZvFindController:conversation-thread:
     *
     * The conversation searched, or %NULL when a list of views is.
     */
    properties[PROP_CONVERSATION_THREAD] = g_param_spec_object("conversation-thread", nullptr, nullptr,
        ZV_TYPE_CONVERSATION_THREAD, GParamFlags(G_PARAM_READWRITE | G_PARAM_STATIC_STRINGS | G_PARAM_EXPLICIT_NOTIFY));
    g_object_class_install_properties(object_class, N_PROPS, properties);

    /**
     * ZvFindController::found-result:
     * @self: the controller
     * @item: (nullable): the message of the match, %NULL when a list of
     *   views is searched
     * @x: the match's horizontal position in the message
     * @y: its vertical position, for the host to scroll to
     * @looped: whether the search wrapped around
     *
     * A step found a match.
     */
    signals[SIGNAL_FOUND_RESULT] = g_signal_new("found-result", G_TYPE_FROM_CLASS(klass), G_SIGNAL_RUN_LAST, 0,
        nullptr, nullptr, nullptr, G_TYPE_NONE, 4, ZV_TYPE_MESSAGE_ITEM, G_TYPE_DOUBLE, G_TYPE_DOUBLE, G_TYPE_BOOLEAN);
    /**
     * ZvFindController::hide-requested:
     * @self: the controller
     *
     * The user closed the bar (its done button or Escape); the host hides it.
     */
    signals[SIGNAL_HIDE_REQUESTED] = g_signal_new("hide-requested", G_TYPE_FROM_CLASS(klass), G_SIGNAL_RUN_LAST, 0,
        nullptr, nullptr, nullptr, G_TYPE_NONE, 0);
}

static void zv_find_controller_init(ZvFindController* self)
{
    self->p = new _ZvFindController::Private;
}

static void onCountLabel(GObject*, GParamSpec*, gpointer self)
{
    g_object_notify_by_pspec(G_OBJECT(self), properties[PROP_MATCH_COUNT]);
}

namespace zv::glib {

GtkWidget* findViewOf(ZvFindController* controller)
{
    return controller->p->controller->findView();
}

}  // namespace zv::glib

/**
 * zv_find_controller_new:
 * @options: how the bar is built
 *
 * Returns: (transfer full): a controller searching nothing yet
 */
ZvFindController* zv_find_controller_new(ZvFindControllerOptions options)
{
    g_return_val_if_fail(gtk_is_initialized(), nullptr);
    auto* self = ZV_FIND_CONTROLLER(g_object_new(ZV_TYPE_FIND_CONTROLLER, nullptr));
    auto delegate = std::make_shared<zv::ZVWebviewFindDelegate>();
    delegate->loadWebViewIfNeededForItem = [self](const zv::ZVWKConversationMessageItemRef& item,
                                                  ViewCompletion completion) {
        ZvMessageItem* host = itemOf(item);
        if (!host) {
            completion(nullptr);
            return;
        }
        zv_message_item_load_web_view_async(host, self->p->loads, onWebViewLoaded,
                                            new ViewCompletion(std::move(completion)));
    };
    delegate->foundResultInMessageItem = [self](zv::ZVWebViewFindController&, const zv::ZVWKConversationMessageItemRef& item,
                                                zv::Point offset, bool looped) {
        g_signal_emit(self, signals[SIGNAL_FOUND_RESULT], 0, itemOf(item), offset.x, offset.y, looped);
    };
    delegate->shouldHideFindView = [self](zv::ZVWebViewFindController&) {
        g_signal_emit(self, signals[SIGNAL_HIDE_REQUESTED], 0);
    };
    self->p->delegate = delegate;
    self->p->controller = zv::ZVWebViewFindController::create(delegate, options);
    g_signal_connect(self->p->controller->countLabel(), "notify::label", G_CALLBACK(onCountLabel), self);
    return self;
}

/**
 * zv_find_controller_set_web_views:
 * @self: a controller
 * @views: (array length=n_views): the views to search, in order
 * @n_views: how many
 *
 * Searches these views, and forgets the counts of earlier ones unless a
 * conversation is searched.
 */
void zv_find_controller_set_web_views(ZvFindController* self, ZvWebView** views, guint n_views)
{
    g_return_if_fail(ZV_IS_FIND_CONTROLLER(self));
    g_return_if_fail(views || n_views == 0);
    // Every view is checked before any is held, so a bad one leaks nothing.
    for (guint i = 0; i < n_views; ++i)
        g_return_if_fail(ZV_IS_WEB_VIEW(views[i]));
    std::vector<std::shared_ptr<zv::ZVWebView>> list;
    std::vector<ZvWebView*> held;
    for (guint i = 0; i < n_views; ++i) {
        list.push_back(zv::glib::webViewOf(views[i]));
        held.push_back(ZV_WEB_VIEW(g_object_ref(views[i])));
    }
    clearViews(self);
    self->p->views = std::move(held);
    self->p->controller->setWebviews(std::move(list));
}

/**
 * zv_find_controller_set_conversation_thread:
 * @self: a controller
 * @thread: (nullable): the conversation to search
 *
 * Searches the visible messages of @thread.
 */
void zv_find_controller_set_conversation_thread(ZvFindController* self, ZvConversationThread* thread)
{
    g_return_if_fail(ZV_IS_FIND_CONTROLLER(self));
    g_return_if_fail(!thread || ZV_IS_CONVERSATION_THREAD(thread));
    if (!g_set_object(&self->p->thread, thread))
        return;
    followItems(self);
    self->p->controller->setConversationThread(thread ? std::make_shared<ThreadAdapter>(thread) : nullptr);
    g_object_notify_by_pspec(G_OBJECT(self), properties[PROP_CONVERSATION_THREAD]);
}

/**
 * zv_find_controller_get_conversation_thread:
 * @self: a controller
 *
 * Returns: (transfer none) (nullable): the conversation searched
 */
ZvConversationThread* zv_find_controller_get_conversation_thread(ZvFindController* self)
{
    g_return_val_if_fail(ZV_IS_FIND_CONTROLLER(self), nullptr);
    return self->p->thread;
}

/**
 * zv_find_controller_update_visible_items:
 * @self: a controller
 *
 * Searches the conversation's visible messages again while the bar is on
 * screen. Changes to the thread's list call it by themselves; a host calls
 * it when its thread starts handing out another list, or when a message's
 * own text changed (a draft edited in place).
 */
void zv_find_controller_update_visible_items(ZvFindController* self)
{
    g_return_if_fail(ZV_IS_FIND_CONTROLLER(self));
    followItems(self);
    self->p->controller->updateVisibleConversationMessageItems();
}

/**
 * zv_find_controller_get_match_count:
 * @self: a controller
 *
 * Returns: the value of #ZvFindController:match-count
 */
gint64 zv_find_controller_get_match_count(ZvFindController* self)
{
    g_return_val_if_fail(ZV_IS_FIND_CONTROLLER(self), 0);
    return self->p->controller->currentCount();
}

/**
 * zv_find_controller_find:
 * @self: a controller
 * @text: (nullable): what to find; %NULL offers the text searched last in
 *   the process
 *
 * Puts @text into the bar and searches every message for it, with the style
 * the bar's menu holds. The count arrives in #ZvFindController:match-count.
 */
void zv_find_controller_find(ZvFindController* self, const char* text)
{
    g_return_if_fail(ZV_IS_FIND_CONTROLLER(self));
    self->p->controller->focusFindFieldWithValue(text ? std::optional<std::string>(zv::glib::Utf8Input(text).string())
                                                      : std::nullopt);
}

/**
 * zv_find_controller_find_next:
 * @self: a controller
 *
 * Steps to the next match, into the next message at the end of one.
 */
void zv_find_controller_find_next(ZvFindController* self)
{
    g_return_if_fail(ZV_IS_FIND_CONTROLLER(self));
    self->p->controller->findNext();
}

/**
 * zv_find_controller_find_previous:
 * @self: a controller
 *
 * Steps to the previous match.
 */
void zv_find_controller_find_previous(ZvFindController* self)
{
    g_return_if_fail(ZV_IS_FIND_CONTROLLER(self));
    self->p->controller->findPrevious();
}

/**
 * zv_find_controller_remove_all_highlights:
 * @self: a controller
 *
 * Removes the highlights from every message.
 */
void zv_find_controller_remove_all_highlights(ZvFindController* self)
{
    g_return_if_fail(ZV_IS_FIND_CONTROLLER(self));
    self->p->controller->removeAllHighlights();
}

/**
 * zv_find_controller_get_recent_searches:
 * @self: a controller
 *
 * Returns: (transfer full) (array zero-terminated=1): the recent searches,
 *   newest first, kept in the user defaults
 */
char** zv_find_controller_get_recent_searches(ZvFindController* self)
{
    g_return_val_if_fail(ZV_IS_FIND_CONTROLLER(self), nullptr);
    return zv::glib::newStrv(self->p->controller->recentSearches());
}

/**
 * zv_find_controller_clear_recent_searches:
 * @self: a controller
 *
 * Forgets the recent searches.
 */
void zv_find_controller_clear_recent_searches(ZvFindController* self)
{
    g_return_if_fail(ZV_IS_FIND_CONTROLLER(self));
    self->p->controller->clearRecentSearches();
}
