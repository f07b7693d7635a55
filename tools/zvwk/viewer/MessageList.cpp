#include "MessageList.h"

#include <vector>

namespace zvwk::viewer {

namespace {

constexpr char kRowKey[] = "zvwk-row";

GtkWidget* rowLabel(const char* cssClass, GtkWidget* box, const char* key) {
    GtkWidget* label = gtk_label_new("");
    gtk_widget_add_css_class(label, cssClass);
    gtk_label_set_xalign(GTK_LABEL(label), 0);
    gtk_label_set_ellipsize(GTK_LABEL(label), PANGO_ELLIPSIZE_END);
    gtk_label_set_single_line_mode(GTK_LABEL(label), TRUE);
    g_object_set_data(G_OBJECT(box), key, label);
    return label;
}

GtkLabel* labelOf(GtkWidget* box, const char* key) { return GTK_LABEL(g_object_get_data(G_OBJECT(box), key)); }

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
    GtkWidget* box = gtk_box_new(GTK_ORIENTATION_VERTICAL, 2);
    gtk_widget_add_css_class(box, "row-box");
    GtkWidget* top = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 6);
    GtkWidget* sender = rowLabel("row-sender", box, "sender");
    gtk_widget_set_hexpand(sender, TRUE);
    gtk_box_append(GTK_BOX(top), sender);
    gtk_box_append(GTK_BOX(top), rowLabel("row-count", box, "count"));
    gtk_box_append(GTK_BOX(top), rowLabel("row-date", box, "date"));
    gtk_box_append(GTK_BOX(box), top);
    gtk_box_append(GTK_BOX(box), rowLabel("row-subject", box, "subject"));
    gtk_box_append(GTK_BOX(box), rowLabel("row-preview", box, "preview"));
    gtk_list_item_set_child(item, box);
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
    GtkWidget* box = gtk_list_item_get_child(item);
    gtk_label_set_text(labelOf(box, "sender"), data.sender.c_str());
    gtk_label_set_text(labelOf(box, "subject"), data.subject.c_str());
    gtk_label_set_text(labelOf(box, "date"), data.date.c_str());
    gtk_label_set_text(labelOf(box, "preview"), data.preview.empty() ? " " : data.preview.c_str());
    GtkLabel* count = labelOf(box, "count");
    gtk_label_set_text(count, std::to_string(data.messageCount).c_str());
    gtk_widget_set_visible(GTK_WIDGET(count), data.messageCount > 1);
    if (data.error) gtk_widget_add_css_class(box, "error");
    else gtk_widget_remove_css_class(box, "error");
}

void MessageList::onSelected(GtkSingleSelection* selection, GParamSpec*, gpointer self) {
    auto* list = static_cast<MessageList*>(self);
    guint selected = gtk_single_selection_get_selected(selection);
    if (selected != GTK_INVALID_LIST_POSITION && list->selectionChanged) list->selectionChanged(selected);
}

}  // namespace zvwk::viewer
