#include <zv/find/TextMatchCount.h>

#include <zv/foundation/Log.h>
#include <zv/foundation/MainThread.h>
#include <zv/html/HTMLDocument.h>
#include <zv/html/HTMLElement.h>
#include <zv/html/HTMLParser.h>
#include <zv/webview/FrameworkResources.h>
#include <zv/foundation/GObjectRef.h>

#include <jsc/jsc.h>
#include <webkit/webkit.h>

#include <optional>

namespace zv {

namespace {

// The page's search script, run in a context of this thread's own (a
// context is not to be shared between threads). Nothing when the script is
// missing or does not define the count.
class ScriptCounter {
public:
    ScriptCounter() {
        std::optional<std::string> path = webKitResourceBundle()->pathForResource("js/SearchWebView", "js");
        g_autofree char* source = nullptr;
        if (!path || !g_file_get_contents(path->c_str(), &source, nullptr, nullptr)) {
            log(LogLevel::Warning, "cannot count matches: the search script SearchWebView.js is missing");
            return;
        }
        // WebKit must set up the main thread before JavaScriptCore does: after a
        // context made first there, no web view's load ever finishes. Its web
        // context class sets it up when first used, without a display or an
        // object made; other threads need nothing.
        if (isMainThread()) g_type_class_unref(g_type_class_ref(WEBKIT_TYPE_WEB_CONTEXT));
        context_ = GObjectRef<JSCContext>::adopt(jsc_context_new());
        GObjectRef<JSCValue>::adopt(jsc_context_evaluate(context_.get(), "var window = globalThis;", -1));
        GObjectRef<JSCValue>::adopt(jsc_context_evaluate(context_.get(), source, -1));
        count_ = GObjectRef<JSCValue>::adopt(jsc_context_get_value(context_.get(), "WKWebView_CountMatchesInText"));
        if (!jsc_value_is_function(count_.get())) {
            log(LogLevel::Warning, "cannot count matches: SearchWebView.js defines no WKWebView_CountMatchesInText");
            count_ = {};
        }
    }

    int64_t count(const char* text, const std::string& string, int64_t options) const {
        if (!count_) return 0;
        std::optional<std::string> searched = asTheCallGivesIt(string);
        if (!searched) return 0;
        auto result = GObjectRef<JSCValue>::adopt(jsc_value_function_call(
            count_.get(), G_TYPE_STRING, text, G_TYPE_STRING, searched->c_str(), G_TYPE_DOUBLE, double(options), G_TYPE_NONE));
        return result && jsc_value_is_number(result.get()) ? int64_t(jsc_value_to_double(result.get())) : 0;
    }

private:
    // The web view hands the text to the page between backquotes, unescaped:
    // the page searches the template literal's value ("\\d" becomes "\d").
    // A backquote breaks the call, so the page finds nothing; "${" would run
    // code, which the host does not, so it counts nothing either.
    std::optional<std::string> asTheCallGivesIt(const std::string& string) const {
        if (string.find('`') != std::string::npos || string.find("${") != std::string::npos) return std::nullopt;
        std::string literal = "`" + string + "`";
        auto value = GObjectRef<JSCValue>::adopt(jsc_context_evaluate(context_.get(), literal.c_str(), gssize(literal.size())));
        if (jsc_context_get_exception(context_.get())) {
            jsc_context_clear_exception(context_.get());
            return std::nullopt;
        }
        g_autofree char* cooked = jsc_value_to_string(value.get());
        return std::string(cooked ? cooked : "");
    }

    GObjectRef<JSCContext> context_;
    GObjectRef<JSCValue> count_;
};

void appendText(const html::HTMLNode& node, std::string& out) {
    for (html::HTMLNode* child = node.firstChild(); child; child = child->nextSibling()) {
        if (child->isText()) {
            out += child->textContent();
            continue;
        }
        if (!child->isElement()) continue;
        auto* element = static_cast<html::HTMLElement*>(child);
        if (element->is(html::Tag::script) || element->is(html::Tag::style)) continue;
        appendText(*child, out);
    }
}

}  // namespace

std::string searchableTextOfHTML(const std::string& html) {
    auto document = html::HTMLParser(html).parseDocument();
    std::string text;
    if (html::HTMLElement* body = document->body()) appendText(*body, text);
    return text;
}

int64_t countMatchesInText(std::string_view text, const std::vector<std::string>& strings, int64_t options) {
    thread_local const ScriptCounter counter;
    // JavaScript strings are UTF-16: bytes that are not UTF-8 become U+FFFD, as they would in a page.
    g_autofree char* valid = g_utf8_make_valid(text.data(), static_cast<gssize>(text.size()));
    int64_t total = 0;
    for (const std::string& string : strings) total += counter.count(valid, string, options);
    return total;
}

}  // namespace zv
