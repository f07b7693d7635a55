#include "zv-private.h"

/**
 * ZvMessageItem:
 *
 * A message of a conversation, implemented by the host, for a
 * #ZvFindController that searches the conversation: its key, its view when
 * loaded, and its count of matches while it has none.
 */
G_DEFINE_INTERFACE(ZvMessageItem, zv_message_item, G_TYPE_OBJECT)

static void zv_message_item_default_init(ZvMessageItemInterface*) {}

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
 * Returns: (transfer full) (nullable): the message's view, or %NULL while it
 *   is not loaded
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
    return iface->load_web_view ? iface->load_web_view(self) : zv_message_item_get_web_view(self);
}
