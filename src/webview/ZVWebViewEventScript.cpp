#include <zv/webview/ZVWebViewEventScript.h>

#include <zv/webview/Event.h>

namespace zv {

namespace {

// The blank after the arrow's brace is part of the piece as pages have
// always received it.
constexpr std::string_view kListenerTemplate =
    "let @arrayName@ = @arrayElements@;\n@arrayName@.forEach(selector => {\n\tdocument.querySelectorAll(selector)."
    "forEach(element => {\n\telement.addEventListener('@eventName@', event => { \n\t\thandleElementEvent(event, "
    "element, @arrayElements@);\n\t});\n});\n});\n";

constexpr std::string_view kBackspaceScript =
    "document.addEventListener('keydown',event => {\n  if (event.key == 'Backspace'){\n      if (window.webkit) {\n"
    "          var modifiers = 0;\n          if (event.altKey) modifiers |= 1<<19;\n          if (event.ctrlKey) "
    "modifiers |= 1<<18;\n          if (event.shiftKey) modifiers |= 1<<17;\n          let eventInfo = {modifiers: "
    "modifiers, keyName:event.key, keyCode:event.keyCode};\n          "
    "window.webkit.messageHandlers._ZVKeyDownEvent.postMessage(eventInfo);\n          event.preventDefault();\n"
    "          event.stopPropagation();\n      }\n  }\n});";

// The frame the pieces go into, at its single "%@". Two traps are kept on
// purpose, since pages and delegates are written against them: the redirect
// by point counts class selectors only, and without window.webkit the
// script logs a name it never defines (it then throws, outside any host).
constexpr std::string_view kPageScript = R"JS(function ZVLog(msg){
	if (window.webkit) {
		window.webkit.messageHandlers._ZVLog.postMessage(msg);
	}
}
window.addEventListener('DOMContentLoaded', function() {
	ZVLog('DOMContentLoaded');
	function handleElementEvent(event, startingItem, selectorList) {
		var item = startingItem;
		var objectName = Object.prototype.toString.call(event);
		if (objectName == '[object MouseEvent]' || objectName == '[object DragEvent]') {
			var elements = window.document.elementsFromPoint(event.clientX, event.clientY);
			for (var i = 0; i < elements.length; i++) {
				var classMatches = 0;
				selectorList.forEach(selector => {
					if (selector.startsWith('.') && elements[i].classList.contains(selector.substring(1))) {
						classMatches++;
					}
				});
				if (classMatches == 1) {
					item = elements[i];
					break;
				}
			}
		}
		var r = item.getBoundingClientRect();
		var width = r.right-r.left;
		var height = Math.abs(r.top-r.bottom);
		var rectInfo = '{{'+r.left.toString()+','+r.top.toString()+'}, {'+width.toString()+','+height.toString()+'}}';
		var eventInfo = { eventType: event.type, elementTag: item.tagName, elementFrame: rectInfo};
		if (objectName == '[object KeyboardEvent]') {
			eventInfo['keyPressed'] = event.key;
			if (event.key == ' ') {
				event.preventDefault();
			}
			var image = item.querySelector('img');
			if (image) {
				var ir = image.getBoundingClientRect();
				var imageWidth = ir.right-ir.left;
				var imageHeight = Math.abs(ir.top-ir.bottom);
				eventInfo['elementFrame'] = '{{'+ir.left.toString()+','+ir.top.toString()+'}, {'+imageWidth.toString()+','+imageHeight.toString()+'}}';
			}
		}
		try {
			if (item.attributes) {
				if (item.hasAttribute('class')) {
					eventInfo['elementClass'] = item.getAttribute('class');
				}
				eventInfo['elementAttributes'] = JSON.stringify(Array.from(item.attributes).reduce((json, attr, key) => { json[attr.name] = attr.value; return json; }, {}));
			}
			if (item.href) {
				eventInfo['href'] = item.href;
			}
			if (item.id) {
				eventInfo['elementId'] = item.id;
			}
			if (!eventInfo['elementId']) {
				var wrenid = item.getAttribute('wren-id');
				if (wrenid) {
					eventInfo['elementId'] = wrenid;
				}
			}
		} catch (error) {
			eventInfo['error'] = error.message;
		}
		if (event.type == 'dragstart') {
			event.preventDefault();
			event.stopPropagation();
		}
		if (window.webkit) {
			ZVLog('handling event: '+event.type+ 'item:'+item.toString()+'eventInfo:'+eventInfo.toString());
			window.webkit.messageHandlers._ZVWebViewEvent.postMessage(eventInfo);
		} else {
			console.log(jsoninfo);
		}
		event.stopPropagation();
	}
%@ 
});
)JS";

std::string replaceAll(std::string text, std::string_view from, std::string_view to) {
    for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
    return text;
}

constexpr EventType kBridgedEventTypes[] = {EventType::LeftMouseUp, EventType::RightMouseDown,
                                            EventType::LeftMouseDragged, EventType::KeyDown,
                                            EventType::ApplicationDefined};

}  // namespace

std::string eventListenerScript(std::string_view domEvent, const std::vector<std::string>& selectors) {
    std::string joined;
    for (const std::string& selector : selectors) {
        if (!joined.empty()) joined += "','";
        joined += selector;
    }
    std::string arrayElements = "['" + joined + "']";
    std::string arrayName = std::string(domEvent) + "Selectors";
    std::string piece = replaceAll(std::string(kListenerTemplate), "@arrayName@", arrayName);
    piece = replaceAll(std::move(piece), "@arrayElements@", arrayElements);
    return replaceAll(std::move(piece), "@eventName@", domEvent);
}

std::string_view backspaceScript() { return kBackspaceScript; }

std::optional<std::string> eventScriptForDelegate(const ZVWebViewEventDelegate& delegate) {
    std::vector<std::string> pieces;
    if (delegate.webViewReceivedKeyDown) pieces.emplace_back(kBackspaceScript);
    if (delegate.webViewDOMSelectorsForEventType) {
        for (EventType type : kBridgedEventTypes) {
            std::vector<std::string> selectors = delegate.webViewDOMSelectorsForEventType(type);
            if (!selectors.empty()) pieces.push_back(eventListenerScript(*domEventForEventType(type), selectors));
        }
    }
    if (pieces.empty()) return std::nullopt;
    std::string joined;
    for (const std::string& piece : pieces) {
        if (!joined.empty()) joined += "\n";
        joined += piece;
    }
    std::string script(kPageScript);
    return script.replace(script.find("%@"), 2, joined);
}

}  // namespace zv
