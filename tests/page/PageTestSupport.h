// What the page-window tests share: a folder of page files removed after
// the test, an HTTP server on 127.0.0.1 whose answers come after a delay of
// each path's choosing, and waiting for a page controller's loads.
#pragma once

#include "TemporaryFolder.h"
#include "WebViewHarness.h"

#include <zv/page/ZVWebWindowController.h>
#include <zv/webview/ScriptEvaluation.h>

#include <libsoup/soup.h>

#include <chrono>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace zv::test {

class PageFolder : public TemporaryFolder {
public:
    URL url(const std::string& relative) const { return *URL::fromFilePath(pathOf(relative)); }
};

// Serves registered bodies with status 200 after their delay; any other path is 404.
class DelayedServer {
public:
    DelayedServer();
    ~DelayedServer();
    void serve(const std::string& path, std::string body, std::chrono::milliseconds delay = {});
    std::string url(const std::string& path) const;

private:
    struct Route {
        std::string body;
        std::chrono::milliseconds delay;
    };
    static void handle(SoupServer*, SoupServerMessage* message, const char* path, GHashTable*, gpointer self);
    SoupServer* server_;
    int port_ = 0;
    std::map<std::string, Route> routes_;
    struct Paused {
        DelayedServer* server;
        SoupServerMessage* message;
        guint source = 0;
    };
    std::vector<Paused*> paused_;
};

// Every completion a controller's loads gave, in order (true: with an error).
struct LoadRecord {
    std::vector<std::optional<Error>> outcomes;

    ZVWebPageController::Completion completion() {
        return [this](std::optional<Error> error) { outcomes.push_back(std::move(error)); };
    }
    bool waitFor(size_t count) { return spinUntil([&] { return outcomes.size() >= count; }, kLoadTimeout); }
};

// The script's answer in the controller's page, waited for with a bound.
std::optional<Value> evaluateIn(ZVWebWindowController& window, const std::string& script);

}  // namespace zv::test
