#include "zv-private.h"

/**
 * ZvConversationThread:
 *
 * A conversation, implemented by the host: the messages it shows, which a
 * #ZvFindController searches in order. The thread keeps one list for its
 * visible messages and changes it in place (a #GListStore), so the
 * controller follows additions and removals by itself.
 */
G_DEFINE_INTERFACE(ZvConversationThread, zv_conversation_thread, G_TYPE_OBJECT)

static void zv_conversation_thread_default_init(ZvConversationThreadInterface*) {}

/**
 * zv_conversation_thread_get_visible_items: (virtual get_visible_items)
 * @self: a conversation
 *
 * Returns: (transfer none) (nullable): the messages on screen in display
 *   order, a list of #ZvMessageItem the thread keeps; %NULL for none
 */
GListModel* zv_conversation_thread_get_visible_items(ZvConversationThread* self)
{
    g_return_val_if_fail(ZV_IS_CONVERSATION_THREAD(self), nullptr);
    auto* iface = ZV_CONVERSATION_THREAD_GET_IFACE(self);
    return iface->get_visible_items ? iface->get_visible_items(self) : nullptr;
}
