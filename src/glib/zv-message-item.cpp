#include "zv-private.h"

/**
 * ZvMessageItem:
 *
 * A message of a conversation, implemented by the host, for a
 * #ZvFindController that searches the conversation: its key, its view when
 * loaded, and its count of matches while it has none.
 *
 * When a step of the search goes into a message without a view, the
 * controller asks for one with zv_message_item_load_web_view_async() and
 * steps in when it answers. A host whose view is ready at once implements
 * load_web_view only; one that loads the message first (from its store,
 * over the network) implements load_web_view_async and
 * load_web_view_finish (a Vala `async` method).
 */
G_DEFINE_INTERFACE(ZvMessageItem, zv_message_item, G_TYPE_OBJECT)

static void loadWebViewAtOnce(ZvMessageItem* self, GCancellable* cancellable, GAsyncReadyCallback callback,
                              gpointer user_data)
{
    g_autoptr(GTask) task = g_task_new(self, cancellable, callback, user_data);
    g_task_set_source_tag(task, reinterpret_cast<gpointer>(loadWebViewAtOnce));
    if (g_task_return_error_if_cancelled(task))
        return;
    g_task_return_pointer(task, zv_message_item_load_web_view(self), g_object_unref);
}

static ZvWebView* loadWebViewAtOnceFinish(ZvMessageItem* self, GAsyncResult* result, GError** error)
{
    g_return_val_if_fail(g_task_is_valid(result, self), nullptr);
    return static_cast<ZvWebView*>(g_task_propagate_pointer(G_TASK(result), error));
}

static void zv_message_item_default_init(ZvMessageItemInterface* iface)
{
    iface->load_web_view_async = loadWebViewAtOnce;
    iface->load_web_view_finish = loadWebViewAtOnceFinish;
}

/**
 * zv_message_item_get_script_identifier: (virtual get_script_identifier)
 * @self: an item
 *
 * Returns: (transfer full) (nullable): the message's key, unique in the
 *   conversation; %NULL leaves the message unsearched
 */
char* zv_message_item_get_script_identifier(ZvMessageItem* self)
{
    g_return_val_if_fail(ZV_IS_MESSAGE_ITEM(self), nullptr);
    auto* iface = ZV_MESSAGE_ITEM_GET_IFACE(self);
    return iface->get_script_identifier ? iface->get_script_identifier(self) : nullptr;
}

/**
 * zv_message_item_get_web_view: (virtual get_web_view)
 * @self: an item
 *
 * Returns: (transfer none) (nullable): the message's view, which the item
 *   keeps, or %NULL while it is not loaded
 */
ZvWebView* zv_message_item_get_web_view(ZvMessageItem* self)
{
    g_return_val_if_fail(ZV_IS_MESSAGE_ITEM(self), nullptr);
    auto* iface = ZV_MESSAGE_ITEM_GET_IFACE(self);
    return iface->get_web_view ? iface->get_web_view(self) : nullptr;
}

/**
 * zv_message_item_count_matches: (virtual count_matches)
 * @self: an item
 * @strings: (array zero-terminated=1): the search strings
 *
 * Returns: the number of matches in the message, counted by the host
 *   without a view; 0 when the item does not count
 */
gint64 zv_message_item_count_matches(ZvMessageItem* self, const char* const* strings)
{
    g_return_val_if_fail(ZV_IS_MESSAGE_ITEM(self), 0);
    auto* iface = ZV_MESSAGE_ITEM_GET_IFACE(self);
    return iface->count_matches ? iface->count_matches(self, strings) : 0;
}

/**
 * zv_message_item_load_web_view: (virtual load_web_view)
 * @self: an item
 *
 * Makes the message's view if it has none and starts loading it.
 *
 * Returns: (transfer full) (nullable): the view, or %NULL when the message
 *   cannot be shown
 */
ZvWebView* zv_message_item_load_web_view(ZvMessageItem* self)
{
    g_return_val_if_fail(ZV_IS_MESSAGE_ITEM(self), nullptr);
    auto* iface = ZV_MESSAGE_ITEM_GET_IFACE(self);
    if (iface->load_web_view)
        return iface->load_web_view(self);
    ZvWebView* view = zv_message_item_get_web_view(self);
    return view ? ZV_WEB_VIEW(g_object_ref(view)) : nullptr;
}

/**
 * zv_message_item_load_web_view_async: (virtual load_web_view_async)
 * @self: an item
 * @cancellable: (nullable): to give up waiting
 * @callback: (scope async): called with the view, once it has loaded
 * @user_data: (closure): for @callback
 *
 * Makes the message's view if it has none and loads it.
 */
void zv_message_item_load_web_view_async(ZvMessageItem* self, GCancellable* cancellable, GAsyncReadyCallback callback,
                                         gpointer user_data)
{
    g_return_if_fail(ZV_IS_MESSAGE_ITEM(self));
    g_return_if_fail(!cancellable || G_IS_CANCELLABLE(cancellable));
    ZV_MESSAGE_ITEM_GET_IFACE(self)->load_web_view_async(self, cancellable, callback, user_data);
}

/**
 * zv_message_item_load_web_view_finish: (virtual load_web_view_finish)
 * @self: an item
 * @result: the result handed to the callback
 * @error: set when the view could not be made (%G_IO_ERROR_CANCELLED when
 *   cancelled)
 *
 * Returns: (transfer full) (nullable): the view, or %NULL when the message
 *   cannot be shown
 */
ZvWebView* zv_message_item_load_web_view_finish(ZvMessageItem* self, GAsyncResult* result, GError** error)
{
    g_return_val_if_fail(ZV_IS_MESSAGE_ITEM(self), nullptr);
    g_return_val_if_fail(G_IS_ASYNC_RESULT(result), nullptr);
    return ZV_MESSAGE_ITEM_GET_IFACE(self)->load_web_view_finish(self, result, error);
}
