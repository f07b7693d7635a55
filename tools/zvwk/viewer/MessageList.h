// The message list: one row per conversation in a GtkListView, so only the
// rows on screen have widgets and a hundred thousand scroll smoothly. Rows
// are drawn from the host's data when they come on screen, and the host is
// told, so it can compute what those rows need first.
#pragma once

#include <gtk/gtk.h>

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <unordered_map>

namespace zvwk::viewer {

struct ConversationRow {
    std::string sender;
    std::string subject;
    std::string date;
    std::string preview;  // empty while not computed
    std::size_t messageCount = 1;
    bool error = false;
};

class MessageList {
public:
    using RowData = std::function<ConversationRow(std::size_t row)>;
    // `rowData` is asked for a row's contents whenever it is shown; `rowShown`
    // is told which row came on screen.
    MessageList(RowData rowData, std::function<void(std::size_t row)> rowShown);
    ~MessageList();
    MessageList(const MessageList&) = delete;
    MessageList& operator=(const MessageList&) = delete;

    GtkWidget* widget() const { return scroller_; }

    std::size_t rowCount() const;
    void appendRows(std::size_t count);
    // Draws the row again from the host's data.
    void refreshRow(std::size_t row);
    // Rows that have been drawn at least once.
    std::size_t rowsShown() const { return rowsShown_; }

    void select(std::size_t row);
    std::optional<std::size_t> selectedRow() const;
    std::function<void(std::size_t row)> selectionChanged;

private:
    static void onSetup(GtkSignalListItemFactory*, GtkListItem* item, gpointer self);
    static void onBind(GtkSignalListItemFactory*, GtkListItem* item, gpointer self);
    static void onUnbind(GtkSignalListItemFactory*, GtkListItem* item, gpointer self);
    void fill(GtkListItem* item, std::size_t row);
    static void onSelected(GtkSingleSelection* selection, GParamSpec*, gpointer self);

    RowData rowData_;
    std::function<void(std::size_t)> rowShown_;
    GtkWidget* scroller_ = nullptr;  // held by a reference of its own
    GListStore* store_ = nullptr;
    GtkSingleSelection* selection_ = nullptr;
    std::size_t rowsShown_ = 0;
    // The rows that have a widget now. A row is redrawn in place: telling
    // the list view that an item changed would rebind every row it holds.
    std::unordered_map<std::size_t, GtkListItem*> bound_;
};

}  // namespace zvwk::viewer
