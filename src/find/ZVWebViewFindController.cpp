// The find controller's search side: what is searched, the per-message
// bookkeeping fed by the pages, and stepping through the matches.
#include <zv/find/ZVWebViewFindController.h>

#include "SearchValuesMessage.h"

#include <zv/find/FindOptions.h>
#include <zv/foundation/Log.h>
#include <zv/webview/ScriptEvaluation.h>
#include <zv/webview/ScriptValue.h>
#include <zv/webview/ZVWebView.h>

#include <algorithm>

namespace zv {

namespace {

constexpr char kSearchValuesMessage[] = "searchValues";

std::string newKey() {
    char* uuid = g_uuid_string_random();
    std::string key(uuid);
    g_free(uuid);
    return key;
}

// The page's scroll position, added to a position below the visible top to
// place it in the whole document.
void withScrollY(ZVWebView& view, std::function<void(double)> completion) {
    evaluateJavaScript(view.webView(), "window.scrollY",
                       [completion = std::move(completion)](std::optional<Value> value, std::optional<Error>) {
                           completion(value && value->is_number() ? static_cast<float>(value->get<double>()) : 0.0);
                       });
}

}  // namespace

struct ZVWebViewFindController::MessageHandler {
    std::weak_ptr<ZVWebViewFindController> controller;
    std::weak_ptr<ZVWebView> webview;
    GObjectRef<WebKitUserContentManager> manager;
    gulong id = 0;

    // A controller made later for the same view registers its own.
    ~MessageHandler() {
        g_signal_handler_disconnect(manager.get(), id);
        webkit_user_content_manager_unregister_script_message_handler(manager.get(), kSearchValuesMessage, nullptr);
        if (auto view = webview.lock()) view->setScriptsLoaded(false);
    }

