#include "PageTestSupport.h"


#include <gtest/gtest.h>

namespace zv::test {

DelayedServer::DelayedServer() : server_(soup_server_new(nullptr, nullptr)) {
    soup_server_add_handler(server_, nullptr, handle, this, nullptr);
    GError* error = nullptr;
    soup_server_listen_local(server_, 0, SOUP_SERVER_LISTEN_IPV4_ONLY, &error);
    EXPECT_EQ(error, nullptr);
    g_clear_error(&error);
    GSList* uris = soup_server_get_uris(server_);
    if (uris) port_ = g_uri_get_port(static_cast<GUri*>(uris->data));
    g_slist_free_full(uris, reinterpret_cast<GDestroyNotify>(g_uri_unref));
}

DelayedServer::~DelayedServer() {
    for (Paused* paused : paused_) {
        g_source_remove(paused->source);
        delete paused;
    }
    soup_server_disconnect(server_);
    g_object_unref(server_);
}

void DelayedServer::serve(const std::string& path, std::string body, std::chrono::milliseconds delay) {
    routes_[path] = {std::move(body), delay};
}

std::string DelayedServer::url(const std::string& path) const {
    return "http://127.0.0.1:" + std::to_string(port_) + path;
}

void DelayedServer::handle(SoupServer*, SoupServerMessage* message, const char* path, GHashTable*, gpointer data) {
    auto* self = static_cast<DelayedServer*>(data);
    auto found = self->routes_.find(path);
    if (found == self->routes_.end()) {
        soup_server_message_set_status(message, 404, nullptr);
        return;
    }
    const Route& route = found->second;
    soup_server_message_set_response(message, "text/html; charset=utf-8", SOUP_MEMORY_COPY, route.body.data(),
                                     route.body.size());
    soup_server_message_set_status(message, 200, nullptr);
    if (route.delay.count() == 0) return;
    soup_server_message_pause(message);
    auto* paused = new Paused{self, message};
    paused->source = g_timeout_add_once(
        guint(route.delay.count()),
        [](gpointer data) {
            auto* p = static_cast<Paused*>(data);
            std::erase(p->server->paused_, p);
            soup_server_message_unpause(p->message);
            delete p;
        },
        paused);
    self->paused_.push_back(paused);
}

std::optional<Value> evaluateIn(ZVWebWindowController& window, const std::string& script) {
    // Shared, so that an answer arriving after the bound has somewhere to go.
    auto answer = std::make_shared<std::pair<bool, std::optional<Value>>>();
    evaluateJavaScript(window.webView()->webView(), script, [answer](std::optional<Value> value, std::optional<Error>) {
        *answer = {true, std::move(value)};
    });
    EXPECT_TRUE(spinUntil([&] { return answer->first; }, kScriptTimeout)) << script;
    return answer->second;
}

}  // namespace zv::test
