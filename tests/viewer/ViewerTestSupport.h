// What the viewer tests share: a scratch folder, messages written into it,
// and a viewer window opened on them.
#pragma once

#include "TemporaryFolder.h"
#include "WebViewHarness.h"
#include "viewer/ViewerWindow.h"

#include <zv/webview/ScriptEvaluation.h>

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

namespace zvwk::viewer::test {

// A fresh folder under the system's temporary folder, removed afterwards.
class ScratchFolder {
public:
    std::filesystem::path path() const { return folder_.path(); }

    // Writes `text` (line feeds become CRLF, as mail stores them) to `name`.
    std::filesystem::path write(const std::string& name, const std::string& text) const {
        std::string crlf;
        for (char c : text) {
            if (c == '\n') crlf += '\r';
            crlf += c;
        }
        folder_.write(name, crlf);
        return folder_.pathOf(name);
    }

private:
    zv::test::TemporaryFolder folder_;
};

// A message with the given headers block (without the blank line) and body.
inline std::string message(const std::string& headers, const std::string& body) {
    return headers + "\nMIME-Version: 1.0\n\n" + body;
}

// Sent `minute` minutes after 10:00 on 16 November 2026.
inline std::string htmlMessage(const std::string& id, const std::string& subject, const std::string& html,
                               const std::string& extraHeaders = "", int minute = 0) {
    std::string date = "Mon, 16 Nov 2026 10:" + std::string(minute < 10 ? "0" : "") + std::to_string(minute) + ":00 +0000";
    return message("From: Ann Example <ann@example.org>\nTo: bob@example.org\nSubject: " + subject +
                       "\nDate: " + date + "\nMessage-ID: <" + id + ">\n" + extraHeaders +
                       "Content-Type: text/html; charset=utf-8",
                   html);
}

// A viewer window on the mailbox folder `box`, in a GTK application of its
// own that outlives it. Made hidden, so that extensions can be attached
// before it shows.
class ViewerOnMailbox {
public:
    explicit ViewerOnMailbox(const std::filesystem::path& box)
        : application_(registeredApplication()), window_(application_.get(), optionsFor(box)) {}

    ViewerWindow& window() { return window_; }

    // Presents the window and waits for its mailbox to be read.
    bool present() {
        gtk_window_present(window_.window());
        return zv::test::spinUntil([&] { return window_.isMailboxRead(); }, std::chrono::seconds(20));
    }

    // Presents the window, shows its first conversation and waits for it to load.
    bool showFirstConversation() {
        if (!present()) return false;
        window_.showConversation(0);
        return zv::test::spinUntil([&] { return window_.conversationView().isLoaded(); }, std::chrono::seconds(30));
    }

private:
    struct Release {
        void operator()(GtkApplication* application) const { g_object_unref(application); }
    };
    static ViewerOptions optionsFor(const std::filesystem::path& box) {
        ViewerOptions options;
        options.paths = {box.string()};
        return options;
    }
    static GtkApplication* registeredApplication() {
        GtkApplication* application = gtk_application_new("org.zvwebkit.ViewerTest", G_APPLICATION_NON_UNIQUE);
        g_application_register(G_APPLICATION(application), nullptr, nullptr);
        return application;
    }

    std::unique_ptr<GtkApplication, Release> application_;
    ViewerWindow window_;
};

// The value of `script` in `view`'s page, nothing when it threw or gave no
// answer within the bound.
inline std::optional<zv::Value> evaluate(WebKitWebView* view, const std::string& script) {
    auto result = std::make_shared<std::optional<zv::Value>>();
    auto done = std::make_shared<bool>(false);
    zv::evaluateJavaScript(view, script, [result, done](std::optional<zv::Value> value, std::optional<zv::Error>) {
        *result = std::move(value);
        *done = true;
    });
    zv::test::spinUntil([&] { return *done; }, zv::test::kScriptTimeout);
    return *result;
}

}  // namespace zvwk::viewer::test
