// What zvwk's commands and its viewer share about reading stored mail with
// GMime: starting GMime once per process, skipping the blank lines some
// stores put before the headers, walking a message's parts, and turning a
// part's content into text.
#pragma once

#include <gmime/gmime.h>

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace zvwk {

// Call before the first GMime call on any thread: a GMime stream made before
// g_mime_init registers GMime's types half-way, and the init on another
// thread then fails. One flag for the whole program, viewer and commands.
void initialiseGMime();

// The message without the lines of spaces, tabs and CRs before its headers,
// which would make GMime see no headers at all.
std::string_view withoutLeadingBlankLines(std::string_view bytes);

// Every part below `root` that is not a multipart (leaf parts and attached
// messages, which are not entered), depth first in message order, until
// `visit` answers false. The walk keeps its own stack: a message may nest
// multiparts thousands deep.
void walkParts(GMimeObject* root, const std::function<bool(GMimeObject*)>& visit);

// The part's content with its transfer encoding undone; nothing when GMime
// cannot write it out.
std::optional<std::string> partBytes(GMimePart* part);

// Bytes as UTF-8 in the HTML standard's order: a byte order mark, the
// transport's charset, then `defaultEncoding`.
std::string decodeText(std::string_view bytes, std::string_view transportEncoding, std::string_view defaultEncoding);

}  // namespace zvwk
