// What the GObject layer's sources share: text crossing from C, string
// lists, values as GVariants, and the wrappers' C++ objects. Never installed.
#pragma once

#include <zv-glib/zv.h>

#include <zv/foundation/Error.h>
#include <zv/foundation/Value.h>
#include <zv/html/HTMLDocument.h>
#include <zv/html/HTMLElement.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace zv {
class ZVWebView;
class ZVWebPageController;
}

namespace zv::glib {

// Text handed in from C: NULL reads as empty, and invalid UTF-8 is read with
// U+FFFD in place of the bad bytes, so the engine only ever sees valid text.
class Utf8Input {
public:
    explicit Utf8Input(const char* text);
    std::string_view view() const { return view_; }
    std::string string() const { return std::string(view_); }

private:
    std::string repaired_;
    std::string_view view_;
};

// A newly allocated copy for the caller to g_free.
char* newText(std::string_view text);
std::vector<std::string> stringList(const char* const* strv);
// `text` for a script literal the engine writes it into as it is: a backslash
// before each character of `special`, a line feed or carriage return among
// them written as \n or \r.
std::string scriptLiteralText(std::string_view text, std::string_view special);
char** newStrv(const std::vector<std::string>& strings);

// Dictionaries become a{sv}, arrays av, null an empty maybe.
GVariant* variantFromValue(const Value& value);
Value valueFromVariant(GVariant* variant);

void setError(GError** error, const Error& failure);

// The wrappers' C++ objects and wrappers for them.
html::HTMLDocument& documentOf(ZvHtmlDocument* document);
ZvHtmlElement* wrapElement(ZvHtmlDocument* document, html::HTMLElement* element);
std::shared_ptr<ZVWebView> webViewOf(ZvWebView* view);
GtkWidget* findViewOf(ZvFindController* controller);
// The engine's controller, keeping its wrapper alive while it is held.
std::shared_ptr<ZVWebPageController> pageControllerOf(ZvPageController* controller);
// The wrapper of a controller from pageControllerOf (transfer none), or NULL.
ZvPageController* pageControllerWrapper(const std::shared_ptr<ZVWebPageController>& controller);
// Answers a load_uri_async still waiting: its controller leaves its window.
void cancelPendingLoad(ZvPageController* controller);
// A reference to the one wrapper of `view`, made on first request.
ZvWebView* wrapWebView(const std::shared_ptr<ZVWebView>& view);

}  // namespace zv::glib
