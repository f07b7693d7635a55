#include "zv-private.h"

/**
 * ZvConversationThread:
 *
 * A conversation, implemented by the host: the messages it shows, which a
 * #ZvFindController searches in order.
 */
G_DEFINE_INTERFACE(ZvConversationThread, zv_conversation_thread, G_TYPE_OBJECT)

static void zv_conversation_thread_default_init(ZvConversationThreadInterface*) {}

/**
 * zv_conversation_thread_get_visible_items: (virtual get_visible_items)
 * @self: a conversation
 *
 * Returns: (transfer full): the messages on screen in display order, a list
 *   of #ZvMessageItem
 */
GListModel* zv_conversation_thread_get_visible_items(ZvConversationThread* self)
{
    g_return_val_if_fail(ZV_IS_CONVERSATION_THREAD(self), nullptr);
    auto* iface = ZV_CONVERSATION_THREAD_GET_IFACE(self);
    if (!iface->get_visible_items)
        return G_LIST_MODEL(g_list_store_new(ZV_TYPE_MESSAGE_ITEM));
    return iface->get_visible_items(self);
}
