// In-page search of a message: highlights the matches of a search text,
// steps through them, replaces them, and reports counts and the current match
// to the native find controller through the script message "searchValues".
//
// Each match is a live Range over the page's text, painted through the
// engine's highlight registry (CSS.highlights): highlighting then changes
// no element, so the page is not laid out again, which wrapping every match
// in an element cost on long messages. An engine without that registry gets
// mark elements from mark.js (loaded before this script) instead.
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
// that the page splits over several elements is one range (or, with
// mark.js, pieces that step, replace and count as one).
//
// Decisions this script takes:
// - Match indexes count from 0; -1 means no current match.
// - Every highlighting call first removes the previous highlights, so the
//   page only ever shows the matches of the last search text. The same text
//   with the same options on a page that has not changed since keeps its
//   highlights instead: only the current match is forgotten.
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

  // Class names of the mark elements and names of the highlights.
  const MATCH_CLASS = "zv-find-match";
  const CURRENT_CLASS = "zv-find-current";
  const STYLE_ID = "zv-find-style";
  const WORD = "[\\p{L}\\p{N}_]";
  // Text directly inside these is not searched (mark.js leaves it out too, so
  // both ways of painting count the same).
  const UNSEARCHED = new Set(["script", "style", "title", "head", "html"]);
  const UNSEARCHED_SELECTOR = Array.from(UNSEARCHED).join(", ");

  // What shows the matches of the last search text; `matches` has one entry per match.
  const NOTHING = { matches: [], show: function () {}, top: function () { return 0; },
                    replace: function () {}, remove: function () {} };
  let ident = "";
  let painter = NOTHING;
  let current = -1;
  // The search text and options whose matches the painter shows (none, when
  // it is NOTHING), while the document has not changed since; null otherwise.
  let searched = null;

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
      "::highlight(" + MATCH_CLASS + "){background-color:#fce94f;color:#000}" +
      "::highlight(" + CURRENT_CLASS + "){background-color:#f57900;color:#fff}" +
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

  // Calls found(start, end) for each match in text: non-overlapping, up to
  // the first empty one (mark.js's loop, which the fallback runs).
  function eachMatch(text, expression, found) {
    let match;
    expression.lastIndex = 0;
    while ((match = expression.exec(text)) !== null && match[0] !== "") {
      found(match.index, match.index + match[0].length);
    }
    expression.lastIndex = 0;
  }

  function countMatches(text, expression) {
    let count = 0;
    eachMatch(text, expression, function () { count++; });
    return count;
  }

  // The engine's own text of the body, where it is the searched text: the body
  // holds no element whose text is left out. Null otherwise.
  function wholeBodyText() {
    return document.body.querySelector(UNSEARCHED_SELECTOR) ? null : document.body.textContent;
  }

  // The engine's own text of the body answers "no match" far sooner than a
  // walk over its text nodes.
  function mayMatch(expression) {
    const text = wholeBodyText();
    if (text === null) return true;
    expression.lastIndex = 0;
    const found = expression.test(text);
    expression.lastIndex = 0;
    return found;
  }

  // Whether the document is as it was at the last search: a mutation observer
  // watches from then on, and the text index of that search (the body's
  // searched text nodes read as one text, so matches run across elements)
  // holds while it sees nothing. Typing a search text searches the same page
  // once per key, and a conversation searches every page again when a
  // message joins it.
  const changes = typeof MutationObserver === "function" ? new MutationObserver(stopWatching) : null;
  let watching = false;
  let index = null;

  function stopWatching() {
    watching = false;
    index = null;
    changes.disconnect();
  }

  function watch() {
    if (!changes || watching) return;
    changes.observe(document, { childList: true, characterData: true, subtree: true });
    watching = true;
  }

  // Changes made in the current task (by the page or a replacement) have not
  // reached the observer's callback yet: they are taken here.
  function unchanged() {
    if (watching && changes.takeRecords().length) stopWatching();
    return watching;
  }

  // Where the engine's text of the body is the searched text, the walk only
  // measures the nodes and reads none of their text into the script.
  function buildIndex() {
    const whole = wholeBodyText();
    const walker = document.createTreeWalker(document.body, NodeFilter.SHOW_TEXT);
    const nodes = [];
    const starts = [];
    const pieces = [];
    let length = 0;
    for (let node = walker.nextNode(); node; node = walker.nextNode()) {
      if (whole === null && UNSEARCHED.has(node.parentNode.localName)) continue;
      starts.push(length);
      nodes.push(node);
      if (whole === null) pieces.push(node.data);
      length += node.length;
    }
    return { nodes: nodes, starts: starts, text: whole === null ? pieces.join("") : whole };
  }

  function textIndex() {
    if (unchanged() && index) return index;
    const built = buildIndex();
    watch();
    if (watching) index = built;
    return built;
  }

  // One live Range per match.
  function matchRanges(expression) {
    const { nodes, starts, text } = textIndex();
    const ranges = [];
    let first = 0;
    eachMatch(text, expression, function (start, end) {
      while (starts[first] + nodes[first].length <= start) first++;
      let last = first;
      while (starts[last] + nodes[last].length < end) last++;
      const range = new Range();
      range.setStart(nodes[first], start - starts[first]);
      range.setEnd(nodes[last], end - starts[last]);
      ranges.push(range);
    });
    return ranges;
  }

  function canPaintRanges() {
    return typeof Highlight === "function" && window.CSS && CSS.highlights;
  }

  function rangePainter(ranges) {
    const all = new Highlight();
    ranges.forEach(function (range) { all.add(range); });
    const shown = new Highlight();
    shown.priority = 1;
    CSS.highlights.set(MATCH_CLASS, all);
    CSS.highlights.set(CURRENT_CLASS, shown);
    return {
      matches: ranges,
      show: function (index) {
        shown.clear();
        if (index >= 0) shown.add(ranges[index]);
      },
      top: function (index) { return ranges[index].getBoundingClientRect().top; },
      replace: function (index, text) {
        const range = ranges[index];
        all.delete(range);
        shown.delete(range);
        range.deleteContents();
        const replacement = document.createTextNode(text);
        range.insertNode(replacement);
        replacement.parentNode.normalize();
        ranges.splice(index, 1);
      },
      remove: function () {
        CSS.highlights.delete(MATCH_CLASS);
        CSS.highlights.delete(CURRENT_CLASS);
      }
    };
  }

  function unwrapMarks(matches) {
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
  }

  function markPainter(expression) {
    let matches = []; // per match, the mark elements that show it, in order
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
    let shown = -1;
    function setCurrentClass(index, on) {
      if (index < 0 || !matches[index]) return;
      matches[index].forEach(function (mark) { mark.classList.toggle(CURRENT_CLASS, on); });
    }
    return {
      matches: matches,
      show: function (index) {
        setCurrentClass(shown, false);
        shown = index;
        setCurrentClass(shown, true);
      },
      top: function (index) { return matches[index][0].getBoundingClientRect().top; },
      replace: function (index, text) {
        const pieces = matches[index];
        const parent = pieces[0].parentNode;
        parent.replaceChild(document.createTextNode(text), pieces[0]);
        pieces.slice(1).forEach(function (mark) { mark.parentNode.removeChild(mark); });
        parent.normalize();
        matches.splice(index, 1);
        shown = -1;
      },
      remove: function () { unwrapMarks(matches); }
    };
  }

  function removeHighlights() {
    painter.remove();
    painter = NOTHING;
    current = -1;
    searched = null;
  }

  // The same search on an unchanged page finds the same ranges (or none):
  // they stay, and only the current match is forgotten.
  function highlight(text, options) {
    const search = options + " " + text;
    if (search === searched && unchanged()) {
      markCurrent(-1);
      return;
    }
    removeHighlights();
    if (!document.body || !text) return;
    const expression = expressionFor(text, options);
    if (!expression) return;
    if (!canPaintRanges()) {
      if (mayMatch(expression)) painter = markPainter(expression);
      return;
    }
    if (!(unchanged() && index) && !mayMatch(expression)) {
      watch();
    } else {
      painter = rangePainter(matchRanges(expression));
    }
    if (watching) searched = search;
  }

  function count() {
    return painter.matches.length;
  }

  function markCurrent(index) {
    current = index;
    painter.show(index);
  }

  function step(index) {
    if (!count()) {
      post("wvIndex", -1);
      return 0;
    }
    markCurrent(((index % count()) + count()) % count());
    post("wvIndex", current);
    return painter.top(current);
  }

  window.WKWebView_HighlightOccurencesOfStrings = function (identifier, text, options) {
    ident = String(identifier);
    installStyle();
    highlight(String(text), Number(options) || 1);
    post("wvCount", count());
    return count();
  };

  window.WKWebView_CountMatchesInText = function (text, searchText, options) {
    const expression = searchText ? expressionFor(String(searchText), Number(options) || 1) : null;
    return expression ? countMatches(String(text), expression) : 0;
  };

  window.WKWebView_CurrentSearchCount = function () {
    return count();
  };

  window.WKWebView_SetCurrentHighlight = function (index) {
    const n = Number(index);
    if (!count() || !(n >= 0 && n < count())) {
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
    return step(current < 0 ? count() - 1 : current - 1);
  };

  window.WKWebView_ClearCurrentHighlight = function () {
    markCurrent(-1);
  };

  window.WKWebView_RemoveAllHighlights = function () {
    removeHighlights();
    post("wvCount", 0);
  };

  window.WKWebView_AtFirst = function () {
    return count() > 0 && current === 0;
  };

  window.WKWebView_AtLast = function () {
    return count() > 0 && current === count() - 1;
  };

  // Replaces the current match (the first when none is current) and makes
  // the match that followed it current, wrapping to the first.
  window.WKWebView_ReplaceAndMoveToNext = function (text) {
    if (!count()) return 0;
    const index = current < 0 ? 0 : current;
    markCurrent(-1);
    painter.replace(index, String(text));
    post("wvCount", count());
    return step(index);
  };

  window.WKWebView_ReplaceAll = function (text) {
    const replaced = count();
    markCurrent(-1);
    for (let index = replaced - 1; index >= 0; index--) painter.replace(index, String(text));
    removeHighlights();
    post("wvCount", 0);
    post("wvIndex", -1);
    return replaced;
  };

  window.WKWebView_CurrentSelectionByType = function () {
    const selection = window.getSelection();
    if (!selection || selection.rangeCount === 0) return { type: "None", text: "" };
    return { type: selection.isCollapsed ? "Caret" : "Range", text: selection.toString() };
  };
})();
