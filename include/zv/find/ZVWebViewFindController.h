// The find bar and the find across web views behind it.
//
// A ZVWebViewFindController searches either a list of ZVWebViews
// (setWebviews) or every visible message of a conversation
// (setConversationThread, ZVWKConversation.h), where a message's web view may
// not be loaded yet. It highlights the search text in every page through the
// pages' search script (ZVWebView's search commands), learns each page's
// count and current match back from the script message "searchValues", sums
// the counts for the bar, and steps through the matches message by message,
// wrapping around at the ends and asking its delegate to load and scroll.
//
// "searchValues" bodies are {"webviewIdentifier": key, "type": "wvCount" or
// "wvIndex", "count": integer}, where the key is the view's scriptIdent (the
// item's scriptIdentifier in a conversation, a fresh UUID otherwise). A body
// that is not an object of exactly three entries is logged as "Body not
// correct in call from JS:searchValues: <body>" and dropped; one without a
// key or of another type is dropped silently.
//
// The bar (findView) is built from the framework's "ZVWVFindView.ui": a
// search entry with a menu of search styles (one radio group), "Ignore
// Case" and the recent searches (user defaults, newest first, at most 10,
// with an item that clears them); the count label; previous and next
// (enabled exactly when there is at least one match); done; and, with the
// ShowReplace option, a replace row. The menu is rebuilt whenever the bar is
// shown (mapped), so settings changed elsewhere show. Enter is the entry's
// action (findNow): it searches, makes the text the process's find string
// (FindOptions.h, offered by focusFindFieldWithValue to the next bar) and
// records it among the recent searches; typing does the same once the entry
// settles. Stepping keeps GNOME's habits: Shift+Enter and Ctrl+Shift+G step
// back, Ctrl+G forward, and the previous/next buttons. Escape closes
// (through the delegate's shouldHideFindView).
//
// Main thread only; the per-message table has its own lock all the same.
#pragma once

#include <zv/Export.h>
#include <zv/find/FindResults.h>
#include <zv/find/FindStepping.h>
#include <zv/find/ZVWKConversation.h>
#include <zv/foundation/Value.h>
#include <zv/foundation/GObjectRef.h>

#include <gtk/gtk.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zv {

class ZVWebView;

// The user-defaults key of the recent searches (an array of strings).
ZV_EXPORT extern const char ZVFindRecentsKey[];
inline constexpr size_t kZVFindRecentsLimit = 10;

class ZV_EXPORT ZVWebViewFindController : public std::enable_shared_from_this<ZVWebViewFindController> {
public:
    enum Option : unsigned {
        ShowReplace = 1,            // the bar has a replace row
        NoRegularExpressions = 2,   // no "Regular Expression" style; kept under "SearchStyleNoReg"
    };
    // The menu's items by tag: the styles, and ignore case.
    enum MenuTag : int {
        TagContains = 1, TagStartsWith = 2, TagExactly = 4, TagRegularExpression = 8, TagIgnoreCase = 256,
    };

    static std::shared_ptr<ZVWebViewFindController> create(std::weak_ptr<ZVWebviewFindDelegate> delegate,
                                                           unsigned options = 0);
    static std::shared_ptr<ZVWebViewFindController> create(std::shared_ptr<ZVWKConversationThread> thread,
                                                           std::weak_ptr<ZVWebviewFindDelegate> delegate,
                                                           unsigned options = 0);
    ~ZVWebViewFindController();
    ZVWebViewFindController(const ZVWebViewFindController&) = delete;
    ZVWebViewFindController& operator=(const ZVWebViewFindController&) = delete;

    unsigned options() const { return options_; }
    const std::string& defaultKey() const { return defaultKey_; }
    std::shared_ptr<ZVWebviewFindDelegate> delegate() const { return delegate_.lock(); }

    // What is searched. Setting web views gives each a key and the
    // "searchValues" handler; without a thread it also forgets the counts.
    const std::vector<std::shared_ptr<ZVWebView>>& webviews() const { return webviews_; }
    void setWebviews(std::vector<std::shared_ptr<ZVWebView>> webviews);
    const std::shared_ptr<ZVWKConversationThread>& conversationThread() const { return thread_; }
    void setConversationThread(std::shared_ptr<ZVWKConversationThread> thread);

    ZVWKConversationMessageItemRef currentItem() const;
    void setCurrentItem(const ZVWKConversationMessageItemRef& item);
    std::shared_ptr<ZVWebView> currentWebview() const;
    void setCurrentWebview(const std::shared_ptr<ZVWebView>& webview);

    // Per message (FindResults.h); setCount refreshes currentCount.
    int64_t countForKey(const std::string& key) const { return results_.countForKey(key); }
    void setCount(const std::string& key, int64_t count) { results_.setCount(key, count); }
    int64_t indexForKey(const std::string& key) const { return results_.indexForKey(key); }
    void setIndex(const std::string& key, int64_t index) { results_.setIndex(key, index); }
    bool atFirstForKey(const std::string& key) const { return results_.atFirstForKey(key); }
    bool atLastForKey(const std::string& key) const { return results_.atLastForKey(key); }

