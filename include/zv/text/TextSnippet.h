// Short plain-text snippets of HTML for message previews, without a DOM.
//
// One pass of the pull tokenizer over the source: a stack of the open
// elements, each with a flag saying whether its text is collected, decides
// from tag names and inline styles which text is visible; white space is
// collapsed character by character, and tokenizing stops as soon as the
// snippet is long enough, so a 200-character preview of a 5 MB message reads
// only the start of it.
//
// What is collected:
// - Text inside <script> and <style>, inside <head> or <title> when the
//   options say so, and inside any element whose own inline style says
//   display:none…, visibility:hidden… or opacity exactly "0" (opacity:0.0 is
//   visible) is not, nor anything nested in them. A <pre> inherits its
//   parent's state and is not tested.
// - Void elements (br, img, …) are ignored outright. The end tag of p, br,
//   div, table or img (div, table, img when preserving line breaks) adds a
//   separator: one space unless white space was just emitted, or a line feed.
//   So "a<br>b" gives "ab".
// - text-transform (uppercase, lowercase, capitalize) applies to the text
//   directly inside the element that declares it, not to nested elements,
//   and never inside <pre>; white space is collapsed in <pre> all the same.
// - Spaces and tabs count as white space, so do CR, LF and VT (line feeds
//   when preserving line breaks); U+00A0 and U+200C only with
//   ZVTextSnippetInvisibleSpacesAsWhitespace. A composed character sequence
//   counts as its first character: a mark riding on a space goes with it,
//   and U+200C, which joins the sequence before it, counts only where it
//   leads one (after NBSP it is dropped with the NBSP). A run of white space
//   keeps its first member; white space at the start is dropped.
// - After the start tags of script, style, title, textarea, xmp, iframe,
//   noembed, noframes and plaintext the tokenizer is switched to script
//   data, RAWTEXT, RCDATA or PLAINTEXT as the tree builder would switch it
//   (not inside <svg> or <math>, where they are foreign elements), so
//   "<script>if (a<b) f()</script>" opens no tag. Which text is collected
//   is still decided by the rules above alone: the raw text of iframe,
//   noembed and noframes, which browsers do not show, is collected as any
//   other, markup-like characters and all.
// - A NUL character in markup is dropped (replaced by U+FFFD inside <svg> or
//   <math>), as the tree builder does.
//
// Lengths are UTF-16 code units (an emoji outside the BMP counts two), and
// text is stepped through by composed character sequence (ICU's character
// break iterator), so a base letter with its combining marks is never cut.
// The limit is tested before each step with "greater than": without
// ZVTextSnippetKeepWholeWords the snippet may reach maxLength + 1 units. That
// one unit over is deliberate; previews are sized on it. With the option, the
// limit is tested only at white space, so the snippet ends after a whole word.
// Character references are decoded a second time at the end ("&amp;lt;" in
// the source ends as "<"), as an attribute value decodes them: a legacy name
// without ";" before a letter, digit or "=" stays, so text reading
// "?a=1&copy=4" is kept. The result is trimmed unless line breaks are
// preserved.
//
// TextSnippetStream.h makes the same snippets of files and byte streams,
// reading them only as far as the extraction goes.
//
// No input fails: malformed markup, stray end tags and unclosed elements are
// taken as they come. No collected text gives nothing (not ""). Any thread.
#pragma once

#include <zv/html/HTMLToken.h>

#include <optional>
#include <string>
#include <string_view>
#include <system_error>

namespace zv {

enum ZVTextSnippetOptions : unsigned {
    ZVTextSnippetKeepWholeWords = 1,
    ZVTextSnippetInvisibleSpacesAsWhitespace = 2,
    ZVTextSnippetSkipTitle = 4,
    ZVTextSnippetSkipHead = 8,
    ZVTextSnippetPreserveLineBreaks = 16,
};

// One open element on the extractor's stack: the start tag that opened it
// and whether text inside it is collected.
struct HTMLTokenStackItem {
    html::HTMLStartTagToken token;
    bool collectionState = true;

    static HTMLTokenStackItem newWithToken(const html::HTMLStartTagToken& token, bool collectionState) {
        return {token, collectionState};
    }
};

// A snippet extraction over HTML text that the caller keeps alive. Each call
// tokenizes the text afresh, so calls are independent of each other.
class HTMLSnippetParser {
public:
    explicit HTMLSnippetParser(std::string_view html) : html_(html) {}
    // A temporary would be gone before it is read.
    explicit HTMLSnippetParser(std::string&&) = delete;

    // maxLength in UTF-16 code units, 0 or less for no limit; options are
    // ZVTextSnippetOptions bits. Nothing when no text was collected. `error`
    // (may be null) is cleared and never set: extraction does not fail.
    std::optional<std::string> extractTextWithMaxLength(long maxLength, unsigned options, std::error_code* error) const;

    std::optional<std::string> textSnippetWithMaxLength(long maxLength, unsigned options) const;
    // Leaves `error` as it is, unlike extractTextWithMaxLength.
    std::optional<std::string> textSnippetWithMaxLength(long maxLength, unsigned options, std::error_code* error) const;

private:
    std::string_view html_;
};

std::optional<std::string> textSnippetForHTML(std::string_view html, long maxLength, unsigned options);
std::optional<std::string> extractTextFromHTML(std::string_view html, long maxLength, unsigned options,
                                               std::error_code* error);

}  // namespace zv
