// The in-page search commands of ZVWebView: each builds one call to the
// search script's functions and turns the answer into a native value.
#include <zv/webview/ZVWebView.h>

#include <zv/foundation/Log.h>
#include <zv/foundation/WholeNumber.h>
#include <zv/webview/FrameworkResources.h>
#include <zv/webview/ScriptEvaluation.h>
#include <zv/webview/UserScript.h>

#include <string>

namespace zv {

namespace {

using PositionCompletion = std::function<void(double position)>;

// Positions come back single precision, as the page's numbers are read so.
ScriptCompletion positionReader(PositionCompletion completion) {
    return [completion = std::move(completion)](std::optional<Value> value, std::optional<Error> error) {
        if (error) log("There was an error: " + error->message);
        double position = (!error && value && value->is_number()) ? static_cast<float>(value->get<double>()) : 0.0;
        if (completion) completion(position);
    };
}

bool readBool(WebKitWebView* view, const char* call) {
    bool answer = false;
    evaluateJavaScriptAndWait(view, call, [&](std::optional<Value> value, std::optional<Error>) {
        if (value && value->is_boolean()) answer = value->get<bool>();
        else if (value && value->is_number()) answer = value->get<double>() != 0;
    });
    return answer;
}

html::Ref<html::HTMLElement> scriptElement(const std::string& path) {
    auto element = html::HTMLElement::create("script");
    element->setAttribute("charset", "utf-8");
    element->setAttribute("src", path);
    return element;
}

}  // namespace

std::vector<html::Ref<html::HTMLElement>> ZVWebView::searchScriptElements() {
    auto bundle = webKitResourceBundle();
    std::vector<html::Ref<html::HTMLElement>> elements;
    for (const char* name : {"js/mark.min", "js/SearchWebView"})
        elements.push_back(scriptElement(bundle->pathForResource(name, "js").value_or("")));
    return elements;
}

bool ZVWebView::addSearchUserScripts() {
    auto bundle = webKitResourceBundle();
    std::vector<UserScriptRef> scripts;
    for (const char* name : {"js/mark.min", "js/SearchWebView"}) {
        std::optional<std::string> path = bundle->pathForResource(name, "js");
        gchar* source = nullptr;
        if (!path || !g_file_get_contents(path->c_str(), &source, nullptr, nullptr)) {
            log(std::string("Cannot read the search script ") + name + ".js");
            return false;
        }
        scripts.push_back(makeDocumentStartScript(source));
        g_free(source);
    }
    for (const UserScriptRef& script : scripts) addUserScript(script.get());
    return true;
}

void ZVWebView::selectionWithCompletion(std::function<void(std::optional<Value>)> completion) {
    evaluateJavaScript(webView(), "WKWebView_CurrentSelectionByType()",
                       [completion = std::move(completion)](std::optional<Value> value, std::optional<Error> error) {
                           if (!error && completion) completion(std::move(value));
                       });
}

void ZVWebView::highlightOccurrencesOfString(std::string_view text, int64_t options) {
    std::string call = "WKWebView_HighlightOccurencesOfStrings(`" + scriptIdent_ + "`, `";
    call.append(text).append("`, ").append(std::to_string(options)).append(")");
    evaluateJavaScript(webView(), call);
}

void ZVWebView::getFindResultCount(std::function<void(int64_t count)> completion) {
    evaluateJavaScript(webView(), "WKWebView_CurrentSearchCount()",
                       [completion = std::move(completion)](std::optional<Value> value, std::optional<Error> error) {
                           int64_t count = (!error && value && value->is_number())
                                               ? wholeNumber(*value)
                                               : -1;
                           if (completion) completion(count);
                       });
}

void ZVWebView::removeAllHighlights() { evaluateJavaScript(webView(), "WKWebView_RemoveAllHighlights()"); }

void ZVWebView::clearCurrentHighlight() { evaluateJavaScript(webView(), "WKWebView_ClearCurrentHighlight()"); }

void ZVWebView::selectMatchAt(int64_t index, PositionCompletion completion) {
    evaluateJavaScript(webView(), "WKWebView_SetCurrentHighlight(" + std::to_string(index) + ")",
                       positionReader(std::move(completion)));
}

void ZVWebView::findNextWithCompletion(PositionCompletion completion) {
    evaluateJavaScript(webView(), "WKWebView_SearchNext()", positionReader(std::move(completion)));
}

void ZVWebView::findPreviousWithCompletion(PositionCompletion completion) {
    evaluateJavaScript(webView(), "WKWebView_SearchPrev()", positionReader(std::move(completion)));
}

void ZVWebView::replaceAndMoveToNext(std::string_view text) {
    evaluateJavaScript(webView(), "WKWebView_ReplaceAndMoveToNext('" + std::string(text) + "')");
}

void ZVWebView::replaceAll(std::string_view text) {
    evaluateJavaScript(webView(), "WKWebView_ReplaceAll('" + std::string(text) + "')");
}

bool ZVWebView::atFirst() { return readBool(webView(), "WKWebView_AtFirst()"); }

bool ZVWebView::atLast() {
    bool answer = readBool(webView(), "WKWebView_AtLast()");
    log(std::string("Result of atLast: ") + (answer ? "1" : "0"));
    return answer;
}

}  // namespace zv
