// In-page search of a message: highlights the matches of a search text with
// mark.js (loaded before this script), steps through them, replaces them,
// and reports counts and the current match to the native find controller
// through the script message "searchValues".
//
// Options are one style plus 256 for ignore case:
//   1 contains       the text anywhere
//   2 starts with    the text at the start of a word
//   4 exactly        the text as a whole word
//   8 regular expr.  the text as a JavaScript regular expression (no flags
//                    but "g" and, for ignore case, "i")
// Words are runs of letters, digits and "_" (Unicode), so "Rechnung" starts
// a word in "die Rechnung" but not in "Vorrechnung". Matches run across
// element boundaries ("in<b>voi</b>ce" is one match of "invoice"); a match
// that the page splits over several elements is highlighted in pieces that
// step, replace and count as one.
//
// Decisions this script takes:
// - Match indexes count from 0; -1 means no current match.
// - Every highlighting call first removes the previous highlights, so the
//   page only ever shows the matches of the last search text.
// - With no matches, WKWebView_AtFirst and WKWebView_AtLast answer false.
// - Stepping wraps inside the page (after the last match comes the first)
//   and does not scroll: the host scrolls, with the position it is given
//   (the current match's top below the visible top of the page).
// - An invalid regular expression, an empty search text and a regular
//   expression whose first match is empty highlight nothing: count 0, no
//   exception.
// - WKWebView_ClearCurrentHighlight forgets the current match, so the next
//   step starts again at the first (or, backwards, the last) match.
// - The selection is {"type": "None" | "Caret" | "Range", "text": string}.
// - Every highlighting, replacement and removal posts "wvCount"; every
//   step, WKWebView_SetCurrentHighlight and replacement posts "wvIndex".
// - WKWebView_CountMatchesInText counts in a plain text what highlighting
//   would find in a page of that text. The native side runs this same file
//   in a JavaScript context of its own to count messages that are not
//   loaded, so both use one definition of words, digits, boundaries and
//   case folding: JavaScript's.
(function () {
  "use strict";

  const MATCH_CLASS = "zv-find-match";
  const CURRENT_CLASS = "zv-find-current";
  const STYLE_ID = "zv-find-style";
  const WORD = "[\\p{L}\\p{N}_]";

  let ident = "";
  let matches = []; // per match, the mark elements that show it, in order
  let current = -1;

  function post(type, count) {
    const handlers = window.webkit && window.webkit.messageHandlers;
    if (!handlers || !handlers.searchValues) return;
    handlers.searchValues.postMessage({ webviewIdentifier: ident, type: type, count: count });
  }

  function installStyle() {
    if (document.getElementById(STYLE_ID)) return;
    const style = document.createElement("style");
    style.id = STYLE_ID;
    style.textContent =
      "mark." + MATCH_CLASS + "{background:#fce94f;color:#000;border-radius:2px}" +
      "mark." + CURRENT_CLASS + "{background:#f57900;color:#fff}";
    (document.head || document.documentElement).appendChild(style);
  }

  function escapeRegExp(text) {
    return text.replace(/[.*+?^${}()|[\]\\\/]/g, "\\$&");
  }

  // The expression for text in the given style; null when there is none.
  // Only the word styles need Unicode mode (for \p{...}): expressions in it
  // run several times slower when case is ignored.
  function expressionFor(text, options) {
    let flags = "g" + (options & 256 ? "i" : "");
    let source;
    switch (options & 15) {
      case 2: source = "(?<!" + WORD + ")" + escapeRegExp(text); flags += "u"; break;
      case 4: source = "(?<!" + WORD + ")" + escapeRegExp(text) + "(?!" + WORD + ")"; flags += "u"; break;
      case 8: source = text; break;
      default: source = escapeRegExp(text);
    }
    try {
      return new RegExp(source, flags);
    } catch (e) {
      return null;
    }
  }

  // mark.js's own loop: non-overlapping matches, up to the first empty one.
  function countMatches(text, expression) {
    let count = 0;
    let match;
    expression.lastIndex = 0;
    while ((match = expression.exec(text)) !== null && match[0] !== "") count++;
    expression.lastIndex = 0;
    return count;
  }

  function removeMarks() {
    const parents = new Set();
    matches.forEach(function (pieces) {
      pieces.forEach(function (mark) {
        const parent = mark.parentNode;
        if (!parent) return;
        while (mark.firstChild) parent.insertBefore(mark.firstChild, mark);
        parent.removeChild(mark);
        parents.add(parent);
      });
    });
    parents.forEach(function (parent) { parent.normalize(); });
    matches = [];
    current = -1;
  }

  // The engine's own text of the body answers "no match" far sooner than a
  // walk over its text nodes. It is the text mark.js searches unless the body
  // holds scripts or style sheets (whose text mark.js leaves out).
  function mayMatch(expression) {
    if (document.body.querySelector("script, style")) return true;
    expression.lastIndex = 0;
    const found = expression.test(document.body.textContent);
    expression.lastIndex = 0;
    return found;
  }

  function highlight(text, options) {
    removeMarks();
    if (!document.body || !text) return;
    const expression = expressionFor(text, options);
    if (!expression || !mayMatch(expression)) return;
    // mark.js wraps the pieces of one match one after another right after
    // finding it: counting the finds tells which match a piece belongs to.
    let found = -1;
    const exec = expression.exec.bind(expression);
    expression.exec = function (input) {
      const match = exec(input);
      if (match && match[0] !== "") found++;
      return match;
    };
    new Mark(document.body).markRegExp(expression, {
      element: "mark",
      className: MATCH_CLASS,
      acrossElements: true,
      each: function (mark) {
        (matches[found] = matches[found] || []).push(mark);
      }
    });
    matches = matches.filter(function (pieces) { return pieces && pieces.length; });
  }

  function markCurrent(index) {
    if (current >= 0 && matches[current]) {
      matches[current].forEach(function (mark) { mark.classList.remove(CURRENT_CLASS); });
    }
    current = index;
    if (current >= 0 && matches[current]) {
      matches[current].forEach(function (mark) { mark.classList.add(CURRENT_CLASS); });
    }
  }

  function currentPosition() {
    if (current < 0 || !matches[current]) return 0;
    return matches[current][0].getBoundingClientRect().top;
  }

  function step(index) {
    if (!matches.length) {
      post("wvIndex", -1);
      return 0;
    }
    const count = matches.length;
    markCurrent(((index % count) + count) % count);
    post("wvIndex", current);
    return currentPosition();
  }

  function replaceMatch(pieces, text) {
    const first = pieces[0];
    const parent = first.parentNode;
    parent.replaceChild(document.createTextNode(text), first);
    pieces.slice(1).forEach(function (mark) { mark.parentNode.removeChild(mark); });
    parent.normalize();
  }

  window.WKWebView_HighlightOccurencesOfStrings = function (identifier, text, options) {
    ident = String(identifier);
    installStyle();
    highlight(String(text), Number(options) || 1);
    post("wvCount", matches.length);
    return matches.length;
  };

  window.WKWebView_CountMatchesInText = function (text, searchText, options) {
    const expression = searchText ? expressionFor(String(searchText), Number(options) || 1) : null;
    return expression ? countMatches(String(text), expression) : 0;
  };

  window.WKWebView_CurrentSearchCount = function () {
    return matches.length;
  };

  window.WKWebView_SetCurrentHighlight = function (index) {
    const n = Number(index);
    if (!matches.length || !(n >= 0 && n < matches.length)) {
      markCurrent(-1);
      post("wvIndex", -1);
      return 0;
    }
    return step(n);
  };

  window.WKWebView_SearchNext = function () {
    return step(current + 1);
  };

  window.WKWebView_SearchPrev = function () {
    return step(current < 0 ? matches.length - 1 : current - 1);
  };

  window.WKWebView_ClearCurrentHighlight = function () {
    markCurrent(-1);
  };

  window.WKWebView_RemoveAllHighlights = function () {
    removeMarks();
    post("wvCount", 0);
  };

  window.WKWebView_AtFirst = function () {
    return matches.length > 0 && current === 0;
  };

  window.WKWebView_AtLast = function () {
    return matches.length > 0 && current === matches.length - 1;
  };

  // Replaces the current match (the first when none is current) and makes
  // the match that followed it current, wrapping to the first.
  window.WKWebView_ReplaceAndMoveToNext = function (text) {
    if (!matches.length) return 0;
    const index = current < 0 ? 0 : current;
    markCurrent(-1);
    replaceMatch(matches[index], String(text));
    matches.splice(index, 1);
    post("wvCount", matches.length);
    return step(index);
  };

  window.WKWebView_ReplaceAll = function (text) {
    const all = matches;
    markCurrent(-1);
    all.forEach(function (pieces) { replaceMatch(pieces, String(text)); });
    matches = [];
    post("wvCount", 0);
    post("wvIndex", -1);
    return all.length;
  };

  window.WKWebView_CurrentSelectionByType = function () {
    const selection = window.getSelection();
    if (!selection || selection.rangeCount === 0) return { type: "None", text: "" };
    return { type: selection.isCollapsed ? "Caret" : "Range", text: selection.toString() };
  };
})();
