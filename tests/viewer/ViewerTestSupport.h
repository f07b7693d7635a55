// What the viewer tests share: a scratch folder, and messages written into it.
#pragma once

#include "TemporaryFolder.h"
#include "WebViewHarness.h"

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