    // The total shown in the bar; setting it refreshes the label and the
    // previous/next buttons.
    int64_t currentCount() const { return currentCount_; }
    void setCurrentCount(int64_t count);
    unsigned currentFindType() const { return currentFindType_; }
    void setCurrentFindType(unsigned type);
    // The document position of the last match shown in a single web view.
    double lastOffset() const { return lastOffset_; }

    // A "searchValues" message body from a page.
    void didReceiveScriptMessage(const Value& body);

    // Searching and stepping.
    void highlightOccurrencesOfString(const std::string& text);
    // Called once per web view, with the running total (a failing page adds -1).
    void getFindResultCount(std::function<void(int64_t total)> completion);
    void removeAllHighlights();
    void findNext();
    void findPrevious();
    void findNextWebview();
    void findPreviousWebview();
    void findNextItem();
    void findPreviousItem();
    // The host calls this when the visible messages change: searches again
    // while the bar is on screen.
    void updateVisibleConversationMessageItems();
    // Searches the entry's text, and the current message keeps its match
    // number, whatever `preserve` says: every search keeps the position.
    void performFindPreservingPosition(bool preserve);
    // The entry's action: searches, makes the text the find string and the
    // newest recent search.
    void findNow();
    // 1: next, anything else: previous.
    void moveTo(int segment);

    // The bar.
    GtkWidget* findView() const { return root_; }
    GtkWidget* boxView() const { return box_; }
    GtkWidget* searchField() const { return searchField_; }
    GtkWidget* countLabel() const { return countLabel_; }
    GtkWidget* previousButton() const { return previous_; }
    GtkWidget* nextButton() const { return next_; }
    GtkWidget* doneButton() const { return done_; }
    GtkWidget* replaceContainer() const { return replaceContainer_; }
    GtkWidget* replaceText() const { return replaceText_; }
    // The search entry's menu (rebuilt by updateFindMenu) and the actions
    // its items call: "find.style" (a stateful int32, the style items being
    // one radio group), "find.ignore-case" (a stateful bool), "find.recent"
    // (a string: searches it again, which makes it the newest) and
    // "find.clear-recents".
    GMenuModel* findMenu() const { return G_MENU_MODEL(menu_.get()); }
    GActionGroup* actionGroup() const { return G_ACTION_GROUP(actions_.get()); }

    void updateFindMenu();
    void updateVisibility();
    // A style (1, 2, 4, 8) becomes the stored style; 256 flips ignore case;
    // then the search runs again.
    void toggleSearchItem(int tag);
    // Puts `value` (none: the find string) into the entry, searches, focuses.
    void focusFindFieldWithValue(std::optional<std::string> value);
    void done();
    // tag 0: replace the current match and move on; otherwise replace all.
    // Only the first web view is edited; an empty replacement does nothing.
    void replace(int tag);
    // The recent searches, newest first.
    std::vector<std::string> recentSearches() const;
    void clearRecentSearches();

private:
    ZVWebViewFindController(std::weak_ptr<ZVWebviewFindDelegate> delegate, unsigned options);
    void loadView();
    void connectView();
    void disconnectView();
    void viewDidLoad();
    void installMessageHandler(ZVWebView& webview);
    void stepItem(FindDirection direction);
    void stepWebview(FindDirection direction);
    void adoptLoadedWebview(const std::shared_ptr<ZVWebView>& webview);
    void rememberSearch(const std::string& text);
    std::string searchText() const;

    std::weak_ptr<ZVWebviewFindDelegate> delegate_;
    unsigned options_;
    std::string defaultKey_;
    std::vector<std::shared_ptr<ZVWebView>> webviews_;
    std::shared_ptr<ZVWKConversationThread> thread_;
    FindResults results_;
    std::optional<std::string> currentMessageID_;
    int64_t currentCount_ = 0;
    unsigned currentFindType_ = 0;
    double lastOffset_ = 0;
    std::string countFormat_;
    std::string lastSearched_;

    struct MessageHandler;
    std::vector<std::unique_ptr<MessageHandler>> handlers_;

    GObjectRef<GtkBuilder> builder_;
    GtkWidget* root_ = nullptr;  // owned through rootRef_
    GObjectRef<GtkWidget> rootRef_;
    GtkWidget* box_ = nullptr;
    GtkWidget* searchField_ = nullptr;
    GtkWidget* menuButton_ = nullptr;
    GtkWidget* countLabel_ = nullptr;
    GtkWidget* previous_ = nullptr;
    GtkWidget* next_ = nullptr;
    GtkWidget* done_ = nullptr;
    GtkWidget* replaceContainer_ = nullptr;
    GtkWidget* replaceText_ = nullptr;
    GtkWidget* replaceButton_ = nullptr;
    GtkWidget* replaceAllButton_ = nullptr;
    GtkEventController* keyController_ = nullptr;
    GObjectRef<GMenu> menu_;
    GObjectRef<GSimpleActionGroup> actions_;
};

}  // namespace zv