    static void received(WebKitUserContentManager*, JSCValue* body, gpointer data) {
        auto* handler = static_cast<MessageHandler*>(data);
        if (auto controller = handler->controller.lock())
            controller->didReceiveScriptMessage(valueFromJSCValue(body).value_or(Value()));
    }
};

ZVWebViewFindController::ZVWebViewFindController(std::weak_ptr<ZVWebviewFindDelegate> delegate, unsigned options)
    : delegate_(std::move(delegate)),
      options_(options),
      defaultKey_((options & NoRegularExpressions) ? ZVSearchStyleNoRegKey : ZVSearchStyleKey) {}

std::shared_ptr<ZVWebViewFindController> ZVWebViewFindController::create(std::weak_ptr<ZVWebviewFindDelegate> delegate,
                                                                         unsigned options) {
    std::shared_ptr<ZVWebViewFindController> controller(new ZVWebViewFindController(std::move(delegate), options));
    controller->loadView();
    std::weak_ptr<ZVWebViewFindController> weak = controller;
    // Called under the table's lock, as every change of a count is.
    controller->results_.setTotalObserver([weak](int64_t total) {
        if (auto self = weak.lock()) self->setCurrentCount(total);
    });
    controller->connectView();
    controller->viewDidLoad();
    return controller;
}

std::shared_ptr<ZVWebViewFindController> ZVWebViewFindController::create(
    std::shared_ptr<ZVWKConversationThread> thread, std::weak_ptr<ZVWebviewFindDelegate> delegate, unsigned options) {
    auto controller = create(std::move(delegate), options);
    controller->setConversationThread(std::move(thread));
    return controller;
}

ZVWebViewFindController::~ZVWebViewFindController() {
    handlers_.clear();
    disconnectView();
}

void ZVWebViewFindController::installMessageHandler(ZVWebView& webview) {
    WebKitUserContentManager* manager = webview.userContentManager();
    auto handler = std::make_unique<MessageHandler>();
    handler->controller = weak_from_this();
    handler->webview = webview.weak_from_this();
    handler->manager = GObjectRef<WebKitUserContentManager>::ref(manager);
    std::string signal = std::string("script-message-received::") + kSearchValuesMessage;
    handler->id = g_signal_connect(manager, signal.c_str(), G_CALLBACK(MessageHandler::received), handler.get());
    webkit_user_content_manager_register_script_message_handler(manager, kSearchValuesMessage, nullptr);
    handlers_.push_back(std::move(handler));
    webview.setScriptsLoaded(true);
}

void ZVWebViewFindController::setWebviews(std::vector<std::shared_ptr<ZVWebView>> webviews) {
    webviews_ = std::move(webviews);
    if (!thread_) results_.removeAll();
    for (const auto& webview : webviews_) {
        if (webview->scriptIdent().empty()) webview->setScriptIdent(newKey());
        if (!webview->scriptsLoaded()) installMessageHandler(*webview);
    }
}

void ZVWebViewFindController::setConversationThread(std::shared_ptr<ZVWKConversationThread> thread) {
    thread_ = std::move(thread);
    currentMessageID_.reset();
    results_.removeAll();
    if (!thread_) return;
    for (const auto& item : thread_->visibleConversationMessageItems()) {
        auto webview = item->webView();
        auto key = item->scriptIdentifier();
        if (webview && key) webview->setScriptIdent(*key);
    }
}

ZVWKConversationMessageItemRef ZVWebViewFindController::currentItem() const {
    if (!thread_ || !currentMessageID_) return nullptr;
    for (const auto& item : thread_->visibleConversationMessageItems())
        if (item->scriptIdentifier() == currentMessageID_) return item;
    return nullptr;
}

void ZVWebViewFindController::setCurrentItem(const ZVWKConversationMessageItemRef& item) {
    currentMessageID_ = item ? item->scriptIdentifier() : std::nullopt;
}

std::shared_ptr<ZVWebView> ZVWebViewFindController::currentWebview() const {
    if (!currentMessageID_) return nullptr;
    if (auto item = currentItem())
        if (auto webview = item->webView()) return webview;
    for (const auto& webview : webviews_)
        if (webview->scriptIdent() == *currentMessageID_) return webview;
    return nullptr;
}

void ZVWebViewFindController::setCurrentWebview(const std::shared_ptr<ZVWebView>& webview) {
    currentMessageID_ = webview ? std::optional<std::string>(webview->scriptIdent()) : std::nullopt;
}

void ZVWebViewFindController::setCurrentFindType(unsigned type) {
    currentFindType_ = type;
    updateFindMenu();
    updateVisibility();
}

void ZVWebViewFindController::didReceiveScriptMessage(const Value& body) {
    const SearchValuesMessage message = readSearchValuesMessage(body);
    switch (message.kind) {
    case SearchValuesMessage::Kind::Malformed:
        log("Body not correct in call from JS:searchValues: " + body.dump());
        return;
    case SearchValuesMessage::Kind::Ignored:
        return;
    case SearchValuesMessage::Kind::Count:
        setCount(message.webviewIdentifier, message.value);
        return;
    case SearchValuesMessage::Kind::Index:
        setIndex(message.webviewIdentifier, message.value);
        return;
    }
}

void ZVWebViewFindController::highlightOccurrencesOfString(const std::string& text) {
    if (thread_) {
        std::vector<std::shared_ptr<ZVWebView>> loaded;
        std::vector<std::string> keys;
        const auto items = thread_->visibleConversationMessageItems();
        for (const auto& item : items)
            if (auto key = item->scriptIdentifier()) keys.push_back(*key);
        // Messages that left the conversation no longer count.
        results_.retainKeys(keys);
        for (const auto& item : items) {
            auto key = item->scriptIdentifier();
            if (!key) continue;
            setCount(*key, item->findCountForStrings({text}));
            if (auto webview = item->webView()) {
                webview->setScriptIdent(*key);
                loaded.push_back(std::move(webview));
            }
        }
        setWebviews(std::move(loaded));
    }
    const int64_t options = storedSearchOptions(defaultKey_);
    for (const auto& webview : webviews_) webview->highlightOccurrencesOfString(text, options);
}

void ZVWebViewFindController::getFindResultCount(std::function<void(int64_t total)> completion) {
    auto total = std::make_shared<int64_t>(0);
    for (const auto& webview : webviews_) {
        webview->getFindResultCount([total, completion](int64_t count) {
            *total += count;
            if (completion) completion(*total);
        });
    }
}

void ZVWebViewFindController::removeAllHighlights() {
    for (const auto& webview : webviews_) webview->removeAllHighlights();
}

void ZVWebViewFindController::findNext() {
    if (thread_) findNextItem();
    else findNextWebview();
}

void ZVWebViewFindController::findPrevious() {
    if (thread_) findPreviousItem();
    else findPreviousWebview();
}

void ZVWebViewFindController::findNextWebview() { stepWebview(FindDirection::Next); }
void ZVWebViewFindController::findPreviousWebview() { stepWebview(FindDirection::Previous); }
void ZVWebViewFindController::findNextItem() { stepItem(FindDirection::Next); }
void ZVWebViewFindController::findPreviousItem() { stepItem(FindDirection::Previous); }

void ZVWebViewFindController::stepWebview(FindDirection direction) {
    if (webviews_.empty()) return;
    std::shared_ptr<ZVWebView> webview = webviews_.front();
    std::weak_ptr<ZVWebViewFindController> weak = weak_from_this();
    auto moved = [weak, webview, direction](double position) {
        withScrollY(*webview, [weak, position, direction](double scrollY) {
            auto self = weak.lock();
            if (!self) return;
            const double y = position + scrollY;
            const double previous = std::exchange(self->lastOffset_, y);
            // A match against the direction of travel means the page wrapped.
            const bool looped = direction == FindDirection::Next ? y < previous : y > previous;
            auto delegate = self->delegate();
            if (delegate && delegate->foundResultInMessageItem)
                delegate->foundResultInMessageItem(*self, nullptr, Point{0, position}, looped);
        });
    };
    if (direction == FindDirection::Next) webview->findNextWithCompletion(moved);
    else webview->findPreviousWithCompletion(moved);
}

void ZVWebViewFindController::stepItem(FindDirection direction) {
    if (!thread_) return;
    const auto items = thread_->visibleConversationMessageItems();
    std::vector<std::optional<std::string>> keys;
    std::optional<size_t> position;
    for (const auto& item : items) {
        if (!position && currentMessageID_ && item->scriptIdentifier() == currentMessageID_) position = keys.size();
        keys.push_back(item->scriptIdentifier());
    }
    std::optional<FindStep> step = stepToItem(keys, position, direction, results_);
    if (!step) return;

    ZVWKConversationMessageItemRef item = items[step->item];
    ZVWKConversationMessageItemRef previousItem = currentItem();
    std::shared_ptr<ZVWebView> previousWebview = currentWebview();
    setCurrentItem(item);
    const bool looped = step->looped;
    const bool changed = previousItem != item;
    std::weak_ptr<ZVWebViewFindController> weak = weak_from_this();

    auto stepIn = [weak, item, previousWebview, direction, looped, changed](std::shared_ptr<ZVWebView> webview) {
        auto self = weak.lock();
        if (!self || !webview) return;
        auto key = item->scriptIdentifier();
        if (webview->scriptIdent().empty() && key) webview->setScriptIdent(*key);
        self->adoptLoadedWebview(webview);
        auto found = [weak, item, previousWebview, webview, looped, changed](double y) {
            auto self = weak.lock();
            if (!self) return;
            auto delegate = self->delegate();
            if (delegate && delegate->foundResultInMessageItem)
                delegate->foundResultInMessageItem(*self, item, Point{0, y}, looped);
            else if (delegate && delegate->scrollToConversationMessage)
                delegate->scrollToConversationMessage(item, Point{0, y});
            // Only one message shows a current match.
            if (changed && previousWebview && previousWebview != webview) previousWebview->clearCurrentHighlight();
        };
        if (direction == FindDirection::Next) webview->findNextWithCompletion(found);
        else webview->findPreviousWithCompletion(found);
        self->setCurrentWebview(webview);
    };

    auto delegate = this->delegate();
    if (delegate && delegate->loadWebViewIfNeededForItem) delegate->loadWebViewIfNeededForItem(item, stepIn);
    else stepIn(item->webView());
}

// A message's web view that came after the last search (its message was not
// loaded then) gets the handler and the highlights before the first step in it.
void ZVWebViewFindController::adoptLoadedWebview(const std::shared_ptr<ZVWebView>& webview) {
    if (std::find(webviews_.begin(), webviews_.end(), webview) != webviews_.end()) return;
    webviews_.push_back(webview);
    if (!webview->scriptsLoaded()) installMessageHandler(*webview);
    webview->highlightOccurrencesOfString(searchText(), storedSearchOptions(defaultKey_));
}

void ZVWebViewFindController::updateVisibleConversationMessageItems() {
    if (root_ && gtk_widget_get_mapped(root_)) performFindPreservingPosition(true);
}

void ZVWebViewFindController::performFindPreservingPosition(bool) {
    lastSearched_ = searchText();
    highlightOccurrencesOfString(lastSearched_);
    std::shared_ptr<ZVWebView> webview = currentWebview();
    if (!webview) return;
    const int64_t index = indexForKey(webview->scriptIdent());
    if (index < 0) return;
    std::weak_ptr<ZVWebViewFindController> weak = weak_from_this();
    webview->selectMatchAt(index, [weak, webview](double position) {
        withScrollY(*webview, [weak, position](double scrollY) {
            if (auto self = weak.lock()) self->lastOffset_ = static_cast<float>(position + scrollY);
            log("I am here");
        });
    });
}

void ZVWebViewFindController::findNow() {
    performFindPreservingPosition(false);
    // Each write of the defaults rewrites their file on the main thread
    // (1 to 50 ms on a busy disk): searching again for the same text writes nothing.
    const std::string text = searchText();
    if (findString() != text) setFindString(text);
    rememberSearch(text);
}

void ZVWebViewFindController::moveTo(int segment) {
    log("moveTo segment selected: " + std::to_string(segment));
    if (segment == 1) findNext();
    else findPrevious();
}

}  // namespace zv
