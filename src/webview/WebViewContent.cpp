#include <zv/webview/WebViewContent.h>

#include <zv/foundation/MainThread.h>
#include <zv/html/HTMLElement.h>

#include <webkit/webkit.h>

#include <memory>

namespace zv {

namespace {

constexpr char kBodyScrollHeightScript[] = R"JS( var bodyOriginal = document.body;
 var bodyParent = bodyOriginal.parentNode;
 var height = 0;
 if (!bodyClone){
 var sizingElem = document.createElement('div');
 bodyClone = bodyOriginal.cloneNode(true);
 var bodyChildren= bodyClone.childNodes;
 for (var i = 0; i < bodyChildren.length;i++) {
 sizingElem.appendChild(bodyChildren.item(i));
 }
 bodyClone.insertBefore(sizingElem, bodyChildren.item(i));
 }
bodyParent.replaceChild(bodyClone,bodyOriginal);
height = bodyClone.firstElementChild.scrollHeight - 15;
bodyParent.replaceChild(bodyOriginal,bodyClone);
height;
)JS";

constexpr char kBodyClientHeightScript[] = R"JS( var bodyOriginal = document.body;
 var bodyClone = 0;
 var bodyParent = bodyOriginal.parentNode;
 var height = 0;
 if (!bodyClone){
 var sizingElem = document.createElement('div');
 bodyClone = bodyOriginal.cloneNode(true);
 var bodyChildren= bodyClone.childNodes;
 for (var i = 0; i < bodyChildren.length;i++) {
 sizingElem.appendChild(bodyChildren.item(i));
 }
 bodyClone.insertBefore(sizingElem, bodyChildren.item(i));
 }
bodyParent.replaceChild(bodyClone,bodyOriginal);
height = bodyClone.firstElementChild.clientHeight;
bodyParent.replaceChild(bodyOriginal,bodyClone);
height;
)JS";

constexpr char kSelectionScript[] = R"JS(function getSelectionContents() {
	var contents = '';
	var selection = document.getSelection();
	if (selection.isCollapsed) {
		contents = document.body.innerHTML;
	} else if (selection.rangeCount > 0) {
		var range = selection.getRangeAt(0);
		var fragment = range.cloneContents();
		if (fragment.hasChildNodes()) {
			fragment.childNodes.forEach(node => {
				contents += (node.nodeType==3)?node.textContent:node.outerHTML;
			});
		} else {
			contents = range.toString();
		}
	}
	return contents;
}
getSelectionContents();
)JS";

// The report stops at `sizingDiv`, a name the script never declares, before
// the page is touched: what callers see is that error's message.
constexpr char kDebugSizingScript[] = R"JS(var report = '\n';
var bodyOriginal = document.body;
var bodyParent = bodyOriginal.parentNode;
report += '<!-- no body clone -- creating one -->\n';
var sizingElem = document.createElement('div');
var debugClone = bodyOriginal.cloneNode(true);
report += '<!-- children: ' + debugClone.childNodes.length + ' -->\n';
while (debugClone.firstElementChild) {
	var child = debugClone.firstElementChild;
	sizingElem.appendChild(child);
	report += '<!-- appendChild : ' + child.nodeName + ' ' + sizingElem.childNodes.length + ' -->\n';
}
debugClone.appendChild(sizingDiv);
bodyParent.replaceChild(debugClone,bodyOriginal);
report += bodyOriginal.outerHTML + '\n<!-- REPLACED WITH -->\n' + debugClone.outerHTML + '\n';
report += '<!-- CLONE HEIGHT: ' + debugClone.firstElementChild.scrollHeight + ' -->\n';
bodyParent.replaceChild(bodyOriginal,debugClone);
report;
)JS";

constexpr char kCurrentHTMLScript[] = "document.documentElement.outerHTML";

std::string describe(const Value& value) { return value.is_string() ? value.get<std::string>() : value.dump(); }

}  // namespace

void loadHTMLDocument(WebKitWebView* webView, const html::HTMLDocument& document, const std::optional<URL>& baseURL) {
    const html::HTMLElement* root = document.documentElement();
    std::string html = root ? root->outerHTML() : std::string();
    webkit_web_view_load_html(webView, html.c_str(), baseURL ? baseURL->string().c_str() : nullptr);
}

void fetchBodyScrollHeight(WebKitWebView* webView, const ScriptCompletion& completion) {
    evaluateJavaScriptAndWait(webView, kBodyScrollHeightScript, completion);
}

void fetchBodyClientHeight(WebKitWebView* webView, ScriptCompletion completion) {
    evaluateJavaScript(webView, kBodyClientHeightScript, std::move(completion));
}

void fetchHTMLContentsOfSelection(WebKitWebView* webView, ScriptCompletion completion) {
    evaluateJavaScript(webView, kSelectionScript, std::move(completion));
}

std::string debugSizingHTML(WebKitWebView* webView) {
    std::string report;
    evaluateJavaScriptAndWait(webView, kDebugSizingScript, [&](std::optional<Value> value, std::optional<Error> error) {
        if (error)
            report = error->message;
        else if (value)
            report = describe(*value);
    });
    return report;
}

std::string debugCurrentHTML(WebKitWebView* webView) {
    auto html = std::make_shared<std::optional<std::string>>();
    evaluateJavaScript(webView, kCurrentHTMLScript, [html](std::optional<Value> value, std::optional<Error>) {
        if (value) *html = describe(*value);
    });
    spinMainContextUntil([&] { return html->has_value(); });
    return **html;
}

}  // namespace zv
