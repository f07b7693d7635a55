#include "AttachmentFiles.h"

#include <glib/gstdio.h>


namespace zvwk::viewer {

namespace {

// Longest name written, in bytes: file systems allow 255.
constexpr std::size_t kLongestName = 200;

void tellFailure(GtkWindow* parent, const std::string& what, const std::string& why) {
    GtkWidget* dialog = gtk_message_dialog_new(parent, GTK_DIALOG_DESTROY_WITH_PARENT, GTK_MESSAGE_ERROR, GTK_BUTTONS_CLOSE,
                                               "%s", what.c_str());
    gtk_message_dialog_format_secondary_text(GTK_MESSAGE_DIALOG(dialog), "%s", why.c_str());
    g_signal_connect(dialog, "response", G_CALLBACK(gtk_window_destroy), nullptr);
    gtk_window_present(GTK_WINDOW(dialog));
}

}  // namespace

std::string safeAttachmentName(const std::string& filename) {
    std::size_t start = filename.find_last_of("/\\");
    std::string name = filename.substr(start == std::string::npos ? 0 : start + 1);
    name.erase(0, name.find_first_not_of(". "));
    for (char& c : name)
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f) c = '_';
    if (name.size() > kLongestName) {
        std::size_t end = kLongestName;
        while (end > 0 && (static_cast<unsigned char>(name[end]) & 0xC0) == 0x80) --end;
        name.resize(end);
    }
    return name.empty() ? "attachment" : name;
}

bool writeAttachment(const Attachment& attachment, const std::string& path, std::string& error) {
    GError* failure = nullptr;
    if (g_file_set_contents_full(path.c_str(), attachment.data.data(), gssize(attachment.data.size()),
                                 G_FILE_SET_CONTENTS_CONSISTENT, 0644, &failure))
        return true;
    error = failure->message;
    g_error_free(failure);
    return false;
}

std::optional<std::string> copyAttachmentToOpen(const Attachment& attachment, const std::string& cacheFolder,
                                                std::string& error) {
    if (g_mkdir_with_parents(cacheFolder.c_str(), 0700) != 0) {
        error = "cannot make " + cacheFolder;
        return std::nullopt;
    }
    std::string pattern = cacheFolder + "/XXXXXX";
    if (!g_mkdtemp_full(pattern.data(), 0700)) {
        error = "cannot make a folder in " + cacheFolder;
        return std::nullopt;
    }
    std::string path = pattern + "/" + safeAttachmentName(attachment.filename);
    if (!writeAttachment(attachment, path, error)) return std::nullopt;
    return path;
}

void openAttachment(const Attachment& attachment, GtkWindow* parent) {
    g_autofree char* folder = g_build_filename(g_get_user_cache_dir(), "zvwk", "attachments", nullptr);
    std::string error;
    std::optional<std::string> path = copyAttachmentToOpen(attachment, folder, error);
    if (!path) {
        tellFailure(parent, "“" + attachment.filename + "” cannot be opened", error);
        return;
    }
    g_autofree char* uri = g_filename_to_uri(path->c_str(), nullptr, nullptr);
    // What GTK's file launcher does without a portal; GTK 4.8 has no launcher of its own.
    g_app_info_launch_default_for_uri_async(uri, nullptr, nullptr, nullptr, nullptr);
}

void saveAttachment(const Attachment& attachment, GtkWindow* parent) {
    GtkFileChooserNative* chooser =
        gtk_file_chooser_native_new("Save Attachment", parent, GTK_FILE_CHOOSER_ACTION_SAVE, "_Save", "_Cancel");
    gtk_file_chooser_set_current_name(GTK_FILE_CHOOSER(chooser), safeAttachmentName(attachment.filename).c_str());
    gtk_native_dialog_set_modal(GTK_NATIVE_DIALOG(chooser), TRUE);
    auto* pending = new Attachment(attachment);
    g_signal_connect_data(
        chooser, "response", G_CALLBACK(+[](GtkNativeDialog* dialog, int response, gpointer data) {
            auto* chosen = static_cast<Attachment*>(data);
            g_autoptr(GFile) file = response == GTK_RESPONSE_ACCEPT ? gtk_file_chooser_get_file(GTK_FILE_CHOOSER(dialog)) : nullptr;
            g_autofree char* path = file ? g_file_get_path(file) : nullptr;
            std::string error;
            if (path && !writeAttachment(*chosen, path, error))
                tellFailure(gtk_native_dialog_get_transient_for(dialog), "“" + chosen->filename + "” was not saved", error);
            g_object_unref(dialog);
        }),
        pending, +[](gpointer data, GClosure*) { delete static_cast<Attachment*>(data); }, GConnectFlags(0));
    gtk_native_dialog_show(GTK_NATIVE_DIALOG(chooser));
}

}  // namespace zvwk::viewer
