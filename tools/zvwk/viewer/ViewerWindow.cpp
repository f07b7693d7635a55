#include "ViewerWindow.h"

#include "DateText.h"
#include "ViewerResources.h"

#include <malloc.h>

#include <filesystem>
#include <mutex>
#include <set>

namespace zvwk::viewer {

namespace {

std::string withThousands(std::size_t n) {
    std::string digits = std::to_string(n);
    for (int i = int(digits.size()) - 3; i > 0; i -= 3) digits.insert(size_t(i), ",");
    return digits;
}

std::string firstName(const std::string& name) {
    size_t space = name.find(' ');
    return space == std::string::npos || name.find('@') != std::string::npos ? name : name.substr(0, space);
}

std::string mailboxTitle(const std::vector<std::string>& paths) {
    if (paths.size() != 1) return std::to_string(paths.size()) + " mailboxes";
    std::filesystem::path path(paths.front());
    std::string name = path.filename().string();
    if (name.empty()) name = path.parent_path().filename().string();
    return name.empty() ? paths.front() : name;
}

}  // namespace

ViewerWindow::ViewerWindow(GtkApplication* application, ViewerOptions options)
    : application_(application), options_(std::move(options)) {
    now_ = g_get_real_time() / G_USEC_PER_SEC;
    list_ = std::make_unique<MessageList>([this](std::size_t row) { return rowData(row); },
                                          [this](std::size_t row) {
                                              if (row < conversations().size())
                                                  previewer_->prioritize(conversations()[row].messages.back());
                                          });
    // Selecting a row from showConversation comes back here: that conversation is shown already.
    list_->selectionChanged = [this](std::size_t row) {
        if (shown_ != row) showConversation(row);
    };
    conversation_ = std::make_unique<ConversationView>();
    buildChrome();

    // The scheduler reads locations from a copy the loader fills, so worker
    // threads never touch messages_, which the main thread grows.
    auto locations = std::make_shared<std::vector<MessageLocation>>();
    auto locationsMutex = std::make_shared<std::mutex>();
    previewer_ = PreviewScheduler::create(
        [locations, locationsMutex](std::size_t message) {
            MessageLocation location;
            {
                std::lock_guard lock(*locationsMutex);
                location = (*locations)[message];
            }
            // A message with no text to show says why instead, as its card does.
            MessageContent content = readMessageContent(location);
            std::string preview = previewOfContent(content);
            return preview.empty() ? content.error : preview;
        },
        [this](std::size_t message, std::string preview) { previewReady(message, std::move(preview)); });

    loader_ = MailboxLoader::start(
        options_.paths,
        {[this](std::size_t total, const std::vector<std::string>& errors) {
             expected_ = total;
             mailboxErrors_ = errors;
             // The status names the first; its tooltip lists them all.
             std::string all;
             for (const std::string& error : errors) all += (all.empty() ? "" : "\n") + error;
             gtk_widget_set_tooltip_text(statusLabel_, all.empty() ? nullptr : all.c_str());
             messages_.reserve(total);
             updateStatus();
         },
         [this, locations, locationsMutex](std::size_t, std::vector<MessageSummary> batch) {
             {
                 std::lock_guard lock(*locationsMutex);
                 for (const MessageSummary& summary : batch) locations->push_back(summary.location);
             }
             addBatch(messages_.size(), std::move(batch));
         },
         [this] {
             // Rows on screen asked for theirs already; the rest are done
             // now that reading headers no longer needs the threads.
             for (std::size_t message = 0; message < messages_.size(); ++message) previewer_->enqueue(message);
             mailboxRead_ = true;
             updateStatus();
             if (mailboxReadHook) mailboxReadHook();
             if (arePreviewsDone() && previewsDoneHook) previewsDoneHook();
         }});
}

ViewerWindow::~ViewerWindow() {
    if (selectSource_) g_source_remove(selectSource_);
    if (startSource_) g_source_remove(startSource_);
    loader_->cancel();
    previewer_->cancel();
    conversation_->clear();
    if (menu_) g_object_unref(menu_);
    if (window_) gtk_window_destroy(window_);
}

void ViewerWindow::buildChrome() {
    registerViewerResources();
    g_autoptr(GtkBuilder) builder = gtk_builder_new_from_resource("/org/zvwebkit/zvwk/viewer/ViewerWindow.ui");
    window_ = GTK_WINDOW(gtk_builder_get_object(builder, "window"));
    gtk_window_set_application(window_, application_);
    gtk_window_set_title(window_, ("Mail Viewer – " + mailboxTitle(options_.paths)).c_str());
    g_signal_connect_swapped(window_, "destroy", G_CALLBACK(+[](gpointer self) {
                                 static_cast<ViewerWindow*>(self)->window_ = nullptr;
                             }),
                             this);
    gtk_label_set_text(GTK_LABEL(gtk_builder_get_object(builder, "title")), mailboxTitle(options_.paths).c_str());
    menu_ = G_MENU(g_object_ref(gtk_builder_get_object(builder, "menu")));
    statusLabel_ = GTK_WIDGET(gtk_builder_get_object(builder, "status_label"));
    progress_ = GTK_WIDGET(gtk_builder_get_object(builder, "progress"));
    topBarSlot_ = GTK_WIDGET(gtk_builder_get_object(builder, "top_bar_slot"));
    contentStack_ = GTK_WIDGET(gtk_builder_get_object(builder, "content_stack"));
    gtk_box_prepend(GTK_BOX(gtk_builder_get_object(builder, "sidebar")), list_->widget());
    gtk_stack_add_named(GTK_STACK(contentStack_), conversation_->widget(), "conversation");
}

void ViewerWindow::addBatch(std::size_t first, std::vector<MessageSummary> batch) {
    std::size_t before = grouper_.conversations().size();
    std::set<std::size_t> grown;
    for (std::size_t i = 0; i < batch.size(); ++i) {
        std::size_t message = first + i;
        auto placement = grouper_.add(message, batch[i]);
        if (!placement.created && placement.conversation < before) grown.insert(placement.conversation);
        conversationOfMessage_.push_back(placement.conversation);
        messages_.push_back(std::move(batch[i]));
        previews_.emplace_back();
    }
    list_->appendRows(grouper_.conversations().size() - before);
    for (std::size_t row : grown) list_->refreshRow(row);
    if (!webProcessStarting_) {
        // After the first rows are drawn too, but before anything is
        // selected: a conversation then opens without waiting for a process.
        webProcessStarting_ = true;
        startSource_ = g_idle_add_full(
            G_PRIORITY_LOW,
            [](gpointer self) -> gboolean {
                auto* window = static_cast<ViewerWindow*>(self);
                window->startSource_ = 0;
                window->conversation_->startWebProcess();
                return G_SOURCE_REMOVE;
            },
            this, nullptr);
    }
    if (!shown_ && !selectPending_ && options_.select.value_or(0) < list_->rowCount()) {
        // After the first rows are drawn: opening a conversation takes a
        // moment, and the list should not wait for it.
        selectPending_ = true;
        selectSource_ = g_idle_add_full(
            G_PRIORITY_LOW,
            [](gpointer self) -> gboolean {
                auto* window = static_cast<ViewerWindow*>(self);
                window->selectSource_ = 0;
                if (!window->shown_) window->list_->select(window->options_.select.value_or(0));
                return G_SOURCE_REMOVE;
            },
            this, nullptr);
    }
    updateStatus();
}

void ViewerWindow::previewReady(std::size_t message, std::string preview) {
    previews_[message] = std::move(preview);
    ++previewsDone_;
    std::size_t row = conversationOfMessage_[message];
    if (conversations()[row].messages.back() == message) list_->refreshRow(row);
    // A label set per preview would cost a large mailbox a relayout each; a
    // tenth of a second apart still counts visibly.
    const gint64 now = g_get_monotonic_time();
    if (now - statusShownAt_ >= 100'000 || previewsDone_ == messages_.size()) {
        statusShownAt_ = now;
        updateStatus();
    }
    if (!arePreviewsDone()) return;
    // The preview threads have parsed every message of the mailbox; glibc
    // keeps what they freed resident in their arenas until asked for it.
    malloc_trim(0);
    if (previewsDoneHook) previewsDoneHook();
}

void ViewerWindow::updateStatus() {
    std::string text;
    double fraction = 1;
    if (!mailboxRead_) {
        text = "Reading " + withThousands(messages_.size()) + " of " + withThousands(expected_) + " messages…";
        fraction = expected_ ? double(messages_.size()) / double(expected_) : 0;
    } else if (previewsDone_ < messages_.size()) {
        text = "Previews of " + withThousands(previewsDone_) + " of " + withThousands(messages_.size()) + " messages…";
        fraction = double(previewsDone_) / double(messages_.size());
    } else {
        text = withThousands(messages_.size()) + (messages_.size() == 1 ? " message" : " messages") + " in " +
               withThousands(conversations().size()) +
               (conversations().size() == 1 ? " conversation" : " conversations");
    }
    // The count comes first: a long path is cut at the label's end.
    if (!mailboxErrors_.empty()) {
        text += "  ·  ";
        if (mailboxErrors_.size() > 1) text += withThousands(mailboxErrors_.size()) + " not read: ";
        text += mailboxErrors_.front();
    }
    gtk_label_set_text(GTK_LABEL(statusLabel_), text.c_str());
    gtk_progress_bar_set_fraction(GTK_PROGRESS_BAR(progress_), fraction);
    gtk_widget_set_visible(progress_, !arePreviewsDone());
}

ConversationRow ViewerWindow::rowData(std::size_t row) const {
    const Conversation& conversation = conversations()[row];
    std::size_t latest = conversation.messages.back();
    const MessageSummary& summary = messages_[latest];
    ConversationRow data;
    data.messageCount = conversation.messages.size();
    data.date = shortDateText(conversation.latestDate, now_);
    data.preview = previews_[latest];
    if (!summary.error.empty()) {
        data.error = true;
        data.sender = std::filesystem::path(summary.location.path).filename().string();
        data.subject = "Unreadable message";
        data.preview = summary.error;
        return data;
    }
    data.subject = conversation.subject.empty() ? "(no subject)" : conversation.subject;
    // The people of a conversation, the latest last, as a reader names them.
    std::vector<std::string> names;
    for (std::size_t message : conversation.messages) {
        std::string name = messages_[message].fromName.empty() ? "(no sender)" : messages_[message].fromName;
        if (conversation.messages.size() > 1) name = firstName(name);
        std::erase(names, name);
        names.push_back(name);
    }
    if (names.size() > 3) names.erase(names.begin(), names.end() - 3);
    for (std::size_t i = 0; i < names.size(); ++i) data.sender += (i ? ", " : "") + names[i];
    return data;
}

void ViewerWindow::showConversation(std::size_t row) {
    if (row >= conversations().size()) return;
    shown_ = row;
    std::vector<MessageSummary> summaries;
    for (std::size_t message : conversations()[row].messages) summaries.push_back(messages_[message]);
    conversation_->show(conversations()[row].subject, summaries, options_.conversation);
    gtk_stack_set_visible_child_name(GTK_STACK(contentStack_), "conversation");
    if (list_->selectedRow() != row) list_->select(row);
    if (conversationShownHook) conversationShownHook();
}

void ViewerWindow::setDark(bool dark) {
    if (options_.conversation.dark == dark) return;
    options_.conversation.dark = dark;
    if (shown_) showConversation(*shown_);
}

void ViewerWindow::setTopBar(GtkWidget* bar) {
    while (GtkWidget* child = gtk_widget_get_first_child(topBarSlot_)) gtk_box_remove(GTK_BOX(topBarSlot_), child);
    if (bar) gtk_box_append(GTK_BOX(topBarSlot_), bar);
}

void ViewerWindow::addAction(const char* name, std::function<void()> activate, const char* accelerator) {
    GSimpleAction* action = g_simple_action_new(name, nullptr);
    auto* callback = new std::function<void()>(std::move(activate));
    g_signal_connect_data(
        action, "activate",
        G_CALLBACK(+[](GSimpleAction*, GVariant*, gpointer data) { (*static_cast<std::function<void()>*>(data))(); }),
        callback, +[](gpointer data, GClosure*) { delete static_cast<std::function<void()>*>(data); },
        GConnectFlags(0));
    g_action_map_add_action(G_ACTION_MAP(window_), G_ACTION(action));
    g_object_unref(action);
    if (accelerator) {
        const char* accelerators[] = {accelerator, nullptr};
        gtk_application_set_accels_for_action(application_, (std::string("win.") + name).c_str(), accelerators);
    }
}

void ViewerWindow::addMenuItem(const char* label, const char* action) {
    g_menu_append(menu_, label, (std::string("win.") + action).c_str());
}

}  // namespace zvwk::viewer
