// Why a parsed document, serialized and parsed again, may legitimately come
// back as another tree: the kinds of trees no markup expresses.
#pragma once

#include <zv/html/HTMLDocument.h>

namespace zv::fuzz {

// Whether `tree` is a tree whose serialization may reparse differently:
// - its reparse (`reparsed`) runs in another quirks mode: the serializer
//   writes a doctype as its name alone, losing identifiers that set the mode;
// - a <pre>, <textarea> or <listing> starts with a newline: the parser drops
//   one after those start tags and the serializer, like browsers, does not
//   write one back;
// - it has a <plaintext>, after which nothing is markup, end tags included;
// - a raw text element holds text that its end tag would not end
//   ("<!--<script" leaves a script's tokenizer double-escaped);
// - it nests an element where its start tag would close an ancestor: the
//   parser's repairs build those (a <p> foster-parented out of a <table>
//   inside a quirks-mode <p>; <a> in <a> after the adoption agency), and the
//   HTML standard warns that such trees do not round-trip.
bool reparseMayChange(const html::HTMLDocument& tree, const html::HTMLDocument& reparsed);

}  // namespace zv::fuzz
