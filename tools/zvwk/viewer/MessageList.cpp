#include "MessageList.h"

#include "MessageListRow.h"

#include <vector>

namespace zvwk::viewer {

namespace {

constexpr char kRowKey[] = "zvwk-row";

std::size_t rowOf(gpointer item) { return GPOINTER_TO_SIZE(g_object_get_data(G_OBJECT(item), kRowKey)); }

}  // namespace

MessageList::MessageList(RowData rowData, std::function<void(std::size_t row)> rowShown)
    : rowData_(std::move(rowData)), rowShown_(std::move(rowShown)) {
    store_ = g_list_store_new(G_TYPE_OBJECT);
    selection_ = gtk_single_selection_new(G_LIST_MODEL(g_object_ref(store_)));
    gtk_single_selection_set_autoselect(selection_, FALSE);
    gtk_single_selection_set_can_unselect(selection_, TRUE);
    g_signal_connect(selection_, "notify::selected", G_CALLBACK(onSelected), this);

    GtkListItemFactory* factory = gtk_signal_list_item_factory_new();
    g_signal_connect(factory, "setup", G_CALLBACK(onSetup), this);
    g_signal_connect(factory, "bind", G_CALLBACK(onBind), this);
    g_signal_connect(factory, "unbind", G_CALLBACK(onUnbind), this);
    GtkWidget* list = gtk_list_view_new(GTK_SELECTION_MODEL(g_object_ref(selection_)), factory);
    gtk_widget_add_css_class(list, "message-list");

    scroller_ = gtk_scrolled_window_new();
    g_object_ref_sink(scroller_);
    gtk_scrolled_window_set_policy(GTK_SCROLLED_WINDOW(scroller_), GTK_POLICY_NEVER, GTK_POLICY_AUTOMATIC);
    gtk_scrolled_window_set_child(GTK_SCROLLED_WINDOW(scroller_), list);
    gtk_widget_set_vexpand(scroller_, TRUE);
}

MessageList::~MessageList() {
    g_signal_handlers_disconnect_by_data(selection_, this);
    GtkWidget* list = gtk_scrolled_window_get_child(GTK_SCROLLED_WINDOW(scroller_));
    GtkListItemFactory* factory = gtk_list_view_get_factory(GTK_LIST_VIEW(list));
    g_signal_handlers_disconnect_by_data(factory, this);
    g_object_unref(selection_);
    g_object_unref(store_);
    g_object_unref(scroller_);
}

std::size_t MessageList::rowCount() const { return g_list_model_get_n_items(G_LIST_MODEL(store_)); }

void MessageList::appendRows(std::size_t count) {
    if (count == 0) return;
    std::size_t first = rowCount();
    std::vector<gpointer> items(count);
    for (std::size_t i = 0; i < count; ++i) {
        items[i] = g_object_new(G_TYPE_OBJECT, nullptr);
        g_object_set_data(G_OBJECT(items[i]), kRowKey, GSIZE_TO_POINTER(first + i));
    }
    g_list_store_splice(store_, guint(first), 0, items.data(), guint(count));
    for (gpointer item : items) g_object_unref(item);
}

void MessageList::refreshRow(std::size_t row) {
    if (auto it = bound_.find(row); it != bound_.end()) fill(it->second, row);
}

void MessageList::select(std::size_t row) {
    if (row < rowCount()) gtk_single_selection_set_selected(selection_, guint(row));
}

std::optional<std::size_t> MessageList::selectedRow() const {
    guint selected = gtk_single_selection_get_selected(selection_);
    if (selected == GTK_INVALID_LIST_POSITION) return std::nullopt;
    return selected;
}

void MessageList::onSetup(GtkSignalListItemFactory*, GtkListItem* item, gpointer) {
    gtk_list_item_set_child(item, zvwk_message_list_row_new());
}

void MessageList::onBind(GtkSignalListItemFactory*, GtkListItem* item, gpointer self) {
    auto* list = static_cast<MessageList*>(self);
    std::size_t row = rowOf(gtk_list_item_get_item(item));
    list->bound_[row] = item;
    list->fill(item, row);
    ++list->rowsShown_;
    if (list->rowShown_) list->rowShown_(row);
}

void MessageList::onUnbind(GtkSignalListItemFactory*, GtkListItem* item, gpointer self) {
    auto* list = static_cast<MessageList*>(self);
    auto it = list->bound_.find(rowOf(gtk_list_item_get_item(item)));
    if (it != list->bound_.end() && it->second == item) list->bound_.erase(it);
}

void MessageList::fill(GtkListItem* item, std::size_t row) {
    ConversationRow data = rowData_(row);
    zvwk_message_list_row_set_conversation(ZVWK_MESSAGE_LIST_ROW(gtk_list_item_get_child(item)), data.sender.c_str(),
                                           data.subject.c_str(), data.date.c_str(), data.preview.c_str(),
                                           guint(data.messageCount), data.error);
}

void MessageList::onSelected(GtkSingleSelection* selection, GParamSpec*, gpointer self) {
    auto* list = static_cast<MessageList*>(self);
    guint selected = gtk_single_selection_get_selected(selection);
    if (selected != GTK_INVALID_LIST_POSITION && list->selectionChanged) list->selectionChanged(selected);
}

}  // namespace zvwk::viewer
