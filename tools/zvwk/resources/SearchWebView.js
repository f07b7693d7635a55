// zvwk's in-page search: highlights every occurrence of a text (ignoring
// case) with a span, counts them, and steps through them.
//
// The host evaluates this file again before every highlight call, so it
// declares with `var` and `function` only: a second `let` or `const` of the
// same name in the page's global scope would throw.

var WKWebView_SearchResultCount = 0;
var WKWebView_SearchCurrentIndex = -1;

var WKWebView_HighlightClass = 'WKWebView_Highlight';
var WKWebView_HighlightStyle = 'background-color: #ffeb3b; color: black;';
var WKWebView_CurrentStyle = 'background-color: #ff9632; color: black;';

function WKWebView_EscapeRegExp(text) {
	return text.replace(/[.*+?^${}()|[\]\\]/g, '\\$&');
}

// Text nodes that show text: not inside scripts, styles or form fields.
function WKWebView_SearchableTextNodes(root) {
	var skipped = { SCRIPT: 1, STYLE: 1, NOSCRIPT: 1, TEXTAREA: 1, TEMPLATE: 1, HEAD: 1, TITLE: 1 };
	var walker = document.createTreeWalker(root, NodeFilter.SHOW_TEXT, {
		acceptNode: function(node) {
			for (var parent = node.parentNode; parent && parent !== root; parent = parent.parentNode) {
				if (parent.nodeType === 1 && skipped[parent.nodeName.toUpperCase()]) return NodeFilter.FILTER_REJECT;
			}
			return node.nodeValue.length ? NodeFilter.FILTER_ACCEPT : NodeFilter.FILTER_REJECT;
		}
	});
	var nodes = [];
	while (walker.nextNode()) nodes.push(walker.currentNode);
	return nodes;
}

function WKWebView_HighlightTextNode(node, pattern) {
	var text = node.nodeValue;
	pattern.lastIndex = 0;
	var match = pattern.exec(text);
	if (!match) return 0;
	var fragment = document.createDocumentFragment();
	var last = 0;
	var count = 0;
	for (; match; match = pattern.exec(text)) {
		if (match.index > last) fragment.appendChild(document.createTextNode(text.substring(last, match.index)));
		var span = document.createElement('span');
		span.className = WKWebView_HighlightClass;
		span.setAttribute('style', WKWebView_HighlightStyle);
		span.textContent = match[0];
		fragment.appendChild(span);
		last = match.index + match[0].length;
		count++;
	}
	if (last < text.length) fragment.appendChild(document.createTextNode(text.substring(last)));
	node.parentNode.replaceChild(fragment, node);
	return count;
}

function WKWebView_Highlights() {
	return document.getElementsByClassName(WKWebView_HighlightClass);
}

function WKWebView_HighlightAllOccurencesOfString(keyword) {
	WKWebView_RemoveAllHighlights();
	if (!keyword || !document.body) return;
	var pattern = new RegExp(WKWebView_EscapeRegExp(String(keyword)), 'gi');
	var nodes = WKWebView_SearchableTextNodes(document.body);
	var count = 0;
	for (var i = 0; i < nodes.length; i++) count += WKWebView_HighlightTextNode(nodes[i], pattern);
	WKWebView_SearchResultCount = count;
}

function WKWebView_ShowCurrent(index) {
	var highlights = WKWebView_Highlights();
	if (!highlights.length) return;
	if (WKWebView_SearchCurrentIndex >= 0 && WKWebView_SearchCurrentIndex < highlights.length)
		highlights[WKWebView_SearchCurrentIndex].setAttribute('style', WKWebView_HighlightStyle);
	WKWebView_SearchCurrentIndex = (index + highlights.length) % highlights.length;
	var current = highlights[WKWebView_SearchCurrentIndex];
	current.setAttribute('style', WKWebView_CurrentStyle);
	current.scrollIntoView({ block: 'center', inline: 'nearest' });
}

function WKWebView_SearchNext() {
	WKWebView_ShowCurrent(WKWebView_SearchCurrentIndex + 1);
}

function WKWebView_SearchPrev() {
	WKWebView_ShowCurrent(WKWebView_SearchCurrentIndex < 0 ? -1 : WKWebView_SearchCurrentIndex - 1);
}

function WKWebView_RemoveAllHighlights() {
	var highlights = Array.prototype.slice.call(WKWebView_Highlights());
	var parents = [];
	for (var i = 0; i < highlights.length; i++) {
		var span = highlights[i];
		var parent = span.parentNode;
		if (!parent) continue;
		parent.replaceChild(document.createTextNode(span.textContent), span);
		if (parents.indexOf(parent) < 0) parents.push(parent);
	}
	for (var j = 0; j < parents.length; j++) parents[j].normalize();
	WKWebView_SearchResultCount = 0;
	WKWebView_SearchCurrentIndex = -1;
}
